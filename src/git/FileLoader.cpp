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

// The day of "<seconds> <+hhmm>" in the zone it names, as git's own short dates count it;
// nothing for a date that cannot be represented.
std::optional<QDate> authorDay(const QString &raw)
{
    const QStringList parts = raw.trimmed().split(QLatin1Char(' '));
    if (parts.size() != 2 || !GitService::parseUnixDate(parts.at(0)))
        return std::nullopt;
    bool ok = false;
    const int zone = parts.at(1).toInt(&ok);
    if (!ok)
        return std::nullopt;
    const qint64 offset = (zone / 100) * 3600 + (zone % 100) * 60;
    const qint64 local = parts.at(0).toLongLong() + offset;
    return QDate(1970, 1, 1).addDays(local >= 0 ? local / 86400 : (local - 86399) / 86400);
}

} // namespace

QList<FileRecord> GitService::loadFiles(const QString &repository) const
{
    // No HEAD guard: files staged before the first commit are listed too.
    // -z: a path holding a newline, tab, quote or backslash comes out as named, not C-quoted.
    QStringList paths
        = run({QStringLiteral("ls-files"), QStringLiteral("-z")}, repository).split(QChar(0));
    paths.removeAll(QString());
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
                                QStringLiteral("--format=") + unitSeparator + QStringLiteral("%at")
                                    + unitSeparator + QStringLiteral("%an"),
                                QStringLiteral("--"), path},
                               repository);

    FileDetails details;
    details.path = path;
    QSet<QString> authors;
    for (const QString &line : nonEmptyLines(output)) {
        // "<0x1F><seconds><0x1F><author>"; git prints no seconds for a date it cannot read.
        const QStringList parts = line.split(unitSeparator);
        if (parts.size() < 3)
            continue;
        const OptionalDate date = parseUnixDate(parts.at(1));
        const QString &author = parts.at(2);
        // git prints newest first.
        if (details.commitCount == 0)
            details.lastAuthor = author;
        ++details.commitCount;
        authors.insert(author);
        if (!date)
            continue;
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
    return parseAuthorStats(run(
        {QStringLiteral("shortlog"), QStringLiteral("-sn"), QStringLiteral("HEAD")}, repository));
}

QList<AuthorStat> GitService::parseAuthorStats(const QString &output)
{
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
    // The name is matched literally ("dependabot[bot]") against "name <e-mail>", anywhere in it.
    const QString output = run(
        QStringList {QStringLiteral("log")} + allRefs(repository)
            + QStringList {QStringLiteral("--fixed-strings"), QStringLiteral("--author=") + author,
                           QStringLiteral("--numstat"),
                           QStringLiteral("--format=") + recordSeparator + QStringLiteral("%at")
                               + unitSeparator + QStringLiteral("%ae")},
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
        const OptionalDate date = parseUnixDate(header.at(0));
        ++details.commits;
        emails.insert(header.at(1));
        if (date) {
            ++commitsPerDay[date->toLocalTime().date()];
            if (!details.firstCommitDate || *date < *details.firstCommitDate)
                details.firstCommitDate = date;
            if (!details.lastCommitDate || *date > *details.lastCommitDate)
                details.lastCommitDate = date;
        }
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
    QStringList arguments {QStringLiteral("log")};
    // git's date arithmetic ends at 1970: a start before that matches nothing at all, where the
    // whole history is meant.
    if (QDate::currentDate().addMonths(-qint64(months)) >= QDate(1970, 1, 2))
        arguments << QStringLiteral("--since=%1 months ago").arg(months);
    // Raw dates ("<seconds> <+hhmm>") are the one form git prints for every commit; the others
    // fail the whole run on some instants.
    arguments << QStringLiteral("--date=raw") << QStringLiteral("--format=%ad")
              << QStringLiteral("HEAD");
    const QString output = run(arguments, repository);
    // Each commit counts on its calendar day in the author's own time zone.
    std::map<QDate, int> commitsPerDay;
    for (const QString &line : nonEmptyLines(output)) {
        if (const std::optional<QDate> day = authorDay(line))
            ++commitsPerDay[*day];
    }
    return pointsPerDay(commitsPerDay);
}

} // namespace strataloom
