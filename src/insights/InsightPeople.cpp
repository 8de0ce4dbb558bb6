#include "insights/InsightPeople.h"

#include "index/SQLite.h"
#include "insights/InsightAggregates.h"
#include "insights/SQLiteSemantics.h"

#include <QSet>

#include <algorithm>
#include <numeric>

namespace strataloom::aggregates {

namespace {

// Addresses that tools fill in when a person gave none, or that a service puts on commits of
// many unrelated people. Compared lower-cased.
const QSet<QString> &placeholderAddresses()
{
    static const QSet<QString> addresses {
        QString(),
        QStringLiteral("noreply@github.com"),
        QStringLiteral("noreply@gitlab.com"),
        QStringLiteral("noreply@users.noreply.github.com"),
        QStringLiteral("none@none"),
        QStringLiteral("none"),
        QStringLiteral("(none)"),
        QStringLiteral("unknown"),
        QStringLiteral("unknown@unknown"),
        QStringLiteral("nobody@nowhere"),
        QStringLiteral("you@example.com"),
        QStringLiteral("root@localhost"),
        QStringLiteral("root@localhost.localdomain"),
    };
    return addresses;
}

// Services that commit on a project's behalf without a "[bot]" suffix, by name and by address.
// Compared lower-cased.
const QSet<QString> &automationNames()
{
    static const QSet<QString> names {
        QStringLiteral("dependabot"),      QStringLiteral("dependabot-preview"),
        QStringLiteral("renovate"),        QStringLiteral("renovate-bot"),
        QStringLiteral("greenkeeper"),     QStringLiteral("greenkeeperio-bot"),
        QStringLiteral("github-actions"),  QStringLiteral("github action"),
        QStringLiteral("snyk-bot"),        QStringLiteral("pre-commit-ci"),
        QStringLiteral("imgbot"),          QStringLiteral("mergify"),
        QStringLiteral("allcontributors"), QStringLiteral("semantic-release-bot"),
        QStringLiteral("pyup-bot"),        QStringLiteral("codecov-io"),
    };
    return names;
}

const QSet<QString> &automationAddresses()
{
    static const QSet<QString> addresses {
        QStringLiteral("support@dependabot.com"), QStringLiteral("bot@renovateapp.com"),
        QStringLiteral("action@github.com"),      QStringLiteral("support@greenkeeper.io"),
        QStringLiteral("snyk-bot@snyk.io"),
    };
    return addresses;
}

// Sets of aliases joined one pair at a time.
class Groups
{
public:
    explicit Groups(qsizetype count)
        : m_parent(size_t(count))
    {
        std::iota(m_parent.begin(), m_parent.end(), qsizetype(0));
    }
    qsizetype find(qsizetype item)
    {
        while (m_parent[size_t(item)] != item) {
            m_parent[size_t(item)] = m_parent[size_t(m_parent[size_t(item)])];
            item = m_parent[size_t(item)];
        }
        return item;
    }
    // The smaller position leads, so a group is led by its first alias.
    void join(qsizetype a, qsizetype b)
    {
        a = find(a);
        b = find(b);
        if (a != b)
            m_parent[size_t(std::max(a, b))] = std::min(a, b);
    }

private:
    std::vector<qsizetype> m_parent;
};

// Joins the aliases at the same positions of @p names and @p emails (as the mailmap maps them)
// that share a name, or an address compared without case that is no placeholder.
void joinPeople(Groups &groups, const QStringList &names, const QStringList &emails)
{
    QHash<QString, qsizetype> firstOfName;
    QHash<QString, qsizetype> firstOfEmail;
    for (qsizetype i = 0; i < names.size(); ++i) {
        groups.join(i, *firstOfName.insert(names[i], firstOfName.value(names[i], i)));
        if (!isPlaceholderEmail(emails[i])) {
            const QString email = emails[i].trimmed().toLower();
            groups.join(i, *firstOfEmail.insert(email, firstOfEmail.value(email, i)));
        }
    }
}

} // namespace

bool isPlaceholderEmail(const QString &email)
{
    return placeholderAddresses().contains(email.trimmed().toLower());
}

bool isAutomationAccount(const QString &name, const QString &email)
{
    const QString lowerName = name.trimmed().toLower();
    return lowerName.endsWith(QLatin1String("[bot]")) || automationNames().contains(lowerName)
        || automationAddresses().contains(email.trimmed().toLower())
        || email.toLower().contains(QLatin1String("[bot]@"));
}

QHash<qint64, std::pair<QString, QString>> readMappedIdentities(SQLiteDatabase &database)
{
    QHash<qint64, std::pair<QString, QString>> mapped;
    SQLiteStatement statement = database.statement(
        QStringLiteral("SELECT alias_id, mapped_name, mapped_email FROM author_identities"));
    while (statement.step()) {
        mapped.insert(statement.columnInt64(0),
                      {textOr(statement, 1, QString()), textOr(statement, 2, QString())});
    }
    return mapped;
}

People applyPeople(History &history, const QHash<qint64, std::pair<QString, QString>> &mapped,
                   const PeopleOptions &options)
{
    People people;
    if (!options.mergeIdentities && !options.separateBots)
        return people;

    std::vector<qint64> aliasIDs;
    aliasIDs.reserve(size_t(history.aliases.size()));
    for (auto it = history.aliases.cbegin(); it != history.aliases.cend(); ++it)
        aliasIDs.push_back(it.key());
    std::sort(aliasIDs.begin(), aliasIDs.end());
    const qsizetype count = qsizetype(aliasIDs.size());
    QHash<qint64, qsizetype> position;
    position.reserve(count);
    QStringList names(count);
    QStringList emails(count);
    for (qsizetype i = 0; i < count; ++i) {
        position.insert(aliasIDs[size_t(i)], i);
        const Alias &alias = history.aliases[aliasIDs[size_t(i)]];
        const auto found
            = options.mergeIdentities ? mapped.constFind(aliasIDs[size_t(i)]) : mapped.cend();
        names[i] = found != mapped.cend() ? found->first : alias.name;
        emails[i] = found != mapped.cend() ? found->second : alias.email;
    }

    // The person of each alias: without merging, the author it belongs to (one exact name).
    Groups groups(count);
    if (options.mergeIdentities) {
        joinPeople(groups, names, emails);
    } else {
        QHash<qint64, qsizetype> firstOfAuthor;
        for (qsizetype i = 0; i < count; ++i) {
            const qint64 author = history.aliases[aliasIDs[size_t(i)]].authorID;
            groups.join(i, *firstOfAuthor.insert(author, firstOfAuthor.value(author, i)));
        }
    }

    std::vector<qint64> commitsOfAlias(size_t(count), 0);
    for (const CommitRow &commit : history.commits) {
        if (const auto found = position.constFind(commit.aliasID); found != position.cend())
            ++commitsOfAlias[size_t(*found)];
    }

    struct Person
    {
        QHash<QString, qint64> commitsByName;
        QSet<QString> names;
        QSet<QString> emails;
        qint64 commits = 0;
        bool isBot = false;
    };
    QHash<qsizetype, Person> persons;
    for (qsizetype i = 0; i < count; ++i) {
        Person &person = persons[groups.find(i)];
        const Alias &alias = history.aliases[aliasIDs[size_t(i)]];
        person.commitsByName[names[i]] += commitsOfAlias[size_t(i)];
        person.commits += commitsOfAlias[size_t(i)];
        person.names.insert(alias.name);
        person.emails.insert(alias.email);
        person.isBot = person.isBot || isAutomationAccount(alias.name, alias.email)
            || isAutomationAccount(names[i], emails[i]);
    }

    // A merged person's id is its first alias's: ids of different people never meet.
    QHash<qint64, QString> personNames;
    for (auto it = persons.begin(); it != persons.end(); ++it) {
        if (!options.mergeIdentities)
            continue;
        const qint64 id = aliasIDs[size_t(it.key())];
        QString best;
        qint64 most = -1;
        for (auto name = it->commitsByName.cbegin(); name != it->commitsByName.cend(); ++name) {
            if (name.value() > most
                || (name.value() == most && sqlite::compareBinary(name.key(), best) < 0)) {
                most = name.value();
                best = name.key();
            }
        }
        personNames.insert(id, best);
        if (it->commits > 0 && (it->names.size() > 1 || it->emails.size() > 1)) {
            QStringList knownNames(it->names.cbegin(), it->names.cend());
            QStringList knownEmails(it->emails.cbegin(), it->emails.cend());
            knownNames.sort();
            knownEmails.sort();
            people.identities.append({best, knownNames, knownEmails, it->isBot});
        }
    }
    std::sort(people.identities.begin(), people.identities.end(),
              [](const IndexedIdentityInsight &a, const IndexedIdentityInsight &b) {
                  const int order = sqlite::compareNoCase(a.name, b.name);
                  return order != 0 ? order < 0 : sqlite::compareBinary(a.name, b.name) < 0;
              });

    std::vector<bool> botLeaders(size_t(count), false);
    for (auto it = persons.cbegin(); it != persons.cend(); ++it)
        botLeaders[size_t(it.key())] = it->isBot;
    for (CommitRow &commit : history.commits) {
        const auto found = position.constFind(commit.aliasID);
        if (found == position.cend())
            continue;
        const qsizetype leader = groups.find(*found);
        if (options.mergeIdentities)
            commit.authorID = aliasIDs[size_t(leader)];
        if (options.separateBots && botLeaders[size_t(leader)]) {
            commit.byBot = true;
            ++people.botCommits;
        }
    }
    if (options.mergeIdentities)
        history.authorNames = personNames;
    return people;
}

QList<AliasIdentity> readAliasPeople(SQLiteDatabase &database, bool mergeIdentities)
{
    QList<AliasIdentity> aliases;
    SQLiteStatement statement = database.statement(QStringLiteral(
        "SELECT a.id, a.name, a.email, a.author_id, i.mapped_name, i.mapped_email "
        "FROM author_aliases a LEFT JOIN author_identities i ON i.alias_id = a.id ORDER BY a.id"));
    QStringList names;
    QStringList emails;
    while (statement.step()) {
        AliasIdentity alias;
        alias.id = statement.columnInt64(0);
        alias.name = textOr(statement, 1, QString());
        alias.email = textOr(statement, 2, QString());
        alias.mappedName = textOr(statement, 4, alias.name);
        alias.mappedEmail = textOr(statement, 5, alias.email);
        alias.authorID = statement.columnInt64(3);
        alias.person = alias.authorID;
        names.append(alias.mappedName);
        emails.append(alias.mappedEmail);
        aliases.append(alias);
    }
    if (!mergeIdentities) {
        for (AliasIdentity &alias : aliases) {
            alias.mappedName = alias.name;
            alias.mappedEmail = alias.email;
        }
        return aliases;
    }
    Groups groups(aliases.size());
    joinPeople(groups, names, emails);
    // As applyPeople names them: a person by its first alias.
    for (AliasIdentity &alias : aliases)
        alias.person = aliases[groups.find(&alias - aliases.data())].id;
    return aliases;
}

QList<IndexedAuthorInsight> botAuthors(const History &history, qint64 totalCommits)
{
    History bots;
    bots.authorNames = history.authorNames;
    bots.commits.reserve(history.commits.size());
    for (CommitRow commit : history.commits) {
        if (!commit.byBot)
            commit.authorID = noID;
        commit.byBot = false;
        bots.commits.push_back(commit);
    }
    return topAuthors(bots, totalCommits);
}

} // namespace strataloom::aggregates
