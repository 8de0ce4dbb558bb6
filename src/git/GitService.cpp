#include "GitService.h"

#include "GitProcess.h"

#include <QDir>
#include <QRegularExpression>
#include <QTimeZone>

namespace strataloom {

GitError::GitError(Kind kind, const QString &message)
    : m_kind(kind)
    , m_message(message)
    , m_what(description().toUtf8())
{
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

QString GitService::run(const QStringList &arguments, const QString &repository) const
{
    const ProcessResult result = runGitProcess(repository, arguments);
    if (result.exitStatus != 0) {
        const QString message = QString::fromUtf8(result.standardError).trimmed();
        throw GitError::commandFailed(message.isEmpty() ? QStringLiteral("Git command failed")
                                                        : message);
    }
    return QString::fromUtf8(result.standardOutput);
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
    const QString answer =
        run({QStringLiteral("rev-parse"), QStringLiteral("--is-inside-work-tree")}, repository);
    if (answer.trimmed() != QLatin1String("true"))
        throw GitError::notRepository();
}

QString GitService::commonDirectory(const QString &repository) const
{
    const QString printed =
        run({QStringLiteral("rev-parse"), QStringLiteral("--git-common-dir")}, repository)
            .trimmed();
    const QString absolute = printed.startsWith(QLatin1Char('/'))
                                 ? printed
                                 : repository + QLatin1Char('/') + printed;
    // cleanPath resolves "." and ".." textually and never follows symbolic links.
    return QDir::cleanPath(absolute);
}

OptionalDate GitService::parseISODate(const QString &text)
{
    static const QRegularExpression internetDateTime(QStringLiteral(
        R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(Z|[+-]\d{2}:?\d{2})$)"));
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
    static const QRegularExpression newline(QStringLiteral("[\\n\\x{000B}\\f\\r\\x{0085}\\x{2028}\\x{2029}]"));
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
