#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/// @brief Commit message texts for the screens, prepared in C++ where the rules are tested.
class CommitText : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    explicit CommitText(QObject *parent = nullptr);

    /// @brief @p body with its hard-wrapped paragraphs joined (see reflowedMessage()).
    Q_INVOKABLE QString reflowed(const QString &body) const;
};

} // namespace strataloom
