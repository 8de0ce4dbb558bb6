#pragma once

#include "index/RepositoryIndex.h"

#include <QByteArray>

#include <functional>

namespace strataloom {

/**
 * @brief Turns the output of one `git log -z --raw --numstat` run, whose format wraps each commit
 * header in 0x1E ... 0x1D, into IndexedCommit values while it streams in.
 *
 * Only the current record is buffered, so memory stays bounded by the largest single commit.
 * The changes of a commit are its raw entries in git's order; line counts come from the numstat
 * entry of the same path. A rename's numstat entry names two paths and is not matched, so a
 * renamed file carries no line counts: the index has always stored renames that way.
 */
class CommitLogParser
{
public:
    using CommitHandler = std::function<void(IndexedCommit &&)>;

    /// @brief The log arguments whose output this parser reads (after "log").
    static QStringList logArguments();

    /**
     * @brief logArguments() without the options that read file contents: for commits whose blobs
     * are missing. With @p findRenames false, renames come out as a deletion and an addition.
     */
    static QStringList logArgumentsWithoutContent(bool findRenames);

    explicit CommitLogParser(CommitHandler handler);

    void feed(const char *data, qsizetype size);
    /// @brief Parses the last record; call once after the stream ended.
    void finish();

    /// @brief Records whose header did not hold every field, skipped.
    qsizetype skippedRecords() const { return m_skipped; }

private:
    void parseRecord(QByteArrayView record);

    CommitHandler m_handler;
    QByteArray m_buffer;
    qsizetype m_scanFrom = 0;
    qsizetype m_skipped = 0;
};

} // namespace strataloom
