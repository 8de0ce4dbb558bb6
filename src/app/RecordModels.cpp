#include "app/RecordModels.h"

#include "insights/InsightFields.h"

namespace strataloom {

namespace {

template<typename T> QVariant variant(const T &value)
{
    return QVariant::fromValue(value);
}

template<typename T> QVariant variant(const std::optional<T> &value)
{
    return value ? variant(*value) : QVariant();
}

template<typename T> QVariant variant(const QList<T> &values)
{
    QVariantList list;
    list.reserve(values.size());
    for (const T &value : values)
        list.append(variant(value));
    return list;
}

template<> QVariant variant(const QList<QString> &values)
{
    return QVariant(QStringList(values));
}

template<typename Record, auto member> QVariant fieldOf(const Record &record)
{
    return variant(record.*member);
}

// One role per field, named after it.
#define STRATALOOM_ROLE(Type, member)                                                              \
    {                                                                                              \
        QByteArrayLiteral(#member), &fieldOf<Type, &Type::member>                                  \
    }

// One map entry per field, named after it.
#define STRATALOOM_PUT(map, record, member)                                                        \
    map.insert(QStringLiteral(#member), variant(record.member))

QString text(const QVariantMap &map, const char *key)
{
    return map.value(QString::fromLatin1(key)).toString();
}

int number(const QVariantMap &map, const char *key)
{
    return map.value(QString::fromLatin1(key)).toInt();
}

bool flag(const QVariantMap &map, const char *key)
{
    return map.value(QString::fromLatin1(key)).toBool();
}

QDateTime date(const QVariantMap &map, const char *key)
{
    return map.value(QString::fromLatin1(key)).toDateTime();
}

OptionalDate optionalDate(const QVariantMap &map, const char *key)
{
    const QVariant value = map.value(QString::fromLatin1(key));
    if (!value.isValid() || value.isNull())
        return std::nullopt;
    return value.toDateTime();
}

} // namespace

namespace {

template<typename T> constexpr bool isList = false;
template<typename T> constexpr bool isList<QList<T>> = true;
template<typename T> constexpr bool isOptional = false;
template<typename T> constexpr bool isOptional<std::optional<T>> = true;

// An insight value as QML sees it: records as maps of their fields (an activity period also
// carries its churn), lists as lists, an absent record or date as null.
template<typename T> QVariant insightVariant(const T &value)
{
    if constexpr (requires { visitFields(value, [](const char *, const auto &) {}); }) {
        QVariantMap map;
        visitFields(value, [&map](const char *name, const auto &field) {
            map.insert(QString::fromLatin1(name), insightVariant(field));
        });
        if constexpr (std::is_same_v<T, IndexedActivityInsight>)
            map.insert(QStringLiteral("churn"), value.churn());
        return map;
    } else if constexpr (isOptional<T>) {
        return value ? insightVariant(*value) : QVariant();
    } else if constexpr (isList<T>) {
        QVariantList list;
        list.reserve(value.size());
        for (const auto &item : value)
            list.append(insightVariant(item));
        return list;
    } else {
        return variant(value);
    }
}

template<typename Record>
QVariantMap rowMap(const QList<typename RecordList<Record>::Role> &roles, const Record &record)
{
    QVariantMap map;
    for (const auto &role : roles)
        map.insert(QString::fromLatin1(role.name), role.value(record));
    return map;
}

QList<RecordList<CommitRecord>::Role> commitRoles()
{
    return {
        STRATALOOM_ROLE(CommitRecord, subject),   STRATALOOM_ROLE(CommitRecord, id),
        STRATALOOM_ROLE(CommitRecord, shortHash), STRATALOOM_ROLE(CommitRecord, author),
        STRATALOOM_ROLE(CommitRecord, email),     STRATALOOM_ROLE(CommitRecord, date),
        STRATALOOM_ROLE(CommitRecord, body),      STRATALOOM_ROLE(CommitRecord, additions),
        STRATALOOM_ROLE(CommitRecord, deletions), STRATALOOM_ROLE(CommitRecord, filesChanged),
    };
}

QList<RecordList<BranchRecord>::Role> branchRoles()
{
    return {
        STRATALOOM_ROLE(BranchRecord, name),
        STRATALOOM_ROLE(BranchRecord, isCurrent),
        STRATALOOM_ROLE(BranchRecord, isRemote),
        STRATALOOM_ROLE(BranchRecord, lastCommitHash),
        STRATALOOM_ROLE(BranchRecord, lastCommitDate),
        STRATALOOM_ROLE(BranchRecord, lastAuthor),
    };
}

QList<RecordList<FileRecord>::Role> fileRoles()
{
    return {
        STRATALOOM_ROLE(FileRecord, path),
        STRATALOOM_ROLE(FileRecord, status),
        STRATALOOM_ROLE(FileRecord, lastCommitDate),
        STRATALOOM_ROLE(FileRecord, lastAuthor),
    };
}

QList<RecordList<AuthorStat>::Role> authorRoles()
{
    return {STRATALOOM_ROLE(AuthorStat, name), STRATALOOM_ROLE(AuthorStat, commits)};
}

QList<RecordList<RecentRepository>::Role> recentRoles()
{
    return {
        STRATALOOM_ROLE(RecentRepository, name),
        STRATALOOM_ROLE(RecentRepository, path),
        STRATALOOM_ROLE(RecentRepository, lastOpened),
    };
}

QList<RecordList<DiscoveredRepository>::Role> discoveredRoles()
{
    return {STRATALOOM_ROLE(DiscoveredRepository, name),
            STRATALOOM_ROLE(DiscoveredRepository, path)};
}

QList<RecordList<ActivityPoint>::Role> activityRoles()
{
    return {STRATALOOM_ROLE(ActivityPoint, count), STRATALOOM_ROLE(ActivityPoint, date)};
}

} // namespace

QVariantMap RecordListModel::get(int row) const
{
    QVariantMap map;
    if (row < 0 || row >= rowCount())
        return map;
    const QModelIndex at = index(row);
    const QHash<int, QByteArray> names = roleNames();
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        map.insert(QString::fromLatin1(it.value()), data(at, it.key()));
    return map;
}

CommitListModel::CommitListModel(QObject *parent)
    : RecordList(commitRoles(), parent)
{ }

GraphListModel::GraphListModel(QObject *parent)
    : RecordList(
        {
            STRATALOOM_ROLE(GraphCommitRecord, subject),
            STRATALOOM_ROLE(GraphCommitRecord, id),
            STRATALOOM_ROLE(GraphCommitRecord, graph),
            STRATALOOM_ROLE(GraphCommitRecord, shortHash),
            STRATALOOM_ROLE(GraphCommitRecord, relativeDate),
            STRATALOOM_ROLE(GraphCommitRecord, author),
            STRATALOOM_ROLE(GraphCommitRecord, decorations),
            {QByteArrayLiteral("isConnector"),
             [](const GraphCommitRecord &line) { return QVariant(line.isConnector()); }},
        },
        parent)
{ }

BranchListModel::BranchListModel(QObject *parent)
    : RecordList(branchRoles(), parent)
{ }

TagListModel::TagListModel(QObject *parent)
    : RecordList(
        {
            STRATALOOM_ROLE(TagRecord, name),
            STRATALOOM_ROLE(TagRecord, objectHash),
            STRATALOOM_ROLE(TagRecord, date),
            STRATALOOM_ROLE(TagRecord, subject),
        },
        parent)
{ }

FileListModel::FileListModel(QObject *parent)
    : RecordList(fileRoles(), parent)
{ }

ActivityListModel::ActivityListModel(QObject *parent)
    : RecordList(activityRoles(), parent)
{ }

AuthorStatListModel::AuthorStatListModel(QObject *parent)
    : RecordList(authorRoles(), parent)
{ }

CommitChangeListModel::CommitChangeListModel(QObject *parent)
    : RecordList(
        {STRATALOOM_ROLE(CommitFileChange, path), STRATALOOM_ROLE(CommitFileChange, status)},
        parent)
{ }

RecentRepositoryListModel::RecentRepositoryListModel(QObject *parent)
    : RecordList(recentRoles(), parent)
{ }

DiscoveredRepositoryListModel::DiscoveredRepositoryListModel(QObject *parent)
    : RecordList(discoveredRoles(), parent)
{ }

QVariantMap toVariantMap(const RepositorySummary &summary)
{
    QVariantMap map;
    STRATALOOM_PUT(map, summary, path);
    STRATALOOM_PUT(map, summary, name);
    STRATALOOM_PUT(map, summary, currentBranch);
    STRATALOOM_PUT(map, summary, remoteURL);
    STRATALOOM_PUT(map, summary, isClean);
    STRATALOOM_PUT(map, summary, statusUnavailableReason);
    STRATALOOM_PUT(map, summary, commitCount);
    STRATALOOM_PUT(map, summary, branchCount);
    STRATALOOM_PUT(map, summary, tagCount);
    STRATALOOM_PUT(map, summary, authorCount);
    STRATALOOM_PUT(map, summary, trackedFileCount);
    STRATALOOM_PUT(map, summary, firstCommitDate);
    STRATALOOM_PUT(map, summary, latestCommitDate);
    STRATALOOM_PUT(map, summary, repositorySizeBytes);
    STRATALOOM_PUT(map, summary, gitSizeBytes);
    STRATALOOM_PUT(map, summary, longestInactivityDays);
    STRATALOOM_PUT(map, summary, commitsPerMonth);
    STRATALOOM_PUT(map, summary, activityTrendPercent);
    return map;
}

QVariantMap toVariantMap(const CommitRecord &commit)
{
    return rowMap(commitRoles(), commit);
}

QVariantMap toVariantMap(const BranchRecord &branch)
{
    return rowMap(branchRoles(), branch);
}

QVariantMap toVariantMap(const FileRecord &file)
{
    return rowMap(fileRoles(), file);
}

QVariantMap toVariantMap(const FileDetails &details)
{
    QVariantMap map;
    STRATALOOM_PUT(map, details, path);
    STRATALOOM_PUT(map, details, sizeBytes);
    STRATALOOM_PUT(map, details, commitCount);
    STRATALOOM_PUT(map, details, authors);
    STRATALOOM_PUT(map, details, firstCommitDate);
    STRATALOOM_PUT(map, details, lastCommitDate);
    STRATALOOM_PUT(map, details, lastAuthor);
    return map;
}

QVariantMap toVariantMap(const AuthorStat &author)
{
    return rowMap(authorRoles(), author);
}

QVariantMap toVariantMap(const AuthorDetails &details)
{
    QVariantMap map;
    STRATALOOM_PUT(map, details, name);
    STRATALOOM_PUT(map, details, emails);
    STRATALOOM_PUT(map, details, commits);
    STRATALOOM_PUT(map, details, additions);
    STRATALOOM_PUT(map, details, deletions);
    STRATALOOM_PUT(map, details, firstCommitDate);
    STRATALOOM_PUT(map, details, lastCommitDate);
    QVariantList activity;
    for (const ActivityPoint &point : details.activity)
        activity.append(rowMap(activityRoles(), point));
    map.insert(QStringLiteral("activity"), activity);
    return map;
}

QVariantMap toVariantMap(const RepositoryAnalyticsInsights &insights)
{
    return insightVariant(insights).toMap();
}

CommitRecord commitFromVariantMap(const QVariantMap &map)
{
    CommitRecord commit;
    commit.id = text(map, "id");
    commit.shortHash = text(map, "shortHash");
    commit.author = text(map, "author");
    commit.email = text(map, "email");
    commit.date = date(map, "date");
    commit.subject = text(map, "subject");
    commit.body = text(map, "body");
    commit.additions = number(map, "additions");
    commit.deletions = number(map, "deletions");
    commit.filesChanged = number(map, "filesChanged");
    return commit;
}

BranchRecord branchFromVariantMap(const QVariantMap &map)
{
    BranchRecord branch;
    branch.name = text(map, "name");
    branch.isCurrent = flag(map, "isCurrent");
    branch.isRemote = flag(map, "isRemote");
    branch.lastCommitHash = text(map, "lastCommitHash");
    branch.lastCommitDate = optionalDate(map, "lastCommitDate");
    branch.lastAuthor = text(map, "lastAuthor");
    return branch;
}

FileRecord fileFromVariantMap(const QVariantMap &map)
{
    FileRecord file;
    file.path = text(map, "path");
    file.status = text(map, "status");
    file.lastCommitDate = optionalDate(map, "lastCommitDate");
    file.lastAuthor = text(map, "lastAuthor");
    return file;
}

AuthorStat authorFromVariantMap(const QVariantMap &map)
{
    return {text(map, "name"), number(map, "commits")};
}

RecentRepository recentFromVariantMap(const QVariantMap &map)
{
    return {text(map, "name"), text(map, "path"), date(map, "lastOpened")};
}

DiscoveredRepository discoveredFromVariantMap(const QVariantMap &map)
{
    return {text(map, "name"), text(map, "path")};
}

} // namespace strataloom
