#include "app/BackgroundTasks.h"

#include <QThread>
#include <QThreadPool>

namespace strataloom {

BackgroundTasks::BackgroundTasks(QObject *owner, Failure report)
    : m_owner(owner)
    , m_report(std::move(report))
{ }

QThreadPool *BackgroundTasks::pool()
{
    // Git work waits on child processes far more than it computes, and a long index run must not
    // hold up the loaders of the next repository: many more threads than cores.
    static QThreadPool *pool = [] {
        auto *created = new QThreadPool;
        created->setMaxThreadCount(qMax(32, QThread::idealThreadCount() * 4));
        return created;
    }();
    return pool;
}

} // namespace strataloom
