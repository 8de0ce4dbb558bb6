// Loads whose git never answers: a newer open must not wait for them, and their git ends.
#include "ModelTestSupport.h"
#include "ProcessState.h"

#include "app/RepositorySession.h"

#include <QFile>

using namespace strataloom;

namespace {

QList<qint64> pidsIn(const QString &path)
{
    QFile file(path);
    QList<qint64> pids;
    if (!file.open(QIODevice::ReadOnly))
        return pids;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (!line.trimmed().isEmpty())
            pids << line.trimmed().toLongLong();
    }
    return pids;
}

} // namespace

class RepositorySessionHangingGitTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void supersededLoadsOfAHangingGitEndAndDoNotBlockTheNextOpen()
    {
        const auto hanging = projectRepository("hangs");
        const auto answering = projectRepository("answers");

        // git for the first repository never answers; for every other it is the real one.
        QTemporaryDir folder;
        const QString pids = folder.filePath(QStringLiteral("pids"));
        const QString script = folder.filePath(QStringLiteral("git"));
        QFile file(script);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\ncase \"$*\" in *\"" + hanging->path().toUtf8()
                   + "\"*)\n    echo $$ >> \"" + pids.toUtf8()
                   + "\"; exec sleep 300;;\nesac\nexec /usr/bin/git \"$@\"\n");
        file.close();
        file.setPermissions(file.permissions() | QFile::ExeOwner);
        qputenv("STRATALOOM_GIT", QFile::encodeName(script));

        RepositorySession session;
        QSignalSpy failures(&session, &RepositorySession::failed);
        // More superseded loads than the background pool has threads: none of them may keep one.
        session.openRepository(hanging->path());
        QVERIFY(QTest::qWaitFor([&] { return !pidsIn(pids).isEmpty(); }, 10000));
        for (int i = 0; i < 40; ++i)
            session.openRepository(hanging->path());
        session.openRepository(answering->path());
        const bool settled = settle(session, 30000);
        qunsetenv("STRATALOOM_GIT");
        QVERIFY(settled);

        QCOMPARE(session.repository()->path, answering->path());
        QCOMPARE(failures.count(), 0);
        const QList<qint64> started = pidsIn(pids);
        QVERIFY(!started.isEmpty());
        QVERIFY(QTest::qWaitFor(
            [&] { return std::none_of(started.begin(), started.end(), isProcessRunning); }, 5000));
    }
};

STRATALOOM_MODEL_TEST_MAIN(RepositorySessionHangingGitTest)
#include "RepositorySessionHangingGitTest.moc"
