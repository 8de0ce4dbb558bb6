// The query language's reading of texts: terms, values and the errors that name their place.

#include "insights/HistoryQuery.h"

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

// A term as "Kind=value", with the instant after a date.
QString describe(const HistoryQueryTerm &term)
{
    static const char *const names[]
        = {"Word", "Phrase", "Author", "Path", "After", "Before", "Type", "Ref", "Merges"};
    QString text = QString::fromLatin1(names[int(term.kind)]);
    text += QLatin1Char('=') + term.value;
    if (term.kind == HistoryQueryTerm::Kind::After || term.kind == HistoryQueryTerm::Kind::Before)
        text += QLatin1Char('@') + QString::number(term.seconds);
    return text;
}

QString describe(const HistoryQuery &query)
{
    QStringList terms;
    for (const HistoryQueryTerm &term : query.terms())
        terms << describe(term);
    return terms.join(QStringLiteral(" | "));
}

TEST(HistoryQueryTest, ReadsEveryKindOfTerm)
{
    // The tests run with TZ=UTC: a day starts at its UTC midnight.
    const std::pair<const char *, const char *> cases[] = {
        {"", ""},
        {"   ", ""},
        {"fix crash", "Word=fix | Word=crash"},
        {"refact* *", "Word=refact | Word=*"},
        {"\"crash on resize\" now", "Phrase=crash on resize | Word=now"},
        {"author:\"Ada Lovelace\" path:src/", "Author=Ada Lovelace | Path=src/"},
        {"AUTHOR:ada Type:FIX merges:NO", "Author=ada | Type=fix | Merges=no"},
        {"merges:only ref:origin/main", "Merges=only | Ref=origin/main"},
        {"after:2024-01-05 before:2024-01-05T12:30",
         "After=2024-01-05@1704412800 | Before=2024-01-05T12:30@1704457800"},
        {"before:2024-02-29T23:59:59", "Before=2024-02-29T23:59:59@1709251199"},
        {"path:\"dir with blanks/a b.txt\"", "Path=dir with blanks/a b.txt"},
        {"café\tnaïve", "Word=café | Word=naïve"},
    };
    for (const auto &[query, terms] : cases)
        EXPECT_EQ(describe(HistoryQuery::parse(QString::fromUtf8(query))), QString::fromUtf8(terms))
            << query;
}

TEST(HistoryQueryTest, MalformedQueriesSayWhatAndWhere)
{
    // The query, a part of the message, the position.
    const std::tuple<const char *, const char *, qsizetype> cases[] = {
        {"foo:bar", "unknown key \"foo:\"", 0},
        {"fix std::string", "unknown key \"std:\"", 4},
        {"fix author:", "author: needs a value", 4},
        {"path:\"\"", "path: needs a value", 0},
        {"say \"hello", "unclosed quote", 4},
        {"author:\"Ada", "unclosed quote", 7},
        {"after:2024-02-30", "after: needs a date", 6},
        {"before:yesterday", "before: needs a date", 7},
        {"after:2024-1-5", "after: needs a date", 6},
        {"type:feature", "type: needs one of", 5},
        {"merges:yes", "merges: needs no or only", 7},
        {"a\"b", "quote inside a word", 0},
        {"\"a\"b", "blank must follow", 0},
        {"x http://example.org", "unknown key \"http:\"", 2},
        {"1:2", "is no key", 0},
    };
    for (const auto &[query, says, position] : cases) {
        SCOPED_TRACE(query);
        try {
            HistoryQuery::parse(QString::fromUtf8(query));
            ADD_FAILURE() << "no error";
        } catch (const HistoryQueryError &error) {
            EXPECT_TRUE(error.message().contains(QString::fromUtf8(says)))
                << error.message().toStdString();
            EXPECT_EQ(error.position(), position);
            EXPECT_GT(error.length(), 0);
            // The text for a terminal names the place as people count: from 1.
            EXPECT_TRUE(QString::fromUtf8(error.what())
                            .endsWith(QStringLiteral("(at character %1)").arg(position + 1)));
        }
    }
}

} // namespace
