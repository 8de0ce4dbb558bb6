#pragma once

#include "git/GitRecordFields.h"
#include "index/IndexRecordFields.h"
#include "insights/InsightFields.h"
#include "app/RepositoryRecords.h"

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <type_traits>

namespace strataloom {

// Records as QML values, derived from their field lists (visitFields): a record is a map keyed
// by field name (computed fields included), a list a list, an absent value null.

template<typename T> QVariant toVariant(const T &value)
{
    if constexpr (HasFields<T>) {
        QVariantMap map;
        const auto put = [&map](const char *name, const auto &field) {
            map.insert(QString::fromLatin1(name), toVariant(field));
        };
        visitFields(value, put);
        visitComputedFields(value, put);
        return map;
    } else if constexpr (fieldtypes::isOptional<T>) {
        return value ? toVariant(*value) : QVariant();
    } else if constexpr (std::is_same_v<T, QList<QString>>) {
        return QVariant(QStringList(value));
    } else if constexpr (fieldtypes::isList<T>) {
        QVariantList list;
        list.reserve(value.size());
        for (const auto &item : value)
            list.append(toVariant(item));
        return list;
    } else {
        return QVariant::fromValue(value);
    }
}

template<HasFields Record> QVariantMap toVariantMap(const Record &record)
{
    return toVariant(record).toMap();
}

/**
 * @brief The value of type T that @p value holds, the inverse of toVariant().
 *
 * A record is read field by field from a map (a row of one of the models below, or a map of
 * that shape): a missing key leaves the field's empty value; null or missing gives an absent
 * optional.
 */
template<typename T> T fromVariant(const QVariant &value)
{
    if constexpr (HasFields<T>) {
        T record {};
        const QVariantMap map = value.toMap();
        visitFields(record, [&map](const char *name, auto &field) {
            field = fromVariant<std::remove_cvref_t<decltype(field)>>(
                map.value(QString::fromLatin1(name)));
        });
        return record;
    } else if constexpr (fieldtypes::isOptional<T>) {
        if (!value.isValid() || value.isNull())
            return std::nullopt;
        return fromVariant<typename T::value_type>(value);
    } else if constexpr (std::is_same_v<T, QList<QString>>) {
        return value.toStringList();
    } else if constexpr (fieldtypes::isList<T>) {
        T list;
        for (const QVariant &item : value.toList())
            list.append(fromVariant<typename T::value_type>(item));
        return list;
    } else {
        return value.value<T>();
    }
}

template<HasFields Record> Record fromVariantMap(const QVariantMap &map)
{
    return fromVariant<Record>(map);
}

// Records handed back from QML by the application's operations.
inline CommitRecord commitFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<CommitRecord>(map);
}
inline BranchRecord branchFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<BranchRecord>(map);
}
inline FileRecord fileFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<FileRecord>(map);
}
inline AuthorStat authorFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<AuthorStat>(map);
}
inline RecentRepository recentFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<RecentRepository>(map);
}
inline DiscoveredRepository discoveredFromVariantMap(const QVariantMap &map)
{
    return fromVariantMap<DiscoveredRepository>(map);
}

/**
 * @brief A list of records shown by QML views: one row per record, one role per field.
 *
 * One role per field (visitFields, then visitComputedFields), named after it, in the record's
 * order; get() gives a whole row as a map with the same keys, which is also what the
 * application's operations accept back from QML.
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
template<HasFields Record> class RecordList : public RecordListModel
{
public:
    /// @p displayField names the field Qt::DisplayRole shows.
    RecordList(const char *displayField, QObject *parent)
        : RecordListModel(parent)
        , m_display(int(fieldNames().indexOf(displayField)))
    {
        Q_ASSERT(m_display >= 0);
    }

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

    /// @brief Adds rows after the last one.
    void appendRecords(const QList<Record> &records)
    {
        if (records.isEmpty())
            return;
        beginInsertRows({}, int(m_records.size()), int(m_records.size() + records.size() - 1));
        m_records.append(records);
        endInsertRows();
        Q_EMIT countChanged();
    }

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_records.size());
    }

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
            return {};
        const int field = role == Qt::DisplayRole ? m_display : role - Qt::UserRole - 1;
        QVariant value;
        int position = 0;
        const auto pick = [&](const char *, const auto &fieldValue) {
            if (position++ == field)
                value = toVariant(fieldValue);
        };
        const Record &record = recordAt(index.row());
        visitFields(record, pick);
        visitComputedFields(record, pick);
        return value;
    }

    QHash<int, QByteArray> roleNames() const override
    {
        QHash<int, QByteArray> names;
        const QList<QByteArray> &fields = fieldNames();
        for (int field = 0; field < fields.size(); ++field)
            names.insert(Qt::UserRole + 1 + field, fields.at(field));
        return names;
    }

protected:
    /// @brief The record shown in @p row, a valid row of rowCount(); a list that reads its rows
    /// from elsewhere gives them here (the reference must stay valid until the next call).
    virtual const Record &recordAt(int row) const { return m_records.at(row); }

private:
    static const QList<QByteArray> &fieldNames()
    {
        static const QList<QByteArray> names = [] {
            QList<QByteArray> list;
            const auto add = [&list](const char *name, const auto &) { list.append(name); };
            const Record record {};
            visitFields(record, add);
            visitComputedFields(record, add);
            return list;
        }();
        return names;
    }

    int m_display;
    QList<Record> m_records;
};

// The application's lists. Roles: the record's fields; display: the field named below.

/// @brief Commits, in git's order (the history and the search results). Display: subject.
class CommitListModel : public RecordList<CommitRecord>
{
public:
    explicit CommitListModel(QObject *parent = nullptr);
};

/// @brief Lines of the commit graph, newest first, with isConnector. Display: subject.
class GraphListModel : public RecordList<GraphCommitRecord>
{
public:
    explicit GraphListModel(QObject *parent = nullptr);
};

/// @brief Local and remote branches. Display: name.
class BranchListModel : public RecordList<BranchRecord>
{
public:
    explicit BranchListModel(QObject *parent = nullptr);
};

/// @brief Tags. Display: name.
class TagListModel : public RecordList<TagRecord>
{
public:
    explicit TagListModel(QObject *parent = nullptr);
};

/// @brief Tracked files. Display: path.
class FileListModel : public RecordList<FileRecord>
{
public:
    explicit FileListModel(QObject *parent = nullptr);
};

/// @brief Commits per day. Display: count.
class ActivityListModel : public RecordList<ActivityPoint>
{
public:
    explicit ActivityListModel(QObject *parent = nullptr);
};

/// @brief Authors with their commit counts, most commits first. Display: name.
class AuthorStatListModel : public RecordList<AuthorStat>
{
public:
    explicit AuthorStatListModel(QObject *parent = nullptr);
};

/// @brief Files changed by the selected commit. Display: path.
class CommitChangeListModel : public RecordList<CommitFileChange>
{
public:
    explicit CommitChangeListModel(QObject *parent = nullptr);
};

/// @brief Recently opened repositories, newest first. Display: name.
class RecentRepositoryListModel : public RecordList<RecentRepository>
{
public:
    explicit RecentRepositoryListModel(QObject *parent = nullptr);
};

/// @brief Repositories found by the home scan, by name. Display: name.
class DiscoveredRepositoryListModel : public RecordList<DiscoveredRepository>
{
public:
    explicit DiscoveredRepositoryListModel(QObject *parent = nullptr);
};

} // namespace strataloom
