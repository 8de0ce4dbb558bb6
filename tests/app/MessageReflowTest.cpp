// Commit bodies in the inspector: hard-wrapped prose joins into paragraphs, everything laid
// out by hand keeps its lines.
#include "app/MessageReflow.h"

#include <gtest/gtest.h>

using namespace strataloom;

TEST(MessageReflow, JoinsProseAndKeepsLaidOutLines)
{
    const struct
    {
        const char *name;
        QString body;
        QString expected;
    } cases[] = {
        {"wrapped paragraph", QStringLiteral("The parser stopped at\nthe first blank line."),
         QStringLiteral("The parser stopped at the first blank line.")},
        {"paragraphs stay apart, blank runs collapse",
         QStringLiteral("First one\ncontinues.\n\n\n\nSecond\none.\n\n"),
         QStringLiteral("First one continues.\n\nSecond one.")},
        {"bullets and numbers", QStringLiteral("Changes:\n- one\n- two\n* three\n1. four\n2) five"),
         QStringLiteral("Changes:\n- one\n- two\n* three\n1. four\n2) five")},
        {"indented code and continuations",
         QStringLiteral("Run it as\n\n    git log --all\n    git gc\n\n- item that\n  wraps"),
         QStringLiteral("Run it as\n\n    git log --all\n    git gc\n\n- item that\n  wraps")},
        {"prose after a list starts its own line",
         QStringLiteral("- item\nNext sentence\ncontinues."),
         QStringLiteral("- item\nNext sentence continues.")},
        {"fenced code keeps blank lines and wrapping",
         QStringLiteral("Example\n```\nint a;\n\nint b;\n```\nafter"),
         QStringLiteral("Example\n```\nint a;\n\nint b;\n```\nafter")},
        {"trailers", QStringLiteral("Fix it.\n\nSigned-off-by: Ada <a@x>\nCo-authored-by: Bo <b@x>"),
         QStringLiteral("Fix it.\n\nSigned-off-by: Ada <a@x>\nCo-authored-by: Bo <b@x>")},
        {"quotes and tables", QStringLiteral("> quoted\n> reply\n| a | b |\n| 1 | 2 |"),
         QStringLiteral("> quoted\n> reply\n| a | b |\n| 1 | 2 |")},
        {"carriage returns and trailing spaces", QStringLiteral("one  \r\ntwo\r\n"),
         QStringLiteral("one two")},
        {"a wrapped line that begins with a lower-case word and a colon joins",
         QStringLiteral("The fix\nworks: see below"), QStringLiteral("The fix works: see below")},
        {"empty", QString(), QString()},
    };
    for (const auto &[name, body, expected] : cases)
        EXPECT_EQ(reflowedMessage(body), expected) << name;
}
