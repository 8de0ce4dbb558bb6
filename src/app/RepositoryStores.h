#pragma once

#include "app/RepositoryRecords.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

class QSettings;

namespace strataloom {

inline constexpr char recentRepositoriesKey[] = "recentRepositories";
inline constexpr char discoveredRepositoriesKey[] = "discoveredRepositories";

/**
 * @brief One JSON value kept as bytes under a key of the user's preferences.
 *
 * Without settings of its own it uses the application's preferences (organisation and
 * application "Strataloom"). A QSettings passed in is not owned and must outlive every copy;
 * a settings file path gets a QSettings in INI format shared by the copies.
 */
class PreferenceValue
{
public:
    explicit PreferenceValue(QString key);
    PreferenceValue(QSettings *settings, QString key);
    PreferenceValue(const QString &settingsFile, QString key);

    QString key() const { return m_key; }
    /// @brief The stored bytes; empty when nothing is stored.
    QByteArray read() const;
    /// @brief Stores @p data under the key and writes it through to disk.
    void write(const QByteArray &data) const;

private:
    std::shared_ptr<QSettings> m_settings;
    QString m_key;
};

/// @brief The recents, newest first, as a JSON array of {name, path, lastOpened}.
class RecentRepositoryStore
{
public:
    /// @brief The application's preferences, key "recentRepositories".
    RecentRepositoryStore();
    explicit RecentRepositoryStore(QSettings *settings,
                                   QString key = QString::fromLatin1(recentRepositoriesKey));
    explicit RecentRepositoryStore(const QString &settingsFile,
                                   QString key = QString::fromLatin1(recentRepositoriesKey));

    QString key() const { return m_value.key(); }
    /// @brief The stored list in stored order; empty when nothing is stored or it does not decode.
    QList<RecentRepository> load() const;
    /// @brief Replaces the stored list; a list that cannot be encoded leaves the old value.
    void save(const QList<RecentRepository> &recents) const;

private:
    PreferenceValue m_value;
};

/// @brief The last scan's catalog as a JSON object {repositories: [{name, path}], scannedAt}.
class DiscoveredRepositoryStore
{
public:
    /// @brief The application's preferences, key "discoveredRepositories".
    DiscoveredRepositoryStore();
    explicit DiscoveredRepositoryStore(QSettings *settings,
                                       QString key
                                       = QString::fromLatin1(discoveredRepositoriesKey));
    explicit DiscoveredRepositoryStore(const QString &settingsFile,
                                       QString key
                                       = QString::fromLatin1(discoveredRepositoriesKey));

    QString key() const { return m_value.key(); }
    /// @brief The stored catalog; none when nothing is stored or it does not decode.
    std::optional<DiscoveredRepositoryCatalog> load() const;
    /// @brief Replaces the stored catalog; one that cannot be encoded leaves the old value.
    void save(const DiscoveredRepositoryCatalog &catalog) const;

private:
    PreferenceValue m_value;
};

/// @brief Seconds since 2001-01-01T00:00:00Z, the stored form of a date; none when invalid.
std::optional<double> referenceSeconds(const QDateTime &date);
/// @brief The UTC date of @p seconds since 2001-01-01T00:00:00Z; none when out of range.
std::optional<QDateTime> dateFromReferenceSeconds(double seconds);

/// @brief The stored bytes of @p recents; none when a date is invalid.
std::optional<QByteArray> encodeRecents(const QList<RecentRepository> &recents);
/// @brief The list in @p data; none unless every entry has all fields with the right types.
std::optional<QList<RecentRepository>> decodeRecents(const QByteArray &data);
std::optional<QByteArray> encodeCatalog(const DiscoveredRepositoryCatalog &catalog);
std::optional<DiscoveredRepositoryCatalog> decodeCatalog(const QByteArray &data);

} // namespace strataloom
