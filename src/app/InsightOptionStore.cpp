#include "app/InsightOptionStore.h"

#include "app/RepositoryStores.h"
#include "index/RepositoryIndex.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

namespace strataloom {

namespace {

const QString asRecordedName = QStringLiteral("asRecorded");

PreferenceValue preference(QSettings *settings, const QString &key)
{
    return settings ? PreferenceValue(settings, key) : PreferenceValue(key);
}

} // namespace

InsightOptionStore::InsightOptionStore() = default;

InsightOptionStore::InsightOptionStore(QSettings *settings)
    : m_settings(settings)
{ }

QString InsightOptionStore::key(const QString &repository)
{
    // One key for every spelling of the folder; a path holds "/", which QSettings reads as groups.
    return QStringLiteral("insightOptions/")
        + RepositoryIndexLocation::stableHash(QDir::cleanPath(QDir(repository).absolutePath()));
}

InsightOptions InsightOptionStore::load(const QString &repository) const
{
    InsightOptions options;
    const QJsonObject stored
        = QJsonDocument::fromJson(preference(m_settings, key(repository)).read()).object();
    visitOptions(options, [&stored](const char *name, bool &flag) {
        const QJsonValue value = stored.value(QLatin1String(name));
        if (value.isBool())
            flag = value.toBool();
    });
    return options;
}

void InsightOptionStore::save(const QString &repository, const InsightOptions &options) const
{
    QJsonObject stored;
    visitOptions(options, [&stored](const char *name, bool flag) {
        stored.insert(QLatin1String(name), flag);
    });
    preference(m_settings, key(repository))
        .write(QJsonDocument(stored).toJson(QJsonDocument::Compact));
}

QVariantMap insightOptionsMap(const InsightOptions &options)
{
    QVariantMap map;
    visitOptions(options, [&map](const char *name, bool flag) {
        map.insert(QString::fromLatin1(name), flag);
    });
    map.insert(asRecordedName, options == InsightOptions::asRecorded());
    return map;
}

InsightOptions withInsightOption(InsightOptions options, const QString &name, bool on)
{
    if (name == asRecordedName)
        return on ? InsightOptions::asRecorded() : InsightOptions();
    visitOptions(options, [&](const char *option, bool &flag) {
        if (name == QLatin1String(option))
            flag = on;
    });
    return options;
}

} // namespace strataloom
