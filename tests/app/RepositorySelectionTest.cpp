// The selection over an open session: details loaded for each kind of row, failures that end
// the wait, choosing a row again, and what happens without a repository.
#include "ModelTestSupport.h"

#include "app/RepositorySelection.h"
#include "app/RepositorySession.h"

using namespace strataloom;

namespace {

/// A session on the project repository and a selection over it.
struct Room
{
    std::unique_ptr<FixtureRepository> repository = projectRepository();
    RecordingDesktopActions desktop;
    RepositorySession session {&desktop};
    RepositorySelection selection {session, &desktop};

    bool open() { return openAndWait(session, repository->path()); }
    FileRecord file(const QString &path) const
    {
        for (const FileRecord &file : session.files()) {
            if (file.path == path)
                return file;
        }
        return {};
    }
};

/// Chooses one kind of row in the room.
using Choice = std::function<void(Room &)>;

/// a.c, written by Ada, is renamed to b.c (Bob), then to c.c (Cyd), and deleted by Cyd; keep.h
/// changes beside it each time but the last. 20 numbered lines, one edited: git sees renames.
void renameTwiceThenDelete(TestRepository &repository)
{
    int round = 0;
    for (const char *step : {"a.c Ada", "a.c Ada", "b.c Bob", "b.c Bob", "c.c Cyd", "c.c Cyd"}) {
        const QStringList fileAndAuthor = QString::fromLatin1(step).split(' ');
        const QString &file = fileAndAuthor[0], &author = fileAndAuthor[1];
        if (round == 2 || round == 4)
            repository.git({"mv", round == 2 ? "a.c" : "b.c", file});
        QByteArray text;
        for (int line = 0; line < 20; ++line)
            text += "line " + QByteArray::number(line) + (line == round ? " edited\n" : "\n");
        repository.write(file, text);
        repository.write("keep.h", "round " + QByteArray::number(round++) + "\n");
        repository.commit(file, author, author + "@example.com");
    }
    repository.remove("c.c");
    repository.commit("drop c.c", "Cyd", "Cyd@example.com");
}

QStringList idsOf(HistoryListModel &history)
{
    while (history.canFetchMore({}))
        history.fetchMore({});
    QStringList ids;
    for (int row = 0; row < history.rowCount(); ++row)
        ids << history.get(row).value(QStringLiteral("id")).toString();
    return ids;
}

} // namespace

class RepositorySelectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void choosingARowLoadsItsDetails()
    {
        Room room;
        QVERIFY(room.open());
        RepositorySelection &selection = room.selection;
        const CommitRecord first = room.session.commits().constLast();

        selection.selectCommit(room.session.commitsModel()->get(1));
        QCOMPARE(selection.selectedCommit(), std::optional(first));
        QVERIFY(settle(selection));
        QCOMPARE(selection.commitChanges(),
                 GitService().loadCommitChanges(room.repository->path(), first.id));
        // A new selection clears the old changes at once.
        selection.selectCommit(room.session.commits().constFirst());
        QVERIFY(selection.commitChanges().isEmpty());

        selection.selectFile(toVariantMap(room.file("src/main.cpp")));
        QVERIFY(!selection.selectedFileDetails());
        selection.selectAuthor(room.session.authorStatsModel()->get(0));
        selection.presentDiff(room.session.commitsModel()->get(0));
        QVERIFY(settle(selection));

        QCOMPARE(selection.commitChanges().size(), 1);
        QCOMPARE(selection.selectedFileDetails()->commitCount, 2);
        QCOMPARE(
            selection.selectedAuthorDetails(),
            std::optional(GitService().loadAuthorDetails(room.repository->path(), "Ada Lovelace")));
        QVERIFY(selection.isDiffPresented());
        QVERIFY(selection.presentedDiff().contains("+int main() { return 0; }"));
        QCOMPARE(selection.selectedCommit(), std::optional(room.session.commits().constFirst()));

        room.selection.openFile(room.file("src/main.cpp"));
        QCOMPARE(room.desktop.calls,
                 QStringList {"openFile " + room.repository->path() + "/src/main.cpp"});
    }

    void failedDetailsEndTheWait()
    {
        // How to choose the row, and the property that holds its failure (none for a commit's).
        const std::pair<Choice, QString> choices[] = {
            {[](Room &room) { room.selection.selectFile(room.file("conflict.txt")); },
             "fileDetailsError"},
            {[](Room &r) { r.selection.selectAuthor(r.session.authorStats().constFirst()); },
             "authorDetailsError"},
            {[](Room &r) { r.selection.selectCommit(r.session.commits().constFirst()); }, {}},
            {[](Room &r) { r.selection.presentDiff(r.session.commits().constFirst()); }, {}},
        };
        for (const auto &[choose, errorProperty] : choices) {
            Room room;
            QVERIFY(room.open());
            // Git refuses every read from now on.
            room.repository->write(".git/HEAD", "garbage\n");
            QSignalSpy failed(&room.selection, &RepositorySelection::failed);
            const auto error = [&room, property = errorProperty] {
                return room.selection.property(qPrintable(property)).toString();
            };

            choose(room);
            QVERIFY(settle(room.selection));

            QCOMPARE(failed.count(), 1);
            const QString message = failed.at(0).at(0).toString();
            QVERIFY(!message.isEmpty());
            if (!errorProperty.isEmpty())
                QCOMPARE(error(), message);
            QVERIFY(!room.selection.isDiffPresented());
            QVERIFY(room.selection.commitChanges().isEmpty());

            // Choosing again starts over: the old failure is gone while the new read runs.
            choose(room);
            QCOMPARE(error(), QString());
        }
    }

    void choosingTheSameRowAgainSignals()
    {
        Room room;
        QVERIFY(room.open());
        RepositorySelection &selection = room.selection;
        const auto chooseAll = [&] {
            selection.selectFile(room.file("conflict.txt"));
            selection.selectAuthor(room.session.authorStats().constFirst());
            selection.selectCommit(room.session.commits().constLast());
        };
        chooseAll();
        SignalOrder order({&selection});

        chooseAll();

        for (const char *property : {"selectedFile", "selectedAuthor", "selectedCommit"})
            QCOMPARE(order.fired.count(QLatin1String(property)), 1);
        QVERIFY(settle(selection));
    }

    // Once the index is ready a file's details and commits follow it through its renames (the
    // insights name it by its last path), and an author's details, commits and files come from
    // it, with the person's other names unless identities are read as recorded; git's details
    // stand in before. Files are counted by the path each commit changed: Bob worked on b.c.
    void fileAndAuthorHistoriesComeFromTheIndex()
    {
        FixtureRepository repository;
        renameTwiceThenDelete(repository);
        // Robert is Bob only through the mailmap; nothing of his name or address holds "Bob".
        repository.write(".mailmap", "Bob <Bob@example.com> Robert <robert@example.org>\n");
        repository.write("keep.h", "by Robert\n");
        repository.commit("by Robert", "Robert", "robert@example.org");
        ModelHarness harness;
        QVERIFY(openAndSettle(harness.model(), repository.path()));
        QVERIFY(harness.analytics().analyticsIndexState().isReady());
        RepositorySelection &selection = harness.selection();
        const auto gitLog = [&repository](const QStringList &arguments) {
            return repository.git(QStringList {"log", "--all", "--format=%H"} + arguments)
                .split('\n', Qt::SkipEmptyParts);
        };
        const auto useIndex = [&](bool ready) {
            selection.setIndexDatabase(ready ? harness.analytics().databasePath() : QString());
        };

        const struct
        {
            const char *path;
            bool indexReady;
            QString status;
            QStringList commits; ///< of the list, newest first; unused from git
            QStringList authors;
            QString lastAuthor;
        } files[] = {
            {"c.c", true, "deleted", gitLog({"--", "a.c", "b.c", "c.c"}), {"Ada", "Bob", "Cyd"},
             "Cyd"},
            // A file's authors are the names its commits record: Robert's own.
            {"keep.h", true, "tracked", gitLog({"--", "keep.h"}), {"Ada", "Bob", "Cyd", "Robert"},
             "Robert"},
            {"keep.h", false, "tracked", {}, {"Ada", "Bob", "Cyd", "Robert"}, "Robert"},
        };
        for (const auto &test : files) {
            useIndex(test.indexReady);
            harness.model().setSelectedSection(AppViewModel::SidebarSection::Insights);
            harness.model().openInsightFile(test.path);
            QVERIFY(settle(harness.model()));
            QCOMPARE(harness.model().errorMessage(), std::nullopt);
            QCOMPARE(harness.model().selectedSection(), AppViewModel::SidebarSection::Files);
            QCOMPARE(selection.selectedFile()->status, test.status);
            const std::optional<FileDetails> &details = selection.selectedFileDetails();
            QVERIFY2(details, test.path);
            QCOMPARE(details->authors, test.authors);
            QCOMPARE(details->lastAuthor, test.lastAuthor);
            QCOMPARE(selection.fileHistory()->isAvailable(), test.indexReady);
            if (!test.indexReady) {
                QCOMPARE(*details, GitService().loadFileDetails(repository.path(), test.path));
                continue;
            }
            QCOMPARE(idsOf(*selection.fileHistory()), test.commits);
            QCOMPARE(details->commitCount, test.commits.size());
            QCOMPARE(details->sizeBytes > 0, test.status != "deleted");
        }

        const struct
        {
            const char *author;
            bool indexReady;
            bool merges;
            QStringList commits; ///< newest first
            QList<AuthorFileChanges> files;
        } authors[] = {
            {"Bob", true, true, gitLog({"--use-mailmap", "--author=Bob"}),
             {{"keep.h", 3}, {"b.c", 2}, {".mailmap", 1}}},
            {"Bob", true, false, gitLog({"--no-mailmap", "--author=Bob"}),
             {{"b.c", 2}, {"keep.h", 2}}},
            {"Cyd", true, true, gitLog({"--no-mailmap", "--author=Cyd"}),
             {{"c.c", 3}, {"keep.h", 2}}},
            {"Bob", false, true, gitLog({"--use-mailmap", "--author=Bob"}), {}},
        };
        for (const auto &test : authors) {
            useIndex(test.indexReady);
            selection.setMergesIdentities(test.merges);
            selection.selectAuthor(AuthorStat {test.author, 0});
            QVERIFY(settle(harness.model()));
            QCOMPARE(harness.model().errorMessage(), std::nullopt);
            const std::optional<AuthorDetails> &details = selection.selectedAuthorDetails();
            QVERIFY2(details, test.author);
            QCOMPARE(details->commits, test.commits.size());
            QCOMPARE(selection.authorFiles(), test.files);
            QCOMPARE(selection.authorHistory()->isAvailable(), test.indexReady);
            if (!test.indexReady) {
                QCOMPARE(*details, GitService().loadAuthorDetails(repository.path(), test.author));
                continue;
            }
            QCOMPARE(idsOf(*selection.authorHistory()), test.commits);
        }

        // Reading identities as recorded again reads the author again.
        useIndex(true);
        selection.setMergesIdentities(true);
        selection.selectAuthor(AuthorStat {"Bob", 0});
        QVERIFY(settle(harness.model()));
        selection.setMergesIdentities(false);
        QVERIFY(settle(harness.model()));
        const qsizetype recorded = gitLog({"--no-mailmap", "--author=Bob"}).size();
        QCOMPARE(selection.selectedAuthorDetails()->commits, recorded);
        QCOMPARE(selection.authorHistory()->total(), recorded);
    }

    void withoutRepositoryNothingStarts()
    {
        RecordingDesktopActions desktop;
        RepositorySession session(&desktop);
        RepositorySelection selection(session, &desktop);
        CommitRecord commit;
        commit.id = "abc";
        const FileRecord file {"a.txt", {}, {}, {}};
        QSignalSpy loading(&session, &RepositorySession::isLoadingChanged);
        QSignalSpy failed(&session, &RepositorySession::failed);
        QSignalSpy failedDetails(&selection, &RepositorySelection::failed);

        session.refresh();
        session.revealInFinder();
        session.openInTerminal();
        session.setSearchText("x");
        session.performSearch();
        session.setPendingCheckoutBranch(BranchRecord {"main", false, false, {}, {}, {}});
        session.confirmCheckout();
        selection.selectCommit(commit);
        selection.selectFile(file);
        selection.selectAuthor(AuthorStat {"A", 1});
        selection.presentDiff(commit);
        selection.openFile(file);

        // Nothing runs, fails or reaches the desktop; the checkout still waits for a repository.
        QVERIFY(session.pendingCheckoutBranch());
        QVERIFY(!selection.isDiffPresented());
        QCOMPARE(session.runningTaskCount() + selection.runningTaskCount(), 0);
        QCOMPARE(loading.count() + failed.count() + failedDetails.count(), 0);
        QVERIFY(desktop.calls.isEmpty());
    }
};

STRATALOOM_MODEL_TEST_MAIN(RepositorySelectionTest)
#include "RepositorySelectionTest.moc"
