#pragma once

#include "git/GitService.h"
#include "index/RepositoryIndexer.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>
#include <vector>

namespace strataloom {

/**
 * @brief The reachable commits of an index that describes the repository as it is now, with
 * their parents, held in memory: what opening a repository and drawing its commit graph need
 * from the index, read in one pass.
 */
class IndexedGraph
{
public:
    struct Commit
    {
        QString sha;
        qint64 committerTime = 0; ///< seconds since 1970; below 1 when git printed no usable date
        qint64 authorTime = 0;
        int identity = -1; ///< index into identities(); -1 when the commit has none stored
        int firstParent = 0; ///< where the commit's parents start in parentIndexes()
        int parentCount = 0;
    };

    /// @brief An author's name and e-mail as recorded in the commits.
    struct Identity
    {
        QString name;
        QString email;
    };

    /**
     * @brief The history held by the index file at @p databasePath when that index covers
     * @p repository's reachable history as it is now (same refs, same reachability state);
     * nothing when the file is absent, another version, out of date or unreadable.
     *
     * Never creates, changes or migrates the file and never waits for a synchronisation that is
     * writing it: the data read is the last one written in full. Runs git for the repository's
     * refs; throws nothing.
     */
    static std::optional<IndexedGraph> loadIfCurrent(const QString &databasePath,
                                                       const QString &repository);

    /**
     * @brief The history held by the index file at @p databasePath as it stands, however far
     * behind the repository it is; nothing when there is no such file. Never creates or changes
     * the file. Throws SQLiteError when it is no readable index.
     */
    static std::optional<IndexedGraph> load(const QString &databasePath);

    const std::vector<Commit> &commits() const { return m_commits; }
    const QList<Identity> &identities() const { return m_identities; }
    /// @brief Parents as indexes into commits(), in git's order; -1 for a parent not held.
    const std::vector<int> &parentIndexes() const { return m_parents; }
    /// @brief The index of the commit with full hash @p sha, or -1.
    int find(const QString &sha) const { return m_bySha.value(sha, -1); }

    /**
     * @brief HEAD's history (@p head a full hash) in the order `git log HEAD` prints it, with
     * author names and e-mails mapped by the repository's .mailmap as %aN and %aE give them.
     * Nothing when it cannot be told exactly: @p head not held, a parent missing, a commit whose
     * date git printed as no usable number, an identity that `git check-mailmap` cannot take.
     */
    std::optional<QList<HeadWalkCommit>> headWalk(const QString &head,
                                                  const QString &repository) const;

    /// @brief A history of the given commits, for callers that have them in memory already.
    IndexedGraph(std::vector<Commit> commits, std::vector<int> parentIndexes,
                   QList<Identity> identities);

private:
    IndexedGraph() = default;
    void indexHashes();
    /// @brief Reads the tables; with @p required, only when the index's stamp equals it.
    static std::optional<IndexedGraph>
    read(const QString &databasePath,
         const std::optional<RepositoryIndexer::CoverageStamp> &required);

    std::vector<Commit> m_commits;
    std::vector<int> m_parents;
    QList<Identity> m_identities;
    QHash<QString, int> m_bySha;
};

} // namespace strataloom
