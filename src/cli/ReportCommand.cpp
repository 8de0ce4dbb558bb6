#include "cli/ReportCommand.h"

#include "app/FileExport.h"
#include "cli/IndexCommands.h"
#include "git/GitService.h"
#include "insights/HtmlReport.h"
#include "insights/InsightPresentation.h"

#include <QHash>
#include <QLocale>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace strataloom::cli {

namespace {

constexpr int listedAuthors = 8;
constexpr int listedHotspots = 8;
constexpr int listedTechnologies = 6;
constexpr int sparklineMonths = 24;

// The parts of the report that take a colour, and the escape sequence of each.
enum class Tone { Heading, Bar, Quiet, Calm, Warning, Alarm };

class Painter
{
public:
    explicit Painter(bool colour) : m_colour(colour) { }

    QString operator()(Tone tone, const QString &text) const
    {
        if (!m_colour || text.isEmpty())
            return text;
        static const QHash<Tone, QString> codes {
            {Tone::Heading, QStringLiteral("1")}, {Tone::Bar, QStringLiteral("36")},
            {Tone::Quiet, QStringLiteral("2")},   {Tone::Calm, QStringLiteral("32")},
            {Tone::Warning, QStringLiteral("33")}, {Tone::Alarm, QStringLiteral("31")}};
        return QStringLiteral("\x1b[%1m%2\x1b[0m").arg(codes.value(tone), text);
    }

private:
    bool m_colour;
};

// A horizontal bar of @p fraction (0 to 1) of @p width cells, in eighths of a cell.
QString bar(double fraction, int width)
{
    static const QString partial = QStringLiteral(" ▏▎▍▌▋▊▉");
    const int eighths = int(std::lround(std::clamp(fraction, 0.0, 1.0) * width * 8));
    QString text(eighths / 8, QChar(0x2588));
    if (eighths % 8 != 0)
        text += partial.at(eighths % 8);
    return text.leftJustified(width, QLatin1Char(' '));
}

// Columns a character takes in a terminal: two for the wide East Asian scripts, one otherwise.
int columns(char32_t c)
{
    const bool wide = (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF)
        || (c >= 0xAC00 && c <= 0xD7A3) || (c >= 0xF900 && c <= 0xFAFF)
        || (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60)
        || (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x1FAFF) || c >= 0x20000;
    return wide ? 2 : 1;
}

// @p text cut to @p width columns with an ellipsis, or padded to it.
QString fitted(const QString &text, int width)
{
    const QList<uint> characters = text.toUcs4();
    int total = 0;
    for (const uint c : characters)
        total += columns(c);
    const int room = total <= width ? width : width - 1; // the ellipsis takes one
    QString out;
    int used = 0;
    for (const uint c : characters) {
        if (used + columns(c) > room)
            break;
        out += QString::fromUcs4(reinterpret_cast<const char32_t *>(&c), 1);
        used += columns(c);
    }
    if (total > width) {
        out += QChar(0x2026);
        ++used;
    }
    return out + QString(std::max(width - used, 0), QLatin1Char(' '));
}

// @p text broken at spaces into lines of at most @p width characters after @p indent spaces
// (a word longer than a line is cut).
QStringList wrapped(const QString &text, int width, int indent = 0)
{
    const QString margin(indent, QLatin1Char(' '));
    const int room = std::max(width - indent, 10);
    QStringList lines;
    QString line;
    for (const QString &word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!line.isEmpty() && line.size() + 1 + word.size() > room) {
            lines << margin + line;
            line.clear();
        }
        line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word.left(room);
    }
    if (!line.isEmpty())
        lines << margin + line;
    return lines;
}

QString count(qint64 value)
{
    return QLocale().toString(value);
}

QString plural(qint64 value, const char *one, const char *many)
{
    return count(value) + QLatin1Char(' ') + QLatin1String(value == 1 ? one : many);
}

QString bytes(qint64 value)
{
    return QLocale().formattedDataSize(value, 1, QLocale::DataSizeSIFormat);
}

QString age(const QDateTime &from, const QDateTime &to)
{
    const qint64 days = from.daysTo(to);
    if (days >= 730)
        return plural(days / 365, "year", "years");
    if (days >= 60)
        return plural(days / 30, "month", "months");
    return plural(std::max<qint64>(days, 0), "day", "days");
}

QString day(const OptionalDate &date)
{
    return date ? QLocale().toString(date->toUTC().date(), QLocale::ShortFormat) : QString();
}

// Commits per month over the @p months months that end with the newest active month, as a
// line of block characters scaled to the busiest month (a blank where nothing happened).
struct Sparkline
{
    QString line;
    QString first, last, busiest; ///< month labels
    qint64 busiestCommits = 0;
};

Sparkline sparkline(const QList<IndexedActivityInsight> &monthly, int months)
{
    Sparkline result;
    if (monthly.isEmpty())
        return result;
    QHash<QString, qint64> commits;
    for (const IndexedActivityInsight &month : monthly)
        commits.insert(month.label, month.commits);
    const QDate newest = QDate::fromString(monthly.last().label + QStringLiteral("-01"),
                                           QStringLiteral("yyyy-MM-dd"));
    QList<std::pair<QString, qint64>> window;
    for (int back = months - 1; back >= 0; --back) {
        const QString label = newest.addMonths(-back).toString(QStringLiteral("yyyy-MM"));
        window.append({label, commits.value(label)});
    }
    for (const auto &[label, value] : window) {
        if (value > result.busiestCommits) {
            result.busiestCommits = value;
            result.busiest = label;
        }
    }
    static const QString levels = QStringLiteral("▁▂▃▄▅▆▇█");
    for (const auto &[label, value] : window) {
        if (value == 0) {
            result.line += QLatin1Char(' ');
            continue;
        }
        const double share = double(value) / double(result.busiestCommits);
        result.line += levels.at(std::clamp(int(std::ceil(share * 8)) - 1, 0, 7));
    }
    result.first = window.first().first;
    result.last = window.last().first;
    return result;
}

} // namespace

ReportStyle terminalReportStyle()
{
    ReportStyle style;
    const bool terminal = ::isatty(STDOUT_FILENO) == 1;
    style.colour = terminal && !qEnvironmentVariableIsSet("NO_COLOR")
        && qEnvironmentVariable("TERM") != QLatin1String("dumb");
    winsize size {};
    if (terminal && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40)
        style.width = std::min<int>(size.ws_col, 120);
    return style;
}

QString formatReport(const RepositorySummary &summary, const RepositoryAnalyticsInsights &insights,
                     const ReportStyle &style, const QDateTime &now)
{
    const Painter paint(style.colour);
    const int width = std::max(style.width, 40);
    QStringList lines;
    const auto heading = [&](const QString &text) {
        lines << QString() << paint(Tone::Heading, text);
    };
    const auto paragraph = [&](const QString &text, int indent, Tone tone) {
        for (const QString &line : wrapped(text, width, indent))
            lines << paint(tone, line);
    };

    paragraph(summary.name, 0, Tone::Heading);
    QStringList place {summary.path};
    if (!summary.currentBranch.isEmpty())
        place << summary.currentBranch;
    paragraph(place.join(QStringLiteral(" · ")), 0, Tone::Quiet);
    if (summary.firstCommitDate && summary.latestCommitDate) {
        paragraph(QStringLiteral("%1 old: first commit %2, latest %3")
                      .arg(age(*summary.firstCommitDate, now), day(summary.firstCommitDate),
                           day(summary.latestCommitDate)),
                  0, Tone::Heading);
    }
    paragraph(QStringList {plural(summary.commitCount, "commit", "commits"),
                           plural(summary.authorCount, "author", "authors"),
                           plural(summary.branchCount, "branch", "branches"),
                           plural(summary.tagCount, "tag", "tags"),
                           plural(summary.trackedFileCount, "file", "files"),
                           bytes(summary.repositorySizeBytes)}
                  .join(QStringLiteral(" · ")),
              0, Tone::Heading);

    // Name column, then the bar, then the figures; the bar takes what the width leaves.
    const int nameWidth = std::clamp(width / 3, 12, 32);
    const int figuresWidth = 18;
    const int barWidth = std::max(width - nameWidth - figuresWidth - 4, 8);

    if (!insights.topAuthors.isEmpty()) {
        heading(QStringLiteral("Top contributors"));
        const qint64 most = insights.topAuthors.first().commits;
        for (const IndexedAuthorInsight &author : insights.topAuthors.mid(0, listedAuthors)) {
            lines << QStringLiteral("  %1 %2 %3")
                         .arg(fitted(author.name, nameWidth),
                              paint(Tone::Bar, bar(double(author.commits) / most, barWidth)),
                              QStringLiteral("%1 %2").arg(count(author.commits).rightJustified(7),
                                                         percent(author.commitShare).rightJustified(4)));
        }
        if (insights.topAuthors.size() > listedAuthors) {
            lines << paint(Tone::Quiet,
                           QStringLiteral("  and %1 more")
                               .arg(count(insights.topAuthors.size() - listedAuthors)));
        }
    }

    // Two month labels and their spaces take 20 columns.
    const Sparkline activity
        = sparkline(insights.monthlyActivity, std::min(sparklineMonths, width - 20));
    if (!activity.line.isEmpty()) {
        heading(QStringLiteral("Activity by month"));
        lines << QStringLiteral("  %1 %2 %3")
                     .arg(activity.first, paint(Tone::Bar, activity.line), activity.last);
        lines << paint(Tone::Quiet, QStringLiteral("  busiest: %1 with %2")
                                        .arg(activity.busiest,
                                             plural(activity.busiestCommits, "commit", "commits")));
    }

    if (!insights.hotspots.isEmpty()) {
        heading(QStringLiteral("Hotspots"));
        for (const IndexedFileInsight &file : insights.hotspots.mid(0, listedHotspots)) {
            const QString figures = QStringLiteral("%1 · %2").arg(
                                        plural(file.changes, "change", "changes"),
                                        plural(file.authors, "author", "authors"))
                + (file.deleted ? QStringLiteral(" · deleted") : QString());
            const int pathWidth = std::max(width - 3 - int(figures.size()), 10);
            lines << QStringLiteral("  %1 %2").arg(fitted(file.path, pathWidth),
                                                   paint(Tone::Quiet, figures));
        }
    }

    if (!insights.technologies.isEmpty()) {
        heading(QStringLiteral("Technologies by lines changed"));
        qint64 churn = 0;
        for (const IndexedTechnologyInsight &technology : insights.technologies)
            churn += technology.additions + technology.deletions;
        for (const IndexedTechnologyInsight &technology :
             insights.technologies.mid(0, listedTechnologies)) {
            const double share
                = churn > 0 ? double(technology.additions + technology.deletions) / churn : 0;
            lines << QStringLiteral("  %1 %2 %3")
                         .arg(fitted(technology.name, nameWidth),
                              paint(Tone::Bar, bar(share, barWidth)),
                              percent(share).rightJustified(4));
        }
    }

    heading(QStringLiteral("Risk signals (100 = at the threshold)"));
    for (const InsightRiskSignal &signal : calculatedRiskSignals(insights)) {
        const Tone tone = signal.value >= 100 ? Tone::Alarm
            : signal.value >= 50              ? Tone::Warning
                                              : Tone::Calm;
        lines << QStringLiteral("  %1 %2 %3")
                     .arg(fitted(signal.name, nameWidth),
                          paint(tone, bar(signal.value / 100.0, barWidth)),
                          count(std::lround(signal.value)).rightJustified(4));
        paragraph(signal.threshold, nameWidth + 3, Tone::Quiet);
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

void reportCommand(const QString &repository, const QString &indexDirectory,
                   const InsightOptions &options, const QString &htmlFile)
{
    RepositorySummary summary = GitService().loadSummary(repository);
    const RepositoryAnalyticsInsights insights
        = synchronizedInsights(repository, indexDirectory, options);
    // With identities merged, the header counts people, as the contributor list below it does
    // (automation accounts included); as recorded it keeps git's count of names and addresses.
    if (options.mergeIdentities)
        summary.authorCount = int(insights.topAuthors.size() + insights.bots.size());
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (!htmlFile.isEmpty() && htmlFile != QLatin1String("-")) {
        writeExportFile(htmlFile, htmlReport(summary, insights, now).toUtf8());
        return;
    }
    const QByteArray text = htmlFile.isEmpty()
        ? formatReport(summary, insights, terminalReportStyle(), now).toUtf8()
        : htmlReport(summary, insights, now).toUtf8();
    std::fwrite(text.constData(), 1, text.size(), stdout);
}

} // namespace strataloom::cli
