// Lineage on hand-made change rows: which rows each file keeps through renames, where histories
// run side by side.
#include "insights/FileLineage.h"

#include <gtest/gtest.h>

#include <QSet>

#include <map>

using namespace strataloom;
using namespace strataloom::aggregates;

namespace {

struct Row
{
    int commit;
    char status;
    const char *path;
    const char *oldPath = nullptr;
};

// A history of @p commits commits with @p rows, as readHistory() leaves it.
History historyOf(int commits, std::initializer_list<Row> rows)
{
    History history;
    for (int i = 0; i < commits; ++i)
        history.commits.push_back({i + 1});
    QHash<QString, qsizetype> files;
    const auto fileOf = [&](const QString &path) {
        if (!files.contains(path)) {
            files.insert(path, history.filePaths.size());
            history.filePaths.append(path);
            history.fileIDs.push_back(qint64(history.fileIDs.size()) + 1);
        }
        return files.value(path);
    };
    for (const Row &row : rows) {
        if (row.oldPath)
            fileOf(QString::fromLatin1(row.oldPath)); // the indexer has a row for it earlier
        history.fileChanges.emplace_back(row.commit, fileOf(QString::fromLatin1(row.path)));
        history.fileChangeLines.emplace_back(1, 0);
        history.fileChangeStatus.push_back(row.status);
        if (row.oldPath)
            history.renameSources.emplace_back(history.fileChanges.size() - 1,
                                               QString::fromLatin1(row.oldPath));
    }
    history.fileIndex.assign(history.fileIDs);
    return history;
}

// Each file's name with the commits of its rows: "c.c:0,1,2".
QStringList lineages(const History &history)
{
    std::map<qsizetype, QStringList> commits;
    for (const auto &[commit, file] : history.fileChanges)
        commits[file].append(QString::number(commit));
    QStringList result;
    for (const auto &[file, list] : commits)
        result.append(history.filePaths[file] + u':' + list.join(u','));
    result.sort();
    return result;
}

} // namespace

TEST(FileLineage, RenamesHandHistoryOnUnlessTheOldPathLivesOn)
{
    // What the case shows, the history, the paths at HEAD, each file's name and commits.
    const std::tuple<const char *, History, QSet<QString>, QStringList> cases[] = {
        {"a chain of renames is one file",
         historyOf(4, {{0, 'A', "a.c"}, {1, 'R', "b.c", "a.c"}, {2, 'M', "b.c"},
                       {3, 'R', "c.c", "b.c"}}),
         {"c.c"}, {"c.c:0,1,2,3"}},
        {"a change of the old name on another branch follows the rename",
         historyOf(5, {{0, 'A', "a.c"}, {1, 'R', "b.c", "a.c"}, {2, 'M', "a.c"}, {3, 'M', "b.c"},
                       {4, 'M', "b.c"}}),
         {"b.c"}, {"b.c:0,1,2,3,4"}},
        {"an old name that lives on at HEAD keeps its history; the rename is a copy",
         historyOf(5, {{0, 'A', "Makefile"}, {1, 'R', "tools/Makefile", "Makefile"},
                       {2, 'M', "Makefile"}, {3, 'M', "Makefile"}, {4, 'M', "Makefile"}}),
         {"Makefile"}, {"Makefile:0,2,3,4", "tools/Makefile:1"}},
        {"an old name gone from HEAD was the same file in another line of history",
         historyOf(5, {{0, 'A', "gitk"}, {1, 'R', "gitk-git/gitk", "gitk"}, {2, 'M', "gitk"},
                       {3, 'M', "gitk"}, {4, 'M', "gitk"}}),
         {"gitk-git/gitk"}, {"gitk-git/gitk:0,1,2,3,4"}},
        {"a new file at the old name starts its own history",
         historyOf(4, {{0, 'A', "a.c"}, {1, 'R', "b.c", "a.c"}, {2, 'A', "a.c"}, {3, 'M', "a.c"}}),
         {"a.c", "b.c"}, {"a.c:2,3", "b.c:0,1"}},
        {"two names swapped in one commit swap their histories",
         historyOf(3, {{0, 'A', "x"}, {0, 'A', "y"}, {1, 'R', "y", "x"}, {1, 'R', "x", "y"},
                       {2, 'M', "x"}}),
         {"x", "y"}, {"x:0,1,2", "y:0,1"}},
        {"a swap is one whatever order its rows come in",
         historyOf(3, {{0, 'A', "x"}, {0, 'A', "y"}, {1, 'R', "x", "y"}, {1, 'R', "y", "x"},
                       {2, 'M', "x"}}),
         {"x", "y"}, {"x:0,1,2", "y:0,1"}},
    };
    for (const auto &[name, before, atHead, expected] : cases) {
        History history = before;
        const std::vector<bool> holdsPath = followRenames(
            history, [&paths = atHead](const QString &path) { return paths.contains(path); });
        EXPECT_EQ(lineages(history), expected) << name;
        EXPECT_EQ(holdsPath.size(), size_t(history.filePaths.size())) << name;
        EXPECT_TRUE(history.renameSources.empty()) << name;
    }
}
