#pragma once

#include "app/DesktopActions.h"

#include <QObject>

namespace strataloom {

/**
 * @brief The desktop hand-offs on Linux: files open in their default application, folders are
 * shown by the file manager (org.freedesktop.FileManager1 over D-Bus, else xdg-open on the
 * folder), the terminal is $TERMINAL or x-terminal-emulator, started in the folder.
 */
class SystemDesktopActions : public QObject, public DesktopActions
{
    Q_OBJECT

public:
    explicit SystemDesktopActions(QObject *parent = nullptr);

    void openFile(const QString &path) override;
    Q_INVOKABLE void showFolder(const QString &path) override;
    void openTerminal(const QString &path) override;
    void chooseFolder(const QString &title,
                      const std::function<void(const QString &path)> &chosen) override;

Q_SIGNALS:
    /// @brief Asks the window to show its folder dialog; the answer goes to folderChosen().
    void folderRequested(const QString &title);

public Q_SLOTS:
    void folderChosen(const QString &path);

private:
    std::function<void(const QString &)> m_pendingChoice;
};

} // namespace strataloom
