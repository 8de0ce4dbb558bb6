// What a synchronisation records about HEAD besides the history, and when it reads it again. The
// mailmap as git applies it: which aliases it maps and to what, in a work tree and in a bare
// repository, kept in step when only the mailmap changes. The paths' attributes and scripts.

#include "index/AuthorMailmap.h"
#include "index/PathFacts.h"
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

TEST(PathFacts, InterpreterOfAFirstLine)
{
    const std::pair<const char *, const char *> cases[] = {
        {"#!/bin/sh", "sh"},
        {"#! /bin/bash -e", "bash"},
        {"#!/usr/bin/env python3", "python"},
        {"#!/usr/bin/env -S python3.11 -u", "python"},
        {"#!/usr/bin/env LANG=C perl -w", "perl"},
        {"#!/usr/bin/perl5.36", "perl"},
        {"#!node", "node"},
        {"#!/usr/bin/env", ""},
        {"#!", ""},
        {"# comment", ""},
        {"", ""},
    };
    for (const auto &[line, interpreter] : cases)
        EXPECT_EQ(shebangInterpreter(QByteArrayView(line)), QString::fromLatin1(interpreter))
            << line;
}

TEST(PathFacts, SynchronisationRecordsHeadAttributesAndScriptsAndReadsThemAgainWhenNeeded)
{
    TestRepository repository;
    repository.write(".gitattributes",
                     "gen/* linguist-generated\nlib/* linguist-vendored=true\n*.bin -diff\n");
    repository.write("gen/old.c", "int old;\n");
    repository.write("lib/z.c", "int z;\n");
    repository.write("blob.bin", "data\n");
    repository.write("run", "#!/usr/bin/env ruby\nputs 1\n");
    repository.commit("one");
    repository.git({"branch", "other"});
    repository.remove("gen/old.c");
    repository.write("README", "no script\n");
    repository.commit("two");

    QTemporaryDir dir;
    RepositoryIndex index(dir.filePath("index.sqlite"));
    RepositoryIndexer indexer(index);
    const auto facts = [&] {
        return rows(index,
                    "SELECT path, at_head, attributes, interpreter FROM path_facts "
                    "ORDER BY path");
    };
    indexer.synchronize(repository.path());
    // gen/old.c is gone from HEAD but still flagged, as a path of the history.
    EXPECT_EQ(facts(),
              (QStringList {".gitattributes|1|0|NULL", "README|1|0|NULL", "blob.bin|1|4|NULL",
                            "gen/old.c|0|1|NULL", "lib/z.c|1|2|NULL", "run|1|0|ruby"}));

    // Only HEAD moves: the history is complete, but HEAD's tree is another.
    repository.git({"checkout", "-q", "other"});
    const QStringList atOther {".gitattributes|1|0|NULL", "blob.bin|1|4|NULL", "gen/old.c|1|1|NULL",
                               "lib/z.c|1|2|NULL", "run|1|0|ruby"};
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(facts(), atOther);

    // An index that has never read them (as one upgraded from an older version) gets them on the
    // next run, even when nothing else changed.
    index.invalidatePathFacts();
    index.read([](SQLiteDatabase &database) { database.execute("DELETE FROM path_facts"); });
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(facts(), atOther);
}
