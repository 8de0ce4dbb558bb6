// The window's CSV exports: a list model written by the same cell rules as the command line's
// --format csv, and rows picked by column from a screen's own lists.
#include "app/CsvTable.h"
#include "app/RecordModels.h"
#include "cli/CsvOutput.h"

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

const QDateTime someDate(QDate(2024, 3, 1), QTime(9, 20, 30), Qt::UTC);

BranchRecord branch(const QString &name, bool current, OptionalDate date, const QString &author)
{
    return {name, current, false, QStringLiteral("abc123"), date, author};
}

} // namespace

TEST(CsvExport, ModelReadsLikeTheCommandLine)
{
    // Names that need quoting, a formula, a line break and an absent date.
    const QList<BranchRecord> branches {
        branch(QStringLiteral("main"), true, someDate, QStringLiteral("Ada, Countess")),
        branch(QStringLiteral("=HYPERLINK(\"x\")"), false, std::nullopt, QStringLiteral("-x")),
        branch(QStringLiteral("two\nlines"), false, someDate, QStringLiteral("say \"hi\"")),
    };
    BranchListModel model;
    model.setRecords(branches);
    EXPECT_EQ(modelToCsv(model), cli::toCsv(branches));
}

TEST(CsvExport, ColumnsPickRolesOrKeysInTheirOrder)
{
    TagRecord tag {};
    tag.name = "v1.0";
    TagListModel model;
    model.setRecords({tag});
    const QVariantList rows {QVariantMap {{"path", "@sum"},
                                          {"changes", 12},
                                          {"lastChangedAt", someDate},
                                          {"binary", true},
                                          {"share", 0.25}},
                             QVariantMap {{"path", "b"}}};
    const QList<CsvColumn> columns {
        {"path", "File"}, {"changes", {}}, {"lastChangedAt", "Last, changed"}, {"binary", {}},
        {"share", {}}};
    const std::pair<QByteArray, QByteArray> cases[] = {
        {rowsToCsv(rows, columns),
         "File,changes,\"Last, changed\",binary,share\r\n"
         "'@sum,12,2024-03-01T09:20:30Z,true,0.25\r\n"
         "b,,,,\r\n"},
        // A role the model does not have is an empty column, not a shifted row.
        {modelToCsv(model, {{"missing", "Missing"}, {"name", "Tag"}}),
         "Missing,Tag\r\n,v1.0\r\n"},
        {rowsToCsv({}, columns), "File,changes,\"Last, changed\",binary,share\r\n"},
    };
    for (const auto &[got, expected] : cases)
        EXPECT_EQ(got.toStdString(), expected.toStdString());
}
