#pragma once

#include "insights/InsightPresentation.h"
#include "insights/InsightFields.h"
#include "cli/JsonOutput.h"

namespace strataloom::cli {

/// @brief Every field of @p insights in order, then the observations, risk signals and
/// milestones that the insights screen derives from them.
Json insightsReport(const RepositoryAnalyticsInsights &insights);

} // namespace strataloom::cli
