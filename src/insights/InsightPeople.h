#pragma once

#include "insights/InsightHistory.h"

#include <QHash>
#include <QString>

#include <utility>

namespace strataloom {
class SQLiteDatabase;
}

// Who the authors of a history are: people rather than spellings, automation apart. The
// aggregates count whatever History::authorOf() answers; the functions here rewrite a history's
// authors so that it answers with a person.

namespace strataloom::aggregates {

/// @brief An address unrelated people share (empty, a bare no-reply address, a machine default):
/// it joins nobody.
bool isPlaceholderEmail(const QString &email);

/// @brief A name or address of an automation account: a name ending in "[bot]", or one of the
/// well-known services that commit on a project's behalf.
bool isAutomationAccount(const QString &name, const QString &email);

/// @brief Name and address of each alias the repository's mailmap maps, by alias id.
QHash<qint64, std::pair<QString, QString>> readMappedIdentities(SQLiteDatabase &database);

struct PeopleOptions
{
    bool mergeIdentities = false;
    bool separateBots = false;
};

/// @brief What rewriting the authors found.
struct People
{
    /// The people known under several names or addresses, by name (merged identities only).
    QList<IndexedIdentityInsight> identities;
    /// Commits of automation accounts, when they are kept apart.
    qint64 botCommits = 0;
};

/**
 * @brief Rewrites the authors of @p history as @p options say.
 *
 * mergeIdentities: each alias is first taken as the mailmap maps it (@p mapped); aliases sharing
 * a name, or an address compared without case (placeholders aside), are one person, named by the
 * name with most commits among theirs. Each commit's author becomes that person.
 * separateBots: commits of a person (or, without merging, of an author) with an automation
 * account's name or address are marked; History::authorOf() no longer names their author.
 */
People applyPeople(History &history, const QHash<qint64, std::pair<QString, QString>> &mapped,
                   const PeopleOptions &options);

/// @brief An alias of the index (a name and address as commits record them) and its person.
struct AliasIdentity
{
    qint64 id = 0;
    QString name;
    QString email;
    QString mappedName; ///< as the mailmap maps the alias; its own name without merging
    QString mappedEmail;
    qint64 authorID = 0; ///< the author of the alias's exact name
    qint64 person = 0; ///< the same for every alias of one person
};

/**
 * @brief Every alias of the index in id order with the person it belongs to: with
 * @p mergeIdentities, people as applyPeople joins them (the mailmap, then shared names and
 * addresses), identified by their first alias's id; without, the author of the alias's exact
 * name, identified by the author's id.
 */
QList<AliasIdentity> readAliasPeople(SQLiteDatabase &database, bool mergeIdentities);

/// @brief The automation accounts of a history rewritten by applyPeople, like topAuthors.
QList<IndexedAuthorInsight> botAuthors(const History &history, qint64 totalCommits);

} // namespace strataloom::aggregates
