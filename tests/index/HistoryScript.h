#pragma once

// Scripted histories for index tests: an indexed repository, and tangled histories of hundreds
// of commits.

#include "TestRepository.h"
#include "index/IndexedGraph.h"
#include "index/RepositoryIndexer.h"

#include <QHash>
#include <QList>
#include <QTemporaryDir>

#include <random>

/// @brief A repository and an index file beside it, which synchronize() brings up to date.
struct IndexedRepository
{
    TestRepository repository;
    QTemporaryDir folder;
    const QString database = folder.filePath(QStringLiteral("index.sqlite"));

    void synchronize() const
    {
        strataloom::RepositoryIndex index(database);
        strataloom::RepositoryIndexer(index).synchronize(repository.path());
    }
    std::optional<strataloom::IndexedGraph> graph() const
    {
        return strataloom::IndexedGraph::loadIfCurrent(database, repository.path());
    }
};

/**
 * @brief A tangled history of @p count commits from a fixed seed: up to a dozen branches at
 * once, merges between them, new roots, and a commit in twenty dated before its first parent.
 */
inline QList<ScriptCommit> tangledHistory(int count, unsigned seed)
{
    std::mt19937 random(seed);
    const auto below = [&random](int bound) { return int(random() % unsigned(bound)); };
    QList<ScriptCommit> commits;
    QStringList tips; // the branch names in use
    QHash<QString, QString> tipOf;
    const qint64 start = 1600000000;
    for (int i = 0; i < count; ++i) {
        ScriptCommit commit;
        commit.name = QStringLiteral("c%1").arg(i);
        commit.time = start + qint64(i) * 3600 - (below(20) == 0 ? 7 * 86400 + i : 0);
        commit.author = QStringLiteral("Dev %1").arg(below(5));
        commit.email = QStringLiteral("dev%1@example.com").arg(below(5));
        const int choice = below(100);
        if (tips.isEmpty() || (choice < 2 && i > 0)) {
            commit.branch
                = tips.isEmpty() ? QStringLiteral("main") : QStringLiteral("root%1").arg(i);
        } else if (choice < 20 && tips.size() < 12) {
            commit.branch = QStringLiteral("b%1").arg(i);
            commit.parents << commits.at(below(int(commits.size()))).name;
        } else {
            commit.branch = tips.at(below(int(tips.size())));
            commit.parents << tipOf.value(commit.branch);
            if (choice > 80 && tips.size() > 1) {
                const QString other = tips.at(below(int(tips.size())));
                if (other != commit.branch)
                    commit.parents << tipOf.value(other);
                if (choice > 97 && tips.size() > 3) {
                    const QString third = tips.at(below(int(tips.size())));
                    if (!commit.parents.contains(tipOf.value(third)))
                        commit.parents << tipOf.value(third);
                }
            }
        }
        if (!tips.contains(commit.branch))
            tips << commit.branch;
        tipOf.insert(commit.branch, commit.name);
        commits << commit;
    }
    return commits;
}
