// Selection, search, checkout and the desktop hand-offs of the model.
#include "ModelTestSupport.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

using namespace strataloom;

namespace {

/**
 * main: "Add alpha feature" (Ada), "Remove old docs" (Ada), "Fix beta bug" (Grace);
 * branch feature: one more commit changing conflict.txt.
 */
std::unique_ptr<FixtureRepository> projectRepository()
{
    auto repository = std::make_unique<FixtureRepository>();
    repository->write(QStringLiteral("src/main.cpp"), "int main() {}\n");
    repository->write(QStringLiteral("conflict.txt"), "main\n");
    repository->write(QStringLiteral("docs/old.md"), "old\n");
    repository->commit(QStringLiteral("Add alpha feature"));
    repository->remove(QStringLiteral("docs/old.md"));
    repository->commit(QStringLiteral("Remove old docs"));
    repository->write(QStringLiteral("src/main.cpp"), "int main() { return 0; }\n");
    repository->commit(QStringLiteral("Fix beta bug"), QStringLiteral("Grace Hopper"),
                       QStringLiteral("grace@example.com"));
    repository->git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                     QStringLiteral("feature")});
    repository->write(QStringLiteral("conflict.txt"), "feature\n");
    repository->commit(QStringLiteral("Change conflict on feature"));
    repository->git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
    return repository;
}

int rowOfBranch(const AppViewModel &model, const QString &name)
{
    for (int row = 0; row < model.branches().size(); ++row) {
        if (model.branches().at(row).name == name)
            return row;
    }
    return -1;
}

} // namespace

class AppViewModelActionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void selectingACommitLoadsItsChanges();
    void presentingADiffShowsTheSheetOrTheError();
    void selectingAFileOrAnAuthorLoadsTheDetails();
    void insightAuthorMustMatchLetterCase();
    void insightFileThatWasDeletedShowsItsMessage();
    void twoQuickSearchesPublishOnlyTheSecond();
    void aSupersededSearchErrorIsDropped();
    void refusedCheckoutShowsGitsMessageAndChangesNothing();
    void checkoutSwitchesAndReloads();
    void confirmCheckoutWithNothingPendingDoesNothing();
    void desktopHandOffsNameTheRepositoryFolders();
    void pickedFolderIsOpened();
    void operationsWithoutRepositoryOnlyDoTheirImmediateWrites();

private:
    std::unique_ptr<FixtureRepository> m_repository;
    std::unique_ptr<ModelHarness> m_harness;
};

void AppViewModelActionsTest::init()
{
    m_repository = projectRepository();
    m_harness = std::make_unique<ModelHarness>();
    const QString test = QString::fromLatin1(QTest::currentTestFunction());
    if (test != QLatin1String("operationsWithoutRepositoryOnlyDoTheirImmediateWrites")) {
        QVERIFY(openAndWait(m_harness->model(), m_repository->path()));
        // The index task as well, so that every task counted later is the test's own.
        QVERIFY(settle(m_harness->model()));
    }
}

void AppViewModelActionsTest::cleanup()
{
    m_harness.reset();
    m_repository.reset();
}

void AppViewModelActionsTest::selectingACommitLoadsItsChanges()
{
    AppViewModel &model = m_harness->model();
    const CommitRecord first = model.commits().constLast();
    QCOMPARE(first.subject, QStringLiteral("Add alpha feature"));

    model.selectCommit(model.commitsModel()->get(model.commits().size() - 1));
    QCOMPARE(model.selectedCommit(), std::optional(first));
    QVERIFY(model.commitChanges().isEmpty());
    QVERIFY(settle(model));

    QCOMPARE(model.commitChanges(), GitService().loadCommitChanges(m_repository->path(), first.id));
    QCOMPARE(model.commitChanges().size(), 3);
    QCOMPARE(model.commitChangesModel()->count(), 3);

    // A new selection clears the old changes at once.
    model.selectCommit(model.commits().constFirst());
    QVERIFY(model.commitChanges().isEmpty());
    QVERIFY(settle(model));
    QCOMPARE(model.commitChanges().size(), 1);
}

void AppViewModelActionsTest::presentingADiffShowsTheSheetOrTheError()
{
    AppViewModel &model = m_harness->model();
    const CommitRecord newest = model.commits().constFirst();

    model.presentDiff(model.commitsModel()->get(0));
    QVERIFY(settle(model));

    QVERIFY(model.isDiffPresented());
    QVERIFY(model.presentedDiff().contains(QStringLiteral("+int main() { return 0; }")));
    QCOMPARE(model.selectedCommit(), std::optional(newest));
    QVERIFY(!model.errorMessage());

    model.setProperty("isDiffPresented", false);
    CommitRecord missing = newest;
    missing.id = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    model.presentDiff(missing);
    QVERIFY(settle(model));
    QVERIFY(!model.isDiffPresented());
    QVERIFY(model.errorMessage());
    QVERIFY(!model.errorMessage()->isEmpty());
}

void AppViewModelActionsTest::selectingAFileOrAnAuthorLoadsTheDetails()
{
    AppViewModel &model = m_harness->model();
    int mainRow = -1;
    for (int i = 0; i < model.files().size(); ++i) {
        if (model.files().at(i).path == QLatin1String("src/main.cpp"))
            mainRow = i;
    }
    QVERIFY(mainRow >= 0);

    model.selectFile(model.filesModel()->get(mainRow));
    QCOMPARE(model.selectedFile(), std::optional(model.files().at(mainRow)));
    QVERIFY(!model.selectedFileDetails());
    QVERIFY(settle(model));
    QVERIFY(model.selectedFileDetails());
    QCOMPARE(model.selectedFileDetails()->commitCount, 2);
    QCOMPARE(model.property("selectedFileDetails").toMap().value(QStringLiteral("commitCount")),
             QVariant(2));

    model.selectAuthor(model.authorStatsModel()->get(0));
    QCOMPARE(model.selectedAuthor(), std::optional(model.authorStats().constFirst()));
    QVERIFY(settle(model));
    QVERIFY(model.selectedAuthorDetails());
    QCOMPARE(model.selectedAuthorDetails(),
             std::optional(GitService().loadAuthorDetails(m_repository->path(),
                                                          QStringLiteral("Ada Lovelace"))));
    // Both stay selected: the inspector shows what was selected last of each kind.
    QVERIFY(model.selectedFileDetails());
}

void AppViewModelActionsTest::insightAuthorMustMatchLetterCase()
{
    AppViewModel &model = m_harness->model();
    QSignalSpy section(&model, &AppViewModel::selectedSectionChanged);

    model.openInsightAuthor(QStringLiteral("ada lovelace"));

    QCOMPARE(model.errorMessage(),
             std::optional(QStringLiteral(
                 "Author details are not available in the current repository view.")));
    QCOMPARE(section.count(), 0);
    QVERIFY(!model.selectedAuthor());
    QCOMPARE(model.runningTaskCount(), 0);

    model.setErrorMessage(std::nullopt);
    model.openInsightAuthor(QStringLiteral("Grace Hopper"));
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Statistics);
    QCOMPARE(model.selectedAuthor()->name, QStringLiteral("Grace Hopper"));
    QVERIFY(settle(model));
    QCOMPARE(model.selectedAuthorDetails()->commits, 1);
    QVERIFY(!model.errorMessage());
}

void AppViewModelActionsTest::insightFileThatWasDeletedShowsItsMessage()
{
    AppViewModel &model = m_harness->model();

    model.openInsightFile(QStringLiteral("docs/old.md"));

    QCOMPARE(model.errorMessage(),
             std::optional(
                 QStringLiteral("The file is no longer present in the current working tree.")));
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Overview);
    QVERIFY(!model.selectedFile());

    model.setErrorMessage(std::nullopt);
    model.openInsightFile(QStringLiteral("conflict.txt"));
    QCOMPARE(model.selectedSection(), AppViewModel::SidebarSection::Files);
    QCOMPARE(model.selectedFile()->path, QStringLiteral("conflict.txt"));
    QVERIFY(settle(model));
    QCOMPARE(model.selectedFileDetails()->path, QStringLiteral("conflict.txt"));
}

void AppViewModelActionsTest::twoQuickSearchesPublishOnlyTheSecond()
{
    AppViewModel &model = m_harness->model();
    const QList<CommitRecord> alpha
        = GitService().searchCommits(m_repository->path(), QStringLiteral("alpha"));
    const QList<CommitRecord> beta
        = GitService().searchCommits(m_repository->path(), QStringLiteral("beta"));
    QCOMPARE(alpha.size(), 1);
    QCOMPARE(beta.size(), 1);
    QSignalSpy published(&model, &AppViewModel::searchResultsChanged);

    model.setProperty("searchText", QStringLiteral("alpha"));
    model.performSearch();
    model.setProperty("searchText", QStringLiteral("beta"));
    model.performSearch();
    QVERIFY(settle(model));

    QCOMPARE(published.count(), 1);
    QCOMPARE(model.searchResults(), beta);
    QCOMPARE(model.searchResultsModel()->count(), 1);

    // The results stay until the next search's arrive.
    model.setSearchText(QStringLiteral("alpha"));
    model.performSearch();
    QCOMPARE(model.searchResults(), beta);
    QVERIFY(settle(model));
    QCOMPARE(model.searchResults(), alpha);
}

void AppViewModelActionsTest::aSupersededSearchErrorIsDropped()
{
    AppViewModel &model = m_harness->model();

    // An unmatched bracket is an invalid pattern for git's --grep.
    model.setSearchText(QStringLiteral("["));
    model.performSearch();
    QVERIFY(settle(model));
    QVERIFY(model.errorMessage());
    model.setErrorMessage(std::nullopt);

    model.performSearch();
    model.setSearchText(QStringLiteral("beta"));
    model.performSearch();
    QVERIFY(settle(model));
    QVERIFY(!model.errorMessage());
    QCOMPARE(model.searchResults().size(), 1);
}

void AppViewModelActionsTest::refusedCheckoutShowsGitsMessageAndChangesNothing()
{
    AppViewModel &model = m_harness->model();
    m_repository->write(QStringLiteral("conflict.txt"), "local edit\n");
    const QList<BranchRecord> branches = model.branches();
    const int feature = rowOfBranch(model, QStringLiteral("feature"));
    QVERIFY(feature >= 0);
    QSignalSpy branchesChanged(&model, &AppViewModel::branchesChanged);

    model.setProperty("pendingCheckoutBranch", model.branchesModel()->get(feature));
    QCOMPARE(model.pendingCheckoutBranch(), std::optional(branches.at(feature)));
    model.confirmCheckout();
    QVERIFY(model.isLoading());
    QVERIFY(!model.pendingCheckoutBranch());
    QVERIFY(settle(model));

    QVERIFY(!model.isLoading());
    QVERIFY(!model.pendingCheckoutBranch());
    QVERIFY(model.errorMessage());
    QVERIFY2(model.errorMessage()->contains(QStringLiteral("would be overwritten by checkout")),
             qPrintable(*model.errorMessage()));
    QCOMPARE(model.branches(), branches);
    QCOMPARE(branchesChanged.count(), 0);
    QCOMPARE(
        m_repository->git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed(),
        QStringLiteral("main"));
}

void AppViewModelActionsTest::checkoutSwitchesAndReloads()
{
    AppViewModel &model = m_harness->model();
    QCOMPARE(model.repository()->currentBranch, QStringLiteral("main"));
    model.setPendingCheckoutBranch(
        model.branches().at(rowOfBranch(model, QStringLiteral("feature"))));

    model.confirmCheckout();
    QVERIFY(settle(model));

    QVERIFY(!model.errorMessage());
    QVERIFY(!model.isLoading());
    QCOMPARE(model.repository()->currentBranch, QStringLiteral("feature"));
    QCOMPARE(model.commits().constFirst().subject, QStringLiteral("Change conflict on feature"));
    QVERIFY(model.branches().at(rowOfBranch(model, QStringLiteral("feature"))).isCurrent);
}

void AppViewModelActionsTest::confirmCheckoutWithNothingPendingDoesNothing()
{
    AppViewModel &model = m_harness->model();
    QSignalSpy loading(&model, &AppViewModel::isLoadingChanged);
    QSignalSpy errors(&model, &AppViewModel::errorMessageChanged);

    model.confirmCheckout();

    QCOMPARE(loading.count(), 0);
    QCOMPARE(errors.count(), 0);
    QCOMPARE(model.runningTaskCount(), 0);
}

void AppViewModelActionsTest::desktopHandOffsNameTheRepositoryFolders()
{
    AppViewModel &model = m_harness->model();
    RecordingDesktopActions &desktop = m_harness->desktop();
    const QString root = m_repository->path();

    model.openFile(FileRecord {QStringLiteral("src/main.cpp"), {}, {}, {}});
    model.revealInFinder();
    model.openInTerminal();

    QCOMPARE(desktop.calls,
             (QStringList {QStringLiteral("openFile ") + root + QStringLiteral("/src/main.cpp"),
                           QStringLiteral("showFolder ") + root,
                           QStringLiteral("openTerminal ") + root}));
}

void AppViewModelActionsTest::pickedFolderIsOpened()
{
    AppViewModel &model = m_harness->model();
    RecordingDesktopActions &desktop = m_harness->desktop();
    FixtureRepository other;
    other.write(QStringLiteral("x"), "x\n");
    other.commit(QStringLiteral("Other"));

    model.openRepositoryPicker();
    QCOMPARE(desktop.calls, QStringList {QStringLiteral("chooseFolder Open Repository")});
    QVERIFY(desktop.pendingChoice);
    // Nothing happens until the user answers.
    QVERIFY(!model.isLoading());

    desktop.pendingChoice(other.path());
    QVERIFY(model.isLoading());
    QVERIFY(settle(model));
    QCOMPARE(model.repository()->path, other.path());
}

void AppViewModelActionsTest::operationsWithoutRepositoryOnlyDoTheirImmediateWrites()
{
    AppViewModel &model = m_harness->model();
    QVERIFY(!model.repository());
    const CommitRecord commit {QStringLiteral("abc"),
                               QStringLiteral("abc"),
                               QStringLiteral("A"),
                               QStringLiteral("a@example.com"),
                               QDateTime(),
                               QStringLiteral("s"),
                               {},
                               1,
                               2,
                               3};
    const FileRecord file {QStringLiteral("a.txt"), {}, {}, {}};
    const AuthorStat author {QStringLiteral("A"), 1};
    QSignalSpy loading(&model, &AppViewModel::isLoadingChanged);
    QSignalSpy errors(&model, &AppViewModel::errorMessageChanged);

    model.selectCommit(commit);
    model.selectFile(file);
    model.selectAuthor(author);
    model.presentDiff(commit);
    model.openFile(file);
    model.revealInFinder();
    model.openInTerminal();
    model.setSearchText(QStringLiteral("x"));
    model.performSearch();
    model.setPendingCheckoutBranch(BranchRecord {QStringLiteral("main"), false, false, {}, {}, {}});
    model.confirmCheckout();

    QCOMPARE(model.selectedCommit(), std::optional(commit));
    QCOMPARE(model.selectedFile(), std::optional(file));
    QCOMPARE(model.selectedAuthor(), std::optional(author));
    QVERIFY(!model.isDiffPresented());
    QVERIFY(model.pendingCheckoutBranch());
    QCOMPARE(model.runningTaskCount(), 0);
    QCOMPARE(loading.count(), 0);
    QCOMPARE(errors.count(), 0);
    QVERIFY(m_harness->desktop().calls.isEmpty());
}

STRATALOOM_MODEL_TEST_MAIN(AppViewModelActionsTest)
#include "AppViewModelActionsTest.moc"
