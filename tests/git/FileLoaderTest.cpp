#include "TestRepository.h"
#include "git/GitService.h"

#include <QDate>
#include <QTimeZone>

#include <gtest/gtest.h>

using namespace strataloom;

TEST(FileLoader, FilesAreTrackedRecordsUpToTheLimit)
{
    TestRepository repository;
    for (int i = 0; i < 2 * GitService::fileListLimit; ++i)
        repository.write(QStringLiteral("f%1.txt").arg(i, 4, 10, QLatin1Char('0')), QByteArray());
    repository.commit("files");
    const QList<FileRecord> files = GitService().loadFiles(repository.path());
    ASSERT_EQ(files.size(), GitService::fileListLimit);
    const QString last
        = QStringLiteral("f%1.txt").arg(GitService::fileListLimit - 1, 4, 10, QLatin1Char('0'));
    EXPECT_EQ(files.last(), (FileRecord {last, "tracked", std::nullopt, QString()}));
}

// Statistics rank the authors of the current branch; details sum up all refs.
TEST(FileLoader, AuthorStatsRankTheCurrentBranchAndDetailsSumAllRefsByLocalDay)
{
    TestRepository repository;
    repository.setDate("2024-03-01T09:00:00Z");
    repository.write("a.txt", "1\n2\n3\n");
    repository.commit("add", "Grace Hopper", "grace@example.com");
    repository.setDate("2024-03-01T17:00:00Z");
    repository.write("a.txt", "1\n3\n");
    repository.write("blob.bin", QByteArray("\x00\x01\x02", 3));
    repository.commit("trim", "Grace Hopper", "grace@work.example");
    repository.setDate("2024-03-02T10:00:00Z");
    repository.write("other.txt", "o\n");
    repository.commit("someone else", "Ünïcødé Name", "u@example.com");
    repository.git({"switch", "-q", "-c", "side"});
    repository.setDate("2024-03-05T23:30:00-02:00");
    repository.write("side.txt", "s\ns\n");
    repository.commit("side", "Grace Hopper", "grace@example.com");
    repository.git({"switch", "-q", "main"});

    EXPECT_EQ(GitService().loadAuthorStats(repository.path()),
              (QList<AuthorStat> {{"Grace Hopper", 2}, {"Ünïcødé Name", 1}}));
    // Days of the local time zone (UTC in tests), not of the author's offset.
    EXPECT_EQ(GitService().loadAuthorDetails(repository.path(), "Grace Hopper"),
              (AuthorDetails {
                  "Grace Hopper",
                  {"grace@example.com", "grace@work.example"},
                  3,
                  3 + 0 + 2,
                  1,
                  utcDate("2024-03-01T09:00:00Z"),
                  utcDate("2024-03-06T01:30:00Z"),
                  {{utcDate("2024-03-01T00:00:00Z"), 2}, {utcDate("2024-03-06T00:00:00Z"), 1}}}));
}

TEST(FileLoader, ActivityCountsCommitsPerDayInTheWindow)
{
    TestRepository repository;
    const QDate today = QDateTime::currentDateTimeUtc().date();
    const auto commitAt = [&](const QDate &day, int hour) {
        repository.setDate(QDateTime(day, QTime(hour, 0), QTimeZone::utc()).toString(Qt::ISODate));
        repository.commit("work");
    };
    commitAt(today.addMonths(-14), 12); // before the window
    GitService git;
    EXPECT_TRUE(git.loadActivity(repository.path(), 12).isEmpty());

    commitAt(today.addDays(-40), 12);
    commitAt(today.addDays(-10), 8);
    commitAt(today.addDays(-10), 16);
    EXPECT_EQ(git.loadActivity(repository.path(), 12),
              (QList<ActivityPoint> {{today.addDays(-40).startOfDay(), 1},
                                     {today.addDays(-10).startOfDay(), 2}}));
}

TEST(ChangeLoader, DiffLargerThanSixtyFourMegabytesComesBackWhole)
{
    TestRepository repository;
    repository.commit("root");
    // 1.2 million lines of 60 bytes: about 72 MB of patch text.
    constexpr int lineCount = 1200000;
    const auto line = [](int number) {
        return QByteArray::number(number).rightJustified(12, '0') + QByteArray(47, 'x') + '\n';
    };
    QByteArray content;
    content.reserve(qsizetype(lineCount) * 60);
    for (int i = 0; i < lineCount; ++i)
        content.append(line(i));
    repository.write("big.txt", content);
    const QString commit = repository.commit("big");

    const QString diff = GitService().loadCommitDiff(repository.path(), commit);
    EXPECT_GT(diff.size(), 64 * 1024 * 1024);
    EXPECT_TRUE(diff.contains('+' + QString::fromLatin1(line(0))));
    EXPECT_TRUE(diff.endsWith('+' + QString::fromLatin1(line(lineCount - 1))));
    EXPECT_EQ(diff.count("\n+0"), lineCount);
}
