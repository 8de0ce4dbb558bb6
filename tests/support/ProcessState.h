#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QString>
#include <QThread>

#include <functional>

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

/// @brief Polls @p done every 20 ms for up to @p milliseconds; whether it came true.
inline bool waitUntil(const std::function<bool()> &done, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    for (; !done(); QThread::msleep(20)) {
        if (timer.elapsed() > milliseconds)
            return false;
    }
    return true;
}

/// @brief The process id a script wrote to @p path, or 0 while there is none.
inline qint64 pidIn(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().toLongLong() : 0;
}
