#include "cli/LogCommand.h"

#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "insights/IndexedHistory.h"

#include <QFileInfo>

#include <stdexcept>

namespace strataloom::cli {

QList<CommitRecord> logCommand(const QString &repository, const QString &indexDirectory,
                               const QString &query, qint64 offset, qint64 limit,
                               bool mergeIdentities)
{
    // Parsed first: a malformed query is reported even where there is no index.
    const HistoryQuery parsed = HistoryQuery::parse(query);
    const QString path = RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(repository),
        indexDirectory.isEmpty() ? std::nullopt : std::optional<QString>(indexDirectory));
    const auto missing = [&] {
        return std::runtime_error(
            QStringLiteral("%1 has no index yet; run `strataloom-cli index %1` first")
                .arg(repository)
                .toStdString());
    };
    if (!QFileInfo::exists(path))
        throw missing();
    RepositoryIndex index(path);
    if (!index.metadata(QStringLiteral("last_indexed_at")))
        throw missing();
    return index.read([&](SQLiteDatabase &database) {
        IndexedHistory history(database, parsed, mergeIdentities);
        return history.page(offset, limit);
    });
}

} // namespace strataloom::cli
