#include "cli/InsightJson.h"

#include <algorithm>
#include <initializer_list>

namespace strataloom::cli {

Json insightsReport(const RepositoryAnalyticsInsights &insights, const InsightOptions &options)
{
    Json::Object report = std::get<Json::Object>(toJson(insights).value());
    const auto drop = [&report](const char *key) {
        std::erase_if(report,
                      [key](const auto &field) { return field.first == QLatin1String(key); });
    };
    if (!options.separateBots)
        drop("bots");
    if (!options.mergeIdentities)
        drop("identities");
    if (!options.followRenames && !options.hideDeletedFiles && !options.excludeGenerated) {
        // Without the file corrections nothing reads which files HEAD still holds: the deleted
        // marks are left out rather than all written false.
        const auto unmarked = [](const auto &records, std::initializer_list<QLatin1String> marks) {
            return Json::array(records, [&marks](const auto &record) {
                Json::Object object = std::get<Json::Object>(toJson(record).value());
                std::erase_if(object, [&marks](const auto &field) {
                    return std::find(marks.begin(), marks.end(), field.first) != marks.end();
                });
                return Json(std::move(object));
            });
        };
        const auto replace = [&report](const char *key, Json value) {
            for (auto &field : report) {
                if (field.first == QLatin1String(key))
                    field.second = std::move(value);
            }
        };
        replace("hotspots", unmarked(insights.hotspots, {QLatin1String("deleted")}));
        replace("coChanges",
                unmarked(insights.coChanges,
                         {QLatin1String("firstDeleted"), QLatin1String("secondDeleted")}));
    }
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
