// The mailmap as git applies it, stored with the index: which aliases it maps and to what, in a
// work tree and in a bare repository, and kept in step when only the mailmap changes.

#include "index/AuthorMailmap.h"
#include "IndexTestSupport.h"
#include "TestRepository.h"
#include "index/RepositoryIndexer.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace strataloom;

namespace {

QStringList mappedAliases(RepositoryIndex &index)
{
    return rows(index,
                "SELECT a.name, a.email, i.mapped_name, i.mapped_email FROM author_identities i "
                "JOIN author_aliases a ON a.id = i.alias_id ORDER BY a.name, a.email");
}

} // namespace

TEST(AuthorMailmap, StoresTheAliasesTheMailmapOfHeadMapsAndFollowsItsEdits)
{
    // Name-only, address-only and name-and-address mappings, the forms a .mailmap line takes.
    const QByteArray mailmap = "Proper Name <proper@example.com> <old@example.com>\n"
                               "<new@example.com> <stale@example.com>\n"
                               "Alice Smith <alice@example.com>\n"
                               "Real Bob <bob@example.com> Bobby <bobby@example.com>\n";
    const QStringList expected {
        "Bobby|bobby@example.com|Real Bob|bob@example.com",
        "Old Name|old@example.com|Proper Name|proper@example.com",
        "Stale|STALE@example.com|Stale|new@example.com", // address only, matched without case
        "alice|alice@example.com|Alice Smith|alice@example.com", // name only
    };
    TestRepository repository;
    repository.write(".mailmap", mailmap);
    // "Bobby <other@...>": the name alone matches no line; Carol is not mapped.
    for (const auto &[name, email] : {std::pair {"Old Name", "old@example.com"},
                                      {"Stale", "STALE@example.com"},
                                      {"alice", "alice@example.com"},
                                      {"Bobby", "bobby@example.com"},
                                      {"Bobby", "other@example.com"},
                                      {"Carol", "carol@example.com"}})
        repository.commit(QStringLiteral("by %1").arg(email), name, email);
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath("index.sqlite"));
    RepositoryIndexer indexer(index);
    indexer.synchronize(repository.path());
    EXPECT_EQ(mappedAliases(index), expected);

    // A bare repository has no work tree: the mailmap of HEAD counts.
    runGitIn(folder.path(), {"clone", "-q", "--bare", repository.path(), folder.filePath("b.git")});
    RepositoryIndex bare(folder.filePath("bare/index.sqlite"));
    RepositoryIndexer(bare).synchronize(folder.filePath("b.git"));
    EXPECT_EQ(mappedAliases(bare), expected);

    // The refs stay where they are: only the mailmap changes, and the identities follow it.
    repository.write(".mailmap", mailmap + "Carol Jones <carol@example.com>\n");
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    QStringList withCarol = expected;
    withCarol.insert(1, "Carol|carol@example.com|Carol Jones|carol@example.com");
    EXPECT_EQ(mappedAliases(index), withCarol);
    repository.remove(".mailmap");
    indexer.synchronize(repository.path());
    EXPECT_EQ(mappedAliases(index), QStringList());
}

// Thousands of contacts go to git in several runs; every answer lands on its own contact, and
// contacts git cannot take (a name or address with "<", ">" or a line break, no address) stay
// as they are without shifting the others.
TEST(AuthorMailmap, ManyContactsAreMappedInOrder)
{
    TestRepository repository;
    repository.write(".mailmap", "Proper <p@example.com> <a@example.com>\n");
    const MailmapContact proper {"Proper", "p@example.com"};
    const MailmapContact unmappable[] = {{"A <x>", "a@example.com"},
                                         {"A", "a@example.com>"},
                                         {"Line\nbreak", "a@example.com"},
                                         {"Nobody", ""}};
    QList<MailmapContact> contacts, expected;
    for (int i = 0; i < 2500; ++i) {
        const MailmapContact plain {QStringLiteral("Person %1").arg(i),
                                    QStringLiteral("a%1@example.com").arg(i)};
        contacts << plain;
        expected << plain;
        if (i % 300 == 0) {
            contacts << MailmapContact {i % 600 ? "" : "A", "a@example.com"};
            expected << proper;
        } else if (i % 300 == 150) {
            contacts << unmappable[i / 300 % 4];
            expected << contacts.last();
        }
    }
    EXPECT_EQ(mappedContacts(repository.path(), contacts), expected);
}
