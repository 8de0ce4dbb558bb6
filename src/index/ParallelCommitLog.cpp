#include "index/ParallelCommitLog.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/CommitLogParser.h"

#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace strataloom {

namespace {

// The workers, each on every n-th chunk, read nearby history, so git's caches of inflated objects
// stay useful (on git's own history, chunks of 1,000 cost git a tenth less processor time than
// chunks of 250); a few chunks of that size in memory are a few megabytes.
constexpr qsizetype largestChunk = 1000;
constexpr qsizetype smallestChunk = 4;
// How many chunks past the one being handed over the workers may fill, per worker.
constexpr qsizetype chunksAheadPerWorker = 2;
// How often the calling thread asks for cancellation while it waits for a worker; it takes what
// has arrived at least that often.
constexpr auto cancellationPoll = std::chrono::milliseconds(50);
// The calling thread is woken once this many commits of its chunk wait (or the chunk finished):
// waking it for every few commits cost more processor time, in switches between threads, than
// writing them.
constexpr std::size_t handOverBatch = 64;
// git writes its log a few kilobytes at a time; a worker that reads each piece as it comes is
// woken hundreds of times a second. Pausing after a short read lets a few pieces gather in the
// pipe, which holds far more than git writes in that time.
constexpr auto readPause = std::chrono::milliseconds(10);

// What the workers and the calling thread share.
struct Chunk
{
    std::deque<IndexedCommit> commits; // parsed, not handed over yet
    bool finished = false;
    std::exception_ptr error;
};

struct SharedState
{
    std::mutex mutex;
    std::condition_variable produced; // a chunk has new commits or finished
    std::condition_variable consumed; // the calling thread moved on to the next chunk
    std::vector<Chunk> chunks;
    std::vector<qint64> unreadable; // per worker
    qsizetype current = 0; // the chunk being handed over
    std::atomic<bool> stop = false;
};

// Stops and joins the workers however read() is left.
class WorkerGroup
{
public:
    explicit WorkerGroup(SharedState &state)
        : m_state(state)
    { }
    ~WorkerGroup()
    {
        {
            std::lock_guard lock(m_state.mutex);
            m_state.stop = true;
        }
        m_state.consumed.notify_all();
        for (std::thread &thread : m_threads)
            thread.join();
    }
    WorkerGroup(const WorkerGroup &) = delete;
    WorkerGroup &operator=(const WorkerGroup &) = delete;

    template<typename F> void start(F &&work) { m_threads.emplace_back(std::forward<F>(work)); }

private:
    SharedState &m_state;
    std::vector<std::thread> m_threads;
};

} // namespace

ParallelCommitLog::ParallelCommitLog(QString repository, int workers)
    : m_repository(std::move(repository))
    , m_workers(workers >= 1 ? workers : std::max(1, QThread::idealThreadCount()))
{ }

qsizetype ParallelCommitLog::chunkSize(qsizetype total, int workers)
{
    // Several chunks per worker even on a short list, so that every worker gets its turns; on a
    // long one no larger than largestChunk, so that the workers read close to one another.
    const qsizetype share = total / (std::max(1, workers) * qsizetype(4));
    return std::clamp(share, smallestChunk, largestChunk);
}

qint64 ParallelCommitLog::read(const QStringList &oldestFirst, const Handler &handle) const
{
    if (m_workers <= 1 || oldestFirst.size() <= smallestChunk)
        return readInOneRun(oldestFirst, handle);
    return readInParallel(oldestFirst, handle);
}

qint64 ParallelCommitLog::readInOneRun(const QStringList &shas, const Handler &handle) const
{
    return readInOneRun(shas, [&handle](qsizetype, IndexedCommit &&commit) {
        handle(std::move(commit));
    });
}

qint64 ParallelCommitLog::readInOneRun(const QStringList &shas, const PositionedHandler &handle,
                                       const std::function<void()> &afterRead) const
{
    const qsizetype total = shas.size();
    qsizetype next = 0; // the first commit of shas not handled yet
    qint64 unreadable = 0;

    // Runs `git log` over shas[from, to) and hands over each commit it prints whole. Records
    // come out in the order given (--no-walk=unsorted), so the handled ones are a prefix.
    const auto runLog = [&](qsizetype from, qsizetype to, const QStringList &logArguments) {
        QByteArray input;
        for (qsizetype i = from; i < to; ++i)
            input.append(shas[i].toLatin1()).append('\n');
        CommitLogParser parser([&](IndexedCommit &&commit) {
            const qsizetype position = shas.indexOf(commit.sha, next);
            if (position < 0 || position >= to)
                return;
            next = position + 1;
            handle(position, std::move(commit));
        });
        QStringList arguments {QStringLiteral("log"), QStringLiteral("--no-walk=unsorted"),
                               QStringLiteral("--stdin")};
        arguments << logArguments;
        const ProcessResult result = runGitProcess(
            m_repository, arguments,
            [&parser, &afterRead](const char *data, qsizetype size) {
                parser.feed(data, size);
                if (afterRead)
                    afterRead();
            },
            input, {}, readPause);
        // A failed run may have printed part of the commit it failed on: that one is dropped.
        if (result.exitStatus == 0) {
            parser.finish();
            if (afterRead)
                afterRead();
        }
        return result;
    };

    while (next < total) {
        const ProcessResult result = runLog(next, total, CommitLogParser::logArguments());
        if (result.exitStatus == 0)
            break;
        // git stops at the first commit whose diff it cannot read (a missing blob in a damaged
        // or partial clone). That commit alone is tried again, then without line counts, then
        // without rename detection; the rest continues with full diffs.
        const qsizetype failing = next;
        if (runLog(failing, failing + 1, CommitLogParser::logArguments()).exitStatus == 0
            && next > failing)
            continue;
        ProcessResult degraded
            = runLog(failing, failing + 1, CommitLogParser::logArgumentsWithoutContent(true));
        if (degraded.exitStatus != 0 || next == failing)
            degraded
                = runLog(failing, failing + 1, CommitLogParser::logArgumentsWithoutContent(false));
        if (degraded.exitStatus != 0 || next == failing)
            throw GitError::commandFailed(result);
        ++unreadable;
    }
    return unreadable;
}

qint64 ParallelCommitLog::readInParallel(const QStringList &oldestFirst,
                                         const Handler &handle) const
{
    const qsizetype size = chunkSize(oldestFirst.size(), m_workers);
    const qsizetype chunkCount = (oldestFirst.size() + size - 1) / size;
    const int workers = int(std::min<qsizetype>(m_workers, chunkCount));
    const qsizetype ahead = chunksAheadPerWorker * workers;

    SharedState state;
    state.chunks.resize(chunkCount);
    state.unreadable.resize(workers);

    // git reads every commit named on its standard input before it prints the first one, which
    // for a worker's share of a long history takes a second or two. The first chunk but its last
    // commit is read by a short run of its own beside the workers', so that the first commits are
    // handed over at once and the workers have read theirs by the time the head's run ends (a
    // shorter head left the import standing still for about a second on git's own history). The
    // first worker reads the chunk's last commit, after the head's, and then goes on with its
    // own; one more git run costs git's warm caches, so there are no more of them.
    const qsizetype head = size - 1;
    bool headDone = head == 0; // under the lock
    std::exception_ptr headError;
    qint64 headUnreadable = 0;
    const auto readHead = [&] {
        const ScopedProcessCancellation cancellation([&state] { return state.stop.load(); });
        try {
            // The commits of one read from the pipe are handed over together: one wake-up of
            // the calling thread per commit cost more processor time than parsing them.
            std::vector<IndexedCommit> batch;
            const auto deliver = [&] {
                if (batch.empty())
                    return;
                bool wake = false;
                {
                    std::lock_guard lock(state.mutex);
                    if (state.stop)
                        throw ProcessCancelled();
                    for (IndexedCommit &commit : batch)
                        state.chunks[0].commits.push_back(std::move(commit));
                    wake = state.chunks[0].commits.size() >= handOverBatch;
                }
                batch.clear();
                if (wake)
                    state.produced.notify_one();
            };
            const qint64 unreadable = readInOneRun(
                oldestFirst.first(head),
                [&batch](qsizetype, IndexedCommit &&commit) { batch.push_back(std::move(commit)); },
                deliver);
            std::lock_guard lock(state.mutex);
            headUnreadable = unreadable;
            headDone = true;
        } catch (...) {
            std::lock_guard lock(state.mutex);
            headError = std::current_exception();
            headDone = true;
        }
        state.consumed.notify_all();
        state.produced.notify_all();
    };

    // Worker w reads chunks w, w + workers, w + 2 * workers... in one git run (more only where
    // a diff cannot be read), so it keeps git's caches warm and starts git once.
    const auto work = [&](int worker) {
        QStringList shas;
        for (qsizetype index = worker; index < chunkCount; index += workers)
            shas << oldestFirst.mid(index * size, size);
        const qsizetype skipped = worker == 0 ? head : 0; // read by the head's run
        shas.remove(0, skipped);
        const auto chunkOf = [&](qsizetype position) {
            return ((position + skipped) / size) * workers + worker;
        };
        qsizetype producing = worker; // this worker's first chunk not finished
        const auto finishBefore = [&](qsizetype chunk) { // under the lock
            for (; producing < chunk; producing += workers)
                state.chunks[producing].finished = true;
        };
        // The worker's git is killed as soon as the group stops.
        const ScopedProcessCancellation cancellation([&state] { return state.stop.load(); });
        try {
            // As for the head's run, the commits of one read are handed over together.
            std::vector<std::pair<qsizetype, IndexedCommit>> batch; // chunk, commit
            const auto deliver = [&] {
                if (batch.empty())
                    return;
                bool wake = false;
                {
                    std::unique_lock lock(state.mutex);
                    for (auto &[chunk, commit] : batch) {
                        wake = wake || producing < chunk;
                        finishBefore(chunk);
                        // Far ahead of the writer, or behind the head's run: wait, and let git
                        // wait on its full pipe.
                        const auto mayAdd = [&, chunk = chunk] {
                            return state.stop
                                || (chunk < state.current + ahead && (skipped == 0 || headDone));
                        };
                        if (!mayAdd()) {
                            state.produced.notify_all();
                            state.consumed.wait(lock, mayAdd);
                        }
                        if (state.stop)
                            throw ProcessCancelled();
                        if (skipped != 0 && headError)
                            std::rethrow_exception(headError);
                        state.chunks[chunk].commits.push_back(std::move(commit));
                        wake = wake || state.chunks[chunk].commits.size() >= handOverBatch;
                    }
                }
                batch.clear();
                if (wake)
                    state.produced.notify_all();
            };
            const qint64 unreadable = readInOneRun(
                shas,
                [&](qsizetype position, IndexedCommit &&commit) {
                    batch.emplace_back(chunkOf(position), std::move(commit));
                },
                deliver);
            std::lock_guard lock(state.mutex);
            finishBefore(chunkCount);
            state.unreadable[worker] = unreadable;
        } catch (...) {
            // The failure belongs to the chunk being read; the calling thread stops there.
            std::lock_guard lock(state.mutex);
            if (producing < chunkCount) {
                state.chunks[producing].error = std::current_exception();
                state.chunks[producing].finished = true;
            }
        }
        state.produced.notify_all();
    };

    WorkerGroup group(state);
    if (head > 0)
        group.start(readHead);
    for (int worker = 0; worker < workers; ++worker)
        group.start([&work, worker] { work(worker); });

    std::deque<IndexedCommit> taken;
    for (qsizetype index = 0; index < chunkCount; ++index) {
        Chunk &chunk = state.chunks[index];
        for (;;) {
            bool finished = false;
            {
                std::unique_lock lock(state.mutex);
                state.produced.wait_for(lock, cancellationPoll, [&] {
                    return chunk.commits.size() >= handOverBatch || chunk.finished;
                });
                taken.swap(chunk.commits);
                finished = chunk.finished && taken.empty();
            }
            if (ScopedProcessCancellation::isCancellationRequested())
                throw ProcessCancelled();
            for (IndexedCommit &commit : taken)
                handle(std::move(commit));
            taken.clear();
            if (finished)
                break;
        }
        if (chunk.error)
            std::rethrow_exception(chunk.error);
        {
            std::lock_guard lock(state.mutex);
            state.current = index + 1;
        }
        state.consumed.notify_all();
    }
    std::lock_guard lock(state.mutex);
    qint64 unreadable = headUnreadable;
    for (const qint64 count : state.unreadable)
        unreadable += count;
    return unreadable;
}

} // namespace strataloom
