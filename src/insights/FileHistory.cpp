#include "insights/FileHistory.h"

#include "insights/IndexedHistory.h"

#include <QSet>

#include <algorithm>

namespace strataloom {

std::optional<QString> fileHistoryQuery(const QString &path)
{
    if (path.isEmpty() || path.contains(u'"'))
        return std::nullopt;
    const bool blank = std::any_of(path.cbegin(), path.cend(), [](QChar c) { return c.isSpace(); });
    return QStringLiteral("path:") + (blank ? u'"' + path + u'"' : path);
}

FileDetails indexedFileDetails(SQLiteDatabase &database, const QString &path)
{
    const std::optional<QString> query = fileHistoryQuery(path);
    if (!query)
        throw HistoryQueryError(QStringLiteral("a path with a double quote cannot be looked up"),
                                0, path.size());
    IndexedHistory history(database, HistoryQuery::parse(*query));
    history.setReadsBodies(false);
    const QList<CommitRecord> commits = history.page(0, 0); // newest first

    FileDetails details;
    details.path = path;
    details.commitCount = int(commits.size());
    details.lastAuthor = commits.isEmpty() ? QStringLiteral("Unknown") : commits.first().author;
    QSet<QString> authors;
    for (const CommitRecord &commit : commits) {
        authors.insert(commit.author);
        if (!commit.date.isValid())
            continue;
        if (!details.firstCommitDate || commit.date < *details.firstCommitDate)
            details.firstCommitDate = commit.date;
        if (!details.lastCommitDate || commit.date > *details.lastCommitDate)
            details.lastCommitDate = commit.date;
    }
    details.authors = authors.values();
    std::sort(details.authors.begin(), details.authors.end());
    return details;
}

} // namespace strataloom
