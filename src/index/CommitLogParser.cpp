#include "index/CommitLogParser.h"

#include "git/GitService.h"

#include <QHash>

namespace strataloom {

namespace {

constexpr char recordStart = '\x1e';
constexpr char unitSeparator = '\x1f';
constexpr char headerEnd = '\x1d';

bool isNewline(QChar c)
{
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == u'\v' || u == u'\f' || u == 0x85 || u == 0x2028
        || u == 0x2029;
}

QString trimNewlines(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isNewline(text[begin]))
        ++begin;
    while (end > begin && isNewline(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

struct LineCounts
{
    std::optional<qint64> additions;
    std::optional<qint64> deletions;
    bool isBinary = false;
};

// Seconds since 1970 as stored; 0, "no date", for what git prints for a date it cannot read
// (nothing, or a wrapped-around number) and for instants no calendar day can name.
qint64 storedTime(const QString &seconds)
{
    const OptionalDate date = GitService::parseUnixDate(seconds);
    return date ? date->toSecsSinceEpoch() : 0;
}

} // namespace

QStringList CommitLogParser::logArguments()
{
    // Every option pins a setting that `git log` would otherwise take from the user's
    // configuration, so the changes come out as the plumbing diff would report them: the myers
    // algorithm (others change line counts), no signature lines, root commits diffed against the
    // empty tree, full blob ids, default file order, submodules included.
    return {QStringLiteral("-z"),
            QStringLiteral("--raw"),
            QStringLiteral("--numstat"),
            QStringLiteral("--find-renames"),
            QStringLiteral("--root"),
            QStringLiteral("--no-abbrev"),
            QStringLiteral("--diff-algorithm=myers"),
            QStringLiteral("--no-show-signature"),
            QStringLiteral("--ignore-submodules=none"),
            QStringLiteral("--format=%x1e%H%x1f%P%x1f%an%x1f%ae%x1f%cn%x1f%ce%x1f%at%x1f%ct%x1f%s"
                           "%x1f%B%x1d")};
}

QStringList CommitLogParser::logArgumentsWithoutContent(bool findRenames)
{
    // The same records with the raw entries only: no line counts, for which git would have to
    // read the blobs. Finding renames reads them too, unless a rename is exact.
    QStringList arguments = logArguments();
    arguments.removeAll(QStringLiteral("--numstat"));
    if (!findRenames)
        arguments.replace(arguments.indexOf(QStringLiteral("--find-renames")),
                          QStringLiteral("--no-renames"));
    return arguments;
}

CommitLogParser::CommitLogParser(CommitHandler handler)
    : m_handler(std::move(handler))
{ }

void CommitLogParser::feed(const char *data, qsizetype size)
{
    m_buffer.append(data, size);
    // A record ends where the next begins: a record separator right after a NUL. Paths and
    // headers never hold a NUL, so that pair cannot occur inside a record. The records parsed
    // are dropped from the buffer once per call: dropping each on its own moved the rest of a
    // 64 KiB read a hundred times over.
    qsizetype consumed = 0;
    for (;;) {
        const qsizetype boundary = m_buffer.indexOf(QByteArrayView("\0\x1e", 2), m_scanFrom);
        if (boundary < 0)
            break;
        parseRecord(QByteArrayView(m_buffer).sliced(consumed, boundary + 1 - consumed));
        consumed = boundary + 1;
        m_scanFrom = consumed;
    }
    m_buffer.remove(0, consumed);
    m_scanFrom = std::max<qsizetype>(0, m_buffer.size() - 1);
}

void CommitLogParser::finish()
{
    if (!m_buffer.isEmpty())
        parseRecord(m_buffer);
    m_buffer.clear();
    m_scanFrom = 0;
}

void CommitLogParser::parseRecord(QByteArrayView record)
{
    qsizetype start = 0;
    while (start < record.size() && record[start] != recordStart)
        ++start;
    if (start >= record.size())
        return;
    const qsizetype end = record.indexOf(QByteArrayView("\x1d\0", 2), start);
    const QByteArrayView headerBytes
        = record.sliced(start + 1, (end < 0 ? record.size() : end) - start - 1);
    const QStringList fields
        = trimNewlines(QString::fromUtf8(headerBytes)).split(QLatin1Char(unitSeparator));
    if (fields.size() < 10 || end < 0) {
        ++m_skipped;
        return;
    }

    IndexedCommit commit;
    commit.sha = fields[0];
    commit.parents = fields[1].split(QLatin1Char(' '), Qt::SkipEmptyParts);
    commit.authorName = fields[2];
    commit.authorEmail = fields[3];
    commit.committerName = fields[4];
    commit.committerEmail = fields[5];
    commit.authorTime = storedTime(fields[6]);
    commit.committerTime = storedTime(fields[7]);
    commit.subject = fields[8];
    commit.body = fields[9];

    // After the header: NUL-terminated tokens, the raw entries first, then the numstat entries.
    QByteArrayView rest = record.sliced(end + 2);
    if (rest.startsWith('\n'))
        rest = rest.sliced(1);
    QList<QByteArrayView> tokens;
    for (qsizetype from = 0; from <= rest.size();) {
        qsizetype to = rest.indexOf('\0', from);
        if (to < 0)
            to = rest.size();
        tokens.append(rest.sliced(from, to - from));
        from = to + 1;
    }
    QHash<QString, LineCounts> counts;
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        const QByteArrayView token = tokens[i];
        if (token.isEmpty())
            continue;
        if (token.startsWith(':')) {
            IndexedFileChange change;
            change.status = QString::fromUtf8(token.sliced(token.lastIndexOf(' ') + 1));
            if (i + 1 >= tokens.size())
                break;
            const QString first = QString::fromUtf8(tokens[++i]);
            if ((change.status.startsWith(QLatin1Char('R'))
                 || change.status.startsWith(QLatin1Char('C')))
                && i + 1 < tokens.size()) {
                change.oldPath = first;
                change.path = QString::fromUtf8(tokens[++i]);
            } else {
                change.path = first;
            }
            commit.changes.append(change);
            continue;
        }
        const qsizetype firstTab = token.indexOf('\t');
        const qsizetype secondTab = firstTab < 0 ? -1 : token.indexOf('\t', firstTab + 1);
        if (secondTab < 0)
            continue;
        const QByteArrayView added = token.first(firstTab);
        const QByteArrayView removed = token.sliced(firstTab + 1, secondTab - firstTab - 1);
        const QByteArrayView path = token.sliced(secondTab + 1);
        if (path.isEmpty()) {
            i += 2; // a rename or copy: the old and the new path follow as tokens of their own
            continue;
        }
        LineCounts entry;
        if (added == "-" || removed == "-") {
            entry.isBinary = true;
        } else {
            bool addedOk = false;
            bool removedOk = false;
            const qint64 a = added.toLongLong(&addedOk);
            const qint64 r = removed.toLongLong(&removedOk);
            if (addedOk && removedOk) {
                entry.additions = a;
                entry.deletions = r;
            }
        }
        counts.insert(QString::fromUtf8(path), entry);
    }
    for (IndexedFileChange &change : commit.changes) {
        const auto found = counts.constFind(change.path);
        if (found == counts.constEnd() || change.oldPath)
            continue;
        change.additions = found->additions;
        change.deletions = found->deletions;
        change.isBinary = found->isBinary;
    }
    m_handler(std::move(commit));
}

} // namespace strataloom
