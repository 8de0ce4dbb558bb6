#pragma once

// Runs the command-line tool as scripts do and keeps what it printed.
#include "git/GitProcess.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

struct CliRun
{
    int status = 0;
    QString out;
    QString err;

    QJsonObject object() const { return QJsonDocument::fromJson(out.toUtf8()).object(); }
    QJsonArray array() const { return QJsonDocument::fromJson(out.toUtf8()).array(); }
};

inline CliRun cli(const QStringList &arguments, const QStringList &environment = {})
{
    const strataloom::ProcessResult result
        = strataloom::runProcess(QStringLiteral(STRATALOOM_CLI), arguments, environment);
    return {result.exitStatus, QString::fromUtf8(result.standardOutput),
            QString::fromUtf8(result.standardError)};
}

/// @brief The JSON object a run that must succeed printed.
inline QJsonObject cliObject(const QStringList &arguments)
{
    const CliRun run = cli(arguments);
    EXPECT_EQ(run.status, 0) << arguments.join(' ').toStdString() << ": " << run.err.toStdString();
    return run.object();
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
