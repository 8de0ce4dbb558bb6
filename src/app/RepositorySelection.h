#pragma once

#include "app/BackgroundTasks.h"
#include "app/HistoryListModel.h"
#include "app/RecordModels.h"
#include "git/GitService.h"
#include "insights/AuthorHistory.h"

#include <QObject>
#include <QVariant>

#include <optional>

namespace strataloom {

class DesktopActions;
class RepositorySession;

/**
 * @brief What the user picked in the open repository: a commit with its changed files, a file
 * with its history facts, an author with contribution details, and the diff sheet.
 *
 * Choosing a row always signals, even the row already chosen: the inspector turns to it. The
 * details load in the background; the ones that arrive last are shown. A failed read ends in
 * failed() and in the matching details error, so that nothing waits for it forever.
 *
 * Once the repository's index is ready (setIndexDatabase), a file's details and its commits
 * (fileHistory) come from the index and follow the file through its renames, whether or not the
 * working tree still holds it; until then the details are git's and the list is unavailable.
 * The same goes for an author: details, every commit (authorHistory) and the files changed most
 * (authorFiles) come from the index once it is ready, taking the person's other names and
 * addresses along unless identities are read as recorded (setMergesIdentities).
 */
class RepositorySelection : public QObject
{
    Q_OBJECT

    Q_PROPERTY(QVariant selectedCommit READ selectedCommitValue NOTIFY selectedCommitChanged)
    Q_PROPERTY(QVariant selectedFile READ selectedFileValue NOTIFY selectedFileChanged)
    Q_PROPERTY(QVariant selectedFileDetails READ selectedFileDetailsValue NOTIFY
                   selectedFileDetailsChanged)
    Q_PROPERTY(QVariant selectedAuthor READ selectedAuthorValue NOTIFY selectedAuthorChanged)
    Q_PROPERTY(QVariant selectedAuthorDetails READ selectedAuthorDetailsValue NOTIFY
                   selectedAuthorDetailsChanged)
    Q_PROPERTY(strataloom::RecordListModel *commitChanges READ commitChangesModel NOTIFY
                   commitChangesChanged)
    /// Why the selected file's details could not be read; empty while they load or once read.
    Q_PROPERTY(QString fileDetailsError READ fileDetailsError NOTIFY fileDetailsErrorChanged)
    /// The selected file's commits under all its names, newest first, paged from the index.
    Q_PROPERTY(strataloom::HistoryListModel *fileHistory READ fileHistory CONSTANT)
    /// Why the selected author's details could not be read; empty while they load or once read.
    Q_PROPERTY(QString authorDetailsError READ authorDetailsError NOTIFY authorDetailsErrorChanged)
    /// The selected author's commits, newest first, paged from the index.
    Q_PROPERTY(strataloom::HistoryListModel *authorHistory READ authorHistory CONSTANT)
    /// The files the selected author changed most, from the index: maps of path and commits,
    /// most commits first; empty until they are read, and without an index.
    Q_PROPERTY(QVariantList authorFiles READ authorFilesValue NOTIFY authorFilesChanged)
    Q_PROPERTY(QString presentedDiff READ presentedDiff NOTIFY presentedDiffChanged)
    Q_PROPERTY(bool isDiffPresented READ isDiffPresented WRITE setDiffPresented NOTIFY
                   isDiffPresentedChanged)

public:
    /// @param session the repository the selection reads from; must outlive the selection.
    /// @param desktopActions not owned; null: openFile does nothing.
    explicit RepositorySelection(const RepositorySession &session,
                                 DesktopActions *desktopActions = nullptr,
                                 QObject *parent = nullptr);

    const std::optional<CommitRecord> &selectedCommit() const { return m_commit; }
    const std::optional<FileRecord> &selectedFile() const { return m_file; }
    const std::optional<FileDetails> &selectedFileDetails() const { return m_fileDetails; }
    const std::optional<AuthorStat> &selectedAuthor() const { return m_author; }
    const std::optional<AuthorDetails> &selectedAuthorDetails() const { return m_authorDetails; }
    const QList<CommitFileChange> &commitChanges() const { return m_commitChanges->records(); }
    RecordListModel *commitChangesModel() const { return m_commitChanges; }
    QString fileDetailsError() const { return m_fileDetailsError; }
    QString authorDetailsError() const { return m_authorDetailsError; }
    QString presentedDiff() const { return m_presentedDiff; }
    bool isDiffPresented() const { return m_isDiffPresented; }
    HistoryListModel *fileHistory() const { return m_fileHistory; }
    HistoryListModel *authorHistory() const { return m_authorHistory; }
    const QList<AuthorFileChanges> &authorFiles() const { return m_authorFiles; }
    int runningTaskCount() const
    {
        return m_tasks.running() + m_fileHistory->runningTaskCount()
            + m_authorHistory->runningTaskCount();
    }

    /// @brief Reads file histories from the index database at @p path from now on ("": from git);
    /// a file already selected is read again from there.
    void setIndexDatabase(const QString &path);
    /// @brief Whether an author is read with the person's other names and addresses (the
    /// default) or as recorded; an author already selected is read again.
    void setMergesIdentities(bool merges);
    bool mergesIdentities() const { return m_mergesIdentities; }

    void setDiffPresented(bool presented);
    /// @brief Starts over for a newly published repository: @p commit selected, nothing else.
    void reset(const std::optional<CommitRecord> &commit);

    Q_INVOKABLE void selectCommit(const QVariantMap &commit);
    void selectCommit(const CommitRecord &commit);
    Q_INVOKABLE void presentDiff(const QVariantMap &commit);
    void presentDiff(const CommitRecord &commit);
    Q_INVOKABLE void selectFile(const QVariantMap &file);
    void selectFile(const FileRecord &file);
    Q_INVOKABLE void openFile(const QVariantMap &file);
    void openFile(const FileRecord &file);
    Q_INVOKABLE void selectAuthor(const QVariantMap &author);
    void selectAuthor(const AuthorStat &author);

Q_SIGNALS:
    void selectedCommitChanged();
    void selectedFileChanged();
    void selectedFileDetailsChanged();
    void selectedAuthorChanged();
    void selectedAuthorDetailsChanged();
    void commitChangesChanged();
    void fileDetailsErrorChanged();
    void authorDetailsErrorChanged();
    void authorFilesChanged();
    void presentedDiffChanged();
    void isDiffPresentedChanged();
    void failed(const QString &message);

private:
    std::optional<QString> repositoryPath() const;
    void setCommitChanges(const QList<CommitFileChange> &changes);
    void loadFileDetails();
    void loadAuthorDetails();
    void setAuthorFiles(const QList<AuthorFileChanges> &files);
    QVariantList authorFilesValue() const;

    QVariant selectedCommitValue() const;
    QVariant selectedFileValue() const;
    QVariant selectedFileDetailsValue() const;
    QVariant selectedAuthorValue() const;
    QVariant selectedAuthorDetailsValue() const;

    const RepositorySession &m_session;
    DesktopActions *m_desktopActions;
    GitService m_git;
    BackgroundTasks m_tasks;
    std::optional<CommitRecord> m_commit;
    std::optional<FileRecord> m_file;
    std::optional<FileDetails> m_fileDetails;
    std::optional<AuthorStat> m_author;
    std::optional<AuthorDetails> m_authorDetails;
    CommitChangeListModel *m_commitChanges;
    HistoryListModel *m_fileHistory;
    HistoryListModel *m_authorHistory;
    QList<AuthorFileChanges> m_authorFiles;
    quint64 m_authorGeneration = 0;
    bool m_mergesIdentities = true;
    QString m_indexDatabase;
    quint64 m_fileGeneration = 0;
    QString m_fileDetailsError;
    QString m_authorDetailsError;
    QString m_presentedDiff;
    bool m_isDiffPresented = false;
};

} // namespace strataloom
