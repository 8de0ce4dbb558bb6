#pragma once

// Runs the command-line tool as scripts do and keeps what it printed.
#include "ProcessState.h"
#include "git/GitProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gtest/gtest.h>

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
