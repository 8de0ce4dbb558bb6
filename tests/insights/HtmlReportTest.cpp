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
    // A repository's text, and what the reader sees when it is not the text itself.
    const std::pair<QString, QString> cases[] = {
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
        if (text != cases[0].first)
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

