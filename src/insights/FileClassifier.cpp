#include "insights/FileClassifier.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <stdexcept>

namespace strataloom {

namespace {

struct RuleBeside
{
    QString generated;
    QStringList sources;
};

// Languages.json, read once.
struct LanguageTable
{
    QHash<QString, QString> byExtension;
    QHash<QString, QString> byFileName;
    QHash<QString, QString> byInterpreter;
    QSet<QString> excludedNames;
    QSet<QString> excludedFolders;
    QStringList excludedSuffixes;
    QList<RuleBeside> generatedBeside;
    QStringList libraryPrefixes;
    QSet<QString> libraryExtensions;
    QSet<QString> renderedOutputs;
    QStringList renderedSources;
    QSet<QString> asciidocMarkers;

    static const LanguageTable &instance()
    {
        static const LanguageTable table = load();
        return table;
    }

private:
    static QStringList strings(const QJsonValue &value)
    {
        QStringList list;
        for (const QJsonValue &item : value.toArray())
            list.append(item.toString());
        return list;
    }

    static LanguageTable load()
    {
        QFile file(QStringLiteral(":/strataloom/insights/Languages.json"));
        if (!file.open(QIODevice::ReadOnly))
            throw std::logic_error("Languages.json is not in the program's resources");
        const QJsonObject root = QJsonDocument::fromJson(file.readAll()).object();
        LanguageTable table;
        // The first language to name an extension, a file name or an interpreter keeps it.
        for (const QJsonValue &value : root.value(QLatin1String("languages")).toArray()) {
            const QJsonObject language = value.toObject();
            const QString name = language.value(QLatin1String("name")).toString();
            for (const QString &extension : strings(language.value(QLatin1String("extensions"))))
                table.byExtension.insert(extension, name);
            for (const QString &fileName : strings(language.value(QLatin1String("fileNames"))))
                table.byFileName.insert(fileName, name);
            for (const QString &program : strings(language.value(QLatin1String("interpreters"))))
                table.byInterpreter.insert(program, name);
        }
        const QJsonObject excluded = root.value(QLatin1String("excluded")).toObject();
        for (const QString &name : strings(excluded.value(QLatin1String("fileNames"))))
            table.excludedNames.insert(name);
        for (const QString &folder : strings(excluded.value(QLatin1String("folders"))))
            table.excludedFolders.insert(folder);
        table.excludedSuffixes = strings(excluded.value(QLatin1String("suffixes")));
        for (const QJsonValue &value : excluded.value(QLatin1String("besideSources")).toArray()) {
            const QJsonObject rule = value.toObject();
            table.generatedBeside.append({rule.value(QLatin1String("generated")).toString(),
                                          strings(rule.value(QLatin1String("from")))});
        }
        const QJsonObject libraries = excluded.value(QLatin1String("libraries")).toObject();
        table.libraryPrefixes = strings(libraries.value(QLatin1String("prefixes")));
        for (const QString &extension : strings(libraries.value(QLatin1String("extensions"))))
            table.libraryExtensions.insert(extension);
        const QJsonObject rendered = excluded.value(QLatin1String("renderedFrom")).toObject();
        for (const QString &output : strings(rendered.value(QLatin1String("outputs"))))
            table.renderedOutputs.insert(output);
        table.renderedSources = strings(rendered.value(QLatin1String("sources")));
        const QJsonObject asciidoc = root.value(QLatin1String("asciidocFolders")).toObject();
        for (const QString &marker : strings(asciidoc.value(QLatin1String("markers"))))
            table.asciidocMarkers.insert(marker);
        return table;
    }
};

// Folder (with its trailing slash, "" at the top) and lower-cased file name of a path.
std::pair<QString, QString> split(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return {path.left(slash + 1), path.mid(slash + 1).toLower()};
}

// The extension of a lower-cased file name (a hidden file's whole name after its dot).
QString extensionOf(const QString &name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot >= 0 ? name.mid(dot + 1) : QString();
}

} // namespace

FileClassifier::FileClassifier(const QStringList &paths)
{
    const LanguageTable &table = LanguageTable::instance();
    m_lowerPaths.reserve(paths.size());
    for (const QString &path : paths) {
        const QString lower = path.toLower();
        m_lowerPaths.insert(lower);
        const auto [folder, name] = split(lower);
        if (table.asciidocMarkers.contains(name))
            m_asciidocFolders.insert(folder);
    }
}

bool FileClassifier::hasNeighbour(const QString &folder, const QString &lowerName) const
{
    return m_lowerPaths.contains(folder.toLower() + lowerName);
}

bool FileClassifier::inAsciidocFolder(const QString &folder) const
{
    if (m_asciidocFolders.isEmpty())
        return false;
    const QString lower = folder.toLower();
    for (qsizetype end = lower.size(); end >= 0; end = lower.lastIndexOf(u'/', end - 2) + 1) {
        if (m_asciidocFolders.contains(lower.left(end)))
            return true;
        if (end == 0)
            break;
    }
    return false;
}

bool FileClassifier::isExcluded(const QString &path, int attributes) const
{
    if (attributes != 0)
        return true;
    const LanguageTable &table = LanguageTable::instance();
    const auto [folder, name] = split(path);
    if (table.excludedNames.contains(name))
        return true;
    for (const QString &suffix : table.excludedSuffixes) {
        if (name.endsWith(suffix))
            return true;
    }
    for (const QStringView component : QStringView(folder).split(u'/', Qt::SkipEmptyParts)) {
        if (table.excludedFolders.contains(component.toString().toLower()))
            return true;
    }
    for (const RuleBeside &rule : table.generatedBeside) {
        if (name != rule.generated)
            continue;
        for (const QString &source : rule.sources) {
            if (hasNeighbour(folder, source))
                return true;
        }
    }
    const QString extension = extensionOf(name);
    if (table.libraryExtensions.contains(extension)) {
        for (const QString &prefix : table.libraryPrefixes) {
            if (name.startsWith(prefix))
                return true;
        }
    }
    if (table.renderedOutputs.contains(extension)) {
        const QString stem = name.left(name.size() - extension.size());
        for (const QString &source : table.renderedSources) {
            if (hasNeighbour(folder, stem + source))
                return true;
        }
    }
    return false;
}

QString FileClassifier::technology(const QString &path, const QString &interpreter) const
{
    const LanguageTable &table = LanguageTable::instance();
    const auto [folder, name] = split(path);
    if (const auto byName = table.byFileName.constFind(name); byName != table.byFileName.cend())
        return *byName;
    const QString extension = extensionOf(name);
    if (extension == QLatin1String("txt") && inAsciidocFolder(folder))
        return QStringLiteral("AsciiDoc");
    if (const auto known = table.byExtension.constFind(extension);
        known != table.byExtension.cend())
        return *known;
    if (!interpreter.isEmpty()) {
        if (const auto byProgram = table.byInterpreter.constFind(interpreter.toLower());
            byProgram != table.byInterpreter.cend())
            return *byProgram;
    }
    return extension.isEmpty() ? QStringLiteral("Other") : u'.' + extension;
}

} // namespace strataloom
