// An author's details, files and commits from the index, against git's own answers, on a
// history where one person writes under two names and three addresses.

#include "insights/AuthorHistory.h"
#include "HistoryBuilder.h"
#include "git/GitService.h"

#include <ctime>

using namespace strataloom;

namespace {

// Sets TZ for one scope, as a user in that zone runs the application.
struct ZoneScope
{
    const QByteArray previous = qgetenv("TZ");
    explicit ZoneScope(const char *zone) { qputenv("TZ", zone), ::tzset(); }
    ~ZoneScope() { qputenv("TZ", previous), ::tzset(); }
};

/**
 * Ada Lovelace <ada@example.com>, Augusta King <ADA@Example.com> (the same address in other
 * letter case) and Ada Lovelace <countess@lovelace.org> are one person; Countess
 * <countess@old.example> joins her only through the .mailmap some tests write. Commits fall
 * beside daylight-saving changes of Berlin and St. John's, so that local days differ from UTC's.
 *   Start the engine     Ada <ada@>        notes.txt, logo.bin (binary)
 *   Compile it           Grace             compiler.c
 *   Annotate the engine  Augusta <ADA@>    notes.txt
 *   Side note            Ada <countess@>   compiler.c, notes.txt       (branch side)
 *   Old habits           Countess          notes.txt
 *   Merge side           Ada <ada@>        (merge)
 *   New logo             Grace             logo.bin (binary)
 *   Fix the notes        Ada <ada@>        notes.txt
 */
class AuthorHistoryTest : public IndexedRepositoryTest
{
protected:
    void SetUp() override
    {
        using Who = std::pair<const char *, const char *>;
        const Who ada {"Ada Lovelace", "ada@example.com"},
            augusta {"Augusta King", "ADA@Example.com"},
            sideAda {"Ada Lovelace", "countess@lovelace.org"},
            countess {"Countess", "countess@old.example"}, grace {"Grace Hopper", "grace@navy.mil"};
        const auto commit = [&](const char *date, const char *message, const Who &who) {
            commitAt(QString::fromLatin1(date), message, who.first, who.second);
        };
        repo.write("notes.txt", "one\ntwo\nthree\n");
        repo.write("logo.bin", QByteArray("\x00\x01\x02", 3));
        commit("2024-03-09T12:00:00Z", "Start the engine", ada);
        repo.write("compiler.c", "int main;\n");
        commit("2024-03-10T02:45:00Z", "Compile it", grace);
        repo.write("notes.txt", "one\ntwo\nthree\nfour\n");
        commit("2024-03-10T05:45:00Z", "Annotate the engine", augusta);
        repo.git({"switch", "-q", "-c", "side"});
        repo.write("compiler.c", "int main(void);\n");
        repo.write("notes.txt", "one\n2\nthree\nfour\n");
        commit("2024-03-30T23:30:00Z", "Side note", sideAda);
        repo.git({"switch", "-q", "main"});
        repo.write("notes.txt", "zero\none\ntwo\nthree\nfour\n");
        commit("2024-03-31T01:30:00Z", "Old habits", countess);
        repo.setDate("2024-10-26T22:30:00Z");
        repo.git({"merge", "-q", "--no-ff", "-m", "Merge side", "side"});
        repo.git(
            {"commit", "-q", "--amend", "--no-edit", "--author=Ada Lovelace <ada@example.com>"});
        repo.write("logo.bin", QByteArray("\x00\x03", 2));
        commit("2024-10-27T01:30:00Z", "New logo", grace);
        repo.write("notes.txt", "zero\none\ntwo\n");
        commit("2024-10-27T22:30:00Z", "Fix the notes", ada);
        synchronize();
    }

    void writeMailmap()
    {
        repo.write(".mailmap", "Ada Lovelace <ada@example.com> Countess <countess@old.example>\n");
        synchronize();
    }
};

TEST_F(AuthorHistoryTest, DetailsAsRecordedEqualGitsInEveryZone)
{
    // "countess" names one of Ada Lovelace's addresses and Countess: part of an author.
    const char *const names[]
        = {"Ada Lovelace", "Augusta King", "Grace Hopper", "countess", "Nobody"};
    for (const char *zone : {"UTC", "Europe/Berlin", "America/St_Johns", "Asia/Kolkata"}) {
        const ZoneScope scope(zone);
        for (const char *name : names) {
            SCOPED_TRACE(std::string(zone) + " " + name);
            const AuthorDetails fromGit = GitService().loadAuthorDetails(repo.path(), name);
            EXPECT_EQ(read([&](SQLiteDatabase &database) {
                          return indexedAuthorDetails(database, name, false);
                      }),
                      fromGit);
        }
    }
}

TEST_F(AuthorHistoryTest, DetailsOfAPersonAddUpTheirNamesOnce)
{
    writeMailmap();
    const auto details = [&](const char *name, bool merged) {
        return read(
            [&](SQLiteDatabase &database) { return indexedAuthorDetails(database, name, merged); });
    };
    AuthorDetails sum;
    // The three aliases apart; "Countess" as recorded would hold one of Ada's addresses too.
    for (const char *name : {"Ada Lovelace", "Augusta King", "old.example"}) {
        const AuthorDetails part = details(name, false);
        sum.commits += part.commits;
        sum.additions += part.additions;
        sum.deletions += part.deletions;
    }
    ASSERT_EQ(sum.commits, 6);
    // Any of the person's names or addresses reads the whole person.
    for (const char *name : {"Ada Lovelace", "Augusta King", "Countess", "countess@lovelace"}) {
        SCOPED_TRACE(name);
        const AuthorDetails person = details(name, true);
        EXPECT_EQ(std::tuple(person.commits, person.additions, person.deletions),
                  std::tuple(sum.commits, sum.additions, sum.deletions));
        EXPECT_EQ(person.emails,
                  parts("ADA@Example.com|ada@example.com|countess@lovelace.org|"
                        "countess@old.example"));
        EXPECT_EQ(person.firstCommitDate, utcDate("2024-03-09T12:00:00Z"));
        EXPECT_EQ(person.lastCommitDate, utcDate("2024-10-27T22:30:00Z"));
    }
}

// A query; git log's arguments for the answer as recorded, '|'-separated; the answer with
// identities merged, without the mailmap and with it.
using TermCase = std::tuple<const char *, const char *, const char *, const char *>;

TEST_F(AuthorHistoryTest, AuthorTermsMatchThePersonOrTheRecordAsGitDoes)
{
    const char *ada = "Fix the notes|Merge side|Side note|Annotate the engine|Start the engine";
    const char *adaMapped
        = "Fix the notes|Merge side|Old habits|Side note|Annotate the engine|Start the engine";
    const TermCase cases[] = {
        {"author:augusta", "--author=augusta", ada, adaMapped},
        {"author:ADA@EXAMPLE.COM", "--author=ADA@EXAMPLE.COM", ada, adaMapped},
        {"author:\"Ada Lovelace\"", "--author=Ada Lovelace", ada, adaMapped},
        {"author:countess", "--author=countess", adaMapped, adaMapped},
        {"author:old.example", "--author=old.example", "Old habits", adaMapped},
        {"author:grace", "--author=grace", "New logo|Compile it", "New logo|Compile it"},
        {"author:nobody", "--author=nobody", "", ""},
        {"author:ada merges:no", "--no-merges|--author=ada",
         "Fix the notes|Side note|Annotate the engine|Start the engine",
         "Fix the notes|Old habits|Side note|Annotate the engine|Start the engine"},
    };
    for (const bool mapped : {false, true}) {
        if (mapped)
            writeMailmap();
        for (const auto &[query, gitArguments, person, personMapped] : cases) {
            SCOPED_TRACE(std::string(query) + (mapped ? " with the mailmap" : ""));
            // As recorded: the names and addresses of the commits, as git reads them without
            // the mailmap.
            const QString asRecorded
                = repo.git(QStringList {"log", "--all", "--no-mailmap", "-i", "-F", "--format=%s"}
                           + parts(gitArguments));
            EXPECT_EQ(subjects(query, false), asRecorded.split(u'\n', Qt::SkipEmptyParts));
            EXPECT_EQ(subjects(query, true), parts(mapped ? personMapped : person));
        }
    }
}

TEST_F(AuthorHistoryTest, MostChangedFilesCountTheAuthorsCommitsPerFile)
{
    const auto files = [&](const char *name, bool merged, int limit) {
        return read([&](SQLiteDatabase &database) {
            return indexedAuthorFiles(database, name, merged, limit);
        });
    };
    using Files = QList<AuthorFileChanges>;
    // Ties by path; the merge changed nothing of its own.
    EXPECT_EQ(files("Ada Lovelace", false, 10),
              (Files {{"notes.txt", 3}, {"compiler.c", 1}, {"logo.bin", 1}}));
    EXPECT_EQ(files("Ada Lovelace", true, 2), (Files {{"notes.txt", 4}, {"compiler.c", 1}}));
    EXPECT_EQ(files("Grace Hopper", false, 10), (Files {{"compiler.c", 1}, {"logo.bin", 1}}));
    EXPECT_EQ(files("Nobody", true, 10), Files {});
}

} // namespace
