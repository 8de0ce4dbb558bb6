#include "ui/screens/RecordFilterModel.h"

#include "app/RecordModels.h"

namespace strataloom {

RecordFilterModel::RecordFilterModel(QObject *parent)
    : QSortFilterProxyModel(parent)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &RecordFilterModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &RecordFilterModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &RecordFilterModel::countChanged);
    connect(this, &QAbstractItemModel::layoutChanged, this, &RecordFilterModel::countChanged);
    connect(this, &QSortFilterProxyModel::sourceModelChanged, this, [this] {
        resolveRoles();
        refilter();
    });
    // A reset source has the same roles; only the rows change.
    connect(this, &QAbstractItemModel::modelReset, this, [this] {
        if (m_roles.isEmpty())
            resolveRoles();
    });
}

void RecordFilterModel::setFilterText(const QString &text)
{
    if (text == m_filterText)
        return;
    m_filterText = text;
    Q_EMIT filterTextChanged();
    refilter();
}

void RecordFilterModel::setFilterRoles(const QStringList &roles)
{
    if (roles == m_filterRoles)
        return;
    m_filterRoles = roles;
    resolveRoles();
    Q_EMIT filterRolesChanged();
    refilter();
}

void RecordFilterModel::setGroupRole(const QString &role)
{
    if (role == m_groupRole)
        return;
    m_groupRole = role;
    resolveRoles();
    Q_EMIT groupRoleChanged();
}

bool RecordFilterModel::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    // The proxy's sort is stable: rows of one group keep the list's order.
    return QVariant::compare(left.data(m_groupRoleNumber), right.data(m_groupRoleNumber))
        == QPartialOrdering::Less;
}

QVariantMap RecordFilterModel::get(int row) const
{
    const QModelIndex source = mapToSource(index(row, 0));
    if (!source.isValid())
        return {};
    if (const auto *records = qobject_cast<const RecordListModel *>(sourceModel()))
        return records->get(source.row());
    QVariantMap map;
    const QHash<int, QByteArray> names = roleNames();
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        map.insert(QString::fromUtf8(it.value()), source.data(it.key()));
    return map;
}

bool RecordFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    if (m_filterText.isEmpty())
        return true;
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    for (int role : m_roles) {
        if (row.data(role).toString().contains(m_filterText, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

void RecordFilterModel::refilter()
{
    const int before = rowCount();
    invalidateFilter();
    if (rowCount() != before)
        Q_EMIT countChanged();
}

void RecordFilterModel::resolveRoles()
{
    m_roles.clear();
    m_groupRoleNumber = -1;
    if (sourceModel()) {
        const QHash<int, QByteArray> names = sourceModel()->roleNames();
        for (const QString &name : std::as_const(m_filterRoles)) {
            const int role = names.key(name.toUtf8(), -1);
            if (role >= 0)
                m_roles << role;
        }
        if (!m_groupRole.isEmpty())
            m_groupRoleNumber = names.key(m_groupRole.toUtf8(), -1);
    }
    sort(m_groupRoleNumber >= 0 ? 0 : -1);
}

} // namespace strataloom
