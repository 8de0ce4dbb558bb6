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

const QString repositoriesKey = QStringLiteral("repositories");
const QString scannedAtKey = QStringLiteral("scannedAt");

std::shared_ptr<QSettings> applicationSettings()
{
    return std::make_shared<QSettings>(QStringLiteral("Strataloom"), QStringLiteral("Strataloom"));
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

// A record as stored: an object of its fields by name, dates as seconds since the reference
// date. Nothing is stored when a date cannot be written.
template<HasFields Record> std::optional<QJsonObject> storedObject(const Record &record)
{
    QJsonObject object;
    bool complete = true;
    visitFields(record, [&](const char *name, const auto &field) {
        if constexpr (std::is_same_v<std::decay_t<decltype(field)>, QDateTime>) {
            const std::optional<double> seconds = referenceSeconds(field);
            complete = complete && seconds.has_value();
            object.insert(QLatin1String(name), seconds.value_or(0));
        } else {
            object.insert(QLatin1String(name), field);
        }
    });
    return complete ? std::optional(object) : std::nullopt;
}

// The record back from its stored object; a missing field or one of another type fails it all.
template<HasFields Record> std::optional<Record> storedRecord(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    Record record;
    bool complete = true;
    visitFields(record, [&](const char *name, auto &field) {
        const QJsonValue stored = object.value(QLatin1String(name));
        if constexpr (std::is_same_v<std::decay_t<decltype(field)>, QDateTime>) {
            const std::optional<QDateTime> date
                = stored.isDouble() ? dateFromReferenceSeconds(stored.toDouble()) : std::nullopt;
            complete = complete && date.has_value();
            field = date.value_or(QDateTime());
        } else {
            complete = complete && stored.isString();
            field = stored.toString();
        }
    });
    return complete ? std::optional(record) : std::nullopt;
}

template<HasFields Record> std::optional<QJsonArray> storedArray(const QList<Record> &records)
{
    QJsonArray array;
    for (const Record &record : records) {
        const std::optional<QJsonObject> object = storedObject(record);
        if (!object)
            return std::nullopt;
        array.append(*object);
    }
    return array;
}

template<HasFields Record> std::optional<QList<Record>> storedList(const QJsonValue &value)
{
    if (!value.isArray())
        return std::nullopt;
    QList<Record> records;
    for (const QJsonValue &entry : value.toArray()) {
        std::optional<Record> record = storedRecord<Record>(entry);
        if (!record)
            return std::nullopt;
        records.append(std::move(*record));
    }
    return records;
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
    const std::optional<QJsonArray> array = storedArray(recents);
    if (!array)
        return std::nullopt;
    return QJsonDocument(*array).toJson(QJsonDocument::Compact);
}

std::optional<QList<RecentRepository>> decodeRecents(const QByteArray &data)
{
    const std::optional<QJsonDocument> document = parse(data);
    if (!document || !document->isArray())
        return std::nullopt;
    return storedList<RecentRepository>(document->array());
}

std::optional<QByteArray> encodeCatalog(const DiscoveredRepositoryCatalog &catalog)
{
    const std::optional<double> scannedAt = referenceSeconds(catalog.scannedAt);
    const std::optional<QJsonArray> repositories = storedArray(catalog.repositories);
    if (!scannedAt || !repositories)
        return std::nullopt;
    const QJsonObject object {{repositoriesKey, *repositories}, {scannedAtKey, *scannedAt}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<DiscoveredRepositoryCatalog> decodeCatalog(const QByteArray &data)
{
    const std::optional<QJsonDocument> document = parse(data);
    if (!document || !document->isObject())
        return std::nullopt;
    const QJsonObject object = document->object();
    const std::optional<QDateTime> scannedAt = dateField(object, scannedAtKey);
    std::optional<QList<DiscoveredRepository>> repositories
        = storedList<DiscoveredRepository>(object.value(repositoriesKey));
    if (!scannedAt || !repositories)
        return std::nullopt;
    return DiscoveredRepositoryCatalog {std::move(*repositories), *scannedAt};
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
