#include "insights/FileTree.h"

#include "index/SQLite.h"
#include "insights/InsightPeople.h"

#include <QCollator>
#include <QHash>
#include <QLocale>
#include <QSet>

#include <algorithm>
#include <limits>
#include <optional>

namespace strataloom {

namespace {

constexpr qint64 unseen = std::numeric_limits<qint64>::min();

QString textOr(const SQLiteStatement &statement, int column)
{
    return statement.columnText(column).value_or(QString());
}

} // namespace

QCollator fileNameCollator()
{
    // The C locale ignores the numeric mode, so it falls back to the neutral English rules.
    QLocale locale;
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

int FileTree::find(const QString &path) const
{
    if (path.isEmpty())
        return nodes.empty() ? -1 : 0;
    int node = 0;
    for (const QStringView part : QStringView(path).split(u'/')) {
        const auto &children = nodes[size_t(node)].children;
        const auto found = std::find_if(children.cbegin(), children.cend(), [&](int child) {
            return nodes[size_t(child)].name == part;
        });
        if (found == children.cend())
            return -1;
        node = *found;
    }
    return node;
}

FileTree buildFileTree(const QStringList &paths)
{
    FileTree tree;
    tree.nodes.push_back({});
    tree.nodes.front().isFolder = true;
    QHash<QString, int> folders; // folder path -> node
    QHash<QString, int> files;
    const auto add = [&tree](const QString &name, const QString &path, int parent, bool folder) {
        const int node = int(tree.nodes.size());
        FileTreeNode entry;
        entry.name = name;
        entry.path = path;
        entry.parent = parent;
        entry.isFolder = folder;
        tree.nodes.push_back(std::move(entry));
        tree.nodes[size_t(parent)].children.push_back(node);
        return node;
    };
    for (const QString &path : paths) {
        if (path.isEmpty() || files.contains(path))
            continue;
        int parent = 0;
        qsizetype start = 0;
        for (qsizetype slash = path.indexOf(u'/'); slash >= 0; slash = path.indexOf(u'/', start)) {
            const QString folder = path.left(slash);
            auto found = folders.constFind(folder);
            if (found == folders.cend())
                found = folders.insert(folder, add(path.mid(start, slash - start), folder, parent, true));
            parent = *found;
            start = slash + 1;
        }
        files.insert(path, add(path.mid(start), path, parent, false));
    }

    // Parents come before their children, so one pass from the end sums the file counts.
    for (size_t node = tree.nodes.size(); node-- > 1;) {
        FileTreeNode &entry = tree.nodes[node];
        if (!entry.isFolder)
            entry.fileCount = 1;
        tree.nodes[size_t(entry.parent)].fileCount += entry.fileCount;
    }
    for (size_t node = 1; node < tree.nodes.size(); ++node) {
        const int parent = tree.nodes[node].parent;
        tree.nodes[node].depth = tree.nodes[size_t(parent)].depth + 1;
    }

    const QCollator collator = fileNameCollator();
    for (FileTreeNode &entry : tree.nodes) {
        std::sort(entry.children.begin(), entry.children.end(), [&](int left, int right) {
            const FileTreeNode &a = tree.nodes[size_t(left)];
            const FileTreeNode &b = tree.nodes[size_t(right)];
            if (a.isFolder != b.isFolder)
                return a.isFolder;
            const int order = collator.compare(a.name, b.name);
            return order != 0 ? order < 0 : a.name < b.name;
        });
    }
    return tree;
}

void addFileTreeChanges(FileTree &tree, std::vector<FileTreeChange> changes,
                        const QStringList &authorNames)
{
    std::vector<FileTreeNode> &nodes = tree.nodes;
    const auto valid = [&nodes](const FileTreeChange &change) {
        return change.node > 0 && size_t(change.node) < nodes.size();
    };
    changes.erase(std::remove_if(changes.begin(), changes.end(),
                                 [&](const FileTreeChange &change) { return !valid(change); }),
                  changes.end());

    // Every walk goes up to the root; a node already marked for this commit (or author) has
    // every folder above it marked too, so the walk stops there.
    std::vector<qint64> stamp(nodes.size(), unseen);
    std::vector<qint64> newestCommit(nodes.size(), unseen);
    std::sort(changes.begin(), changes.end(), [](const auto &a, const auto &b) {
        return a.commit < b.commit;
    });
    for (const FileTreeChange &change : changes) {
        for (int node = change.node; node >= 0 && stamp[size_t(node)] != change.commit;
             node = nodes[size_t(node)].parent) {
            stamp[size_t(node)] = change.commit;
            ++nodes[size_t(node)].commits;
        }
        if (change.time < 1)
            continue;
        // The newest change by date, the later commit among equal dates.
        for (int node = change.node; node >= 0; node = nodes[size_t(node)].parent) {
            FileTreeNode &entry = nodes[size_t(node)];
            if (std::pair(entry.lastChange, newestCommit[size_t(node)])
                >= std::pair(change.time, change.commit))
                break;
            entry.lastChange = change.time;
            newestCommit[size_t(node)] = change.commit;
            entry.lastAuthor = change.authorName >= 0 && change.authorName < authorNames.size()
                ? authorNames.at(change.authorName)
                : QString();
        }
    }

    std::fill(stamp.begin(), stamp.end(), unseen);
    std::sort(changes.begin(), changes.end(), [](const auto &a, const auto &b) {
        return a.author < b.author;
    });
    for (const FileTreeChange &change : changes) {
        for (int node = change.node; node >= 0 && stamp[size_t(node)] != change.author;
             node = nodes[size_t(node)].parent) {
            stamp[size_t(node)] = change.author;
            ++nodes[size_t(node)].authors;
        }
    }
}

FileTree readFileTree(SQLiteDatabase &database, bool mergeIdentities)
{
    QStringList paths;
    {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT path FROM path_facts WHERE at_head = 1"));
        while (statement.step())
            paths.append(textOr(statement, 0));
    }
    FileTree tree = buildFileTree(paths);

    // People as the insights count them, or recorded names.
    const QList<aggregates::AliasIdentity> aliases
        = aggregates::readAliasPeople(database, mergeIdentities);
    QHash<qint64, qint64> person;
    QStringList names;
    QHash<qint64, int> nameOfAlias;
    for (const aggregates::AliasIdentity &alias : aliases) {
        person.insert(alias.id, alias.person);
        nameOfAlias.insert(alias.id, int(names.size()));
        names.append(alias.name);
    }

    // Plain scans and a join in memory: a join in SQL looks up each change's commit row,
    // messages and all, and takes several times as long.
    struct Commit
    {
        qint64 author = 0;
        qint64 authorTime = 0;
        qint64 committerTime = 0;
        int name = -1;
        bool reachable = false;
    };
    QHash<qint64, Commit> commits;
    {
        SQLiteStatement statement = database.statement(
            QStringLiteral("SELECT id, author_alias_id, author_time, committer_time, is_reachable "
                           "FROM commits"));
        while (statement.step()) {
            // Commits without an author row count as one unknown author.
            const bool hasAlias = !statement.columnIsNull(1);
            const qint64 alias = hasAlias ? statement.columnInt64(1) : 0;
            commits.insert(statement.columnInt64(0),
                           {hasAlias ? person.value(alias, -alias) : unseen + 1,
                            statement.columnInt64(2), statement.columnInt64(3),
                            nameOfAlias.value(alias, -1), statement.columnInt64(4) != 0});
        }
    }
    QHash<QString, qint64> fileOfPath;
    {
        SQLiteStatement statement
            = database.statement(QStringLiteral("SELECT id, current_path FROM files"));
        while (statement.step())
            fileOfPath.insert(textOr(statement, 1), statement.columnInt64(0));
    }
    struct Row
    {
        qint64 commit = 0;
        QString renamedFrom; ///< the name before, for a rename
    };
    QHash<qint64, std::vector<Row>> rowsOfFile;
    QHash<QString, std::vector<qint64>> renamedAway; // old name -> commits that renamed it
    {
        SQLiteStatement statement = database.statement(QStringLiteral(
            "SELECT commit_id, file_id, CASE WHEN status LIKE 'R%' THEN old_path END "
            "FROM commit_files"));
        while (statement.step()) {
            Row row {statement.columnInt64(0), textOr(statement, 2)};
            if (!row.renamedFrom.isEmpty())
                renamedAway[row.renamedFrom].push_back(row.commit);
            rowsOfFile[statement.columnInt64(1)].push_back(std::move(row));
        }
    }

    // A file's commits as its history in the inspector lists them: those under its name, the
    // renames that took a file away from that name, and under each earlier name the commits up
    // to the rename from it (by committer date), so a name used again later by another file
    // adds nothing.
    std::vector<FileTreeChange> changes;
    QSet<qint64> found;
    QHash<QString, std::optional<qint64>> visited;
    for (size_t node = 1; node < tree.nodes.size(); ++node) {
        if (tree.nodes[node].isFolder)
            continue;
        const QString &path = tree.nodes[node].path;
        found.clear();
        visited.clear();
        for (const qint64 commit : renamedAway.value(path))
            found.insert(commit);
        std::vector<std::pair<QString, std::optional<qint64>>> pending {{path, std::nullopt}};
        while (!pending.empty()) {
            const auto [name, until] = pending.back();
            pending.pop_back();
            if (const auto seen = visited.constFind(name); seen != visited.cend()) {
                // Already followed at least this far back.
                if (!seen->has_value() || (until && **seen >= *until))
                    continue;
            }
            visited.insert(name, until);
            const auto file = fileOfPath.constFind(name);
            if (file == fileOfPath.cend())
                continue;
            const auto rows = rowsOfFile.constFind(*file);
            if (rows == rowsOfFile.cend())
                continue;
            for (const Row &row : *rows) {
                const auto commit = commits.constFind(row.commit);
                const qint64 time = commit != commits.cend() ? commit->committerTime : 0;
                if (until && time > *until)
                    continue;
                found.insert(row.commit);
                if (!row.renamedFrom.isEmpty())
                    pending.emplace_back(row.renamedFrom, time);
            }
        }
        for (const qint64 id : std::as_const(found)) {
            const auto commit = commits.constFind(id);
            if (commit != commits.cend() && commit->reachable)
                changes.push_back({int(node), id, commit->author, commit->authorTime,
                                   commit->name});
        }
    }
    addFileTreeChanges(tree, std::move(changes), names);
    return tree;
}

} // namespace strataloom
