#pragma once

#include <QString>
#include <QStringList>

// How every test runs git on its fixture repositories, whatever its test framework: a fixed
// identity and default branch, the given author and committer date, no system configuration.

/// @brief The environment of a test's git run, with @p date as author and committer date.
inline QStringList testGitEnvironment(const QString &date)
{
    return {
        QStringLiteral("GIT_AUTHOR_DATE=") + date,
        QStringLiteral("GIT_COMMITTER_DATE=") + date,
        QStringLiteral("GIT_COMMITTER_NAME=Test Committer"),
        QStringLiteral("GIT_COMMITTER_EMAIL=committer@example.com"),
        QStringLiteral("GIT_CONFIG_NOSYSTEM=1"),
    };
}

/// @brief The full argument list of a test's git run of @p arguments in @p directory.
inline QStringList testGitArguments(const QString &directory, const QStringList &arguments)
{
    return QStringList {QStringLiteral("-c"), QStringLiteral("user.name=Test"),
                        QStringLiteral("-c"), QStringLiteral("user.email=test@example.com"),
                        QStringLiteral("-c"), QStringLiteral("init.defaultBranch=main"),
                        QStringLiteral("-C"), directory}
        + arguments;
}
