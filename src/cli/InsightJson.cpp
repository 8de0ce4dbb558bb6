#include "cli/InsightJson.h"

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
