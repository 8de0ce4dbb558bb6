#include "cli/CsvOutput.h"

#include <gtest/gtest.h>

using namespace strataloom;
using namespace strataloom::cli;

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
