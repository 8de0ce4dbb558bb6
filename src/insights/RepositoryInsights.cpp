#include "insights/RepositoryInsights.h"

#include "insights/Classifiers.h"
#include "insights/FileLineage.h"
#include "insights/InsightAggregates.h"
#include "index/RepositoryIndex.h"

#include <future>

// The insights are defined by aggregate queries over the index. Run one by one, those queries
// scan the 400,000 change rows of a large history about ten times and take seconds. Instead, the
// few tables are read once into memory (InsightHistory.h) and every aggregate is computed there
// (InsightAggregates.h), with the queries' exact semantics (SQLiteSemantics.h). The tests compare
// the result with the queries themselves.

namespace strataloom {

using namespace aggregates;

RepositoryAnalyticsInsights insights(RepositoryIndex &index, const InsightOptions &options)
{
    return index.read([&options](SQLiteDatabase &database) { return insights(database, options); });
}

RepositoryAnalyticsInsights insights(SQLiteDatabase &database, const InsightOptions &options)
{
    // The corrections are not applied yet: every option reads the history as recorded.
    (void)options;
    // Reading the tables takes about half the time; what can be computed without the database
    // runs beside it. The subjects (decoded, cut into words, classified) go to a thread of their
    // own as soon as the commits are in, while the change rows are still being read; the
    // aggregates over files (co-changes, hotspots, directories, technologies) to another once
    // everything is in, while the rest is computed here.
    std::future<RepositoryAnalyticsInsights> subjects;
    RepositoryAnalyticsInsights result;
    History history = readHistory(database, result, [&subjects](const History &read) {
        subjects = std::async(std::launch::async, [texts = read.subjects] {
            RepositoryAnalyticsInsights summary;
            summariseSubjects(texts, summary);
            return summary;
        });
    });
    applyFileOptions(database, history, result, options);
    std::future<RepositoryAnalyticsInsights> files = std::async(std::launch::async, [&history] {
        RepositoryAnalyticsInsights summary;
        summary.coChanges
            = coChangesOf(history.fileChanges, rowsPerCommit(history), history.filePaths);
        const std::vector<FileTotals> totals = fileTotals(history);
        summary.hotspots = hotspots(history, totals);
        summary.technologies = technologies(history, totals);
        summary.directories = directories(history);
        return summary;
    });
    summarise(history, result);

    result.topAuthors = topAuthors(history, result.totalCommits);
    qint64 covered = 0;
    for (const IndexedAuthorInsight &author : std::as_const(result.topAuthors)) {
        if (author.commits == 1)
            ++result.oneTimeContributors;
        if (result.totalCommits > 2 * covered) {
            covered += author.commits;
            ++result.busFactor;
        }
    }

    activity(database, history, result);
    result.activeDays = result.dailyActivity.size();
    for (const IndexedActivityInsight &day : std::as_const(result.dailyActivity)) {
        if (!result.peakDay || day.commits > result.peakDay->commits)
            result.peakDay = day;
    }
    result.longestGapDays = longestGapDays(history);

    result.largestCommits = largestCommits(database, history);
    loadRefs(database, result);
    result.emailDomains = emailDomains(history);

    result.contributorTrendPercent
        = contributorTrendOf(history, result.firstCommitAt, result.lastCommitAt);
    result.activityTrendPercent = trend(result.dailyActivity, ActivityValue::Commits);
    result.churnTrendPercent = trend(result.dailyActivity, ActivityValue::Churn);

    RepositoryAnalyticsInsights fileSummary = files.get();
    result.coChanges = std::move(fileSummary.coChanges);
    result.hotspots = std::move(fileSummary.hotspots);
    result.technologies = std::move(fileSummary.technologies);
    result.directories = std::move(fileSummary.directories);
    if (subjects.valid()) {
        RepositoryAnalyticsInsights subjectSummary = subjects.get();
        result.revertCommits = subjectSummary.revertCommits;
        result.shortMessages = subjectSummary.shortMessages;
        result.averageSubjectLength = subjectSummary.averageSubjectLength;
        result.conventionalCommits = subjectSummary.conventionalCommits;
        result.commitTypes = std::move(subjectSummary.commitTypes);
        result.commonWords = std::move(subjectSummary.commonWords);
    }
    return result;
}

} // namespace strataloom
