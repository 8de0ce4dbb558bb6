#include "TestRepository.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "TestGit.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

using strataloom::runProcess;

namespace {

// Writes the objects and refs of a git fast-import @p stream into @p repository.
void fastImport(const QString &repository, const QByteArray &stream)
{
    strataloom::ProcessOptions options;
    options.input = stream;
    const auto result
        = runProcess("/usr/bin/git", {"-C", repository, "fast-import", "--quiet"}, options);
    if (result.exitStatus != 0)
        TestRepository::failureHandler(QString::fromUtf8(result.standardError));
}

} // namespace

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
    fastImport(path(), stream);
    git({"reset", "-q", "--hard", "main"});
}

void writeHistory(const TestRepository &repository, const QList<ScriptCommit> &commits)
{
    QByteArray script;
    QHash<QString, int> marks;
    for (const ScriptCommit &commit : commits) {
        const int mark = int(marks.size()) + 1;
        marks.insert(commit.name, mark);
        const QByteArray from = commit.parents.isEmpty()
            ? QByteArray()
            : "from :" + QByteArray::number(marks.value(commit.parents.first())) + '\n';
        // A branch is set to the commit's first parent (or emptied, for a root) before it.
        const QByteArray when = QByteArray::number(commit.time) + " +0000";
        const QByteArray subject = commit.name.toUtf8();
        script += "reset refs/heads/" + commit.branch.toUtf8() + '\n' + from
            + "\ncommit refs/heads/" + commit.branch.toUtf8()
            + "\nmark :" + QByteArray::number(mark) + "\nauthor " + commit.author.toUtf8() + " <"
            + commit.email.toUtf8() + "> " + when + "\ncommitter C <c@example.com> " + when
            + "\ndata " + QByteArray::number(subject.size()) + '\n' + subject + '\n' + from;
        for (qsizetype p = 1; p < commit.parents.size(); ++p)
            script += "merge :" + QByteArray::number(marks.value(commit.parents[p])) + '\n';
        script += "M 644 inline " + subject + ".txt\ndata " + QByteArray::number(subject.size())
            + '\n' + subject + "\n\n";
    }
    fastImport(repository.path(), script);
    repository.git({"checkout", "-q", "-f", "main"});
}

QList<ScriptCommit> scripted(std::initializer_list<const char *> lines)
{
    const char *authors[] = {"Ada", "bob", "Bob", "Zed", "\xc3\x89mile"};
    QList<ScriptCommit> commits;
    for (const char *line : lines) {
        const QStringList words = QString::fromLatin1(line).split(QLatin1Char(' '));
        const qsizetype length = words[0].size();
        commits << ScriptCommit {words[0],
                                 words[1],
                                 1690000000 + qint64(words[2].toDouble() * 86400),
                                 words.mid(3),
                                 QString::fromUtf8(authors[length % 5]),
                                 QStringLiteral("p%1@example.com").arg(length % 3)};
    }
    return commits;
}

QList<ScriptCommit> mergesOfMerges()
{
    return scripted({"m1 main 0", "a1 a 1 m1", "bb2 b 2 a1", "a3 a 40 a1", "aaa4 a 41 a3 bb2",
                     "m5 main 42 m1", "mmmmm6 main 43.5 m5 aaa4", "c7 c 44 m5",
                     "m8 main 90 mmmmm6 c7"});
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

QString drawnLane(const QString &hash, const QString &drawing)
{
    int lanes = 0;
    for (const QChar c : drawing)
        lanes += QStringLiteral("|*/\\").contains(c) ? 1 : 0;
    return QStringLiteral("%1 %2/%3").arg(hash).arg(drawing.indexOf(u'*') / 2).arg(lanes);
}

QStringList gitGraphLanes(const TestRepository &repository, const QStringList &options)
{
    QStringList lanes;
    const QStringList log {"log", "--graph", "--all", "--date-order", "--format=%x01%H"};
    for (const QString &line : repository.git(log + options).split(u'\n')) {
        if (const qsizetype mark = line.indexOf(QChar(1)); mark >= 0)
            lanes << drawnLane(line.mid(mark + 1), line.left(mark));
    }
    return lanes;
}
