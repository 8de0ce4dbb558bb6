#pragma once

#include <QList>

/// @brief One field of every record, in the records' order: column(branches, &BranchRecord::name).
template<typename Record, typename Field>
QList<Field> column(const QList<Record> &records, Field Record::*field)
{
    QList<Field> values;
    for (const Record &record : records)
        values.append(record.*field);
    return values;
}
