#include "ui/shell/ShellSupport.h"

#include <QDir>
#include <QFile>

namespace strataloom {

ShellSupport::ShellSupport(QObject *parent)
    : QObject(parent)
{ }

QUrl ShellSupport::screenUrl(const QString &moduleUri, const QString &name) const
{
    // Modules are compiled into resources under /qt/qml/<URI as a path>/.
    const QString resource
        = QStringLiteral("/qt/qml/%1/%2.qml")
              .arg(QString(moduleUri).replace(QLatin1Char('.'), QLatin1Char('/')), name);
    if (!QFile::exists(QLatin1Char(':') + resource))
        return {};
    QUrl url;
    url.setScheme(QStringLiteral("qrc"));
    url.setPath(resource);
    return url;
}

QString ShellSupport::localPath(const QUrl &url) const
{
    return url.isLocalFile() ? QDir::cleanPath(url.toLocalFile()) : QString();
}

QString ShellSupport::homeFolder() const
{
    return QDir::homePath();
}

} // namespace strataloom
