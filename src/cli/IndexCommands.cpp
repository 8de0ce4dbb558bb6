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
        options.listing = [](qint64 found) {
            std::fprintf(stderr, "\rfound %lld commits", qlonglong(found));
            std::fflush(stderr);
        };
        options.listed = [](qint64 total) {
            std::fprintf(stderr, "\rfound %lld commits\n", qlonglong(total));
            std::fflush(stderr);
        };
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

namespace {

// Each flag and the correction it turns off.
struct InsightFlag
{
    const char *flag;
    bool InsightOptions::*option;
};
constexpr InsightFlag correctionFlags[] = {
    {"--no-identities", &InsightOptions::mergeIdentities},
    {"--no-renames", &InsightOptions::followRenames},
    {"--show-deleted", &InsightOptions::hideDeletedFiles},
    {"--include-generated", &InsightOptions::excludeGenerated},
    {"--include-bots", &InsightOptions::separateBots},
    {"--include-merges", &InsightOptions::excludeMerges},
};
const char asRecordedFlag[] = "--as-recorded";

} // namespace

const QStringList &insightFlags()
{
    static const QStringList flags = [] {
        QStringList list {QString::fromLatin1(asRecordedFlag)};
        for (const InsightFlag &entry : correctionFlags)
            list.append(QString::fromLatin1(entry.flag));
        return list;
    }();
    return flags;
}

InsightOptions insightOptions(const QStringList &flags)
{
    if (flags.contains(QLatin1String(asRecordedFlag)))
        return InsightOptions::asRecorded();
    InsightOptions options;
    for (const InsightFlag &entry : correctionFlags) {
        if (flags.contains(QLatin1String(entry.flag)))
            options.*entry.option = false;
    }
    return options;
}

RepositoryAnalyticsInsights synchronizedInsights(const QString &repository,
                                                 const QString &indexDirectory,
                                                 const InsightOptions &options)
{
    SynchronizedIndex synchronized(repository, indexDirectory);
    return insights(synchronized.index(), options);
}

Json insightsCommand(const QString &repository, const QString &indexDirectory,
                     const InsightOptions &options)
{
    return insightsReport(synchronizedInsights(repository, indexDirectory, options), options);
}

} // namespace strataloom::cli
