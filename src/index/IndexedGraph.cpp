#include "index/IndexedGraph.h"

#include "git/GitProcess.h"
#include "index/RepositoryIndexer.h"
#include "index/SQLite.h"

#include <QFileInfo>

#include <algorithm>
#include <queue>

namespace strataloom {

namespace {

// A deferred transaction: every query inside it reads the same committed state, whatever a
// synchronisation writes meanwhile. It takes no lock that a writer would wait for.
class ReadSnapshot
{
public:
    explicit ReadSnapshot(SQLiteDatabase &database)
        : m_database(database)
    {
        m_database.execute(QStringLiteral("BEGIN"));
    }
    ~ReadSnapshot()
    {
        try {
            m_database.execute(QStringLiteral("COMMIT"));
        } catch (const SQLiteError &) { }
    }
    ReadSnapshot(const ReadSnapshot &) = delete;
    ReadSnapshot &operator=(const ReadSnapshot &) = delete;

private:
    SQLiteDatabase &m_database;
};

} // namespace

IndexedGraph::IndexedGraph(std::vector<Commit> commits, std::vector<int> parentIndexes,
                               QList<Identity> identities)
    : m_commits(std::move(commits))
    , m_parents(std::move(parentIndexes))
    , m_identities(std::move(identities))
{
    indexHashes();
}

void IndexedGraph::indexHashes()
{
    m_bySha.reserve(qsizetype(m_commits.size()));
    for (size_t i = 0; i < m_commits.size(); ++i)
        m_bySha.insert(m_commits[i].sha, int(i));
}

std::optional<IndexedGraph> IndexedGraph::loadIfCurrent(const QString &databasePath,
                                                            const QString &repository)
{
    if (!QFileInfo(databasePath).isFile() || RepositoryIndex::damageOf(databasePath))
        return std::nullopt;
    try {
        return read(databasePath, RepositoryIndexer::currentStamp(repository));
    } catch (const std::exception &) {
        // Whatever stops the index from answering (git, a locked or odd file), git answers.
        return std::nullopt;
    }
}

std::optional<IndexedGraph> IndexedGraph::load(const QString &databasePath)
{
    if (!QFileInfo(databasePath).isFile())
        return std::nullopt;
    if (const std::optional<QString> damage = RepositoryIndex::damageOf(databasePath))
        throw SQLiteError::open(*damage);
    return read(databasePath, std::nullopt);
}

std::optional<IndexedGraph>
IndexedGraph::read(const QString &databasePath,
                     const std::optional<RepositoryIndexer::CoverageStamp> &required)
{
    SQLiteDatabase database(databasePath);
    const ReadSnapshot snapshot(database);
    if (required) {
        SQLiteStatement metadata
            = database.statement(QStringLiteral("SELECT value FROM index_metadata WHERE key = ?"));
        const auto stored = RepositoryIndexer::storedStamp([&](const QString &key) {
            metadata.reset();
            metadata.bindText(key, 1);
            return metadata.step() ? metadata.columnText(0) : std::nullopt;
        });
        if (!stored || *stored != *required)
            return std::nullopt;
    }

    IndexedGraph history;
    QHash<qint64, int> identityOfAlias;
    SQLiteStatement aliases
        = database.statement(QStringLiteral("SELECT id, name, email FROM author_aliases"));
    while (aliases.step()) {
        identityOfAlias.insert(aliases.columnInt64(0), int(history.m_identities.size()));
        history.m_identities.append(
            {aliases.columnText(1).value_or(QString()), aliases.columnText(2).value_or(QString())});
    }

    // Plain scans in storage order: a filter or an order the storage does not have would make
    // SQLite sort a temporary copy of the whole table.
    QHash<qint64, int> indexOfRow;
    SQLiteStatement commits = database.statement(
        QStringLiteral("SELECT id, sha, committer_time, author_time, author_alias_id, is_reachable "
                       "FROM commits"));
    while (commits.step()) {
        if (commits.columnInt64(5) == 0)
            continue;
        Commit commit;
        indexOfRow.insert(commits.columnInt64(0), int(history.m_commits.size()));
        commit.sha = commits.columnText(1).value_or(QString());
        commit.committerTime = commits.columnInt64(2);
        commit.authorTime = commits.columnInt64(3);
        if (!commits.columnIsNull(4))
            commit.identity = identityOfAlias.value(commits.columnInt64(4), -1);
        history.m_commits.push_back(std::move(commit));
    }
    history.indexHashes();

    // The parents of the reachable commits, then grouped by commit in git's order.
    struct ParentRow
    {
        int commit;
        int position;
        int parent;
    };
    std::vector<ParentRow> rows;
    rows.reserve(history.m_commits.size() + history.m_commits.size() / 8);
    SQLiteStatement parents = database.statement(
        QStringLiteral("SELECT commit_id, position, parent_sha FROM commit_parents"));
    while (parents.step()) {
        const int commit = indexOfRow.value(parents.columnInt64(0), -1);
        if (commit < 0)
            continue;
        rows.push_back({commit, int(parents.columnInt64(1)),
                        history.find(parents.columnText(2).value_or(QString()))});
    }
    std::sort(rows.begin(), rows.end(), [](const ParentRow &a, const ParentRow &b) {
        return a.commit != b.commit ? a.commit < b.commit : a.position < b.position;
    });
    history.m_parents.reserve(rows.size());
    for (const ParentRow &row : rows) {
        Commit &commit = history.m_commits[size_t(row.commit)];
        if (commit.parentCount++ == 0)
            commit.firstParent = int(history.m_parents.size());
        history.m_parents.push_back(row.parent);
    }
    return history;
}

std::optional<QList<HeadWalkCommit>> IndexedGraph::headWalk(const QString &head,
                                                              const QString &repository) const
{
    const int start = find(head);
    if (start < 0)
        return std::nullopt;

    // git's walk without ordering options: a list by committer date, newest first, in which a
    // parent goes after every entry of the same date (commit_list_insert_by_date). A queue on
    // (date, arrival) pops in exactly that order.
    struct Entry
    {
        qint64 date;
        qint64 arrival;
        int commit;
        bool operator<(const Entry &other) const
        {
            return date != other.date ? date < other.date : arrival > other.arrival;
        }
    };
    std::priority_queue<Entry> queue;
    std::vector<bool> seen(m_commits.size(), false);
    qint64 arrivals = 0;
    queue.push({m_commits[size_t(start)].committerTime, arrivals++, start});
    seen[size_t(start)] = true;

    std::vector<int> order;
    QHash<int, int> identityUse; // identity -> position in the mailmap query
    QList<int> queried;
    while (!queue.empty()) {
        const int index = queue.top().commit;
        queue.pop();
        const Commit &commit = m_commits[size_t(index)];
        if (commit.committerTime < 1 || commit.authorTime < 1 || commit.identity < 0)
            return std::nullopt;
        order.push_back(index);
        if (!identityUse.contains(commit.identity)) {
            identityUse.insert(commit.identity, int(queried.size()));
            queried.append(commit.identity);
        }
        for (int p = 0; p < commit.parentCount; ++p) {
            const int parent = m_parents[size_t(commit.firstParent + p)];
            if (parent < 0)
                return std::nullopt;
            if (seen[size_t(parent)])
                continue;
            seen[size_t(parent)] = true;
            queue.push({m_commits[size_t(parent)].committerTime, arrivals++, parent});
        }
    }

    // The names as %aN and %aE print them: `check-mailmap` applies the same .mailmap, mailmap.file
    // and mailmap.blob. It reads "name <e-mail>", so an identity holding angle brackets or a
    // line break cannot be asked about.
    QByteArray question;
    for (const int identity : std::as_const(queried)) {
        const Identity &who = m_identities.at(identity);
        for (const QString *part : {&who.name, &who.email}) {
            if (part->contains(QLatin1Char('<')) || part->contains(QLatin1Char('>'))
                || part->contains(QLatin1Char('\n')))
                return std::nullopt;
        }
        question += who.name.toUtf8() + " <" + who.email.toUtf8() + ">\n";
    }
    const ProcessResult mapped = runGitProcess(
        repository, {QStringLiteral("check-mailmap"), QStringLiteral("--stdin")}, {}, question);
    if (mapped.exitStatus != 0)
        return std::nullopt;
    const QList<QByteArray> answers = mapped.standardOutput.split('\n');
    if (answers.size() < queried.size())
        return std::nullopt;
    QList<std::pair<QByteArray, QByteArray>> names;
    names.reserve(queried.size());
    for (qsizetype i = 0; i < queried.size(); ++i) {
        // "name <e-mail>", or "<e-mail>" for an empty name.
        const QByteArray &answer = answers.at(i);
        const qsizetype open = answer.lastIndexOf(" <");
        if (answer.startsWith('<') && answer.endsWith('>'))
            names.append({QByteArray(), answer.mid(1, answer.size() - 2)});
        else if (open >= 0 && answer.endsWith('>'))
            names.append({answer.left(open), answer.mid(open + 2, answer.size() - open - 3)});
        else
            return std::nullopt;
    }

    QList<HeadWalkCommit> walk;
    walk.reserve(qsizetype(order.size()));
    for (const int index : order) {
        const Commit &commit = m_commits[size_t(index)];
        const auto &[name, email] = names.at(identityUse.value(commit.identity));
        walk.append(
            {commit.committerTime, commit.authorTime, commit.parentCount == 0, name, email});
    }
    return walk;
}

} // namespace strataloom
