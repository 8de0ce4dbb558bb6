#pragma once

#include "git/GitRecordFields.h"
#include "insights/InsightRecords.h"

namespace strataloom {

// Every insight record's fields by name, in the record's order: visitFields(record, visit)
// calls visit(name, value) once per field. The command line's JSON and the application's QML
// values are both written from these lists, so the two cannot drift apart.

template<typename Visit> void visitFields(const IndexedAuthorInsight &record, Visit &&visit)
{
    visit("name", record.name);
    visit("commits", record.commits);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
    visit("commitShare", record.commitShare);
    visit("firstCommitAt", record.firstCommitAt);
    visit("lastCommitAt", record.lastCommitAt);
}

template<typename Visit> void visitFields(const IndexedFileInsight &record, Visit &&visit)
{
    visit("path", record.path);
    visit("changes", record.changes);
    visit("authors", record.authors);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
    visit("firstChangedAt", record.firstChangedAt);
    visit("lastChangedAt", record.lastChangedAt);
    visit("deleted", record.deleted);
}

template<typename Visit> void visitFields(const IndexedCommitTypeInsight &record, Visit &&visit)
{
    visit("type", record.type);
    visit("count", record.count);
}

template<typename Visit> void visitFields(const IndexedActivityInsight &record, Visit &&visit)
{
    visit("label", record.label);
    visit("date", record.date);
    visit("commits", record.commits);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
}

// Shown beside an activity period's fields (see visitComputedFields).
template<typename Visit>
void visitComputedFields(const IndexedActivityInsight &record, Visit &&visit)
{
    visit("churn", record.churn());
}

template<typename Visit> void visitFields(const IndexedDirectoryInsight &record, Visit &&visit)
{
    visit("path", record.path);
    visit("changes", record.changes);
    visit("authors", record.authors);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
}

template<typename Visit> void visitFields(const IndexedTechnologyInsight &record, Visit &&visit)
{
    visit("name", record.name);
    visit("files", record.files);
    visit("changes", record.changes);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
}

template<typename Visit> void visitFields(const IndexedCoChangeInsight &record, Visit &&visit)
{
    visit("firstPath", record.firstPath);
    visit("secondPath", record.secondPath);
    visit("commits", record.commits);
    visit("firstDeleted", record.firstDeleted);
    visit("secondDeleted", record.secondDeleted);
}

template<typename Visit> void visitFields(const IndexedCommitSizeInsight &record, Visit &&visit)
{
    visit("sha", record.sha);
    visit("subject", record.subject);
    visit("author", record.author);
    visit("date", record.date);
    visit("files", record.files);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
}

template<typename Visit> void visitFields(const IndexedBranchInsight &record, Visit &&visit)
{
    visit("name", record.name);
    visit("isRemote", record.isRemote);
    visit("lastCommitAt", record.lastCommitAt);
}

template<typename Visit> void visitFields(const IndexedTagInsight &record, Visit &&visit)
{
    visit("name", record.name);
    visit("commitAt", record.commitAt);
}

template<typename Visit> void visitFields(const IndexedNamedCount &record, Visit &&visit)
{
    visit("name", record.name);
    visit("count", record.count);
}

template<typename Visit> void visitFields(const IndexedIdentityInsight &record, Visit &&visit)
{
    visit("name", record.name);
    visit("names", record.names);
    visit("emails", record.emails);
    visit("isBot", record.isBot);
}

template<typename Visit> void visitFields(const RepositoryAnalyticsInsights &record, Visit &&visit)
{
    visit("totalCommits", record.totalCommits);
    visit("mergeCommits", record.mergeCommits);
    visit("revertCommits", record.revertCommits);
    visit("conventionalCommits", record.conventionalCommits);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
    visit("firstCommitAt", record.firstCommitAt);
    visit("lastCommitAt", record.lastCommitAt);
    visit("activeDays", record.activeDays);
    visit("longestGapDays", record.longestGapDays);
    visit("peakDay", record.peakDay);
    visit("filesAdded", record.filesAdded);
    visit("filesDeleted", record.filesDeleted);
    visit("filesRenamed", record.filesRenamed);
    visit("binaryFiles", record.binaryFiles);
    visit("commitsWithoutChanges", record.commitsWithoutChanges);
    visit("wideCommits", record.wideCommits);
    visit("averageCommitChurn", record.averageCommitChurn);
    visit("averageSubjectLength", record.averageSubjectLength);
    visit("shortMessages", record.shortMessages);
    visit("oneTimeContributors", record.oneTimeContributors);
    visit("busFactor", record.busFactor);
    visit("localBranches", record.localBranches);
    visit("remoteBranches", record.remoteBranches);
    visit("tagCount", record.tagCount);
    visit("activityTrendPercent", record.activityTrendPercent);
    visit("churnTrendPercent", record.churnTrendPercent);
    visit("contributorTrendPercent", record.contributorTrendPercent);
    visit("topAuthors", record.topAuthors);
    visit("hotspots", record.hotspots);
    visit("commitTypes", record.commitTypes);
    visit("dailyActivity", record.dailyActivity);
    visit("monthlyActivity", record.monthlyActivity);
    visit("yearlyActivity", record.yearlyActivity);
    visit("directories", record.directories);
    visit("technologies", record.technologies);
    visit("coChanges", record.coChanges);
    visit("largestCommits", record.largestCommits);
    visit("branches", record.branches);
    visit("tags", record.tags);
    visit("emailDomains", record.emailDomains);
    visit("commonWords", record.commonWords);
    visit("bots", record.bots);
    visit("identities", record.identities);
}

} // namespace strataloom
