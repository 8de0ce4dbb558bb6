// Home-folder scan against a plain walk of the same tree.
//
// Builds a home folder of about 100,000 folders in a temporary folder: projects with source
// trees, git repositories (whose insides the scan does not enter), node_modules and build trees,
// a top-level Library and hidden folders. Then times RepositoryScanner::scan() and, as the
// baseline, a QDirIterator walk over every folder of the same tree without any checks. Both run
// warm (after one untimed pass); the best of several rounds is reported. A second pair of figures
// walks only the hidden cache tree, where nothing is pruned and there is no repository, to show
// the cost of the checks per folder apart from the gain of pruning.
//
//   scan_benchmark [--folders N] [--rounds N]
#include "app/RepositoryScanner.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>

#include <sys/stat.h>

using strataloom::DiscoveredRepository;
using strataloom::RepositoryScanner;

namespace {

// Creates folders with mkdir directly: QDir::mkpath per folder would dominate the setup time.
class TreeBuilder
{
public:
    explicit TreeBuilder(QString root)
        : m_root(std::move(root))
    { }

    qint64 folders() const { return m_folders; }

    void folder(const QString &relative)
    {
        const QByteArray path = QFile::encodeName(m_root + QLatin1Char('/') + relative);
        if (::mkdir(path.constData(), 0755) == 0)
            ++m_folders;
    }
    void emptyFile(const QString &relative)
    {
        QFile file(m_root + QLatin1Char('/') + relative);
        if (file.open(QIODevice::WriteOnly))
            file.write("ref: refs/heads/main\n");
    }

    // A repository's own folders as git lays them out, with a work tree of @p sourceFolders.
    void repository(const QString &relative, int sourceFolders)
    {
        folder(relative);
        folder(relative + QStringLiteral("/.git"));
        emptyFile(relative + QStringLiteral("/.git/HEAD"));
        for (const char *inner : {"objects", "objects/info", "objects/pack", "refs", "refs/heads",
                                  "refs/tags", "hooks", "info", "logs", "logs/refs"})
            folder(relative + QStringLiteral("/.git/") + QLatin1String(inner));
        for (int n = 0; n < 40; ++n)
            folder(relative + QStringLiteral("/.git/objects/%1").arg(n, 2, 16, QLatin1Char('0')));
        sourceTree(relative, sourceFolders);
    }

    // A tree of plain folders, @p count of them, ten per level.
    void sourceTree(const QString &relative, int count)
    {
        int made = 0;
        std::function<void(const QString &, int)> grow = [&](const QString &parent, int depth) {
            for (int n = 0; n < 10 && made < count; ++n) {
                const QString child = parent + QStringLiteral("/d%1").arg(n);
                folder(child);
                ++made;
                if (depth < 4)
                    grow(child, depth + 1);
            }
        };
        grow(relative, 0);
    }

private:
    QString m_root;
    qint64 m_folders = 0;
};

void buildHome(TreeBuilder &tree, int targetFolders)
{
    tree.folder(QStringLiteral("Library"));
    tree.sourceTree(QStringLiteral("Library"), targetFolders / 10);
    tree.folder(QStringLiteral(".cache"));
    tree.sourceTree(QStringLiteral(".cache"), targetFolders / 5);
    tree.folder(QStringLiteral("code"));
    for (int project = 0; tree.folders() < targetFolders; ++project) {
        const QString base = QStringLiteral("code/group%1").arg(project % 25);
        tree.folder(base);
        const QString name = base + QStringLiteral("/project%1").arg(project);
        if (project % 3 == 0) {
            tree.repository(name, 150);
        } else {
            tree.folder(name);
            tree.sourceTree(name, 250);
        }
        if (project % 5 == 0) {
            tree.folder(name + QStringLiteral("/node_modules"));
            tree.sourceTree(name + QStringLiteral("/node_modules"), 400);
        }
        if (project % 11 == 0) {
            tree.folder(name + QStringLiteral("/.build"));
            tree.sourceTree(name + QStringLiteral("/.build"), 200);
        }
    }
}

qint64 plainWalk(const QString &root)
{
    qint64 count = 0;
    QDirIterator it(root, QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        ++count;
    }
    return count;
}

template<typename Work> double bestMilliseconds(int rounds, Work work)
{
    double best = std::numeric_limits<double>::max();
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        work();
        best = std::min(best, timer.nsecsElapsed() / 1e6);
    }
    return best;
}

int option(const QStringList &arguments, const QString &name, int fallback)
{
    const qsizetype at = arguments.indexOf(name);
    if (at < 0 || at + 1 >= arguments.size())
        return fallback;
    bool ok = false;
    const int value = arguments[at + 1].toInt(&ok);
    return ok && value > 0 ? value : fallback;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int targetFolders = option(arguments, QStringLiteral("--folders"), 100000);
    const int rounds = option(arguments, QStringLiteral("--rounds"), 5);

    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/strataloom-scan-bench-XXXXXX"));
    if (!home.isValid()) {
        std::fprintf(stderr, "scan_benchmark: cannot create a temporary folder\n");
        return 1;
    }
    TreeBuilder tree(home.path());
    QElapsedTimer setup;
    setup.start();
    buildHome(tree, targetFolders);
    std::printf("home folder: %lld folders built in %.0f ms\n",
                static_cast<long long>(tree.folders()), setup.nsecsElapsed() / 1e6);

    // Warm the file system caches for both, and check that the walk sees the whole tree.
    const qint64 walked = plainWalk(home.path());
    const RepositoryScanner scanner(home.path());
    const qsizetype found = scanner.scan().size();

    qint64 sink = 0;
    const double walkMs = bestMilliseconds(rounds, [&] { sink += plainWalk(home.path()); });
    const double scanMs = bestMilliseconds(rounds, [&] { sink += scanner.scan().size(); });

    std::printf("plain walk (QDirIterator, every folder): %8.1f ms  %lld folders\n", walkMs,
                static_cast<long long>(walked));
    std::printf("RepositoryScanner::scan():               %8.1f ms  %lld repositories\n", scanMs,
                static_cast<long long>(found));
    std::printf("ratio scan / plain walk:                 %8.2f  (best of %d rounds)\n",
                scanMs / walkMs, rounds);

    const QString cache = home.filePath(QStringLiteral(".cache"));
    const RepositoryScanner cacheScanner(cache);
    const qint64 cacheFolders = plainWalk(cache);
    const double cacheWalkMs = bestMilliseconds(rounds, [&] { sink += plainWalk(cache); });
    const double cacheScanMs
        = bestMilliseconds(rounds, [&] { sink += cacheScanner.scan().size(); });
    std::printf("nothing to prune (%lld folders): walk %.1f ms, scan %.1f ms, ratio %.2f\n",
                static_cast<long long>(cacheFolders), cacheWalkMs, cacheScanMs,
                cacheScanMs / cacheWalkMs);
    return sink > 0 ? 0 : 1;
}
