#pragma once

#include "index/PathFacts.h"
#include "index/SQLite.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace strataloom {

/// @brief Sizes of an index: reachable commits and every author, file, change and ref row.
struct RepositoryIndexSnapshot
{
    int commits = 0;
    int authors = 0;
    int files = 0;
    int changes = 0;
    int refs = 0;
    /// @brief When the last write completed; absent before the first one.
    std::optional<QDateTime> lastIndexedAt;

    bool operator==(const RepositoryIndexSnapshot &) const = default;
};

struct IndexedFileChange
{
    QString path; ///< path after the change: the file's identity
    std::optional<QString> oldPath; ///< path before a rename or copy
    QString status; ///< git's name-status letter with any score ("M", "R087")
    std::optional<qint64> additions; ///< absent for binary files
    std::optional<qint64> deletions;
    bool isBinary = false;

    bool operator==(const IndexedFileChange &) const = default;
};

struct IndexedCommit
{
    QString sha;
    QStringList parents; ///< full hashes, in git's order
    QString authorName;
    QString authorEmail;
    QString committerName;
    QString committerEmail;
    qint64 authorTime = 0; ///< seconds since 1970
    qint64 committerTime = 0;
    QString subject;
    QString body;
    QList<IndexedFileChange> changes;

    bool operator==(const IndexedCommit &) const = default;
};

struct IndexedRef
{
    QString name; ///< short name ("main", "origin/main", "v1.0")
    QString kind; ///< "branch" or "tag"
    /// @brief The commit the ref leads to; for an annotated tag the peeled commit hash.
    QString targetSHA;
    bool isRemote = false;
    /// @brief The tag object's own hash for an annotated tag; absent otherwise.
    std::optional<QString> objectSHA;

    bool operator==(const IndexedRef &) const = default;
};

/// @brief Everything one synchronisation writes.
struct RepositoryIndexBatch
{
    /// @brief Every commit reachable from the refs now; read only when not incremental.
    QSet<QString> reachableSHAs;
    /**
     * @brief True: reachability is changed only where stated (the new commits, becameReachable,
     * becameUnreachable) and the daily aggregates only for the days those commits fall on.
     * False: reachability is set from reachableSHAs and the aggregates are rebuilt whole.
     */
    bool incremental = false;
    QSet<QString> becameReachable; ///< stored commits reachable again; incremental only
    QSet<QString> becameUnreachable; ///< stored commits no longer reachable; incremental only
    QList<IndexedCommit> commits; ///< only the commits not stored yet
    QList<IndexedRef> refs; ///< all refs now, in for-each-ref order
    QString refFingerprint;
    double indexedAt = 0; ///< seconds since 1970
};

/// @brief Where the index of a repository lives.
class RepositoryIndexLocation
{
public:
    /// @brief 64-bit FNV-1a of the UTF-8 bytes, lowercase hexadecimal without leading zeros.
    static QString stableHash(const QString &text);
    /**
     * @brief $STRATALOOM_INDEX_DIR when set, else the user's data folder + "/Strataloom/Indexes".
     * Throws FileSystemError when there is no user data folder.
     */
    static QString defaultBaseDirectory();
    /**
     * @brief base (default: defaultBaseDirectory()) + "/" + stableHash(standardised common
     * directory) + "/index.sqlite". Standardised: absolute, "." and ".." resolved, no trailing
     * slash, so all spellings of one folder share one file. Creates nothing.
     */
    static QString databasePath(const QString &commonDirectory,
                                const std::optional<QString> &base = std::nullopt);
};

/**
 * @brief The analytics database of one repository: schema, metadata, sizes and the one write
 * path, apply().
 *
 * Serialising: every public method holds one recursive mutex, so calls from several threads
 * run one at a time. Errors are thrown as SQLiteError (FileSystemError when the folder of the
 * file cannot be created).
 *
 * Notes for readers of the schema:
 * - tags.object_sha is the ref's objectSHA when present (annotated tags), else its targetSHA;
 *   tags.target_sha and refs.target_sha are always targetSHA.
 * - Two refs with the same short name (a branch and a tag "v1.0"): the later one in the list
 *   replaces the earlier row of refs.
 */
class RepositoryIndex
{
public:
    /// @brief Opens or creates the database and brings its schema up to date.
    explicit RepositoryIndex(const QString &databasePath);
    ~RepositoryIndex();
    RepositoryIndex(const RepositoryIndex &) = delete;
    RepositoryIndex &operator=(const RepositoryIndex &) = delete;

    QString databasePath() const { return m_databasePath; }
    /// @brief Opened without write access: reads work, writes fail.
    bool isReadOnly() const { return m_readOnly; }
    /**
     * @brief Once: the message that the file was found damaged on open (not a database, or cut
     * short), moved aside under a ".corrupt-<time>" name and replaced by a new index.
     */
    std::optional<QString> takeNotice();
    /// @brief Why the file at @p databasePath is no usable index, judged by its header; nothing
    /// for a sound, empty or absent file.
    static std::optional<QString> damageOf(const QString &databasePath);

    /// @brief The value of a metadata key, absent when there is none.
    std::optional<QString> metadata(const QString &key);
    void setMetadata(const QString &value, const QString &key);

    /// @brief SELECT COUNT(*) FROM table [WHERE where]. Both texts come from the program only.
    qint64 count(const QString &table, const QString &where = {});
    RepositoryIndexSnapshot snapshot();

    /**
     * @brief Writes one synchronisation in one transaction: refs and tags replaced, new commits
     * inserted, reachability recomputed or changed where the batch says, daily aggregates
     * rebuilt or brought up to date for the days that changed, "ref_fingerprint" and
     * "last_indexed_at" stamped. On any error nothing of the batch remains.
     * @return the snapshot taken after the commit.
     */
    RepositoryIndexSnapshot apply(const RepositoryIndexBatch &batch);

    /// @brief Hands each further commit to the writer of a running apply().
    using CommitSource =
        std::function<void(const std::function<void(const IndexedCommit &)> &insert)>;
    /**
     * @brief apply(), with more commits streamed in after batch.commits by @p moreCommits inside
     * the same transaction, so a long import never holds the whole history in memory. An
     * exception thrown by the source rolls everything back like any other failure.
     */
    RepositoryIndexSnapshot apply(const RepositoryIndexBatch &batch,
                                  const CommitSource &moreCommits);

    /// @brief Every path the files table knows, in id order.
    QStringList indexedPaths();
    /// @brief Replaces path_facts with @p facts in one transaction and records their source.
    void replacePathFacts(const PathFacts &facts);
    /// @brief The source of the stored path_facts; empty when they were never read or are to
    /// be read again.
    QString pathFactsSource();
    /// @brief Asks the next synchronisation to read path_facts again.
    void invalidatePathFacts();

    /// @brief The hashes of every stored commit, reachable or not.
    QSet<QString> storedCommitHashes();
    /// @brief For each of @p shas that is stored: whether it is marked reachable.
    QHash<QString, bool> storedReachability(const QStringList &shas);

    /// @brief An alias as the repository's mailmap maps it (only aliases it changes are kept).
    struct MappedIdentity
    {
        qint64 aliasID = 0;
        QString name;
        QString email;
    };
    /**
     * @brief Replaces every row of author_identities by @p identities and stores @p state under
     * the metadata key @p stateKey, in one transaction.
     */
    void replaceMappedIdentities(const QList<MappedIdentity> &identities, const QString &state,
                                 const QString &stateKey);

    /**
     * @brief Runs @p work with the database under the index's lock and returns its result.
     * Meant for read-only queries; statements prepared inside must not escape.
     */
    template<typename F> auto read(F &&work)
    {
        std::lock_guard lock(m_mutex);
        return std::forward<F>(work)(*m_database);
    }

    /// @brief The decimal text stored in "last_indexed_at": shortest round-trip form with a
    /// fractional part ("1700000000.0", "1700000000.25").
    static QString timestampText(double secondsSince1970);
    /// @brief Reads such a text back strictly: the whole text must be a number.
    static std::optional<double> parseTimestamp(const QString &text);

private:
    void migrate();

    QString m_databasePath;
    bool m_readOnly = false;
    std::optional<QString> m_notice;
    std::recursive_mutex m_mutex;
    std::unique_ptr<SQLiteDatabase> m_database;
};

} // namespace strataloom
