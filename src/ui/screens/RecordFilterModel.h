#pragma once

#include <QSortFilterProxyModel>
#include <QStringList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/**
 * @brief The rows of a record list whose fields contain a filter text, in the list's order.
 *
 * The test is case-insensitive; an empty filter keeps every row. Roles pass through unchanged,
 * so delegates bind to the same role names as on the unfiltered list. With a groupRole, rows of
 * equal values of that role come together (a view's sections then appear once each), ordered by
 * the value, each group in the list's order.
 */
class RecordFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString filterText READ filterText WRITE setFilterText NOTIFY filterTextChanged)
    /// The role names whose values are searched ("subject", "author").
    Q_PROPERTY(
        QStringList filterRoles READ filterRoles WRITE setFilterRoles NOTIFY filterRolesChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    /// The role whose equal values are kept together ("isRemote"); "" keeps the list's order.
    Q_PROPERTY(QString groupRole READ groupRole WRITE setGroupRole NOTIFY groupRoleChanged)

public:
    explicit RecordFilterModel(QObject *parent = nullptr);

    QString filterText() const { return m_filterText; }
    void setFilterText(const QString &text);
    QStringList filterRoles() const { return m_filterRoles; }
    void setFilterRoles(const QStringList &roles);
    int count() const { return rowCount(); }
    QString groupRole() const { return m_groupRole; }
    void setGroupRole(const QString &role);

    /// @brief Row @p row as the source list gives it (a map keyed by role name).
    Q_INVOKABLE QVariantMap get(int row) const;

Q_SIGNALS:
    void filterTextChanged();
    void filterRolesChanged();
    void countChanged();
    void groupRoleChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;
    bool lessThan(const QModelIndex &left, const QModelIndex &right) const override;

private:
    void refilter();
    void resolveRoles();

    QString m_filterText;
    QStringList m_filterRoles;
    QList<int> m_roles;
    QString m_groupRole;
    int m_groupRoleNumber = -1;
};

} // namespace strataloom
