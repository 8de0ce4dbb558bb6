#pragma once

#include <QTemporaryDir>

/// @brief Points HOME, the XDG folders, git's configuration and the index folder at a private
/// temporary folder for the life of the object, and fixes the time zone, so that tests never
/// read or write the developer's own settings, indexes or git configuration.
class IsolatedEnvironment
{
public:
    IsolatedEnvironment();
    QString home() const { return m_home.path(); }

private:
    QTemporaryDir m_home;
};
