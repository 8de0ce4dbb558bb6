#include "insights/RepositoryInsights.h"

#include "insights/Classifiers.h"
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

RepositoryAnalyticsInsights insights(RepositoryIndex &index)
{
    return index.read([](SQLiteDatabase &database) { return insights(database); });
}

RepositoryAnalyticsInsights insights(SQLiteDatabase &database)
{
    // Two aggregates do not need the database and take a good part of the time: the words of the
    // subjects, and the co-change pairs. Each runs on a thread of its own, the first while the
    // change rows are still being read, the second while the others are computed here.
    std::future<RepositoryAnalyticsInsights> subjects;
    RepositoryAnalyticsInsights result;
    const History history = readHistory(database, result, [&subjects](const History &read) {
        std::vector<QString> texts;
        texts.reserve(read.commits.size());
        for (const CommitRow &commit : read.commits)
            texts.push_back(commit.subject);
        subjects = std::async(std::launch::async, [texts = std::move(texts)] {
            RepositoryAnalyticsInsights classified;
            classifySubjects(texts, classified);
            return classified;
        });
    });
    std::future<QList<IndexedCoChangeInsight>> coChanges
        = std::async(std::launch::async, [&history] {
              return coChangesOf(history.fileChanges, rowsPerCommit(history), history.filePaths);
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

    const std::vector<FileTotals> files = fileTotals(history);
    result.hotspots = hotspots(history, files);

    activity(database, history, result);
    result.activeDays = result.dailyActivity.size();
    for (const IndexedActivityInsight &day : std::as_const(result.dailyActivity)) {
        if (!result.peakDay || day.commits > result.peakDay->commits)
            result.peakDay = day;
    }
    result.longestGapDays = longestGapDays(history);

    result.directories = directories(history);
    result.technologies = technologies(history, files);
    result.largestCommits = largestCommits(database, history);
    loadRefs(database, result);
    result.emailDomains = emailDomains(history);

    result.contributorTrendPercent
        = contributorTrendOf(history, result.firstCommitAt, result.lastCommitAt);
    result.activityTrendPercent = trend(result.dailyActivity, ActivityValue::Commits);
    result.churnTrendPercent = trend(result.dailyActivity, ActivityValue::Churn);

    result.coChanges = coChanges.get();
    if (subjects.valid()) {
        RepositoryAnalyticsInsights classified = subjects.get();
        result.conventionalCommits = classified.conventionalCommits;
        result.commitTypes = std::move(classified.commitTypes);
        result.commonWords = std::move(classified.commonWords);
    }
    return result;
}

} // namespace strataloom
