#include "IndexCommands.h"

#include "GitService.h"
#include "RepositoryIndexer.h"

#include <cstdio>
#include <unistd.h>

namespace strataloom::cli {

namespace {

Json toJson(const RepositoryIndexSnapshot &snapshot)
{
    return Json::Object {
        {QStringLiteral("commits"), snapshot.commits},
        {QStringLiteral("authors"), snapshot.authors},
        {QStringLiteral("files"), snapshot.files},
        {QStringLiteral("changes"), snapshot.changes},
        {QStringLiteral("refs"), snapshot.refs},
        {QStringLiteral("lastIndexedAt"), snapshot.lastIndexedAt},
    };
}

// Progress goes to a terminal only: a script reading stderr wants errors, not a counter.
SynchronizationOptions terminalProgress()
{
    SynchronizationOptions options;
    if (::isatty(STDERR_FILENO)) {
        options.progress = [](qint64 imported, qint64 total) {
            if (imported == total || imported % 250 == 0) {
                std::fprintf(stderr, "\rimported %lld of %lld commits", qlonglong(imported),
                             qlonglong(total));
                if (imported == total)
                    std::fputc('\n', stderr);
                std::fflush(stderr);
            }
        };
    }
    return options;
}

} // namespace

Json indexCommand(const QString &repository, const QString &indexDirectory)
{
    const QString common = GitService().commonDirectory(repository);
    const QString databasePath = RepositoryIndexLocation::databasePath(
        common, indexDirectory.isEmpty() ? std::nullopt : std::optional<QString>(indexDirectory));
    RepositoryIndex index(databasePath);
    RepositoryIndexer indexer(index);
    const RepositorySynchronization result = indexer.synchronize(repository, terminalProgress());
    return Json::Object {
        {QStringLiteral("importedCommits"), result.importedCommits},
        {QStringLiteral("wasUpToDate"), result.wasUpToDate},
        {QStringLiteral("snapshot"), toJson(result.snapshot)},
    };
}

} // namespace strataloom::cli
