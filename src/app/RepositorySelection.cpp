#include "app/RepositorySelection.h"

#include "app/DesktopActions.h"
#include "app/PropertyAssign.h"
#include "app/RepositorySession.h"
#include "index/SQLite.h"
#include "insights/FileHistory.h"

#include <QDir>
#include <QFileInfo>

namespace strataloom {

namespace {

/// @brief Writes @p value and signals even when it is unchanged: a choice is news.
template<typename T, typename Signal>
void choose(RepositorySelection *selection, std::optional<T> &field, const T &value, Signal changed)
{
    field = value;
    Q_EMIT(selection->*changed)();
}

template<typename T> QVariant optionalMap(const std::optional<T> &value)
{
    return value ? QVariant(toVariantMap(*value)) : QVariant();
}

} // namespace

RepositorySelection::RepositorySelection(const RepositorySession &session,
                                         DesktopActions *desktopActions, QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_desktopActions(desktopActions)
    , m_tasks(this, [this](const QString &error) { Q_EMIT failed(error); })
    , m_commitChanges(new CommitChangeListModel(this))
    , m_fileHistory(new HistoryListModel(this))
    , m_authorHistory(new HistoryListModel(this))
{ }

std::optional<QString> RepositorySelection::repositoryPath() const
{
    if (const auto &repository = m_session.repository())
        return repository->path;
    return std::nullopt;
}

void RepositorySelection::reset(const std::optional<CommitRecord> &commit)
{
    assign(this, m_commit, commit, &RepositorySelection::selectedCommitChanged);
    assign(this, m_file, std::optional<FileRecord>(), &RepositorySelection::selectedFileChanged);
    assign(this, m_fileDetails, std::optional<FileDetails>(),
           &RepositorySelection::selectedFileDetailsChanged);
    assign(this, m_author, std::optional<AuthorStat>(),
           &RepositorySelection::selectedAuthorChanged);
    assign(this, m_authorDetails, std::optional<AuthorDetails>(),
           &RepositorySelection::selectedAuthorDetailsChanged);
    assign(this, m_fileDetailsError, QString(), &RepositorySelection::fileDetailsErrorChanged);
    assign(this, m_authorDetailsError, QString(), &RepositorySelection::authorDetailsErrorChanged);
    setCommitChanges({});
    ++m_fileGeneration;
    m_fileHistory->setDatabase({});
    ++m_authorGeneration;
    setAuthorFiles({});
    m_authorHistory->setDatabase({});
}

void RepositorySelection::setIndexDatabase(const QString &path)
{
    if (m_indexDatabase == path)
        return;
    m_indexDatabase = path;
    if (m_file)
        loadFileDetails();
    else
        m_fileHistory->setDatabase({});
    if (m_author)
        loadAuthorDetails();
    else
        m_authorHistory->setDatabase({});
}

void RepositorySelection::setMergesIdentities(bool merges)
{
    if (m_mergesIdentities == merges)
        return;
    m_mergesIdentities = merges;
    m_authorHistory->setMergesIdentities(merges);
    if (m_author)
        loadAuthorDetails();
}

void RepositorySelection::selectCommit(const QVariantMap &commit)
{
    selectCommit(commitFromVariantMap(commit));
}

void RepositorySelection::selectCommit(const CommitRecord &commit)
{
    choose(this, m_commit, commit, &RepositorySelection::selectedCommitChanged);
    setCommitChanges({});
    const std::optional<QString> path = repositoryPath();
    if (!path)
        return;
    m_tasks.run(
        [git = m_git, path = *path, id = commit.id] { return git.loadCommitChanges(path, id); },
        [this](const QList<CommitFileChange> &changes) { setCommitChanges(changes); });
}

void RepositorySelection::presentDiff(const QVariantMap &commit)
{
    presentDiff(commitFromVariantMap(commit));
}

void RepositorySelection::presentDiff(const CommitRecord &commit)
{
    assign(this, m_commit, std::optional(commit), &RepositorySelection::selectedCommitChanged);
    const std::optional<QString> path = repositoryPath();
    if (!path)
        return;
    m_tasks.run(
        [git = m_git, path = *path, id = commit.id] { return git.loadCommitDiff(path, id); },
        [this](const QString &diff) {
            assign(this, m_presentedDiff, diff, &RepositorySelection::presentedDiffChanged);
            setDiffPresented(true);
        });
}

void RepositorySelection::selectFile(const QVariantMap &file)
{
    selectFile(fileFromVariantMap(file));
}

void RepositorySelection::selectFile(const FileRecord &file)
{
    choose(this, m_file, file, &RepositorySelection::selectedFileChanged);
    assign(this, m_fileDetails, std::optional<FileDetails>(),
           &RepositorySelection::selectedFileDetailsChanged);
    assign(this, m_fileDetailsError, QString(), &RepositorySelection::fileDetailsErrorChanged);
    loadFileDetails();
}

void RepositorySelection::loadFileDetails()
{
    const std::optional<QString> path = repositoryPath();
    const std::optional<QString> query = fileHistoryQuery(m_file->path);
    // The index names a file by any path but one with a double quote; git reads that one.
    const QString index = path && query ? m_indexDatabase : QString();
    const bool newQuery = query && m_fileHistory->query() != *query;
    if (query)
        m_fileHistory->setQuery(*query);
    if (m_fileHistory->database() != index)
        m_fileHistory->setDatabase(index);
    else if (!newQuery)
        m_fileHistory->reload(); // the same file chosen again is read afresh
    const quint64 generation = ++m_fileGeneration;
    if (!path)
        return;
    m_tasks.run(
        [git = m_git, path = *path, file = m_file->path, index] {
            if (index.isEmpty())
                return git.loadFileDetails(path, file);
            SQLiteDatabase database(index);
            FileDetails details = indexedFileDetails(database, file);
            const QFileInfo onDisk(QDir(path).filePath(file));
            details.sizeBytes = onDisk.isFile() ? onDisk.size() : 0;
            return details;
        },
        [this](const FileDetails &details) {
            assign(this, m_fileDetails, std::optional(details),
                   &RepositorySelection::selectedFileDetailsChanged);
        },
        [this](const QString &error) {
            assign(this, m_fileDetailsError, error, &RepositorySelection::fileDetailsErrorChanged);
            Q_EMIT failed(error);
        },
        [this, generation] { return m_fileGeneration == generation; });
}

void RepositorySelection::openFile(const QVariantMap &file)
{
    openFile(fileFromVariantMap(file));
}

void RepositorySelection::openFile(const FileRecord &file)
{
    const std::optional<QString> path = repositoryPath();
    if (path && m_desktopActions)
        m_desktopActions->openFile(QDir(*path).filePath(file.path));
}

void RepositorySelection::selectAuthor(const QVariantMap &author)
{
    selectAuthor(authorFromVariantMap(author));
}

void RepositorySelection::selectAuthor(const AuthorStat &author)
{
    choose(this, m_author, author, &RepositorySelection::selectedAuthorChanged);
    assign(this, m_authorDetails, std::optional<AuthorDetails>(),
           &RepositorySelection::selectedAuthorDetailsChanged);
    assign(this, m_authorDetailsError, QString(), &RepositorySelection::authorDetailsErrorChanged);
    setAuthorFiles({});
    loadAuthorDetails();
}

void RepositorySelection::loadAuthorDetails()
{
    const std::optional<QString> path = repositoryPath();
    const std::optional<QString> query = authorHistoryQuery(m_author->name);
    // A name the query language cannot hold (a double quote in it) is read from git.
    const QString index = path && query ? m_indexDatabase : QString();
    const bool newQuery = query && m_authorHistory->query() != *query;
    if (query)
        m_authorHistory->setQuery(*query);
    if (m_authorHistory->database() != index)
        m_authorHistory->setDatabase(index);
    else if (!newQuery)
        m_authorHistory->reload(); // the same author chosen again is read afresh
    const quint64 generation = ++m_authorGeneration;
    if (!path)
        return;
    struct Loaded
    {
        AuthorDetails details;
        QList<AuthorFileChanges> files;
    };
    m_tasks.run(
        [git = m_git, path = *path, name = m_author->name, index, merges = m_mergesIdentities] {
            if (index.isEmpty())
                return Loaded {git.loadAuthorDetails(path, name), {}};
            SQLiteDatabase database(index);
            return Loaded {indexedAuthorDetails(database, name, merges),
                           indexedAuthorFiles(database, name, merges)};
        },
        [this](const Loaded &loaded) {
            assign(this, m_authorDetails, std::optional(loaded.details),
                   &RepositorySelection::selectedAuthorDetailsChanged);
            setAuthorFiles(loaded.files);
        },
        [this](const QString &error) {
            assign(this, m_authorDetailsError, error,
                   &RepositorySelection::authorDetailsErrorChanged);
            Q_EMIT failed(error);
        },
        [this, generation] { return m_authorGeneration == generation; });
}

void RepositorySelection::setAuthorFiles(const QList<AuthorFileChanges> &files)
{
    if (m_authorFiles == files)
        return;
    m_authorFiles = files;
    Q_EMIT authorFilesChanged();
}

QVariantList RepositorySelection::authorFilesValue() const
{
    QVariantList files;
    for (const AuthorFileChanges &file : m_authorFiles)
        files.append(QVariantMap {{QStringLiteral("path"), file.path},
                                  {QStringLiteral("commits"), file.commits}});
    return files;
}

void RepositorySelection::setDiffPresented(bool presented)
{
    assign(this, m_isDiffPresented, presented, &RepositorySelection::isDiffPresentedChanged);
}

void RepositorySelection::setCommitChanges(const QList<CommitFileChange> &changes)
{
    if (m_commitChanges->setRecords(changes))
        Q_EMIT commitChangesChanged();
}

QVariant RepositorySelection::selectedCommitValue() const
{
    return optionalMap(m_commit);
}

QVariant RepositorySelection::selectedFileValue() const
{
    return optionalMap(m_file);
}

QVariant RepositorySelection::selectedFileDetailsValue() const
{
    return optionalMap(m_fileDetails);
}

QVariant RepositorySelection::selectedAuthorValue() const
{
    return optionalMap(m_author);
}

QVariant RepositorySelection::selectedAuthorDetailsValue() const
{
    return optionalMap(m_authorDetails);
}

} // namespace strataloom
