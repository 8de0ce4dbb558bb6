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

// Name-only, address-only and name-and-address mappings, the forms a .mailmap line takes.
const QByteArray mailmap = "Proper Name <proper@example.com> <old@example.com>\n"
                           "<new@example.com> <stale@example.com>\n"
                           "Alice Smith <alice@example.com>\n"
                           "Real Bob <bob@example.com> Bobby <bobby@example.com>\n";

struct Author
{
    const char *name;
    const char *email;
};

const Author authors[] = {
    {"Old Name", "old@example.com"}, // name and address by address
    {"Stale", "STALE@example.com"}, // address only, matched without case
    {"alice", "alice@example.com"}, // name only
    {"Bobby", "bobby@example.com"}, // by name and address
    {"Bobby", "other@example.com"}, // the name alone matches no line
    {"Carol", "carol@example.com"}, // not mapped
};

QStringList mappedAliases(RepositoryIndex &index)
{
    return rows(
        index,
        QStringLiteral("SELECT a.name, a.email, i.mapped_name, i.mapped_email "
                       "FROM author_identities i JOIN author_aliases a ON a.id = i.alias_id "
                       "ORDER BY a.name, a.email"));
}

const QStringList expectedMapped {
    "Bobby|bobby@example.com|Real Bob|bob@example.com",
    "Old Name|old@example.com|Proper Name|proper@example.com",
    "Stale|STALE@example.com|Stale|new@example.com",
    "alice|alice@example.com|Alice Smith|alice@example.com",
};

void commitEveryAuthor(TestRepository &repository)
{
    repository.setDateStep(60);
    int i = 0;
    for (const Author &author : authors) {
        repository.write(QStringLiteral("f%1.txt").arg(i), QByteArray::number(i));
        repository.commit(QStringLiteral("change %1").arg(i++), QString::fromUtf8(author.name),
                          QString::fromUtf8(author.email));
    }
}

} // namespace

TEST(AuthorMailmap, StoresTheAliasesTheWorkTreesMailmapMaps)
{
    TestRepository repository;
    repository.write(".mailmap", mailmap);
    commitEveryAuthor(repository);
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath("index.sqlite"));
    RepositoryIndexer(index).synchronize(repository.path());

    EXPECT_EQ(mappedAliases(index), expectedMapped);
}

TEST(AuthorMailmap, ABareRepositoryUsesTheMailmapOfHead)
{
    TestRepository source;
    source.write(".mailmap", mailmap);
    commitEveryAuthor(source);
    QTemporaryDir bare;
    runGitIn(bare.path(), {"clone", "-q", "--bare", source.path(), bare.filePath("b.git")});
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath("index.sqlite"));
    RepositoryIndexer(index).synchronize(bare.filePath("b.git"));

    EXPECT_EQ(mappedAliases(index), expectedMapped);
}

// The refs stay where they are: only the mailmap changes, and the identities follow it.
TEST(AuthorMailmap, FollowsAMailmapEditedWithoutACommit)
{
    TestRepository repository;
    repository.write(".mailmap", mailmap);
    commitEveryAuthor(repository);
    QTemporaryDir folder;
    RepositoryIndex index(folder.filePath("index.sqlite"));
    RepositoryIndexer indexer(index);
    indexer.synchronize(repository.path());

    repository.write(".mailmap", mailmap + "Carol Jones <carol@example.com>\n");
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(mappedAliases(index).size(), expectedMapped.size() + 1);
    EXPECT_TRUE(
        mappedAliases(index).contains("Carol|carol@example.com|Carol Jones|carol@example.com"));

    repository.remove(".mailmap");
    indexer.synchronize(repository.path());
    EXPECT_EQ(mappedAliases(index), QStringList());
}

TEST(AuthorMailmap, ContactsGitCannotTakeStayAsTheyAre)
{
    TestRepository repository;
    repository.write(".mailmap", "Proper <p@example.com> <a@example.com>\n");
    struct Case
    {
        MailmapContact contact;
        MailmapContact mapped;
    };
    const Case cases[] = {
        {{"A", "a@example.com"}, {"Proper", "p@example.com"}},
        {{"", "a@example.com"}, {"Proper", "p@example.com"}},
        {{"A <x>", "a@example.com"}, {"A <x>", "a@example.com"}},
        {{"A", "a@example.com>"}, {"A", "a@example.com>"}},
        {{"Line\nbreak", "a@example.com"}, {"Line\nbreak", "a@example.com"}},
        {{"Nobody", ""}, {"Nobody", ""}},
    };
    QList<MailmapContact> contacts;
    for (const Case &entry : cases)
        contacts.append(entry.contact);

    const QList<MailmapContact> mapped = mappedContacts(repository.path(), contacts);

    ASSERT_EQ(mapped.size(), contacts.size());
    for (qsizetype i = 0; i < mapped.size(); ++i) {
        EXPECT_EQ(mapped[i].name, cases[i].mapped.name) << i;
        EXPECT_EQ(mapped[i].email, cases[i].mapped.email) << i;
    }
}

// Thousands of contacts go to git in several runs; every answer lands on its own contact.
TEST(AuthorMailmap, ManyContactsAreMappedInOrder)
{
    TestRepository repository;
    repository.write(".mailmap", "Proper <p@example.com> <a1500@example.com>\n");
    QList<MailmapContact> contacts;
    for (int i = 0; i < 2500; ++i)
        contacts.append(
            {QStringLiteral("Person %1").arg(i), QStringLiteral("a%1@example.com").arg(i)});

    const QList<MailmapContact> mapped = mappedContacts(repository.path(), contacts);

    ASSERT_EQ(mapped.size(), contacts.size());
    EXPECT_EQ(mapped[1500], (MailmapContact {"Proper", "p@example.com"}));
    for (qsizetype i = 0; i < mapped.size(); ++i) {
        if (i != 1500)
            EXPECT_EQ(mapped[i], contacts[i]) << i;
    }
}
