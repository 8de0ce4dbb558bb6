// What the synchronisation records about HEAD's paths, and when it reads them again.
#include "index/PathFacts.h"
#include "IndexTestSupport.h"
#include "TestRepository.h"
#include "index/RepositoryIndexer.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace strataloom;

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
