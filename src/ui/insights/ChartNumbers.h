#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/// @brief The charts' number texts for QML, where an axis has no presenter at hand.
class ChartNumbers : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    explicit ChartNumbers(QObject *parent = nullptr);

    /// @brief @p value in few characters, in the default locale ("950", "12.5K", "4M").
    Q_INVOKABLE QString compact(double value) const;
};

} // namespace strataloom
