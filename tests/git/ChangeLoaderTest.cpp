#include "TestRepository.h"
#include "git/GitService.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace strataloom;

TEST(ChangeLoader, ChangesListAddsModificationsDeletionsAndRenamesInGitsOrder)
{
    TestRepository repository;
    repository.setDateStep(60);
    repository.write("b.txt", "b\n");
    repository.write("src/a.c", "int main(void) { return 0; }\n");
    repository.write("gone.txt", "bye\n");
    const QString root = repository.commit("root");
    repository.write("a file.txt", "a\n");
    repository.write("b.txt", "b\nb\n");
    repository.write("ünï/名前.txt", "u\n");
    repository.git({"mv", "src/a.c", "src/b c.c"});
    repository.remove("gone.txt");
    const QString changed = repository.commit("add, modify, rename, delete");
    repository.git({"switch", "-q", "--orphan", "other"}); // starts from an empty tree
    repository.write("three.txt", "3\n");
    const QString secondRoot = repository.commit("second root");
    repository.git({"switch", "-q", "main"});
    repository.git({"merge", "-q", "--allow-unrelated-histories", "--no-edit", "other"});

    const std::pair<QString, QList<CommitFileChange>> cases[] = {
        {root, {{"A", "b.txt"}, {"A", "gone.txt"}, {"A", "src/a.c"}}},
        {changed,
         {{"A", "a file.txt"},
          {"M", "b.txt"},
          {"D", "gone.txt"},
          {"R100", "src/a.c \u2192 src/b c.c"},
          {"A", "ünï/名前.txt"}}},
        {secondRoot, {{"A", "three.txt"}}},
        {"HEAD", {}}, // a merge lists nothing
    };
    for (const auto &[revision, changes] : cases)
        EXPECT_EQ(GitService().loadCommitChanges(repository.path(), revision), changes)
            << revision.toStdString();
}

TEST(ChangeLoader, UnknownOrOptionLikeCommitsFailWithGitsMessage)
{
    TestRepository repository;
    repository.commit("root");
    const QString target = repository.filePath("written-by-git.txt");
    const QString unknown = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    // An abbreviation git cannot resolve reads as a path; git's hint lines are kept.
    const std::pair<QString, QString> cases[] = {
        {unknown, "fatal: bad object " + unknown},
        {"deadbee", "fatal: ambiguous argument 'deadbee': unknown revision"},
        {"--output=" + target, "fatal: "},
    };
    GitService git;
    for (const auto &[commit, message] : cases) {
        EXPECT_TRUE(gitErrorOf([&] {
                        git.loadCommitChanges(repository.path(), commit);
                    }).startsWith(message))
            << commit.toStdString();
        EXPECT_TRUE(
            gitErrorOf([&] { git.loadCommitDiff(repository.path(), commit); }).startsWith(message))
            << commit.toStdString();
    }
    EXPECT_FALSE(QFile::exists(target));
}

TEST(ChangeLoader, DiffHoldsFullerHeaderStatisticsAndPatch)
{
    TestRepository repository;
    repository.write("notes.txt", "first\n");
    repository.commit("root");
    repository.write("notes.txt", "first\nsecond\n");
    repository.write("image.bin", QByteArray("\x89PNG\x00\x00\x01", 7));
    const QString commit = repository.commit("Add an image");

    const QString diff = GitService().loadCommitDiff(repository.path(), commit);
    EXPECT_TRUE(diff.startsWith("commit " + commit + '\n'));
    for (const char *part : {"\nAuthor:     Ada Lovelace <ada@example.com>\n",
                             "\nCommitDate: ", " image.bin | Bin 0 -> 7 bytes\n",
                             "\nBinary files /dev/null and b/image.bin differ\n"})
        EXPECT_TRUE(diff.contains(QLatin1String(part))) << part;
    EXPECT_FALSE(diff.contains('\x1b')); // no colour codes
    EXPECT_TRUE(diff.endsWith("\n+second\n")); // git's text, untrimmed
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
