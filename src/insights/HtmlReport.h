#pragma once

#include "git/GitRecords.h"
#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>

namespace strataloom {

/**
 * @brief @p text safe inside HTML and XML text and attribute values: &, <, >, " and ' as
 * character references, and the control characters XML does not allow as U+FFFD.
 */
QString htmlEscaped(const QString &text);

/**
 * @brief The repository's overview, statistics and insights as one self-contained HTML page:
 * no script, no external resource, charts as inline SVG, light and dark by the reader's
 * colour-scheme preference. Every text from the repository is escaped. @p generatedAt dates the
 * page; numbers and dates follow @p locale.
 */
QString htmlReport(const RepositorySummary &summary, const RepositoryAnalyticsInsights &insights,
                   const QDateTime &generatedAt, const QLocale &locale = QLocale());

} // namespace strataloom
