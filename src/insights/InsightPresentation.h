#pragma once

#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>
#include <QUuid>

#include <optional>

namespace strataloom {

// What the insights screen derives from an insights value for display: short observations,
// relative risk signals and dated milestones. Computed afresh for every new value, never stored.
// Icons are symbol names looked up in the interface's icon table; colours are named ("purple",
// "red", "orange", "pink", "blue", "teal", "green") and resolved by the interface.

/// @brief One sentence about the history worth the reader's attention.
struct InsightObservation
{
    QUuid id; ///< fresh for every computation; only tells list items apart
    QString icon;
    QString color;
    QString title;
    QString detail;

    bool operator==(const InsightObservation &) const = default;
};

/// @brief A score from 0 to 100 against an explicit threshold; not a health score.
struct InsightRiskSignal
{
    QString name; ///< also its identity in lists
    double value = 0; ///< 0 to 100
    QString color;
    QString threshold; ///< what a value of 100 means

    bool operator==(const InsightRiskSignal &) const = default;
};

struct InsightMilestone
{
    QUuid id; ///< fresh for every computation
    QString icon;
    QString color;
    QString title;
    QString detail;
    std::optional<QDateTime> date;

    bool operator==(const InsightMilestone &) const = default;
};

/**
 * @brief A fraction (0.653) as a whole percentage in @p locale ("65%" in English): the number
 * rounded to nearest with ties to even, formatted by the locale, then the locale's percent sign.
 */
QString percent(double fraction, const QLocale &locale = QLocale());

/**
 * @brief A value already in percent (42.7) with its sign: "+43%", "-35%", "+0%". The number is
 * rounded like percent() and formatted by @p locale; negative values carry the locale's minus.
 */
QString signedPercent(double value, const QLocale &locale = QLocale());

/// @brief Between one and seven observations, in a fixed rule order; the vocabulary one always.
QList<InsightObservation> insightObservations(const RepositoryAnalyticsInsights &insights,
                                              const QLocale &locale = QLocale());

/**
 * @brief Always six signals, in order: "Ownership", "Reverts", "Wide commits",
 * "Multi-owner hotspot", "Message inconsistency", "Hotspot churn"; each capped at 100.
 */
QList<InsightRiskSignal> calculatedRiskSignals(const RepositoryAnalyticsInsights &insights);

/**
 * @brief Start, peak day, the three newest tags (oldest of them first) and latest activity, each
 * where known, in that order; not re-sorted by date. At most seven.
 */
QList<InsightMilestone> milestoneEntries(const RepositoryAnalyticsInsights &insights);

} // namespace strataloom
