#pragma once

#include "app/AnalyticsIndex.h"
#include "app/ErrorText.h"
#include "git/GitProcess.h"
#include "index/RepositoryIndexer.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>
#include <QtConcurrent/QtConcurrentRun>

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

class QThreadPool;

namespace strataloom {

/**
 * @brief The background work of one part of the application model: each task runs on the shared
 * pool and its outcome comes back on the owner's thread, unless the owner is gone by then.
 *
 * A task's value goes to its "use" step; an exception becomes the text of its "fail" step (by
 * default the report given at construction); a cancelled index run and a result nobody wants any
 * more (its "wanted" check says no, for example because a newer load started) go nowhere.
 */
class BackgroundTasks
{
public:
    using Failure = std::function<void(const QString &)>;
    using Relevance = std::function<bool()>;

    /// @param owner receives the results; must outlive this object (usually it owns it).
    BackgroundTasks(QObject *owner, Failure report);

    /// @brief The pool every part of the model runs its work on (git waits more than it computes).
    static QThreadPool *pool();

    /// @brief Tasks whose results have not been handled yet, stale ones included.
    int running() const { return m_running; }

    template<typename Work, typename Use>
    void run(Work work, Use use, Failure fail = {}, Relevance wanted = {});

private:
    /// @brief A background result, or the text of the error that replaced it.
    template<typename T> struct Outcome
    {
        std::optional<T> value;
        QString error;
        bool cancelled = false;
    };

    template<typename Work> static auto attempt(Work &work) -> Outcome<std::invoke_result_t<Work &>>
    {
        try {
            return {work(), {}, false};
        } catch (const SynchronizationCancelled &) {
            return {std::nullopt, {}, true};
        } catch (const ProcessCancelled &) {
            return {std::nullopt, {}, true};
        } catch (const std::exception &error) {
            return {std::nullopt, userMessage(error), false};
        } catch (...) {
            return {std::nullopt, QStringLiteral("Unexpected error"), false};
        }
    }

    QObject *m_owner;
    Failure m_report;
    int m_running = 0;
};

template<typename Work, typename Use>
void BackgroundTasks::run(Work work, Use use, Failure fail, Relevance wanted)
{
    using Result = Outcome<std::invoke_result_t<Work &>>;
    auto *watcher = new QFutureWatcher<Result>(m_owner);
    ++m_running;
    QObject::connect(
        watcher, &QFutureWatcherBase::finished, m_owner,
        [this, watcher, use = std::move(use), fail = std::move(fail), wanted = std::move(wanted)] {
            --m_running;
            watcher->deleteLater();
            const Result outcome = watcher->result();
            if (outcome.cancelled || (wanted && !wanted()))
                return;
            if (outcome.value)
                use(*outcome.value);
            else
                (fail ? fail : m_report)(outcome.error);
        });
    watcher->setFuture(
        QtConcurrent::run(pool(), [work = std::move(work)]() mutable { return attempt(work); }));
}

} // namespace strataloom
