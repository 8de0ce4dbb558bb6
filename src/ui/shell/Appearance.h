#pragma once

#include <QObject>

class QApplication;
class QDBusVariant;

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

/**
 * @brief Keeps the palette in step with the desktop while the application runs.
 *
 * Listens to the settings portal's SettingChanged signal for org.freedesktop.appearance
 * color-scheme and applies the dark or light palette when it changes. Does nothing when
 * STRATALOOM_APPEARANCE pins an appearance or when there is no session bus.
 */
class AppearanceFollower : public QObject
{
    Q_OBJECT

public:
    explicit AppearanceFollower(QApplication &application);

private Q_SLOTS:
    void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    QApplication &m_application;
};

} // namespace strataloom
