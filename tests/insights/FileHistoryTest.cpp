// The queries a file's or an author's history is read with name exactly that file or author,
// whatever the text holds.
#include "insights/AuthorHistory.h"
#include "insights/FileHistory.h"
#include "insights/HistoryQuery.h"

#include <gtest/gtest.h>

using namespace strataloom;

TEST(FileHistory, TheQueryNamesThePathOrTheAuthorAsOneTerm)
{
    using Kind = HistoryQueryTerm::Kind;
    const std::pair<Kind, const char *> cases[] = {
        {Kind::Path, "src/main.c"}, {Kind::Path, "docs/read me.md"}, {Kind::Path, "a:b/c d.txt"},
        {Kind::Path, "-dash"},      {Kind::Path, "tab\there"},     {Kind::Author, "Ada Lovelace"},
        {Kind::Author, "dependabot[bot]"}, {Kind::Author, "a:b"},  {Kind::Author, "Zoë Ünlü"},
    };
    const auto queryOf = [](Kind kind, const char *text) {
        return kind == Kind::Path ? fileHistoryQuery(QString::fromUtf8(text))
                                  : authorHistoryQuery(QString::fromUtf8(text));
    };
    for (const auto &[kind, text] : cases) {
        const std::optional<QString> query = queryOf(kind, text);
        ASSERT_TRUE(query) << text;
        const HistoryQuery parsed = HistoryQuery::parse(*query);
        ASSERT_EQ(parsed.terms().size(), 1) << text;
        EXPECT_EQ(parsed.terms().first().kind, kind) << text;
        EXPECT_EQ(parsed.terms().first().value, QString::fromUtf8(text));
    }
    // No query can name these: none is made rather than one for another file or every commit.
    for (const Kind kind : {Kind::Path, Kind::Author}) {
        for (const char *text : {"say \"hi\".txt", ""})
            EXPECT_FALSE(queryOf(kind, text)) << text;
    }
}
