// The people corrections of the insights on one small history that has every case: two
// spellings of one e-mail address, placeholder addresses two people share, mailmap mappings by
// name and by address, an automation account with most commits, a merge and an empty commit,
// and a remote's symbolic HEAD. Each set of options is held to what it must change and what not.
#include "insights/InsightPeople.h"
#include "HistoryBuilder.h"
#include "index/SQLite.h"
#include "insights/RepositoryInsights.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

struct Author
{
    const char *name;
    const char *email;
    int commits;
};

const Author authors[] = {{"TJ Holowaychuk", "tj@vision-media.ca", 3},
                          {"Tj Holowaychuk", "TJ@Vision-Media.ca", 1},
                          {"Ann", "", 1},
                          {"Ben", "", 1},
                          {"Cid", "noreply@github.com", 1},
                          {"Dee", "noreply@github.com", 1},
                          {"nico", "nico@old.org", 1},
                          {"Nicolas Williams", "nico@cryptonector.com", 2},
                          {"N. Williams", "nw@x.org", 1},
                          {"dependabot[bot]", "49699333+dependabot[bot]@users.noreply.github.com",
                           6}};

// What the repository's mailmap maps, as the synchronisation stores it: name and address, and
// the name and address they map to.
const char *const mappings[][4]
    = {{"nico", "nico@old.org", "Nico Williams", "nico@cryptonector.com"},
       {"N. Williams", "nw@x.org", "Nicolas Williams", "nw@x.org"}};

struct PeopleIndex
{
    TemporaryIndex index;

    PeopleIndex()
    {
        HistoryBuilder history;
        qint64 time = at("2024-01-01T00:00:00Z");
        for (const Author &author : authors) {
            for (int i = 0; i < author.commits; ++i) {
                IndexedCommit &commit = history.commit(QStringLiteral("change number %1").arg(i),
                                                       time += 3600, author.name, author.email);
                commit.changes.append(change(QString::fromUtf8(author.name).startsWith("T")
                                                 ? "lib/index.js"
                                                 : QStringLiteral("other/%1").arg(time)));
            }
        }
        IndexedCommit &merge = history.commit("Merge pull request #1 from widget/branch",
                                              time += 3600, authors[0].name, authors[0].email);
        merge.parents.append("feed");
        history.commit("Empty commit here", time += 3600, "Ann", "");
        const QString tip = history.commits().last().sha;
        history.branch("main", tip);
        history.branch("origin/main", tip, true);
        history.branch("origin/HEAD", tip, true);
        index->apply(history.batch());

        QList<RepositoryIndex::MappedIdentity> mapped;
        for (const auto &[name, email, mappedName, mappedEmail] : mappings)
            mapped.append({aliasID(name, email), mappedName, mappedEmail});
        index->replaceMappedIdentities(mapped, "state", "identity_state");
    }

    qint64 aliasID(const QString &name, const QString &email)
    {
        return index->read([&](SQLiteDatabase &database) {
            SQLiteStatement statement
                = database.statement("SELECT id FROM author_aliases WHERE name = ? AND email = ?");
            statement.bindText(name, 1);
            statement.bindText(email, 2);
            EXPECT_TRUE(statement.step()) << name.toStdString();
            return statement.columnInt64(0);
        });
    }
};

InsightOptions only(bool InsightOptions::*option)
{
    InsightOptions options = InsightOptions::asRecorded();
    options.*option = true;
    return options;
}

QStringList authorsOf(const QList<IndexedAuthorInsight> &list)
{
    QStringList result;
    for (const IndexedAuthorInsight &author : list)
        result.append(QStringLiteral("%1 %2").arg(author.name).arg(author.commits));
    return result;
}

} // namespace

TEST(InsightPeople, EachOptionChangesItsOwnFigures)
{
    PeopleIndex people;
    struct Case
    {
        const char *what;
        InsightOptions options;
        const char *topAuthors; // the first four, '|'-separated
        qsizetype authorCount;
        const char *bots;
        qsizetype identities;
        qint64 busFactor;
        qint64 oneTimeContributors;
        qint64 indexAuthors; // authors of lib/index.js, the file both TJ spellings changed
        qint64 withoutChanges;
        bool mergeWords;
        qint64 remoteBranches;
    };
    const char *recorded = "dependabot[bot] 6|TJ Holowaychuk 4|Ann 2|Nicolas Williams 2";
    const Case cases[] = {
        {"as recorded", InsightOptions::asRecorded(), recorded, 10, "", 0, 2, 6, 2, 2, true, 2},
        // Base of the bus factor: the 14 commits of people, not all 20.
        {"every correction", InsightOptions(), "TJ Holowaychuk 5|Nicolas Williams 4|Ann 2|Ben 1", 6,
         "dependabot[bot] 6", 2, 2, 3, 1, 1, false, 1},
        {"identities", only(&InsightOptions::mergeIdentities),
         "dependabot[bot] 6|TJ Holowaychuk 5|Nicolas Williams 4|Ann 2", 7, "", 2, 2, 3, 1, 2, true,
         2},
        {"bots", only(&InsightOptions::separateBots),
         "TJ Holowaychuk 4|Ann 2|Nicolas Williams 2|Ben 1", 9, "dependabot[bot] 6", 0, 3, 6, 2, 2,
         true, 2},
        {"merges", only(&InsightOptions::excludeMerges), recorded, 10, "", 0, 2, 6, 2, 1, false, 1},
    };
    for (const Case &row : cases) {
        SCOPED_TRACE(row.what);
        const RepositoryAnalyticsInsights result = insights(*people.index, row.options);
        EXPECT_EQ(authorsOf(result.topAuthors).mid(0, 4).join('|'), row.topAuthors);
        EXPECT_EQ(result.topAuthors.size(), row.authorCount);
        EXPECT_EQ(authorsOf(result.bots).join('|'), row.bots);
        EXPECT_EQ(result.identities.size(), row.identities);
        EXPECT_EQ(result.busFactor, row.busFactor);
        EXPECT_EQ(result.oneTimeContributors, row.oneTimeContributors);
        const auto file = std::find_if(result.hotspots.cbegin(), result.hotspots.cend(),
                                       [](const auto &f) { return f.path == "lib/index.js"; });
        ASSERT_NE(file, result.hotspots.cend());
        EXPECT_EQ(file->authors, row.indexAuthors);
        EXPECT_EQ(result.commitsWithoutChanges, row.withoutChanges);
        const bool widget = std::any_of(result.commonWords.cbegin(), result.commonWords.cend(),
                                        [](const auto &word) { return word.name == "widget"; });
        EXPECT_EQ(widget, row.mergeWords);
        EXPECT_EQ(result.remoteBranches, row.remoteBranches);
        EXPECT_EQ(result.branches.size(), row.remoteBranches + 1);
        // What no option touches.
        EXPECT_EQ(result.totalCommits, 20);
        EXPECT_EQ(result.mergeCommits, 1);
    }
}

// Placeholders join nobody; the person's name is the mapped name with most commits, and the
// names and addresses listed are those the commits record.
TEST(InsightPeople, MergedIdentitiesListWhatTheCommitsRecord)
{
    PeopleIndex people;
    const RepositoryAnalyticsInsights result = insights(*people.index, InsightOptions());

    ASSERT_EQ(result.identities.size(), 2);
    EXPECT_EQ(result.identities[0],
              (IndexedIdentityInsight {"Nicolas Williams",
                                       {"N. Williams", "Nicolas Williams", "nico"},
                                       {"nico@cryptonector.com", "nico@old.org", "nw@x.org"},
                                       false}));
    EXPECT_EQ(result.identities[1],
              (IndexedIdentityInsight {"TJ Holowaychuk",
                                       {"TJ Holowaychuk", "Tj Holowaychuk"},
                                       {"TJ@Vision-Media.ca", "tj@vision-media.ca"},
                                       false}));
    EXPECT_EQ(authorsOf(result.topAuthors).mid(2),
              (QStringList {"Ann 2", "Ben 1", "Cid 1", "Dee 1"}));
}

TEST(InsightPeople, PlaceholdersAndAutomationAccounts)
{
    // Name, address, whether the address is a placeholder, whether the account is automation.
    const std::tuple<const char *, const char *, bool, bool> cases[] = {
        {"Ann", "", true, false},
        {"Ann", " NoReply@GitHub.com ", true, false},
        {"Ann", "1234+ann@users.noreply.github.com", false, false},
        {"Ann", "ann@github.com", false, false},
        {"renovate[bot]", "29139614+renovate[bot]@users.noreply.github.com", false, true},
        {"Dependabot", "support@dependabot.com", false, true},
        {"GitHub Action", "action@github.com", false, true},
        {"Robot Robertson", "robot@example.com", false, false},
    };
    for (const auto &[name, email, placeholder, automation] : cases) {
        EXPECT_EQ(aggregates::isPlaceholderEmail(email), placeholder) << email;
        EXPECT_EQ(aggregates::isAutomationAccount(name, email), automation) << name;
    }
}
