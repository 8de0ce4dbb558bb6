#pragma once

// Histories written commit by commit with git fast-import: any parents, any dates, any branch
// tips, in one git run. For tests that need exact shapes (octopus merges, several roots, clock
// skew) and histories of hundreds of commits.

#include "TestRepository.h"
#include "git/GitProcess.h"
#include "index/IndexedGraph.h"
#include "index/RepositoryIndexer.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <random>

struct ScriptCommit
{
    QString name; ///< unique within the script; the file it writes and its subject
    QString branch; ///< the branch it is written on; the branch's last commit is its tip
    qint64 time = 0; ///< author and committer date, seconds since 1970
    QStringList parents; ///< names of earlier commits; none for a root
    QString author = QStringLiteral("Ada");
    QString email = QStringLiteral("ada@example.com");
};

/// @brief Writes @p commits into @p repository in order and checks out main.
inline void writeHistory(const TestRepository &repository, const QList<ScriptCommit> &commits)
{
    QByteArray script;
    QHash<QString, int> marks;
    for (const ScriptCommit &commit : commits) {
        const int mark = int(marks.size()) + 1;
        marks.insert(commit.name, mark);
        // A branch is set to the commit's first parent (or emptied, for a root) before it.
        script += "reset refs/heads/" + commit.branch.toUtf8() + '\n';
        if (!commit.parents.isEmpty())
            script += "from :" + QByteArray::number(marks.value(commit.parents.first())) + '\n';
        script += '\n';
        const QByteArray when = QByteArray::number(commit.time) + " +0000";
        const QByteArray subject = commit.name.toUtf8();
        script += "commit refs/heads/" + commit.branch.toUtf8()
            + "\nmark :" + QByteArray::number(mark) + "\nauthor " + commit.author.toUtf8() + " <"
            + commit.email.toUtf8() + "> " + when + "\ncommitter C <c@example.com> " + when
            + "\ndata " + QByteArray::number(subject.size()) + '\n' + subject + '\n';
        if (!commit.parents.isEmpty())
            script += "from :" + QByteArray::number(marks.value(commit.parents.first())) + '\n';
        for (qsizetype p = 1; p < commit.parents.size(); ++p)
            script += "merge :" + QByteArray::number(marks.value(commit.parents[p])) + '\n';
        script += "M 644 inline " + subject + ".txt\ndata " + QByteArray::number(subject.size())
            + '\n' + subject + "\n\n";
    }
    strataloom::ProcessOptions options;
    options.input = script;
    const strataloom::ProcessResult result
        = strataloom::runProcess(QStringLiteral("/usr/bin/git"),
                                 {QStringLiteral("-C"), repository.path(),
                                  QStringLiteral("fast-import"), QStringLiteral("--quiet")},
                                 options);
    if (result.exitStatus != 0)
        qFatal("fast-import failed: %s", result.standardError.constData());
    repository.git({"checkout", "-q", "-f", "main"});
}

/// @brief Commits written as "name branch day parent..." (days from a fixed date, fractions
/// allowed), each by one of five authors chosen by the length of its name.
inline QList<ScriptCommit> scripted(std::initializer_list<const char *> lines)
{
    const char *authors[] = {"Ada", "bob", "Bob", "Zed", "\xc3\x89mile"};
    QList<ScriptCommit> commits;
    for (const char *line : lines) {
        const QStringList words = QString::fromLatin1(line).split(QLatin1Char(' '));
        const qsizetype length = words[0].size();
        commits << ScriptCommit {words[0],
                                 words[1],
                                 1690000000 + qint64(words[2].toDouble() * 86400),
                                 words.mid(3),
                                 QString::fromUtf8(authors[length % 5]),
                                 QStringLiteral("p%1@example.com").arg(length % 3)};
    }
    return commits;
}

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
