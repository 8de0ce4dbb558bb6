#include "ui/shell/SystemDesktopActions.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace strataloom {

SystemDesktopActions::SystemDesktopActions(QObject *parent)
    : QObject(parent)
{ }

void SystemDesktopActions::openFile(const QString &path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void SystemDesktopActions::showFolder(const QString &path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowFolders"));
    call << QStringList {QUrl::fromLocalFile(path).toString()} << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 2000);
    if (reply.type() == QDBusMessage::ErrorMessage || !QDBusConnection::sessionBus().isConnected())
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void SystemDesktopActions::openTerminal(const QString &path)
{
    QString terminal = qEnvironmentVariable("TERMINAL");
    if (terminal.isEmpty() || QStandardPaths::findExecutable(terminal).isEmpty())
        terminal = QStringLiteral("x-terminal-emulator");
    QProcess::startDetached(terminal, {}, path);
}

void SystemDesktopActions::chooseFolder(const QString &title,
                                        const std::function<void(const QString &path)> &chosen)
{
    m_pendingChoice = chosen;
    Q_EMIT folderRequested(title);
}

void SystemDesktopActions::folderChosen(const QString &path)
{
    const auto choice = std::exchange(m_pendingChoice, {});
    if (choice && !path.isEmpty())
        choice(path);
}

} // namespace strataloom
