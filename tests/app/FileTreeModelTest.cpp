// The Files tree's rows: folders opened and closed in place, the filter keeping the folders of
// what it finds and handing every match to the export, no limit on the files, a reload that
// changes only figures leaving the rows where they are, and an index that cannot be read
// saying so.

#include "app/FileTreeModel.h"
#include "ModelTestSupport.h"

#include <QAbstractItemModelTester>

using namespace strataloom;

namespace {

const QStringList fixturePaths {"README", "src/app/main.c", "src/app/view.c", "src/lib/util.c",
                                "docs/guide.md", "src/build.sh"};

// The rows in view, each name indented by its depth, '|'-separated.
QString rows(const FileTreeModel &model)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row);
        names << QString(model.data(index, FileTreeModel::DepthRole).toInt(), u' ')
                + model.data(index, FileTreeModel::NameRole).toString();
    }
    return names.join(u'|');
}

QStringList listed(const FileTreeListing &listing)
{
    QStringList paths;
    for (int row = 0; row < listing.rowCount(); ++row)
        paths << listing.data(listing.index(row), FileTreeModel::PathRole).toString();
    return paths;
}

} // namespace

class FileTreeModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void foldersOpenAndCloseInPlace()
    {
        FileTreeModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setTree(buildFileTree(fixturePaths), false);
        QCOMPARE(rows(model), "docs|src|README");

        // Each step: the path of the row to act on, open (true) or close, the rows after it.
        const std::tuple<const char *, bool, const char *> steps[] = {
            {"src", true, "docs|src| app| lib| build.sh|README"},
            {"src/app", true, "docs|src| app|  main.c|  view.c| lib| build.sh|README"},
            {"src", false, "docs|src|README"},
            // src remembers that app was open.
            {"src", true, "docs|src| app|  main.c|  view.c| lib| build.sh|README"},
            {"src/app/main.c", true, "docs|src| app|  main.c|  view.c| lib| build.sh|README"},
            {"docs", true, "docs| guide.md|src| app|  main.c|  view.c| lib| build.sh|README"},
        };
        for (const auto &[path, open, after] : steps) {
            model.setExpanded(model.rowOfPath(path), open);
            QCOMPARE(rows(model), after);
        }
        QCOMPARE(model.parentRow(model.rowOfPath("src/app/view.c")), model.rowOfPath("src/app"));
        QCOMPARE(model.parentRow(model.rowOfPath("src")), -1);
        QVERIFY(model.fileAt(model.rowOfPath("src")).isEmpty());
        QCOMPARE(model.fileAt(model.rowOfPath("src/app/main.c")).value("path"), "src/app/main.c");
        model.toggle(model.rowOfPath("docs"));
        QCOMPARE(rows(model), "docs|src| app|  main.c|  view.c| lib| build.sh|README");
    }

    void filterKeepsTheFoldersOfWhatItFinds()
    {
        FileTreeModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester listingTester(model.listing(),
                                               QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setTree(buildFileTree(fixturePaths), false);
        model.setExpanded(model.rowOfPath("docs"), true);

        // The filter, the rows in view, the files listed for the export.
        const std::tuple<const char *, const char *, const char *> cases[] = {
            {"", "docs| guide.md|src|README", "docs/guide.md|src/app/main.c|src/app/view.c|src/lib/util.c|src/build.sh|README"},
            {".C", "src| app|  main.c|  view.c| lib|  util.c", "src/app/main.c|src/app/view.c|src/lib/util.c"},
            {"src/app", "src| app|  main.c|  view.c", "src/app/main.c|src/app/view.c"},
            {"read", "README", "README"},
            {"nothing", "", ""},
        };
        for (const auto &[filter, inView, files] : cases) {
            model.setFilter(filter);
            QCOMPARE(rows(model), inView);
            QCOMPARE(listed(*model.listing()).join(u'|'), files);
            QCOMPARE(model.matchCount(), model.listing()->count());
        }

        // Closing a folder while filtering lasts until the filter changes; the folders opened
        // without a filter are open again once it is cleared.
        model.setFilter(".c");
        model.setExpanded(model.rowOfPath("src/app"), false);
        QCOMPARE(rows(model), "src| app| lib|  util.c");
        QCOMPARE(model.listing()->count(), 3);
        model.setFilter(".");
        QVERIFY(rows(model).contains("  main.c"));
        model.setFilter({});
        QCOMPARE(rows(model), "docs| guide.md|src|README");
    }

    void everyFileIsListedWithoutALimit()
    {
        QStringList paths;
        for (int file = 0; file < 6000; ++file)
            paths << QStringLiteral("dir%1/file%2.txt").arg(file / 100).arg(file % 100);
        FileTreeModel model;
        model.setTree(buildFileTree(paths), false);
        QCOMPARE(model.listing()->count(), 6000);
        model.setExpanded(model.rowOfPath("dir59"), true);
        QCOMPARE(model.count(), 160);
        QCOMPARE(model.data(model.index(159), FileTreeModel::PathRole).toString(),
                 "dir59/file99.txt");
    }

    void aReloadWithTheSameRowsKeepsThemInPlace()
    {
        FileTreeModel model;
        model.setTree(buildFileTree(fixturePaths), false);
        model.setExpanded(model.rowOfPath("src"), true);
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QSignalSpy changes(&model, &QAbstractItemModel::dataChanged);

        FileTree newer = buildFileTree(fixturePaths);
        addFileTreeChanges(newer, {{newer.find("src/build.sh"), 7, 1, 1000, 0}}, {"Ada"});
        model.setTree(newer, true);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(changes.count(), 1);
        const QModelIndex src = model.index(model.rowOfPath("src"));
        QCOMPARE(model.data(src, FileTreeModel::CommitsRole).toLongLong(), 1);
        QCOMPARE(model.data(src, FileTreeModel::LastChangeRole).toDateTime(),
                 QDateTime::fromSecsSinceEpoch(1000, Qt::UTC));
        QVERIFY(model.countsPeople());

        // A new file is a new row: the rows start afresh.
        model.setTree(buildFileTree(fixturePaths + QStringList {"src/new.c"}), false);
        QCOMPARE(resets.count(), 1);
        QVERIFY(rows(model).contains(" new.c"));
    }

    void anUnreadableIndexIsAnErrorAndNotALoadingState()
    {
        QTemporaryDir folder;
        FileTreeModel model;
        model.setSource(folder.filePath("missing/index.sqlite"), false);
        QVERIFY(model.isAvailable());
        QVERIFY(model.isLoading());
        QTRY_VERIFY(!model.isLoading());
        QVERIFY(!model.error().isEmpty());
        QVERIFY(!model.isReady());

        model.setSource({}, false);
        QVERIFY(!model.isAvailable());
        QCOMPARE(model.count(), 0);
    }
};

STRATALOOM_MODEL_TEST_MAIN(FileTreeModelTest)
#include "FileTreeModelTest.moc"
