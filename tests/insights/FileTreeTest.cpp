// The Files tree: its shape and order, the figures summed up the folders (a commit and an
// author once per folder), and the tree read from an index equal to what each file's history
// in the index says, through renames, branches and identities.

#include "insights/FileTree.h"
#include "HistoryBuilder.h"
#include "insights/FileHistory.h"

#include <QSet>

using namespace strataloom;

namespace {

// The tree's nodes in order, one "depth:name" per node, '|'-separated.
QString shape(const FileTree &tree)
{
    QStringList parts;
    std::vector<int> stack(tree.root().children.rbegin(), tree.root().children.rend());
    while (!stack.empty()) {
        const FileTreeNode &node = tree.nodes[size_t(stack.back())];
        stack.pop_back();
        parts << QString::number(node.depth) + u':' + node.name;
        stack.insert(stack.end(), node.children.rbegin(), node.children.rend());
    }
    return parts.join(u'|');
}

} // namespace

TEST(FileTree, FoldersFirstThenNamesByValueWithoutCase)
{
    const std::pair<QStringList, const char *> cases[] = {
        {{}, ""},
        {{"b.txt", "A.txt", "a.md"}, "0:a.md|0:A.txt|0:b.txt"},
        {{"file10", "file9", "dir/x", "Dir2/y"}, "0:dir|1:x|0:Dir2|1:y|0:file9|0:file10"},
        {{"z", "src/lib/deep/a.c", "src/b.c", "src/lib/c.c"},
         "0:src|1:lib|2:deep|3:a.c|2:c.c|1:b.c|0:z"},
        // A path given twice is one file.
        {{"a/b", "a/b"}, "0:a|1:b"},
    };
    for (const auto &[paths, expected] : cases)
        EXPECT_EQ(shape(buildFileTree(paths)), QString::fromUtf8(expected)) << expected;

    const FileTree tree = buildFileTree({"src/lib/c.c", "src/b.c", "README"});
    EXPECT_EQ(tree.root().fileCount, 3);
    EXPECT_EQ(tree.nodes[size_t(tree.find("src"))].fileCount, 2);
    EXPECT_EQ(tree.nodes[size_t(tree.find("src/lib"))].parent, tree.find("src"));
    EXPECT_EQ(tree.find("src/li"), -1);
    EXPECT_EQ(tree.find("nothing/here"), -1);
}

TEST(FileTree, FiguresCountACommitAndAnAuthorOncePerFolder)
{
    FileTree tree = buildFileTree({"src/a.c", "src/b.c", "src/lib/c.c", "README"});
    const auto node = [&](const char *path) { return tree.find(QString::fromUtf8(path)); };
    const QStringList names {"Ada", "Grace", "Linus"};
    // commit, author, time: commit 1 touches three files under src, commit 3 has no date.
    std::vector<FileTreeChange> changes {
        {node("src/a.c"), 1, 10, 100, 0},     {node("src/b.c"), 1, 10, 100, 0},
        {node("src/lib/c.c"), 1, 10, 100, 0}, {node("src/b.c"), 2, 20, 300, 1},
        {node("README"), 2, 20, 300, 1},      {node("src/lib/c.c"), 3, 30, 0, 2},
        {node("src/a.c"), 4, 10, 200, 0},     {-1, 5, 40, 900, 2}, // no such node: ignored
    };
    addFileTreeChanges(tree, changes, names);

    // A node's path, its commits, authors, last change and last author.
    const std::tuple<const char *, qint64, qint64, qint64, const char *> cases[] = {
        {"", 4, 3, 300, "Grace"},
        {"src", 4, 3, 300, "Grace"},
        {"src/lib", 2, 2, 100, "Ada"}, // the undated commit counts, but has no date
        {"src/lib/c.c", 2, 2, 100, "Ada"},
        {"src/a.c", 2, 1, 200, "Ada"},
        {"src/b.c", 2, 2, 300, "Grace"},
        {"README", 1, 1, 300, "Grace"},
    };
    for (const auto &[path, commits, authors, lastChange, lastAuthor] : cases) {
        const FileTreeNode &entry = tree.nodes[size_t(node(path))];
        EXPECT_EQ(std::tuple(entry.commits, entry.authors, entry.lastChange, entry.lastAuthor),
                  std::tuple(commits, authors, lastChange, QString::fromUtf8(lastAuthor)))
            << path;
    }
}

/**
 * Folders two deep, a file renamed twice (into and within a folder), a branch merged and one
 * left unmerged, and one person under two names with one address:
 *   1 Ada    README, src/app/main.c, src/lib/util.c, old.txt
 *   2 Grace  src/app/main.c, src/lib/util.c           (one commit, two files under src)
 *   3 Ada    old.txt -> docs/mid.txt
 *   4 Zoe    docs/mid.txt -> docs/guide/final.txt (on topic, merged)
 *   5 Ada L. src/lib/util.c                          (Ada's address, another name)
 *   6 Zoe    src/app/extra.c                         (branch side, never merged)
 */
class FileTreeIndexTest : public IndexedRepositoryTest
{
protected:
    void SetUp() override
    {
        QByteArray body;
        for (int i = 0; i < 30; ++i)
            body += "line " + QByteArray::number(i) + '\n';
        const auto commit = [&](int day, const char *message, const char *name, const char *email) {
            commitAt(QStringLiteral("2024-02-0%1T12:00:00Z").arg(day), message, name, email);
        };
        repo.write("README", "hello\n");
        repo.write("src/app/main.c", "main\n");
        repo.write("src/lib/util.c", "util\n");
        repo.write("old.txt", body);
        commit(1, "Start", "Ada Lovelace", "ada@example.com");
        repo.write("src/app/main.c", "main 2\n");
        repo.write("src/lib/util.c", "util 2\n");
        commit(2, "Both", "Grace Hopper", "grace@example.com");
        repo.remove("old.txt");
        repo.write("docs/mid.txt", body);
        commit(3, "Move", "Ada Lovelace", "ada@example.com");
        repo.git({"checkout", "-q", "-b", "topic"});
        repo.remove("docs/mid.txt");
        repo.write("docs/guide/final.txt", body);
        commit(4, "Move again", "Zoe", "zoe@example.org");
        repo.git({"checkout", "-q", "main"});
        repo.git({"merge", "-q", "--no-ff", "-m", "Merge topic", "topic"});
        repo.write("src/lib/util.c", "util 3\n");
        commit(5, "Tweak", "Ada L.", "ada@example.com");
        repo.git({"checkout", "-q", "-b", "side"});
        repo.write("src/app/extra.c", "extra\n");
        commit(6, "Side", "Zoe", "zoe@example.org");
        repo.git({"checkout", "-q", "main"});
        repo.git({"branch", "-D", "side"});
        synchronize();
    }

    FileTree tree(bool people)
    {
        return read([&](SQLiteDatabase &database) { return readFileTree(database, people); });
    }

    // The commit ids and author names of @p path's history as the inspector reads it.
    std::pair<QSet<QString>, QSet<QString>> history(const QString &path)
    {
        return read([&](SQLiteDatabase &database) {
            IndexedHistory commits(database, HistoryQuery::parse(*fileHistoryQuery(path)));
            std::pair<QSet<QString>, QSet<QString>> found;
            for (const CommitRecord &commit : commits.page(0, 0)) {
                found.first.insert(commit.id);
                found.second.insert(commit.author);
            }
            return found;
        });
    }
};

TEST_F(FileTreeIndexTest, EveryFileAndFolderSumsItsFilesHistories)
{
    const FileTree tree = this->tree(false);
    const FileTree people = this->tree(true);
    EXPECT_EQ(shape(tree), "0:docs|1:guide|2:final.txt|0:src|1:app|2:main.c|1:lib|2:util.c|0:README");

    // Each node's commits and authors: the union of the histories of the files under it.
    std::vector<std::pair<QSet<QString>, QSet<QString>>> expected(tree.nodes.size());
    for (size_t node = 1; node < tree.nodes.size(); ++node) {
        if (tree.nodes[node].isFolder)
            continue;
        const auto [commits, authors] = history(tree.nodes[node].path);
        for (int at = int(node); at >= 0; at = tree.nodes[size_t(at)].parent) {
            expected[size_t(at)].first += commits;
            expected[size_t(at)].second += authors;
        }
    }
    for (size_t node = 0; node < tree.nodes.size(); ++node) {
        const FileTreeNode &entry = tree.nodes[node];
        EXPECT_EQ(entry.commits, expected[node].first.size()) << entry.path.toStdString();
        EXPECT_EQ(entry.authors, expected[node].second.size()) << entry.path.toStdString();
    }

    // The figures themselves, so that an empty history on both sides cannot pass; the people
    // join the names of one address.
    // A node's path, its commits, authors as recorded, people and last change.
    const std::tuple<const char *, qint64, qint64, qint64, const char *> cases[] = {
        {"", 5, 4, 3, "2024-02-05T12:00:00Z"},
        {"docs/guide/final.txt", 3, 2, 2, "2024-02-04T12:00:00Z"}, // through both renames
        {"src", 3, 3, 2, "2024-02-05T12:00:00Z"}, // "Both" once; the unmerged side not at all
        {"src/lib/util.c", 3, 3, 2, "2024-02-05T12:00:00Z"},
        {"src/app/main.c", 2, 2, 2, "2024-02-02T12:00:00Z"},
        {"README", 1, 1, 1, "2024-02-01T12:00:00Z"},
    };
    for (const auto &[path, commits, authors, persons, lastChange] : cases) {
        const FileTreeNode &entry = tree.nodes[size_t(tree.find(QString::fromUtf8(path)))];
        EXPECT_EQ(std::tuple(entry.commits, entry.authors, entry.lastChange),
                  std::tuple(commits, authors, utcDate(lastChange).toSecsSinceEpoch()))
            << path;
        EXPECT_EQ(people.nodes[size_t(people.find(QString::fromUtf8(path)))].authors, persons)
            << path;
    }
}
