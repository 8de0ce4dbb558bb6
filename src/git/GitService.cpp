#include "git/GitService.h"

#include "git/GitProcess.h"

#include <QDir>
#include <QRegularExpression>
#include <QTimeZone>

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
                        const QStringList &configuration) const
{
    const ProcessResult result
        = runGitProcess(repository, arguments, {}, std::nullopt, configuration);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    return QString::fromUtf8(result.standardOutput);
}

QStringList GitService::repositoryFilterOverrides(const QString &repository) const
{
    // Reading the configuration starts no program. Lines read "<scope>\tfilter.<driver>.<key>".
    const ProcessResult result = runGitProcess(
        repository,
        {QStringLiteral("config"), QStringLiteral("--show-scope"), QStringLiteral("--name-only"),
         QStringLiteral("--get-regexp"), QStringLiteral("^filter\\..+\\.(clean|smudge|process)$")});
    QStringList overrides;
    for (const QString &line : nonEmptyLines(QString::fromUtf8(result.standardOutput))) {
        const qsizetype tab = line.indexOf(QLatin1Char('\t'));
        const QString scope = line.left(tab);
        if (tab < 0 || scope == QLatin1String("global") || scope == QLatin1String("system"))
            continue;
        const QString key = line.mid(tab + 1).trimmed();
        const QString driver = key.mid(7, key.lastIndexOf(QLatin1Char('.')) - 7); // after "filter."
        for (const char *program : {"clean", "smudge", "process"}) {
            const QString setting
                = QStringLiteral("filter.%1.%2=").arg(driver, QLatin1String(program));
            if (!overrides.contains(setting))
                overrides << setting;
        }
    }
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
