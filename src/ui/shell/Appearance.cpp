#include "ui/shell/Appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPalette>
#include <QStyle>

namespace strataloom {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

/// color-scheme 1 means "prefer dark"; the value may arrive wrapped in variants.
bool prefersDark(QVariant value)
{
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value.toUInt() == 1;
}

bool desktopPrefersDark()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath,
                                                       settingsInterface, QStringLiteral("Read"));
    call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    // A missing portal answers with an error at once; a hung one must not delay the start much.
    const QDBusMessage reply = bus.call(call, QDBus::Block, 300);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    // The value arrives wrapped twice: a variant holding a variant holding a uint.
    return prefersDark(reply.arguments().constFirst());
}

bool appearancePinned()
{
    const QString requested = qEnvironmentVariable("STRATALOOM_APPEARANCE").toLower();
    return requested == QLatin1String("dark") || requested == QLatin1String("light");
}

QPalette darkPalette()
{
    const QColor window(0x23, 0x25, 0x29);
    const QColor base(0x1b, 0x1d, 0x20);
    const QColor button(0x2e, 0x31, 0x36);
    const QColor text(0xe8, 0xea, 0xed);
    const QColor disabledText(0x7d, 0x82, 0x8a);
    const QColor highlight(0x4c, 0x8d, 0xf6);

    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, button);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, disabledText);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, QColor(0xff, 0x6b, 0x6b));
    palette.setColor(QPalette::Light, button.lighter(130));
    palette.setColor(QPalette::Midlight, button.lighter(115));
    palette.setColor(QPalette::Mid, button.darker(120));
    palette.setColor(QPalette::Dark, base.darker(130));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, highlight.lighter(120));
    palette.setColor(QPalette::LinkVisited, highlight);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabledText);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, button);
    return palette;
}

QPalette lightPalette()
{
    // Fusion's own light palette (not the current one, which may be the dark one), with a
    // clearer accent than its default dark blue.
    QPalette palette = QApplication::style()->standardPalette();
    palette.setColor(QPalette::Highlight, QColor(0x25, 0x63, 0xeb));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Window, QColor(0xf4, 0xf5, 0xf7));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::WindowText, QColor(0x1f, 0x23, 0x28));
    palette.setColor(QPalette::Text, QColor(0x1f, 0x23, 0x28));
    palette.setColor(QPalette::ButtonText, QColor(0x1f, 0x23, 0x28));
    return palette;
}

} // namespace

void applyPreferredAppearance(QApplication &application)
{
    const QString requested = qEnvironmentVariable("STRATALOOM_APPEARANCE").toLower();
    bool dark = false;
    if (requested == QLatin1String("dark"))
        dark = true;
    else if (requested != QLatin1String("light"))
        dark = desktopPrefersDark();
    application.setPalette(dark ? darkPalette() : lightPalette());
}

AppearanceFollower::AppearanceFollower(QApplication &application)
    : QObject(&application)
    , m_application(application)
{
    if (appearancePinned())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"),
                    this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    }
}

void AppearanceFollower::settingChanged(const QString &group, const QString &key,
                                        const QDBusVariant &value)
{
    if (group != QLatin1String("org.freedesktop.appearance")
        || key != QLatin1String("color-scheme"))
        return;
    m_application.setPalette(prefersDark(value.variant()) ? darkPalette() : lightPalette());
}

} // namespace strataloom
