// Every symbol that a screen or the insights name must have a glyph in the icon table. The
// sources are read at test time, so a new screen with a new symbol fails here until the table
// maps it.
#include "ui/style/IconTable.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace strataloom;

namespace {

/// The first capture of every match of @p pattern in the file at @p path.
QSet<QString> capturedIn(const QString &path, const QRegularExpression &pattern)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QSet<QString> names;
    auto matches = pattern.globalMatch(QString::fromUtf8(file.readAll()));
    while (matches.hasNext())
        names.insert(matches.next().captured(1));
    return names;
}

} // namespace

class IconCoverageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everySymbolUsedInTheSourcesIsMapped()
    {
        // Quoted names on the lines of QML that assign a symbol (`symbol: "tag"`,
        // `symbol: clean ? "checkmark.circle" : "exclamationmark.triangle"`, `{ symbol: "tag" }`).
        static const QRegularExpression assignment(
            QStringLiteral(R"((?:\bsymbol|\bsymbolName|\biconName)\s*:\s*([^\n,;}]*))"));
        static const QRegularExpression quoted(QStringLiteral(R"("([a-z][a-z0-9.]*)\")"));
        const QString source = QStringLiteral(STRATALOOM_SOURCE_DIR);
        QSet<QString> used;
        QDirIterator files(source + QStringLiteral("/src/ui"), {QStringLiteral("*.qml")},
                           QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            for (const QString &assigned : capturedIn(files.next(), assignment)) {
                auto strings = quoted.globalMatch(assigned);
                while (strings.hasNext())
                    used.insert(strings.next().captured(1));
            }
        }
        // The first argument of every observation(...) and milestone(...) of the insights.
        const QSet<QString> insightSymbols
            = capturedIn(source + QStringLiteral("/src/insights/InsightPresentation.cpp"),
                         QRegularExpression(QStringLiteral(
                             R"(\b(?:observation|milestone)\(\s*"([A-Za-z0-9.]+)\")")));
        QVERIFY2(insightSymbols.size() >= 10, "the observations and milestones were found");
        used.unite(insightSymbols);

        // The sidebar's and the repository bar's symbols prove that the scan saw the window.
        for (const char *name : {"timeline.selection", "sparkles", "cylinder.split.1x2.fill",
                                 "ellipsis.circle", "externaldrive.badge.magnifyingglass"})
            QVERIFY2(used.contains(QString::fromLatin1(name)), name);

        QStringList sorted(used.cbegin(), used.cend());
        sorted.sort();
        QCOMPARE(IconTable::unmappedSymbols(sorted), QStringList());
    }
};

QTEST_GUILESS_MAIN(IconCoverageTest)
#include "IconCoverageTest.moc"
