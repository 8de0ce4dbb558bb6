#pragma once

#include "cli/JsonOutput.h"

#include <QString>

namespace strataloom::cli {

/**
 * @brief The first @p limit commits of the commit graph laid out from the repository's index as
 * it stands (in @p indexDirectory when not empty), with the lanes the timeline draws; the records
 * of the graph command. Nothing is synchronised: without an index it throws an error that says to
 * build one with the index command.
 */
Json graphFromIndexCommand(const QString &repository, const QString &indexDirectory, int limit);

} // namespace strataloom::cli
