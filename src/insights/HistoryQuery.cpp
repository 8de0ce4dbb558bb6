#include "insights/HistoryQuery.h"

#include "insights/Classifiers.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QTimeZone>

namespace strataloom {

namespace {

using Kind = HistoryQueryTerm::Kind;

struct Key
{
    const char *name;
    Kind kind;
};

constexpr Key keys[] = {
    {"author", Kind::Author}, {"path", Kind::Path}, {"after", Kind::After},
    {"before", Kind::Before}, {"type", Kind::Type}, {"ref", Kind::Ref},
    {"merges", Kind::Merges},
};

QString keyList()
{
    QStringList names;
    for (const Key &key : keys)
        names.append(QLatin1String(key.name) + QLatin1Char(':'));
    return names.join(QStringLiteral(", "));
}

/**
 * A day is its start in the local time zone, as git reads "YYYY-MM-DD 00:00:00". (Git reads a
 * bare day at the current time of day, so that its answer changes over the day; a day here is
 * always the same instant.) A time without seconds is at its minute's start.
 */
std::optional<qint64> parseInstant(const QString &text)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^(\d{4})-(\d{2})-(\d{2})(?:[T ](\d{2}):(\d{2})(?::(\d{2}))?)?$)"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    const QDate day(match.captured(1).toInt(), match.captured(2).toInt(),
                    match.captured(3).toInt());
    QTime time(0, 0);
    if (match.hasCaptured(4))
        time = QTime(match.captured(4).toInt(), match.captured(5).toInt(),
                     match.hasCaptured(6) ? match.captured(6).toInt() : 0);
    if (!day.isValid() || !time.isValid())
        return std::nullopt;
    return QDateTime(day, time, QTimeZone::systemTimeZone()).toSecsSinceEpoch();
}

class Parser
{
public:
    explicit Parser(const QString &text)
        : m_text(text)
    { }

    QList<HistoryQueryTerm> terms()
    {
        QList<HistoryQueryTerm> terms;
        while (true) {
            while (m_at < m_text.size() && m_text[m_at].isSpace())
                ++m_at;
            if (m_at >= m_text.size())
                return terms;
            terms.append(term());
        }
    }

private:
    HistoryQueryTerm term()
    {
        const qsizetype start = m_at;
        if (m_text[m_at] == u'"') {
            HistoryQueryTerm phrase;
            phrase.kind = Kind::Phrase;
            phrase.value = quoted();
            return finished(phrase, start);
        }
        // A key is the letters before a colon; anything else with a colon in it must be quoted.
        qsizetype end = m_at;
        while (end < m_text.size() && m_text[end].isLetter())
            ++end;
        if (end > m_at && end < m_text.size() && m_text[end] == u':') {
            const QString name = m_text.mid(m_at, end - m_at);
            m_at = end + 1;
            return keyed(name, start);
        }
        HistoryQueryTerm word;
        word.kind = Kind::Word;
        word.value = bare();
        if (word.value.contains(u'"'))
            throw HistoryQueryError(QStringLiteral("a quote inside a word; put the whole phrase "
                                                   "in quotes"),
                                    start, m_at - start);
        if (word.value.contains(u':'))
            throw HistoryQueryError(QStringLiteral("\"%1\" is no key (%2); put text with a colon "
                                                   "in quotes")
                                        .arg(word.value, keyList()),
                                    start, m_at - start);
        if (word.value.size() > 1 && word.value.endsWith(u'*'))
            word.value.chop(1);
        return finished(word, start);
    }

    HistoryQueryTerm keyed(const QString &name, qsizetype start)
    {
        const Key *key = nullptr;
        for (const Key &candidate : keys) {
            if (name.compare(QLatin1String(candidate.name), Qt::CaseInsensitive) == 0)
                key = &candidate;
        }
        if (!key)
            throw HistoryQueryError(QStringLiteral("unknown key \"%1:\"; the keys are %2 (put "
                                                   "text with a colon in quotes)")
                                        .arg(name, keyList()),
                                    start, name.size() + 1);
        HistoryQueryTerm term;
        term.kind = key->kind;
        const qsizetype valueStart = m_at;
        term.value = m_at < m_text.size() && m_text[m_at] == u'"' ? quoted() : bare();
        const QString keyText = QLatin1String(key->name) + QLatin1Char(':');
        if (term.value.isEmpty())
            throw HistoryQueryError(QStringLiteral("%1 needs a value").arg(keyText), start,
                                    m_at - start);
        const auto badValue = [&](const QString &expected) {
            return HistoryQueryError(
                QStringLiteral("%1 needs %2, not \"%3\"").arg(keyText, expected, term.value),
                valueStart, m_at - valueStart);
        };
        switch (term.kind) {
        case Kind::After:
        case Kind::Before: {
            const std::optional<qint64> seconds = parseInstant(term.value);
            if (!seconds)
                throw badValue(QStringLiteral("a date as YYYY-MM-DD"));
            term.seconds = *seconds;
            break;
        }
        case Kind::Type: {
            const QStringList types = commitTypeNames();
            term.value = term.value.toLower();
            if (!types.contains(term.value))
                throw badValue(QStringLiteral("one of ") + types.join(QStringLiteral(", ")));
            break;
        }
        case Kind::Merges:
            term.value = term.value.toLower();
            if (term.value != QLatin1String("no") && term.value != QLatin1String("only"))
                throw badValue(QStringLiteral("no or only"));
            break;
        default:
            break;
        }
        return finished(term, start);
    }

    HistoryQueryTerm finished(HistoryQueryTerm term, qsizetype start) const
    {
        term.position = start;
        term.length = m_at - start;
        return term;
    }

    // The text up to the next blank.
    QString bare()
    {
        const qsizetype start = m_at;
        while (m_at < m_text.size() && !m_text[m_at].isSpace())
            ++m_at;
        return m_text.mid(start, m_at - start);
    }

    // The text between the quote at m_at and the next one; it must be followed by a blank or
    // the end, so that `"a"b` is not read as two terms.
    QString quoted()
    {
        const qsizetype open = m_at;
        const qsizetype close = m_text.indexOf(u'"', open + 1);
        if (close < 0)
            throw HistoryQueryError(QStringLiteral("unclosed quote"), open, m_text.size() - open);
        m_at = close + 1;
        if (m_at < m_text.size() && !m_text[m_at].isSpace())
            throw HistoryQueryError(QStringLiteral("a blank must follow the closing quote"), open,
                                    m_at - open + 1);
        return m_text.mid(open + 1, close - open - 1);
    }

    const QString &m_text;
    qsizetype m_at = 0;
};

} // namespace

HistoryQueryError::HistoryQueryError(const QString &message, qsizetype position, qsizetype length)
    : std::runtime_error(
        QStringLiteral("%1 (at character %2)").arg(message).arg(position + 1).toStdString())
    , m_message(message)
    , m_position(position)
    , m_length(length)
{ }

HistoryQuery HistoryQuery::parse(const QString &text)
{
    HistoryQuery query;
    query.m_text = text;
    query.m_terms = Parser(text).terms();
    return query;
}

} // namespace strataloom
