#include "TestRepository.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "TestGit.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using strataloom::runProcess;

QString runGitIn(const QString &directory, const QStringList &arguments, const QString &date,
                 int *status, QString *errorOutput)
{
    const auto result = runProcess(QStringLiteral("/usr/bin/git"),
                                   testGitArguments(directory, arguments), testGitEnvironment(date));
    if (status)
        *status = result.exitStatus;
    if (errorOutput)
        *errorOutput = QString::fromUtf8(result.standardError);
    if (!status && result.exitStatus != 0)
        ADD_FAILURE() << "git " << arguments.join(QLatin1Char(' ')).toStdString()
                      << " failed: " << result.standardError.toStdString();
    return QString::fromUtf8(result.standardOutput);
}

TestRepository::TestRepository(bool bare)
    : m_dir(QDir::tempPath() + QStringLiteral("/strataloom-repo-XXXXXX"))
{
    QStringList init {QStringLiteral("init"), QStringLiteral("-q")};
    if (bare)
        init << QStringLiteral("--bare");
    git(init);
}

QString TestRepository::filePath(const QString &relative) const
{
    return m_dir.filePath(relative);
}

void TestRepository::write(const QString &relative, const QByteArray &content) const
{
    const QString target = filePath(relative);
    QDir().mkpath(QFileInfo(target).absolutePath());
    QFile file(target);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << target.toStdString();
    file.write(content);
}

void TestRepository::remove(const QString &relative) const
{
    QFile::remove(filePath(relative));
}

QString TestRepository::git(const QStringList &arguments) const
{
    return runGitIn(path(), arguments, m_date);
}

int TestRepository::gitStatus(const QStringList &arguments, QString *errorOutput) const
{
    int status = 0;
    runGitIn(path(), arguments, m_date, &status, errorOutput);
    return status;
}

QString TestRepository::commit(const QString &message, const QString &author, const QString &email)
{
    git({QStringLiteral("add"), QStringLiteral("-A")});
    git({QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("--allow-empty"),
         QStringLiteral("--no-verify"), QStringLiteral("-m"), message,
         QStringLiteral("--author=%1 <%2>").arg(author, email)});
    if (m_step != 0) {
        QDateTime next = QDateTime::fromString(m_date, Qt::ISODate).addSecs(m_step);
        m_date = next.toUTC().toString(Qt::ISODate);
    }
    return git({QStringLiteral("rev-parse"), QStringLiteral("HEAD")}).trimmed();
}

QString gitErrorOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const strataloom::GitError &error) {
        return error.description();
    }
    return QStringLiteral("<no error>");
}

QDateTime utcDate(const char *iso)
{
    return QDateTime::fromString(QString::fromLatin1(iso), Qt::ISODate);
}
