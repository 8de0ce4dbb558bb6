#pragma once

#include <QString>

#include <functional>

namespace strataloom {

/**
 * @brief The hand-offs to the desktop that the application model asks for.
 *
 * The model decides when; an implementation decides how on its platform (the GUI's one uses the
 * desktop services, the file manager over D-Bus, the user's terminal and a folder dialog). Every
 * call is made on the GUI thread and must return at once; failures are not reported back.
 */
class DesktopActions
{
public:
    virtual ~DesktopActions() = default;

    /// @brief Opens the file at the absolute @p path in its default application.
    virtual void openFile(const QString &path) = 0;
    /// @brief Shows the folder at @p path in the file manager, selected.
    virtual void showFolder(const QString &path) = 0;
    /// @brief Starts a terminal whose working folder is @p path.
    virtual void openTerminal(const QString &path) = 0;
    /**
     * @brief Lets the user choose one folder, without blocking the window.
     *
     * @p chosen is called later with the chosen folder's path when the user confirms; it is not
     * called at all when the user cancels.
     */
    virtual void chooseFolder(const QString &title,
                              const std::function<void(const QString &path)> &chosen)
        = 0;
};

} // namespace strataloom
