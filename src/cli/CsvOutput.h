#pragma once

#include "app/CsvTable.h"
#include "git/GitRecordFields.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <type_traits>

namespace strataloom::cli {

// The cell rules are the application's, so that the window's exports read the same.
using strataloom::csvText;

/// @brief A field's value as a CSV cell: dates as ISO-8601 UTC with seconds, absent values and
/// invalid dates empty, flags as true/false, lists of texts joined with "; ".
template<typename T> QString csvCell(const T &value)
{
    if constexpr (fieldtypes::isOptional<T>) {
        return value ? csvCell(*value) : QString();
    } else if constexpr (std::is_same_v<T, QDateTime>) {
        return value.isValid() ? value.toUTC().toString(Qt::ISODate) : QString();
    } else if constexpr (std::is_same_v<T, QString>) {
        return csvText(value);
    } else if constexpr (std::is_same_v<T, bool>) {
        return value ? QStringLiteral("true") : QStringLiteral("false");
    } else if constexpr (fieldtypes::isList<T>) {
        QStringList items;
        for (const auto &item : value)
            items << item;
        return csvText(items.join(QStringLiteral("; ")));
    } else {
        static_assert(std::is_arithmetic_v<T>, "a CSV cell is a text, a date, a flag or a number");
        return QString::number(value);
    }
}

/// @brief @p records as CSV: a header of the field names in the record's order, then one line
/// per record, lines ended by CRLF.
template<HasFields Record> QByteArray toCsv(const QList<Record> &records)
{
    QStringList header;
    const Record names {};
    visitFields(names, [&header](const char *name, const auto &) {
        header << QString::fromLatin1(name);
    });
    QString text = header.join(QLatin1Char(',')) + QStringLiteral("\r\n");
    for (const Record &record : records) {
        QStringList cells;
        visitFields(record, [&cells](const char *, const auto &field) { cells << csvCell(field); });
        text += cells.join(QLatin1Char(',')) + QStringLiteral("\r\n");
    }
    return text.toUtf8();
}

} // namespace strataloom::cli
