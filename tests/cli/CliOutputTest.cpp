#include "cli/CsvOutput.h"
#include "cli/ReportCommand.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace strataloom;
using namespace strataloom::cli;

namespace {

const QDateTime now = QDateTime::fromString(QStringLiteral("2024-06-01T00:00:00Z"), Qt::ISODate);

RepositorySummary summary()
{
    RepositorySummary value;
    value.name = QStringLiteral("tool");
    value.path = QStringLiteral("/home/ada/tool");
    value.currentBranch = QStringLiteral("main");
    value.commitCount = 30;
    value.authorCount = 2;
    value.firstCommitDate = now.addDays(-800);
    value.latestCommitDate = now.addDays(-3);
    return value;
}

// Two authors (the second with half the first's commits, and a name longer than any column),
// two active months with a silent one between them, one hotspot, one technology.
RepositoryAnalyticsInsights insights()
{
    RepositoryAnalyticsInsights value;
    value.totalCommits = 30;
    value.topAuthors = {{QStringLiteral("Ada"), 20, 0, 0, 20.0 / 30},
                        {QString(70, QLatin1Char('B')), 10, 0, 0, 10.0 / 30}};
    value.monthlyActivity = {{QStringLiteral("2024-01"), {}, 4, 0, 0},
                             {QStringLiteral("2024-03"), {}, 8, 0, 0}};
    value.hotspots = {{QStringLiteral("src/main.c"), 12, 2, 100, 50}};
    value.technologies = {{QStringLiteral("C"), 3, 12, 100, 50}};
    return value;
}

QString withoutEscapes(QString text)
{
    return text.remove(QRegularExpression(QStringLiteral("\x1b\\[[0-9;]*m")));
}

QString lineStartingWith(const QString &report, const QString &start)
{
    for (const QString &line : report.split(QLatin1Char('\n')))
        if (line.trimmed().startsWith(start))
            return line;
    return {};
}

} // namespace

TEST(Report, FitsTheWidthAndColoursOnlyWhenAsked)
{
    for (const int width : {40, 80, 120}) {
        for (const bool colour : {false, true}) {
            const QString report = formatReport(summary(), insights(), {colour, width}, now);
            EXPECT_EQ(report.contains(QLatin1Char('\x1b')), colour) << width;
            for (const QString &line : withoutEscapes(report).split(QLatin1Char('\n')))
                EXPECT_LE(line.size(), width) << qPrintable(line);
        }
    }
}

TEST(Report, AnEmptyHistoryHasNoListsButStillItsRiskSignals)
{
    RepositorySummary empty;
    empty.name = QStringLiteral("empty");
    const QString report = formatReport(empty, {}, {false, 80}, now);
    EXPECT_FALSE(report.contains(QStringLiteral("Top contributors")));
    EXPECT_FALSE(report.contains(QStringLiteral("Activity by month")));
    EXPECT_EQ(report.count(QStringLiteral(" 100 = ")), 6);
}

TEST(Report, AHotspotTheNewestCommitLacksSaysDeleted)
{
    for (const bool deleted : {false, true}) {
        RepositoryAnalyticsInsights value = insights();
        value.hotspots.first().deleted = deleted;
        const QString line = lineStartingWith(formatReport(summary(), value, {false, 80}, now),
                                              QStringLiteral("src/main.c"));
        ASSERT_FALSE(line.isEmpty());
        EXPECT_EQ(line.contains(QStringLiteral("deleted")), deleted) << qPrintable(line);
    }
}

TEST(CsvOutput, TextsAreQuotedOnlyWhenNeededAndNeverReadAsFormulas)
{
    const struct
    {
        QString text;
        QString cell;
    } rows[] = {
        {"plain text", "plain text"},
        {"", ""},
        {"a, b", "\"a, b\""},
        {"say \"hi\"", "\"say \"\"hi\"\"\""},
        {"two\nlines", "\"two\nlines\""},
        {"=HYPERLINK(\"http://x\")", "\"'=HYPERLINK(\"\"http://x\"\")\""},
        {"+1", "'+1"},
        {"-rf", "'-rf"},
        {"@sum", "'@sum"},
        {"\tindented", "'\tindented"},
        {"a=b", "a=b"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(csvText(row.text), row.cell) << qPrintable(row.text);
}

TEST(CsvOutput, RecordsBecomeAHeaderOfFieldNamesAndOneLineEach)
{
    const QList<TagRecord> tags {
        {"v1.0", "abc", QDateTime::fromSecsSinceEpoch(1709284830, Qt::UTC), "First, at last"},
        {"v0.9", "def", std::nullopt, ""}};
    EXPECT_EQ(toCsv(tags), QByteArray("name,objectHash,date,subject\r\n"
                                      "v1.0,abc,2024-03-01T09:20:30Z,\"First, at last\"\r\n"
                                      "v0.9,def,,\r\n"));
    EXPECT_EQ(toCsv(QList<TagRecord> {}), QByteArray("name,objectHash,date,subject\r\n"));
}
