#include "app/ErrorText.h"

#include "git/GitProcess.h"
#include "git/GitService.h"
#include "index/SQLite.h"

namespace strataloom {

QString userMessage(const std::exception &error)
{
    if (const auto *git = dynamic_cast<const GitError *>(&error))
        return git->description();
    if (const auto *sqlite = dynamic_cast<const SQLiteError *>(&error))
        return sqlite->description();
    if (const auto *launch = dynamic_cast<const ProcessLaunchError *>(&error))
        return launch->message();
    if (const auto *fileSystem = dynamic_cast<const FileSystemError *>(&error))
        return fileSystem->message();
    return QString::fromUtf8(error.what());
}

} // namespace strataloom
