// strataloom-cli: every question the application asks of a repository, answered as JSON.
#include "app/ErrorText.h"
#include "cli/CsvOutput.h"
#include "cli/GraphCommand.h"
#include "cli/IndexCommands.h"
#include "cli/LogCommand.h"
#include "cli/ReportCommand.h"
#include "cli/JsonOutput.h"
#include "cli/ReportCommand.h"
#include "cli/ScanCommand.h"
#include "git/GitService.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <csignal>
#include <cstdio>
#include <functional>
#include <optional>
#include <unistd.h>

using namespace strataloom;
using strataloom::cli::Json;
using strataloom::cli::toJson;

namespace {

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

const char usageText[] = R"(Usage: strataloom-cli <command> <repository> [arguments]

Commands:
  summary  <repo>                    repository summary
  commits  <repo> [--limit N]        latest commits of the current branch (default 300)
  graph    <repo> [--limit N]        commit graph of all refs (default 500)
           [--from-index [--index-dir DIR]]
                                     the same, laid out from the index as it stands
                                     (no synchronisation; run index first)
  search   <repo> <query>            commits whose message matches query
  branches <repo>                    local and remote-tracking branches
  tags     <repo>                    tags, newest first
  files    <repo>                    tracked files (at most 2000)
  file     <repo> <path>             history summary of one file
  authors  <repo>                    authors by commits
  author   <repo> <name>             one author's work
  activity <repo> [--months N]       commits per day over recent months (default 12)
  changes  <repo> <commit>           files changed by a commit
  diff     <repo> <commit>           full text of a commit
  index    <repo> [--index-dir DIR]  bring the repository's analytics index up to date
  log      <repo> [--query Q] [--offset N] [--limit N] [--index-dir DIR]
           [--no-identities | --as-recorded]
                                     commits of every ref from the index, newest first (default
                                     300; --limit 0: all), those matching Q when given: words
                                     of the message, "a phrase", author:, path:, after: and
                                     before: (YYYY-MM-DD), type:, ref:, merges:no; author:
                                     finds all of a person's names and addresses, or with
                                     --no-identities or --as-recorded only those that match
  insights <repo> [--index-dir DIR] [corrections]
                                     synchronise the index, then print the repository's insights
  report   <repo> [--index-dir DIR] [corrections] [--html FILE]
                                     a readable overview for people: contributors, activity,
                                     hotspots, technologies, risk signals (synchronises the index);
                                     --html writes the whole report as one HTML page to FILE
                                     (- for standard output)
  scan     [<home>]                  repositories under a home folder (default: your home)

insights and report read the history as people mean it: one person under several names or
addresses counts once, files keep their history through renames, deleted, generated, vendored
and lock files and automation accounts stay out of the figures, merges out of the message
statistics. Each correction can be turned off: --no-identities, --no-renames, --show-deleted,
--include-generated, --include-bots, --include-merges; --as-recorded turns them all off.

A value that begins with "-" follows "--": everything after "--" is an argument, not an
option (strataloom-cli search <repo> -- --fixup).

Every command prints JSON on standard output, except diff, which prints git's text, and
report, which prints text for people (in colour on a terminal, unless NO_COLOR is set).
commits, log, search, branches, tags, files and authors take --format csv for spreadsheets.
Errors are one line on standard error with exit status 1; wrong usage exits with status 2.
Set STRATALOOM_GIT to use another git than /usr/bin/git.
)";

class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// The parsed command line of one repository command.
struct Invocation
{
    QString repository;
    QStringList arguments;
    QHash<QString, int> numbers;
    QHash<QString, QString> texts;
    QStringList flags;

    int number(const QString &option, int fallback) const
    {
        return numbers.value(option, fallback);
    }
};

struct Command
{
    QStringList argumentNames{}; ///< positional arguments after the repository
    QStringList numberOptions{}; ///< accepted --options taking a positive integer
    QStringList countOptions{}; ///< accepted --options taking a whole number, 0 included
    QStringList textOptions{}; ///< accepted --options taking any text
    QStringList flagOptions{}; ///< accepted --options taking no value
    std::function<void(const Invocation &)> run{};
};

void printJson(const Json &json)
{
    const QByteArray text = json.serialize();
    std::fwrite(text.constData(), 1, text.size(), stdout);
}

const QString formatOption = QStringLiteral("--format");
const QString htmlOption = QStringLiteral("--html");

// A list command's records as JSON, or as CSV for spreadsheets (--format csv).
template<typename Record> void printList(const Invocation &in, const QList<Record> &records)
{
    if (in.texts.value(formatOption) == QLatin1String("csv")) {
        const QByteArray text = cli::toCsv(records);
        std::fwrite(text.constData(), 1, text.size(), stdout);
    } else {
        printJson(toJson(records));
    }
}

const QHash<QString, Command> &commands()
{
    const QString limit = QStringLiteral("--limit");
    const QString months = QStringLiteral("--months");
    const QString indexDir = QStringLiteral("--index-dir");
    const QString fromIndex = QStringLiteral("--from-index");
    static const QHash<QString, Command> table {
        {QStringLiteral("summary"),
         {.run =
              [](const Invocation &in) {
                  printJson(toJson(GitService().loadSummary(in.repository)));
              }}},
        {QStringLiteral("commits"),
         {.numberOptions = {limit},
          .textOptions = {formatOption},
          .run =
              [limit](const Invocation &in) {
                  printList(in, GitService().loadCommits(in.repository, in.number(limit, 300)));
              }}},
        {QStringLiteral("graph"),
         {.numberOptions = {limit},
          .textOptions = {indexDir},
          .flagOptions = {fromIndex},
          .run =
              [limit, indexDir, fromIndex](const Invocation &in) {
                  const int rows = in.number(limit, 500);
                  if (in.flags.contains(fromIndex))
                      printJson(cli::graphFromIndexCommand(in.repository, in.texts.value(indexDir),
                                                           rows));
                  else
                      printJson(toJson(GitService().loadGraph(in.repository, rows)));
              }}},
        {QStringLiteral("search"),
         {.argumentNames = {QStringLiteral("query")},
          .textOptions = {formatOption},
          .run =
              [](const Invocation &in) {
                  printList(in, GitService().searchCommits(in.repository, in.arguments[0]));
              }}},
        {QStringLiteral("branches"),
         {.textOptions = {formatOption},
          .run
          = [](const Invocation &in) { printList(in, GitService().loadBranches(in.repository)); }}},
        {QStringLiteral("tags"),
         {.textOptions = {formatOption},
          .run
          = [](const Invocation &in) { printList(in, GitService().loadTags(in.repository)); }}},
        {QStringLiteral("files"),
         {.textOptions = {formatOption},
          .run
          = [](const Invocation &in) { printList(in, GitService().loadFiles(in.repository)); }}},
        {QStringLiteral("file"),
         {.argumentNames = {QStringLiteral("path")},
          .run =
              [](const Invocation &in) {
                  printJson(toJson(GitService().loadFileDetails(in.repository, in.arguments[0])));
              }}},
        {QStringLiteral("authors"),
         {.textOptions = {formatOption},
          .run =
              [](const Invocation &in) {
                  printList(in, GitService().loadAuthorStats(in.repository));
              }}},
        {QStringLiteral("author"),
         {.argumentNames = {QStringLiteral("name")},
          .run =
              [](const Invocation &in) {
                  printJson(toJson(GitService().loadAuthorDetails(in.repository, in.arguments[0])));
              }}},
        {QStringLiteral("activity"),
         {.numberOptions = {months},
          .run =
              [months](const Invocation &in) {
                  printJson(
                      toJson(GitService().loadActivity(in.repository, in.number(months, 12))));
              }}},
        {QStringLiteral("changes"),
         {.argumentNames = {QStringLiteral("commit")},
          .run =
              [](const Invocation &in) {
                  printJson(toJson(GitService().loadCommitChanges(in.repository, in.arguments[0])));
              }}},
        {QStringLiteral("diff"),
         {.argumentNames = {QStringLiteral("commit")},
          .run =
              [](const Invocation &in) {
                  const QByteArray text
                      = GitService().loadCommitDiff(in.repository, in.arguments[0]).toUtf8();
                  std::fwrite(text.constData(), 1, text.size(), stdout);
              }}},
        {QStringLiteral("insights"),
         {.textOptions = {indexDir},
          .flagOptions = cli::insightFlags(),
          .run =
              [indexDir](const Invocation &in) {
                  printJson(cli::insightsCommand(in.repository, in.texts.value(indexDir),
                                                 cli::insightOptions(in.flags)));
              }}},
        {QStringLiteral("report"),
         {.textOptions = {indexDir, htmlOption},
          .flagOptions = cli::insightFlags(),
          .run =
              [indexDir](const Invocation &in) {
                  cli::reportCommand(in.repository, in.texts.value(indexDir),
                                     cli::insightOptions(in.flags), in.texts.value(htmlOption));
              }}},
        {QStringLiteral("log"),
         {.countOptions = {QStringLiteral("--offset"), limit},
          .textOptions = {indexDir, QStringLiteral("--query"), formatOption},
          .flagOptions = {QStringLiteral("--no-identities"), QStringLiteral("--as-recorded")},
          .run =
              [indexDir, limit](const Invocation &in) {
                  printList(in,
                            cli::logCommand(in.repository, in.texts.value(indexDir),
                                            in.texts.value(QStringLiteral("--query")),
                                            in.number(QStringLiteral("--offset"), 0),
                                            in.number(limit, 300),
                                            cli::insightOptions(in.flags).mergeIdentities));
              }}},
        {QStringLiteral("index"),
         {.textOptions = {indexDir},
          .run =
              [indexDir](const Invocation &in) {
                  printJson(cli::indexCommand(in.repository, in.texts.value(indexDir)));
              }}},
    };
    return table;
}

Invocation parse(const Command &command, const QStringList &words)
{
    Invocation invocation;
    QStringList positional;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString &word = words[i];
        if (word == QLatin1String("--")) {
            positional << words.mid(i + 1);
            break;
        }
        if (command.flagOptions.contains(word)) {
            invocation.flags.append(word);
            continue;
        }
        if (word.startsWith(QLatin1String("--"))) {
            const bool isCount = command.countOptions.contains(word);
            const bool isNumber = isCount || command.numberOptions.contains(word);
            if (!isNumber && !command.textOptions.contains(word))
                throw UsageError("unknown option " + word.toStdString());
            if (i + 1 >= words.size())
                throw UsageError(word.toStdString() + " needs a value");
            const QString value = words[++i];
            if (isNumber) {
                bool ok = false;
                const int number = value.toInt(&ok);
                if (!ok || number < 0 || (number == 0 && !isCount))
                    throw UsageError(word.toStdString()
                                     + (isCount ? " needs a whole number"
                                                : " needs a positive whole number"));
                invocation.numbers.insert(word, number);
            } else {
                invocation.texts.insert(word, value);
            }
        } else {
            positional << word;
        }
    }
    if (positional.size() != command.argumentNames.size() + 1)
        throw UsageError("wrong number of arguments");
    invocation.repository = positional.takeFirst();
    invocation.arguments = positional;
    return invocation;
}

// Git answers a missing folder with a message about `-C`; say it in the user's terms instead.
void checkRepositoryFolder(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        throw std::runtime_error(QStringLiteral("%1: no such folder").arg(path).toStdString());
    if (!info.isDir())
        throw std::runtime_error(QStringLiteral("%1: not a folder").arg(path).toStdString());
}

// Git's messages may span several lines (hints, usage); the first one says what went wrong.
QString firstLine(const QString &message)
{
    const QStringList lines = nonEmptyLines(message);
    return lines.isEmpty() ? message.trimmed() : lines.first().trimmed();
}

void fail(const QString &message)
{
    std::fprintf(stderr, "strataloom-cli: %s\n", firstLine(message).toUtf8().constData());
}

// Ends the git children with us: they lead process groups of their own, so a terminal's Ctrl+C
// or a kill of this process alone would leave them running.
extern "C" void endWithChildren(int signal)
{
    signalLiveProcessGroups(SIGKILL);
    ::_exit(128 + signal);
}

void endChildrenOnTermination()
{
    struct sigaction action = {};
    action.sa_handler = endWithChildren;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}

} // namespace

int main(int argc, char **argv)
{
    endChildrenOnTermination();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("strataloom-cli"));
    QCoreApplication::setApplicationVersion(QStringLiteral(STRATALOOM_VERSION));

    const QStringList words = QCoreApplication::arguments().mid(1);
    if (words.size() == 1
        && (words[0] == QLatin1String("--help") || words[0] == QLatin1String("-h"))) {
        std::fputs(usageText, stdout);
        return 0;
    }
    if (words.size() == 1 && words[0] == QLatin1String("--version")) {
        std::printf("strataloom-cli %s\n", STRATALOOM_VERSION);
        return 0;
    }

    // scan takes a folder to search, not a repository: it parses its own arguments.
    if (!words.isEmpty() && words[0] == QLatin1String("scan"))
        return cli::runScanCommand(words.mid(1));

    const auto entry = words.isEmpty() ? commands().constEnd() : commands().constFind(words[0]);
    if (entry == commands().constEnd()) {
        if (!words.isEmpty())
            std::fprintf(stderr, "strataloom-cli: unknown command %s\n",
                         words[0].toUtf8().constData());
        std::fputs(usageText, stderr);
        return exitUsage;
    }

    Invocation invocation;
    try {
        invocation = parse(*entry, words.mid(1));
        const QString format = invocation.texts.value(formatOption, QStringLiteral("json"));
        if (format != QLatin1String("json") && format != QLatin1String("csv"))
            throw UsageError("--format takes json or csv");
        // A command that reads git or the index takes an index folder only for the index.
        if (entry->flagOptions.contains(QStringLiteral("--from-index"))
            && invocation.texts.contains(QStringLiteral("--index-dir"))
            && !invocation.flags.contains(QStringLiteral("--from-index")))
            throw UsageError("--index-dir goes with --from-index");
    } catch (const UsageError &error) {
        std::fprintf(stderr, "strataloom-cli: %s: %s\n", words[0].toUtf8().constData(),
                     error.what());
        std::fputs(usageText, stderr);
        return exitUsage;
    }

    try {
        checkRepositoryFolder(invocation.repository);
        GitService().validateRepository(invocation.repository);
        entry->run(invocation);
    } catch (const std::exception &error) {
        fail(userMessage(error));
        return exitFailure;
    }
    return std::fflush(stdout) == 0 ? 0 : exitFailure;
}
