// The query a file's history is read with names exactly that file, whatever its path holds.
#include "insights/FileHistory.h"
#include "insights/HistoryQuery.h"

#include <gtest/gtest.h>

using namespace strataloom;

TEST(FileHistory, TheQueryNamesThePathAsOneTerm)
{
    const char *const paths[] = {"src/main.c", "docs/read me.md", "a:b/c d.txt", "-dash", "tab\there"};
    for (const char *path : paths) {
        const std::optional<QString> query = fileHistoryQuery(QString::fromUtf8(path));
        ASSERT_TRUE(query) << path;
        const HistoryQuery parsed = HistoryQuery::parse(*query);
        ASSERT_EQ(parsed.terms().size(), 1) << path;
        EXPECT_EQ(parsed.terms().first().kind, HistoryQueryTerm::Kind::Path) << path;
        EXPECT_EQ(parsed.terms().first().value, QString::fromUtf8(path));
    }
    // No query can name these: none is made rather than one for another file or every commit.
    for (const char *path : {"say \"hi\".txt", ""})
        EXPECT_FALSE(fileHistoryQuery(QString::fromUtf8(path))) << path;
}
