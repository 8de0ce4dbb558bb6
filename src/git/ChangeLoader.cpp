#include "git/GitService.h"

namespace strataloom {

QList<CommitFileChange> GitService::loadCommitChanges(const QString &repository,
                                                      const QString &commit) const
{
    // The empty format is given twice; harmless, and it suppresses the commit header.
    // --end-of-options: a "commit" such as --output=file must never be read as an option.
    // -z: status and paths are NUL-terminated and every path comes out as named, never C-quoted.
    const QString output
        = run({QStringLiteral("show"), QStringLiteral("--format="), QStringLiteral("--name-status"),
               QStringLiteral("--find-renames"), QStringLiteral("--format="), QStringLiteral("-z"),
               QStringLiteral("--end-of-options"), commit},
              repository);
    const QStringList tokens = output.split(QChar(0));
    QList<CommitFileChange> changes;
    for (qsizetype i = 0; i + 1 < tokens.size(); i += 2) {
        const QString status = tokens.at(i).trimmed();
        if (status.isEmpty())
            break;
        QString path = tokens.at(i + 1);
        // Renames and copies carry the old and the new path.
        const bool twoPaths
            = status.startsWith(QLatin1Char('R')) || status.startsWith(QLatin1Char('C'));
        if (twoPaths && i + 2 < tokens.size())
            path += QStringLiteral(" \u2192 ") + tokens.at(++i + 1);
        path.remove(QChar(0x1F));
        changes.append({status, path});
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
