#include "app/RepositoryStores.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QSettings>

#include <cmath>

namespace strataloom {

namespace {

// Milliseconds from 1970-01-01 to 2001-01-01, the reference date of the stored format.
constexpr qint64 referenceDateMilliseconds = 978307200000;
// About three million years: beyond this a stored number is not a date anyone wrote.
constexpr double largestReferenceSeconds = 1e14;

const QString nameKey = QStringLiteral("name");
const QString pathKey = QStringLiteral("path");
const QString lastOpenedKey = QStringLiteral("lastOpened");
const QString repositoriesKey = QStringLiteral("repositories");
const QString scannedAtKey = QStringLiteral("scannedAt");

std::shared_ptr<QSettings> applicationSettings()
{
    return std::make_shared<QSettings>(QStringLiteral("Strataloom"), QStringLiteral("Strataloom"));
}

// A string field; a missing key or another type fails the whole decode.
std::optional<QString> stringField(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<QDateTime> dateField(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    return dateFromReferenceSeconds(value.toDouble());
}

std::optional<QJsonDocument> parse(const QByteArray &data)
{
    if (data.isEmpty())
        return std::nullopt;
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

} // namespace

PreferenceValue::PreferenceValue(QString key)
    : m_settings(applicationSettings())
    , m_key(std::move(key))
{ }

PreferenceValue::PreferenceValue(QSettings *settings, QString key)
    : m_settings(settings, [](QSettings *) {})
    , m_key(std::move(key))
{ }

PreferenceValue::PreferenceValue(const QString &settingsFile, QString key)
    : m_settings(std::make_shared<QSettings>(settingsFile, QSettings::IniFormat))
    , m_key(std::move(key))
{ }

QByteArray PreferenceValue::read() const
{
    return m_settings->value(m_key).toByteArray();
}

void PreferenceValue::write(const QByteArray &data) const
{
    m_settings->setValue(m_key, data);
    // Saved at once: nothing is written at exit, and the process may not end cleanly.
    m_settings->sync();
}

std::optional<double> referenceSeconds(const QDateTime &date)
{
    if (!date.isValid())
        return std::nullopt;
    return double(date.toMSecsSinceEpoch() - referenceDateMilliseconds) / 1000.0;
}

std::optional<QDateTime> dateFromReferenceSeconds(double seconds)
{
    if (!std::isfinite(seconds) || std::fabs(seconds) > largestReferenceSeconds)
        return std::nullopt;
    const qint64 milliseconds = std::llround(seconds * 1000.0) + referenceDateMilliseconds;
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

std::optional<QByteArray> encodeRecents(const QList<RecentRepository> &recents)
{
    QJsonArray array;
    for (const RecentRepository &recent : recents) {
        const std::optional<double> lastOpened = referenceSeconds(recent.lastOpened);
        if (!lastOpened)
            return std::nullopt;
        array.append(QJsonObject {
            {nameKey, recent.name}, {pathKey, recent.path}, {lastOpenedKey, *lastOpened}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<RecentRepository>> decodeRecents(const QByteArray &data)
{
    const std::optional<QJsonDocument> document = parse(data);
    if (!document || !document->isArray())
        return std::nullopt;
    QList<RecentRepository> recents;
    for (const QJsonValue &value : document->array()) {
        if (!value.isObject())
            return std::nullopt;
        const QJsonObject object = value.toObject();
        const std::optional<QString> name = stringField(object, nameKey);
        const std::optional<QString> path = stringField(object, pathKey);
        const std::optional<QDateTime> lastOpened = dateField(object, lastOpenedKey);
        if (!name || !path || !lastOpened)
            return std::nullopt;
        recents.append({*name, *path, *lastOpened});
    }
    return recents;
}

std::optional<QByteArray> encodeCatalog(const DiscoveredRepositoryCatalog &catalog)
{
    const std::optional<double> scannedAt = referenceSeconds(catalog.scannedAt);
    if (!scannedAt)
        return std::nullopt;
    QJsonArray repositories;
    for (const DiscoveredRepository &repository : catalog.repositories)
        repositories.append(QJsonObject {{nameKey, repository.name}, {pathKey, repository.path}});
    const QJsonObject object {{repositoriesKey, repositories}, {scannedAtKey, *scannedAt}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<DiscoveredRepositoryCatalog> decodeCatalog(const QByteArray &data)
{
    const std::optional<QJsonDocument> document = parse(data);
    if (!document || !document->isObject())
        return std::nullopt;
    const QJsonObject object = document->object();
    const QJsonValue repositories = object.value(repositoriesKey);
    const std::optional<QDateTime> scannedAt = dateField(object, scannedAtKey);
    if (!repositories.isArray() || !scannedAt)
        return std::nullopt;
    DiscoveredRepositoryCatalog catalog;
    catalog.scannedAt = *scannedAt;
    for (const QJsonValue &value : repositories.toArray()) {
        if (!value.isObject())
            return std::nullopt;
        const QJsonObject entry = value.toObject();
        const std::optional<QString> name = stringField(entry, nameKey);
        const std::optional<QString> path = stringField(entry, pathKey);
        if (!name || !path)
            return std::nullopt;
        catalog.repositories.append({*name, *path});
    }
    return catalog;
}

RecentRepositoryStore::RecentRepositoryStore()
    : m_value(QString::fromLatin1(recentRepositoriesKey))
{ }

RecentRepositoryStore::RecentRepositoryStore(QSettings *settings, QString key)
    : m_value(settings, std::move(key))
{ }

RecentRepositoryStore::RecentRepositoryStore(const QString &settingsFile, QString key)
    : m_value(settingsFile, std::move(key))
{ }

QList<RecentRepository> RecentRepositoryStore::load() const
{
    return decodeRecents(m_value.read()).value_or(QList<RecentRepository>());
}

void RecentRepositoryStore::save(const QList<RecentRepository> &recents) const
{
    if (const std::optional<QByteArray> data = encodeRecents(recents))
        m_value.write(*data);
}

DiscoveredRepositoryStore::DiscoveredRepositoryStore()
    : m_value(QString::fromLatin1(discoveredRepositoriesKey))
{ }

DiscoveredRepositoryStore::DiscoveredRepositoryStore(QSettings *settings, QString key)
    : m_value(settings, std::move(key))
{ }

DiscoveredRepositoryStore::DiscoveredRepositoryStore(const QString &settingsFile, QString key)
    : m_value(settingsFile, std::move(key))
{ }

std::optional<DiscoveredRepositoryCatalog> DiscoveredRepositoryStore::load() const
{
    return decodeCatalog(m_value.read());
}

void DiscoveredRepositoryStore::save(const DiscoveredRepositoryCatalog &catalog) const
{
    if (const std::optional<QByteArray> data = encodeCatalog(catalog))
        m_value.write(*data);
}

} // namespace strataloom
