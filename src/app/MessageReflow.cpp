#include "app/MessageReflow.h"

#include <QRegularExpression>
#include <QStringList>

namespace strataloom {

namespace {

// A line whose position matters to its meaning, so it must not be joined with its neighbours.
bool keepsItsLine(const QString &line)
{
    static const QRegularExpression layout(QStringLiteral(
        "^(?:\\s"                                   // indented: code or a continuation
        "|[-*+\\x{2022}]\\s"                         // bullet
        "|\\d{1,3}[.)]\\s"                           // numbered item
        "|>"                                        // quotation
        "|\\|"                                      // table row
        "|[A-Z][A-Za-z0-9]*(?:-[A-Za-z0-9]+)*:\\s\\S" // trailer
        ")"));
    return layout.match(line).hasMatch();
}

bool isFence(const QString &trimmed)
{
    return trimmed.startsWith(QLatin1String("```")) || trimmed.startsWith(QLatin1String("~~~"));
}

} // namespace

QString reflowedMessage(const QString &body)
{
    QStringList lines;
    bool joinable = false; // the last line is prose that the next prose line continues
    bool fenced = false;
    for (QString line : body.split(QLatin1Char('\n'))) {
        while (!line.isEmpty() && line.back().isSpace())
            line.chop(1);
        if (fenced || isFence(line.trimmed())) {
            if (isFence(line.trimmed()))
                fenced = !fenced;
            lines << line;
            joinable = false;
        } else if (line.isEmpty()) {
            if (!lines.isEmpty() && !lines.constLast().isEmpty())
                lines << QString();
            joinable = false;
        } else if (keepsItsLine(line)) {
            lines << line;
            joinable = false;
        } else if (joinable) {
            lines.last() += QLatin1Char(' ') + line;
        } else {
            lines << line;
            joinable = true;
        }
    }
    while (!lines.isEmpty() && lines.constLast().isEmpty())
        lines.removeLast();
    return lines.join(QLatin1Char('\n'));
}

} // namespace strataloom
