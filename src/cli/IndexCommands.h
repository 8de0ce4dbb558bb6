#pragma once

#include "cli/JsonOutput.h"
#include "insights/InsightRecords.h"

#include <QString>

namespace strataloom::cli {

/// @brief Synchronises the index of @p repository (in @p indexDirectory when not empty) and
/// describes what happened: importedCommits, wasUpToDate and the snapshot.
Json indexCommand(const QString &repository, const QString &indexDirectory);

/// @brief Synchronises like indexCommand, then computes the insights of the whole history.
RepositoryAnalyticsInsights synchronizedInsights(const QString &repository,
                                                 const QString &indexDirectory);

/// @brief The insights of synchronizedInsights as JSON.
Json insightsCommand(const QString &repository, const QString &indexDirectory);

} // namespace strataloom::cli
