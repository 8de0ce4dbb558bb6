#pragma once

class QApplication;

namespace strataloom {

/**
 * @brief Gives the application a dark palette when the user asks for one.
 *
 * STRATALOOM_APPEARANCE=dark|light decides when set (screenshots, tests); otherwise the desktop's
 * preference is read from the freedesktop settings portal (org.freedesktop.appearance
 * color-scheme, 1 = prefer dark). The light case keeps the style's own palette. Fusion and every
 * screen (through SystemPalette) follow the application palette.
 */
void applyPreferredAppearance(QApplication &application);

} // namespace strataloom
