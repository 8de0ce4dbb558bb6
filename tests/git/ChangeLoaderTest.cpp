#include "git/GitService.h"
#include "TestRepository.h"

#include <QFile>

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

CommitFileChange change(const char *status, const QString &path)
{
    return {QString::fromLatin1(status), path};
}

} // namespace

TEST(ChangeLoader, ListsAddedAndModifiedFilesInGitsOrder)
{
    TestRepository repository;
    repository.write(QStringLiteral("b.txt"), "b\n");
    repository.commit(QStringLiteral("root"));
    repository.write(QStringLiteral("a file.txt"), "a\n");
    repository.write(QStringLiteral("b.txt"), "b\nb\n");
    repository.write(QStringLiteral("ünï/名前.txt"), "u\n");
    const QString commit = repository.commit(QStringLiteral("add and modify"));

    EXPECT_EQ(GitService().loadCommitChanges(repository.path(), commit),
              (QList<CommitFileChange> {change("A", QStringLiteral("a file.txt")),
                                        change("M", QStringLiteral("b.txt")),
                                        change("A", QStringLiteral("ünï/名前.txt"))}));
}

TEST(ChangeLoader, RenamesJoinOldAndNewPathWithAnArrow)
{
    TestRepository repository;
    repository.write(QStringLiteral("src/a.c"), "int main(void) { return 0; }\n");
    repository.write(QStringLiteral("gone.txt"), "bye\n");
    repository.commit(QStringLiteral("root"));
    repository.git({QStringLiteral("mv"), QStringLiteral("src/a.c"), QStringLiteral("src/b c.c")});
    repository.remove(QStringLiteral("gone.txt"));
    const QString commit = repository.commit(QStringLiteral("rename"));

    EXPECT_EQ(
        GitService().loadCommitChanges(repository.path(), commit),
        (QList<CommitFileChange> {change("D", QStringLiteral("gone.txt")),
                                  change("R100", QStringLiteral("src/a.c \u2192 src/b c.c"))}));
}

TEST(ChangeLoader, EveryRootCommitListsItsFilesAsAdded)
{
    TestRepository repository;
    repository.write(QStringLiteral("one.txt"), "1\n");
    repository.write(QStringLiteral("two.txt"), "2\n");
    const QString firstRoot = repository.commit(QStringLiteral("first root"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("--orphan"),
                    QStringLiteral("other")}); // starts from an empty tree
    repository.write(QStringLiteral("three.txt"), "3\n");
    const QString secondRoot = repository.commit(QStringLiteral("second root"));

    GitService git;
    EXPECT_EQ(git.loadCommitChanges(repository.path(), firstRoot),
              (QList<CommitFileChange> {change("A", QStringLiteral("one.txt")),
                                        change("A", QStringLiteral("two.txt"))}));
    EXPECT_EQ(git.loadCommitChanges(repository.path(), secondRoot),
              QList<CommitFileChange> {change("A", QStringLiteral("three.txt"))});
}

TEST(ChangeLoader, MergeCommitHasNoChanges)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.commit(QStringLiteral("root"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                    QStringLiteral("side")});
    repository.write(QStringLiteral("side.txt"), "s\n");
    repository.commit(QStringLiteral("side"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
    repository.write(QStringLiteral("main.txt"), "m\n");
    repository.commit(QStringLiteral("main"));
    repository.git({QStringLiteral("merge"), QStringLiteral("-q"), QStringLiteral("--no-edit"),
                    QStringLiteral("side")});

    EXPECT_TRUE(
        GitService().loadCommitChanges(repository.path(), QStringLiteral("HEAD")).isEmpty());
}

TEST(ChangeLoader, UnknownCommitFailsWithGitsMessage)
{
    TestRepository repository;
    repository.commit(QStringLiteral("root"));
    const QString unknown = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    const QString abbreviated = QStringLiteral("deadbee");
    GitService git;
    EXPECT_EQ(gitErrorOf([&] { git.loadCommitChanges(repository.path(), unknown); }),
              QStringLiteral("fatal: bad object ") + unknown);
    EXPECT_EQ(gitErrorOf([&] { git.loadCommitDiff(repository.path(), unknown); }),
              QStringLiteral("fatal: bad object ") + unknown);
    // An abbreviation git cannot resolve reads as a path; git's hint lines are kept.
    for (const QString &message :
         {gitErrorOf([&] { git.loadCommitChanges(repository.path(), abbreviated); }),
          gitErrorOf([&] { git.loadCommitDiff(repository.path(), abbreviated); })}) {
        EXPECT_TRUE(message.startsWith(
            QStringLiteral("fatal: ambiguous argument 'deadbee': unknown revision")))
            << message.toStdString();
    }
}

TEST(ChangeLoader, DiffHoldsFullerHeaderStatisticsAndPatch)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    repository.write(QStringLiteral("notes.txt"), "first\n");
    repository.commit(QStringLiteral("root"));
    repository.write(QStringLiteral("notes.txt"), "first\nsecond\n");
    repository.write(QStringLiteral("image.bin"), QByteArray("\x89PNG\x00\x00\x01", 7));
    const QString commit = repository.commit(QStringLiteral("Add an image"));

    const QString diff = GitService().loadCommitDiff(repository.path(), commit);
    EXPECT_TRUE(diff.startsWith(QStringLiteral("commit ") + commit + QLatin1Char('\n')));
    EXPECT_TRUE(diff.contains(QStringLiteral("\nAuthor:     Ada Lovelace <ada@example.com>\n")));
    EXPECT_TRUE(diff.contains(QStringLiteral("\nCommitDate: ")));
    EXPECT_TRUE(diff.contains(QStringLiteral(" image.bin | Bin 0 -> 7 bytes\n")));
    EXPECT_TRUE(diff.contains(QStringLiteral("\nBinary files /dev/null and b/image.bin differ\n")));
    EXPECT_TRUE(diff.contains(QStringLiteral("\n+second\n")));
    EXPECT_FALSE(diff.contains(QLatin1Char('\x1b'))); // no colour codes
    EXPECT_TRUE(diff.endsWith(QStringLiteral("+second\n"))); // git's text, untrimmed
}

TEST(ChangeLoader, DiffLargerThanSixtyFourMegabytesComesBackWhole)
{
    TestRepository repository;
    repository.commit(QStringLiteral("root"));
    // 1.2 million lines of 60 bytes: about 72 MB of patch text.
    constexpr int lineCount = 1200000;
    QByteArray content;
    content.reserve(qsizetype(lineCount) * 60);
    const QByteArray padding(47, 'x');
    for (int i = 0; i < lineCount; ++i)
        content.append(QByteArray::number(i).rightJustified(12, '0')).append(padding).append('\n');
    repository.write(QStringLiteral("big.txt"), content);
    const QString commit = repository.commit(QStringLiteral("big"));

    const QString diff = GitService().loadCommitDiff(repository.path(), commit);
    EXPECT_GT(diff.size(), 64 * 1024 * 1024);
    EXPECT_TRUE(diff.contains(QStringLiteral("+000000000000") + QString::fromLatin1(padding)
                              + QLatin1Char('\n')));
    const QString lastLine = QStringLiteral("+")
        + QString::number(lineCount - 1).rightJustified(12, QLatin1Char('0'))
        + QString::fromLatin1(padding) + QLatin1Char('\n');
    EXPECT_TRUE(diff.endsWith(lastLine));
    EXPECT_EQ(diff.count(QStringLiteral("\n+0")), lineCount);
}

TEST(ChangeLoader, CommitThatLooksLikeAnOptionIsNeverReadAsOne)
{
    TestRepository repository;
    repository.write(QStringLiteral("a.txt"), "a\n");
    repository.commit(QStringLiteral("add a"));
    const QString target = repository.filePath(QStringLiteral("written-by-git.txt"));
    const QString option = QStringLiteral("--output=") + target;

    EXPECT_THROW(GitService().loadCommitChanges(repository.path(), option), GitError);
    EXPECT_THROW(GitService().loadCommitDiff(repository.path(), option), GitError);
    EXPECT_FALSE(QFile::exists(target));
}
