#include "git/GitService.h"

#include "git/GitProcess.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QRegularExpression>
#include <QTimeZone>

#include <functional>

namespace strataloom {

GitError::GitError(Kind kind, const QString &message)
    : m_kind(kind)
    , m_message(message)
    , m_what(description().toUtf8())
{ }

GitError GitError::commandFailed(const ProcessResult &result)
{
    const QString message = QString::fromUtf8(result.standardError).trimmed();
    return {Kind::CommandFailed,
            message.isEmpty() ? QStringLiteral("Git command failed") : message};
}

QString GitError::description() const
{
    switch (m_kind) {
    case Kind::CommandFailed:
        return m_message;
    case Kind::NotRepository:
        return QStringLiteral("The selected folder is not a Git repository.");
    }
    return m_message;
}

QString GitService::run(const QStringList &arguments, const QString &repository,
                        const GitSettings &settings) const
{
    const ProcessResult result = runGitProcess(repository, arguments, {}, std::nullopt, settings);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    return QString::fromUtf8(result.standardOutput);
}

namespace {

// Filter settings and the hooks folder as one repository's configuration files give them.
struct ProgramSettings
{
    QHash<QString, QString> user; ///< key -> value of the global or system files (last wins)
    QSet<QString> repositoryKeys; ///< filter keys the repository's own files set
    QStringList repositoryDrivers;
    std::optional<QString> userHooksPath;
};

ProgramSettings readProgramSettings(const QString &repository)
{
    // Reading the configuration starts no program. With -z, entries read
    // "<scope>\0<key>\n<value>\0"; a driver's name may hold any character but a newline.
    const ProcessResult result = runGitProcess(
        repository,
        {QStringLiteral("config"), QStringLiteral("--show-scope"), QStringLiteral("-z"),
         QStringLiteral("--get-regexp"),
         QStringLiteral("^(filter\\..+\\.(clean|smudge|process|required)|core\\.hookspath)$")});
    ProgramSettings settings;
    const QList<QByteArray> fields = result.standardOutput.split('\0');
    for (qsizetype i = 0; i + 1 < fields.size(); i += 2) {
        const QString scope = QString::fromUtf8(fields.at(i));
        const QString entry = QString::fromUtf8(fields.at(i + 1));
        const qsizetype newline = entry.indexOf(QLatin1Char('\n'));
        const QString key = newline < 0 ? entry : entry.left(newline);
        const QString value = newline < 0 ? QString() : entry.mid(newline + 1);
        const bool isUsers = scope == QLatin1String("global") || scope == QLatin1String("system");
        // "command" settings are this run's own (the pinned ones); every other scope (local,
        // worktree, and the files they include) is the repository's.
        if (scope == QLatin1String("command"))
            continue;
        if (key == QLatin1String("core.hookspath")) {
            if (isUsers)
                settings.userHooksPath = value;
            continue;
        }
        if (isUsers) {
            settings.user.insert(key, value);
            continue;
        }
        settings.repositoryKeys.insert(key);
        const QString driver = key.mid(7, key.lastIndexOf(QLatin1Char('.')) - 7); // "filter."
        if (!settings.repositoryDrivers.contains(driver))
            settings.repositoryDrivers << driver;
    }
    return settings;
}

// Paths of the submodules checked out below @p topLevel, from the index's gitlink entries.
QStringList checkedOutSubmodules(const QString &topLevel)
{
    const ProcessResult result = runGitProcess(
        topLevel, {QStringLiteral("ls-files"), QStringLiteral("-z"), QStringLiteral("--stage")});
    QStringList paths;
    for (const QByteArray &entry : result.standardOutput.split('\0')) {
        if (!entry.startsWith("160000 "))
            continue;
        const QString path = QString::fromUtf8(entry.mid(entry.indexOf('\t') + 1));
        if (QFileInfo::exists(topLevel + QLatin1Char('/') + path + QStringLiteral("/.git")))
            paths << path;
    }
    return paths;
}

} // namespace

GitService::ProgramOverrides GitService::repositoryFilterOverrides(const QString &repository) const
{
    ProgramOverrides overrides;
    overrides.topLevel
        = run({QStringLiteral("rev-parse"), QStringLiteral("--show-toplevel")}, repository).trimmed();
    QSet<QString> overridden;

    // Adds the overrides for one repository; true when one of its drivers is left with nothing.
    const auto coverRepository = [&](const QString &path) {
        const ProgramSettings settings = readProgramSettings(path);
        if (!overrides.userHooksPath)
            overrides.userHooksPath = settings.userHooksPath;
        bool switchedOff = false;
        for (const QString &driver : settings.repositoryDrivers) {
            const QString prefix = QStringLiteral("filter.") + driver + QLatin1Char('.');
            bool driverOff = false;
            GitSettings driverSettings;
            for (const char *program : {"clean", "smudge", "process"}) {
                const QString key = prefix + QLatin1String(program);
                if (!settings.repositoryKeys.contains(key))
                    continue;
                // The user's own program for this very setting runs; the repository's never does.
                const auto user = settings.user.constFind(key);
                driverOff = driverOff || user == settings.user.cend();
                driverSettings.append({key, user == settings.user.cend() ? QString() : *user});
            }
            // A required filter with no program would fail every command that needs it.
            if (driverOff)
                driverSettings.append({prefix + QStringLiteral("required"), QStringLiteral("false")});
            for (const GitSetting &setting : std::as_const(driverSettings)) {
                if (!overridden.contains(setting.key)) {
                    overridden.insert(setting.key);
                    overrides.settings.append(setting);
                }
            }
            if (driverOff && !overrides.switchedOffDrivers.contains(driver))
                overrides.switchedOffDrivers << driver;
            switchedOff = switchedOff || driverOff;
        }
        return switchedOff;
    };

    coverRepository(repository);
    // Status looks into every checked-out submodule with a git of its own, which reads that
    // submodule's configuration but inherits these settings; nested submodules likewise.
    const std::function<bool(const QString &, int)> coverSubmodules
        = [&](const QString &topLevel, int depth) {
              bool any = false;
              if (depth > 8)
                  return any;
              for (const QString &path : checkedOutSubmodules(topLevel)) {
                  const QString submodule = topLevel + QLatin1Char('/') + path;
                  const bool off = coverRepository(submodule);
                  const bool nestedOff = coverSubmodules(submodule, depth + 1);
                  if ((off || nestedOff) && depth == 0)
                      overrides.affectedSubmodules << path;
                  any = any || off || nestedOff;
              }
              return any;
          };
    coverSubmodules(overrides.topLevel, 0);
    return overrides;
}

bool GitService::hasHead(const QString &repository) const
{
    try {
        run({QStringLiteral("rev-parse"), QStringLiteral("--verify"), QStringLiteral("HEAD")},
            repository);
        return true;
    } catch (const GitError &) {
        return false;
    }
}

void GitService::validateRepository(const QString &repository) const
{
    const QString answer
        = run({QStringLiteral("rev-parse"), QStringLiteral("--is-inside-work-tree")}, repository);
    if (answer.trimmed() != QLatin1String("true"))
        throw GitError::notRepository();
}

QString GitService::commonDirectory(const QString &repository) const
{
    const QString printed
        = run({QStringLiteral("rev-parse"), QStringLiteral("--git-common-dir")}, repository)
              .trimmed();
    const QString absolute
        = printed.startsWith(QLatin1Char('/')) ? printed : repository + QLatin1Char('/') + printed;
    // cleanPath resolves "." and ".." textually and never follows symbolic links.
    return QDir::cleanPath(absolute);
}

OptionalDate GitService::parseISODate(const QString &text)
{
    static const QRegularExpression internetDateTime(
        QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(Z|[+-]\d{2}:?\d{2})$)"));
    const QString trimmed = text.trimmed();
    if (!internetDateTime.match(trimmed).hasMatch())
        return std::nullopt;
    const QDateTime parsed = QDateTime::fromString(trimmed, Qt::ISODate);
    if (!parsed.isValid())
        return std::nullopt;
    return parsed.toUTC();
}

OptionalDate GitService::parseUnixDate(const QString &seconds)
{
    // git formats every other date kind through the author's zone and gives up ("Timestamp
    // before Unix epoch") on some instants: seconds are the only form it always prints.
    bool ok = false;
    const qint64 value = seconds.trimmed().toLongLong(&ok);
    if (!ok || value < 1 || value > latestUnixDate)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(value, Qt::UTC);
}

QStringList nonEmptyLines(const QString &text)
{
    static const QRegularExpression newline(
        QStringLiteral("[\\n\\x{000B}\\f\\r\\x{0085}\\x{2028}\\x{2029}]"));
    QStringList lines;
    for (const QString &line : text.split(newline)) {
        if (!line.trimmed().isEmpty())
            lines.append(line);
    }
    return lines;
}

std::optional<QString> nilIfEmpty(const QString &text)
{
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    return trimmed;
}

} // namespace strataloom
