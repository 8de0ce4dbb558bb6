#pragma once

// Fixture pieces for histories that git reads but would never write itself: commit objects with
// any raw date, and ref files with names git refuses.

#include "TestRepository.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

/// @brief Writes a commit of @p tree (after @p parent, when given) whose author and committer
/// is @p author and whose date is the raw "<seconds> <zone>" @p date, byte for byte; returns its
/// hash.
inline QString writeRawCommit(const TestRepository &repository, const QString &tree,
                              const QString &parent, const QString &date, const QByteArray &subject,
                              const QByteArray &author = "Odd Date <odd@example.com>")
{
    QByteArray object = "tree " + tree.toUtf8() + '\n';
    if (!parent.isEmpty())
        object += "parent " + parent.toUtf8() + '\n';
    object += "author " + author + ' ' + date.toUtf8() + '\n';
    object += "committer " + author + ' ' + date.toUtf8() + "\n\n";
    return repository.hashObject(object + subject + '\n');
}

/// @brief A commit per raw date on main, oldest first, each changing notes.txt, with a branch
/// "b<n>" at the n-th; returns the hashes.
inline QStringList writeRawDateHistory(TestRepository &repository, const QStringList &dates)
{
    QStringList commits;
    QString parent;
    for (qsizetype i = 0; i < dates.size(); ++i) {
        repository.write("notes.txt", QByteArray::number(i) + '\n');
        repository.git({"add", "notes.txt"});
        parent = writeRawCommit(repository, repository.git({"write-tree"}).trimmed(), parent,
                                dates[i], "odd " + QByteArray::number(i));
        commits << parent;
        repository.git({"branch", QStringLiteral("b%1").arg(i), parent});
    }
    repository.git({"update-ref", "refs/heads/main", parent});
    return commits;
}

/// @brief Writes the ref file @p ref (such as "refs/heads/bad name") pointing at @p commit
/// straight into the git directory, as git itself never would.
inline void writeRefFile(const TestRepository &repository, const QString &ref,
                         const QString &commit)
{
    const QString file = repository.filePath(".git/" + ref);
    QDir().mkpath(QFileInfo(file).absolutePath());
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly)) << file.toStdString();
    out.write(commit.toLatin1() + '\n');
}

/// @brief Ref names that git refuses: a space, a "~", "..", glob characters, outside heads/tags.
inline QStringList refusedRefNames()
{
    return {"refs/heads/bad name", "refs/heads/main~", "refs/tags/x..y", "refs/heads/star*[x]",
            "refs/notes/a b"};
}
