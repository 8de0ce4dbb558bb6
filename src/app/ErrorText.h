#pragma once

#include <QString>

#include <exception>

namespace strataloom {

/**
 * @brief The text a user reads for @p error: the description of a GitError or SQLiteError, the
 * message of a ProcessLaunchError or FileSystemError, what() of any other exception.
 *
 * The application's error banners and the command line's error lines both come from here.
 */
QString userMessage(const std::exception &error);

} // namespace strataloom
