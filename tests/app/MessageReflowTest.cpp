// Commit bodies in the inspector: hard-wrapped prose joins into paragraphs, everything laid
// out by hand keeps its lines.
#include "app/MessageReflow.h"

#include <gtest/gtest.h>

using namespace strataloom;

TEST(MessageReflow, JoinsProseAndKeepsLaidOutLines)
{
    const std::tuple<const char *, QString, QString> cases[] = {
        {"wrapped paragraph", "The parser stopped at\nthe first blank line.",
         "The parser stopped at the first blank line."},
        {"paragraphs stay apart, blank runs collapse",
         "First one\ncontinues.\n\n\n\nSecond\none.\n\n", "First one continues.\n\nSecond one."},
        {"bullets and numbers", "Changes:\n- one\n- two\n* three\n1. four\n2) five",
         "Changes:\n- one\n- two\n* three\n1. four\n2) five"},
        {"indented code and continuations",
         "Run it as\n\n    git log --all\n    git gc\n\n- item that\n  wraps",
         "Run it as\n\n    git log --all\n    git gc\n\n- item that\n  wraps"},
        {"prose after a list starts its own line", "- item\nNext sentence\ncontinues.",
         "- item\nNext sentence continues."},
        {"fenced code keeps blank lines and wrapping", "Example\n```\nint a;\n\nint b;\n```\nafter",
         "Example\n```\nint a;\n\nint b;\n```\nafter"},
        {"trailers", "Fix it.\n\nSigned-off-by: Ada <a@x>\nCo-authored-by: Bo <b@x>",
         "Fix it.\n\nSigned-off-by: Ada <a@x>\nCo-authored-by: Bo <b@x>"},
        {"quotes and tables", "> quoted\n> reply\n| a | b |\n| 1 | 2 |",
         "> quoted\n> reply\n| a | b |\n| 1 | 2 |"},
        {"carriage returns and trailing spaces", "one  \r\ntwo\r\n", "one two"},
        {"a wrapped line that begins with a lower-case word and a colon joins",
         "The fix\nworks: see below", "The fix works: see below"},
        {"empty", QString(), QString()},
    };
    for (const auto &[name, body, expected] : cases)
        EXPECT_EQ(reflowedMessage(body), expected) << name;
}
