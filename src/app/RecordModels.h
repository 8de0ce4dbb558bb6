#pragma once

#include "git/GitRecords.h"
#include "insights/InsightRecords.h"
#include "app/RepositoryRecords.h"

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QVariant>
#include <QVariantMap>

#include <optional>

namespace strataloom {

/**
 * @brief A list of records shown by QML views: one row per record, one role per field.
 *
 * The role names are the records' field names; get() gives a whole row as a map with the same
 * keys, which is also what the model's operations accept back from QML.
 */
class RecordListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    int count() const { return rowCount(); }
    /// @brief Row @p row as a map from role name to value; empty when out of range.
    Q_INVOKABLE QVariantMap get(int row) const;

Q_SIGNALS:
    void countChanged();

protected:
    using QAbstractListModel::QAbstractListModel;
};

/// @brief A RecordListModel over a list of @p Record values.
template<typename Record> class RecordList : public RecordListModel
{
public:
    struct Role
    {
        QByteArray name;
        QVariant (*value)(const Record &);
    };

    RecordList(QList<Role> roles, QObject *parent)
        : RecordListModel(parent)
        , m_roles(std::move(roles))
    { }

    const QList<Record> &records() const { return m_records; }

    /// @brief Replaces every row; returns false (and signals nothing) when nothing changed.
    bool setRecords(const QList<Record> &records)
    {
        if (records == m_records)
            return false;
        const bool countChanges = records.size() != m_records.size();
        beginResetModel();
        m_records = records;
        endResetModel();
        if (countChanges)
            Q_EMIT countChanged();
        return true;
    }

    /// @brief @p record as a map from role name to value.
    QVariantMap toMap(const Record &record) const
    {
        QVariantMap map;
        for (const Role &role : m_roles)
            map.insert(QString::fromLatin1(role.name), role.value(record));
        return map;
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_records.size());
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
            return {};
        const int field = role == Qt::DisplayRole ? 0 : role - Qt::UserRole - 1;
        if (field < 0 || field >= m_roles.size())
            return {};
        return m_roles.at(field).value(m_records.at(index.row()));
    }

    QHash<int, QByteArray> roleNames() const override
    {
        QHash<int, QByteArray> names;
        for (int field = 0; field < m_roles.size(); ++field)
            names.insert(Qt::UserRole + 1 + field, m_roles.at(field).name);
        return names;
    }

private:
    QList<Role> m_roles;
    QList<Record> m_records;
};

/**
 * @brief Commits, in git's order (the history and the search results). Display: subject.
 * Roles:
 * - subject: first line of the message
 * - id: full hash
 * - shortHash: abbreviated hash
 * - author: author name
 * - email: author e-mail
 * - date: author date (date-time)
 * - body: message after the subject
 * - additions: lines added
 * - deletions: lines deleted
 * - filesChanged: files touched
 */
class CommitListModel : public RecordList<CommitRecord>
{
public:
    explicit CommitListModel(QObject *parent = nullptr);
};

/**
 * @brief Lines of the commit graph, newest first. Display: subject.
 * Roles:
 * - subject: commit subject; empty on connector lines
 * - id: full hash; empty on connector lines
 * - graph: the drawing prefix, untrimmed
 * - shortHash: abbreviated hash; empty on connector lines
 * - relativeDate: git's relative date text
 * - author: author name
 * - decorations: ref names pointing at the commit
 * - isConnector: true for a line of drawing only
 */
class GraphListModel : public RecordList<GraphCommitRecord>
{
public:
    explicit GraphListModel(QObject *parent = nullptr);
};

/**
 * @brief Local and remote branches. Display: name.
 * Roles:
 * - name: short name ("main", "origin/main")
 * - isCurrent: checked out in the work tree
 * - isRemote: a remote-tracking branch
 * - lastCommitHash: tip's abbreviated hash
 * - lastCommitDate: tip's date, null when unknown
 * - lastAuthor: tip's author
 */
class BranchListModel : public RecordList<BranchRecord>
{
public:
    explicit BranchListModel(QObject *parent = nullptr);
};

/**
 * @brief Tags. Display: name.
 * Roles:
 * - name: tag name
 * - objectHash: abbreviated hash of the tagged object
 * - date: tag or commit date, null when unknown
 * - subject: tag or commit subject
 */
class TagListModel : public RecordList<TagRecord>
{
public:
    explicit TagListModel(QObject *parent = nullptr);
};

/**
 * @brief Tracked files. Display: path.
 * Roles:
 * - path: path relative to the work tree
 * - status: work-tree status letters, empty when unchanged
 * - lastCommitDate: date of the last commit touching it, null when unknown
 * - lastAuthor: author of that commit
 */
class FileListModel : public RecordList<FileRecord>
{
public:
    explicit FileListModel(QObject *parent = nullptr);
};

/**
 * @brief Commits per day. Display: count.
 * Roles:
 * - count: commits on that day
 * - date: start of the day (date-time)
 */
class ActivityListModel : public RecordList<ActivityPoint>
{
public:
    explicit ActivityListModel(QObject *parent = nullptr);
};

/**
 * @brief Authors with their commit counts, most commits first. Display: name.
 * Roles:
 * - name: author name
 * - commits: commits by that author
 */
class AuthorStatListModel : public RecordList<AuthorStat>
{
public:
    explicit AuthorStatListModel(QObject *parent = nullptr);
};

/**
 * @brief Files changed by the selected commit. Display: path.
 * Roles:
 * - path: path, "old → new" for renames and copies
 * - status: A, M, D, T, or R/C with a score such as R100
 */
class CommitChangeListModel : public RecordList<CommitFileChange>
{
public:
    explicit CommitChangeListModel(QObject *parent = nullptr);
};

/**
 * @brief Recently opened repositories, newest first. Display: name.
 * Roles:
 * - name: repository name when it was opened
 * - path: standardized path of the work tree
 * - lastOpened: when it was last opened (date-time)
 */
class RecentRepositoryListModel : public RecordList<RecentRepository>
{
public:
    explicit RecentRepositoryListModel(QObject *parent = nullptr);
};

/**
 * @brief Repositories found by the home scan, by name. Display: name.
 * Roles:
 * - name: last path component of the folder
 * - path: standardized path of the folder
 */
class DiscoveredRepositoryListModel : public RecordList<DiscoveredRepository>
{
public:
    explicit DiscoveredRepositoryListModel(QObject *parent = nullptr);
};

// Records as QML values: maps keyed by field name; an absent date is a null value.

QVariantMap toVariantMap(const RepositorySummary &summary);
QVariantMap toVariantMap(const CommitRecord &commit);
QVariantMap toVariantMap(const BranchRecord &branch);
QVariantMap toVariantMap(const FileRecord &file);
QVariantMap toVariantMap(const FileDetails &details);
QVariantMap toVariantMap(const AuthorStat &author);
QVariantMap toVariantMap(const AuthorDetails &details);
/// @brief Every field of @p insights; lists of records become lists of maps.
QVariantMap toVariantMap(const RepositoryAnalyticsInsights &insights);

// Records handed back from QML (a row of one of the models above, or a map of that shape).

CommitRecord commitFromVariantMap(const QVariantMap &map);
BranchRecord branchFromVariantMap(const QVariantMap &map);
FileRecord fileFromVariantMap(const QVariantMap &map);
AuthorStat authorFromVariantMap(const QVariantMap &map);
RecentRepository recentFromVariantMap(const QVariantMap &map);
DiscoveredRepository discoveredFromVariantMap(const QVariantMap &map);

} // namespace strataloom
