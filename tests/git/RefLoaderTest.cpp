#include "git/GitService.h"
#include "TestRepository.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace strataloom;

namespace {

QStringList namesOf(const QList<BranchRecord> &branches)
{
    QStringList names;
    for (const BranchRecord &branch : branches)
        names.append(branch.name);
    return names;
}

const BranchRecord *findBranch(const QList<BranchRecord> &branches, const QString &name)
{
    const auto found = std::find_if(branches.begin(), branches.end(),
                                    [&](const BranchRecord &b) { return b.name == name; });
    return found == branches.end() ? nullptr : &*found;
}

QString shortHash(const TestRepository &repository, const QString &revision)
{
    return repository.git({QStringLiteral("rev-parse"), QStringLiteral("--short"), revision})
        .trimmed();
}

void switchTo(const TestRepository &repository, const QString &branch, bool create = false)
{
    QStringList arguments {QStringLiteral("switch"), QStringLiteral("-q")};
    if (create)
        arguments << QStringLiteral("-c");
    repository.git(arguments << branch);
}

// A repository with main and topic pushed to a bare origin, origin/HEAD set, plus a branch
// "feature" that exists only on the remote.
struct ClonedSetup
{
    TestRepository origin {true};
    TestRepository work;

    ClonedSetup()
    {
        work.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
        work.setDateStep(3600);
        work.commit(QStringLiteral("root"));
        switchTo(work, QStringLiteral("topic"), true);
        work.commit(QStringLiteral("topic work"));
        switchTo(work, QStringLiteral("feature"), true);
        work.commit(QStringLiteral("feature work"));
        switchTo(work, QStringLiteral("main"));
        work.git({QStringLiteral("remote"), QStringLiteral("add"), QStringLiteral("origin"),
                  origin.path()});
        work.git({QStringLiteral("push"), QStringLiteral("-q"), QStringLiteral("origin"),
                  QStringLiteral("main"), QStringLiteral("topic"), QStringLiteral("feature")});
        work.git({QStringLiteral("branch"), QStringLiteral("-q"), QStringLiteral("-D"),
                  QStringLiteral("feature")});
        work.git({QStringLiteral("fetch"), QStringLiteral("-q"), QStringLiteral("origin")});
        work.git({QStringLiteral("remote"), QStringLiteral("set-head"), QStringLiteral("origin"),
                  QStringLiteral("-a")});
    }
};

} // namespace

TEST(RefLoader, EmptyRepositoryHasNoBranchesOrTags)
{
    TestRepository repository;
    GitService git;
    EXPECT_TRUE(git.loadBranches(repository.path()).isEmpty());
    EXPECT_TRUE(git.loadTags(repository.path()).isEmpty());
}

TEST(RefLoader, LocalBranchesNewestTipFirstWithCurrentMarked)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    repository.commit(QStringLiteral("root"));
    switchTo(repository, QStringLiteral("feature/x"), true);
    repository.setDate(QStringLiteral("2024-02-01T08:30:00+02:00"));
    const QString tip = repository.commit(QStringLiteral("feature"), QStringLiteral("Grace Hopper"),
                                          QStringLiteral("grace@example.com"));
    switchTo(repository, QStringLiteral("main"));

    const QList<BranchRecord> branches = GitService().loadBranches(repository.path());
    EXPECT_EQ(namesOf(branches),
              (QStringList {QStringLiteral("feature/x"), QStringLiteral("main")}));
    ASSERT_EQ(branches.size(), 2);

    const BranchRecord &feature = branches.at(0);
    EXPECT_FALSE(feature.isRemote); // a slash does not make a branch remote
    EXPECT_FALSE(feature.isCurrent);
    EXPECT_EQ(feature.lastCommitHash, shortHash(repository, tip));
    EXPECT_EQ(feature.lastCommitDate, utcDate("2024-02-01T06:30:00Z"));
    EXPECT_EQ(feature.lastAuthor, QStringLiteral("Grace Hopper"));

    const BranchRecord &main = branches.at(1);
    EXPECT_TRUE(main.isCurrent);
    EXPECT_FALSE(main.isRemote);
    EXPECT_EQ(main.lastAuthor, QStringLiteral("Ada Lovelace"));
}

TEST(RefLoader, DetachedHeadMarksNoBranchCurrent)
{
    TestRepository repository;
    repository.commit(QStringLiteral("root"));
    repository.commit(QStringLiteral("second"));
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("--detach"),
                    QStringLiteral("HEAD~1")});

    const QList<BranchRecord> branches = GitService().loadBranches(repository.path());
    ASSERT_EQ(branches.size(), 1);
    EXPECT_FALSE(branches.at(0).isCurrent);
}

TEST(RefLoader, RemoteTrackingBranchesAndRemoteHeadAreListedAsRemote)
{
    ClonedSetup setup;
    const QList<BranchRecord> branches = GitService().loadBranches(setup.work.path());

    for (const QString &name : {QStringLiteral("origin/main"), QStringLiteral("origin/topic"),
                                QStringLiteral("origin/feature")}) {
        const BranchRecord *remote = findBranch(branches, name);
        ASSERT_NE(remote, nullptr) << name.toStdString();
        EXPECT_TRUE(remote->isRemote);
        EXPECT_FALSE(remote->isCurrent);
    }
    // git 2.39 shortens refs/remotes/origin/HEAD to origin/HEAD, newer versions to origin.
    const BranchRecord *remoteHead = findBranch(branches, QStringLiteral("origin/HEAD"));
    if (!remoteHead)
        remoteHead = findBranch(branches, QStringLiteral("origin"));
    ASSERT_NE(remoteHead, nullptr);
    EXPECT_TRUE(remoteHead->isRemote);
    EXPECT_EQ(remoteHead->lastCommitHash,
              findBranch(branches, QStringLiteral("origin/main"))->lastCommitHash);

    const BranchRecord *main = findBranch(branches, QStringLiteral("main"));
    ASSERT_NE(main, nullptr);
    EXPECT_TRUE(main->isCurrent);
    EXPECT_FALSE(main->isRemote);
    EXPECT_EQ(branches.size(), 6); // main, topic and four remote refs
    // Tips by author date, newest first: feature's tip is the newest commit.
    EXPECT_EQ(branches.first().name, QStringLiteral("origin/feature"));
}

TEST(RefLoader, CheckoutSwitchesToALocalBranch)
{
    ClonedSetup setup;
    GitService git;
    const QList<BranchRecord> before = git.loadBranches(setup.work.path());
    const BranchRecord *topic = findBranch(before, QStringLiteral("topic"));
    ASSERT_NE(topic, nullptr);
    git.checkout(*topic, setup.work.path());

    EXPECT_EQ(
        setup.work.git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed(),
        QStringLiteral("topic"));
    const QList<BranchRecord> after = git.loadBranches(setup.work.path());
    const BranchRecord *current = findBranch(after, QStringLiteral("topic"));
    ASSERT_NE(current, nullptr);
    EXPECT_TRUE(current->isCurrent);
}

TEST(RefLoader, CheckoutOfARemoteBranchCreatesATrackingBranch)
{
    ClonedSetup setup;
    GitService git;
    const QList<BranchRecord> branches = git.loadBranches(setup.work.path());
    const BranchRecord *remote = findBranch(branches, QStringLiteral("origin/feature"));
    ASSERT_NE(remote, nullptr);
    git.checkout(*remote, setup.work.path());

    EXPECT_EQ(
        setup.work.git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed(),
        QStringLiteral("feature"));
    EXPECT_EQ(setup.work
                  .git({QStringLiteral("rev-parse"), QStringLiteral("--abbrev-ref"),
                        QStringLiteral("feature@{upstream}")})
                  .trimmed(),
              QStringLiteral("origin/feature"));
}

TEST(RefLoader, CheckoutOfARemoteBranchWhoseLocalNameExistsFailsWithGitsMessage)
{
    ClonedSetup setup;
    GitService git;
    const QList<BranchRecord> branches = git.loadBranches(setup.work.path());
    const BranchRecord *remote = findBranch(branches, QStringLiteral("origin/topic"));
    ASSERT_NE(remote, nullptr);
    const QString message = gitErrorOf([&] { git.checkout(*remote, setup.work.path()); });
    EXPECT_EQ(message, QStringLiteral("fatal: a branch named 'topic' already exists"));
    EXPECT_EQ(
        setup.work.git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed(),
        QStringLiteral("main"));
}

TEST(RefLoader, LightweightAndAnnotatedTagsNewestFirst)
{
    TestRepository repository;
    repository.setDate(QStringLiteral("2024-01-01T10:00:00Z"));
    const QString first = repository.commit(QStringLiteral("First release | \"quoted\""));
    repository.git({QStringLiteral("tag"), QStringLiteral("v1.0")});
    repository.setDate(QStringLiteral("2024-03-01T10:00:00Z"));
    const QString second = repository.commit(QStringLiteral("Second"));
    repository.setDate(QStringLiteral("2024-04-01T12:00:00+02:00"));
    repository.git({QStringLiteral("tag"), QStringLiteral("-a"), QStringLiteral("v2.0"),
                    QStringLiteral("-m"), QStringLiteral("Release two\n\nNotes."), second});

    const QList<TagRecord> tags = GitService().loadTags(repository.path());
    ASSERT_EQ(tags.size(), 2);

    const TagRecord &annotated = tags.at(0);
    EXPECT_EQ(annotated.name, QStringLiteral("v2.0"));
    EXPECT_EQ(annotated.objectHash, shortHash(repository, QStringLiteral("refs/tags/v2.0")));
    EXPECT_NE(annotated.objectHash, shortHash(repository, second));
    EXPECT_EQ(annotated.date, utcDate("2024-04-01T10:00:00Z")); // the tagger's date
    EXPECT_EQ(annotated.subject, QStringLiteral("Release two"));

    const TagRecord &lightweight = tags.at(1);
    EXPECT_EQ(lightweight.name, QStringLiteral("v1.0"));
    EXPECT_EQ(lightweight.objectHash, shortHash(repository, first));
    EXPECT_EQ(lightweight.date, utcDate("2024-01-01T10:00:00Z"));
    EXPECT_EQ(lightweight.subject, QStringLiteral("First release | \"quoted\""));
}

TEST(RefLoader, CheckoutRunsNeitherTheRepositoryHooksNorItsFilters)
{
    TestRepository repository;
    repository.write(QStringLiteral("a.txt"), "one\n");
    repository.write(QStringLiteral(".gitattributes"), "*.txt filter=evil\n");
    repository.commit(QStringLiteral("root"));
    repository.git({QStringLiteral("branch"), QStringLiteral("other")});
    repository.write(QStringLiteral("a.txt"), "two\n");
    repository.commit(QStringLiteral("main moves on"));

    QTemporaryDir trapDir;
    const QString marker = trapDir.filePath(QStringLiteral("marker"));
    const QString trap = trapDir.filePath(QStringLiteral("trap.sh"));
    QFile script(trap);
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\ntouch '%1'\ncat\n").arg(marker).toUtf8());
    script.close();
    script.setPermissions(script.permissions() | QFile::ExeOwner);
    QFile::copy(trap, repository.filePath(QStringLiteral(".git/hooks/post-checkout")));
    repository.git({QStringLiteral("config"), QStringLiteral("filter.evil.smudge"), trap});
    repository.git({QStringLiteral("config"), QStringLiteral("filter.evil.clean"), trap});

    BranchRecord other;
    other.name = QStringLiteral("other");
    GitService().checkout(other, repository.path());
    EXPECT_EQ(
        repository.git({QStringLiteral("branch"), QStringLiteral("--show-current")}).trimmed(),
        QStringLiteral("other"));
    EXPECT_FALSE(QFile::exists(marker)) << "checkout started a program of the repository";

    // The traps are real: git's own switch runs them.
    repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
    EXPECT_TRUE(QFile::exists(marker));
}
