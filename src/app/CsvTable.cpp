#include "app/CsvTable.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QStringList>

#include <algorithm>

namespace strataloom {

QString csvText(const QString &text)
{
    static const QString formulaStarts = QStringLiteral("=+-@\t\r");
    QString cell = !text.isEmpty() && formulaStarts.contains(text.front())
        ? QLatin1Char('\'') + text
        : text;
    if (cell.contains(QLatin1Char(',')) || cell.contains(QLatin1Char('"'))
        || cell.contains(QLatin1Char('\n')) || cell.contains(QLatin1Char('\r'))) {
        cell.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        cell = QLatin1Char('"') + cell + QLatin1Char('"');
    }
    return cell;
}

QString csvValue(const QVariant &value)
{
    if (!value.isValid() || value.isNull())
        return {};
    switch (value.metaType().id()) {
    case QMetaType::QDateTime: {
        const QDateTime date = value.toDateTime();
        return date.isValid() ? date.toUTC().toString(Qt::ISODate) : QString();
    }
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Long:
    case QMetaType::ULong:
        return value.toString();
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble());
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        QStringList items;
        for (const QVariant &item : value.toList())
            items << item.toString();
        return csvText(items.join(QStringLiteral("; ")));
    }
    default:
        return csvText(value.toString());
    }
}

namespace {

QString line(const QStringList &cells)
{
    return cells.join(QLatin1Char(',')) + QStringLiteral("\r\n");
}

QString headerLine(const QList<CsvColumn> &columns)
{
    QStringList cells;
    for (const CsvColumn &column : columns)
        cells << csvText(column.header.isEmpty() ? QString::fromUtf8(column.role) : column.header);
    return line(cells);
}

} // namespace

QByteArray modelToCsv(const QAbstractItemModel &model, QList<CsvColumn> columns)
{
    const QHash<int, QByteArray> names = model.roleNames();
    if (columns.isEmpty()) {
        QList<int> roles = names.keys();
        std::sort(roles.begin(), roles.end());
        for (const int role : roles) {
            if (role >= Qt::UserRole)
                columns.append({names.value(role), {}});
        }
    }
    QList<int> roles;
    for (const CsvColumn &column : columns)
        roles.append(names.key(column.role, -1));
    QString text = headerLine(columns);
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        QStringList cells;
        for (const int role : roles)
            cells << (role < 0 ? QString() : csvValue(model.data(index, role)));
        text += line(cells);
    }
    return text.toUtf8();
}

QByteArray rowsToCsv(const QVariantList &rows, const QList<CsvColumn> &columns)
{
    QString text = headerLine(columns);
    for (const QVariant &row : rows) {
        const QVariantMap map = row.toMap();
        QStringList cells;
        for (const CsvColumn &column : columns)
            cells << csvValue(map.value(QString::fromUtf8(column.role)));
        text += line(cells);
    }
    return text.toUtf8();
}

} // namespace strataloom
