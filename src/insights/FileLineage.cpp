#include "insights/FileLineage.h"

#include "index/PathFacts.h"
#include "index/SQLite.h"
#include "insights/FileClassifier.h"

#include <QHash>

#include <algorithm>
#include <numeric>

namespace strataloom::aggregates {

namespace {

struct StoredFact
{
    bool atHead = false;
    int attributes = 0;
    QString interpreter;
};

struct StoredFacts
{
    bool known = false; // the synchronisation has read them
    QHash<QString, StoredFact> byPath;
};

StoredFacts readFacts(SQLiteDatabase &database)
{
    StoredFacts facts;
    {
        SQLiteStatement source = database.statement(
            QStringLiteral("SELECT value FROM index_metadata WHERE key = 'path_facts_source'"));
        facts.known = source.step() && !source.columnText(0).value_or(QString()).isEmpty();
    }
    if (!facts.known)
        return facts;
    SQLiteStatement rows = database.statement(
        QStringLiteral("SELECT path, at_head, attributes, interpreter FROM path_facts"));
    while (rows.step()) {
        facts.byPath.insert(rows.columnText(0).value_or(QString()),
                            {rows.columnInt64(1) != 0, int(rows.columnInt64(2)),
                             rows.columnText(3).value_or(QString())});
    }
    return facts;
}

} // namespace

std::vector<bool> followRenames(History &history,
                                const std::function<bool(const QString &)> &isAtHead)
{
    const size_t rowCount = history.fileChanges.size();
    const size_t fileCount = history.fileIDs.size();
    QHash<QString, qsizetype> fileOfPath;
    fileOfPath.reserve(history.filePaths.size());
    for (qsizetype i = 0; i < history.filePaths.size(); ++i)
        fileOfPath.insert(history.filePaths[i], i);
    std::vector<qsizetype> sourceOfRow(rowCount, -1); // the old path's file of a rename row
    for (const auto &[row, oldPath] : history.renameSources) {
        const char status = history.fileChangeStatus[row];
        if (status == 'R' || status == 'r')
            sourceOfRow[row] = fileOfPath.value(oldPath, -1);
    }

    std::vector<size_t> order(rowCount);
    std::iota(order.begin(), order.end(), size_t(0));
    std::stable_sort(order.begin(), order.end(), [&history](size_t a, size_t b) {
        return history.fileChanges[a].first < history.fileChanges[b].first;
    });

    // A rename hands its old path's history over unless the old path lives on: HEAD still holds
    // it and it goes on changing more often than the new one (an unrelated history with a file
    // of the same name, as when a project merged in with its own Makefile moved it aside). The
    // rename is taken for a copy then. A change or two of the old path on a branch that had not
    // seen the rename yet does not stop the move, nor do changes under the old name in another
    // line of history when the old name is gone at HEAD (a subproject merged in under a folder).
    {
        std::vector<std::vector<size_t>> positionsOfFile(fileCount);
        for (size_t k = 0; k < rowCount; ++k)
            positionsOfFile[size_t(history.fileChanges[order[k]].second)].push_back(k);
        const std::vector<qsizetype> renamedInto = sourceOfRow;
        std::vector<size_t> positionOfRow(rowCount);
        std::vector<size_t> commitStart(rowCount); // position of the first row of its commit
        for (size_t k = 0; k < rowCount; ++k) {
            positionOfRow[order[k]] = k;
            const bool sameCommit = k > 0
                && history.fileChanges[order[k]].first == history.fileChanges[order[k - 1]].first;
            commitStart[k] = sameCommit ? commitStart[k - 1] : k;
        }
        for (size_t row = 0; row < rowCount; ++row) {
            const qsizetype source = sourceOfRow[row];
            if (source < 0)
                continue;
            const size_t at = positionOfRow[row];
            const qsizetype commit = history.fileChanges[row].first;
            const auto &sourceRows = positionsOfFile[size_t(source)];
            qsizetype sourceLater = 0;
            // Changes of the old path in later commits, up to a new file there (added, or
            // renamed into it: in the same commit, the other half of a swap).
            for (auto it = std::lower_bound(sourceRows.begin(), sourceRows.end(), commitStart[at]);
                 it != sourceRows.end(); ++it) {
                const size_t later = order[*it];
                const char status = history.fileChangeStatus[later];
                if (status == 'A' || status == 'a' || renamedInto[later] >= 0)
                    break;
                if (history.fileChanges[later].first != commit)
                    ++sourceLater;
            }
            const auto &targetRows = positionsOfFile[size_t(history.fileChanges[row].second)];
            const auto targetLater = qsizetype(
                targetRows.end() - std::upper_bound(targetRows.begin(), targetRows.end(), at));
            if (sourceLater > targetLater && (!isAtHead || isAtHead(history.filePaths[source])))
                sourceOfRow[row] = -1;
        }
    }

    constexpr qint32 none = -1;
    std::vector<qint32> owner(fileCount, none); // the lineage holding each path now
    std::vector<qint32> lastOwner(fileCount, none); // the lineage that held it last
    std::vector<qsizetype> pathOfLineage; // file index of the path each lineage holds
    std::vector<qint32> lineageOfRow(rowCount, none);
    const auto newLineage = [&pathOfLineage](qsizetype path) {
        pathOfLineage.push_back(path);
        return qint32(pathOfLineage.size() - 1);
    };

    std::vector<std::pair<size_t, qint32>> moves;
    for (size_t begin = 0; begin < rowCount;) {
        const qsizetype commit = history.fileChanges[order[begin]].first;
        size_t end = begin;
        while (end < rowCount && history.fileChanges[order[end]].first == commit)
            ++end;
        // Renames move lineages as the commit's parent had them, all at once (a commit may
        // swap two names, or add a new file at a name it renames away).
        moves.clear();
        for (size_t k = begin; k < end; ++k) {
            const size_t row = order[k];
            const qsizetype source = sourceOfRow[row];
            if (source < 0)
                continue;
            qint32 lineage = owner[source] != none ? owner[source] : lastOwner[source];
            if (lineage == none)
                lineage = newLineage(source);
            moves.emplace_back(row, lineage);
        }
        for (const auto &[row, lineage] : moves) {
            const qsizetype source = sourceOfRow[row];
            if (owner[source] == lineage)
                owner[source] = none;
            lastOwner[source] = lineage;
        }
        for (const auto &[row, lineage] : moves) {
            const qsizetype target = history.fileChanges[row].second;
            owner[target] = lastOwner[target] = lineage;
            pathOfLineage[size_t(lineage)] = target;
            lineageOfRow[row] = lineage;
        }
        for (size_t k = begin; k < end; ++k) {
            const size_t row = order[k];
            if (lineageOfRow[row] != none)
                continue;
            const qsizetype file = history.fileChanges[row].second;
            const char status = history.fileChangeStatus[row];
            const bool creates = status == 'A' || status == 'a' || status == 'C' || status == 'c';
            qint32 lineage = owner[file];
            if (lineage == none && !creates)
                lineage = lastOwner[file];
            if (lineage == none) {
                lineage = newLineage(file);
                owner[file] = lastOwner[file] = lineage;
            }
            lineageOfRow[row] = lineage;
        }
        begin = end;
    }

    // One row per commit and lineage, as per commit and path before: a lineage that got two
    // rows in one commit keeps the first with the lines of both.
    const size_t lineageCount = pathOfLineage.size();
    std::vector<qsizetype> lastCommit(lineageCount, -1);
    std::vector<size_t> rowOfLineage(lineageCount, 0);
    std::vector<bool> merged(rowCount, false);
    for (const size_t row : order) {
        const auto lineage = size_t(lineageOfRow[row]);
        const qsizetype commit = history.fileChanges[row].first;
        if (lastCommit[lineage] == commit) {
            auto &kept = history.fileChangeLines[rowOfLineage[lineage]];
            kept.first += history.fileChangeLines[row].first;
            kept.second += history.fileChangeLines[row].second;
            merged[row] = true;
            continue;
        }
        lastCommit[lineage] = commit;
        rowOfLineage[lineage] = row;
    }
    size_t kept = 0;
    for (size_t row = 0; row < rowCount; ++row) {
        if (merged[row])
            continue;
        history.fileChanges[kept] = {history.fileChanges[row].first, lineageOfRow[row]};
        history.fileChangeLines[kept] = history.fileChangeLines[row];
        history.fileChangeStatus[kept] = history.fileChangeStatus[row];
        ++kept;
    }
    history.fileChanges.resize(kept);
    history.fileChangeLines.resize(kept);
    history.fileChangeStatus.resize(kept);
    history.renameSources.clear();

    QStringList paths;
    paths.reserve(qsizetype(lineageCount));
    std::vector<bool> holdsPath(lineageCount);
    for (size_t lineage = 0; lineage < lineageCount; ++lineage) {
        const qsizetype path = pathOfLineage[lineage];
        paths.append(history.filePaths[path]);
        holdsPath[lineage] = owner[size_t(path)] == qint32(lineage);
    }
    history.filePaths = std::move(paths);
    history.fileIDs.resize(lineageCount);
    std::iota(history.fileIDs.begin(), history.fileIDs.end(), qint64(1));
    history.fileIndex.assign(history.fileIDs);
    return holdsPath;
}

void applyFileOptions(SQLiteDatabase &database, History &history,
                      RepositoryAnalyticsInsights &result, const InsightOptions &options)
{
    if (!options.followRenames && !options.hideDeletedFiles && !options.excludeGenerated)
        return;
    const FileClassifier classifier(history.filePaths); // every path, before any regrouping
    const StoredFacts facts = readFacts(database);
    std::vector<bool> holdsPath;
    if (options.followRenames) {
        holdsPath = followRenames(history, [&facts](const QString &path) {
            return !facts.known || facts.byPath.value(path).atHead;
        });
    }

    const size_t fileCount = history.fileIDs.size();
    std::vector<bool> excluded(fileCount, false);
    std::vector<bool> rankedOut(fileCount, false);
    std::vector<bool> deleted(fileCount, false);
    bool anyRankedOut = false;
    bool anyDeleted = false;
    QStringList technologies;
    for (size_t i = 0; i < fileCount; ++i) {
        const QString &path = history.filePaths[qsizetype(i)];
        const StoredFact fact = facts.byPath.value(path);
        if (options.excludeGenerated) {
            excluded[i] = classifier.isExcluded(path, fact.attributes);
            technologies.append(classifier.technology(path, fact.interpreter));
        }
        // Before the first synchronisation has read HEAD, no file is taken for deleted.
        const bool atHead = !facts.known || (fact.atHead && (holdsPath.empty() || holdsPath[i]));
        deleted[i] = !atHead;
        anyDeleted = anyDeleted || deleted[i];
        rankedOut[i] = options.hideDeletedFiles && !atHead;
        anyRankedOut = anyRankedOut || rankedOut[i];
    }
    if (options.excludeGenerated)
        history.fileTechnologies = std::move(technologies);

    size_t kept = 0;
    for (size_t row = 0; row < history.fileChanges.size(); ++row) {
        const auto [commit, file] = history.fileChanges[row];
        const auto [additions, deletions] = history.fileChangeLines[row];
        if (excluded[size_t(file)]) {
            // Out of churn everywhere: the commit's lines and the history's totals.
            history.commits[size_t(commit)].additions -= additions;
            history.commits[size_t(commit)].deletions -= deletions;
            result.additions -= additions;
            result.deletions -= deletions;
            continue;
        }
        if (rankedOut[size_t(file)]) {
            history.rankedOutChanges.emplace_back(commit, file);
            history.rankedOutChangeLines.emplace_back(additions, deletions);
            continue;
        }
        history.fileChanges[kept] = history.fileChanges[row];
        history.fileChangeLines[kept] = history.fileChangeLines[row];
        history.fileChangeStatus[kept] = history.fileChangeStatus[row];
        ++kept;
    }
    history.fileChanges.resize(kept);
    history.fileChangeLines.resize(kept);
    history.fileChangeStatus.resize(kept);
    if (anyRankedOut)
        history.rankedOutFiles = std::move(rankedOut);
    if (anyDeleted)
        history.deletedFiles = std::move(deleted);
}

} // namespace strataloom::aggregates
