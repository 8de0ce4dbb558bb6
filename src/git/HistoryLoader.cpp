#include "git/GitService.h"

namespace strataloom {

namespace {

const QChar recordSeparator(0x1E);
const QChar unitSeparator(0x1F);
const QChar groupSeparator(0x1D);

// Hash, short hash, author, e-mail, author date in seconds, subject, body.
QString commitFieldsFormat()
{
    return QStringList {QStringLiteral("%H"),  QStringLiteral("%h"),  QStringLiteral("%an"),
                        QStringLiteral("%ae"), QStringLiteral("%at"), QStringLiteral("%s"),
                        QStringLiteral("%b")}
        .join(unitSeparator);
}

constexpr int commitFieldCount = 7;

// Fields as commitFieldsFormat() lists them; nothing when there are too few. A date that cannot
// be represented leaves the commit without one (an invalid date), never drops it.
std::optional<CommitRecord> commitFromFields(const QStringList &fields)
{
    if (fields.size() < commitFieldCount)
        return std::nullopt;
    CommitRecord commit;
    commit.id = fields.at(0);
    commit.shortHash = fields.at(1);
    commit.author = fields.at(2);
    commit.email = fields.at(3);
    commit.date = GitService::parseUnixDate(fields.at(4)).value_or(QDateTime());
    commit.subject = fields.at(5);
    commit.body = fields.at(6);
    return commit;
}

// A number column of --numstat; git prints "-" for binary files, which counts as nothing.
int numstatCount(const QString &text)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? value : 0;
}

// One record of loadCommits: the header fields ended by 0x1D, then the --numstat lines.
std::optional<CommitRecord> parseCommitWithStatistics(const QString &record)
{
    if (record.isEmpty())
        return std::nullopt;
    const qsizetype headerEnd = record.indexOf(groupSeparator);
    if (headerEnd < 0)
        return std::nullopt;
    const QStringList fields = record.left(headerEnd).split(unitSeparator);

    int additions = 0;
    int deletions = 0;
    int filesChanged = 0;
    const QStringList statistics = record.mid(headerEnd + 1).split(QLatin1Char('\n'));
    for (const QString &line : statistics) {
        const QStringList parts = line.split(QLatin1Char('\t'));
        if (parts.size() < 2)
            continue;
        additions += numstatCount(parts.at(0));
        deletions += numstatCount(parts.at(1));
        ++filesChanged;
    }

    std::optional<CommitRecord> commit = commitFromFields(fields);
    if (commit) {
        commit->additions = additions;
        commit->deletions = deletions;
        commit->filesChanged = filesChanged;
    }
    return commit;
}

} // namespace

QList<CommitRecord> GitService::loadCommits(const QString &repository, int limit) const
{
    if (!hasHead(repository))
        return {};
    const QString output = run(
        {QStringLiteral("log"), QStringLiteral("--date=iso-strict"), QStringLiteral("--numstat"),
         QStringLiteral("--format=") + recordSeparator + commitFieldsFormat() + groupSeparator,
         QStringLiteral("-n"), QString::number(limit)},
        repository);
    QList<CommitRecord> commits;
    for (const QString &record : output.split(recordSeparator)) {
        if (std::optional<CommitRecord> commit = parseCommitWithStatistics(record))
            commits.append(*commit);
    }
    return commits;
}

QList<GraphCommitRecord> GitService::loadGraph(const QString &repository, int limit) const
{
    if (!hasHead(repository))
        return {};
    const QString format = QStringList {QString(),
                                        QStringLiteral("%h"),
                                        QStringLiteral("%ar"),
                                        QStringLiteral("%s"),
                                        QStringLiteral("%an"),
                                        QStringLiteral("%d")}
                               .join(unitSeparator);
    const QString output
        = run(QStringList {QStringLiteral("log"), QStringLiteral("--graph"),
                           QStringLiteral("--abbrev-commit"), QStringLiteral("--decorate")}
                  + allRefs(repository)
                  + QStringList {QStringLiteral("--format=") + format, QStringLiteral("-n"),
                                 QString::number(limit)},
              repository);

    QList<GraphCommitRecord> records;
    const QStringList lines = output.split(QLatin1Char('\n'));
    for (qsizetype number = 0; number < lines.size(); ++number) {
        const QString &line = lines.at(number);
        if (line.isEmpty())
            continue;
        const qsizetype prefixEnd = line.indexOf(unitSeparator);
        GraphCommitRecord record;
        if (prefixEnd < 0) {
            // Drawing only; the line number keeps repeated drawings apart.
            record.id
                = QStringLiteral("connector-") + QString::number(number) + QLatin1Char('-') + line;
            record.graph = line;
            records.append(record);
            continue;
        }
        const QStringList parts = line.mid(prefixEnd + 1).split(unitSeparator);
        if (parts.size() < 5)
            continue;
        record.graph = line.left(prefixEnd);
        record.id = parts.at(0);
        record.shortHash = parts.at(0);
        record.relativeDate = parts.at(1);
        record.subject = parts.at(2);
        record.author = parts.at(3);
        record.decorations = parts.at(4);
        records.append(record);
    }
    return records;
}

QList<CommitRecord> GitService::searchCommits(const QString &repository, const QString &query) const
{
    if (query.trimmed().isEmpty())
        return {};
    if (!hasHead(repository))
        return {};
    // The query goes to git as typed: surrounding blanks take part in the match.
    const QString output = run(
        QStringList {QStringLiteral("log")} + allRefs(repository)
            + QStringList {QStringLiteral("--regexp-ignore-case"),
                           QStringLiteral("--grep=") + query,
                           QStringLiteral("--format=") + recordSeparator + commitFieldsFormat(),
                           QStringLiteral("-n"), QStringLiteral("100")},
        repository);
    QList<CommitRecord> commits;
    for (const QString &record : output.split(recordSeparator)) {
        if (std::optional<CommitRecord> commit
            = commitFromFields(record.trimmed().split(unitSeparator)))
            commits.append(*commit);
    }
    return commits;
}

} // namespace strataloom
