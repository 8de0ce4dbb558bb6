#pragma once

#include <QStringList>

namespace strataloom::cli {

/**
 * @brief `strataloom-cli scan [<home>]`: prints the repositories found under a home folder.
 *
 * @p arguments are the words after "scan"; without one the user's home folder is scanned. Prints
 * a JSON array of {name, path} in scan order and returns 0; a missing folder is reported on
 * standard error with 1, wrong usage with 2. The stored catalog of the application is not touched.
 */
int runScanCommand(const QStringList &arguments);

} // namespace strataloom::cli
