#include "ModelTestSupport.h"

#include "TestGit.h"
#include "git/GitProcess.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMetaMethod>
#include <QMetaProperty>

using namespace strataloom;

namespace {

QString runGit(const QString &directory, const QStringList &arguments, const QString &date)
{
    const ProcessResult result
        = runProcess(QStringLiteral("/usr/bin/git"), testGitArguments(directory, arguments),
                     testGitEnvironment(date));
    if (result.exitStatus != 0)
        qFatal("git %s failed: %s", qPrintable(arguments.join(QLatin1Char(' '))),
               result.standardError.constData());
    return QString::fromUtf8(result.standardOutput);
}

} // namespace

FixtureRepository::FixtureRepository(bool bare)
    : m_dir(std::make_unique<QTemporaryDir>(QDir::tempPath()
                                            + QStringLiteral("/strataloom-repo-XXXXXX")))
    , m_path(QFileInfo(m_dir->path()).canonicalFilePath())
{
    QStringList init {QStringLiteral("init"), QStringLiteral("-q")};
    if (bare)
        init << QStringLiteral("--bare");
    git(init);
}

void FixtureRepository::write(const QString &relative, const QByteArray &content) const
{
    const QString target = QDir(m_path).filePath(relative);
    QDir().mkpath(QFileInfo(target).absolutePath());
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(target));
    file.write(content);
}

void FixtureRepository::remove(const QString &relative) const
{
    QFile::remove(QDir(m_path).filePath(relative));
}

QString FixtureRepository::commit(const QString &message, const QString &author,
                                  const QString &email, const QString &fixedDate)
{
    // One hour apart from 2024-01-01T10:00:00Z, so that order by date is order of creation.
    const QString stepped = QDateTime(QDate(2024, 1, 1), QTime(10, 0), Qt::UTC)
                                .addSecs(3600 * m_commits++)
                                .toString(Qt::ISODate);
    const QString date = fixedDate.isEmpty() ? stepped : fixedDate;
    runGit(m_path, {QStringLiteral("add"), QStringLiteral("-A")}, date);
    runGit(m_path,
           {QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("--allow-empty"),
            QStringLiteral("--no-verify"), QStringLiteral("-m"), message,
            QStringLiteral("--author=%1 <%2>").arg(author, email)},
           date);
    return git({QStringLiteral("rev-parse"), QStringLiteral("HEAD")}).trimmed();
}

void FixtureRepository::importHistory(int count)
{
    QByteArray stream;
    const qint64 start = 1600000000;
    for (int i = 1; i <= count; ++i) {
        const QByteArray who = "Author " + QByteArray::number(i % 7) + " <author"
            + QByteArray::number(i % 7) + "@example.com> "
            + QByteArray::number(start + qint64(i) * 3600) + " +0000\n";
        const QByteArray message = "Change " + QByteArray::number(i) + "\n";
        const QByteArray content = "line " + QByteArray::number(i) + "\n";
        stream += "commit refs/heads/main\nmark :" + QByteArray::number(i) + "\n";
        stream += "author " + who + "committer " + who;
        stream += "data " + QByteArray::number(message.size()) + "\n" + message;
        if (i > 1)
            stream += "from :" + QByteArray::number(i - 1) + "\n";
        stream += "M 100644 inline src/file" + QByteArray::number(i % 40) + ".txt\n";
        stream += "data " + QByteArray::number(content.size()) + "\n" + content + "\n";
    }
    ProcessOptions options;
    options.input = stream;
    const ProcessResult result = runProcess(
        QStringLiteral("/usr/bin/git"),
        {QStringLiteral("-C"), m_path, QStringLiteral("fast-import"), QStringLiteral("--quiet")},
        options);
    if (result.exitStatus != 0)
        qFatal("git fast-import failed: %s", result.standardError.constData());
    git({QStringLiteral("reset"), QStringLiteral("-q"), QStringLiteral("--hard"),
         QStringLiteral("main")});
}

QString FixtureRepository::git(const QStringList &arguments) const
{
    return runGit(m_path, arguments, QStringLiteral("2024-01-01T10:00:00Z"));
}

ModelHarness::ModelHarness(const QString &home)
    : m_home(home.isEmpty() ? m_emptyHome.path() : home)
{
    restart();
}

ModelHarness::~ModelHarness()
{
    // Let stale work finish while its receiver still exists, so that nothing of this test
    // runs on into the next one.
    settle(*m_model);
    m_testers.clear();
}

void ModelHarness::restart()
{
    if (m_model)
        settle(*m_model);
    m_testers.clear();
    m_model = std::make_unique<AppViewModel>(recentStore(), discoveredStore(),
                                             RepositoryScanner(m_home), &m_desktop);
    for (QObject *room : std::initializer_list<QObject *> {
             m_model->session(), m_model->selection(), m_model->catalog(), m_model->analytics()}) {
        const QMetaObject *meta = room->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            if (auto *list = qvariant_cast<RecordListModel *>(meta->property(i).read(room)))
                m_testers.push_back(std::make_unique<QAbstractItemModelTester>(
                    list, QAbstractItemModelTester::FailureReportingMode::QtTest));
        }
    }
}

bool openAndWait(RepositorySession &session, const QString &path)
{
    session.openRepository(path);
    return QTest::qWaitFor([&] { return !session.isLoading(); }, 60000);
}

SignalOrder::SignalOrder(const QList<QObject *> &objects)
{
    const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("record()"));
    for (QObject *object : objects) {
        const QMetaObject *meta = object->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            const QMetaProperty property = meta->property(i);
            if (!property.hasNotifySignal())
                continue;
            m_names.insert({object, property.notifySignalIndex()},
                           QString::fromLatin1(property.name()));
            connect(object, property.notifySignal(), this, slot);
        }
    }
}

std::unique_ptr<FixtureRepository> projectRepository(const QByteArray &marker)
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write(QStringLiteral("src/main.cpp"), "int main() {}\n");
    repository->write(QStringLiteral("conflict.txt"), "main " + marker + "\n");
    repository->write(QStringLiteral("docs/old.md"), "old\n");
    repository->commit(QStringLiteral("Add alpha feature"));
    repository->write(QStringLiteral("src/main.cpp"), "int main() { return 0; }\n");
    repository->commit(QStringLiteral("Fix beta bug"), QStringLiteral("Grace Hopper"),
                       QStringLiteral("grace@example.com"));
    repository->git({QStringLiteral("tag"), QStringLiteral("v1.0")});
    repository->git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                     QStringLiteral("feature")});
    repository->write(QStringLiteral("conflict.txt"), "feature\n");
    repository->commit(QStringLiteral("Change conflict on feature"));
    repository->git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
    return repository;
}
