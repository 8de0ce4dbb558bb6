#include "TestRepository.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "TestGit.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

using strataloom::runProcess;

QString runGitIn(const QString &directory, const QStringList &arguments, const QString &date,
                 int *status, QString *errorOutput)
{
    const auto result = runProcess("/usr/bin/git", testGitArguments(directory, arguments),
                                   testGitEnvironment(date));
    if (status)
        *status = result.exitStatus;
    if (errorOutput)
        *errorOutput = QString::fromUtf8(result.standardError);
    if (!status && result.exitStatus != 0)
        TestRepository::failureHandler(QStringLiteral("git %1 failed: %2")
                                           .arg(arguments.join(QLatin1Char(' ')),
                                                QString::fromUtf8(result.standardError)));
    return QString::fromUtf8(result.standardOutput);
}

TestRepository::TestRepository(bool bare)
    : m_dir(QDir::tempPath() + QStringLiteral("/strataloom-repo-XXXXXX"))
    , m_path(QFileInfo(m_dir.path()).canonicalFilePath())
{
    git(bare ? QStringList {"init", "-q", "--bare"} : QStringList {"init", "-q"});
}

QString TestRepository::filePath(const QString &relative) const
{
    return QDir(m_path).filePath(relative);
}

void TestRepository::write(const QString &relative, const QByteArray &content) const
{
    const QString target = filePath(relative);
    QDir().mkpath(QFileInfo(target).absolutePath());
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        failureHandler(QStringLiteral("cannot write ") + target);
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

QString TestRepository::hashObject(const QByteArray &object, const QString &type) const
{
    strataloom::ProcessOptions options;
    options.environment = testGitEnvironment(m_date);
    options.input = object;
    const auto result = runProcess(
        "/usr/bin/git", testGitArguments(path(), {"hash-object", "-t", type, "--stdin", "-w"}),
        options);
    if (result.exitStatus != 0)
        failureHandler(QString::fromUtf8(result.standardError));
    return QString::fromUtf8(result.standardOutput).trimmed();
}

QString TestRepository::commit(const QString &message, const QString &author, const QString &email,
                               const QString &date)
{
    const QString at = date.isEmpty() ? m_date : date;
    runGitIn(path(), {"add", "-A"}, at);
    runGitIn(path(),
             {"commit", "-q", "--allow-empty", "--no-verify", "-m", message,
              QStringLiteral("--author=%1 <%2>").arg(author, email)},
             at);
    if (m_step != 0) {
        QDateTime next = QDateTime::fromString(m_date, Qt::ISODate).addSecs(m_step);
        m_date = next.toUTC().toString(Qt::ISODate);
    }
    return git({"rev-parse", "HEAD"}).trimmed();
}

void TestRepository::importHistory(int count)
{
    QByteArray stream;
    for (int i = 1; i <= count; ++i) {
        const QByteArray who = "Author " + QByteArray::number(i % 7) + " <author"
            + QByteArray::number(i % 7) + "@example.com> "
            + QByteArray::number(1600000000 + qint64(i) * 3600) + " +0000\n";
        const QByteArray message = "Change " + QByteArray::number(i) + "\n";
        const QByteArray content = "line " + QByteArray::number(i) + "\n";
        stream += "commit refs/heads/main\nmark :" + QByteArray::number(i) + "\nauthor " + who
            + "committer " + who + "data " + QByteArray::number(message.size()) + "\n" + message;
        if (i > 1)
            stream += "from :" + QByteArray::number(i - 1) + "\n";
        stream += "M 100644 inline src/file" + QByteArray::number(i % 40) + ".txt\n";
        stream += "data " + QByteArray::number(content.size()) + "\n" + content + "\n";
    }
    strataloom::ProcessOptions options;
    options.input = stream;
    const auto result
        = runProcess("/usr/bin/git", {"-C", path(), "fast-import", "--quiet"}, options);
    if (result.exitStatus != 0)
        failureHandler(QString::fromUtf8(result.standardError));
    git({"reset", "-q", "--hard", "main"});
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
