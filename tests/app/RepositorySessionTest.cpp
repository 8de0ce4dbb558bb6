// The open repository on the session alone: what one load publishes and in which order,
// newest-wins between loads and between searches, failures, checkout, the desktop hand-offs and
// loads whose git never answers.
#include "ModelTestSupport.h"

#include "app/BackgroundTasks.h"
#include "app/RepositorySession.h"
#include "ProcessState.h"

#include <QFile>

#include <QThreadPool>

using namespace strataloom;

namespace {

std::optional<BranchRecord> branchNamed(const RepositorySession &session, const QString &name)
{
    const QList<BranchRecord> branches = session.branches();
    const auto found = std::find_if(branches.cbegin(), branches.cend(),
                                    [&](const auto &branch) { return branch.name == name; });
    return found == branches.cend() ? std::nullopt : std::optional(*found);
}

QList<qint64> pidsIn(const QString &path)
{
    QFile file(path);
    QList<qint64> pids;
    for (const QByteArray &line : file.open(QIODevice::ReadOnly) ? file.readAll().split('\n')
                                                                 : QList<QByteArray>()) {
        if (!line.trimmed().isEmpty())
            pids << line.trimmed().toLongLong();
    }
    return pids;
}

} // namespace

class RepositorySessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void openPublishesEveryListInOrder()
    {
        const auto repository = projectRepository();
        RepositorySession session;
        SignalOrder order({&session});
        QStringList firedWhenPublished;
        connect(&session, &RepositorySession::published, this,
                [&] { firedWhenPublished = order.fired; });

        QVERIFY(openAndWait(session, QStringLiteral("file://") + repository->path()));

        // The activity of the last twelve months depends on today's date; leave it out.
        order.fired.removeAll("activity");
        firedWhenPublished.removeAll("activity");
        QCOMPARE(order.fired,
                 (QStringList {"isLoading", "repository", "commits", "branches", "tags", "files",
                               "authorStats", "graphCommits", "isLoading"}));
        QCOMPARE(firedWhenPublished, order.fired.mid(0, order.fired.size() - 1));
        QCOMPARE(session.repository()->path, repository->path());
        QCOMPARE(session.commits().constFirst().subject, "Fix beta bug");

        // A reload publishes again, with what changed since.
        repository->commit("Add news");
        session.refresh();
        QVERIFY(session.isLoading());
        QVERIFY(settle(session));
        QCOMPARE(session.commits().size(), 3);
    }

    void overlappingLoadsPublishOnlyTheLast_data()
    {
        QTest::addColumn<bool>("firstIsARepository");
        QTest::addColumn<bool>("firstFinishesFirst");
        QTest::newRow("two repositories") << true << false;
        // The first load's work is done and only its hand-over waits in the event queue.
        QTest::newRow("first done, hand-over pending") << true << true;
        QTest::newRow("a failing load, then a repository") << false << false;
    }

    void overlappingLoadsPublishOnlyTheLast()
    {
        QFETCH(bool, firstIsARepository);
        QFETCH(bool, firstFinishesFirst);
        const auto first = projectRepository("a");
        const auto second = projectRepository("b");
        QTemporaryDir notARepository;
        RepositorySession session;
        QStringList shown;
        connect(&session, &RepositorySession::repositoryChanged, this,
                [&] { shown << session.repository()->path; });
        QSignalSpy loading(&session, &RepositorySession::isLoadingChanged);
        QSignalSpy failed(&session, &RepositorySession::failed);
        std::optional<RepositorySummary> shownWhenLoadingEnded;
        connect(&session, &RepositorySession::isLoadingChanged, this, [&] {
            if (!session.isLoading())
                shownWhenLoadingEnded = session.repository();
        });

        session.openRepository(firstIsARepository ? first->path() : notARepository.path());
        if (firstFinishesFirst)
            QVERIFY(BackgroundTasks::pool()->waitForDone(60000));
        session.openRepository(second->path());
        QVERIFY(settle(session));

        QCOMPARE(shown, QStringList {second->path()});
        QCOMPARE(failed.count(), 0);
        QCOMPARE(loading.count(), 2);
        QCOMPARE(shownWhenLoadingEnded->path, second->path());
    }

    void failedOpenKeepsWhatWasShown()
    {
        const auto repository = projectRepository();
        QTemporaryDir notARepository;
        RepositorySession session;
        QVERIFY(openAndWait(session, repository->path()));
        const QList<CommitRecord> commits = session.commits();
        SignalOrder order({&session});
        QSignalSpy failed(&session, &RepositorySession::failed);

        QVERIFY(openAndWait(session, notARepository.path()));

        // Every loader fails on a plain folder; the summary's error is the one reported.
        QString summaryError;
        try {
            GitService().loadSummary(notARepository.path());
        } catch (const GitError &error) {
            summaryError = error.description();
        }
        QCOMPARE(failed.count(), 1);
        QCOMPARE(failed.at(0).at(0).toString(), summaryError);
        QCOMPARE(order.fired, (QStringList {"isLoading", "isLoading"}));
        QCOMPARE(session.repository()->path, repository->path());
        QCOMPARE(session.commits(), commits);
    }

    // Switches and reloads, or, with a local edit git refuses to overwrite, stays and says why.
    void checkout()
    {
        for (const bool localEdit : {false, true}) {
            const auto repository = projectRepository();
            RepositorySession session;
            QVERIFY(openAndWait(session, repository->path()));
            if (localEdit)
                repository->write("conflict.txt", "local edit\n");
            QSignalSpy failed(&session, &RepositorySession::failed);

            session.setProperty("pendingCheckoutBranch",
                                toVariantMap(*branchNamed(session, "feature")));
            session.confirmCheckout();
            QVERIFY(session.isLoading());
            QVERIFY(!session.pendingCheckoutBranch());
            QVERIFY(settle(session));

            QVERIFY(!session.isLoading());
            const QString current = repository->git({"branch", "--show-current"}).trimmed();
            QCOMPARE(current, localEdit ? "main" : "feature");
            QCOMPARE(session.repository()->currentBranch, current);
            QCOMPARE(failed.count(), localEdit ? 1 : 0);
            QCOMPARE(branchNamed(session, "feature")->isCurrent, !localEdit);
        }
    }

    void desktopHandOffsAndThePicker()
    {
        const auto repository = projectRepository();
        const auto other = projectRepository("other");
        RecordingDesktopActions desktop;
        RepositorySession session(&desktop);
        QVERIFY(openAndWait(session, repository->path()));

        session.revealInFinder();
        session.openInTerminal();
        session.openRepositoryPicker();
        QCOMPARE(desktop.calls.mid(0, 2), (QStringList {"showFolder " + repository->path(),
                                                        "openTerminal " + repository->path()}));
        // Nothing happens until the user answers.
        QVERIFY(!session.isLoading());
        desktop.pendingChoice(other->path());
        QVERIFY(session.isLoading());
        QVERIFY(settle(session));
        QCOMPARE(session.repository()->path, other->path());
    }

    // Loads whose git never answers: a newer open must not wait for them, and their git ends.
    void supersededLoadsOfAHangingGitEndAndDoNotBlockTheNextOpen()
    {
        const auto hanging = projectRepository("hangs");
        const auto answering = projectRepository("answers");

        // git for the first repository never answers; for every other it is the real one.
        QTemporaryDir folder;
        const QString pids = folder.filePath("pids"), script = folder.filePath("git");
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

STRATALOOM_MODEL_TEST_MAIN(RepositorySessionTest)
#include "RepositorySessionTest.moc"
