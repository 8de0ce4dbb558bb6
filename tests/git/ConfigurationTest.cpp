// What the configuration around a repository may and may not change. Programs named by the
// repository's own configuration (its config file, a file it includes, a submodule's config, its
// hooks) never run. Programs of the user's global configuration are the user's: they run where
// plain git runs them on writes (the checkout's filters and hooks), but none starts on a read
// path, because the settings that would start one there are pinned. And settings that change
// what git prints change no figure: every command of the tool and every row of the index come
// out the same with each of them.
#include "TestFixtures.h"
#include "TestRepository.h"
#include "git/GitProcess.h"
#include "git/GitService.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <vector>

using namespace strataloom;

namespace {

const QStringList hookNames
    = QString("applypatch-msg pre-applypatch post-applypatch pre-commit pre-merge-commit "
              "prepare-commit-msg commit-msg post-commit pre-rebase post-checkout post-merge "
              "pre-push pre-receive update proc-receive post-receive post-update "
              "reference-transaction push-to-checkout pre-auto-gc post-rewrite sendemail-validate "
              "fsmonitor-watchman post-index-change")
          .split(' ');

// Programs that append their own name to one log whenever anything starts them, then pass
// standard input through as a filter, pager or textconv would.
class Traps
{
public:
    QString program(const QString &name)
    {
        const QString path = m_dir.filePath(QString(name).replace(':', '-').replace('=', '-'));
        writeScript(path, QStringLiteral("echo '%1' >> '%2'\ncat\n").arg(name, log()).toUtf8());
        return path;
    }
    // A folder holding every hook git knows, each a trap.
    QString hooks(const QString &scope, QString folder = {})
    {
        if (folder.isEmpty())
            folder = m_dir.filePath(scope + "-hooks");
        QDir().mkpath(folder);
        for (const QString &hook : hookNames) {
            QFile::remove(folder + '/' + hook);
            QFile::copy(program(scope + ':' + hook), folder + '/' + hook);
        }
        return folder;
    }
    QStringList fired() const
    {
        QFile file(log());
        return file.open(QIODevice::ReadOnly)
            ? QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts)
            : QStringList();
    }
    void clear() const { QFile::remove(log()); }
    QString path(const QString &name) const { return m_dir.filePath(name); }

private:
    QString log() const { return m_dir.filePath("fired.log"); }
    QTemporaryDir m_dir;
};

// Every setting that names a program, each pointing at a trap named after the scope and the key.
GitSettings programSettings(Traps &traps, const QString &scope)
{
    GitSettings settings {{"core.hooksPath", traps.hooks(scope)}, {"filter.evil.required", "true"},
                          {"log.showSignature", "true"},          {"submodule.recurse", "true"},
                          {"status.submoduleSummary", "true"},    {"diff.submodule", "diff"}};
    for (const QString &key :
         QStringLiteral(
             "core.fsmonitor diff.evil.textconv diff.evil.command diff.external filter.evil.clean "
             "filter.evil.smudge filter.a=b.clean filter.a=b.smudge filter.proc.process "
             "gpg.program gpg.openpgp.program gpg.ssh.program gpg.x509.program core.pager "
             "pager.log pager.show pager.status core.editor sequence.editor core.sshCommand "
             "credential.helper core.askPass core.alternateRefsCommand uploadpack.packObjectsHook")
             .split(' '))
        settings.append({key, traps.program(scope + ':' + key)});
    return settings;
}

void writeSettings(const QString &file, const GitSettings &settings, bool unset = false)
{
    for (const GitSetting &setting : settings)
        runGitIn(QDir::tempPath(),
                 unset ? QStringList {"config", "--file", file, "--unset-all", setting.key}
                       : QStringList {"config", "--file", file, setting.key, setting.value});
}

// Rewrites a tracked file with other bytes of the same size and an older time stamp, so that git
// cannot tell from the file's metadata alone whether it changed: it has to clean the content.
void changeInPlace(const TestRepository &repository, const QString &relative,
                   const QByteArray &content)
{
    repository.write(relative, content);
    QFile file(repository.filePath(relative));
    file.open(QIODevice::ReadWrite);
    file.setFileTime(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC),
                     QFileDevice::FileModificationTime);
}

QString runCli(const QStringList &arguments)
{
    const ProcessResult result = runProcess(STRATALOOM_CLI, arguments);
    EXPECT_EQ(result.exitStatus, 0)
        << arguments.join(' ').toStdString() << ": " << result.standardError.toStdString();
    return QString::fromUtf8(result.standardOutput);
}

// A history that each setting would show differently and that gives each program a reason to
// start: a root commit, renames with edits, an edit where the diff algorithms disagree, a
// non-ASCII author and file name, an author mapped by .mailmap, tags, branches, a signed tip,
// filtered files of three drivers, a checked-out submodule, a subfolder and an untracked file.
struct Fixture
{
    TestRepository inner;
    TestRepository repository;
    QString changed;

    Fixture()
    {
        inner.write("inner.txt", "inner\n");
        inner.write(".gitattributes", "*.txt filter=evil diff=evil\n");
        inner.commit("inner");

        repository.setDateStep(86400);
        repository.write(
            ".gitattributes",
            "*.txt diff=evil filter=evil\n*.ab diff=evil filter=a=b\n*.proc filter=proc\n");
        repository.write(".mailmap",
                         "Ada Lovelace <ada@example.com> A. Lovelace <ada@example.com>\n");
        repository.write("notes.txt", "one\n");
        repository.write("switch.txt", "main\n");
        repository.write("data.ab", "ab one\n");
        repository.write("data.proc", "proc one\n");
        repository.write("caf\u00e9.txt", "caf\xc3\xa9\n");
        repository.write("src/main.c", "{\nc\n{\nc\n{\nb\na\nc\na\n");
        repository.write("src/lib/one.txt", "alpha\nbeta\ngamma\ndelta\n");
        repository.write("src/lib/two.txt", "red\ngreen\nblue\nwhite\n");
        // Lines 1 to 20; edited later at 2 and 12: two hunks, seven unchanged lines apart.
        QByteArray numbered;
        for (int i = 1; i <= 20; ++i)
            numbered += QByteArray::number(i) + '\n';
        repository.write("long.txt", numbered);
        repository.commit("root");
        repository.git({"tag", "t1"});
        repository.git(
            {"-c", "protocol.file.allow=always", "submodule", "add", "-q", inner.path(), "sub"});

        repository.write("src/main.c", "a\n{\n{\na\n");
        repository.write("long.txt",
                         numbered.replace("\n2\n", "\nedited\n").replace("\n12\n", "\nedited\n"));
        repository.write("data.ab", "ab two\n");
        repository.write("data.proc", "proc two\n");
        repository.remove("src/lib/one.txt");
        repository.remove("src/lib/two.txt");
        repository.write("src/lib/uno.txt", "alpha\nbeta\ngamma\ndelta!\n");
        repository.write("src/lib/dos.txt", "red\ngreen\nblue\nwhite!\n");
        changed = repository.commit("a+b fix", "Zo\u00eb \u00dcnal", "zoe@example.com");
        repository.write("notes.txt", "one\ntwo\n");
        repository.commit("more notes", "A. Lovelace");
        repository.git({"tag", "-a", "-m", "second", "t2"});
        repository.git({"switch", "-q", "-c", "other"});
        repository.write("switch.txt", "other\n");
        repository.commit("other side");
        repository.git({"switch", "-q", "main"});
        signTip(repository);
        repository.write("untracked.txt", "new\n");
    }

    // Same sizes, other bytes: only cleaning the files tells whether they changed.
    void changeFilteredFiles()
    {
        changeInPlace(repository, "notes.txt", "ONE\nTWO\n");
        changeInPlace(repository, "data.ab", "AB TWO\n");
        changeInPlace(repository, "data.proc", "PROC TWO\n");
        changeInPlace(repository, "sub/inner.txt", "INNER\n");
    }

    QString gitDirectory(const QString &relative = ".") const
    {
        const QString directory = repository.filePath(relative);
        return QDir(directory).absoluteFilePath(
            runGitIn(directory, {"rev-parse", "--git-dir"}).trimmed());
    }

    // Everything the tool prints about the repository, and the index it builds from a subfolder.
    QStringList figures() const
    {
        const QString path = repository.path();
        std::vector<std::future<QString>> outputs;
        // Each command with its arguments after the repository, joined by "|".
        for (const QString &entry :
             QStringList {"summary", "commits", "graph", "search|a+b", "branches", "tags", "files",
                          "file|notes.txt", "authors", "author|Ada Lovelace",
                          "activity|--months|600", "changes|" + changed, "diff|" + changed}) {
            QStringList command = entry.split('|');
            command.insert(1, path);
            outputs.push_back(std::async(std::launch::async, [command] {
                return command.join(' ') + '\n' + runCli(command);
            }));
        }
        QTemporaryDir indexDir;
        runCli({"index", repository.filePath("src/lib"), "--index-dir", indexDir.path()});
        QStringList figures;
        for (auto &output : outputs)
            figures << output.get();
        return figures + indexRows(indexDir.path());
    }
};

} // namespace

TEST(Configuration, NoSettingChangesAFigure)
{
    Fixture fixture;
    Traps traps;
    // An order file (its first line, the script header, matches no path) and a verifier that
    // says what gpg would say about a signature.
    const QString orderFile = traps.path("order");
    writeScript(orderFile, "src/lib/*\nsrc/*\n");
    const QString verifier = traps.path("verifier");
    writeScript(verifier, "echo 'gpg: Good signature from \"Ada\"' >&2\n");
    const QStringList expected = fixture.figures();
    ASSERT_FALSE(expected.isEmpty());

    // Settings joined by "," only make sense together.
    GitSettings all;
    for (const QString &entry :
         QStringLiteral(
             "color.ui=always color.diff=always i18n.logOutputEncoding=ISO-8859-1 "
             "log.showRoot=false diff.renames=false diff.renameLimit=1 diff.algorithm=histogram "
             "diff.relative=true diff.orderFile=%1 diff.noprefix=true diff.context=0 "
             "diff.interHunkContext=10 core.bigFileThreshold=1 core.abbrev=12 "
             "status.showUntrackedFiles=no grep.patternType=perl grep.extendedRegexp=true "
             "log.excludeDecoration=refs/tags/* log.decorate=full log.abbrevCommit=true "
             "log.date=relative log.mailmap=false format.pretty=oneline "
             "log.showSignature=true gpg.program=%2")
             .arg(orderFile, verifier)
             .split(' '))
        all.append({entry.section('=', 0, 0), entry.section('=', 1)});
    // All of them at once in the repository's file, then in the global file, which git ranks
    // below the repository's; the pinned settings rank above both.
    for (const QString &file :
         {fixture.gitDirectory() + "/config", QDir::homePath() + "/.gitconfig"}) {
        writeSettings(file, all);
        const QStringList figures = fixture.figures();
        writeSettings(file, all, true);
        qsizetype i = 0;
        while (i < expected.size() && figures.value(i) == expected.value(i))
            ++i;
        EXPECT_EQ(figures.value(i), expected.value(i)) << file.toStdString();
    }
}

TEST(Configuration, NoProgramOfTheRepositoryOrOnAReadPathEverStarts)
{
    struct Scope
    {
        const char *name;
        // Puts @p settings where this scope keeps them; may add hooks of its own.
        std::function<void(Fixture &, Traps &, const GitSettings &)> apply;
        // Plain git commands, each with a trap that must fire, so that no case passes vacuously.
        QList<std::pair<QStringList, const char *>> plainGitFires;
    };
    const QList<Scope> scopes {
        {"repository",
         [](Fixture &f, Traps &traps, const GitSettings &settings) {
             writeSettings(f.gitDirectory() + "/config", settings);
             traps.hooks("repository", f.gitDirectory() + "/hooks");
             // Objects borrowed from a repository full of traps of its own.
             static TestRepository borrowed;
             borrowed.commit("borrowed");
             writeSettings(borrowed.filePath(".git/config"), programSettings(traps, "borrowed"));
             QFile alternates(f.gitDirectory() + "/objects/info/alternates");
             alternates.open(QIODevice::WriteOnly);
             alternates.write(borrowed.filePath(".git/objects").toUtf8() + '\n');
         },
         {{{"status"}, "repository:core.fsmonitor"},
          {{"status"}, "repository:filter.a=b.clean"},
          {{"log", "-1"}, "repository:gpg.openpgp.program"},
          {{"diff"}, "repository:diff.external"}}},
        {"submodule",
         [](Fixture &f, Traps &traps, const GitSettings &settings) {
             writeSettings(f.gitDirectory("sub") + "/config", settings);
             traps.hooks("submodule", f.gitDirectory("sub") + "/hooks");
         },
         {{{"status"}, "submodule:filter.evil.clean"}}},
        {"global",
         [](Fixture &, Traps &, const GitSettings &settings) {
             writeSettings(QDir::homePath() + "/.gitconfig", settings);
         },
         {{{"log", "-1"}, "global:gpg.openpgp.program"},
          {{"diff"}, "global:diff.external"},
          {{"show", "--no-ext-diff", "HEAD~1"}, "global:diff.evil.textconv"}}},
    };

    for (const Scope &scope : scopes) {
        SCOPED_TRACE(scope.name);
        const bool usersOwn = scope.name == std::string("global");
        Fixture fixture;
        fixture.changeFilteredFiles();
        Traps traps;
        scope.apply(fixture, traps, programSettings(traps, scope.name));
        for (const auto &[arguments, trap] : scope.plainGitFires) {
            fixture.repository.gitStatus(arguments);
            EXPECT_TRUE(traps.fired().contains(trap))
                << trap << " did not fire with plain git " << arguments.join(' ').toStdString();
            traps.clear();
        }
        // The user's own filters and hooks may run wherever plain git runs them.
        const auto forbidden = [&](QStringList fired) {
            if (usersOwn)
                fired.removeIf([](const QString &name) {
                    return name.section(':', 1).startsWith("filter.")
                        || hookNames.contains(name.section(':', 1));
                });
            return fired;
        };

        fixture.figures();
        EXPECT_EQ(forbidden(traps.fired()), QStringList()) << "a read started a program";
        traps.clear();

        BranchRecord other;
        other.name = "other";
        EXPECT_NO_THROW(GitService().checkout(other, fixture.repository.path()));
        EXPECT_EQ(fixture.repository.git({"branch", "--show-current"}).trimmed(), "other");
        const QStringList fired = traps.fired();
        if (usersOwn) {
            // The user's own filter and hooks run on a switch, as with plain git.
            EXPECT_TRUE(fired.contains("global:filter.evil.smudge")
                        && fired.contains("global:post-checkout"))
                << fired.join(' ').toStdString();
        }
        EXPECT_EQ(forbidden(fired), QStringList()) << "the checkout started a program";
        QFile::remove(QDir::homePath() + "/.gitconfig");
    }
}

TEST(Configuration, StatusNeedingTheRepositorysOwnFilterIsUnknownNotAnError)
{
    // Steps, in order: "filter" writes a required filter to the repository's configuration, as
    // `git lfs install --local` does ("clean-only": without its process); "user" gives the user's
    // own filter of that name, the one program that may run; "touch" changes the filtered file
    // in place, "stage" stages it, "untracked" and "plain" change other files besides.
    const struct
    {
        const char *name;
        const char *steps;
        bool clean;
        bool known;
    } cases[] = {
        {"untouched tree", "filter", true, true},
        {"filtered file changed", "filter touch", false, false},
        {"untracked file besides", "filter touch untracked", false, true},
        {"unfiltered file changed besides", "filter touch plain", false, true},
        {"filtered file staged", "touch stage filter", false, true},
        {"the user's own filter of the same name", "clean-only user touch", false, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestRepository repository;
        repository.write(".gitattributes", "*.bin filter=lfs\n");
        repository.write("data.bin", "payload\n");
        repository.write("plain.txt", "plain\n");
        repository.commit("root");
        Traps traps;
        const QStringList steps = QString::fromLatin1(c.steps).split(' ');
        for (const QString &step : steps) {
            if (step == "filter" || step == "clean-only")
                writeSettings(repository.filePath(".git/config"),
                              {{"filter.lfs.clean", traps.program("clean")},
                               {"filter.lfs.required", "true"}});
            if (step == "filter")
                writeSettings(repository.filePath(".git/config"),
                              {{"filter.lfs.process", traps.program("process")}});
            if (step == "user")
                writeSettings(QDir::homePath() + "/.gitconfig",
                              {{"filter.lfs.clean", traps.program("user-clean")}});
            if (step == "touch")
                changeInPlace(repository, "data.bin", "PAYLOAD\n");
            if (step == "stage")
                repository.git({"update-index", "--add", "data.bin"});
            if (step == "untracked" || step == "plain")
                repository.write(step + ".txt", "CHANGED\n");
        }

        RepositorySummary summary;
        EXPECT_NO_THROW(summary = GitService().loadSummary(repository.path()));
        EXPECT_EQ(
            std::make_tuple(summary.isClean, !summary.statusUnavailableReason, summary.commitCount),
            std::make_tuple(c.clean, c.known, 1));
        QStringList fired = traps.fired();
        if (steps.contains("user")) {
            EXPECT_GT(fired.removeAll("user-clean"), 0);
        }
        EXPECT_EQ(fired, QStringList());
        QFile::remove(QDir::homePath() + "/.gitconfig");
    }
}
