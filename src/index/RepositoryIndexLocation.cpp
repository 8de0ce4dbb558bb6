#include "index/RepositoryIndex.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace strataloom {

QString RepositoryIndexLocation::stableHash(const QString &text)
{
    // FNV-1a: no per-process seed, so a repository maps to the same file on every launch.
    quint64 hash = 0xcbf29ce484222325ULL;
    const QByteArray bytes = text.toUtf8();
    for (const char byte : bytes) {
        hash ^= quint64(quint8(byte));
        hash *= 0x100000001b3ULL;
    }
    return QString::number(hash, 16);
}

QString RepositoryIndexLocation::defaultBaseDirectory()
{
    const QString override = qEnvironmentVariable("STRATALOOM_INDEX_DIR");
    if (!override.isEmpty())
        return QDir::cleanPath(override);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (data.isEmpty())
        throw FileSystemError(QStringLiteral("Strataloom/Indexes"),
                              QStringLiteral("no data folder for this user"));
    return QDir::cleanPath(data + QStringLiteral("/Strataloom/Indexes"));
}

QString RepositoryIndexLocation::databasePath(const QString &commonDirectory,
                                              const std::optional<QString> &base)
{
    const QString standardized = QDir::cleanPath(QFileInfo(commonDirectory).absoluteFilePath());
    const QString root = base ? QDir::cleanPath(*base) : defaultBaseDirectory();
    return root + QLatin1Char('/') + stableHash(standardized) + QStringLiteral("/index.sqlite");
}

} // namespace strataloom
