#pragma once

#include "InsightPresentation.h"
#include "InsightRecords.h"
#include "JsonOutput.h"

namespace strataloom::cli {

Json toJson(const IndexedAuthorInsight &value);
Json toJson(const IndexedFileInsight &value);
Json toJson(const IndexedCommitTypeInsight &value);
Json toJson(const IndexedActivityInsight &value);
Json toJson(const IndexedDirectoryInsight &value);
Json toJson(const IndexedTechnologyInsight &value);
Json toJson(const IndexedCoChangeInsight &value);
Json toJson(const IndexedCommitSizeInsight &value);
Json toJson(const IndexedBranchInsight &value);
Json toJson(const IndexedTagInsight &value);
Json toJson(const IndexedNamedCount &value);
Json toJson(const RepositoryAnalyticsInsights &value);
/// @brief Every field of @p insights in order, then the observations, risk signals and
/// milestones that the insights screen derives from them.
Json insightsReport(const RepositoryAnalyticsInsights &insights);

} // namespace strataloom::cli
