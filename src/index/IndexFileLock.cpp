#include "index/IndexFileLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace strataloom {

IndexFileLock::IndexFileLock(const QString &databasePath)
{
    const QByteArray path = (databasePath + QStringLiteral(".lock")).toLocal8Bit();
    m_fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (m_fd < 0)
        return;
    while (::flock(m_fd, LOCK_EX) != 0) {
        if (errno != EINTR) {
            ::close(m_fd);
            m_fd = -1;
            return;
        }
    }
}

IndexFileLock::~IndexFileLock()
{
    if (m_fd >= 0)
        ::close(m_fd); // closing the descriptor releases the lock
}

} // namespace strataloom
