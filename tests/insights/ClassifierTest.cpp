#include "insights/Classifiers.h"

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

IndexedActivityInsight day(qint64 commits, qint64 additions = 0, qint64 deletions = 0)
{
    return {QStringLiteral("2024-01-01"), std::nullopt, commits, additions, deletions};
}

} // namespace

TEST(Classifiers, CommitTypeIsTheKnownWordBeforeTheColon)
{
    const std::pair<const char16_t *, const char *> cases[] = {
        {u"Docs(api): x", "docs"},
        {u"fix(core)!: crash", "fix"},
        {u"FIX: shouting", "fix"},
        // Empty pieces are dropped, so a leading colon leaves the text after it to decide.
        {u"::feat: y", "feat"},
        {u"feat!: drop", "other"},
        {u" fix: leading blank", "other"},
        {u"fix bug: words before colon", "other"},
        {u":fix it", "other"},
        {u"features: x", "other"},
        {u"(ui)fix: scope first", "other"},
        {u"ΦΙΞ: διόρθωση", "other"},
    };
    for (const auto &[subject, type] : cases)
        EXPECT_EQ(commitType(QString::fromUtf16(subject)), QLatin1String(type)) << type;
}

TEST(Classifiers, SignificantWordsAreLowerCasedRunsOfLettersMarksAndDigits)
{
    const std::pair<const char16_t *, QStringList> cases[] = {
        // At least three characters; no stop words; no decimal number that fits in 64 bits.
        {u"Fix: add 2024 login-flow for the iOS app", {"login", "flow", "ios", "app"}},
        {u"Merge branch 'main' into feature/Added-Updates", {"main", "feature"}},
        {u"snake_case it's path/to x.y", {"snake", "case", "path"}},
        {u"9223372036854775807 9223372036854775808 00042 v2024 2024b",
         {"9223372036854775808", "v2024", "2024b"}},
        // Digits of other scripts are word characters but no decimal number.
        {u"١٢٣ １２３", {"١٢٣", "１２３"}},
        // Capital sigma ends a word in its final form, so both spellings give one word.
        {u"ΟΔΟΣ οδος ΣΑΣ ΣΕΙΡΆ ΑΣ.", {"οδος", "οδος", "σας", "σειρά"}},
        {u"Исправить ОШИБКУ в модуле «Вход»", {"исправить", "ошибку", "модуле", "вход"}},
        // Runs without spaces are one word each; punctuation and symbols separate.
        {u"修正: ログイン画面のバグ、再発防止。🚀リリース",
         {"ログイン画面のバグ", "再発防止", "リリース"}},
        // Both spellings of a word give its composed form; a letter with its marks is one
        // character, as is a surrogate pair; a mark after a separator starts a word.
        {u"Cafe\u0301 CAFÉ re\u0301sume\u0301", {"café", "café", "résumé"}},
        {u"e\u0301e\u0301 q\u0307q\u0307q\u0307", {"q\u0307q\u0307q\u0307"}},
        {u"-\u0301ab", {"\u0301ab"}},
        {u"𝐀𝐁 𝐀𝐁𝐂", {"𝐀𝐁𝐂"}},
    };
    for (const auto &[subject, words] : cases)
        EXPECT_EQ(significantWords(QString::fromUtf16(subject)), words)
            << words.join(u' ').toStdString();
}

TEST(Classifiers, TechnologyByFileNameThenExtensionIgnoringCase)
{
    const std::pair<const char *, const char *> cases[] = {
        {"Sources/App/Package.swift", "Swift"},
        {"deploy/Dockerfile", "Docker"},
        {"src/main.RS", "Rust"},
        {"archive.tar.GZ", ".gz"},
        {"v1.2/LICENSE", "Other"},
        {"trailing.", "Other"},
    };
    for (const auto &[path, name] : cases)
        EXPECT_EQ(technology(QString::fromLatin1(path)), QLatin1String(name)) << path;
}

TEST(Classifiers, PeriodLabelsStartAtMidnightUTC)
{
    const std::pair<const char *, std::optional<qint64>> cases[] = {
        {"2024-03-05", 1709596800}, {"2024-03", 1709251200},   {"2024", 1704067200},
        {"Unknown", std::nullopt},  {"2024-13", std::nullopt}, {"", std::nullopt},
    };
    for (const auto &[label, seconds] : cases) {
        const std::optional<QDateTime> date = periodDate(QString::fromLatin1(label));
        EXPECT_EQ(date.has_value(), seconds.has_value()) << label;
        if (date && seconds) {
            EXPECT_TRUE(*date == QDateTime::fromSecsSinceEpoch(*seconds, Qt::UTC)
                        && date->timeSpec() == Qt::UTC)
                << label;
        }
    }
}

TEST(Classifiers, TrendComparesTheLaterHalfWithTheScaledEarlierHalf)
{
    const std::tuple<QList<IndexedActivityInsight>, ActivityValue, double> cases[] = {
        {{day(2), day(1), day(4)}, ActivityValue::Commits, 25},
        {{day(1), day(1), day(3), day(3), day(3)}, ActivityValue::Commits, 200},
        {{day(5)}, ActivityValue::Commits, 0},
        // Integer scaling: 1 x 2 / 1 = 2 expected, later half 3.
        {{day(1), day(1), day(2)}, ActivityValue::Commits, 50},
        // Nothing before: 100 when anything came after, else 0.
        {{day(1, 0, 0), day(1, 7, 3)}, ActivityValue::Churn, 100},
        {{day(1, 0, 0), day(1, 0, 0)}, ActivityValue::Churn, 0},
        {{day(9, 10, 0), day(1, 5, 20)}, ActivityValue::Churn, 150},
        {{day(9, 10, 0), day(1, 5, 20)}, ActivityValue::Additions, -50},
        {{day(9, 10, 4), day(1, 5, 20)}, ActivityValue::Deletions, 400},
    };
    for (const auto &[days, value, percent] : cases)
        EXPECT_DOUBLE_EQ(trend(days, value), percent) << days.size() << " days, " << int(value);
}
