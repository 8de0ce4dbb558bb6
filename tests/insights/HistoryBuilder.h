#pragma once

#include "TestRepository.h"
#include "index/RepositoryIndex.h"
#include "insights/InsightRecords.h"

#include <QDateTime>
#include <QTemporaryDir>

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

} // namespace strataloom
