// One repository names a program in every setting git knows to start one with, in each place a
// configuration can come from; every loader, the indexer and the checkout then run on it.
//
// The rule under test: programs named by the repository's own configuration (its config file, a
// file that includes, a submodule's config, its hooks) never run. Programs of the user's global
// configuration are the user's: they run where plain git runs them on writes (the checkout's
// filters and hooks), but none starts on a read path, because the settings that would start one
// there (signature verifier, textconv, external diff, fsmonitor, pager) are pinned.
#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/RepositoryIndex.h"
#include "index/RepositoryIndexer.h"
#include "TestFixtures.h"
#include "TestRepository.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

using namespace strataloom;

namespace {

const char *const hookNames[] = {
    "applypatch-msg", "pre-applypatch", "post-applypatch", "pre-commit", "pre-merge-commit",
    "prepare-commit-msg", "commit-msg", "post-commit", "pre-rebase", "post-checkout", "post-merge",
    "pre-push", "pre-receive", "update", "proc-receive", "post-receive", "post-update",
    "reference-transaction", "push-to-checkout", "pre-auto-gc", "post-rewrite",
    "sendemail-validate", "fsmonitor-watchman", "post-index-change"};

// Programs that append their own name to one log whenever anything starts them, then pass
// standard input through as a filter, pager or textconv would.
class Traps
{
public:
    QString program(const QString &name)
    {
        const QString path = m_dir.filePath(QString(name).replace(QLatin1Char(':'), QLatin1Char('-'))
                                            .replace(QLatin1Char('='), QLatin1Char('-')));
        writeScript(path, QStringLiteral("echo '%1' >> '%2'\ncat\n").arg(name, log()).toUtf8());
        return path;
    }
    // A folder holding every hook git knows, each a trap.
    QString hooks(const QString &scope, const QString &folder = {})
    {
        const QString target = folder.isEmpty() ? m_dir.filePath(scope + QStringLiteral("-hooks"))
                                                : folder;
        QDir().mkpath(target);
        for (const char *hook : hookNames) {
            const QString path = target + QLatin1Char('/') + QLatin1String(hook);
            QFile::remove(path);
            QFile::copy(program(scope + QLatin1Char(':') + QLatin1String(hook)), path);
        }
        return target;
    }
    QStringList fired() const
    {
        QFile file(log());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }
    void clear() const { QFile::remove(log()); }
    QString path(const QString &name) const { return m_dir.filePath(name); }

private:
    QString log() const { return m_dir.filePath(QStringLiteral("fired.log")); }
    QTemporaryDir m_dir;
};

// Every setting that names a program, each pointing at a trap of its own, for one @p scope.
GitSettings programSettings(Traps &traps, const QString &scope)
{
    const auto trap = [&](const char *name) {
        return traps.program(scope + QLatin1Char(':') + QLatin1String(name));
    };
    const auto s = [](const char *key, const QString &value) {
        return GitSetting {QString::fromLatin1(key), value};
    };
    return {
        s("core.fsmonitor", trap("fsmonitor")),
        s("core.hooksPath", traps.hooks(scope)),
        s("diff.evil.textconv", trap("textconv")),
        s("diff.evil.command", trap("diff-command")),
        s("diff.external", trap("external-diff")),
        s("filter.evil.clean", trap("clean")),
        s("filter.evil.smudge", trap("smudge")),
        s("filter.evil.required", QStringLiteral("true")),
        s("filter.a=b.clean", trap("a=b-clean")),
        s("filter.a=b.smudge", trap("a=b-smudge")),
        s("filter.proc.process", trap("process")),
        s("log.showSignature", QStringLiteral("true")),
        s("gpg.program", trap("gpg")),
        s("gpg.openpgp.program", trap("gpg-openpgp")),
        s("gpg.ssh.program", trap("gpg-ssh")),
        s("gpg.x509.program", trap("gpg-x509")),
        s("core.pager", trap("pager")),
        s("pager.log", trap("pager-log")),
        s("pager.show", trap("pager-show")),
        s("pager.status", trap("pager-status")),
        s("core.editor", trap("editor")),
        s("sequence.editor", trap("sequence-editor")),
        s("core.sshCommand", trap("ssh")),
        s("credential.helper", trap("credential")),
        s("core.askPass", trap("askpass")),
        s("core.alternateRefsCommand", trap("alternate-refs")),
        s("uploadpack.packObjectsHook", trap("pack-objects-hook")),
        s("submodule.recurse", QStringLiteral("true")),
        s("status.submoduleSummary", QStringLiteral("true")),
        s("diff.submodule", QStringLiteral("diff")),
    };
}

// Rewrites a tracked file with other bytes of the same size and an older time stamp, so that git
// cannot tell from the file's metadata alone whether it changed: it has to clean the content.
void changeInPlace(const TestRepository &repository, const QString &relative, const QByteArray &content)
{
    repository.write(relative, content);
    QFile file(repository.filePath(relative));
    file.open(QIODevice::ReadWrite);
    file.setFileTime(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC),
                     QFileDevice::FileModificationTime);
}

void writeSettings(const QString &file, const GitSettings &settings)
{
    for (const GitSetting &setting : settings)
        runGitIn(QDir::tempPath(),
                 {QStringLiteral("config"), QStringLiteral("--file"), file, setting.key,
                  setting.value});
}

// A superproject with filtered files changed in history and in the work tree, a checked-out
// submodule with a changed filtered file, a signed tip and a branch to switch to.
struct Fixture
{
    TestRepository inner;
    TestRepository repository;
    QString commit;

    Fixture()
    {
        inner.write(QStringLiteral("inner.txt"), "inner\n");
        inner.write(QStringLiteral(".gitattributes"), "*.txt filter=evil diff=evil\n");
        inner.commit(QStringLiteral("inner"));

        repository.write(QStringLiteral(".gitattributes"),
                         "*.txt diff=evil filter=evil\n*.ab diff=evil filter=a=b\n"
                         "*.proc filter=proc\n");
        repository.write(QStringLiteral("notes.txt"), "first\n");
        repository.write(QStringLiteral("data.ab"), "ab one\n");
        repository.write(QStringLiteral("data.proc"), "proc one\n");
        repository.write(QStringLiteral("switch.txt"), "main\n");
        repository.commit(QStringLiteral("first"));
        repository.git({QStringLiteral("-c"), QStringLiteral("protocol.file.allow=always"),
                        QStringLiteral("submodule"), QStringLiteral("add"), QStringLiteral("-q"),
                        inner.path(), QStringLiteral("sub")});
        repository.write(QStringLiteral("notes.txt"), "second change\n");
        repository.write(QStringLiteral("data.ab"), "ab two\n");
        repository.write(QStringLiteral("data.proc"), "proc two\n");
        repository.commit(QStringLiteral("second change"));
        repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("-c"),
                        QStringLiteral("other")});
        repository.write(QStringLiteral("switch.txt"), "other\n");
        repository.commit(QStringLiteral("other side"));
        repository.git({QStringLiteral("switch"), QStringLiteral("-q"), QStringLiteral("main")});
        signTip(repository);
        commit = repository.git({QStringLiteral("rev-parse"), QStringLiteral("HEAD")}).trimmed();

        // Same sizes, other bytes: only cleaning the files tells whether they changed.
        changeInPlace(repository, QStringLiteral("notes.txt"), "SECOND CHANGE\n");
        changeInPlace(repository, QStringLiteral("data.ab"), "AB TWO\n");
        changeInPlace(repository, QStringLiteral("data.proc"), "PROC TWO\n");
        changeInPlace(repository, QStringLiteral("sub/inner.txt"), "INNER\n");
    }

    QString gitDirectory(const QString &relative) const
    {
        const QString directory = repository.filePath(relative);
        return QDir(directory).absoluteFilePath(
            runGitIn(directory, {QStringLiteral("rev-parse"), QStringLiteral("--git-dir")})
                .trimmed());
    }
};

struct Scope
{
    const char *name;
    // Puts @p settings where this scope keeps them; may add hooks of its own.
    std::function<void(Fixture &, Traps &, const GitSettings &)> apply;
    bool usersOwn; ///< the global configuration: its filters and hooks are the user's
    // Plain git commands, each with a trap that must fire, so that no case passes vacuously.
    QList<std::pair<QStringList, const char *>> plainGitFires;
};

} // namespace

TEST(HostileConfiguration, NoProgramOfTheRepositoryOrOnAReadPathEverStarts)
{
    const QString home = QDir::homePath();
    const QList<Scope> scopes {
        {"repository",
         [](Fixture &f, Traps &traps, const GitSettings &settings) {
             writeSettings(f.gitDirectory(QStringLiteral(".")) + QStringLiteral("/config"),
                           settings);
             traps.hooks(QStringLiteral("repository"),
                         f.gitDirectory(QStringLiteral(".")) + QStringLiteral("/hooks"));
             // Objects borrowed from a repository full of traps of its own.
             static TestRepository borrowed;
             borrowed.commit(QStringLiteral("borrowed"));
             writeSettings(borrowed.filePath(QStringLiteral(".git/config")),
                           programSettings(traps, QStringLiteral("borrowed")));
             QFile alternates(f.gitDirectory(QStringLiteral(".")) + QStringLiteral("/objects/info/alternates"));
             alternates.open(QIODevice::WriteOnly);
             alternates.write(borrowed.filePath(QStringLiteral(".git/objects")).toUtf8() + '\n');
         },
         false,
         {{{QStringLiteral("status")}, "repository:fsmonitor"},
          {{QStringLiteral("status")}, "repository:a=b-clean"},
          {{QStringLiteral("log"), QStringLiteral("-1")}, "repository:gpg-openpgp"},
          {{QStringLiteral("diff")}, "repository:external-diff"}}},
        {"included",
         [](Fixture &f, Traps &traps, const GitSettings &settings) {
             const QString included = traps.path(QStringLiteral("included.config"));
             writeSettings(included, settings);
             writeSettings(f.gitDirectory(QStringLiteral(".")) + QStringLiteral("/config"),
                           {{QStringLiteral("include.path"), included}});
         },
         false,
         {{{QStringLiteral("status")}, "included:clean"},
          {{QStringLiteral("log"), QStringLiteral("-1")}, "included:gpg-openpgp"},
          {{QStringLiteral("diff")}, "included:external-diff"}}},
        {"submodule",
         [](Fixture &f, Traps &traps, const GitSettings &settings) {
             const QString gitDirectory = f.gitDirectory(QStringLiteral("sub"));
             writeSettings(gitDirectory + QStringLiteral("/config"), settings);
             traps.hooks(QStringLiteral("submodule"), gitDirectory + QStringLiteral("/hooks"));
         },
         false,
         {{{QStringLiteral("status")}, "submodule:clean"}}},
        {"global",
         [home](Fixture &, Traps &, const GitSettings &settings) {
             writeSettings(home + QStringLiteral("/.gitconfig"), settings);
         },
         true,
         {{{QStringLiteral("log"), QStringLiteral("-1")}, "global:gpg-openpgp"},
          {{QStringLiteral("diff")}, "global:external-diff"},
          {{QStringLiteral("show"), QStringLiteral("--no-ext-diff"), QStringLiteral("HEAD~1")},
           "global:textconv"}}},
    };

    for (const Scope &scope : scopes) {
        SCOPED_TRACE(scope.name);
        Fixture fixture;
        Traps traps;
        const QString path = fixture.repository.path();
        scope.apply(fixture, traps, programSettings(traps, QString::fromLatin1(scope.name)));

        for (const auto &[arguments, trap] : scope.plainGitFires) {
            fixture.repository.gitStatus(arguments);
            EXPECT_TRUE(traps.fired().contains(QString::fromLatin1(trap)))
                << trap << " did not fire with plain git " << arguments.join(' ').toStdString();
            traps.clear();
        }

        GitService git;
        QTemporaryDir indexDir;
        const QList<std::pair<const char *, std::function<void()>>> runs {
            {"summary", [&] { git.loadSummary(path); }},
            {"commits", [&] { git.loadCommits(path, 100); }},
            {"graph", [&] { git.loadGraph(path, 100); }},
            {"search", [&] { git.searchCommits(path, QStringLiteral("change")); }},
            {"branches", [&] { git.loadBranches(path); }},
            {"tags", [&] { git.loadTags(path); }},
            {"files", [&] { git.loadFiles(path); }},
            {"file", [&] { git.loadFileDetails(path, QStringLiteral("notes.txt")); }},
            {"authors", [&] { git.loadAuthorStats(path); }},
            {"author", [&] { git.loadAuthorDetails(path, QStringLiteral("Ada Lovelace")); }},
            {"activity", [&] { git.loadActivity(path, 1200); }},
            {"changes", [&] { git.loadCommitChanges(path, fixture.commit); }},
            {"diff", [&] { git.loadCommitDiff(path, fixture.commit + QStringLiteral("~1")); }},
            {"index",
             [&] {
                 RepositoryIndex index(indexDir.filePath(QStringLiteral("index.sqlite")));
                 RepositoryIndexer(index).synchronize(path);
             }},
        };
        // The user's own filters and hooks may run wherever plain git runs them.
        const auto forbidden = [&](QStringList fired) {
            if (scope.usersOwn)
                fired.removeIf([](const QString &name) {
                    static const QStringList usersOwn = [] {
                        QStringList names {QStringLiteral("clean"), QStringLiteral("smudge"),
                                           QStringLiteral("a=b-clean"),
                                           QStringLiteral("a=b-smudge"), QStringLiteral("process")};
                        for (const char *hook : hookNames)
                            names << QString::fromLatin1(hook);
                        return names;
                    }();
                    return usersOwn.contains(name.mid(name.indexOf(QLatin1Char(':')) + 1));
                });
            return fired;
        };
        for (const auto &[name, run] : runs) {
            try {
                run();
            } catch (const std::exception &error) {
                ADD_FAILURE() << name << " failed: " << error.what();
            }
            EXPECT_EQ(forbidden(traps.fired()), QStringList()) << name << " started a program";
            traps.clear();
        }

        BranchRecord other;
        other.name = QStringLiteral("other");
        EXPECT_NO_THROW(git.checkout(other, path));
        EXPECT_EQ(fixture.repository.git({QStringLiteral("branch"), QStringLiteral("--show-current")})
                      .trimmed(),
                  QStringLiteral("other"));
        const QStringList fired = traps.fired();
        if (scope.usersOwn) {
            // The user's own filter and hooks run on a switch, as with plain git.
            EXPECT_TRUE(fired.contains(QStringLiteral("global:smudge"))) << fired.join(' ').toStdString();
            EXPECT_TRUE(fired.contains(QStringLiteral("global:post-checkout")))
                << fired.join(' ').toStdString();
        }
        EXPECT_EQ(forbidden(fired), QStringList()) << "the checkout started a program";
        QFile::remove(home + QStringLiteral("/.gitconfig"));
    }
}

TEST(HostileConfiguration, StatusNeedingTheRepositorysOwnFilterIsUnknownNotAnError)
{
    struct Case
    {
        const char *name;
        std::function<void(TestRepository &, Traps &)> arrange;
        bool clean;
        bool known;
        const char *fires = nullptr; ///< the one program that may run: the user's own
    };
    // A filter marked required, as `git lfs install --local` writes it.
    const auto repositoryFilter = [](TestRepository &repository, Traps &traps) {
        writeSettings(repository.filePath(QStringLiteral(".git/config")),
                      {{QStringLiteral("filter.lfs.clean"), traps.program(QStringLiteral("clean"))},
                       {QStringLiteral("filter.lfs.process"), traps.program(QStringLiteral("process"))},
                       {QStringLiteral("filter.lfs.required"), QStringLiteral("true")}});
    };
    const auto touchFiltered = [](TestRepository &repository) {
        changeInPlace(repository, QStringLiteral("data.bin"), "PAYLOAD\n");
    };
    const QList<Case> cases {
        {"untouched tree", repositoryFilter, true, true},
        {"filtered file changed",
         [&](TestRepository &r, Traps &t) { repositoryFilter(r, t), touchFiltered(r); }, false,
         false},
        {"untracked file besides",
         [&](TestRepository &r, Traps &t) {
             repositoryFilter(r, t), touchFiltered(r);
             r.write(QStringLiteral("new.txt"), "new\n");
         },
         false, true},
        {"unfiltered file changed besides",
         [&](TestRepository &r, Traps &t) {
             repositoryFilter(r, t), touchFiltered(r);
             r.write(QStringLiteral("plain.txt"), "PLAIN\n");
         },
         false, true},
        {"filtered file staged",
         [&](TestRepository &r, Traps &t) {
             touchFiltered(r);
             r.git({QStringLiteral("update-index"), QStringLiteral("--add"),
                    QStringLiteral("data.bin")});
             repositoryFilter(r, t);
         },
         false, true},
        {"the user's own filter of the same name",
         [&](TestRepository &r, Traps &t) {
             writeSettings(r.filePath(QStringLiteral(".git/config")),
                           {{QStringLiteral("filter.lfs.clean"), t.program(QStringLiteral("clean"))},
                            {QStringLiteral("filter.lfs.required"), QStringLiteral("true")}});
             writeSettings(QDir::homePath() + QStringLiteral("/.gitconfig"),
                           {{QStringLiteral("filter.lfs.clean"),
                             t.program(QStringLiteral("user-clean"))}});
             touchFiltered(r);
         },
         false, true, "user-clean"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TestRepository repository;
        repository.write(QStringLiteral(".gitattributes"), "*.bin filter=lfs\n");
        repository.write(QStringLiteral("data.bin"), "payload\n");
        repository.write(QStringLiteral("plain.txt"), "plain\n");
        repository.commit(QStringLiteral("root"));
        Traps traps;
        c.arrange(repository, traps);

        RepositorySummary summary;
        EXPECT_NO_THROW(summary = GitService().loadSummary(repository.path()));
        EXPECT_EQ(summary.isClean, c.clean);
        EXPECT_EQ(summary.statusUnavailableReason.has_value(), !c.known);
        EXPECT_EQ(summary.commitCount, 1);
        QStringList fired = traps.fired();
        if (c.fires) {
            EXPECT_GT(fired.removeAll(QString::fromLatin1(c.fires)), 0);
        }
        EXPECT_EQ(fired, QStringList());
        QFile::remove(QDir::homePath() + QStringLiteral("/.gitconfig"));
    }
}
