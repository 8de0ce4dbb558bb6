#include "git/GitService.h"
#include "TestRepository.h"

#include <QDate>
#include <QTimeZone>

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

QString isoDate(const QDateTime &instant)
{
    return instant.toUTC().toString(Qt::ISODate);
}

QStringList pathsOf(const QList<FileRecord> &files)
{
    QStringList paths;
    for (const FileRecord &file : files)
        paths.append(file.path);
    return paths;
}

QString rename(const TestRepository &repository, const QString &from, const QString &to)
{
    return repository.git({QStringLiteral("mv"), from, to});
}

} // namespace

TEST(FileLoader, EmptyRepositoryListsStagedFilesAndNoAuthorsOrActivity)
{
    TestRepository repository;
    repository.write(QStringLiteral("staged.txt"), "s\n");
    repository.write(QStringLiteral("untracked.txt"), "u\n");
    repository.git({QStringLiteral("add"), QStringLiteral("staged.txt")});

    GitService git;
    EXPECT_EQ(pathsOf(git.loadFiles(repository.path())),
              QStringList {QStringLiteral("staged.txt")});
    EXPECT_TRUE(git.loadAuthorStats(repository.path()).isEmpty());
    EXPECT_TRUE(git.loadActivity(repository.path(), 12).isEmpty());
    // No refs at all: a search over all of them finds nothing.
    EXPECT_EQ(git.loadAuthorDetails(repository.path(), QStringLiteral("Ada")).commits, 0);
}

TEST(FileLoader, FilesComeOutUnquotedAsTrackedRecords)
{
    TestRepository repository;
    repository.write(QStringLiteral("with space.txt"), "a\n");
    repository.write(QStringLiteral("docs/Ünïcødé 名前.md"), "b\n");
    repository.write(QStringLiteral("plain.txt"), "c\n");
    repository.commit(QStringLiteral("files"));

    const QList<FileRecord> files = GitService().loadFiles(repository.path());
    EXPECT_EQ(pathsOf(files),
              (QStringList {QStringLiteral("docs/Ünïcødé 名前.md"), QStringLiteral("plain.txt"),
                            QStringLiteral("with space.txt")}));
    for (const FileRecord &file : files) {
        EXPECT_EQ(file.status, QStringLiteral("tracked"));
        EXPECT_FALSE(file.lastCommitDate.has_value());
        EXPECT_TRUE(file.lastAuthor.isEmpty());
    }
}

TEST(FileLoader, FileListStopsAtTheFirstTwoThousandPaths)
{
    TestRepository repository;
    for (int i = 0; i < 5000; ++i)
        repository.write(QStringLiteral("f%1.txt").arg(i, 4, 10, QLatin1Char('0')), QByteArray());
    repository.git({QStringLiteral("add"), QStringLiteral(".")});

    const QList<FileRecord> files = GitService().loadFiles(repository.path());
    ASSERT_EQ(files.size(), GitService::fileListLimit);
    EXPECT_EQ(files.first().path, QStringLiteral("f0000.txt"));
    EXPECT_EQ(files.last().path, QStringLiteral("f1999.txt"));
}

TEST(FileLoader, FileDetailsFollowRenamesAcrossAuthors)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    repository.write(QStringLiteral("old name.txt"), "one\ntwo\nthree\nfour\n");
    repository.commit(QStringLiteral("add"));
    repository.setDate(QStringLiteral("2024-01-02T10:00:00Z"));
    repository.write(QStringLiteral("old name.txt"), "one\ntwo\nthree\nfour\nfive\n");
    repository.commit(QStringLiteral("grow"));
    repository.setDate(QStringLiteral("2024-01-03T10:00:00Z"));
    rename(repository, QStringLiteral("old name.txt"), QStringLiteral("nëw name.txt"));
    repository.commit(QStringLiteral("rename"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));
    repository.setDate(QStringLiteral("2024-01-04T10:00:00+05:00"));
    repository.write(QStringLiteral("nëw name.txt"), "one\ntwo\nthree\nfour\nfive\nsix\n");
    repository.commit(QStringLiteral("grow again"), QStringLiteral("Barbara Liskov"),
                      QStringLiteral("barbara@example.com"));
    repository.write(QStringLiteral("unrelated.txt"), "x\n");
    repository.commit(QStringLiteral("unrelated"), QStringLiteral("Zed"),
                      QStringLiteral("z@example.com"));

    const FileDetails details
        = GitService().loadFileDetails(repository.path(), QStringLiteral("nëw name.txt"));
    EXPECT_EQ(details.path, QStringLiteral("nëw name.txt"));
    EXPECT_EQ(details.commitCount, 4);
    EXPECT_EQ(details.authors,
              (QStringList {QStringLiteral("Ada Lovelace"), QStringLiteral("Barbara Liskov"),
                            QStringLiteral("Grace Hopper")}));
    EXPECT_EQ(details.firstCommitDate, utcDate("2024-01-01T10:00:00Z"));
    EXPECT_EQ(details.lastCommitDate, utcDate("2024-01-04T05:00:00Z"));
    EXPECT_EQ(details.lastAuthor, QStringLiteral("Barbara Liskov"));
    EXPECT_EQ(details.sizeBytes, 28);
}

TEST(FileLoader, DeletedFileHasNoSizeButKeepsItsHistory)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    repository.write(QStringLiteral("gone.txt"), "bye\n");
    repository.commit(QStringLiteral("add"));
    repository.setDate(QStringLiteral("2024-02-01T10:00:00Z"));
    repository.remove(QStringLiteral("gone.txt"));
    repository.commit(QStringLiteral("remove"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));

    const FileDetails details
        = GitService().loadFileDetails(repository.path(), QStringLiteral("gone.txt"));
    EXPECT_EQ(details.sizeBytes, 0);
    EXPECT_EQ(details.commitCount, 2);
    EXPECT_EQ(details.lastAuthor, QStringLiteral("Grace Hopper"));
    EXPECT_EQ(details.firstCommitDate, utcDate("2024-01-01T10:00:00Z"));
    EXPECT_EQ(details.lastCommitDate, utcDate("2024-02-01T10:00:00Z"));
}

TEST(FileLoader, NeverCommittedFileHasNoHistory)
{
    TestRepository repository;
    repository.commit(QStringLiteral("root"));
    repository.write(QStringLiteral("draft.txt"), "12345");

    const FileDetails details
        = GitService().loadFileDetails(repository.path(), QStringLiteral("draft.txt"));
    EXPECT_EQ(details.commitCount, 0);
    EXPECT_TRUE(details.authors.isEmpty());
    EXPECT_FALSE(details.firstCommitDate.has_value());
    EXPECT_FALSE(details.lastCommitDate.has_value());
    EXPECT_EQ(details.lastAuthor, QStringLiteral("Unknown"));
    EXPECT_EQ(details.sizeBytes, 5);
}

TEST(FileLoader, FileDetailsOfAnEmptyRepositoryFailWithGitsMessage)
{
    TestRepository repository;
    try {
        GitService().loadFileDetails(repository.path(), QStringLiteral("a.txt"));
        FAIL() << "no error";
    } catch (const GitError &error) {
        EXPECT_EQ(error.kind(), GitError::Kind::CommandFailed);
        EXPECT_TRUE(error.description().startsWith(QStringLiteral("fatal:")))
            << error.description().toStdString();
    }
}

TEST(FileLoader, AuthorStatsRankByCommitsOnTheCurrentBranch)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("1"));
    repository.commit(QStringLiteral("2"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));
    repository.commit(QStringLiteral("3"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@work.example"));
    repository.commit(QStringLiteral("4"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));
    repository.commit(QStringLiteral("5"), QStringLiteral("Ünïcødé Name"),
                      QStringLiteral("u@example.com"));
    repository.commit(QStringLiteral("6"), QStringLiteral("Ünïcødé Name"),
                      QStringLiteral("u@example.com"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.commit(QStringLiteral("7"), QStringLiteral("Side Author"),
                      QStringLiteral("s@example.com"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});

    const QList<AuthorStat> stats = GitService().loadAuthorStats(repository.path());
    EXPECT_EQ(stats,
              (QList<AuthorStat> {{QStringLiteral("Grace Hopper"), 3},
                                  {QStringLiteral("Ünïcødé Name"), 2},
                                  {QStringLiteral("Ada Lovelace"), 1}}));
}

TEST(FileLoader, AuthorDetailsSumAllRefsAndGroupByDay)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-03-01T09:00:00Z"));
    repository.write(QStringLiteral("a.txt"), "1\n2\n3\n");
    repository.commit(QStringLiteral("add"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));
    repository.setDate(QStringLiteral("2024-03-01T17:00:00Z"));
    repository.write(QStringLiteral("a.txt"), "1\n3\n");
    repository.write(QStringLiteral("blob.bin"), QByteArray("\x00\x01\x02", 3));
    repository.commit(QStringLiteral("trim"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@work.example"));
    repository.setDate(QStringLiteral("2024-03-02T10:00:00Z"));
    repository.write(QStringLiteral("other.txt"), "o\n");
    repository.commit(QStringLiteral("someone else"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.setDate(QStringLiteral("2024-03-05T23:30:00-02:00"));
    repository.write(QStringLiteral("side.txt"), "s\ns\n");
    repository.commit(QStringLiteral("side"), QStringLiteral("Grace Hopper"),
                      QStringLiteral("grace@example.com"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});

    const AuthorDetails details
        = GitService().loadAuthorDetails(repository.path(), QStringLiteral("Grace Hopper"));
    EXPECT_EQ(details.name, QStringLiteral("Grace Hopper"));
    EXPECT_EQ(details.commits, 3);
    EXPECT_EQ(
        details.emails,
        (QStringList {QStringLiteral("grace@example.com"), QStringLiteral("grace@work.example")}));
    EXPECT_EQ(details.additions, 3 + 0 + 2);
    EXPECT_EQ(details.deletions, 1);
    EXPECT_EQ(details.firstCommitDate, utcDate("2024-03-01T09:00:00Z"));
    EXPECT_EQ(details.lastCommitDate, utcDate("2024-03-06T01:30:00Z"));
    // Days of the local time zone (UTC in tests), not of the author's offset.
    ASSERT_EQ(details.activity.size(), 2);
    EXPECT_EQ(isoDate(details.activity.at(0).date), QStringLiteral("2024-03-01T00:00:00Z"));
    EXPECT_EQ(details.activity.at(0).count, 2);
    EXPECT_EQ(isoDate(details.activity.at(1).date), QStringLiteral("2024-03-06T00:00:00Z"));
    EXPECT_EQ(details.activity.at(1).count, 1);
}

TEST(FileLoader, AuthorNameIsMatchedLiterally)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("1"), QStringLiteral("J.R. Bob+Ann"),
                      QStringLiteral("jr@example.com"));
    repository.commit(QStringLiteral("2"), QStringLiteral("J-R! Bob+Ann"),
                      QStringLiteral("jx@example.com"));
    repository.commit(QStringLiteral("3"), QStringLiteral("J.R. BobbAnn"),
                      QStringLiteral("bb@example.com"));

    // Read as a pattern, "." would match the second author too.
    const AuthorDetails details
        = GitService().loadAuthorDetails(repository.path(), QStringLiteral("J.R. Bob+Ann"));
    EXPECT_EQ(details.commits, 1);
    EXPECT_EQ(details.emails, QStringList {QStringLiteral("jr@example.com")});
    EXPECT_EQ(details.name, QStringLiteral("J.R. Bob+Ann"));
}

TEST(FileLoader, ActivityIsEmptyWhenTheHistoryIsOlderThanTheWindow)
{
    TestRepository repository;
    const QDateTime twoYearsAgo = QDateTime::currentDateTimeUtc().addYears(-2);
    repository.setDate(twoYearsAgo.toString(Qt::ISODate));
    repository.commit(QStringLiteral("old"));
    repository.setDate(twoYearsAgo.addDays(1).toString(Qt::ISODate));
    repository.commit(QStringLiteral("old too"));

    EXPECT_TRUE(GitService().loadActivity(repository.path(), 12).isEmpty());
}

TEST(FileLoader, ActivityCountsCommitsPerDayInTheWindow)
{
    TestRepository repository;
    const QDate today = QDateTime::currentDateTimeUtc().date();
    const auto at = [](const QDate &day, int hour) {
        return QDateTime(day, QTime(hour, 0), QTimeZone::utc()).toString(Qt::ISODate);
    };
    repository.setDate(at(today.addMonths(-14), 12));
    repository.commit(QStringLiteral("before the window"));
    repository.setDate(at(today.addDays(-40), 12));
    repository.commit(QStringLiteral("alone"));
    repository.setDate(at(today.addDays(-10), 8));
    repository.commit(QStringLiteral("morning"));
    repository.setDate(at(today.addDays(-10), 16));
    repository.commit(QStringLiteral("afternoon"));

    const QList<ActivityPoint> activity = GitService().loadActivity(repository.path(), 12);
    ASSERT_EQ(activity.size(), 2);
    EXPECT_EQ(activity.at(0).date, today.addDays(-40).startOfDay());
    EXPECT_EQ(activity.at(0).count, 1);
    EXPECT_EQ(activity.at(1).date, today.addDays(-10).startOfDay());
    EXPECT_EQ(activity.at(1).count, 2);
}
