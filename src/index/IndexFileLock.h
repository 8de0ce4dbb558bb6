#pragma once

#include <QString>

namespace strataloom {

/**
 * @brief An exclusive lock between processes on one index, held while the object lives.
 *
 * A lock file beside the database ("index.sqlite.lock") is locked with flock(): a second process
 * that opens or synchronises the same index waits here for the first instead of failing on
 * SQLite's busy timeout in the middle of a long import. The lock is released when the object is
 * destroyed or the process ends, however it ends. When the lock file cannot be created (a
 * read-only folder), nothing is locked and SQLite's own locking still protects the data.
 */
class IndexFileLock
{
public:
    explicit IndexFileLock(const QString &databasePath);
    ~IndexFileLock();
    IndexFileLock(const IndexFileLock &) = delete;
    IndexFileLock &operator=(const IndexFileLock &) = delete;

    bool isLocked() const { return m_fd >= 0; }

private:
    int m_fd = -1;
};

} // namespace strataloom
