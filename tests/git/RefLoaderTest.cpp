#include "TestRepository.h"
#include "git/GitService.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace strataloom;

namespace {

std::optional<BranchRecord> findBranch(const QList<BranchRecord> &branches, const QString &name)
{
    const auto found = std::find_if(branches.begin(), branches.end(),
                                    [&](const BranchRecord &b) { return b.name == name; });
    return found == branches.end() ? std::nullopt : std::optional(*found);
}

QString shortHash(const TestRepository &repository, const QString &revision)
{
    return repository.git({"rev-parse", "--short", revision}).trimmed();
}

} // namespace

// Branches and tags newest first; a slash does not make a branch remote, and an annotated tag
// names its tag object and the tagger's date.
TEST(RefLoader, LocalBranchesAndTagsNewestFirstWithCurrentMarked)
{
    TestRepository repository;
    const QString first = repository.commit("First release | \"quoted\"");
    repository.git({"tag", "v1.0"});
    repository.git({"switch", "-q", "-c", "feature/x"});
    repository.setDate("2024-02-01T08:30:00+02:00");
    const QString tip = repository.commit("feature", "Grace Hopper", "grace@example.com");
    repository.git({"switch", "-q", "main"});
    repository.setDate("2024-03-01T10:00:00Z");
    const QString second = repository.commit("Second");
    repository.setDate("2024-04-01T12:00:00+02:00");
    repository.git({"tag", "-a", "v2.0", "-m", "Release two\n\nNotes.", second});

    const QList<BranchRecord> branches = GitService().loadBranches(repository.path());
    ASSERT_EQ(branches.size(), 2);
    EXPECT_EQ(
        std::make_tuple(branches.at(0).name, branches.at(0).isCurrent, branches.at(0).lastAuthor),
        std::make_tuple("main", true, "Ada Lovelace"));
    EXPECT_EQ(branches.at(1),
              (BranchRecord {"feature/x", false, false, shortHash(repository, tip),
                             utcDate("2024-02-01T06:30:00Z"), "Grace Hopper"}));
    EXPECT_EQ(GitService().loadTags(repository.path()),
              (QList<TagRecord> {{"v2.0", shortHash(repository, "refs/tags/v2.0"),
                                  utcDate("2024-04-01T10:00:00Z"), "Release two"},
                                 {"v1.0", shortHash(repository, first),
                                  utcDate("2024-01-01T10:00:00Z"), "First release | \"quoted\""}}));
    EXPECT_NE(shortHash(repository, "refs/tags/v2.0"), shortHash(repository, second));

    // A detached HEAD marks no branch current.
    repository.git({"switch", "-q", "--detach", "HEAD"});
    for (const BranchRecord &branch : GitService().loadBranches(repository.path()))
        EXPECT_FALSE(branch.isCurrent) << branch.name.toStdString();
}

TEST(RefLoader, RemoteBranchesAreListedAsRemoteAndCheckedOutAsTrackingBranches)
{
    // main and topic pushed to a bare origin, origin/HEAD set, and a branch "feature" that
    // exists only on the remote.
    TestRepository origin {true};
    TestRepository work;
    work.setDateStep(3600);
    work.commit("root");
    work.git({"switch", "-q", "-c", "topic"});
    work.commit("topic work");
    work.git({"switch", "-q", "-c", "feature"});
    work.commit("feature work");
    work.git({"switch", "-q", "main"});
    work.git({"remote", "add", "origin", origin.path()});
    work.git({"push", "-q", "origin", "main", "topic", "feature"});
    work.git({"branch", "-q", "-D", "feature"});
    work.git({"fetch", "-q", "origin"});
    work.git({"remote", "set-head", "origin", "-a"});
    const auto current = [&] { return work.git({"branch", "--show-current"}).trimmed(); };
    GitService git;
    const QList<BranchRecord> branches = git.loadBranches(work.path());
    EXPECT_EQ(branches.size(), 6); // main, topic and four remote refs
    // Tips by author date, newest first: feature's tip is the newest commit.
    EXPECT_EQ(branches.first().name, "origin/feature");
    // git 2.39 shortens refs/remotes/origin/HEAD to origin/HEAD, newer versions to origin.
    const auto remoteHead = findBranch(branches, "origin/HEAD")
        ? findBranch(branches, "origin/HEAD")
        : findBranch(branches, "origin");
    ASSERT_TRUE(remoteHead.has_value());
    EXPECT_EQ(remoteHead->lastCommitHash, findBranch(branches, "origin/main")->lastCommitHash);
    const std::tuple<QString, bool, bool> expected[]
        = {{"origin/main", true, false},    {"origin/topic", true, false},
           {"origin/feature", true, false}, {remoteHead->name, true, false},
           {"main", false, true},           {"topic", false, false}};
    for (const auto &[name, isRemote, isCurrent] : expected) {
        const auto branch = findBranch(branches, name);
        ASSERT_TRUE(branch.has_value()) << name.toStdString();
        EXPECT_EQ(std::make_pair(branch->isRemote, branch->isCurrent),
                  std::make_pair(isRemote, isCurrent))
            << name.toStdString();
    }

    git.checkout(*findBranch(branches, "topic"), work.path());
    EXPECT_EQ(current(), "topic");
    EXPECT_TRUE(findBranch(git.loadBranches(work.path()), "topic")->isCurrent);

    // A remote branch whose local name exists already is refused as git refuses it.
    EXPECT_EQ(gitErrorOf([&] { git.checkout(*findBranch(branches, "origin/topic"), work.path()); }),
              "fatal: a branch named 'topic' already exists");
    EXPECT_EQ(current(), "topic");

    // Otherwise git makes a local branch of the same short name that tracks it.
    git.checkout(*findBranch(branches, "origin/feature"), work.path());
    EXPECT_EQ(current(), "feature");
    EXPECT_EQ(work.git({"rev-parse", "--abbrev-ref", "feature@{upstream}"}).trimmed(),
              "origin/feature");
}
