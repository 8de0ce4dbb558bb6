#include "insights/HtmlReport.h"

#include "insights/ChartFigures.h"
#include "insights/InsightPresentation.h"
#include "insights/ReportCharts.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace strataloom {

QString htmlEscaped(const QString &text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '&':
            out += QLatin1String("&amp;");
            break;
        case '<':
            out += QLatin1String("&lt;");
            break;
        case '>':
            out += QLatin1String("&gt;");
            break;
        case '"':
            out += QLatin1String("&quot;");
            break;
        case '\'':
            out += QLatin1String("&#39;");
            break;
        default:
            // XML forbids the C0 controls other than tab and line breaks, and the two
            // non-characters at the end of the plane.
            if ((c.unicode() < 0x20 && c != u'\t' && c != u'\n' && c != u'\r')
                || c.unicode() == 0xFFFE || c.unicode() == 0xFFFF)
                out += QChar(0xFFFD);
            else
                out += c;
        }
    }
    return out;
}

namespace {

QString day(const std::optional<QDateTime> &date, const QLocale &locale,
            const QString &fallback = QStringLiteral("Unknown"))
{
    return date && date->isValid() ? locale.toString(date->toLocalTime().date(), QLocale::ShortFormat)
                                   : fallback;
}

// Whole years and months between two commits, like the statistics screen ("3y 4m").
QString age(const std::optional<QDateTime> &first, const std::optional<QDateTime> &latest)
{
    if (!first || !latest || !first->isValid() || !latest->isValid())
        return QStringLiteral("Unknown");
    const QDate from = first->toLocalTime().date();
    const QDate to = latest->toLocalTime().date();
    int months = (to.year() - from.year()) * 12 + to.month() - from.month();
    if (to.day() < from.day())
        --months;
    months = std::max(months, 0);
    return QStringLiteral("%1y %2m").arg(months / 12).arg(months % 12);
}

struct Card
{
    QString title;
    QString value;
    QString caption;
    QString tone = QStringLiteral("blue");
};

class Page
{
public:
    explicit Page(const QLocale &locale) : m_locale(locale) { }

    QString count(qint64 value) const { return m_locale.toString(value); }
    QString decimal(double value, int decimals) const
    {
        return m_locale.toString(value, 'f', decimals);
    }
    QString share(qint64 part, qint64 whole) const
    {
        return percent(whole > 0 ? double(part) / double(whole) : 0.0, m_locale);
    }
    const QLocale &locale() const { return m_locale; }

    void raw(const QString &html) { m_html += html; }
    void text(const QString &plain) { m_html += htmlEscaped(plain); }

    void open(const QString &title, const QString &tone, const QString &subtitle = {},
              const QString &extraClass = {})
    {
        m_html += QStringLiteral("<section class=\"panel %1\"><h2><span class=\"dot tone-%2\">"
                                 "</span>%3</h2>")
                      .arg(extraClass, tone, htmlEscaped(title));
        if (!subtitle.isEmpty())
            m_html += QStringLiteral("<p class=\"sub\">%1</p>").arg(htmlEscaped(subtitle));
    }
    void close() { m_html += QLatin1String("</section>\n"); }

    void subheading(const QString &title)
    {
        m_html += QStringLiteral("<h3>%1</h3>").arg(htmlEscaped(title));
    }

    void cards(const QList<Card> &cards)
    {
        m_html += QLatin1String("<div class=\"cards\">");
        for (const Card &card : cards) {
            m_html += QStringLiteral("<div class=\"card\"><div class=\"card-title\"><span "
                                     "class=\"dot tone-%1\"></span>%2</div><div "
                                     "class=\"card-value\">%3</div>")
                          .arg(card.tone, htmlEscaped(card.title), htmlEscaped(card.value));
            if (!card.caption.isEmpty()) {
                m_html += QStringLiteral("<div class=\"card-caption\">%1</div>")
                              .arg(htmlEscaped(card.caption));
            }
            m_html += QLatin1String("</div>");
        }
        m_html += QLatin1String("</div>\n");
    }

    void empty(const QString &note)
    {
        m_html += QStringLiteral("<p class=\"empty\">%1</p>").arg(htmlEscaped(note));
    }

    /// A table of texts; the columns after the first are figures, aligned to the right.
    void table(const QStringList &headers, const QList<QStringList> &rows)
    {
        m_html += QLatin1String("<table><thead><tr>");
        for (qsizetype column = 0; column < headers.size(); ++column) {
            m_html += QStringLiteral("<th%1>%2</th>")
                          .arg(column > 0 ? QStringLiteral(" class=\"num\"") : QString(),
                               htmlEscaped(headers.at(column)));
        }
        m_html += QLatin1String("</tr></thead><tbody>");
        for (const QStringList &row : rows) {
            m_html += QLatin1String("<tr>");
            for (qsizetype column = 0; column < row.size(); ++column) {
                m_html += QStringLiteral("<td%1>%2</td>")
                              .arg(column > 0 ? QStringLiteral(" class=\"num\"") : QString(),
                                   htmlEscaped(row.at(column)));
            }
            m_html += QLatin1String("</tr>");
        }
        m_html += QLatin1String("</tbody></table>\n");
    }

    QString html() const { return m_html; }

private:
    QLocale m_locale;
    QString m_html;
};

const char *styleSheet = R"css(
:root { color-scheme: light dark;
  --bg: #f5f5f7; --card: #ffffff; --border: rgba(0,0,0,.09); --text: #1d1d1f;
  --muted: rgba(29,29,31,.62); --grid: rgba(29,29,31,.12); --track: rgba(29,29,31,.07);
  --purple: #8e44ad; --red: #d63031; --orange: #d9730d; --pink: #d63384; --blue: #1f6feb;
  --teal: #0f9d8a; --green: #2f9e44; --indigo: #4c5bd4; --cyan: #06b6d4; --yellow: #b08800;
  --gray: rgba(29,29,31,.62); }
@media (prefers-color-scheme: dark) { :root {
  --bg: #1e1e20; --card: #2a2a2d; --border: rgba(255,255,255,.10); --text: #ececef;
  --muted: rgba(236,236,239,.62); --grid: rgba(236,236,239,.12); --track: rgba(236,236,239,.08);
  --purple: #bf8cff; --red: #ff6b6b; --orange: #ffa94d; --pink: #ff8fc7; --blue: #6cb4ff;
  --teal: #5fd3c6; --green: #69db7c; --indigo: #9fa8ff; --cyan: #67e8f9; --yellow: #ffd43b;
  --gray: rgba(236,236,239,.62); } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--bg); color: var(--text);
  font: 14px/1.45 system-ui, -apple-system, "Segoe UI", "Noto Sans", "DejaVu Sans", sans-serif; }
main { max-width: 1180px; margin: 0 auto; padding: 32px 24px 48px; }
header.top { margin-bottom: 20px; }
h1 { font-size: 28px; margin: 0 0 4px; overflow-wrap: anywhere; }
h2 { font-size: 16px; margin: 0 0 12px; display: flex; align-items: center; gap: 8px; }
h3 { font-size: 13px; margin: 16px 0 8px; color: var(--muted); font-weight: 600; }
.meta { color: var(--muted); margin: 2px 0; overflow-wrap: anywhere; }
.sub { color: var(--muted); margin: -8px 0 12px; font-size: 12px; }
.panel { background: var(--card); border: 1px solid var(--border); border-radius: 12px;
  padding: 16px 18px; margin: 0 0 16px; min-width: 0; }
.grid2 { display: grid; grid-template-columns: repeat(auto-fit, minmax(420px, 1fr)); gap: 16px;
  margin-bottom: 16px; }
.grid2 > .panel { margin: 0; }
.dot { display: inline-block; width: 10px; height: 10px; border-radius: 50%; flex: none;
  background: var(--muted); }
.cards { display: grid; grid-template-columns: repeat(auto-fill, minmax(160px, 1fr)); gap: 10px; }
.card { border: 1px solid var(--border); border-radius: 10px; padding: 10px 12px; min-width: 0; }
.card-title { color: var(--muted); font-size: 12px; display: flex; align-items: center; gap: 6px; }
.card-title .dot { width: 8px; height: 8px; }
.card-value { font-size: 20px; font-weight: 700; margin-top: 2px; font-variant-numeric: tabular-nums;
  overflow-wrap: anywhere; }
.card-caption { color: var(--muted); font-size: 12px; overflow-wrap: anywhere; }
ul.notes { list-style: none; margin: 0; padding: 0; }
ul.notes li { display: flex; gap: 10px; padding: 6px 0; }
ul.notes li .dot { margin-top: 5px; }
ul.notes b { display: block; }
ul.notes span.detail { color: var(--muted); font-size: 13px; }
.milestones { display: grid; grid-template-columns: repeat(auto-fill, minmax(200px, 1fr)); gap: 10px; }
.milestone { border: 1px solid var(--border); border-left: 4px solid var(--muted); border-radius: 8px;
  padding: 8px 10px; min-width: 0; }
.milestone b { display: block; overflow-wrap: anywhere; }
.milestone .detail { color: var(--muted); font-size: 12px; }
.milestone .when { font-size: 12px; font-weight: 600; }
table { width: 100%; border-collapse: collapse; font-size: 13px; }
th { text-align: left; color: var(--muted); font-weight: 600; font-size: 12px;
  border-bottom: 1px solid var(--grid); padding: 4px 6px; }
td { border-bottom: 1px solid var(--grid); padding: 5px 6px; overflow-wrap: anywhere; }
tr:last-child td { border-bottom: none; }
.num { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
td.num { color: var(--muted); }
.chips { display: flex; flex-wrap: wrap; gap: 6px; }
.chip { border-radius: 13px; padding: 2px 10px; font-size: 12px; border: 1px solid var(--border); }
.chip span { color: var(--muted); margin-left: 6px; }
.empty { color: var(--muted); font-style: italic; }
.risk .threshold { color: var(--muted); font-size: 12px; margin: 0 0 8px; }
svg { display: block; width: 100%; height: auto; overflow: visible; }
svg text { fill: var(--muted); font-size: 11px; font-variant-numeric: tabular-nums; }
svg text.label { fill: var(--text); font-size: 12px; }
svg .gridline { stroke: var(--grid); stroke-width: 1; }
svg .track { fill: var(--track); }
footer { color: var(--muted); font-size: 12px; margin-top: 24px; text-align: center; }
.tone-purple { background: var(--purple); fill: var(--purple); border-left-color: var(--purple); }
.tone-red { background: var(--red); fill: var(--red); border-left-color: var(--red); }
.tone-orange { background: var(--orange); fill: var(--orange); border-left-color: var(--orange); }
.tone-pink { background: var(--pink); fill: var(--pink); border-left-color: var(--pink); }
.tone-blue { background: var(--blue); fill: var(--blue); border-left-color: var(--blue); }
.tone-teal { background: var(--teal); fill: var(--teal); border-left-color: var(--teal); }
.tone-green { background: var(--green); fill: var(--green); border-left-color: var(--green); }
.tone-indigo { background: var(--indigo); fill: var(--indigo); border-left-color: var(--indigo); }
.tone-cyan { background: var(--cyan); fill: var(--cyan); border-left-color: var(--cyan); }
.tone-yellow { background: var(--yellow); fill: var(--yellow); border-left-color: var(--yellow); }
.tone-gray { background: var(--gray); fill: var(--gray); border-left-color: var(--gray); }
.milestone.tone-purple, .milestone.tone-red, .milestone.tone-orange, .milestone.tone-pink,
.milestone.tone-blue, .milestone.tone-teal, .milestone.tone-green, .milestone.tone-indigo,
.milestone.tone-cyan, .milestone.tone-yellow, .milestone.tone-gray { background: transparent; }
@media print { body { background: #fff; } .panel { break-inside: avoid; } }
)css";


} // namespace

QString htmlReport(const RepositorySummary &summary, const RepositoryAnalyticsInsights &insights,
                   const QDateTime &generatedAt, const QLocale &locale)
{
    Page page(locale);
    const qint64 total = insights.totalCommits;
    const auto count = [&](qint64 value) { return page.count(value); };

    page.raw(QStringLiteral("<!DOCTYPE html>\n<html lang=\"%1\">\n<head>\n<meta charset=\"utf-8\"/>\n"
                            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
                            "<meta name=\"color-scheme\" content=\"light dark\"/>\n"
                            "<meta name=\"generator\" content=\"Strataloom\"/>\n"
                            "<title>%2 — repository report</title>\n<style>")
                 .arg(htmlEscaped(locale.bcp47Name()), htmlEscaped(summary.name)));
    page.raw(QString::fromUtf8(styleSheet));
    page.raw(QStringLiteral("</style>\n</head>\n<body>\n<main>\n<header class=\"top\">"));
    page.raw(QStringLiteral("<h1>%1</h1>").arg(htmlEscaped(summary.name)));
    QStringList place {summary.path};
    if (!summary.currentBranch.isEmpty())
        place << summary.currentBranch;
    if (summary.remoteURL)
        place << *summary.remoteURL;
    page.raw(QStringLiteral("<p class=\"meta\">%1</p>")
                 .arg(htmlEscaped(place.join(QStringLiteral(" · ")))));
    page.raw(QStringLiteral("<p class=\"meta\">Report of the complete reachable history, made "
                            "%1</p></header>\n")
                 .arg(htmlEscaped(locale.toString(generatedAt.toLocalTime(), QLocale::LongFormat))));

    // The statistics screen's overview: git's summary, the index where it knows more.
    page.open(QStringLiteral("Repository overview"), QStringLiteral("blue"));
    page.cards({
        {QStringLiteral("Commits"), count(summary.commitCount), {}, QStringLiteral("blue")},
        {QStringLiteral("Authors"), count(summary.authorCount), {}, QStringLiteral("purple")},
        {QStringLiteral("Tracked files"), count(summary.trackedFileCount), {},
         QStringLiteral("orange")},
        {QStringLiteral("Working tree"),
         locale.formattedDataSize(summary.repositorySizeBytes, 1, QLocale::DataSizeSIFormat), {},
         QStringLiteral("teal")},
        {QStringLiteral("Git database"),
         locale.formattedDataSize(summary.gitSizeBytes, 1, QLocale::DataSizeSIFormat), {},
         QStringLiteral("indigo")},
        {QStringLiteral("Repository age"), age(summary.firstCommitDate, summary.latestCommitDate),
         {}, QStringLiteral("pink")},
        {QStringLiteral("First commit"), day(summary.firstCommitDate, locale), {},
         QStringLiteral("green")},
        {QStringLiteral("Latest commit"), day(summary.latestCommitDate, locale), {},
         QStringLiteral("blue")},
        {QStringLiteral("Commits / month"), page.decimal(summary.commitsPerMonth, 1), {},
         QStringLiteral("purple")},
        {QStringLiteral("Longest pause"), count(insights.longestGapDays) + QStringLiteral(" days"),
         {}, QStringLiteral("orange")},
        {QStringLiteral("Active days"), count(insights.activeDays), {}, QStringLiteral("teal")},
        {QStringLiteral("Peak day"),
         insights.peakDay ? count(insights.peakDay->commits) + QStringLiteral(" commits")
                          : QStringLiteral("—"),
         insights.peakDay ? day(insights.peakDay->date, locale) : QString(), QStringLiteral("red")},
    });
    page.close();

    // The insights screen's headline figures and trends.
    const QString topShare = insights.topAuthors.isEmpty()
        ? percent(0, locale)
        : percent(insights.topAuthors.first().commitShare, locale);
    const auto trend = [&](const QString &title, double value, const QString &caption) {
        return Card {title, signedPercent(value, locale), caption,
                     value >= 0 ? QStringLiteral("green") : QStringLiteral("red")};
    };
    page.open(QStringLiteral("Headline figures"), QStringLiteral("purple"));
    page.cards({
        {QStringLiteral("Commits"), count(total), QStringLiteral("reachable on all refs"),
         QStringLiteral("blue")},
        {QStringLiteral("Code churn"), count(insights.additions + insights.deletions),
         QStringLiteral("+%1 / −%2 lines").arg(count(insights.additions), count(insights.deletions)),
         QStringLiteral("purple")},
        {QStringLiteral("Merge share"), page.share(insights.mergeCommits, total),
         count(insights.mergeCommits) + QStringLiteral(" merge commits"), QStringLiteral("teal")},
        {QStringLiteral("Conventional"), page.share(insights.conventionalCommits, total),
         QStringLiteral("typed commit messages"), QStringLiteral("green")},
        {QStringLiteral("Reverts"), count(insights.revertCommits),
         page.share(insights.revertCommits, total) + QStringLiteral(" of history"),
         QStringLiteral("orange")},
        {QStringLiteral("Top ownership"), topShare,
         insights.topAuthors.isEmpty() ? QStringLiteral("No authors")
                                       : insights.topAuthors.first().name,
         QStringLiteral("pink")},
        trend(QStringLiteral("Activity trend"), insights.activityTrendPercent,
              QStringLiteral("Commit volume between history halves")),
        trend(QStringLiteral("Churn trend"), insights.churnTrendPercent,
              QStringLiteral("Line additions and removals")),
        trend(QStringLiteral("Contributor trend"), insights.contributorTrendPercent,
              QStringLiteral("Distinct authors in the later half")),
    });
    page.close();

    page.raw(QStringLiteral("<div class=\"grid2\">"));
    page.open(QStringLiteral("Signals worth attention"), QStringLiteral("orange"));
    page.raw(QStringLiteral("<ul class=\"notes\">"));
    for (const InsightObservation &observation : insightObservations(insights, locale)) {
        page.raw(QStringLiteral("<li><span class=\"dot tone-%1\"></span><div><b>%2</b><span "
                                "class=\"detail\">%3</span></div></li>")
                     .arg(reportTone(observation.color), htmlEscaped(observation.title),
                          htmlEscaped(observation.detail)));
    }
    page.raw(QStringLiteral("</ul>"));
    page.close();
    page.open(QStringLiteral("Relative risk signals"), QStringLiteral("purple"),
              QStringLiteral("100 means the signal's threshold is reached; not a health score."),
              QStringLiteral("risk"));
    for (const InsightRiskSignal &signal : calculatedRiskSignals(insights)) {
        page.raw(barChartSvg({{signal.name, signal.value, count(std::lround(signal.value)),
                               signal.color}},
                             100));
        page.raw(QStringLiteral("<p class=\"threshold\">%1</p>").arg(htmlEscaped(signal.threshold)));
    }
    page.close();
    page.raw(QStringLiteral("</div>\n"));

    page.open(QStringLiteral("Project milestones"), QStringLiteral("green"));
    page.raw(QStringLiteral("<div class=\"milestones\">"));
    for (const InsightMilestone &milestone : milestoneEntries(insights)) {
        page.raw(QStringLiteral("<div class=\"milestone tone-%1\"><b>%2</b><span class=\"detail\">"
                                "%3</span><div class=\"when\">%4</div></div>")
                     .arg(reportTone(milestone.color), htmlEscaped(milestone.title),
                          htmlEscaped(milestone.detail), htmlEscaped(day(milestone.date, locale))));
    }
    page.raw(QStringLiteral("</div>"));
    page.close();

    const ActivityBucket bucket = activityBucketOf(insights.dailyActivity);
    const QList<IndexedActivityInsight> activity = bucketedActivity(insights.dailyActivity, bucket);
    page.open(QStringLiteral("Activity over time"), QStringLiteral("blue"),
              QStringLiteral("Commits per %1").arg(activityBucketName(bucket)));
    if (activity.isEmpty())
        page.empty(QStringLiteral("No daily activity data"));
    else
        page.raw(activityChartSvg(activity, bucket, locale));
    page.close();

    page.raw(QStringLiteral("<div class=\"grid2\">"));
    page.open(QStringLiteral("Contributor ownership"), QStringLiteral("pink"),
              QStringLiteral("Commits of the ten most active authors"));
    if (insights.topAuthors.isEmpty()) {
        page.empty(QStringLiteral("No contributor data"));
    } else {
        QList<ReportBar> bars;
        for (const IndexedAuthorInsight &author : insights.topAuthors.mid(0, 10)) {
            bars.append({author.name, double(author.commits),
                         QStringLiteral("%1 · %2").arg(count(author.commits),
                                                      percent(author.commitShare, locale)),
                         QStringLiteral("pink")});
        }
        page.raw(barChartSvg(bars));
    }
    page.close();
    page.open(QStringLiteral("History hotspots"), QStringLiteral("orange"),
              QStringLiteral("The most often changed files"));
    if (insights.hotspots.isEmpty()) {
        page.empty(QStringLiteral("No file history data"));
    } else {
        QList<QStringList> rows;
        for (const IndexedFileInsight &file : insights.hotspots.mid(0, 10)) {
            rows.append({file.deleted ? file.path + QStringLiteral(" (deleted)") : file.path,
                         count(file.changes), count(file.authors),
                         day(file.lastChangedAt, locale)});
        }
        page.table({QStringLiteral("File"), QStringLiteral("Changes"), QStringLiteral("Authors"),
                    QStringLiteral("Last changed")},
                   rows);
    }
    page.close();

    // The directories come ranked by commits; the chart ranks and draws lines changed.
    QList<IndexedDirectoryInsight> modules = insights.directories;
    std::stable_sort(modules.begin(), modules.end(), [](const auto &a, const auto &b) {
        return a.additions + a.deletions > b.additions + b.deletions;
    });
    page.open(QStringLiteral("Module churn concentration"), QStringLiteral("teal"),
              QStringLiteral("Lines changed per top-level directory, most first"));
    if (modules.isEmpty()) {
        page.empty(QStringLiteral("No module history data"));
    } else {
        QList<ReportBar> bars;
        for (const IndexedDirectoryInsight &module : modules.mid(0, 10)) {
            bars.append({module.path, double(module.additions + module.deletions),
                         compactNumber(double(module.additions + module.deletions), locale),
                         QStringLiteral("teal")});
        }
        page.raw(barChartSvg(bars));
    }
    page.close();
    page.open(QStringLiteral("Technology share by churn"), QStringLiteral("blue"),
              QStringLiteral("Lines changed per technology"));
    if (insights.technologies.isEmpty()) {
        page.empty(QStringLiteral("No technology data"));
    } else {
        qint64 churn = 0;
        for (const IndexedTechnologyInsight &technology : insights.technologies)
            churn += technology.additions + technology.deletions;
        QList<ReportBar> bars;
        for (const IndexedTechnologyInsight &technology : insights.technologies.mid(0, 10)) {
            const qint64 lines = technology.additions + technology.deletions;
            bars.append({technology.name, double(lines),
                         QStringLiteral("%1 · %2").arg(compactNumber(double(lines), locale),
                                                      page.share(lines, churn)),
                         QStringLiteral("blue")});
        }
        page.raw(barChartSvg(bars));
    }
    page.close();

    page.open(QStringLiteral("Commit taxonomy"), QStringLiteral("purple"),
              QStringLiteral("Commits by the type their message declares"));
    if (insights.commitTypes.isEmpty()) {
        page.empty(QStringLiteral("No commit messages to classify"));
    } else {
        QList<ReportBar> bars;
        for (const IndexedCommitTypeInsight &type : insights.commitTypes)
            bars.append({type.type, double(type.count), count(type.count), QStringLiteral("purple")});
        page.raw(barChartSvg(bars));
    }
    page.close();
    page.open(QStringLiteral("Historical coupling"), QStringLiteral("indigo"),
              QStringLiteral("Pairs of files changed together in several commits"));
    if (insights.coChanges.isEmpty()) {
        page.empty(QStringLiteral("No file pair repeats in at least two commits"));
    } else {
        QList<QStringList> rows;
        const auto named = [](const QString &path, bool deleted) {
            return deleted ? path + QStringLiteral(" (deleted)") : path;
        };
        for (const IndexedCoChangeInsight &pair : insights.coChanges) {
            rows.append({named(pair.firstPath, pair.firstDeleted) + QStringLiteral(" ↔ ")
                             + named(pair.secondPath, pair.secondDeleted),
                         count(pair.commits)});
        }
        page.table({QStringLiteral("Files"), QStringLiteral("Commits")}, rows);
    }
    page.close();
    page.raw(QStringLiteral("</div>\n"));

    page.open(QStringLiteral("Changes"), QStringLiteral("purple"));
    page.cards({
        {QStringLiteral("Lines added"), count(insights.additions), {}, QStringLiteral("green")},
        {QStringLiteral("Lines removed"), count(insights.deletions), {}, QStringLiteral("red")},
        {QStringLiteral("Net change"), count(insights.additions - insights.deletions), {},
         QStringLiteral("blue")},
        {QStringLiteral("Average commit"), page.decimal(insights.averageCommitChurn, 1),
         QStringLiteral("lines per commit"), QStringLiteral("teal")},
        {QStringLiteral("Wide commits"), count(insights.wideCommits),
         QStringLiteral("10 or more files"), QStringLiteral("orange")},
        {QStringLiteral("Without changes"), count(insights.commitsWithoutChanges),
         QStringLiteral("commits touching no file"), QStringLiteral("gray")},
        {QStringLiteral("Added records"), count(insights.filesAdded), {}, QStringLiteral("green")},
        {QStringLiteral("Deleted records"), count(insights.filesDeleted), {},
         QStringLiteral("red")},
        {QStringLiteral("Renames"), count(insights.filesRenamed), {}, QStringLiteral("blue")},
        {QStringLiteral("Binary files"), count(insights.binaryFiles), {},
         QStringLiteral("orange")},
    });
    page.subheading(QStringLiteral("Largest commits"));
    if (insights.largestCommits.isEmpty()) {
        page.empty(QStringLiteral("No commits with line changes"));
    } else {
        QList<QStringList> rows;
        for (const IndexedCommitSizeInsight &commit : insights.largestCommits) {
            rows.append({commit.subject,
                         commit.author.isEmpty() ? QStringLiteral("Unknown") : commit.author,
                         day(commit.date, locale), count(commit.files),
                         QStringLiteral("+%1 / −%2").arg(count(commit.additions),
                                                        count(commit.deletions))});
        }
        page.table({QStringLiteral("Commit"), QStringLiteral("Author"), QStringLiteral("Date"),
                    QStringLiteral("Files"), QStringLiteral("Lines")},
                   rows);
    }
    page.close();

    page.raw(QStringLiteral("<div class=\"grid2\">"));
    page.open(QStringLiteral("Branches and integration"), QStringLiteral("teal"));
    page.cards({
        {QStringLiteral("Local branches"), count(insights.localBranches), {},
         QStringLiteral("blue")},
        {QStringLiteral("Remote branches"), count(insights.remoteBranches), {},
         QStringLiteral("indigo")},
        {QStringLiteral("Merge commits"), count(insights.mergeCommits), {},
         QStringLiteral("teal")},
        {QStringLiteral("Tags / releases"), count(insights.tagCount), {},
         QStringLiteral("purple")},
        {QStringLiteral("Bus factor"), count(insights.busFactor), {}, QStringLiteral("pink")},
        {QStringLiteral("One-time contributors"), count(insights.oneTimeContributors), {},
         QStringLiteral("orange")},
    });
    page.subheading(QStringLiteral("Release timeline"));
    if (insights.tags.isEmpty()) {
        page.empty(QStringLiteral("No tags in indexed refs"));
    } else {
        QList<QStringList> rows;
        const QList<IndexedTagInsight> newest = insights.tags.mid(std::max<qsizetype>(insights.tags.size() - 10, 0));
        for (auto tag = newest.crbegin(); tag != newest.crend(); ++tag)
            rows.append({tag->name, day(tag->commitAt, locale)});
        page.table({QStringLiteral("Tag"), QStringLiteral("Date")}, rows);
    }
    page.close();
    page.open(QStringLiteral("Commit messages"), QStringLiteral("green"));
    page.cards({
        {QStringLiteral("Conventional"), page.share(insights.conventionalCommits, total), {},
         QStringLiteral("green")},
        {QStringLiteral("Average length"), page.decimal(insights.averageSubjectLength, 1),
         QStringLiteral("characters per subject"), QStringLiteral("blue")},
        {QStringLiteral("Very short"), count(insights.shortMessages),
         QStringLiteral("subjects under 10 characters"), QStringLiteral("orange")},
    });
    page.subheading(QStringLiteral("Frequent descriptive words"));
    if (insights.commonWords.isEmpty()) {
        page.empty(QStringLiteral("No descriptive words yet"));
    } else {
        page.raw(QStringLiteral("<div class=\"chips\">"));
        for (const IndexedNamedCount &word : insights.commonWords) {
            page.raw(QStringLiteral("<span class=\"chip\">%1<span>%2</span></span>")
                         .arg(htmlEscaped(word.name), htmlEscaped(count(word.count))));
        }
        page.raw(QStringLiteral("</div>"));
    }
    page.subheading(QStringLiteral("E-mail domains"));
    if (insights.emailDomains.isEmpty()) {
        page.empty(QStringLiteral("No e-mail domains"));
    } else {
        QList<ReportBar> bars;
        for (const IndexedNamedCount &domain : insights.emailDomains)
            bars.append({domain.name, double(domain.count), count(domain.count), QStringLiteral("teal")});
        page.raw(barChartSvg(bars));
    }
    page.close();
    page.raw(QStringLiteral("</div>\n"));

    page.raw(QStringLiteral("<footer>Made by Strataloom from the local Git history; nothing in "
                            "this page loads anything from the network.</footer>\n"
                            "</main>\n</body>\n</html>\n"));
    return page.html();
}

} // namespace strataloom
