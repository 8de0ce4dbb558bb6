#pragma once

#include "TestRepository.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "insights/IndexedHistory.h"
#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace strataloom {

// Seconds since 1970 of an ISO-8601 UTC text ("2024-03-01T09:20:30Z"), and that instant.
inline qint64 at(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate).toSecsSinceEpoch();
}
inline QDateTime utc(const char *iso)
{
    return QDateTime::fromSecsSinceEpoch(at(iso), Qt::UTC);
}

// A modification of @p path with line counts, or any other status.
inline IndexedFileChange change(const QString &path, qint64 additions = 1, qint64 deletions = 0,
                                const QString &status = QStringLiteral("M"))
{
    return {path, std::nullopt, status, additions, deletions, false};
}

// The commits and refs of a synthetic history as the indexer would hand them to
// RepositoryIndex::apply: each commit's parent is the one added before it.
class HistoryBuilder
{
public:
    IndexedCommit &commit(const QString &subject, qint64 authorTime,
                          const QString &author = QStringLiteral("Ada Lovelace"),
                          const QString &email = QStringLiteral("ada@example.com"))
    {
        IndexedCommit commit;
        commit.sha = QStringLiteral("%1").arg(m_commits.size() + 1, 40, 16, QChar(u'0'));
        if (!m_commits.isEmpty())
            commit.parents = {m_commits.last().sha};
        commit.authorName = commit.committerName = author;
        commit.authorEmail = commit.committerEmail = email;
        commit.authorTime = commit.committerTime = authorTime;
        commit.subject = subject;
        m_commits.append(commit);
        return m_commits.last();
    }

    // A commit that touches @p count files "<prefix>0" ... at one line each.
    IndexedCommit &commitTouching(int count, const QString &prefix, qint64 authorTime)
    {
        IndexedCommit &added = commit(QStringLiteral("touch %1 files").arg(count), authorTime);
        for (int i = 0; i < count; ++i)
            added.changes.append(change(prefix + QString::number(i)));
        return added;
    }

    void branch(const QString &name, const QString &target, bool isRemote = false)
    {
        m_refs.append({name, QStringLiteral("branch"), target, isRemote, std::nullopt});
    }
    void tag(const QString &name, const QString &target)
    {
        m_refs.append({name, QStringLiteral("tag"), target, false, std::nullopt});
    }

    QList<IndexedCommit> &commits() { return m_commits; }

    // Every commit added, all reachable, and the refs.
    RepositoryIndexBatch batch() const
    {
        RepositoryIndexBatch batch;
        batch.commits = m_commits;
        batch.refs = m_refs;
        batch.refFingerprint = QStringLiteral("fingerprint");
        batch.indexedAt = 1.7e9;
        for (const IndexedCommit &commit : m_commits)
            batch.reachableSHAs.insert(commit.sha);
        return batch;
    }

private:
    QList<IndexedCommit> m_commits;
    QList<IndexedRef> m_refs;
};

// An index in a temporary folder that lives as long as the test.
struct TemporaryIndex
{
    QTemporaryDir dir;
    RepositoryIndex index {dir.filePath(QStringLiteral("index.sqlite"))};

    RepositoryIndex &operator*() { return index; }
    RepositoryIndex *operator->() { return &index; }
};

// "a|b|c" as a list; no parts for "".
inline QStringList parts(const char *joined)
{
    return QString::fromUtf8(joined).split(u'|', Qt::SkipEmptyParts);
}

// A repository of real commits and its index, for the readers that answer from the index what
// git answers from the repository.
class IndexedRepositoryTest : public ::testing::Test
{
protected:
    void commitAt(const QString &date, const char *message, const char *name, const char *email)
    {
        repo.setDate(date);
        repo.commit(QString::fromUtf8(message), QString::fromUtf8(name), QString::fromUtf8(email));
    }
    RepositoryIndex &synchronize()
    {
        RepositoryIndexer(*index).synchronize(repo.path());
        return *index;
    }
    template<typename Read> auto read(Read read)
    {
        return index->read([&](SQLiteDatabase &database) { return read(database); });
    }
    // The subjects of git log's answer to the '|'-separated @p arguments, newest first.
    QStringList gitSubjects(const char *arguments) const
    {
        return repo.git(QStringList {"log", "--format=%s"} + parts(arguments))
            .split(u'\n', Qt::SkipEmptyParts);
    }
    // The subjects of every commit @p query finds in the index, newest first; the count agrees.
    QStringList subjects(const QString &query, bool mergeIdentities = true)
    {
        return read([&](SQLiteDatabase &database) {
            IndexedHistory history(database, HistoryQuery::parse(query), mergeIdentities);
            QStringList result;
            for (const CommitRecord &commit : history.page(0, 0))
                result << commit.subject;
            EXPECT_EQ(history.count(), result.size()) << query.toStdString();
            return result;
        });
    }

    TestRepository repo;
    TemporaryIndex index;
};

} // namespace strataloom
