#include "index/PathFacts.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"

#include <QHash>
#include <QSet>

#include <cctype>

namespace strataloom {

namespace {

// Scripts are small; a larger extensionless file is data, whose first line is not worth reading.
constexpr qint64 largestScript = 1 << 20;

ProcessResult runChecked(const QString &repository, const QStringList &arguments,
                         const std::optional<QByteArray> &input = std::nullopt)
{
    ProcessResult result = runGitProcess(repository, arguments, {}, input);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    return result;
}

bool hasExtension(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    // A leading dot names a hidden file (".gitignore"), whose name is its extension.
    return path.indexOf(u'.', slash + 1) >= 0;
}

struct TreeEntry
{
    QString path;
    QByteArray blob; // set for an extensionless regular file small enough to be a script
};

// `ls-tree -r -z -l` records: "<mode> <type> <object> <size>\t<path>", the size padded.
QList<TreeEntry> parseTree(const QByteArray &output)
{
    QList<TreeEntry> entries;
    for (const QByteArray &record : output.split('\0')) {
        const qsizetype tab = record.indexOf('\t');
        if (tab < 0)
            continue;
        TreeEntry entry {QString::fromUtf8(record.mid(tab + 1)), {}};
        const QList<QByteArray> fields = record.left(tab).simplified().split(' ');
        const bool regularFile = fields.size() == 4 && fields[1] == "blob"
            && (fields[0] == "100644" || fields[0] == "100755");
        if (regularFile && !hasExtension(entry.path) && fields[3].toLongLong() <= largestScript)
            entry.blob = fields[2];
        entries.append(entry);
    }
    return entries;
}

// `check-attr -z` records: path, attribute, value, each ended by NUL.
QHash<QString, int> parseAttributes(const QByteArray &output)
{
    QHash<QString, int> flags;
    const QList<QByteArray> fields = output.split('\0');
    for (qsizetype i = 0; i + 2 < fields.size(); i += 3) {
        const QByteArray &attribute = fields[i + 1];
        const QByteArray &value = fields[i + 2];
        int flag = 0;
        if (attribute == "diff" && value == "unset")
            flag = NoDiffAttribute;
        else if (value == "set" || value == "true")
            flag = attribute == "linguist-generated" ? GeneratedAttribute
                : attribute == "linguist-vendored"   ? VendoredAttribute
                                                     : 0;
        if (flag != 0)
            flags[QString::fromUtf8(fields[i])] |= flag;
    }
    return flags;
}

// `cat-file --batch` output for the blobs asked, in order: "<object> blob <size>\n<content>\n".
QHash<QByteArray, QString> interpretersOf(const QString &repository, const QList<QByteArray> &blobs)
{
    QHash<QByteArray, QString> interpreters;
    if (blobs.isEmpty())
        return interpreters;
    QByteArray input;
    for (const QByteArray &blob : blobs)
        input.append(blob).append('\n');
    const QByteArray output
        = runChecked(repository, {QStringLiteral("cat-file"), QStringLiteral("--batch")}, input)
              .standardOutput;
    qsizetype at = 0;
    while (at < output.size()) {
        const qsizetype headerEnd = output.indexOf('\n', at);
        if (headerEnd < 0)
            break;
        const QList<QByteArray> header = output.mid(at, headerEnd - at).split(' ');
        if (header.size() != 3) { // "<object> missing"
            at = headerEnd + 1;
            continue;
        }
        const qsizetype size = header[2].toLongLong();
        const QByteArrayView content(output.constData() + headerEnd + 1,
                                     std::min(size, output.size() - headerEnd - 1));
        const qsizetype lineEnd = content.indexOf('\n');
        const QString interpreter
            = shebangInterpreter(lineEnd < 0 ? content : content.first(lineEnd));
        if (!interpreter.isEmpty())
            interpreters.insert(header[0], interpreter);
        at = headerEnd + 1 + size + 1;
    }
    return interpreters;
}

} // namespace

QString shebangInterpreter(QByteArrayView firstLine)
{
    if (!firstLine.startsWith("#!"))
        return {};
    const QList<QByteArray> words = firstLine.sliced(2).toByteArray().simplified().split(' ');
    const auto baseName
        = [](const QByteArray &word) { return word.mid(word.lastIndexOf('/') + 1); };
    qsizetype i = 0;
    QByteArray program = words.isEmpty() ? QByteArray() : baseName(words[0]);
    if (program == "env") {
        // env's own options and variable assignments come before the program.
        for (i = 1; i < words.size(); ++i) {
            if (!words[i].startsWith('-') && !words[i].contains('='))
                break;
        }
        program = i < words.size() ? baseName(words[i]) : QByteArray();
    }
    // "python3.11" and "perl5" are Python and Perl.
    while (!program.isEmpty() && (std::isdigit(uchar(program.back())) || program.back() == '.'))
        program.chop(1);
    return QString::fromUtf8(program).toLower();
}

PathFacts readPathFacts(const QString &repository, const QStringList &indexedPaths,
                        const QString &knownSource)
{
    PathFacts result;
    const ProcessResult head
        = runGitProcess(repository,
                        {QStringLiteral("rev-parse"), QStringLiteral("-q"),
                         QStringLiteral("--verify"), QStringLiteral("HEAD^{tree}")});
    // An unborn HEAD (a new repository, or a HEAD naming a branch not created yet) holds nothing.
    const QString tree
        = head.exitStatus == 0 ? QString::fromLatin1(head.standardOutput).trimmed() : QString();
    result.source = tree + u':' + QString::number(indexedPaths.size());
    if (result.source == knownSource)
        return result;

    QList<TreeEntry> entries;
    if (!tree.isEmpty()) {
        entries = parseTree(
            runChecked(repository,
                       {QStringLiteral("ls-tree"), QStringLiteral("-r"), QStringLiteral("-z"),
                        QStringLiteral("-l"), QStringLiteral("--full-tree"), tree})
                .standardOutput);
    }

    QSet<QString> atHead;
    QByteArray attributeInput;
    QList<QByteArray> blobs;
    for (const TreeEntry &entry : std::as_const(entries)) {
        atHead.insert(entry.path);
        attributeInput.append(entry.path.toUtf8()).append('\0');
        if (!entry.blob.isEmpty())
            blobs.append(entry.blob);
    }
    for (const QString &path : indexedPaths) {
        if (!atHead.contains(path))
            attributeInput.append(path.toUtf8()).append('\0');
    }
    QHash<QString, int> attributes;
    if (!attributeInput.isEmpty()) {
        attributes = parseAttributes(
            runChecked(repository,
                       {QStringLiteral("check-attr"), QStringLiteral("-z"),
                        QStringLiteral("--stdin"), QStringLiteral("--cached"),
                        QStringLiteral("linguist-generated"), QStringLiteral("linguist-vendored"),
                        QStringLiteral("diff")},
                       attributeInput)
                .standardOutput);
    }
    const QHash<QByteArray, QString> interpreters = interpretersOf(repository, blobs);

    for (const TreeEntry &entry : std::as_const(entries)) {
        result.facts.append(
            {entry.path, true, attributes.value(entry.path), interpreters.value(entry.blob)});
    }
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it) {
        if (!atHead.contains(it.key()))
            result.facts.append({it.key(), false, it.value(), {}});
    }
    return result;
}

} // namespace strataloom

// The index's side: path_facts rows and the metadata that records their source.

namespace strataloom {

namespace {
const QString pathFactsSourceKey = QStringLiteral("path_facts_source");
}

QStringList RepositoryIndex::indexedPaths()
{
    std::lock_guard lock(m_mutex);
    QStringList paths;
    SQLiteStatement statement
        = m_database->statement(QStringLiteral("SELECT current_path FROM files ORDER BY id"));
    while (statement.step())
        paths.append(statement.columnText(0).value_or(QString()));
    return paths;
}

void RepositoryIndex::replacePathFacts(const PathFacts &facts)
{
    std::lock_guard lock(m_mutex);
    SQLiteTransaction transaction(*m_database);
    m_database->execute(QStringLiteral("DELETE FROM path_facts"));
    SQLiteStatement insert = m_database->statement(
        QStringLiteral("INSERT OR REPLACE INTO path_facts(path, at_head, attributes, interpreter) "
                       "VALUES(?, ?, ?, ?)"));
    for (const PathFact &fact : facts.facts) {
        insert.bindText(fact.path, 1);
        insert.bind(qint64(fact.atHead ? 1 : 0), 2);
        insert.bind(qint64(fact.attributes), 3);
        insert.bind(fact.interpreter.isEmpty() ? std::nullopt
                                               : std::optional<QString>(fact.interpreter),
                    4);
        insert.step();
        insert.reset();
    }
    setMetadata(facts.source, pathFactsSourceKey);
    transaction.commit();
}

QString RepositoryIndex::pathFactsSource()
{
    return metadata(pathFactsSourceKey).value_or(QString());
}

void RepositoryIndex::invalidatePathFacts()
{
    setMetadata(QString(), pathFactsSourceKey);
}

} // namespace strataloom
