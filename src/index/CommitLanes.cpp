#include "index/CommitLanes.h"

#include "git/GitProcess.h"
#include "git/GitService.h"

#include <algorithm>
#include <queue>

namespace strataloom {

CommitLaneLayout::CommitLaneLayout(std::shared_ptr<const IndexedGraph> history)
    : m_history(std::move(history))
{
    const std::vector<IndexedGraph::Commit> &commits = m_history->commits();
    const std::vector<int> &parents = m_history->parentIndexes();
    const size_t count = commits.size();

    // Kahn's order: a commit is ready once all its children are shown; of the ready ones the
    // latest committer date goes first, and of equal dates the one that became ready first.
    std::vector<int> children(count, 0);
    for (const int parent : parents) {
        if (parent >= 0)
            ++children[size_t(parent)];
    }
    struct Ready
    {
        qint64 date;
        qint64 arrival;
        int commit;
        bool operator<(const Ready &other) const
        {
            return date != other.date ? date < other.date : arrival > other.arrival;
        }
    };
    std::vector<int> tips;
    for (size_t i = 0; i < count; ++i) {
        if (children[i] == 0)
            tips.push_back(int(i));
    }
    std::stable_sort(tips.begin(), tips.end(), [&commits](int a, int b) {
        return commits[size_t(a)].committerTime > commits[size_t(b)].committerTime;
    });
    std::priority_queue<Ready> ready;
    qint64 arrivals = 0;
    for (const int tip : tips)
        ready.push({commits[size_t(tip)].committerTime, arrivals++, tip});
    m_order.reserve(count);
    while (!ready.empty()) {
        const int commit = ready.top().commit;
        ready.pop();
        m_order.push_back(commit);
        const IndexedGraph::Commit &shown = commits[size_t(commit)];
        for (int p = 0; p < shown.parentCount; ++p) {
            const int parent = parents[size_t(shown.firstParent + p)];
            if (parent >= 0 && --children[size_t(parent)] == 0)
                ready.push({commits[size_t(parent)].committerTime, arrivals++, parent});
        }
    }
    m_slot.assign(count, -1);
    m_checkpoints.push_back({});
}

LaneRow CommitLaneLayout::advance(std::vector<int> &lanes, int row)
{
    const int commit = m_order[size_t(row)];
    const IndexedGraph::Commit &shown = m_history->commits()[size_t(commit)];
    const std::vector<int> &parents = m_history->parentIndexes();

    LaneRow result;
    result.commit = commit;
    const auto found = std::find(lanes.begin(), lanes.end(), commit);
    result.lane = int(found - lanes.begin());
    if (found == lanes.end())
        lanes.push_back(commit); // a branch tip: a new lane on the right
    result.laneCount = int(lanes.size());

    std::vector<int> next;
    next.reserve(lanes.size() + size_t(shown.parentCount));
    const auto place = [&](int from, int awaited) {
        int &slot = m_slot[size_t(awaited)];
        if (slot < 0) {
            slot = int(next.size());
            next.push_back(awaited);
        }
        result.edges.append({from, slot});
    };
    for (int lane = 0; lane < int(lanes.size()); ++lane) {
        if (lane != result.lane) {
            place(lane, lanes[size_t(lane)]);
            continue;
        }
        for (int p = 0; p < shown.parentCount; ++p) {
            const int parent = parents[size_t(shown.firstParent + p)];
            if (parent >= 0) // a parent the history does not hold (a shallow clone) is not drawn
                place(lane, parent);
        }
    }
    for (const int awaited : next)
        m_slot[size_t(awaited)] = -1;
    lanes = std::move(next);
    return result;
}

std::vector<int> CommitLaneLayout::lanesAt(int row)
{
    // Called with the mutex held.
    const size_t checkpoint = size_t(row / checkpointRows);
    while (m_checkpoints.size() <= checkpoint) {
        std::vector<int> lanes = m_checkpoints.back();
        const int from = int(m_checkpoints.size() - 1) * checkpointRows;
        for (int r = from; r < from + checkpointRows; ++r)
            advance(lanes, r);
        m_checkpoints.push_back(std::move(lanes));
    }
    std::vector<int> lanes = m_checkpoints[checkpoint];
    for (int r = int(checkpoint) * checkpointRows; r < row; ++r)
        advance(lanes, r);
    return lanes;
}

QList<LaneRow> CommitLaneLayout::rows(int first, int count)
{
    QList<LaneRow> result;
    first = std::max(first, 0);
    const int end = int(std::min<qint64>(qint64(first) + std::max(count, 0), rowCount()));
    if (first >= end)
        return result;
    std::lock_guard lock(m_mutex);
    std::vector<int> lanes = lanesAt(first);
    result.reserve(end - first);
    for (int row = first; row < end; ++row)
        result.append(advance(lanes, row));
    return result;
}

void CommitLaneLayout::layOutAll(const std::function<bool()> &isCancelled)
{
    const int last = rowCount() - 1;
    for (int row = 0; row <= last; row += checkpointRows) {
        if (isCancelled && isCancelled())
            return;
        std::lock_guard lock(m_mutex);
        lanesAt(row);
    }
}

QStringList laneRowText(const LaneRow &row)
{
    QStringList lines;
    QString commitLine;
    for (int lane = 0; lane < row.laneCount; ++lane)
        commitLine += QLatin1String(lane == row.lane ? "* " : "| ");
    lines.append(commitLine);

    // Every line moves at most one lane per text line towards where it goes. Where a line going
    // right and one going left would cross in the same character, the one going left waits.
    std::vector<int> at, to;
    for (const auto &[from, target] : row.edges) {
        at.push_back(from);
        to.push_back(target);
    }
    while (at != to) {
        int width = 0;
        for (size_t e = 0; e < at.size(); ++e)
            width = std::max({width, at[e], to[e]});
        QString line(2 * width + 2, QLatin1Char(' '));
        std::vector<int> step(at.size(), 0);
        for (size_t e = 0; e < at.size(); ++e) {
            step[e] = to[e] > at[e] ? 1 : to[e] < at[e] ? -1 : 0;
            if (step[e] > 0)
                line[2 * at[e] + 1] = QLatin1Char('\\');
        }
        for (size_t e = 0; e < at.size(); ++e) {
            if (step[e] < 0 && line[2 * at[e] - 1] == QLatin1Char('\\'))
                step[e] = 0;
            if (step[e] < 0)
                line[2 * at[e] - 1] = QLatin1Char('/');
            else if (step[e] == 0)
                line[2 * at[e]] = QLatin1Char('|');
            at[e] += step[e];
        }
        lines.append(line);
    }
    return lines;
}

QList<GraphCommitRecord> laneGraphRecords(const QString &repository, const IndexedGraph &history,
                                          const QList<LaneRow> &rows)
{
    QList<GraphCommitRecord> records;
    if (rows.isEmpty())
        return records;
    // git prints the texts of exactly these commits, in this order, without walking.
    QByteArray hashes;
    for (const LaneRow &row : rows)
        hashes += history.commits()[size_t(row.commit)].sha.toLatin1() + '\n';
    const QString format = QStringLiteral("--format=%x1e%H%x1f%h%x1f%ar%x1f%s%x1f%an%x1f%d");
    const ProcessResult result
        = runGitProcess(repository,
                        {QStringLiteral("log"), QStringLiteral("--no-walk=unsorted"),
                         QStringLiteral("--stdin"), QStringLiteral("--ignore-missing"),
                         QStringLiteral("--abbrev-commit"), QStringLiteral("--decorate"), format},
                        {}, hashes);
    if (result.exitStatus != 0)
        throw GitError::commandFailed(result);
    QHash<QString, QStringList> texts;
    for (const QString &record : QString::fromUtf8(result.standardOutput).split(QChar(0x1e))) {
        QStringList fields = record.trimmed().split(QChar(0x1f));
        if (fields.size() == 6)
            texts.insert(fields.takeFirst(), fields);
    }

    int lineNumber = 0;
    for (const LaneRow &row : rows) {
        const QStringList lines = laneRowText(row);
        const QStringList fields = texts.value(history.commits()[size_t(row.commit)].sha);
        GraphCommitRecord commit;
        commit.graph = lines.first();
        if (fields.size() == 5) {
            commit.id = commit.shortHash = fields[0];
            commit.relativeDate = fields[1];
            commit.subject = fields[2];
            commit.author = fields[3];
            commit.decorations = fields[4];
        } else {
            commit.id = commit.shortHash = history.commits()[size_t(row.commit)].sha.left(7);
        }
        records.append(commit);
        ++lineNumber;
        for (qsizetype i = 1; i < lines.size(); ++i, ++lineNumber) {
            GraphCommitRecord connector;
            connector.id = QStringLiteral("connector-%1-%2").arg(lineNumber).arg(lines[i]);
            connector.graph = lines[i];
            records.append(connector);
        }
    }
    return records;
}

} // namespace strataloom
