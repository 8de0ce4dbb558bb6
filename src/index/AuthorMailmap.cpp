#include "index/AuthorMailmap.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <optional>

namespace strataloom {

namespace {

const QString identityStateKey = QStringLiteral("identity_state");

// git takes the contacts as arguments (2.39 has no --stdin for check-mailmap): a run gets a
// bounded share of them, far below any limit on the length of a command line.
constexpr qsizetype contactsPerRun = 1000;
constexpr qsizetype bytesPerRun = 96 * 1024;

QByteArray fileContent(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isPassable(const MailmapContact &contact)
{
    const auto clean = [](const QString &text) {
        for (const QChar c : text) {
            if (c == u'<' || c == u'>' || c == u'\n' || c == u'\r' || c == u'\0')
                return false;
        }
        return true;
    };
    return clean(contact.name) && clean(contact.email);
}

QString argumentOf(const MailmapContact &contact)
{
    const QString address = u'<' + contact.email + u'>';
    return contact.name.isEmpty() ? address : contact.name + u' ' + address;
}

// "Name <email>" or "<email>" as check-mailmap prints it.
std::optional<MailmapContact> parseContact(const QString &line)
{
    if (!line.endsWith(u'>'))
        return std::nullopt;
    const qsizetype open = line.lastIndexOf(u'<');
    if (open < 0)
        return std::nullopt;
    return MailmapContact {line.left(open).trimmed(), line.mid(open + 1, line.size() - open - 2)};
}

void mapRun(const QString &repository, const QList<MailmapContact> &contacts,
            const QList<qsizetype> &positions, QList<MailmapContact> &result)
{
    QStringList arguments {QStringLiteral("check-mailmap")};
    for (const qsizetype position : positions)
        arguments.append(argumentOf(contacts[position]));
    const ProcessResult run = runGitProcess(repository, arguments);
    if (run.exitStatus != 0)
        return;
    const QStringList lines = QString::fromUtf8(run.standardOutput).split(u'\n');
    // One line per contact; anything else means the output cannot be matched up.
    if (lines.size() < positions.size())
        return;
    for (qsizetype i = 0; i < positions.size(); ++i) {
        if (const std::optional<MailmapContact> mapped = parseContact(lines[i]))
            result[positions[i]] = *mapped;
    }
}

} // namespace

QString mailmapState(const QString &repository)
{
    QStringList parts;
    // In a bare repository git prints "true" and then fails for the missing work tree.
    const ProcessResult where
        = runGitProcess(repository,
                        {QStringLiteral("rev-parse"), QStringLiteral("--is-bare-repository"),
                         QStringLiteral("--show-toplevel")});
    const QStringList lines = nonEmptyLines(QString::fromUtf8(where.standardOutput));
    const bool bare = !lines.isEmpty() && lines.first().trimmed() == QLatin1String("true");
    parts.append(QStringLiteral("bare ") + (bare ? QStringLiteral("yes") : QStringLiteral("no")));
    if (!bare && lines.size() >= 2) {
        parts.append(
            QStringLiteral("worktree ")
            + QString::fromLatin1(fileContent(lines[1] + QStringLiteral("/.mailmap")).toHex()));
    }

    const ProcessResult configured = runGitProcess(
        repository,
        {QStringLiteral("config"), QStringLiteral("--type=path"), QStringLiteral("-z"),
         QStringLiteral("--get-regexp"), QStringLiteral("^mailmap\\.")});
    QString blob = bare ? QStringLiteral("HEAD:.mailmap") : QString();
    // -z: "key\nvalue\0" per entry; mailmap.file and mailmap.blob take the last value given.
    for (const QByteArray &entry : configured.standardOutput.split('\0')) {
        const qsizetype newline = entry.indexOf('\n');
        if (newline < 0)
            continue;
        const QString key = QString::fromUtf8(entry.left(newline)).toLower();
        const QString value = QString::fromUtf8(entry.mid(newline + 1));
        if (key == QLatin1String("mailmap.file")) {
            const QString path
                = QFileInfo(value).isAbsolute() ? value : QDir(repository).absoluteFilePath(value);
            parts.append(QStringLiteral("file ") + value + u' '
                         + QString::fromLatin1(fileContent(path).toHex()));
        } else if (key == QLatin1String("mailmap.blob")) {
            blob = value;
        }
    }
    if (!blob.isEmpty()) {
        const ProcessResult object = runGitProcess(
            repository, {QStringLiteral("cat-file"), QStringLiteral("--batch-check")}, {},
            blob.toUtf8() + '\n');
        parts.append(QStringLiteral("blob ") + blob + u' '
                     + QString::fromUtf8(object.standardOutput).trimmed());
    }
    return parts.join(u'\n');
}

QList<MailmapContact> mappedContacts(const QString &repository,
                                     const QList<MailmapContact> &contacts)
{
    QList<MailmapContact> result = contacts;
    QList<qsizetype> run;
    qsizetype bytes = 0;
    for (qsizetype i = 0; i < contacts.size(); ++i) {
        if (!isPassable(contacts[i]))
            continue;
        run.append(i);
        bytes += argumentOf(contacts[i]).size() + 1;
        if (run.size() >= contactsPerRun || bytes >= bytesPerRun) {
            mapRun(repository, contacts, run, result);
            run.clear();
            bytes = 0;
        }
    }
    if (!run.isEmpty())
        mapRun(repository, contacts, run, result);
    return result;
}

bool updateAuthorIdentities(RepositoryIndex &index, const QString &repository)
{
    if (index.isReadOnly())
        return false;
    // Aliases are only ever added, with ascending ids: their number and the largest id say
    // whether the set changed.
    const QString aliases = index.read([](SQLiteDatabase &database) {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT count(*), coalesce(max(id), 0) FROM author_aliases"));
        statement.step();
        return QStringLiteral("aliases %1 %2")
            .arg(statement.columnInt64(0))
            .arg(statement.columnInt64(1));
    });
    const QString state
        = RepositoryIndexLocation::stableHash(mailmapState(repository) + u'\n' + aliases);
    if (index.metadata(identityStateKey) == state)
        return false;

    QList<qint64> ids;
    QList<MailmapContact> contacts;
    index.read([&](SQLiteDatabase &database) {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT id, name, email FROM author_aliases ORDER BY id"));
        while (statement.step()) {
            ids.append(statement.columnInt64(0));
            contacts.append({statement.columnText(1).value_or(QString()),
                             statement.columnText(2).value_or(QString())});
        }
    });
    const QList<MailmapContact> mapped = mappedContacts(repository, contacts);
    QList<RepositoryIndex::MappedIdentity> changed;
    for (qsizetype i = 0; i < ids.size(); ++i) {
        if (mapped[i] != contacts[i])
            changed.append({ids[i], mapped[i].name, mapped[i].email});
    }
    index.replaceMappedIdentities(changed, state, identityStateKey);
    return true;
}

} // namespace strataloom
