// Fills a fresh index with a synthetic history of 100,000 commits and 400,000 file changes in one
// batch, then computes the insights on it. Prints the write rate, the insights time and the size
// of the database, and, as the baseline of the same run, the insights computed query by query as
// first written (tests/insights/ReferenceInsights.cpp) and the co-change self-join alone.
//
// Usage: index_benchmark [--keep DIR] [--runs N]
//   --keep DIR  write the database into DIR and leave it there (for inspecting query plans)
//   --runs N    compute the insights N times and report the fastest and the median (default 3)

#include "ReferenceInsights.h"
#include "index/RepositoryIndex.h"
#include "insights/RepositoryInsights.h"
#include "index/SQLite.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <set>
#include <vector>

using namespace strataloom;

namespace {

constexpr int commitCount = 100'000;
constexpr int changeCount = 400'000;
constexpr int fileCount = 20'000;
constexpr int authorCount = 300;

// Weights 1/(rank+1)^exponent: a few items get most of the draws, a long tail gets few.
std::discrete_distribution<int> zipf(int count, double exponent)
{
    std::vector<double> weights(count);
    for (int i = 0; i < count; ++i)
        weights[i] = 1.0 / std::pow(i + 1, exponent);
    return std::discrete_distribution<int>(weights.begin(), weights.end());
}

class SyntheticHistory
{
public:
    explicit SyntheticHistory(quint64 seed)
        : m_random(seed)
    {
        makeFiles();
        makeAuthors();
    }

    RepositoryIndexBatch batch()
    {
        RepositoryIndexBatch batch;
        const std::vector<int> sizes = changeSizes();
        const std::vector<qint64> times = commitTimes();
        auto fileDraw = zipf(fileCount, 1.0);
        auto authorDraw = zipf(authorCount, 1.2);
        std::vector<bool> seen(fileCount, false);

        batch.commits.reserve(commitCount);
        for (int i = 0; i < commitCount; ++i) {
            IndexedCommit commit;
            commit.sha = randomSHA();
            if (i > 0)
                commit.parents.append(batch.commits[i - 1].sha);
            const bool merge = sizes[i] == 0 && i > 10 && chance(0.9);
            if (merge)
                commit.parents.append(batch.commits[pick(std::max(0, i - 200), i - 2)].sha);
            const Author &author = m_authors[authorDraw(m_random)];
            commit.authorName = author.name;
            commit.authorEmail = author.emails[pick(0, int(author.emails.size()) - 1)];
            commit.committerName = commit.authorName;
            commit.committerEmail = commit.authorEmail;
            commit.authorTime = times[i];
            commit.committerTime = times[i] + pick(0, 3600);
            commit.subject = merge ? mergeSubject() : subject();
            if (chance(0.3))
                commit.body = QStringLiteral("Longer explanation of the change.\n\nRefs #")
                    + QString::number(pick(1, 9000));

            // Wide commits sweep a neighbourhood of files; ordinary ones follow the hot spots.
            std::set<int> files;
            if (sizes[i] >= 20) {
                const int start = pick(0, fileCount - sizes[i]);
                for (int f = start; int(files.size()) < sizes[i]; ++f)
                    files.insert(f);
            }
            while (int(files.size()) < sizes[i])
                files.insert(fileDraw(m_random));
            for (const int f : files) {
                IndexedFileChange change;
                change.path = m_paths[f];
                change.status = !seen[f] ? QStringLiteral("A")
                    : chance(0.003)      ? QStringLiteral("D")
                                         : QStringLiteral("M");
                seen[f] = true;
                change.isBinary = m_binary[f];
                if (!change.isBinary) {
                    change.additions = lineCount(2.0);
                    change.deletions = lineCount(1.2);
                }
                commit.changes.append(change);
            }
            batch.reachableSHAs.insert(commit.sha);
            batch.commits.append(std::move(commit));
        }

        const QStringList local {"main",          "develop",   "release/2.x", "feature/search",
                                 "feature/graph", "fix/crash", "spike/wasm",  "docs/guide"};
        for (const QString &name : local)
            batch.refs.append({name, QStringLiteral("branch"), tipNear(batch, 1.0), false, {}});
        for (int i = 0; i < 20; ++i) {
            batch.refs.append({QStringLiteral("origin/topic-%1").arg(i),
                               QStringLiteral("branch"),
                               tipNear(batch, 0.8),
                               true,
                               {}});
        }
        for (int i = 0; i < 40; ++i) {
            const QString target = batch.commits[(i + 1) * (commitCount / 41)].sha;
            batch.refs.append({QStringLiteral("v%1.%2.0").arg(i / 10).arg(i % 10),
                               QStringLiteral("tag"), target, false, randomSHA()});
        }
        batch.refs.append({QStringLiteral("v0.0.0-lost"), QStringLiteral("tag"), randomSHA(), false,
                           std::nullopt});
        batch.refFingerprint = QStringLiteral("synthetic");
        batch.indexedAt = 1735689600.5;
        return batch;
    }

private:
    struct Author
    {
        QString name;
        QStringList emails;
    };

    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
    bool chance(double p) { return std::bernoulli_distribution(p)(m_random); }

    QString randomSHA()
    {
        QString sha;
        sha.reserve(40);
        for (int i = 0; i < 5; ++i)
            sha += QStringLiteral("%1").arg(quint32(m_random()), 8, 16, QLatin1Char('0'));
        return sha;
    }

    qint64 lineCount(double scale)
    {
        const double value = std::exp(std::normal_distribution<double>(scale, 1.3)(m_random));
        return std::min<qint64>(qint64(value), 20'000);
    }

    void makeFiles()
    {
        const QStringList top {"src",    "lib",   "tests",    "docs",    "app",
                               "web",    "tools", "scripts",  "include", "assets",
                               "config", "bench", "packages", "vendor"};
        const QStringList extensions {"cpp",  "h",    "py",  "ts",  "tsx",   "js",  "md",
                                      "json", "yml",  "go",  "rs",  "swift", "sql", "sh",
                                      "css",  "html", "txt", "png", "proto", "toml"};
        QSet<QString> used;
        for (int i = 0; m_paths.size() < fileCount; ++i) {
            QString path;
            if (i % 97 == 0) {
                path = QStringLiteral("ROOTFILE%1.%2").arg(i).arg(extensions[pick(0, 19)]);
            } else {
                path = QStringLiteral("%1/module%2/part%3/file%4.%5")
                           .arg(top[pick(0, int(top.size()) - 1)])
                           .arg(pick(0, 40))
                           .arg(pick(0, 5))
                           .arg(i)
                           .arg(extensions[pick(0, int(extensions.size()) - 1)]);
            }
            if (used.contains(path))
                continue;
            used.insert(path);
            m_paths.append(path);
            m_binary.push_back(path.endsWith(QStringLiteral(".png")));
        }
    }

    void makeAuthors()
    {
        const QStringList domains {"example.com",      "gmail.com", "users.noreply.github.com",
                                   "corp.example.org", "mail.ru",   "uni-heidelberg.de"};
        for (int i = 0; i < authorCount; ++i) {
            Author author;
            author.name = QStringLiteral("Developer %1").arg(i);
            author.emails.append(QStringLiteral("dev%1@%2").arg(i).arg(domains[pick(0, 5)]));
            if (chance(0.2))
                author.emails.append(QStringLiteral("dev%1@%2").arg(i).arg(domains[pick(0, 5)]));
            m_authors.append(author);
        }
    }

    // Files per commit: merges touch none, one in a hundred is wide (20 to 120 files), the rest
    // a handful; then nudged until the total is exactly changeCount.
    std::vector<int> changeSizes()
    {
        std::vector<int> sizes(commitCount);
        std::geometric_distribution<int> small(0.35);
        long total = 0;
        for (int &size : sizes) {
            if (chance(0.05))
                size = 0;
            else if (chance(0.01))
                size = pick(20, 120);
            else
                size = 1 + small(m_random);
            total += size;
        }
        while (total != changeCount) {
            int &size = sizes[pick(0, commitCount - 1)];
            if (size == 0 || size >= 20)
                continue;
            if (total < changeCount && size < 19) {
                ++size;
                ++total;
            } else if (total > changeCount && size > 1) {
                --size;
                --total;
            }
        }
        return sizes;
    }

    // Ten years of history, growing busier over time, in ascending order.
    std::vector<qint64> commitTimes()
    {
        const qint64 start = 1420070400; // 2015-01-01
        const qint64 span = 10LL * 365 * 86400;
        std::vector<qint64> times(commitCount);
        for (qint64 &time : times) {
            const double u = std::uniform_real_distribution<double>(0, 1)(m_random);
            time = start + qint64(std::sqrt(u) * double(span));
        }
        std::sort(times.begin(), times.end());
        return times;
    }

    QString subject()
    {
        static const QStringList types {"feat",  "fix",  "docs",  "refactor", "test",
                                        "chore", "perf", "build", "ci",       "style"};
        static const QStringList scopes {"parser", "ui", "index", "cli", "graph", "search"};
        static const QStringList verbs {"Add",    "Update",   "Fix",      "Remove",   "Improve",
                                        "Handle", "Refactor", "Simplify", "Document", "Rename"};
        static const QStringList objects {"cache invalidation",  "login flow",
                                          "the token parser",    "search results",
                                          "commit graph layout", "memory leak in loader",
                                          "flaky test",          "README",
                                          "Unicode paths",       "build on Windows",
                                          "error messages",      "keyboard shortcuts"};
        const QString body = verbs[pick(0, int(verbs.size()) - 1)] + u' '
            + objects[pick(0, int(objects.size()) - 1)];
        const int kind = pick(0, 99);
        if (kind < 45) {
            const QString type = types[pick(0, int(types.size()) - 1)];
            const QString scope
                = chance(0.4) ? u'(' + scopes[pick(0, int(scopes.size()) - 1)] + u')' : QString();
            return type + scope + QStringLiteral(": ") + body.toLower();
        }
        if (kind < 48)
            return QStringLiteral("Revert \"") + body + u'"';
        if (kind < 51)
            return QStringLiteral("wip");
        return body;
    }

    QString mergeSubject()
    {
        return chance(0.5)
            ? QStringLiteral("Merge branch 'feature/topic-%1'").arg(pick(1, 900))
            : QStringLiteral("Merge pull request #%1 from someone/branch").arg(pick(1, 9000));
    }

    QString tipNear(const RepositoryIndexBatch &batch, double fraction)
    {
        const int last = int(double(commitCount - 1) * fraction);
        return batch.commits[pick(std::max(0, last - 500), last)].sha;
    }

    std::mt19937_64 m_random;
    QStringList m_paths;
    std::vector<bool> m_binary;
    QList<Author> m_authors;
};

qint64 fileSize(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() ? info.size() : 0;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QString keep;
    int runs = 3;
    const QStringList arguments = app.arguments();
    for (qsizetype i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == QStringLiteral("--keep"))
            keep = arguments[++i];
        else if (arguments[i] == QStringLiteral("--runs"))
            runs = std::max(1, arguments[++i].toInt());
    }

    QTemporaryDir temporary;
    const QString folder = keep.isEmpty() ? temporary.path() : keep;
    QDir().mkpath(folder);
    const QString path = folder + QStringLiteral("/index.sqlite");
    for (const char *suffix : {"", "-wal", "-shm"})
        QFile::remove(path + QString::fromLatin1(suffix));

    QElapsedTimer timer;
    timer.start();
    RepositoryIndexBatch batch = SyntheticHistory(20240601).batch();
    qint64 changes = 0;
    for (const IndexedCommit &commit : batch.commits)
        changes += commit.changes.size();
    std::printf("history: %lld commits, %lld file changes, generated in %.2f s\n",
                qint64(batch.commits.size()), changes, timer.nsecsElapsed() / 1e9);

    try {
        RepositoryIndex index(path);
        timer.restart();
        const RepositoryIndexSnapshot snapshot = index.apply(batch);
        const double applySeconds = timer.nsecsElapsed() / 1e9;
        std::printf("apply: %.2f s, %.0f commits/s (target >= 20000); snapshot %d commits, "
                    "%d authors, %d files, %d changes, %d refs\n",
                    applySeconds, double(batch.commits.size()) / applySeconds, snapshot.commits,
                    snapshot.authors, snapshot.files, snapshot.changes, snapshot.refs);
        std::printf("database: %.1f MB (index.sqlite %.1f MB, -wal %.1f MB)\n",
                    (fileSize(path) + fileSize(path + QStringLiteral("-wal"))) / 1e6,
                    fileSize(path) / 1e6, fileSize(path + QStringLiteral("-wal")) / 1e6);
        batch = {};

        std::vector<double> times;
        RepositoryAnalyticsInsights result;
        for (int run = 0; run < runs; ++run) {
            timer.restart();
            result = insights(index);
            times.push_back(timer.nsecsElapsed() / 1e9);
        }
        std::printf("insights(): fastest %.3f s, median %.3f s of %d (target <= 2 s); "
                    "%lld commits, %lld hotspots, %lld co-change pairs, bus factor %lld\n",
                    *std::min_element(times.begin(), times.end()), median(times), runs,
                    result.totalCommits, qint64(result.hotspots.size()),
                    qint64(result.coChanges.size()), result.busFactor);

        // Baseline: every aggregate query as first written, one after another.
        const auto [reference, referenceSeconds] = index.read([](SQLiteDatabase &database) {
            QElapsedTimer clock;
            clock.start();
            RepositoryAnalyticsInsights value = reference::referenceInsights(database);
            return std::make_pair(value, clock.nsecsElapsed() / 1e9);
        });
        const double fastest = *std::min_element(times.begin(), times.end());
        std::printf("baseline, queries as first written: %.3f s; insights() %.1fx faster; "
                    "values %s\n",
                    referenceSeconds, referenceSeconds / fastest,
                    reference == result ? "equal" : "differ (order of ties left open?)");

        const auto [original, originalSeconds] = index.read([](SQLiteDatabase &database) {
            QElapsedTimer clock;
            clock.start();
            QList<IndexedCoChangeInsight> pairs = reference::coChanges(database);
            return std::make_pair(pairs, clock.nsecsElapsed() / 1e9);
        });
        const auto [fast, fastSeconds] = index.read([](SQLiteDatabase &database) {
            QElapsedTimer clock;
            clock.start();
            QList<IndexedCoChangeInsight> pairs = loadCoChanges(database);
            return std::make_pair(pairs, clock.nsecsElapsed() / 1e9);
        });
        std::printf("co-change alone: self-join %.3f s, in memory %.3f s (with its own reads), "
                    "%.1fx; results %s\n",
                    originalSeconds, fastSeconds, originalSeconds / fastSeconds,
                    original == fast ? "identical" : "DIFFERENT");
        return original == fast ? 0 : 1;
    } catch (const SQLiteError &error) {
        std::fprintf(stderr, "%s\n", qPrintable(error.description()));
        return 1;
    }
}
