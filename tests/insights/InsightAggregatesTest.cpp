// The shortcuts the aggregates take on large histories, each held to the plain way it stands in
// for: row positions through a flat array or a hash, the words of ASCII subjects cut without
// copies, and the start of each period built rather than parsed from its label.

#include "HistoryBuilder.h"
#include "ReferenceInsights.h"
#include "insights/Classifiers.h"
#include "insights/InsightAggregates.h"
#include "insights/RepositoryInsights.h"

#include <gtest/gtest.h>

#include <limits>

using namespace strataloom;

TEST(InsightAggregates, RowPositionsFindEveryIdAndNothingElse)
{
    constexpr qint64 lowest = std::numeric_limits<qint64>::min() + 1;
    constexpr qint64 highest = std::numeric_limits<qint64>::max();
    const std::vector<std::vector<qint64>> cases {
        {},
        {1},
        {1, 2, 3, 5, 8, 13}, // dense with gaps
        {-7, 0, 7}, // dense across zero
        {3, 1'000'000}, // sparse
        {lowest, 0, highest}, // the whole range
    };
    for (const std::vector<qint64> &ids : cases) {
        SCOPED_TRACE(::testing::PrintToString(ids));
        aggregates::RowPositions positions;
        positions.assign(ids);
        std::vector<qint64> probes {lowest - 1, lowest, -1, 0, 1, 4, highest};
        for (size_t i = 0; i < ids.size(); ++i) {
            EXPECT_EQ(positions.find(ids[i]), qsizetype(i));
            probes.push_back(ids[i] - 1);
            probes.push_back(ids[i] + 1 > ids[i] ? ids[i] + 1 : ids[i]);
        }
        for (const qint64 probe : probes) {
            if (std::find(ids.begin(), ids.end(), probe) == ids.end()) {
                EXPECT_EQ(positions.find(probe), -1) << probe;
            }
        }
    }
}

TEST(InsightAggregates, WordsOfASCIISubjectsAreTheSignificantWords)
{
    const QList<QStringList> cases {
        {"Fix the parser", "fix THE Parser", "parser_fix: the parser's cache"},
        {"v2.0.1 released", "bump 9223372036854775807 and 9223372036854775808",
         "00123 abc123 123abc"},
        {QString::fromUtf16(u"nul\u0000inside", 10), "\t\tabcdefgh", "abcdef     ", "ab cd ef"},
        // Subjects outside ASCII take the general way; their words add to the same counts.
        {"cafe parser", QString::fromUtf16(u"caf\u00e9 parser"), QString::fromUtf16(u"cafe\u0301"),
         QString::fromUtf16(u"\u0395\u039b\u039b\u0397\u039d\u0399\u039a\u0391 parser")},
        {},
    };
    for (const QStringList &subjects : cases) {
        SCOPED_TRACE(subjects.join(QStringLiteral(" | ")).toStdString());
        QHash<QString, qint64> expected;
        for (const QString &subject : subjects) {
            for (const QString &word : significantWords(subject))
                ++expected[word];
        }
        ASSERT_LE(expected.size(), 15) << "the table must stay under the cut";

        aggregates::PackedTexts packed;
        for (const QString &subject : subjects) {
            packed.bytes += subject.toUtf8();
            packed.ends.push_back(packed.bytes.size());
        }
        RepositoryAnalyticsInsights result;
        aggregates::summariseSubjects(packed, result);
        QHash<QString, qint64> counted;
        for (const IndexedNamedCount &word : std::as_const(result.commonWords))
            counted.insert(word.name, word.count);
        EXPECT_EQ(result.commonWords.size(), expected.size());
        EXPECT_EQ(counted, expected);
    }
}

TEST(InsightAggregates, PeriodsAgreeWithTheQueriesAcrossTheYearRange)
{
    const qint64 yearZero = -62167219200; // 0000-01-01T00:00:00Z
    // Years after 9999 have no date in SQLite, and the index refuses them.
    const qint64 times[] = {
        yearZero - 1,           yearZero,      yearZero + 59 * 86400,
        at("0001-01-01T00:00:00Z"), at("1969-12-31T23:59:59Z"), 0,
        at("2000-02-29T12:00:00Z"), at("9999-12-31T23:59:59Z"),
    };
    HistoryBuilder history;
    for (const qint64 time : times)
        history.commit(QStringLiteral("at %1").arg(time), time);
    TemporaryIndex index;
    index->apply(history.batch());
    index->read([](SQLiteDatabase &database) {
        const RepositoryAnalyticsInsights fast = insights(database);
        const RepositoryAnalyticsInsights reference = reference::referenceInsights(database);
        EXPECT_EQ(fast.dailyActivity, reference.dailyActivity);
        EXPECT_EQ(fast.monthlyActivity, reference.monthlyActivity);
        EXPECT_EQ(fast.yearlyActivity, reference.yearlyActivity);
    });
}
