#pragma once

#include <QList>
#include <QString>

#include <optional>
#include <stdexcept>

namespace strataloom {

/**
 * @brief A query that names what is wrong with it and where: the message, and the characters
 * of the query it is about (0-based start, length; the whole query when nothing narrower fits).
 */
class HistoryQueryError : public std::runtime_error
{
public:
    HistoryQueryError(const QString &message, qsizetype position, qsizetype length);

    /// @brief What is wrong, without the position ("unknown key \"foo:\"").
    QString message() const { return m_message; }
    qsizetype position() const { return m_position; }
    qsizetype length() const { return m_length; }

private:
    QString m_message;
    qsizetype m_position;
    qsizetype m_length;
};

/// @brief One condition of a query. Every term must hold for a commit to match.
struct HistoryQueryTerm
{
    enum class Kind {
        Word, ///< the beginning of a word of the message
        Phrase, ///< quoted words of the message, in that order
        Author, ///< part of the author's name or e-mail, letter case ignored
        Path, ///< a file (with its earlier names) or a folder
        After, ///< committed at or after a time
        Before, ///< committed at or before a time
        Type, ///< the subject's conventional-commit type
        Ref, ///< reachable from a branch or tag
        Merges, ///< merges only ("only") or none ("no")
    };

    Kind kind = Kind::Word;
    QString value; ///< as typed, quotes removed; for Merges "no" or "only"
    qint64 seconds = 0; ///< After and Before: the instant, seconds since 1970
    qsizetype position = 0; ///< where the term starts in the query text
    qsizetype length = 0;

    bool operator==(const HistoryQueryTerm &) const = default;
};

/**
 * @brief The one query language of the History filter, Search and `strataloom-cli log`.
 *
 * Terms are separated by blanks and all must hold. A bare word matches the words of the commit
 * message (subject or body, letter case ignored) that begin with it, so that a list searched as
 * the user types finds "alpha" at "alp" (a trailing `*`, as other search boxes take it, changes
 * nothing); `"several words"` matches those whole words in that order.
 * `key:value` terms (a value with blanks goes in quotes: `author:"Ada Lovelace"`):
 *   - author: part of the author's name or e-mail, letter case ignored; where one person's
 *     names and addresses are taken together (the identity correction), every commit of each
 *     person with such a name or address;
 *   - path: a file or a folder (`src/` or `src`); a file also matches the commits made to it
 *     under earlier names, through its renames;
 *   - after: / before: a day (YYYY-MM-DD, the day's start in the local time zone) or a local
 *     time (YYYY-MM-DDTHH:MM[:SS]); the commit date is compared, both ends included;
 *   - type: a conventional-commit type (feat, fix, docs, ... or other);
 *   - ref: a branch or tag; the commits reachable from it;
 *   - merges: no (leave merges out) or only.
 * An empty query matches every commit.
 */
class HistoryQuery
{
public:
    HistoryQuery() = default;

    /// @brief Reads @p text; throws HistoryQueryError for an unknown key, an empty value, a bad
    /// date, an unknown type or merges value, or an unclosed quote.
    static HistoryQuery parse(const QString &text);

    QString text() const { return m_text; }
    const QList<HistoryQueryTerm> &terms() const { return m_terms; }
    bool isEmpty() const { return m_terms.isEmpty(); }

private:
    QString m_text;
    QList<HistoryQueryTerm> m_terms;
};

} // namespace strataloom
