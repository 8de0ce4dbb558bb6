// A filtered list grouped by one role: each group once, in the order of its values, each in the
// list's order, also while the filter or the list changes.

#include "app/RecordModels.h"
#include "ui/screens/RecordFilterModel.h"

#include <QAbstractItemModelTester>
#include <QTest>

using namespace strataloom;

class RecordFilterModelTest : public QObject
{
    Q_OBJECT

private:
    static QStringList names(const RecordFilterModel &model)
    {
        QStringList result;
        for (int row = 0; row < model.count(); ++row)
            result << model.get(row).value(QStringLiteral("name")).toString();
        return result;
    }

private Q_SLOTS:
    void groupsKeepTheListsOrderInside()
    {
        const auto branch = [](const char *name, bool remote) {
            BranchRecord record;
            record.name = QString::fromLatin1(name);
            record.isRemote = remote;
            return record;
        };
        BranchListModel branches;
        branches.setRecords({branch("origin/todo", true), branch("origin/seen", true),
                             branch("main", false), branch("origin/main", true),
                             branch("topic", false)});
        RecordFilterModel grouped;
        QAbstractItemModelTester tester(&grouped,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        grouped.setSourceModel(&branches);
        QCOMPARE(names(grouped), QStringList({"origin/todo", "origin/seen", "main", "origin/main",
                                              "topic"}));

        grouped.setGroupRole(QStringLiteral("isRemote"));
        grouped.setFilterRoles({QStringLiteral("name")});
        const std::pair<QString, QStringList> cases[] = {
            {"", {"main", "topic", "origin/todo", "origin/seen", "origin/main"}},
            {"main", {"main", "origin/main"}},
            {"o", {"topic", "origin/todo", "origin/seen", "origin/main"}}};
        for (const auto &[filter, expected] : cases) {
            grouped.setFilterText(filter);
            QCOMPARE(names(grouped), expected);
        }

        // A new list (a refresh) is grouped as it arrives.
        grouped.setFilterText({});
        branches.setRecords({branch("origin/next", true), branch("work", false)});
        QCOMPARE(names(grouped), QStringList({"work", "origin/next"}));
    }
};

QTEST_GUILESS_MAIN(RecordFilterModelTest)
#include "RecordFilterModelTest.moc"
