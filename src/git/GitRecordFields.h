#pragma once

#include "git/GitRecords.h"

#include <QList>

#include <concepts>
#include <optional>
#include <type_traits>

namespace strataloom {

/// @brief R is @p Record, const or not: lets one field list serve reading and writing.
template<typename R, typename Record>
concept RecordOf = std::same_as<std::remove_const_t<R>, Record>;

/// @brief T has a field list (visitFields, found by argument-dependent lookup).
template<typename T>
concept HasFields = requires(const T &value) {
    visitFields(value, [](const char *, const auto &) {});
};

// What the converters built on the field lists (QML values, JSON, stored settings) need to know
// about a field's type besides the record case.
namespace fieldtypes {
template<typename T> constexpr bool isList = false;
template<typename T> constexpr bool isList<QList<T>> = true;
template<typename T> constexpr bool isOptional = false;
template<typename T> constexpr bool isOptional<std::optional<T>> = true;
} // namespace fieldtypes

// Every git record's fields by name, in the record's order: visitFields(record, visit) calls
// visit(name, field) once per field, with a const reference for a const record and a mutable
// one otherwise. The command line's JSON, the list models' roles and the maps QML hands back
// are all derived from these lists: a new field is added here and nowhere else.

template<RecordOf<RepositorySummary> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("path", record.path);
    visit("name", record.name);
    visit("currentBranch", record.currentBranch);
    visit("remoteURL", record.remoteURL);
    visit("isClean", record.isClean);
    visit("statusUnavailableReason", record.statusUnavailableReason);
    visit("commitCount", record.commitCount);
    visit("branchCount", record.branchCount);
    visit("tagCount", record.tagCount);
    visit("authorCount", record.authorCount);
    visit("trackedFileCount", record.trackedFileCount);
    visit("firstCommitDate", record.firstCommitDate);
    visit("latestCommitDate", record.latestCommitDate);
    visit("repositorySizeBytes", record.repositorySizeBytes);
    visit("gitSizeBytes", record.gitSizeBytes);
    visit("longestInactivityDays", record.longestInactivityDays);
    visit("commitsPerMonth", record.commitsPerMonth);
    visit("activityTrendPercent", record.activityTrendPercent);
}

template<RecordOf<CommitRecord> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("id", record.id);
    visit("shortHash", record.shortHash);
    visit("author", record.author);
    visit("email", record.email);
    visit("date", record.date);
    visit("subject", record.subject);
    visit("body", record.body);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
    visit("filesChanged", record.filesChanged);
}

template<RecordOf<GraphCommitRecord> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("id", record.id);
    visit("graph", record.graph);
    visit("shortHash", record.shortHash);
    visit("relativeDate", record.relativeDate);
    visit("subject", record.subject);
    visit("author", record.author);
    visit("decorations", record.decorations);
}

template<RecordOf<BranchRecord> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("isCurrent", record.isCurrent);
    visit("isRemote", record.isRemote);
    visit("lastCommitHash", record.lastCommitHash);
    visit("lastCommitDate", record.lastCommitDate);
    visit("lastAuthor", record.lastAuthor);
}

template<RecordOf<TagRecord> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("objectHash", record.objectHash);
    visit("date", record.date);
    visit("subject", record.subject);
}

template<RecordOf<FileRecord> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("path", record.path);
    visit("status", record.status);
    visit("lastCommitDate", record.lastCommitDate);
    visit("lastAuthor", record.lastAuthor);
}

template<RecordOf<FileDetails> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("path", record.path);
    visit("sizeBytes", record.sizeBytes);
    visit("commitCount", record.commitCount);
    visit("authors", record.authors);
    visit("firstCommitDate", record.firstCommitDate);
    visit("lastCommitDate", record.lastCommitDate);
    visit("lastAuthor", record.lastAuthor);
}

template<RecordOf<AuthorStat> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("commits", record.commits);
}

template<RecordOf<ActivityPoint> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("date", record.date);
    visit("count", record.count);
}

template<RecordOf<AuthorDetails> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("name", record.name);
    visit("emails", record.emails);
    visit("commits", record.commits);
    visit("additions", record.additions);
    visit("deletions", record.deletions);
    visit("firstCommitDate", record.firstCommitDate);
    visit("lastCommitDate", record.lastCommitDate);
    visit("activity", record.activity);
}

template<RecordOf<CommitFileChange> R, typename Visit> void visitFields(R &record, Visit &&visit)
{
    visit("status", record.status);
    visit("path", record.path);
}

/**
 * @brief Values views show beside a record's fields, computed from them.
 *
 * They are not part of the record's stored form (the command line leaves them out) and cannot
 * be written back. Most records have none.
 */
template<typename R, typename Visit> void visitComputedFields(const R &, Visit &&) { }

template<RecordOf<GraphCommitRecord> R, typename Visit>
void visitComputedFields(const R &record, Visit &&visit)
{
    visit("isConnector", record.isConnector());
}

} // namespace strataloom
