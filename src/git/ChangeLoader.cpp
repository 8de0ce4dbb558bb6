#include "git/GitService.h"

namespace strataloom {

QList<CommitFileChange> GitService::loadCommitChanges(const QString &repository,
                                                      const QString &commit) const
{
    // The empty format is given twice; harmless, and it suppresses the commit header.
    // --end-of-options: a "commit" such as --output=file must never be read as an option.
    const QString output
        = run({QStringLiteral("show"), QStringLiteral("--format="), QStringLiteral("--name-status"),
               QStringLiteral("--find-renames"), QStringLiteral("--format="),
               QStringLiteral("--end-of-options"), commit},
              repository);
    QList<CommitFileChange> changes;
    for (const QString &line : nonEmptyLines(output)) {
        const QStringList parts = line.split(QLatin1Char('\t'));
        if (parts.size() < 2)
            continue;
        // Renames and copies carry the old and the new path.
        QString path = parts.size() == 2 ? parts.at(1)
                                         : parts.at(1) + QStringLiteral(" \u2192 ") + parts.at(2);
        path.remove(QChar(0x1F));
        changes.append({parts.at(0), path});
    }
    return changes;
}

QString GitService::loadCommitDiff(const QString &repository, const QString &commit) const
{
    return run({QStringLiteral("show"), QStringLiteral("--no-ext-diff"),
                QStringLiteral("--no-color"), QStringLiteral("--format=fuller"),
                QStringLiteral("--stat"), QStringLiteral("--patch"),
                QStringLiteral("--end-of-options"), commit},
               repository);
}

} // namespace strataloom
