#pragma once

#include "cli/JsonOutput.h"
#include "insights/InsightOptions.h"
#include "insights/InsightRecords.h"

#include <QString>
#include <QStringList>

namespace strataloom::cli {

/// @brief Synchronises the index of @p repository (in @p indexDirectory when not empty) and
/// describes what happened: importedCommits, wasUpToDate and the snapshot.
Json indexCommand(const QString &repository, const QString &indexDirectory);

/// @brief The switches of the insights' corrections: --as-recorded turns them all off, each
/// of the others one of them.
const QStringList &insightFlags();

/// @brief The reading options that @p flags (a subset of insightFlags()) leave: every correction
/// on unless a flag turns it off.
InsightOptions insightOptions(const QStringList &flags);

/// @brief Synchronises like indexCommand, then computes the insights of the whole history.
RepositoryAnalyticsInsights synchronizedInsights(const QString &repository,
                                                 const QString &indexDirectory,
                                                 const InsightOptions &options);

/// @brief The insights of synchronizedInsights as JSON.
Json insightsCommand(const QString &repository, const QString &indexDirectory,
                     const InsightOptions &options);

} // namespace strataloom::cli
