#include "git/GitService.h"

#include "git/GitProcess.h"

#include <algorithm>

namespace strataloom {

namespace {

const QChar unitSeparator(0x1F);

QString formatArgument(const QStringList &atoms)
{
    return QStringLiteral("--format=") + atoms.join(unitSeparator);
}

// A glob that matches @p name only: --exclude reads its value as a pattern.
QString literalGlob(const QString &name)
{
    QString escaped;
    for (const QChar c : name) {
        if (c == QLatin1Char('*') || c == QLatin1Char('?') || c == QLatin1Char('[')
            || c == QLatin1Char('\\'))
            escaped += QLatin1Char('\\');
        escaped += c;
    }
    return escaped;
}

/**
 * The lines of for-each-ref's output (in ref name order) sorted by the seconds in field
 * @p dateField, latest first, ties in ref name order: what --sort=-<date> gives, except that
 * git's own sort fails the whole run on a date it cannot convert ("Timestamp too large").
 * Seconds compare as git compares them, unsigned; no seconds count as 0.
 */
QStringList newestFirst(QStringList lines, int dateField)
{
    const auto seconds = [dateField](const QString &line) {
        return line.section(unitSeparator, dateField, dateField).toULongLong();
    };
    std::stable_sort(lines.begin(), lines.end(), [&seconds](const QString &a, const QString &b) {
        return seconds(a) > seconds(b);
    });
    return lines;
}

} // namespace

QStringList GitService::allRefs(const QString &repository) const
{
    // for-each-ref names each refused ref in a warning on standard error, the full ref name last
    // on its line (in every language git speaks); its exit status stays 0.
    const ProcessResult result
        = runGitProcess(repository, {QStringLiteral("for-each-ref"), QStringLiteral("--format=")});
    QStringList arguments;
    for (const QString &line : nonEmptyLines(QString::fromUtf8(result.standardError))) {
        const qsizetype start = line.indexOf(QLatin1String(" refs/"));
        if (start >= 0)
            arguments << QStringLiteral("--exclude=") + literalGlob(line.mid(start + 1));
    }
    arguments << QStringLiteral("--all");
    return arguments;
}

QList<BranchRecord> GitService::loadBranches(const QString &repository) const
{
    const QString output = run(
        {QStringLiteral("for-each-ref"),
         formatArgument({QStringLiteral("%(refname)"), QStringLiteral("%(refname:short)"),
                         QStringLiteral("%(HEAD)"), QStringLiteral("%(objectname:short)"),
                         QStringLiteral("%(authordate:unix)"), QStringLiteral("%(authorname)")}),
         QStringLiteral("refs/heads"), QStringLiteral("refs/remotes")},
        repository);
    QList<BranchRecord> branches;
    for (const QString &line : newestFirst(nonEmptyLines(output), 4)) {
        const QStringList fields = line.split(unitSeparator);
        if (fields.size() < 6)
            continue;
        BranchRecord branch;
        branch.name = fields.at(1);
        branch.isCurrent = fields.at(2) == QLatin1String("*");
        branch.isRemote = fields.at(0).startsWith(QLatin1String("refs/remotes/"));
        branch.lastCommitHash = fields.at(3);
        branch.lastCommitDate = parseUnixDate(fields.at(4));
        branch.lastAuthor = fields.at(5);
        branches.append(branch);
    }
    return branches;
}

QList<TagRecord> GitService::loadTags(const QString &repository) const
{
    const QString output = run(
        {QStringLiteral("for-each-ref"),
         formatArgument({QStringLiteral("%(refname:short)"), QStringLiteral("%(objectname:short)"),
                         QStringLiteral("%(creatordate:unix)"), QStringLiteral("%(subject)")}),
         QStringLiteral("refs/tags")},
        repository);
    QList<TagRecord> tags;
    for (const QString &line : newestFirst(nonEmptyLines(output), 2)) {
        const QStringList fields = line.split(unitSeparator);
        if (fields.size() < 4)
            continue;
        TagRecord tag;
        tag.name = fields.at(0);
        tag.objectHash = fields.at(1);
        tag.date = parseUnixDate(fields.at(2));
        tag.subject = fields.at(3);
        tags.append(tag);
    }
    return tags;
}

void GitService::checkout(const BranchRecord &branch, const QString &repository) const
{
    // Switching writes work-tree files and runs hooks as plain git would, with the user's own
    // filters and hooks (global or system configuration) and never the repository's own.
    const ProgramOverrides overrides = repositoryFilterOverrides(repository);
    GitSettings configuration = overrides.settings;
    configuration.append({QStringLiteral("core.hooksPath"),
                          overrides.userHooksPath.value_or(QStringLiteral("/dev/null"))});
    // For a remote branch git makes a local branch of the same short name that tracks it.
    if (branch.isRemote)
        run({QStringLiteral("switch"), QStringLiteral("--track"), branch.name}, repository,
            configuration);
    else
        run({QStringLiteral("switch"), branch.name}, repository, configuration);
}

} // namespace strataloom
