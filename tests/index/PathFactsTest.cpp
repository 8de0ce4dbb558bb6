// What the synchronisation records about HEAD's paths, and when it reads them again.
#include "index/PathFacts.h"
#include "TestRepository.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace strataloom;

namespace {

// path:atHead:attributes:interpreter of every stored row, sorted.
QStringList storedFacts(RepositoryIndex &index)
{
    return index.read([](SQLiteDatabase &database) {
        QStringList rows;
        SQLiteStatement statement = database.statement(QStringLiteral(
            "SELECT path, at_head, attributes, COALESCE(interpreter, '') FROM path_facts"));
        while (statement.step()) {
            rows.append(QStringLiteral("%1:%2:%3:%4")
                            .arg(*statement.columnText(0))
                            .arg(statement.columnInt64(1))
                            .arg(statement.columnInt64(2))
                            .arg(*statement.columnText(3)));
        }
        rows.sort();
        return rows;
    });
}

} // namespace

TEST(PathFacts, InterpreterOfAFirstLine)
{
    const struct
    {
        const char *line;
        const char *interpreter;
    } cases[] = {
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
    for (const auto &row : cases) {
        EXPECT_EQ(shebangInterpreter(QByteArrayView(row.line)),
                  QString::fromLatin1(row.interpreter))
            << row.line;
    }
}

TEST(PathFacts, SynchronisationRecordsHeadAttributesAndScripts)
{
    TestRepository repository;
    repository.write(QStringLiteral(".gitattributes"),
                     "gen/* linguist-generated\nlib/* linguist-vendored=true\n*.bin -diff\n");
    repository.write(QStringLiteral("gen/old.c"), "int old;\n");
    repository.write(QStringLiteral("lib/z.c"), "int z;\n");
    repository.write(QStringLiteral("blob.bin"), "data\n");
    repository.write(QStringLiteral("run"), "#!/usr/bin/env ruby\nputs 1\n");
    repository.write(QStringLiteral("README"), "no script\n");
    repository.commit(QStringLiteral("one"));
    repository.remove(QStringLiteral("gen/old.c"));
    repository.commit(QStringLiteral("two"));

    QTemporaryDir dir;
    RepositoryIndex index(dir.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer(index).synchronize(repository.path());
    // gen/old.c is gone from HEAD but still flagged, as a path of the history.
    EXPECT_EQ(storedFacts(index),
              (QStringList {".gitattributes:1:0:", "README:1:0:", "blob.bin:1:4:", "gen/old.c:0:1:",
                            "lib/z.c:1:2:", "run:1:0:ruby"}));
}

TEST(PathFacts, ReadAgainWhenHeadMovesAndWhenMissing)
{
    TestRepository repository;
    repository.write(QStringLiteral("a.txt"), "a\n");
    repository.commit(QStringLiteral("one"));
    repository.git({QStringLiteral("branch"), QStringLiteral("other")});
    repository.write(QStringLiteral("b.txt"), "b\n");
    repository.commit(QStringLiteral("two"));

    QTemporaryDir dir;
    RepositoryIndex index(dir.filePath(QStringLiteral("index.sqlite")));
    RepositoryIndexer indexer(index);
    indexer.synchronize(repository.path());
    EXPECT_EQ(storedFacts(index), (QStringList {"a.txt:1:0:", "b.txt:1:0:"}));

    // Only HEAD moves: the history is complete, but HEAD's tree is another.
    repository.git({QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("other")});
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(storedFacts(index), (QStringList {"a.txt:1:0:"}));

    // An index that has never read them (as one upgraded from an older version) gets them on the
    // next run, even when nothing else changed.
    index.invalidatePathFacts();
    index.read([](SQLiteDatabase &database) {
        database.execute(QStringLiteral("DELETE FROM path_facts"));
    });
    EXPECT_TRUE(indexer.synchronize(repository.path()).wasUpToDate);
    EXPECT_EQ(storedFacts(index), (QStringList {"a.txt:1:0:"}));
}
