#include "git/GitService.h"

#include <QDate>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <map>

namespace strataloom {

namespace {

const QChar recordSeparator(0x1E);
const QChar unitSeparator(0x1F);

// A number column of --numstat; git prints "-" for binary files, which counts as nothing.
int numstatCount(const QString &text)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? value : 0;
}

// Spaces and tabs only: shortlog's lines are already split at newlines.
QString trimBlanks(const QString &text)
{
    const auto isBlank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text.at(begin)))
        ++begin;
    while (end > begin && isBlank(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

// One point per local calendar day, at the start of that day, ascending by day.
QList<ActivityPoint> pointsPerDay(const std::map<QDate, int> &counts)
{
    QList<ActivityPoint> points;
    for (const auto &[day, count] : counts)
        points.append({day.startOfDay().toUTC(), count});
    return points;
}

} // namespace

QList<FileRecord> GitService::loadFiles(const QString &repository) const
{
    // No HEAD guard: files staged before the first commit are listed too.
    const QStringList paths = nonEmptyLines(run({QStringLiteral("ls-files")}, repository));
    QList<FileRecord> files;
    const qsizetype count = std::min<qsizetype>(paths.size(), fileListLimit);
    files.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        files.append({paths.at(i), QStringLiteral("tracked"), std::nullopt, QString()});
    return files;
}

FileDetails GitService::loadFileDetails(const QString &repository, const QString &path) const
{
    const QString output = run({QStringLiteral("log"), QStringLiteral("--follow"),
                                QStringLiteral("--format=") + unitSeparator + QStringLiteral("%aI")
                                    + unitSeparator + QStringLiteral("%an"),
                                QStringLiteral("--"), path},
                               repository);

    FileDetails details;
    details.path = path;
    QSet<QString> authors;
    for (const QString &line : nonEmptyLines(output)) {
        const QStringList parts = line.split(unitSeparator, Qt::SkipEmptyParts);
        if (parts.size() < 2)
            continue;
        const OptionalDate date = parseISODate(parts.at(0));
        if (!date)
            continue;
        const QString &author = parts.at(1);
        // git prints newest first.
        if (details.commitCount == 0)
            details.lastAuthor = author;
        ++details.commitCount;
        authors.insert(author);
        if (!details.firstCommitDate || *date < *details.firstCommitDate)
            details.firstCommitDate = date;
        if (!details.lastCommitDate || *date > *details.lastCommitDate)
            details.lastCommitDate = date;
    }
    if (details.commitCount == 0)
        details.lastAuthor = QStringLiteral("Unknown");
    details.authors = authors.values();
    std::sort(details.authors.begin(), details.authors.end());

    const QFileInfo file(repository + QLatin1Char('/') + path);
    details.sizeBytes = file.exists() ? file.size() : 0;
    return details;
}

QList<AuthorStat> GitService::loadAuthorStats(const QString &repository) const
{
    if (!hasHead(repository))
        return {};
    const QString output = run(
        {QStringLiteral("shortlog"), QStringLiteral("-sn"), QStringLiteral("HEAD")}, repository);
    QList<AuthorStat> stats;
    for (const QString &line : nonEmptyLines(output)) {
        const QString trimmed = trimBlanks(line);
        // "<count>\t<name>"; trimming leaves neither part empty when a tab is found inside.
        const qsizetype tab = trimmed.indexOf(QLatin1Char('\t'));
        if (tab <= 0)
            continue;
        bool ok = false;
        const int commits = trimmed.left(tab).toInt(&ok);
        stats.append({trimmed.mid(tab + 1), ok ? commits : 0});
    }
    return stats;
}

AuthorDetails GitService::loadAuthorDetails(const QString &repository, const QString &author) const
{
    // git reads the name as a regular expression against "name <e-mail>"; that is kept.
    const QString output
        = run({QStringLiteral("log"), QStringLiteral("--all"), QStringLiteral("--author=") + author,
               QStringLiteral("--numstat"),
               QStringLiteral("--format=") + recordSeparator + QStringLiteral("%aI") + unitSeparator
                   + QStringLiteral("%ae")},
              repository);

    AuthorDetails details;
    details.name = author;
    QSet<QString> emails;
    std::map<QDate, int> commitsPerDay;
    for (const QString &record : output.split(recordSeparator)) {
        if (record.isEmpty())
            continue;
        const QStringList lines = record.split(QLatin1Char('\n'));
        const QStringList header = lines.first().split(unitSeparator);
        if (header.size() < 2)
            continue;
        const OptionalDate date = parseISODate(header.at(0));
        if (!date)
            continue;
        ++details.commits;
        emails.insert(header.at(1));
        ++commitsPerDay[date->toLocalTime().date()];
        if (!details.firstCommitDate || *date < *details.firstCommitDate)
            details.firstCommitDate = date;
        if (!details.lastCommitDate || *date > *details.lastCommitDate)
            details.lastCommitDate = date;
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const QStringList parts = lines.at(i).split(QLatin1Char('\t'));
            if (parts.size() < 2)
                continue;
            details.additions += numstatCount(parts.at(0));
            details.deletions += numstatCount(parts.at(1));
        }
    }
    details.emails = emails.values();
    std::sort(details.emails.begin(), details.emails.end());
    details.activity = pointsPerDay(commitsPerDay);
    return details;
}

QList<ActivityPoint> GitService::loadActivity(const QString &repository, int months) const
{
    if (!hasHead(repository))
        return {};
    const QString output = run(
        {QStringLiteral("log"), QStringLiteral("--since=%1 months ago").arg(months),
         QStringLiteral("--date=short"), QStringLiteral("--format=%ad"), QStringLiteral("HEAD")},
        repository);
    // git prints each author date as year-month-day in the author's own time zone.
    std::map<QDate, int> commitsPerDay;
    for (const QString &line : nonEmptyLines(output)) {
        const QDate day = QDate::fromString(line, QStringLiteral("yyyy-MM-dd"));
        if (day.isValid())
            ++commitsPerDay[day];
    }
    return pointsPerDay(commitsPerDay);
}

} // namespace strataloom
