// The selection over an open session: details loaded for each kind of row, failures that end
// the wait, choosing a row again, and what happens without a repository.
#include "ModelTestSupport.h"

#include "app/RepositorySelection.h"
#include "app/RepositorySession.h"

#include <QSignalSpy>
#include <QTest>

using namespace strataloom;

namespace {

/// A session on the project repository and a selection over it.
struct Room
{
    std::unique_ptr<FixtureRepository> repository = projectRepository();
    RecordingDesktopActions desktop;
    RepositorySession session;
    RepositorySelection selection {session, &desktop};

    bool open() { return openAndWait(session, repository->path()); }
    /// Git refuses every read from now on.
    void breakRepository() const { repository->write(QStringLiteral(".git/HEAD"), "garbage\n"); }
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

} // namespace

Q_DECLARE_METATYPE(Choice)

class RepositorySelectionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void choosingARowLoadsItsDetails();
    void failedDetailsEndTheWait_data();
    void failedDetailsEndTheWait();
    void choosingTheSameRowAgainSignals();
    void withoutRepositoryOnlyTheImmediateWrites();
};

void RepositorySelectionTest::choosingARowLoadsItsDetails()
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
    QCOMPARE(selection.commitChangesModel()->count(), 3);
    // A new selection clears the old changes at once.
    selection.selectCommit(room.session.commits().constFirst());
    QVERIFY(selection.commitChanges().isEmpty());

    selection.selectFile(toVariantMap(room.file(QStringLiteral("src/main.cpp"))));
    QVERIFY(!selection.selectedFileDetails());
    selection.selectAuthor(room.session.authorStatsModel()->get(0));
    selection.presentDiff(room.session.commitsModel()->get(0));
    QVERIFY(settle(selection));

    QCOMPARE(selection.commitChanges().size(), 1);
    QCOMPARE(selection.property("selectedFileDetails").toMap().value("commitCount"), QVariant(2));
    QCOMPARE(selection.selectedAuthorDetails(),
             std::optional(GitService().loadAuthorDetails(room.repository->path(),
                                                          QStringLiteral("Ada Lovelace"))));
    QVERIFY(selection.isDiffPresented());
    QVERIFY(selection.presentedDiff().contains(QStringLiteral("+int main() { return 0; }")));
    QCOMPARE(selection.selectedCommit(), std::optional(room.session.commits().constFirst()));

    room.selection.openFile(room.file(QStringLiteral("src/main.cpp")));
    QCOMPARE(room.desktop.calls,
             QStringList {QStringLiteral("openFile ") + room.repository->path()
                          + QStringLiteral("/src/main.cpp")});
}

void RepositorySelectionTest::failedDetailsEndTheWait_data()
{
    QTest::addColumn<Choice>("choose");
    QTest::addColumn<QString>("errorProperty");
    QTest::newRow("file") << Choice([](Room &room) {
        room.selection.selectFile(room.file(QStringLiteral("conflict.txt")));
    }) << "fileDetailsError";
    QTest::newRow("author") << Choice([](Room &room) {
        room.selection.selectAuthor(room.session.authorStats().constFirst());
    }) << "authorDetailsError";
    QTest::newRow("commit changes") << Choice([](Room &room) {
        room.selection.selectCommit(room.session.commits().constFirst());
    }) << QString();
    QTest::newRow("diff") << Choice([](Room &room) {
        room.selection.presentDiff(room.session.commits().constFirst());
    }) << QString();
}

void RepositorySelectionTest::failedDetailsEndTheWait()
{
    QFETCH(Choice, choose);
    QFETCH(QString, errorProperty);
    Room room;
    QVERIFY(room.open());
    room.breakRepository();
    QSignalSpy failed(&room.selection, &RepositorySelection::failed);

    choose(room);
    if (!errorProperty.isEmpty())
        QCOMPARE(room.selection.property(qPrintable(errorProperty)).toString(), QString());
    QVERIFY(settle(room.selection));

    QCOMPARE(failed.count(), 1);
    const QString message = failed.at(0).at(0).toString();
    QVERIFY(!message.isEmpty());
    if (!errorProperty.isEmpty())
        QCOMPARE(room.selection.property(qPrintable(errorProperty)).toString(), message);
    QVERIFY(!room.selection.isDiffPresented());
    QVERIFY(room.selection.commitChanges().isEmpty());

    // Choosing again starts over: the old failure is gone while the new read runs.
    choose(room);
    if (!errorProperty.isEmpty())
        QCOMPARE(room.selection.property(qPrintable(errorProperty)).toString(), QString());
}

void RepositorySelectionTest::choosingTheSameRowAgainSignals()
{
    Room room;
    QVERIFY(room.open());
    RepositorySelection &selection = room.selection;
    const FileRecord file = room.file(QStringLiteral("conflict.txt"));
    const AuthorStat author = room.session.authorStats().constFirst();
    const CommitRecord commit = room.session.commits().constLast();
    selection.selectFile(file);
    selection.selectAuthor(author);
    selection.selectCommit(commit);
    QSignalSpy files(&selection, &RepositorySelection::selectedFileChanged);
    QSignalSpy authors(&selection, &RepositorySelection::selectedAuthorChanged);
    QSignalSpy commits(&selection, &RepositorySelection::selectedCommitChanged);

    selection.selectFile(file);
    selection.selectAuthor(author);
    selection.selectCommit(commit);

    QCOMPARE(files.count(), 1);
    QCOMPARE(authors.count(), 1);
    QCOMPARE(commits.count(), 1);
    QVERIFY(settle(selection));
}

void RepositorySelectionTest::withoutRepositoryOnlyTheImmediateWrites()
{
    RecordingDesktopActions desktop;
    RepositorySession session;
    RepositorySelection selection(session, &desktop);
    CommitRecord commit;
    commit.id = QStringLiteral("abc");
    const FileRecord file {QStringLiteral("a.txt"), {}, {}, {}};
    const AuthorStat author {QStringLiteral("A"), 1};
    QSignalSpy failed(&selection, &RepositorySelection::failed);

    selection.selectCommit(commit);
    selection.selectFile(file);
    selection.selectAuthor(author);
    selection.presentDiff(commit);
    selection.openFile(file);

    QCOMPARE(selection.selectedCommit(), std::optional(commit));
    QCOMPARE(selection.selectedFile(), std::optional(file));
    QCOMPARE(selection.selectedAuthor(), std::optional(author));
    QVERIFY(!selection.isDiffPresented());
    QCOMPARE(selection.runningTaskCount(), 0);
    QCOMPARE(failed.count(), 0);
    QVERIFY(desktop.calls.isEmpty());
}

STRATALOOM_MODEL_TEST_MAIN(RepositorySelectionTest)
#include "RepositorySelectionTest.moc"
