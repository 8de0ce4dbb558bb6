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

QString readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

/// Quoted names on the lines of QML that assign a symbol (`symbol: "tag"`,
/// `symbol: clean ? "checkmark.circle" : "exclamationmark.triangle"`, `{ symbol: "tag" }`).
QSet<QString> symbolsInQml(const QString &text)
{
    static const QRegularExpression assignment(
        QStringLiteral(R"((?:\bsymbol|\bsymbolName|\biconName)\s*:\s*([^\n,;}]*))"));
    static const QRegularExpression quoted(QStringLiteral(R"("([a-z][a-z0-9.]*)\")"));
    QSet<QString> names;
    auto assignments = assignment.globalMatch(text);
    while (assignments.hasNext()) {
        const QString rest = assignments.next().captured(1);
        auto strings = quoted.globalMatch(rest);
        while (strings.hasNext())
            names.insert(strings.next().captured(1));
    }
    return names;
}

/// The first argument of every observation(...) and milestone(...) of the insights.
QSet<QString> symbolsInPresentation(const QString &text)
{
    static const QRegularExpression call(
        QStringLiteral(R"(\b(?:observation|milestone)\(\s*"([A-Za-z0-9.]+)\")"));
    QSet<QString> names;
    auto calls = call.globalMatch(text);
    while (calls.hasNext())
        names.insert(calls.next().captured(1));
    return names;
}

QStringList sorted(const QSet<QString> &names)
{
    QStringList list(names.cbegin(), names.cend());
    list.sort();
    return list;
}

} // namespace

class IconCoverageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void extractorsFindSymbolsInEveryForm()
    {
        const QString qml = QStringLiteral(
            "SymbolIcon { symbol: \"tag\" }\n"
            "SymbolLabel { symbol: clean ? \"checkmark.circle\" : \"exclamationmark.triangle\"; "
            "text: \"Clean\" }\n"
            "readonly property var sections: [ { symbol: \"rectangle.grid.2x2\" } ]\n"
            "Label { text: \"not.a.symbol\" }\n");
        QCOMPARE(sorted(symbolsInQml(qml)),
                 (QStringList {"checkmark.circle", "exclamationmark.triangle", "rectangle.grid.2x2",
                               "tag"}));
        const QString cpp = QStringLiteral(
            "result.append(observation(\"flame.fill\", colors::orange, \"Primary hotspot\"));\n"
            "milestone(\n    \"tag.fill\", colors::purple, tag.name);\n");
        QCOMPARE(sorted(symbolsInPresentation(cpp)), (QStringList {"flame.fill", "tag.fill"}));
    }

    void everySymbolUsedInTheSourcesIsMapped()
    {
        const QString source = QStringLiteral(STRATALOOM_SOURCE_DIR);
        QSet<QString> used;
        int qmlFiles = 0;
        QDirIterator files(source + QStringLiteral("/src/ui"), {QStringLiteral("*.qml")},
                           QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            used.unite(symbolsInQml(readFile(files.next())));
            ++qmlFiles;
        }
        const QString presentation
            = readFile(source + QStringLiteral("/src/insights/InsightPresentation.cpp"));
        QVERIFY2(!presentation.isEmpty(), "the insights' presentation source is readable");
        const QSet<QString> insightSymbols = symbolsInPresentation(presentation);
        QVERIFY2(insightSymbols.size() >= 10, "the observations and milestones were found");
        used.unite(insightSymbols);

        // The sidebar's and the repository bar's symbols prove that the scan saw the window.
        QVERIFY(qmlFiles > 10);
        for (const char *name : {"timeline.selection", "sparkles", "cylinder.split.1x2.fill",
                                 "ellipsis.circle", "externaldrive.badge.magnifyingglass"})
            QVERIFY2(used.contains(QString::fromLatin1(name)), name);

        QCOMPARE(IconTable::unmappedSymbols(sorted(used)), QStringList());
    }
};

QTEST_GUILESS_MAIN(IconCoverageTest)
#include "IconCoverageTest.moc"
