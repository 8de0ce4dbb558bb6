#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/**
 * @brief What the window needs to know about its surroundings: which screens the screen modules
 * provide, the user's home folder, and how a folder URL becomes a path.
 */
class ShellSupport : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QString homeFolder READ homeFolder CONSTANT)

public:
    explicit ShellSupport(QObject *parent = nullptr);

    /**
     * @brief The URL of the QML file @p name of module @p moduleUri ("Strataloom.Screens",
     * "TimelineScreen"), or an empty URL when that module does not provide it (yet).
     */
    Q_INVOKABLE QUrl screenUrl(const QString &moduleUri, const QString &name) const;
    /// @brief The local path of a file: URL (as a folder dialog answers), else "".
    Q_INVOKABLE QString localPath(const QUrl &url) const;

    QString homeFolder() const;
};

} // namespace strataloom
