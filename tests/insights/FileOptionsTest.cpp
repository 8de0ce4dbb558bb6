// The file options on small repositories indexed by the real synchronisation: lineage through
// renames, files absent from HEAD, generated, vendored and lock files, the language table.
#include "ReferenceInsights.h"
#include "TestRepository.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "insights/FileClassifier.h"
#include "insights/RepositoryInsights.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <algorithm>
#include <memory>

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

class IndexedRepository
{
public:
    TestRepository repository;

    IndexedRepository() { repository.setDateStep(3600); }

    RepositoryIndex &synchronized()
    {
        if (!m_index)
            m_index = std::make_unique<RepositoryIndex>(m_dir.filePath(QStringLiteral("i.sqlite")));
        RepositoryIndexer(*m_index).synchronize(repository.path());
        return *m_index;
    }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<RepositoryIndex> m_index;
};

InsightOptions only(bool followRenames, bool hideDeletedFiles, bool excludeGenerated)
{
    InsightOptions options = InsightOptions::asRecorded();
    options.followRenames = followRenames;
    options.hideDeletedFiles = hideDeletedFiles;
    options.excludeGenerated = excludeGenerated;
    return options;
}

QStringList hotspotsOf(const RepositoryAnalyticsInsights &result)
{
    QStringList paths;
    for (const IndexedFileInsight &file : result.hotspots)
        paths.append(file.path + u':' + QString::number(file.changes));
    paths.sort();
    return paths;
}

QStringList couplingOf(const RepositoryAnalyticsInsights &result)
{
    QStringList pairs;
    for (const IndexedCoChangeInsight &pair : result.coChanges)
        pairs.append(std::min(pair.firstPath, pair.secondPath) + u'+'
                     + std::max(pair.firstPath, pair.secondPath));
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

// a.c is renamed to b.c and then to c.c, each name changed once more, and finally deleted;
// keep.h changes in every commit.
void renamedTwiceThenDeleted(TestRepository &repository)
{
    int round = 0;
    const auto step = [&](const QString &file, int edited) {
        repository.write(file, numbered(20, edited));
        repository.write(QStringLiteral("keep.h"), numbered(3, round++ % 3));
        repository.commit(QStringLiteral("step %1").arg(round));
    };
    step(QStringLiteral("a.c"), -1);
    step(QStringLiteral("a.c"), 1);
    repository.git({QStringLiteral("mv"), QStringLiteral("a.c"), QStringLiteral("b.c")});
    step(QStringLiteral("b.c"), 2);
    step(QStringLiteral("b.c"), 3);
    repository.git({QStringLiteral("mv"), QStringLiteral("b.c"), QStringLiteral("c.c")});
    step(QStringLiteral("c.c"), 4);
    step(QStringLiteral("c.c"), 5);
}

} // namespace

TEST(FileOptions, RenamedTwiceThenDeleted)
{
    IndexedRepository fixture;
    renamedTwiceThenDeleted(fixture.repository);
    RepositoryIndex &before = fixture.synchronized();
    // While c.c is at HEAD, it carries all six changes of its three names.
    EXPECT_EQ(hotspotsOf(insights(before, only(true, true, false))),
              (QStringList {"c.c:6", "keep.h:6"}));

    fixture.repository.remove(QStringLiteral("c.c"));
    fixture.repository.commit(QStringLiteral("drop c.c"));
    RepositoryIndex &index = fixture.synchronized();
    const qint64 recordedChurn = churnOf(insights(index), QStringLiteral("C"));
    ASSERT_GT(recordedChurn, 40);
    const struct
    {
        const char *name;
        InsightOptions options;
        QStringList hotspots;
        QStringList coupling;
    } cases[] = {
        {"as recorded",
         InsightOptions::asRecorded(),
         {"a.c:2", "b.c:2", "c.c:3", "keep.h:6"},
         {"a.c+keep.h", "b.c+keep.h", "c.c+keep.h"}},
        {"lineage shown", only(true, false, false), {"c.c:7", "keep.h:6"}, {"c.c+keep.h"}},
        {"lineage, deleted hidden", only(true, true, false), {"keep.h:6"}, {}},
        {"paths, deleted hidden", only(false, true, false), {"keep.h:6"}, {}},
    };
    for (const auto &row : cases) {
        const RepositoryAnalyticsInsights result = insights(index, row.options);
        EXPECT_EQ(hotspotsOf(result), row.hotspots) << row.name;
        EXPECT_EQ(couplingOf(result), row.coupling) << row.name;
        // A deleted file still counts in the technologies: its lines were written.
        EXPECT_EQ(churnOf(result, QStringLiteral("C")), recordedChurn) << row.name;
    }
}

TEST(FileOptions, AttributesExcludeGeneratedVendoredAndUndiffedFiles)
{
    IndexedRepository fixture;
    TestRepository &repository = fixture.repository;
    repository.write(QStringLiteral(".gitattributes"),
                     "gen/** linguist-generated=true\nlib/** linguist-vendored\n*.dat -diff\n"
                     "src/own.c -linguist-generated\n");
    repository.write(QStringLiteral("gen/parser.c"), numbered(40));
    repository.write(QStringLiteral("gen/old.c"), numbered(30));
    repository.write(QStringLiteral("lib/zlib.c"), numbered(50));
    repository.write(QStringLiteral("data/table.dat"), numbered(60));
    repository.write(QStringLiteral("src/own.c"), numbered(7));
    repository.commit(QStringLiteral("start"));
    repository.remove(QStringLiteral("gen/old.c")); // flagged although HEAD no longer holds it
    repository.write(QStringLiteral("src/own.c"), numbered(7, 0));
    repository.commit(QStringLiteral("more"));
    RepositoryIndex &index = fixture.synchronized();

    const RepositoryAnalyticsInsights recorded = insights(index);
    const RepositoryAnalyticsInsights excluded = insights(index, only(false, false, true));
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

TEST(FileOptions, ShebangNamesTheLanguageOfScriptsAtHead)
{
    IndexedRepository fixture;
    TestRepository &repository = fixture.repository;
    repository.write(QStringLiteral("bin/deploy"), "#!/usr/bin/env python3\nprint(1)\n");
    repository.write(QStringLiteral("bin/run"), "#! /bin/sh -e\necho 1\necho 2\n");
    repository.write(QStringLiteral("bin/gone"), "#!/bin/bash\n:\n:\n:\n");
    repository.write(QStringLiteral("notes"), "just words\n");
    repository.commit(QStringLiteral("scripts"));
    repository.remove(QStringLiteral("bin/gone"));
    repository.commit(QStringLiteral("drop one"));
    const RepositoryAnalyticsInsights result
        = insights(fixture.synchronized(), only(false, false, true));
    const struct
    {
        const char *technology;
        qint64 churn;
    } expected[] = {
        {"Python", 2},
        {"Shell", 3},
        // HEAD's files alone are read: a script deleted since has no first line to go by.
        {"Other", 4 + 4 + 1},
    };
    for (const auto &row : expected)
        EXPECT_EQ(churnOf(result, QString::fromLatin1(row.technology)), row.churn)
            << row.technology;
    EXPECT_EQ(churnOf(insights(fixture.synchronized()), QStringLiteral("Other")), 2 + 3 + 8 + 1);
}

TEST(FileOptions, AsRecordedIsWhatTheQueriesRecord)
{
    // Renames, a deleted file, attributes, a lock file and a script: none of it may change a
    // figure read as recorded, which the queries as first written define.
    IndexedRepository fixture;
    TestRepository &repository = fixture.repository;
    renamedTwiceThenDeleted(repository);
    repository.write(QStringLiteral(".gitattributes"), "gen/* linguist-generated\n");
    repository.write(QStringLiteral("gen/out.c"), numbered(9));
    repository.write(QStringLiteral("Cargo.lock"), numbered(8));
    repository.write(QStringLiteral("run"), "#!/bin/sh\n:\n");
    repository.commit(QStringLiteral("more kinds"));
    repository.remove(QStringLiteral("c.c"));
    repository.commit(QStringLiteral("drop c.c"));
    RepositoryIndex &index = fixture.synchronized();

    const RepositoryAnalyticsInsights recorded = insights(index);
    EXPECT_EQ(recorded, insights(index, InsightOptions::asRecorded()));
    EXPECT_EQ(recorded, index.read([](SQLiteDatabase &database) {
        return reference::referenceInsights(database);
    }));
    EXPECT_NE(recorded.hotspots, insights(index, InsightOptions()).hotspots);
}

// The path rules that need no repository: each row a path among the paths of one history.
TEST(FileClassifier, ExcludesLockVendoredMinifiedAndBuiltFiles)
{
    const FileClassifier classifier({"configure.ac", "configure", "sub/configure", "man/tool.md",
                                     "man/tool.1", "man/tool.html", "man/other.1", "Makefile.am",
                                     "Makefile.in", "lib/Makefile.in"});
    const struct
    {
        const char *path;
        bool excluded;
    } cases[] = {
        {"package-lock.json", true},
        {"web/yarn.lock", true},
        {"pnpm-lock.yaml", true},
        {"Cargo.lock", true},
        {"go.sum", true},
        {"poetry.lock", true},
        {"Gemfile.lock", true},
        {"composer.lock", true},
        {"Pipfile.lock", true},
        {"ios/Podfile.lock", true},
        {"mix.lock", true},
        {"pubspec.lock", true},
        {"flake.lock", true},
        {"npm-shrinkwrap.json", true},
        {"Package.resolved", true},
        {"vendor/github.com/x/y.go", true},
        {"src/third_party/zlib/inflate.c", true},
        {"web/node_modules/left-pad/index.js", true},
        {"autom4te.cache/output.0", true},
        {"static/app.min.js", true},
        {"static/site.min.css", true},
        {"docs/jquery-3.1.js", true},
        {"configure", true}, // beside configure.ac
        {"Makefile.in", true}, // beside Makefile.am
        {"man/tool.1", true}, // rendered from man/tool.md
        {"man/tool.html", true},
        {"config.guess", true},
        {"package.json", false},
        {"Cargo.toml", false},
        {"sub/configure", false}, // no configure.ac beside it
        {"lib/Makefile.in", false},
        {"man/other.1", false}, // no source beside it
        {"src/vendored.c", false},
        {"po/de.po", false},
        {"src/main.c", false},
    };
    for (const auto &row : cases) {
        EXPECT_EQ(classifier.isExcluded(QString::fromLatin1(row.path), 0), row.excluded)
            << row.path;
    }
    EXPECT_TRUE(classifier.isExcluded(QStringLiteral("src/main.c"), 1));
}

TEST(FileClassifier, NamesLanguagesByNameExtensionAndInterpreter)
{
    const FileClassifier classifier({"Documentation/asciidoc.conf", "Documentation/git.txt",
                                     "Documentation/technical/api.txt", "notes/todo.txt"});
    const struct
    {
        const char *path;
        const char *interpreter;
        const char *technology;
    } cases[] = {
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
    for (const auto &row : cases) {
        EXPECT_EQ(classifier.technology(QString::fromLatin1(row.path),
                                        QString::fromLatin1(row.interpreter)),
                  QString::fromLatin1(row.technology))
            << row.path << " " << row.interpreter;
    }
}
