#pragma once

#include "insights/InsightPresentation.h"
#include "insights/InsightFields.h"
#include "insights/InsightOptions.h"
#include "cli/JsonOutput.h"

namespace strataloom::cli {

/// @brief Every field of @p insights in order, then the observations, risk signals and
/// milestones that the insights screen derives from them. The fields only a correction fills
/// (bots, identities, the deleted marks of hotspots and coupled files) are left out when @p options turn it off, so that the figures as recorded
/// read exactly as they always did.
Json insightsReport(const RepositoryAnalyticsInsights &insights,
                    const InsightOptions &options = InsightOptions::asRecorded());

} // namespace strataloom::cli
