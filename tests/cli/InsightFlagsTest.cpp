// The corrections of `insights` and `report` on the command line: every flag turns off its own
// correction, --as-recorded all of them, and the figures as recorded are exactly those of the
// insights computed without options.
#include "CliRun.h"
#include "TestRepository.h"
#include "cli/IndexCommands.h"
#include "cli/InsightJson.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "insights/RepositoryInsights.h"

#include <QTemporaryDir>

using namespace strataloom;

TEST(InsightFlags, EachFlagTurnsOffItsOwnCorrection)
{
    struct Case
    {
        QStringList flags;
        bool InsightOptions::*off; // the one correction turned off; null for none or all
    };
    const Case cases[] = {
        {{}, nullptr},
        {{"--no-identities"}, &InsightOptions::mergeIdentities},
        {{"--no-renames"}, &InsightOptions::followRenames},
        {{"--show-deleted"}, &InsightOptions::hideDeletedFiles},
        {{"--include-generated"}, &InsightOptions::excludeGenerated},
        {{"--include-bots"}, &InsightOptions::separateBots},
        {{"--include-merges"}, &InsightOptions::excludeMerges},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.flags.join(' ').toStdString());
        InsightOptions expected;
        if (row.off)
            expected.*row.off = false;
        EXPECT_TRUE(cli::insightOptions(row.flags) == expected);
        EXPECT_TRUE(cli::insightOptions(row.flags + QStringList {"--as-recorded"})
                    == InsightOptions::asRecorded());
    }
}

// Through the program: the flags reach the options, the figures as recorded are those of the
// insights of no options, and the fields only corrections fill are printed only with them.
TEST(InsightFlags, TheProgramTakesTheFlagsAndAsRecordedPrintsTheInsightsOfNoOptions)
{
    // Two spellings of one address, a bot and a merge: a history every correction changes.
    TestRepository repository;
    repository.setDateStep(3600);
    repository.write("a.txt", "1\n");
    repository.commit("feat: start the widget", "TJ Holowaychuk", "tj@example.com");
    repository.write("a.txt", "2\n");
    repository.commit("fix: widget size", "Tj Holowaychuk", "TJ@example.com");
    repository.git({"checkout", "-q", "-b", "topic"});
    repository.write("b.txt", "1\n");
    repository.commit("chore: bump", "dependabot[bot]", "49699333+dependabot[bot]@example.com");
    repository.git({"checkout", "-q", "main"});
    repository.write("c.txt", "1\n");
    repository.commit("docs: readme", "Ada Lovelace", "ada@example.com");
    repository.git({"merge", "-q", "--no-ff", "-m", "Merge branch topic into main", "topic"});
    QTemporaryDir indexDir;
    const QStringList command {"insights", repository.path(), "--index-dir", indexDir.path()};
    const CliRun asRecorded = ::cli(command + QStringList {"--as-recorded"});
    ASSERT_EQ(asRecorded.status, 0) << asRecorded.err.toStdString();
    RepositoryIndex index(RepositoryIndexLocation::databasePath(
        GitService().commonDirectory(repository.path()), indexDir.path()));
    EXPECT_EQ(asRecorded.out.toUtf8().trimmed(),
              cli::insightsReport(insights(index)).serialize().trimmed());

    // The merge is by the fixture's own identity: one person more.
    const QJsonObject corrected = cliObject(command);
    const QJsonObject recorded = asRecorded.object();
    EXPECT_EQ(std::make_tuple(corrected.value("topAuthors").toArray().size(),
                              corrected.value("bots").toArray().size(),
                              corrected.value("identities").toArray().size(),
                              recorded.value("topAuthors").toArray().size()),
              std::make_tuple(3, 1, 1, 5));
    EXPECT_FALSE(recorded.contains("bots") || recorded.contains("identities"));
    // The deleted marks of the files, as well.
    const auto firstHotspot = [](const QJsonObject &report) {
        return report.value("hotspots").toArray().first().toObject();
    };
    ASSERT_FALSE(recorded.value("hotspots").toArray().isEmpty());
    EXPECT_TRUE(firstHotspot(corrected).contains("deleted"));
    EXPECT_FALSE(firstHotspot(recorded).contains("deleted"));

    EXPECT_EQ(::cli({"insights", repository.path(), "--no-such-correction"}).status, 2);
    EXPECT_EQ(::cli({"report", repository.path(), "--index-dir", indexDir.path(), "--as-recorded"})
                  .status,
              0);
}
