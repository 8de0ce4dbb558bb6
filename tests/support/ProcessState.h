#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// @brief Whether process @p pid is running. A killed process that nobody has reaped yet is a
/// zombie, not running.
inline bool isProcessRunning(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = stat.readAll();
    const qsizetype state = text.lastIndexOf(')') + 2;
    return state < text.size() && text[state] != 'Z' && text[state] != 'X';
}
