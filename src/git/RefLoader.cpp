#include "git/GitService.h"

namespace strataloom {

namespace {

const QChar unitSeparator(0x1F);

QString formatArgument(const QStringList &atoms)
{
    return QStringLiteral("--format=") + atoms.join(unitSeparator);
}

} // namespace

QList<BranchRecord> GitService::loadBranches(const QString &repository) const
{
    const QString output
        = run({QStringLiteral("for-each-ref"), QStringLiteral("--sort=-authordate"),
               formatArgument({QStringLiteral("%(refname)"), QStringLiteral("%(refname:short)"),
                               QStringLiteral("%(HEAD)"), QStringLiteral("%(objectname:short)"),
                               QStringLiteral("%(authordate:iso-strict)"),
                               QStringLiteral("%(authorname)")}),
               QStringLiteral("refs/heads"), QStringLiteral("refs/remotes")},
              repository);
    QList<BranchRecord> branches;
    for (const QString &line : nonEmptyLines(output)) {
        const QStringList fields = line.split(unitSeparator);
        if (fields.size() < 6)
            continue;
        BranchRecord branch;
        branch.name = fields.at(1);
        branch.isCurrent = fields.at(2) == QLatin1String("*");
        branch.isRemote = fields.at(0).startsWith(QLatin1String("refs/remotes/"));
        branch.lastCommitHash = fields.at(3);
        branch.lastCommitDate = parseISODate(fields.at(4));
        branch.lastAuthor = fields.at(5);
        branches.append(branch);
    }
    return branches;
}

QList<TagRecord> GitService::loadTags(const QString &repository) const
{
    const QString output
        = run({QStringLiteral("for-each-ref"), QStringLiteral("--sort=-creatordate"),
               formatArgument(
                   {QStringLiteral("%(refname:short)"), QStringLiteral("%(objectname:short)"),
                    QStringLiteral("%(creatordate:iso-strict)"), QStringLiteral("%(subject)")}),
               QStringLiteral("refs/tags")},
              repository);
    QList<TagRecord> tags;
    for (const QString &line : nonEmptyLines(output)) {
        const QStringList fields = line.split(unitSeparator);
        if (fields.size() < 4)
            continue;
        TagRecord tag;
        tag.name = fields.at(0);
        tag.objectHash = fields.at(1);
        tag.date = parseISODate(fields.at(2));
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
