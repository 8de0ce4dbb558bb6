// The open repository on the session alone: what one load publishes and in which order,
// newest-wins between loads and between searches, failures, checkout and the desktop hand-offs.
#include "ModelTestSupport.h"

#include "app/RepositorySession.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace strataloom;

namespace {

std::optional<BranchRecord> branchNamed(const RepositorySession &session, const QString &name)
{
    for (const BranchRecord &branch : session.branches()) {
        if (branch.name == name)
            return branch;
    }
    return std::nullopt;
}

} // namespace

class RepositorySessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void openPublishesEveryListInOrder();
    void overlappingLoadsPublishOnlyTheLast_data();
    void overlappingLoadsPublishOnlyTheLast();
    void failedOpenKeepsWhatWasShown();
    void overlappingSearchesPublishOnlyTheLast_data();
    void overlappingSearchesPublishOnlyTheLast();
    void checkout_data();
    void checkout();
    void desktopHandOffsAndThePicker();
    void withoutRepositoryNothingStarts();
};

void RepositorySessionTest::openPublishesEveryListInOrder()
{
    const auto repository = projectRepository();
    RepositorySession session;
    SignalOrder order({&session});
    QStringList firedWhenPublished;
    connect(&session, &RepositorySession::published, this,
            [&] { firedWhenPublished = order.fired; });

    QVERIFY(openAndWait(session, QStringLiteral("file://") + repository->path()));

    // The activity of the last twelve months depends on today's date; leave it out.
    order.fired.removeAll(QStringLiteral("activity"));
    firedWhenPublished.removeAll(QStringLiteral("activity"));
    QCOMPARE(order.fired,
             (QStringList {"isLoading", "repository", "commits", "branches", "tags", "files",
                           "authorStats", "graphCommits", "isLoading"}));
    QCOMPARE(firedWhenPublished, order.fired.mid(0, order.fired.size() - 1));
    QCOMPARE(session.repository()->path, repository->path());
    QCOMPARE(session.property("repository").toMap().value(QStringLiteral("commitCount")),
             QVariant(2));
    QCOMPARE(session.commits().constFirst().subject, QStringLiteral("Fix beta bug"));
    QCOMPARE(session.commitsModel()->count(), 2);
    QCOMPARE(session.branches().size(), 2);
    QCOMPARE(session.tags().size(), 1);
    QCOMPARE(session.authorStats().size(), 2);
    QVERIFY(!session.graphCommits().isEmpty());

    // A reload publishes again, with what changed since.
    repository->write(QStringLiteral("NEWS"), "news\n");
    repository->commit(QStringLiteral("Add news"));
    session.refresh();
    QVERIFY(session.isLoading());
    QVERIFY(settle(session));
    QCOMPARE(session.commits().size(), 3);
}

void RepositorySessionTest::overlappingLoadsPublishOnlyTheLast_data()
{
    QTest::addColumn<bool>("firstIsARepository");
    QTest::newRow("two repositories") << true;
    QTest::newRow("a failing load, then a repository") << false;
}

void RepositorySessionTest::overlappingLoadsPublishOnlyTheLast()
{
    QFETCH(bool, firstIsARepository);
    const auto first = projectRepository("a");
    const auto second = projectRepository("b");
    QTemporaryDir notARepository;
    RepositorySession session;
    QSignalSpy published(&session, &RepositorySession::repositoryChanged);
    QSignalSpy loading(&session, &RepositorySession::isLoadingChanged);
    QSignalSpy failed(&session, &RepositorySession::failed);
    std::optional<RepositorySummary> shownWhenLoadingEnded;
    connect(&session, &RepositorySession::isLoadingChanged, this, [&] {
        if (!session.isLoading())
            shownWhenLoadingEnded = session.repository();
    });

    session.openRepository(firstIsARepository ? first->path() : notARepository.path());
    session.openRepository(second->path());
    QVERIFY(settle(session));

    QCOMPARE(published.count(), 1);
    QCOMPARE(failed.count(), 0);
    QCOMPARE(loading.count(), 2);
    QCOMPARE(shownWhenLoadingEnded->path, second->path());
    QCOMPARE(session.repository()->path, second->path());
}

void RepositorySessionTest::failedOpenKeepsWhatWasShown()
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

void RepositorySessionTest::overlappingSearchesPublishOnlyTheLast_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<int>("failures");
    QTest::addColumn<QString>("found");
    QTest::newRow("two searches") << "alpha"
                                  << "beta" << 0 << "Fix beta bug";
    // An unmatched bracket is an invalid pattern for git's --grep.
    QTest::newRow("superseded error") << "["
                                      << "beta" << 0 << "Fix beta bug";
    QTest::newRow("last one fails") << "beta"
                                    << "[" << 1 << "";
}

void RepositorySessionTest::overlappingSearchesPublishOnlyTheLast()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(int, failures);
    QFETCH(QString, found);
    const auto repository = projectRepository();
    RepositorySession session;
    QVERIFY(openAndWait(session, repository->path()));
    QSignalSpy published(&session, &RepositorySession::searchResultsChanged);
    QSignalSpy failed(&session, &RepositorySession::failed);

    session.setProperty("searchText", first);
    session.performSearch();
    session.setProperty("searchText", second);
    session.performSearch();
    QVERIFY(settle(session));

    QCOMPARE(failed.count(), failures);
    QCOMPARE(published.count(), found.isEmpty() ? 0 : 1);
    QStringList subjects;
    for (const CommitRecord &commit : session.searchResults())
        subjects << commit.subject;
    QCOMPARE(subjects.join(QLatin1Char(',')), found);
}

void RepositorySessionTest::checkout_data()
{
    QTest::addColumn<bool>("localEdit");
    QTest::newRow("switches and reloads") << false;
    QTest::newRow("refused by git") << true;
}

void RepositorySessionTest::checkout()
{
    QFETCH(bool, localEdit);
    const auto repository = projectRepository();
    RepositorySession session;
    QVERIFY(openAndWait(session, repository->path()));
    if (localEdit)
        repository->write(QStringLiteral("conflict.txt"), "local edit\n");
    const std::optional<BranchRecord> feature = branchNamed(session, QStringLiteral("feature"));
    QVERIFY(feature);
    QSignalSpy failed(&session, &RepositorySession::failed);

    session.setProperty("pendingCheckoutBranch", toVariantMap(*feature));
    QCOMPARE(session.pendingCheckoutBranch(), feature);
    session.confirmCheckout();
    QVERIFY(session.isLoading());
    QVERIFY(!session.pendingCheckoutBranch());
    QVERIFY(settle(session));

    QVERIFY(!session.isLoading());
    const QString current
        = repository->git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed();
    QCOMPARE(session.repository()->currentBranch, current);
    if (localEdit) {
        QCOMPARE(current, QStringLiteral("main"));
        QCOMPARE(failed.count(), 1);
        QVERIFY2(failed.at(0).at(0).toString().contains(QStringLiteral("overwritten by checkout")),
                 qPrintable(failed.at(0).at(0).toString()));
    } else {
        QCOMPARE(current, QStringLiteral("feature"));
        QCOMPARE(failed.count(), 0);
        QCOMPARE(session.commits().constFirst().subject,
                 QStringLiteral("Change conflict on feature"));
        QVERIFY(branchNamed(session, QStringLiteral("feature"))->isCurrent);
    }
}

void RepositorySessionTest::desktopHandOffsAndThePicker()
{
    const auto repository = projectRepository();
    FixtureRepository other;
    other.write(QStringLiteral("x"), "x\n");
    other.commit(QStringLiteral("Other"));
    RecordingDesktopActions desktop;
    RepositorySession session(&desktop);
    QVERIFY(openAndWait(session, repository->path()));

    session.revealInFinder();
    session.openInTerminal();
    session.openRepositoryPicker();
    QCOMPARE(desktop.calls,
             (QStringList {QStringLiteral("showFolder ") + repository->path(),
                           QStringLiteral("openTerminal ") + repository->path(),
                           QStringLiteral("chooseFolder Open Repository")}));
    // Nothing happens until the user answers.
    QVERIFY(!session.isLoading());
    desktop.pendingChoice(other.path());
    QVERIFY(session.isLoading());
    QVERIFY(settle(session));
    QCOMPARE(session.repository()->path, other.path());
}

void RepositorySessionTest::withoutRepositoryNothingStarts()
{
    RecordingDesktopActions desktop;
    RepositorySession session(&desktop);
    QSignalSpy loading(&session, &RepositorySession::isLoadingChanged);
    QSignalSpy failed(&session, &RepositorySession::failed);

    session.refresh();
    session.revealInFinder();
    session.openInTerminal();
    session.setSearchText(QStringLiteral("x"));
    session.performSearch();
    session.confirmCheckout();
    session.setPendingCheckoutBranch(
        BranchRecord {QStringLiteral("main"), false, false, {}, {}, {}});
    session.confirmCheckout();

    QVERIFY(session.pendingCheckoutBranch());
    QCOMPARE(session.runningTaskCount(), 0);
    QCOMPARE(loading.count(), 0);
    QCOMPARE(failed.count(), 0);
    QVERIFY(desktop.calls.isEmpty());
}

STRATALOOM_MODEL_TEST_MAIN(RepositorySessionTest)
#include "RepositorySessionTest.moc"
