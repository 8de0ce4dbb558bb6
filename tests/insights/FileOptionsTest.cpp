// The file options on small repositories indexed by the real synchronisation: lineage through
// renames, files absent from HEAD, generated, vendored and lock files, the language table.
#include "HistoryBuilder.h"
#include "ReferenceInsights.h"
#include "insights/FileClassifier.h"
#include "insights/RepositoryInsights.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

// A file of @p lines numbered lines, the @p edited one changed: similar enough to the other
// versions for git to see renames.
QByteArray numbered(int lines, int edited = -1, const char *tag = "x")
{
    QByteArray text;
    for (int i = 0; i < lines; ++i)
        text += "line " + QByteArray::number(i) + (i == edited ? QByteArray(" ") + tag : "") + '\n';
    return text;
}

class FileOptions : public IndexedRepositoryTest
{
protected:
    void SetUp() override { repo.setDateStep(3600); }
};

InsightOptions only(bool followRenames, bool hideDeletedFiles, bool excludeGenerated)
{
    InsightOptions options = InsightOptions::asRecorded();
    options.followRenames = followRenames;
    options.hideDeletedFiles = hideDeletedFiles;
    options.excludeGenerated = excludeGenerated;
    return options;
}

// The insights as recorded, which the queries as first written define, whatever the history
// holds: renames, deleted files, attributes, scripts.
RepositoryAnalyticsInsights recordedInsights(RepositoryIndex &index)
{
    const RepositoryAnalyticsInsights recorded = insights(index);
    EXPECT_EQ(recorded, index.read([](SQLiteDatabase &database) {
        return reference::referenceInsights(database);
    }));
    return recorded;
}

// "path:changes", then "/authors" when @p withAuthors, then " deleted" for a file HEAD lacks.
QStringList hotspotsOf(const RepositoryAnalyticsInsights &result, bool withAuthors = false)
{
    QStringList paths;
    for (const IndexedFileInsight &file : result.hotspots)
        paths.append(file.path + u':' + QString::number(file.changes)
                     + (withAuthors ? u'/' + QString::number(file.authors) : QString())
                     + (file.deleted ? " deleted" : ""));
    paths.sort();
    return paths;
}

QStringList couplingOf(const RepositoryAnalyticsInsights &result)
{
    QStringList pairs;
    for (const IndexedCoChangeInsight &pair : result.coChanges) {
        const QString first = pair.firstPath + (pair.firstDeleted ? "(deleted)" : "");
        const QString second = pair.secondPath + (pair.secondDeleted ? "(deleted)" : "");
        pairs.append(std::min(first, second) + u'+' + std::max(first, second));
    }
    pairs.sort();
    return pairs;
}

qint64 churnOf(const RepositoryAnalyticsInsights &result, const QString &technology)
{
    for (const IndexedTechnologyInsight &entry : result.technologies) {
        if (entry.name == technology)
            return entry.additions + entry.deletions;
    }
    return -1;
}

// a.c is renamed to b.c and then to c.c, each name changed once more (Ada wrote a.c, Bob b.c,
// Cyd c.c); keep.h changes in every commit.
void renamedTwice(TestRepository &repository)
{
    int round = 0;
    const auto step = [&](const QString &file, int edited, const QString &author) {
        repository.write(file, numbered(20, edited));
        repository.write("keep.h", numbered(3, round++ % 3));
        repository.commit(QStringLiteral("step %1").arg(round), author,
                          author.toLower() + QStringLiteral("@example.com"));
    };
    step("a.c", -1, "Ada");
    step("a.c", 1, "Ada");
    repository.git({"mv", "a.c", "b.c"});
    step("b.c", 2, "Bob");
    step("b.c", 3, "Bob");
    repository.git({"mv", "b.c", "c.c"});
    step("c.c", 4, "Cyd");
    step("c.c", 5, "Cyd");
}

} // namespace

TEST_F(FileOptions, RenamedTwiceThenDeleted)
{
    renamedTwice(repo);
    RepositoryIndex &before = synchronize();
    // While c.c is at HEAD, it carries all six changes and the three authors of its names.
    EXPECT_EQ(hotspotsOf(insights(before, only(true, true, false)), true),
              (QStringList {"c.c:6/3", "keep.h:6/3"}));

    repo.remove("c.c");
    repo.commit("drop c.c", "Cyd", "cyd@example.com");
    synchronize();
    const qint64 recordedChurn = churnOf(recordedInsights(*index), "C");
    ASSERT_GT(recordedChurn, 40);
    // What the options do, the options, the hotspots and the coupled pairs.
    const std::tuple<const char *, InsightOptions, QStringList, QStringList> cases[] = {
        // Nothing is marked as recorded: the file corrections alone read HEAD's files.
        {"as recorded",
         InsightOptions::asRecorded(),
         {"a.c:2/1", "b.c:2/1", "c.c:3/1", "keep.h:6/3"},
         {"a.c+keep.h", "b.c+keep.h", "c.c+keep.h"}},
        {"lineage shown",
         only(true, false, false),
         {"c.c:7/3 deleted", "keep.h:6/3"},
         {"c.c(deleted)+keep.h"}},
        {"paths shown",
         only(false, false, true),
         {"a.c:2/1 deleted", "b.c:2/1 deleted", "c.c:3/1 deleted", "keep.h:6/3"},
         {"a.c(deleted)+keep.h", "b.c(deleted)+keep.h", "c.c(deleted)+keep.h"}},
        {"lineage, deleted hidden", only(true, true, false), {"keep.h:6/3"}, {}},
        {"paths, deleted hidden", only(false, true, false), {"keep.h:6/3"}, {}},
    };
    for (const auto &[name, options, hotspots, coupling] : cases) {
        const RepositoryAnalyticsInsights result = insights(*index, options);
        EXPECT_EQ(hotspotsOf(result, true), hotspots) << name;
        EXPECT_EQ(couplingOf(result), coupling) << name;
        // A deleted file still counts in the technologies: its lines were written.
        EXPECT_EQ(churnOf(result, "C"), recordedChurn) << name;
    }
}

TEST_F(FileOptions, AttributesExcludeGeneratedVendoredAndUndiffedFiles)
{
    repo.write(".gitattributes",
                     "gen/** linguist-generated=true\nlib/** linguist-vendored\n*.dat -diff\n"
                     "src/own.c -linguist-generated\n");
    repo.write("gen/parser.c", numbered(40));
    repo.write("gen/old.c", numbered(30));
    repo.write("lib/zlib.c", numbered(50));
    repo.write("data/table.dat", numbered(60));
    repo.write("src/own.c", numbered(7));
    repo.commit("start");
    repo.remove("gen/old.c"); // flagged although HEAD no longer holds it
    repo.write("src/own.c", numbered(7, 0));
    repo.commit("more");
    synchronize();

    const RepositoryAnalyticsInsights recorded = recordedInsights(*index);
    const RepositoryAnalyticsInsights excluded = insights(*index, only(false, false, true));
    // The -diff file has no line counts (git takes it for binary); it leaves the rankings.
    const qint64 generatedLines = 40 + 30 + 50;
    EXPECT_EQ(recorded.additions - excluded.additions, generatedLines);
    EXPECT_EQ(recorded.deletions, excluded.deletions + 30);
    EXPECT_EQ(hotspotsOf(excluded), (QStringList {".gitattributes:1", "src/own.c:2"}));
    QStringList technologies;
    for (const IndexedTechnologyInsight &entry : excluded.technologies)
        technologies.append(entry.name + u':' + QString::number(entry.files));
    technologies.sort();
    EXPECT_EQ(technologies, (QStringList {"C:1", "Git Configuration:1"}));
    // The commits' own churn drops too: the largest commit is now the one of own.c's lines.
    ASSERT_FALSE(excluded.largestCommits.isEmpty());
    EXPECT_EQ(excluded.largestCommits.first().additions, 7 + 4);
}

TEST_F(FileOptions, ShebangNamesTheLanguageOfScriptsAtHead)
{
    repo.write("bin/deploy", "#!/usr/bin/env python3\nprint(1)\n");
    repo.write("bin/run", "#! /bin/sh -e\necho 1\necho 2\n");
    repo.write("bin/gone", "#!/bin/bash\n:\n:\n:\n");
    repo.write("notes", "just words\n");
    repo.commit("scripts");
    repo.remove("bin/gone");
    repo.commit("drop one");
    const RepositoryAnalyticsInsights result
        = insights(synchronize(), only(false, false, true));
    const std::pair<const char *, qint64> expected[] = {
        {"Python", 2},
        {"Shell", 3},
        // HEAD's files alone are read: a script deleted since has no first line to go by.
        {"Other", 4 + 4 + 1},
    };
    for (const auto &[technology, churn] : expected)
        EXPECT_EQ(churnOf(result, QString::fromLatin1(technology)), churn) << technology;
    EXPECT_EQ(churnOf(recordedInsights(synchronize()), "Other"), 2 + 3 + 8 + 1);
}

// The path rules that need no repository: each row a path among the paths of one history.
TEST(FileClassifier, ExcludesLockVendoredMinifiedAndBuiltFiles)
{
    const FileClassifier classifier({"configure.ac", "configure", "sub/configure", "man/tool.md",
                                     "man/tool.1", "man/tool.html", "man/other.1", "Makefile.am",
                                     "Makefile.in", "lib/Makefile.in"});
    // One of each rule: a whole name in any case and folder, a folder anywhere in the path, a
    // suffix, a copied library, a file built from a source beside it.
    const QString excluded = "package-lock.json ios/Podfile.lock Cargo.lock "
                             "src/third_party/zlib/inflate.c web/node_modules/left-pad/index.js "
                             "static/app.min.js docs/jquery-3.1.js configure Makefile.in "
                             "man/tool.1 man/tool.html";
    const QString kept = "package.json Cargo.toml src/vendored.c po/de.po src/main.c "
                         "sub/configure lib/Makefile.in man/other.1";
    for (const QString &path : excluded.split(' '))
        EXPECT_TRUE(classifier.isExcluded(path, 0)) << path.toStdString();
    for (const QString &path : kept.split(' '))
        EXPECT_FALSE(classifier.isExcluded(path, 0)) << path.toStdString();
    EXPECT_TRUE(classifier.isExcluded("src/main.c", 1));
}

TEST(FileClassifier, NamesLanguagesByNameExtensionAndInterpreter)
{
    const FileClassifier classifier({"Documentation/asciidoc.conf", "Documentation/git.txt",
                                     "Documentation/technical/api.txt", "notes/todo.txt"});
    // The path, the interpreter of its first line, the technology.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"git-svn.perl", "", "Perl"},
        {"doc/guide.adoc", "", "AsciiDoc"},
        {"Documentation/git.txt", "", "AsciiDoc"},
        {"Documentation/technical/api.txt", "", "AsciiDoc"}, // below the configured folder
        {"notes/todo.txt", "", "Text"},
        {"src/Makefile", "", "Build"},
        {"CMakeLists.txt", "", "Build"}, // the file name wins over .txt
        {"docker/Dockerfile", "", "Docker"},
        {"bin/git-extras", "bash", "Shell"},
        {"tools/release", "python", "Python"},
        {"tools/odd", "frobnicate", "Other"},
        {"tools/odd", "", "Other"},
        {"po/de.po", "", "Translations"}, // and not excluded (see above)
        {"po/git.pot", "", "Translations"},
        {"src/main.c", "perl", "C"}, // an extension is not overruled by a first line
        {"data/model.xyz", "", ".xyz"},
    };
    for (const auto &[path, interpreter, technology] : cases)
        EXPECT_EQ(classifier.technology(QString::fromLatin1(path), QString::fromLatin1(interpreter)),
                  QString::fromLatin1(technology))
            << path << " " << interpreter;
}
