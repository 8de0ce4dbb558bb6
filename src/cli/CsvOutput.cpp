#include "cli/CsvOutput.h"

namespace strataloom::cli {

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

} // namespace strataloom::cli
