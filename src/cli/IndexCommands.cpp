#include "cli/IndexCommands.h"

#include "git/GitService.h"
#include "cli/InsightJson.h"
#include "index/IndexRecordFields.h"
#include "index/RepositoryIndexer.h"
#include "insights/RepositoryInsights.h"

#include <cstdio>
#include <unistd.h>

namespace strataloom::cli {

namespace {

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

// Opens the repository's index (creating it when new) and brings it up to date.
class SynchronizedIndex
{
public:
    SynchronizedIndex(const QString &repository, const QString &indexDirectory)
        : m_index(RepositoryIndexLocation::databasePath(
            GitService().commonDirectory(repository),
            indexDirectory.isEmpty() ? std::nullopt : std::optional<QString>(indexDirectory)))
        , m_result(RepositoryIndexer(m_index).synchronize(repository, terminalProgress()))
    {
        if (m_result.notice)
            std::fprintf(stderr, "strataloom-cli: %s\n", m_result.notice->toUtf8().constData());
    }
    RepositoryIndex &index() { return m_index; }
    const RepositorySynchronization &result() const { return m_result; }

private:
    RepositoryIndex m_index;
    RepositorySynchronization m_result;
};

} // namespace

Json indexCommand(const QString &repository, const QString &indexDirectory)
{
    const SynchronizedIndex synchronized(repository, indexDirectory);
    const RepositorySynchronization &result = synchronized.result();
    return Json::Object {
        {QStringLiteral("importedCommits"), result.importedCommits},
        {QStringLiteral("wasUpToDate"), result.wasUpToDate},
        {QStringLiteral("snapshot"), toJson(result.snapshot)},
        {QStringLiteral("unreadableDiffs"), result.unreadableDiffs},
    };
}

RepositoryAnalyticsInsights synchronizedInsights(const QString &repository,
                                                 const QString &indexDirectory)
{
    SynchronizedIndex synchronized(repository, indexDirectory);
    return insights(synchronized.index());
}

Json insightsCommand(const QString &repository, const QString &indexDirectory)
{
    return insightsReport(synchronizedInsights(repository, indexDirectory));
}

} // namespace strataloom::cli
