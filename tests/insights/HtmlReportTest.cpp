// The HTML report: hostile repository texts stay text, the page is well-formed and loads
// nothing, and the activity chart's bars and axis follow the series they draw.
#include "insights/HtmlReport.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <algorithm>

using namespace strataloom;

namespace {

const QLocale english(QLocale::English, QLocale::UnitedStates);

QDateTime at(int year, int month, int day)
{
    return QDateTime(QDate(year, month, day), QTime(0, 0), QTimeZone::utc());
}

RepositorySummary summaryNamed(const QString &name)
{
    RepositorySummary summary;
    summary.name = name;
    summary.path = "/home/ada/" + name;
    summary.currentBranch = name;
    summary.commitCount = 3;
    summary.firstCommitDate = at(2024, 1, 1);
    summary.latestCommitDate = at(2024, 3, 1);
    return summary;
}

// Every list of the insights carries @p text where a repository's own words go.
RepositoryAnalyticsInsights insightsWith(const QString &text)
{
    RepositoryAnalyticsInsights insights;
    insights.totalCommits = 3;
    insights.topAuthors = {{text, 3, 10, 2, 1.0, at(2024, 1, 1), at(2024, 3, 1)}};
    insights.hotspots = {{text, 3, 1, 10, 2, at(2024, 1, 1), at(2024, 3, 1)}};
    insights.commitTypes = {{text, 3}};
    insights.dailyActivity
        = {{"2024-01-01", at(2024, 1, 1), 1, 5, 1}, {"2024-03-01", at(2024, 3, 1), 2, 5, 1}};
    insights.directories = {{text, 3, 1, 10, 2}};
    insights.technologies = {{text, 1, 3, 10, 2}};
    insights.coChanges = {{text, text, 2}};
    insights.largestCommits = {{"abc", text, text, at(2024, 1, 1), 1, 10, 2}};
    insights.tags = {{text, at(2024, 2, 1)}};
    insights.emailDomains = {{text, 3}};
    insights.commonWords = {{text, 3}};
    return insights;
}

// The page parsed as XML: every element's name and all its text, or the parser's complaint.
struct Parsed
{
    QStringList elements;
    QString text;
    QString error;
};

Parsed parse(const QString &html)
{
    Parsed parsed;
    QXmlStreamReader reader(html);
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement)
            parsed.elements << reader.name().toString();
        else if (token == QXmlStreamReader::Characters)
            parsed.text += reader.text();
    }
    if (reader.hasError())
        parsed.error
            = reader.errorString() + QStringLiteral(" at line %1").arg(reader.lineNumber());
    return parsed;
}

} // namespace

TEST(HtmlReport, HostileTextsStayTextAndThePageLoadsAndRunsNothing)
{
    const struct
    {
        QString text;
        QString shown; ///< what the reader sees
    } cases[] = {
        {"src/main.c", {}},
        {"<script>alert(1)</script>", {}},
        {"\"><img src=x onerror=alert(1)>", {}},
        {"' onmouseover='alert(1)", {}},
        {"Tom & Jerry &amp; &lt;b&gt;", {}},
        {"</title></svg></table><h1>", {}},
        {"<![CDATA[ ]]> <!-- -->", {}},
        {"bell\x07 nul\x01", "bell\uFFFD nul\uFFFD"},
        {"Zoë 日本語 ✓", {}},
    };
    for (const auto &[text, shown] : cases) {
        SCOPED_TRACE(text.toStdString());
        const QString html
            = htmlReport(summaryNamed(text), insightsWith(text), at(2024, 6, 1), english);
        const Parsed parsed = parse(html);
        EXPECT_EQ(parsed.error, QString());
        // Nothing the text spelled out became markup, and nothing is fetched or run.
        for (const char *element : {"script", "link", "img", "iframe", "object", "use", "image"})
            EXPECT_FALSE(parsed.elements.contains(element)) << element;
        EXPECT_EQ(parsed.elements.count("h1"), 1);
        EXPECT_TRUE(parsed.elements.contains("svg"));
        EXPECT_TRUE(parsed.text.contains(shown.isEmpty() ? text : shown));
        if (text != cases[0].text)
            continue;
        // A plain page has no reference to anything outside it; the only address names the SVG
        // namespace, which is never fetched.
        for (const char *reference : {"url(", "@import", "href=", " src="})
            EXPECT_FALSE(html.contains(reference, Qt::CaseInsensitive)) << reference;
        const QRegularExpression address("[a-z]+://[^\"' ]*");
        for (const QRegularExpressionMatch &match : address.globalMatch(html))
            EXPECT_EQ(match.captured(), "http://www.w3.org/2000/svg");
    }
}

TEST(HtmlReport, ActivityBarsAndAxisFollowTheSeries)
{
    // Three months of 10, 40 and 25 commits: an axis of 0 to 40 in steps of 10.
    const QList<IndexedActivityInsight> months {{"2024-01-01", at(2024, 1, 1), 10, 0, 0},
                                                {"2024-02-01", at(2024, 2, 1), 40, 0, 0},
                                                {"2024-03-01", at(2024, 3, 1), 25, 0, 0}};
    QXmlStreamReader reader(activityChartSvg(months, ActivityBucket::Month, english));
    QList<double> heights, bottoms, tops, xs, widths, gridlines;
    QStringList ticks;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        const auto number
            = [&](const char *name) { return attributes.value(QLatin1String(name)).toDouble(); };
        if (reader.name() == QLatin1String("rect")
            && attributes.value(QLatin1String("class")).contains(QLatin1String("bar"))) {
            heights << number("height");
            tops << number("y");
            bottoms << number("y") + number("height");
            xs << number("x");
            widths << number("width");
        } else if (reader.name() == QLatin1String("line") && number("x1") != number("x2")) {
            gridlines << number("y1");
        } else if (reader.name() == QLatin1String("text")
                   && attributes.value(QLatin1String("class")) == QLatin1String("tick")) {
            ticks << reader.readElementText();
        }
    }
    ASSERT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(ticks, (QStringList {"0", "10", "20", "30", "40"}));
    ASSERT_EQ(heights.size(), 3);
    // One baseline; heights in proportion to the commits (rounded to a tenth of a unit).
    EXPECT_NEAR(bottoms[0], bottoms[1], 0.11);
    EXPECT_NEAR(bottoms[1], bottoms[2], 0.11);
    EXPECT_NEAR(heights[0] / heights[1], 10.0 / 40, 0.01);
    EXPECT_NEAR(heights[2] / heights[1], 25.0 / 40, 0.01);
    // The busiest month reaches the top tick; bars follow in time, apart, in proportion to their
    // month's length (31, 29 and 31 days).
    ASSERT_EQ(gridlines.size(), 5);
    EXPECT_NEAR(tops[1], *std::min_element(gridlines.begin(), gridlines.end()), 0.11);
    EXPECT_NEAR(bottoms[1], *std::max_element(gridlines.begin(), gridlines.end()), 0.11);
    EXPECT_LT(xs[0] + widths[0], xs[1]);
    EXPECT_LT(xs[1] + widths[1], xs[2]);
    EXPECT_NEAR(widths[1] / widths[0], 29.0 / 31, 0.01);
}
