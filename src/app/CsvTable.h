#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

class QAbstractItemModel;

namespace strataloom {

/**
 * @brief One CSV cell of a text (RFC 4180): quoted when it holds a comma, a quote or a line
 * break, quotes doubled. A text a spreadsheet would take for a formula (it begins with =, +, -,
 * @, a tab or a carriage return) gets a leading apostrophe: a commit subject written by someone
 * else must never run as a formula in the reader's spreadsheet.
 */
QString csvText(const QString &text);

/**
 * @brief A value from a model or a QML list as a CSV cell, by the same rules as the command
 * line's records: dates as ISO-8601 UTC with seconds, null and invalid values empty, flags as
 * true/false, numbers as numbers, lists joined with "; ", texts through csvText().
 */
QString csvValue(const QVariant &value);

/// @brief One column of a table written as CSV: the role (or map key) it reads, its header.
struct CsvColumn
{
    QByteArray role;
    QString header; ///< the role's name when empty
};

/**
 * @brief The rows of @p model as CSV, in the model's order, one column per entry of
 * @p columns (every role of the model, by role number, when empty); lines end with CRLF.
 */
QByteArray modelToCsv(const QAbstractItemModel &model, QList<CsvColumn> columns = {});

/// @brief The same for rows given as maps (a QML list of objects); a missing key is an empty cell.
QByteArray rowsToCsv(const QVariantList &rows, const QList<CsvColumn> &columns);

} // namespace strataloom
