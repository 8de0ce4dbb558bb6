#include "cli/InsightJson.h"

#include "insights/InsightFields.h"

namespace strataloom::cli {

namespace {

template<typename T> constexpr bool isList = false;
template<typename T> constexpr bool isList<QList<T>> = true;

// An insight value as JSON: records as objects of their fields in record order, lists as
// arrays, an absent record as null; dates and plain values as the writer spells them.
template<typename T> Json insightJson(const T &value)
{
    if constexpr (requires { visitFields(value, [](const char *, const auto &) {}); }) {
        Json::Object object;
        visitFields(value, [&object](const char *name, const auto &field) {
            object.emplace_back(QString::fromLatin1(name), insightJson(field));
        });
        return object;
    } else if constexpr (requires { visitFields(*value, [](const char *, const auto &) {}); }) {
        return value ? insightJson(*value) : Json();
    } else if constexpr (isList<T>) {
        return Json::array(value, [](const auto &item) { return insightJson(item); });
    } else {
        return Json(value);
    }
}

} // namespace

Json toJson(const RepositoryAnalyticsInsights &value)
{
    return insightJson(value);
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
