#pragma once

#include <QString>

namespace strataloom {

/**
 * @brief A commit body as paragraphs for a narrow pane: the lines of a hard-wrapped paragraph
 * are joined with single spaces so that the view wraps them to its own width. Lines that carry
 * their own layout stay as they are: list items (-, *, +, •, 1. or 1)), indented lines (code,
 * continuations), quoted lines (>), table rows (|), trailers ("Signed-off-by: …") and everything
 * between ``` or ~~~ fences. Paragraphs stay apart by one blank line; leading and trailing blank
 * lines and line-end spaces go.
 */
QString reflowedMessage(const QString &body);

} // namespace strataloom
