#pragma once

#include <QCollator>
#include <QString>
#include <QStringList>

#include <vector>

namespace strataloom {

class SQLiteDatabase;

/// @brief One file or folder of a FileTree with the figures of the commits that changed it.
struct FileTreeNode
{
    QString name; ///< the last part of the path ("" for the root)
    QString path; ///< the whole path, folders without a trailing slash ("" for the root)
    int parent = -1; ///< index of the folder that holds it; -1 for the root
    int depth = -1; ///< 0 for the root's entries, -1 for the root
    bool isFolder = false;
    /// Folders first, then by name (numbers by value, letters without case).
    std::vector<int> children;
    int fileCount = 0; ///< files at or under this node (1 for a file)
    /// Commits that changed this file or any file under this folder, each counted once.
    qint64 commits = 0;
    /// Distinct authors (people or recorded names, as read) of those commits.
    qint64 authors = 0;
    /// Author time (seconds since 1970) of the newest of those commits; 0 when none has a date.
    qint64 lastChange = 0;
    /// The recorded name of that commit's author; "" without dated commits.
    QString lastAuthor;
};

/// @brief A change to one file of a tree: the file's node, the commit and its author.
struct FileTreeChange
{
    int node = -1;
    qint64 commit = 0;
    qint64 author = 0; ///< any number that is equal for the same author
    qint64 time = 0; ///< below 1: the commit has no date
    int authorName = -1; ///< index into the names given to addFileTreeChanges, -1: none
};

/**
 * @brief The files of a tree of folders, with per file and per folder the commits, authors and
 * last change of the history that touched them. nodes[0] is the root (the repository's folder).
 */
struct FileTree
{
    std::vector<FileTreeNode> nodes;

    const FileTreeNode &root() const { return nodes.front(); }
    /// @brief The node with @p path, or -1.
    int find(const QString &path) const;
};

/// @brief The folder tree of @p paths (files, '/'-separated), sorted, with no figures yet.
/// @brief The file browsers' order of names: case-insensitive, digit runs by value.
QCollator fileNameCollator();

FileTree buildFileTree(const QStringList &paths);

/**
 * @brief Sums @p changes into the figures of @p tree: each change counts for its file and every
 * folder above it, a commit once per node however many of its files it touched, an author once
 * per node. @p authorNames names the changes' authorName entries (for lastAuthor).
 */
void addFileTreeChanges(FileTree &tree, std::vector<FileTreeChange> changes,
                        const QStringList &authorNames);

/**
 * @brief The files HEAD holds, in their folder tree, with figures from every reachable commit in
 * the index that changed them, through their renames: the commits a file's history lists
 * (indexedFileDetails), a folder's the union of its files'. Authors count as people when
 * @p mergeIdentities (the mailmap, then a shared name or e-mail address, as the insights count
 * them), otherwise as the distinct names recorded.
 *
 * Throws SQLiteError.
 */
FileTree readFileTree(SQLiteDatabase &database, bool mergeIdentities);

} // namespace strataloom
