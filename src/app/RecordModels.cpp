#include "app/RecordModels.h"

namespace strataloom {

QVariantMap RecordListModel::get(int row) const
{
    QVariantMap map;
    if (row < 0 || row >= rowCount())
        return map;
    const QModelIndex at = index(row);
    const QHash<int, QByteArray> names = roleNames();
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        map.insert(QString::fromLatin1(it.value()), data(at, it.key()));
    return map;
}

CommitListModel::CommitListModel(QObject *parent)
    : RecordList("subject", parent)
{ }

GraphListModel::GraphListModel(QObject *parent)
    : RecordList("subject", parent)
{ }

BranchListModel::BranchListModel(QObject *parent)
    : RecordList("name", parent)
{ }

TagListModel::TagListModel(QObject *parent)
    : RecordList("name", parent)
{ }

FileListModel::FileListModel(QObject *parent)
    : RecordList("path", parent)
{ }

ActivityListModel::ActivityListModel(QObject *parent)
    : RecordList("count", parent)
{ }

AuthorStatListModel::AuthorStatListModel(QObject *parent)
    : RecordList("name", parent)
{ }

CommitChangeListModel::CommitChangeListModel(QObject *parent)
    : RecordList("path", parent)
{ }

RecentRepositoryListModel::RecentRepositoryListModel(QObject *parent)
    : RecordList("name", parent)
{ }

DiscoveredRepositoryListModel::DiscoveredRepositoryListModel(QObject *parent)
    : RecordList("name", parent)
{ }

} // namespace strataloom
