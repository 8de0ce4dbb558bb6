// Settings that change what git prints must not change a figure: every command of the tool and
// every row of the index come out the same with each setting, in the repository's configuration
// and in the user's global one, as without it.
#include "git/GitProcess.h"
#include "TestFixtures.h"
#include "TestRepository.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <vector>

using namespace strataloom;

namespace {

QString runCli(const QStringList &arguments)
{
    const ProcessResult result = runProcess(QStringLiteral(STRATALOOM_CLI), arguments);
    EXPECT_EQ(result.exitStatus, 0) << arguments.join(' ').toStdString() << ": "
                                    << result.standardError.toStdString();
    return QString::fromUtf8(result.standardOutput);
}

// Every row of every table of the index in @p indexDir, as text, but for the times of writing
// (index_metadata, updated_at), which differ from run to run and are read back elsewhere.
QStringList indexRows(const QString &indexDir)
{
    const QString path = onlyIndexFile(indexDir);
    QStringList queries;
    for (const QString &table : sqliteRows(
             path, {QStringLiteral("SELECT name, (SELECT group_concat('\"' || name || '\"') FROM "
                                   "pragma_table_info(m.name) WHERE name != 'updated_at') FROM "
                                   "sqlite_master m WHERE type = 'table' AND name NOT LIKE "
                                   "'sqlite_%' AND sql NOT LIKE '%VIRTUAL%' AND name != "
                                   "'index_metadata'")})) {
        const QString name = table.section(QLatin1Char('|'), 0, 0);
        queries << QStringLiteral("SELECT '%1', %2 FROM \"%1\"")
                       .arg(name, table.section(QLatin1Char('|'), 1));
    }
    QStringList rows = sqliteRows(path, queries);
    rows.sort();
    return rows;
}

// A history that each setting below would show differently: a root commit, renames with edits,
// an edit where the diff algorithms disagree, a non-ASCII author and file name, an author
// mapped by .mailmap, tags, a branch, a signed tip, a subfolder and an untracked file.
struct Fixture
{
    TestRepository repository;
    QString changed;

    Fixture()
    {
        repository.setDateStep(86400);
        repository.write(QStringLiteral(".mailmap"),
                         "Ada Lovelace <ada@example.com> A. Lovelace <ada@example.com>\n");
        repository.write(QStringLiteral("notes.txt"), "one\n");
        repository.write(QStringLiteral("caf\u00e9.txt"), "caf\xc3\xa9\n");
        repository.write(QStringLiteral("src/main.c"), "{\nc\n{\nc\n{\nb\na\nc\na\n");
        repository.write(QStringLiteral("src/lib/one.txt"), "alpha\nbeta\ngamma\ndelta\n");
        repository.write(QStringLiteral("src/lib/two.txt"), "red\ngreen\nblue\nwhite\n");
        // Lines 1 to 20; edited later at 2 and 12: two hunks, seven unchanged lines apart.
        const auto numbered = [](int edited) {
            QByteArray lines;
            for (int i = 1; i <= 20; ++i)
                lines += (i % 10 == 2 && edited ? QByteArray("edited") : QByteArray::number(i)) + '\n';
            return lines;
        };
        repository.write(QStringLiteral("long.txt"), numbered(false));
        repository.commit(QStringLiteral("root"));
        repository.git({QStringLiteral("tag"), QStringLiteral("t1")});

        repository.write(QStringLiteral("src/main.c"), "a\n{\n{\na\n");
        repository.write(QStringLiteral("long.txt"), numbered(true));
        repository.remove(QStringLiteral("src/lib/one.txt"));
        repository.remove(QStringLiteral("src/lib/two.txt"));
        repository.write(QStringLiteral("src/lib/uno.txt"), "alpha\nbeta\ngamma\ndelta!\n");
        repository.write(QStringLiteral("src/lib/dos.txt"), "red\ngreen\nblue\nwhite!\n");
        changed = repository.commit(QStringLiteral("a+b fix"), QStringLiteral("Zo\u00eb \u00dcnal"),
                                    QStringLiteral("zoe@example.com"));
        repository.git({QStringLiteral("branch"), QStringLiteral("feature")});

        repository.write(QStringLiteral("notes.txt"), "one\ntwo\n");
        repository.commit(QStringLiteral("more notes"), QStringLiteral("A. Lovelace"));
        repository.git({QStringLiteral("tag"), QStringLiteral("-a"), QStringLiteral("-m"),
                        QStringLiteral("second"), QStringLiteral("t2")});
        signTip(repository);
        repository.write(QStringLiteral("untracked.txt"), "new\n");
    }

    // Everything the tool prints about the repository, and the index it builds from a subfolder.
    QStringList figures() const
    {
        const QString path = repository.path();
        std::vector<std::future<QString>> outputs;
        for (const QStringList &command : QList<QStringList> {
                 {QStringLiteral("summary"), path},
                 {QStringLiteral("commits"), path},
                 {QStringLiteral("graph"), path},
                 {QStringLiteral("search"), path, QStringLiteral("a+b")},
                 {QStringLiteral("branches"), path},
                 {QStringLiteral("tags"), path},
                 {QStringLiteral("files"), path},
                 {QStringLiteral("file"), path, QStringLiteral("notes.txt")},
                 {QStringLiteral("authors"), path},
                 {QStringLiteral("author"), path, QStringLiteral("Ada Lovelace")},
                 {QStringLiteral("activity"), path, QStringLiteral("--months"),
                  QStringLiteral("600")},
                 {QStringLiteral("changes"), path, changed},
                 {QStringLiteral("diff"), path, changed},
             })
            outputs.push_back(std::async(std::launch::async, [command] {
                return command.first() + QLatin1Char('\n') + runCli(command);
            }));
        QTemporaryDir indexDir;
        runCli({QStringLiteral("index"), repository.filePath(QStringLiteral("src/lib")),
                QStringLiteral("--index-dir"), indexDir.path()});
        QStringList figures;
        for (auto &output : outputs)
            figures << output.get();
        return figures + indexRows(indexDir.path());
    }
};

} // namespace

TEST(PinnedSettings, NoSettingChangesAFigure)
{
    Fixture fixture;
    QTemporaryDir scratch;
    const QString orderFile = scratch.filePath(QStringLiteral("order"));
    {
        QFile order(orderFile);
        order.open(QIODevice::WriteOnly);
        order.write("src/lib/*\nsrc/*\n");
    }
    // A verifier that says what gpg would say about a signature.
    const QString verifier = scratch.filePath(QStringLiteral("verifier"));
    writeScript(verifier, "echo 'gpg: Good signature from \"Ada\"' >&2\n");
    const QStringList expected = fixture.figures();
    ASSERT_FALSE(expected.isEmpty());

    const QList<GitSettings> settings {
        {{QStringLiteral("color.ui"), QStringLiteral("always")}},
        {{QStringLiteral("color.diff"), QStringLiteral("always")}},
        {{QStringLiteral("i18n.logOutputEncoding"), QStringLiteral("ISO-8859-1")}},
        {{QStringLiteral("log.showRoot"), QStringLiteral("false")}},
        {{QStringLiteral("diff.renames"), QStringLiteral("false")}},
        {{QStringLiteral("diff.renameLimit"), QStringLiteral("1")}},
        {{QStringLiteral("diff.algorithm"), QStringLiteral("histogram")}},
        {{QStringLiteral("diff.relative"), QStringLiteral("true")}},
        {{QStringLiteral("diff.orderFile"), orderFile}},
        {{QStringLiteral("diff.noprefix"), QStringLiteral("true")}},
        {{QStringLiteral("diff.context"), QStringLiteral("0")}},
        {{QStringLiteral("diff.interHunkContext"), QStringLiteral("10")}},
        {{QStringLiteral("core.bigFileThreshold"), QStringLiteral("1")}},
        {{QStringLiteral("core.abbrev"), QStringLiteral("12")}},
        {{QStringLiteral("status.showUntrackedFiles"), QStringLiteral("no")}},
        {{QStringLiteral("grep.patternType"), QStringLiteral("perl")}},
        {{QStringLiteral("grep.extendedRegexp"), QStringLiteral("true")}},
        {{QStringLiteral("log.excludeDecoration"), QStringLiteral("refs/tags/*")}},
        {{QStringLiteral("log.decorate"), QStringLiteral("full")}},
        {{QStringLiteral("log.abbrevCommit"), QStringLiteral("true")}},
        {{QStringLiteral("log.date"), QStringLiteral("relative")}},
        {{QStringLiteral("log.mailmap"), QStringLiteral("false")}},
        {{QStringLiteral("format.pretty"), QStringLiteral("oneline")}},
        {{QStringLiteral("log.showSignature"), QStringLiteral("true")},
         {QStringLiteral("gpg.program"), verifier}},
    };
    // Each setting on its own in the repository's file; then all of them at once in the global
    // file, which git ranks below the repository's and the pinned settings rank above both.
    GitSettings all;
    for (const GitSettings &setting : settings)
        all += setting;
    const QString local = fixture.repository.filePath(QStringLiteral(".git/config"));
    const QString global = QDir::homePath() + QStringLiteral("/.gitconfig");
    QList<std::pair<QString, GitSettings>> runs;
    for (const GitSettings &setting : settings)
        runs.append({local, setting});
    runs.append({global, all});
    for (const auto &[file, setting] : runs) {
        SCOPED_TRACE(QStringLiteral("%1 %2=%3 (%4 settings)")
                         .arg(file, setting.first().key, setting.first().value)
                         .arg(setting.size())
                         .toStdString());
        for (const GitSetting &entry : setting)
            runGitIn(QDir::tempPath(), {QStringLiteral("config"), QStringLiteral("--file"), file,
                                        entry.key, entry.value});
        const QStringList figures = fixture.figures();
        for (qsizetype i = 0; i < std::max(expected.size(), figures.size()); ++i)
            EXPECT_EQ(figures.value(i), expected.value(i));
        for (const GitSetting &entry : setting)
            runGitIn(QDir::tempPath(), {QStringLiteral("config"), QStringLiteral("--file"), file,
                                        QStringLiteral("--unset-all"), entry.key});
    }
}
