#include "insights/Classifiers.h"

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QStringList words(const char16_t *subject)
{
    return significantWords(QString::fromUtf16(subject));
}

QStringList list(std::initializer_list<const char16_t *> items)
{
    QStringList result;
    for (const char16_t *item : items)
        result.append(QString::fromUtf16(item));
    return result;
}

IndexedActivityInsight day(qint64 commits, qint64 additions = 0, qint64 deletions = 0)
{
    return {QStringLiteral("2024-01-01"), std::nullopt, commits, additions, deletions};
}

} // namespace

TEST(CommitType, RecognisesTypeBeforeColonIgnoringScopeAndCase)
{
    EXPECT_EQ(commitType(QStringLiteral("docs: update readme")), QStringLiteral("docs"));
    EXPECT_EQ(commitType(QStringLiteral("Docs(api): x")), QStringLiteral("docs"));
    EXPECT_EQ(commitType(QStringLiteral("fix(core)!: crash")), QStringLiteral("fix"));
    EXPECT_EQ(commitType(QStringLiteral("FIX: shouting")), QStringLiteral("fix"));
    EXPECT_EQ(commitType(QStringLiteral("revert: undo")), QStringLiteral("revert"));
    EXPECT_EQ(commitType(QStringLiteral("refactor:")), QStringLiteral("refactor"));
    // Empty pieces are dropped, so a leading colon leaves the text after it to decide.
    EXPECT_EQ(commitType(QStringLiteral("::feat: y")), QStringLiteral("feat"));

    const QStringList all {"feat", "fix",   "docs", "style", "refactor", "perf",
                           "test", "build", "ci",   "chore", "revert"};
    for (const QString &type : all)
        EXPECT_EQ(commitType(type + QStringLiteral("(x): y")), type);
}

TEST(CommitType, EverythingElseIsOther)
{
    EXPECT_EQ(commitType(QStringLiteral("feat!: drop")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("WIP")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("ci")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral(" fix: leading blank")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("fix bug: words before colon")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral(":fix it")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("features: x")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("::")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("(ui)fix: scope first")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QStringLiteral("((: x")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QString()), QStringLiteral("other"));
    EXPECT_EQ(commitType(QString::fromUtf16(u"ΦΙΞ: διόρθωση")), QStringLiteral("other"));
    EXPECT_EQ(commitType(QString::fromUtf16(u"修正: バグ")), QStringLiteral("other"));
}

TEST(SignificantWords, DropsShortStopWordsAndNumbers)
{
    EXPECT_EQ(words(u"Fix: add 2024 login-flow for the iOS app"),
              list({u"login", u"flow", u"ios", u"app"}));
    EXPECT_EQ(words(u"cache the cache, then cache"), list({u"cache", u"cache", u"then", u"cache"}));
    EXPECT_EQ(words(u"Merge branch 'main' into feature/Added-Updates"),
              list({u"main", u"feature"}));
    EXPECT_EQ(words(u"snake_case it's path/to x.y"), list({u"snake", u"case", u"path"}));
    EXPECT_TRUE(words(u"").isEmpty());
    EXPECT_TRUE(words(u"--- !!! ...").isEmpty());
}

TEST(SignificantWords, OnlyNumbersThatFitInSixtyFourBitsAreDropped)
{
    EXPECT_EQ(words(u"9223372036854775807 9223372036854775808 00042 v2024 2024b"),
              list({u"9223372036854775808", u"v2024", u"2024b"}));
    // Digits of other scripts are word characters but no decimal number to the parser.
    EXPECT_EQ(words(u"١٢٣ １２３"), list({u"١٢٣", u"１２３"}));
}

TEST(SignificantWords, LowerCasesAndSplitsOtherScripts)
{
    EXPECT_EQ(words(u"Διόρθωση ΣΦΑΛΜΑΤΟΣ στη σύνδεση, ξανά"),
              list({u"διόρθωση", u"σφαλματος", u"στη", u"σύνδεση", u"ξανά"}));
    // Capital sigma ends a word in its final form, so both spellings give one word.
    EXPECT_EQ(words(u"ΟΔΟΣ οδος ΣΑΣ ΣΕΙΡΆ ΑΣ."), list({u"οδος", u"οδος", u"σας", u"σειρά"}));
    EXPECT_EQ(words(u"Исправить ОШИБКУ в модуле «Вход»"),
              list({u"исправить", u"ошибку", u"модуле", u"вход"}));
    // Japanese runs without spaces are one word each; punctuation and symbols separate.
    EXPECT_EQ(words(u"修正: ログイン画面のバグ、再発防止。🚀リリース"),
              list({u"ログイン画面のバグ", u"再発防止", u"リリース"}));
}

TEST(SignificantWords, CombiningMarksStayInsideWordsAndCountWithTheirLetter)
{
    // Decomposed accents belong to the word; both spellings of a word give its composed form.
    EXPECT_EQ(words(u"Cafe\u0301 CAFÉ re\u0301sume\u0301"), list({u"café", u"café", u"résumé"}));
    // A letter with a mark that has no composed form is still one character.
    EXPECT_EQ(words(u"e\u0301e\u0301 q\u0307q\u0307q\u0307"), list({u"q\u0307q\u0307q\u0307"}));
    // A mark right after a separator starts a word of its own character.
    EXPECT_EQ(words(u"-\u0301ab"), list({u"\u0301ab"}));
    // Letters outside the basic plane are letters, and a surrogate pair is one character.
    EXPECT_EQ(words(u"𝐀𝐁 𝐀𝐁𝐂"), list({u"𝐀𝐁𝐂"}));
}

TEST(Technology, FileNameFirstThenExtension)
{
    EXPECT_EQ(technology(QStringLiteral("Sources/App/Package.swift")), QStringLiteral("Swift"));
    EXPECT_EQ(technology(QStringLiteral("web/package.json")), QStringLiteral("JavaScript"));
    EXPECT_EQ(technology(QStringLiteral("Makefile")), QStringLiteral("Build"));
    EXPECT_EQ(technology(QStringLiteral("deploy/Dockerfile")), QStringLiteral("Docker"));
    EXPECT_EQ(technology(QStringLiteral("src/main.RS")), QStringLiteral("Rust"));
    EXPECT_EQ(technology(QStringLiteral("include/a.H")), QStringLiteral("C/C++ Headers"));
    EXPECT_EQ(technology(QStringLiteral("api.proto")), QStringLiteral("Protocol Buffers"));
    EXPECT_EQ(technology(QStringLiteral("README.md")), QStringLiteral("Documentation"));
    EXPECT_EQ(technology(QStringLiteral("notes.txt")), QStringLiteral(".txt"));
    EXPECT_EQ(technology(QStringLiteral("archive.tar.GZ")), QStringLiteral(".gz"));
    EXPECT_EQ(technology(QStringLiteral("LICENSE")), QStringLiteral("Other"));
    EXPECT_EQ(technology(QStringLiteral("v1.2/LICENSE")), QStringLiteral("Other"));
    EXPECT_EQ(technology(QStringLiteral("trailing.")), QStringLiteral("Other"));
    EXPECT_EQ(technology(QString()), QStringLiteral("Other"));
}

TEST(PeriodDate, ParsesDayMonthAndYearLabelsAsUTCStarts)
{
    const QDateTime day = QDateTime(QDate(2024, 3, 5), QTime(0, 0), Qt::UTC);
    EXPECT_EQ(periodDate(QStringLiteral("2024-03-05")), day);
    EXPECT_EQ(periodDate(QStringLiteral("2024-03")),
              QDateTime(QDate(2024, 3, 1), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(periodDate(QStringLiteral("2024")),
              QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(periodDate(QStringLiteral("2024-03-05"))->toSecsSinceEpoch(), 1709596800);
    EXPECT_EQ(periodDate(QStringLiteral("Unknown")), std::nullopt);
    EXPECT_EQ(periodDate(QStringLiteral("2024-13")), std::nullopt);
    EXPECT_EQ(periodDate(QString()), std::nullopt);
}

TEST(Trend, ComparesLaterHalfWithScaledEarlierHalf)
{
    EXPECT_DOUBLE_EQ(trend({day(2), day(1), day(4)}, ActivityValue::Commits), 25);
    EXPECT_DOUBLE_EQ(trend({day(1), day(1), day(3), day(3), day(3)}, ActivityValue::Commits), 200);
    EXPECT_DOUBLE_EQ(trend({day(4), day(2)}, ActivityValue::Commits), -50);
    EXPECT_DOUBLE_EQ(trend({day(3), day(3)}, ActivityValue::Commits), 0);
    EXPECT_DOUBLE_EQ(trend({day(5)}, ActivityValue::Commits), 0);
    EXPECT_DOUBLE_EQ(trend({}, ActivityValue::Commits), 0);
}

TEST(Trend, FollowsChosenValueAndHandlesEmptyEarlierHalf)
{
    EXPECT_DOUBLE_EQ(trend({day(1, 0, 0), day(1, 7, 3)}, ActivityValue::Churn), 100);
    EXPECT_DOUBLE_EQ(trend({day(1, 0, 0), day(1, 0, 0)}, ActivityValue::Churn), 0);
    EXPECT_DOUBLE_EQ(trend({day(9, 10, 0), day(1, 5, 20)}, ActivityValue::Churn), 150);
    EXPECT_DOUBLE_EQ(trend({day(9, 10, 0), day(1, 5, 20)}, ActivityValue::Additions), -50);
    EXPECT_DOUBLE_EQ(trend({day(9, 10, 4), day(1, 5, 20)}, ActivityValue::Deletions), 400);
    // Integer scaling: 1 x 2 / 1 = 2 expected, later half 3.
    EXPECT_DOUBLE_EQ(trend({day(1), day(1), day(2)}, ActivityValue::Commits), 50);
}
