#include "InsightJson.h"

namespace strataloom::cli {

namespace {

// Defined after every record's toJson is declared, so that all of them are found here.
template<typename T> Json listJson(const QList<T> &items)
{
    return Json::array(items, [](const T &item) { return toJson(item); });
}

} // namespace

Json toJson(const IndexedAuthorInsight &value)
{
    return Json::Object {
        {QStringLiteral("name"), value.name},
        {QStringLiteral("commits"), value.commits},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
        {QStringLiteral("commitShare"), value.commitShare},
        {QStringLiteral("firstCommitAt"), value.firstCommitAt},
        {QStringLiteral("lastCommitAt"), value.lastCommitAt},
    };
}

Json toJson(const IndexedFileInsight &value)
{
    return Json::Object {
        {QStringLiteral("path"), value.path},
        {QStringLiteral("changes"), value.changes},
        {QStringLiteral("authors"), value.authors},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
        {QStringLiteral("firstChangedAt"), value.firstChangedAt},
        {QStringLiteral("lastChangedAt"), value.lastChangedAt},
    };
}

Json toJson(const IndexedCommitTypeInsight &value)
{
    return Json::Object {
        {QStringLiteral("type"), value.type},
        {QStringLiteral("count"), value.count},
    };
}

Json toJson(const IndexedActivityInsight &value)
{
    return Json::Object {
        {QStringLiteral("label"), value.label},
        {QStringLiteral("date"), value.date},
        {QStringLiteral("commits"), value.commits},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
    };
}

Json toJson(const IndexedDirectoryInsight &value)
{
    return Json::Object {
        {QStringLiteral("path"), value.path},
        {QStringLiteral("changes"), value.changes},
        {QStringLiteral("authors"), value.authors},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
    };
}

Json toJson(const IndexedTechnologyInsight &value)
{
    return Json::Object {
        {QStringLiteral("name"), value.name},
        {QStringLiteral("files"), value.files},
        {QStringLiteral("changes"), value.changes},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
    };
}

Json toJson(const IndexedCoChangeInsight &value)
{
    return Json::Object {
        {QStringLiteral("firstPath"), value.firstPath},
        {QStringLiteral("secondPath"), value.secondPath},
        {QStringLiteral("commits"), value.commits},
    };
}

Json toJson(const IndexedCommitSizeInsight &value)
{
    return Json::Object {
        {QStringLiteral("sha"), value.sha},
        {QStringLiteral("subject"), value.subject},
        {QStringLiteral("author"), value.author},
        {QStringLiteral("date"), value.date},
        {QStringLiteral("files"), value.files},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
    };
}

Json toJson(const IndexedBranchInsight &value)
{
    return Json::Object {
        {QStringLiteral("name"), value.name},
        {QStringLiteral("isRemote"), value.isRemote},
        {QStringLiteral("lastCommitAt"), value.lastCommitAt},
    };
}

Json toJson(const IndexedTagInsight &value)
{
    return Json::Object {
        {QStringLiteral("name"), value.name},
        {QStringLiteral("commitAt"), value.commitAt},
    };
}

Json toJson(const IndexedNamedCount &value)
{
    return Json::Object {
        {QStringLiteral("name"), value.name},
        {QStringLiteral("count"), value.count},
    };
}

Json toJson(const RepositoryAnalyticsInsights &value)
{
    return Json::Object {
        {QStringLiteral("totalCommits"), value.totalCommits},
        {QStringLiteral("mergeCommits"), value.mergeCommits},
        {QStringLiteral("revertCommits"), value.revertCommits},
        {QStringLiteral("conventionalCommits"), value.conventionalCommits},
        {QStringLiteral("additions"), value.additions},
        {QStringLiteral("deletions"), value.deletions},
        {QStringLiteral("firstCommitAt"), value.firstCommitAt},
        {QStringLiteral("lastCommitAt"), value.lastCommitAt},
        {QStringLiteral("activeDays"), value.activeDays},
        {QStringLiteral("longestGapDays"), value.longestGapDays},
        {QStringLiteral("peakDay"), value.peakDay ? toJson(*value.peakDay) : Json()},
        {QStringLiteral("filesAdded"), value.filesAdded},
        {QStringLiteral("filesDeleted"), value.filesDeleted},
        {QStringLiteral("filesRenamed"), value.filesRenamed},
        {QStringLiteral("binaryFiles"), value.binaryFiles},
        {QStringLiteral("commitsWithoutChanges"), value.commitsWithoutChanges},
        {QStringLiteral("wideCommits"), value.wideCommits},
        {QStringLiteral("averageCommitChurn"), value.averageCommitChurn},
        {QStringLiteral("averageSubjectLength"), value.averageSubjectLength},
        {QStringLiteral("shortMessages"), value.shortMessages},
        {QStringLiteral("oneTimeContributors"), value.oneTimeContributors},
        {QStringLiteral("busFactor"), value.busFactor},
        {QStringLiteral("localBranches"), value.localBranches},
        {QStringLiteral("remoteBranches"), value.remoteBranches},
        {QStringLiteral("tagCount"), value.tagCount},
        {QStringLiteral("activityTrendPercent"), value.activityTrendPercent},
        {QStringLiteral("churnTrendPercent"), value.churnTrendPercent},
        {QStringLiteral("contributorTrendPercent"), value.contributorTrendPercent},
        {QStringLiteral("topAuthors"), listJson(value.topAuthors)},
        {QStringLiteral("hotspots"), listJson(value.hotspots)},
        {QStringLiteral("commitTypes"), listJson(value.commitTypes)},
        {QStringLiteral("dailyActivity"), listJson(value.dailyActivity)},
        {QStringLiteral("monthlyActivity"), listJson(value.monthlyActivity)},
        {QStringLiteral("yearlyActivity"), listJson(value.yearlyActivity)},
        {QStringLiteral("directories"), listJson(value.directories)},
        {QStringLiteral("technologies"), listJson(value.technologies)},
        {QStringLiteral("coChanges"), listJson(value.coChanges)},
        {QStringLiteral("largestCommits"), listJson(value.largestCommits)},
        {QStringLiteral("branches"), listJson(value.branches)},
        {QStringLiteral("tags"), listJson(value.tags)},
        {QStringLiteral("emailDomains"), listJson(value.emailDomains)},
        {QStringLiteral("commonWords"), listJson(value.commonWords)},
    };
}
Json insightsReport(const RepositoryAnalyticsInsights &insights)
{
    Json::Object report = std::get<Json::Object>(toJson(insights).value());
    report.emplace_back(QStringLiteral("observations"),
                        Json::array(insightObservations(insights), [](const InsightObservation &o) {
                            return Json(Json::Object {{QStringLiteral("title"), o.title},
                                                      {QStringLiteral("detail"), o.detail},
                                                      {QStringLiteral("icon"), o.icon},
                                                      {QStringLiteral("color"), o.color}});
                        }));
    report.emplace_back(
        QStringLiteral("riskSignals"),
        Json::array(calculatedRiskSignals(insights), [](const InsightRiskSignal &s) {
            return Json(Json::Object {{QStringLiteral("name"), s.name},
                                      {QStringLiteral("value"), s.value},
                                      {QStringLiteral("color"), s.color},
                                      {QStringLiteral("threshold"), s.threshold}});
        }));
    report.emplace_back(QStringLiteral("milestones"),
                        Json::array(milestoneEntries(insights), [](const InsightMilestone &m) {
                            return Json(Json::Object {{QStringLiteral("title"), m.title},
                                                      {QStringLiteral("detail"), m.detail},
                                                      {QStringLiteral("icon"), m.icon},
                                                      {QStringLiteral("color"), m.color},
                                                      {QStringLiteral("date"), m.date}});
                        }));
    return report;
}

} // namespace strataloom::cli
