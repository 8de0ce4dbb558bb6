#pragma once

#include <QByteArray>
#include <QString>

namespace strataloom {

/**
 * @brief Writes @p bytes to @p path in one go: into a temporary file beside it, renamed over
 * the target only once everything is written, so that a failed export never leaves half a file
 * or destroys the previous one. Throws std::runtime_error with a sentence for the user.
 */
void writeExportFile(const QString &path, const QByteArray &bytes);

} // namespace strataloom
