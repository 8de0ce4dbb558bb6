#pragma once

#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace strataloom {

/**
 * @brief The Conventional Commit type of a subject: "feat", "fix", "docs", "style", "refactor",
 * "perf", "test", "build", "ci", "chore", "revert", or "other".
 *
 * The text before the first colon, without any "(scope)", decides, ignoring letter case. Nothing
 * is trimmed, so " fix: x" and "feat!: x" are "other", while "fix(ui)!: x" is "fix".
 */
QString commitType(const QString &subject);

/// @brief Every value commitType() gives, in the taxonomy's order, "other" last.
QStringList commitTypeNames();

/**
 * @brief The words of a subject worth counting, lower-cased, in order, repeats kept.
 *
 * Words are runs of letters, digits and combining marks of any script, in composed form (NFC)
 * so that both spellings of an accented word count together. A word is kept when it has at least
 * three characters (user-perceived: a letter with its marks counts once), is not a stop word and
 * is not a decimal number that fits in 64 bits.
 */
QStringList significantWords(const QString &subject);

/**
 * @brief The technology of a file: by whole file name, then by extension; an unknown extension
 * gives "." + the extension, no extension gives "Other".
 */
QString technology(const QString &path);

/// @brief Start (UTC) of the period named "yyyy", "yyyy-MM" or "yyyy-MM-dd"; nothing if invalid.
std::optional<QDateTime> periodDate(const QString &label);

/// @brief Which number of an activity point a trend follows.
enum class ActivityValue { Commits, Additions, Deletions, Churn };

/**
 * @brief Percentage change of the later half of @p points against the earlier half, the earlier
 * half's total scaled to the later half's length (which holds the extra point of an odd count).
 *
 * 0 for fewer than two points; 100 when the earlier half scales to nothing but the later has some.
 */
double trend(const QList<IndexedActivityInsight> &points, ActivityValue value);

} // namespace strataloom
