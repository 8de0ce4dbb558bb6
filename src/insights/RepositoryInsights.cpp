#include "insights/RepositoryInsights.h"

#include "insights/Classifiers.h"
#include "insights/FileLineage.h"
#include "insights/InsightAggregates.h"
#include "insights/InsightPeople.h"
#include "index/RepositoryIndex.h"

#include <algorithm>
#include <future>

// The insights are defined by aggregate queries over the index. Run one by one, those queries
// scan the 400,000 change rows of a large history about ten times and take seconds. Instead, the
// few tables are read once into memory (InsightHistory.h) and every aggregate is computed there
// (InsightAggregates.h), with the queries' exact semantics (SQLiteSemantics.h). The tests compare
// the result with the queries themselves.

namespace strataloom {

using namespace aggregates;

namespace {

// "origin/HEAD" is a remote's symbolic ref naming its default branch, not a branch of its own.
void dropRemoteHeads(RepositoryAnalyticsInsights &result)
{
    const auto isRemoteHead = [](const IndexedBranchInsight &branch) {
        return branch.isRemote && branch.name.endsWith(QLatin1String("/HEAD"));
    };
    result.remoteBranches -= std::count_if(result.branches.cbegin(), result.branches.cend(),
                                           isRemoteHead);
    result.branches.removeIf(isRemoteHead);
}

} // namespace

RepositoryAnalyticsInsights insights(RepositoryIndex &index, const InsightOptions &options)
{
    return index.read([&options](SQLiteDatabase &database) { return insights(database, options); });
}

RepositoryAnalyticsInsights insights(SQLiteDatabase &database, const InsightOptions &options)
{
    // Reading the tables takes about half the time; what can be computed without the database
    // runs beside it. The subjects (decoded, cut into words, classified) go to a thread of their
    // own as soon as the commits are in, while the change rows are still being read; the
    // aggregates over files (co-changes, hotspots, directories, technologies) to another once
    // everything is in, while the rest is computed here.
    std::future<RepositoryAnalyticsInsights> subjects;
    RepositoryAnalyticsInsights result;
    const QHash<qint64, std::pair<QString, QString>> mapped
        = options.mergeIdentities ? readMappedIdentities(database)
                                  : QHash<qint64, std::pair<QString, QString>>();
    History history = readHistory(database, result, [&subjects, &options](const History &read) {
        // A merge's subject is boilerplate ("Merge branch ..."): its words say nothing.
        std::vector<bool> withoutWords;
        if (options.excludeMerges) {
            withoutWords.reserve(read.commits.size());
            for (const CommitRow &commit : read.commits)
                withoutWords.push_back(commit.isMerge);
        }
        subjects = std::async(std::launch::async,
                              [texts = read.subjects, withoutWords = std::move(withoutWords)] {
                                  RepositoryAnalyticsInsights summary;
                                  summariseSubjects(texts, summary, withoutWords);
                                  return summary;
                              });
    });
    const People people = applyPeople(history, mapped,
                                      {options.mergeIdentities, options.separateBots});
    applyFileOptions(database, history, result, options);
    std::future<RepositoryAnalyticsInsights> files = std::async(std::launch::async, [&history] {
        RepositoryAnalyticsInsights summary;
        summary.coChanges
            = coChangesOf(history.fileChanges, rowsPerCommit(history), history.filePaths,
                          history.deletedFiles);
        const std::vector<FileTotals> totals = fileTotals(history);
        summary.hotspots = hotspots(history, totals);
        summary.technologies = technologies(history, totals);
        summary.directories = directories(history);
        return summary;
    });
    summarise(history, result);
    if (options.excludeMerges) {
        // A merge that git shows without changes resolved nothing by hand: it is no empty commit.
        for (const CommitRow &commit : history.commits)
            result.commitsWithoutChanges -= commit.isMerge && commit.rows == 0 ? 1 : 0;
    }

    result.topAuthors = topAuthors(history, result.totalCommits);
    if (options.separateBots)
        result.bots = botAuthors(history, result.totalCommits);
    result.identities = people.identities;
    // Half of the people's commits: automation kept apart owns none of the code.
    const qint64 peopleCommits = result.totalCommits - people.botCommits;
    qint64 covered = 0;
    for (const IndexedAuthorInsight &author : std::as_const(result.topAuthors)) {
        if (author.commits == 1)
            ++result.oneTimeContributors;
        if (peopleCommits > 2 * covered) {
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
    if (options.excludeMerges)
        dropRemoteHeads(result);
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
