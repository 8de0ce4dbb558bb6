#pragma once

#include "git/GitRecords.h"
#include "insights/InsightOptions.h"
#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QString>

namespace strataloom::cli {

/// @brief How the report is drawn: with colours (a terminal that wants them) or plain.
struct ReportStyle
{
    bool colour = false;
    int width = 80; ///< columns the report may use; bars and names shrink to fit
};

/// @brief The style for standard output: colours only on a terminal, never with NO_COLOR set
/// (whatever its value) or TERM=dumb; the terminal's width when it says one.
ReportStyle terminalReportStyle();

/**
 * @brief A repository overview for people to read in a terminal: name and age, the counts, top
 * contributors with bars, monthly activity as a sparkline, hotspots, technologies and the risk
 * signals. @p now dates the age and the activity window; numbers follow the default locale.
 */
QString formatReport(const RepositorySummary &summary, const RepositoryAnalyticsInsights &insights,
                     const ReportStyle &style, const QDateTime &now);

/**
 * @brief Synchronises the index like `insights`, then prints the report on standard output, or
 * with @p htmlFile writes it as one HTML page there instead ("-": standard output).
 */
void reportCommand(const QString &repository, const QString &indexDirectory,
                   const InsightOptions &options, const QString &htmlFile = {});

} // namespace strataloom::cli
