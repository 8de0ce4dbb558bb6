#pragma once

#include "insights/InsightOptions.h"

#include <QString>
#include <QVariantMap>

class QSettings;

namespace strataloom {

/**
 * @brief The insight options chosen for each repository, kept in the user's preferences under
 * "insightOptions/<hash of the repository's path>" as a JSON object of the options by name.
 *
 * Without settings of its own it uses the application's preferences; a QSettings passed in is
 * not owned and must outlive the store.
 */
class InsightOptionStore
{
public:
    InsightOptionStore();
    explicit InsightOptionStore(QSettings *settings);

    /// @brief The options stored for @p repository; every correction on when none are, and for
    /// each option a stored value lacks.
    InsightOptions load(const QString &repository) const;
    void save(const QString &repository, const InsightOptions &options) const;

    /// @brief The preference key of @p repository.
    static QString key(const QString &repository);

private:
    QSettings *m_settings = nullptr;
};

/// @brief The options by name, with "asRecorded" true when all of them are off.
QVariantMap insightOptionsMap(const InsightOptions &options);

/**
 * @brief @p options with the option @p name switched to @p on. "asRecorded" switches every
 * correction: on turns them all off, off turns them all on. An unknown name changes nothing.
 */
InsightOptions withInsightOption(InsightOptions options, const QString &name, bool on);

} // namespace strataloom
