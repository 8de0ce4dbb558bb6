// insights() computes every aggregate from one read of each table instead of running the
// aggregate queries one by one. These tests hold it to the queries' results on random histories
// built to hit the awkward cases: ties everywhere, names equal but for ASCII case, texts outside
// the basic plane and in the private-use area (UTF-16 and UTF-8 order differ there), NUL and
// blanks in subjects, binary changes, commits of 50 and 51 files, commits that are no longer
// reachable, aliases without "@" and refs whose target is unknown.

#include "HistoryBuilder.h"
#include "ReferenceInsights.h"
#include "index/SQLite.h"
#include "insights/RepositoryInsights.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>

using namespace strataloom;

namespace {

QString foldASCII(QString text)
{
    for (QChar &c : text)
        c = c >= u'A' && c <= u'Z' ? QChar(c.unicode() + 32) : c;
    return text;
}

/**
 * Both lists hold the same keys in the same order, and the same elements for each key, except
 * where the order of equal keys is left open: inside a group of equal keys any order is right,
 * and a group cut by a LIMIT may hold any of the tied rows of the query without its limit.
 */
template<typename T, typename Key>
void expectSameUpToTies(const QList<T> &fast, const QList<T> &reference, const QList<T> &unlimited,
                        Key key, const char *what)
{
    SCOPED_TRACE(what);
    ASSERT_EQ(fast.size(), reference.size());
    for (qsizetype i = 0; i < fast.size(); ++i)
        ASSERT_EQ(key(fast[i]), key(reference[i])) << "at " << i;
    for (qsizetype start = 0; start < fast.size();) {
        qsizetype end = start;
        while (end < fast.size() && key(fast[end]) == key(fast[start]))
            ++end;
        const bool cut = end == fast.size() && fast.size() < unlimited.size();
        if (!cut) {
            EXPECT_TRUE(std::is_permutation(fast.begin() + start, fast.begin() + end,
                                            reference.begin() + start))
                << "group at " << start;
        } else {
            for (qsizetype i = start; i < end; ++i) {
                const bool tied = std::any_of(unlimited.begin(), unlimited.end(),
                                              [&](const T &row) { return row == fast[i]; });
                EXPECT_TRUE(tied) << "row " << i << " is none of the tied rows";
                EXPECT_EQ(std::count(fast.begin(), fast.end(), fast[i]), 1);
            }
        }
        start = end;
    }
}

void expectSameAsQueries(RepositoryIndex &index)
{
    index.read([](SQLiteDatabase &database) {
        RepositoryAnalyticsInsights fast = insights(database);
        RepositoryAnalyticsInsights reference = reference::referenceInsights(database);
        const RepositoryAnalyticsInsights unlimited = reference::referenceInsights(database, true);
        // Compares one list up to ties, then empties it in both for the comparison as a whole.
        const auto upToTies = [&](auto member, auto key, const char *what) {
            expectSameUpToTies(fast.*member, reference.*member, unlimited.*member, key, what);
            fast.*member = {};
            reference.*member = {};
        };
        using I = RepositoryAnalyticsInsights;
        const auto rank = [](const auto &row) {
            return std::make_pair(row.changes, row.additions + row.deletions);
        };
        const auto byName = [](const auto &row) { return foldASCII(row.name); };
        const auto byCommits = [&](const auto &a) { return std::pair(a.commits, byName(a)); };
        const auto byChurn = [](const auto &c) { return c.additions + c.deletions; };
        const auto byRemote = [&](const auto &b) { return std::pair(b.isRemote, byName(b)); };
        const auto byTime = [&](const auto &t) { return std::pair(t.commitAt, byName(t)); };
        const auto byCount = [](const auto &d) { return d.count; };
        upToTies(&I::topAuthors, byCommits, "topAuthors");
        upToTies(&I::hotspots, rank, "hotspots");
        upToTies(&I::directories, rank, "directories");
        upToTies(&I::largestCommits, byChurn, "largestCommits");
        upToTies(&I::branches, byRemote, "branches");
        upToTies(&I::tags, byTime, "tags");
        upToTies(&I::emailDomains, byCount, "emailDomains");
        // Everything else, totals and fully ordered lists alike, is equal as a whole.
        EXPECT_EQ(fast, reference);
    });
}

class RandomHistory
{
public:
    explicit RandomHistory(unsigned seed)
        : m_random(seed)
    {
        // clang-format off
        m_paths = {"README.md", "Makefile", "src/main.cpp", "src/main.h", "src/é.c",
                   "src/\U0001D400.h", "src/\uE000.txt", "docs/guide.md", "docs/Guide.md",
                   "(root)/odd", "/leading", "lib/a.rs", "lib/b.rs", "lib/c.go", "web/x.ts",
                   "web/y.tsx", "assets/logo.png", "LICENSE", "a", "b"};
        // clang-format on
        for (int i = 0; m_paths.size() < 60; ++i)
            m_paths.append(QStringLiteral("gen/f%1.py").arg(i));
    }

    /// @brief Adds @p count commits to @p history.
    void grow(HistoryBuilder &history, int count)
    {
        static const QList<std::pair<QString, QString>> authors {
            {"bob", "bob@Example.COM"}, {"Bob", "bob@example.com"}, {"ada", "ada@host"},
            {"Ada", "ADA@HOST"},        {"Zoë", "zoe@ÉCOLE.fr"},    {"nobody", "no-at-sign"},
            {"𝐌ath", "m@x@y.org"},      {"carl", "carl@"}};
        // clang-format off
        static const QStringList subjects {
            "fix: crash", "Fix(parser)!: crash", "feat!: drop", "revert: undo",
            "Revert \"feat: x\"", "REVERTED again", "undo revert", " fix: blank", "wip",
            "abcdef     ", "αβγδεζηθι", "Ελληνικά λόγια", "Исправить ОШИБКУ", "修正: バグ、再発",
            "cafe\u0301 café", "𝐀𝐁𝐂 words words", "docs: \uE000abc \U0001F600abc",
            QStringLiteral("nul\u0000inside a subject"), "", "chore: bump 2024 deps",
            "\t\tabcdefgh", "Revert\u00A0x"};
        // clang-format on
        for (int i = 0; i < count; ++i) {
            const auto &[name, email] = authors[pick(0, int(authors.size()) - 1)];
            // Few distinct instants, so times tie; some before 1970 and at 0.
            qint64 time = at("2023-01-01T00:00:00Z") + pick(0, 40) * 43200 + pick(0, 2);
            if (pick(0, 30) == 0)
                time = pick(0, 1) ? 0 : -86400 * 3;
            IndexedCommit &commit
                = history.commit(subjects[pick(0, int(subjects.size()) - 1)], time, name, email);
            if (pick(0, 8) == 0)
                commit.parents.append(QStringLiteral("merge%1").arg(i));

            int files = pick(0, 5);
            if (pick(0, 25) == 0)
                files = pick(49, 52);
            QList<int> chosen(m_paths.size());
            std::iota(chosen.begin(), chosen.end(), 0);
            std::shuffle(chosen.begin(), chosen.end(), m_random);
            for (int f = 0; f < files; ++f) {
                // Most small commits share a few files, so pairs and ranks tie often.
                const int index = files > 10 ? chosen[f] : pick(0, pick(0, 1) ? 5 : 59);
                const QString &path = m_paths[index];
                if (std::any_of(commit.changes.begin(), commit.changes.end(),
                                [&](const IndexedFileChange &c) { return c.path == path; }))
                    continue;
                static const QStringList statuses {"M", "M", "A", "D", "R087", "a", "C100"};
                IndexedFileChange change = strataloom::change(
                    path, pick(0, 3), pick(0, 3), statuses[pick(0, int(statuses.size()) - 1)]);
                if (path.endsWith(QStringLiteral(".png")) || pick(0, 20) == 0) {
                    change.isBinary = true;
                    change.additions = change.deletions = std::nullopt;
                }
                commit.changes.append(change);
            }
        }
    }

    void addRefs(HistoryBuilder &history)
    {
        const QList<IndexedCommit> &commits = history.commits();
        const auto target = [&]() {
            return commits.isEmpty() || pick(0, 5) == 0
                ? QStringLiteral("unknown%1").arg(pick(0, 9))
                : commits[pick(0, int(commits.size()) - 1)].sha;
        };
        for (const char *name : {"main", "Main2", "main2", "feature/ä", "origin/main"})
            history.branch(QString::fromUtf8(name), target(), pick(0, 2) == 0);
        for (const char *name : {"v1", "V1.1", "v1.1b", "lost", "LOST2", "ε"})
            history.tag(QString::fromUtf8(name), target());
    }

    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }

private:
    std::mt19937 m_random;
    QStringList m_paths;
};

} // namespace

TEST(InsightIdentity, RandomHistoriesMatchTheQueries)
{
    for (unsigned seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        RandomHistory random(seed);
        HistoryBuilder history;
        random.grow(history, random.pick(1, 150));
        random.addRefs(history);
        TemporaryIndex index;
        index->apply(history.batch());

        // A later synchronisation in which part of the history is no longer reachable.
        RepositoryIndexBatch next = history.batch();
        next.commits.clear();
        for (const IndexedCommit &commit : history.commits()) {
            if (random.pick(0, 3) == 0)
                next.reachableSHAs.remove(commit.sha);
        }
        index->apply(next);
        expectSameAsQueries(*index);
    }
}
