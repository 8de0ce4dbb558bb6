#include "IsolatedEnvironment.h"

#include <QDir>

#include <cstdlib>

IsolatedEnvironment::IsolatedEnvironment()
    : m_home(QDir::tempPath() + QStringLiteral("/strataloom-test-home-XXXXXX"))
{
    if (!m_home.isValid())
        qFatal("cannot create a temporary home folder");
    const QByteArray root = m_home.path().toUtf8();
    const auto set = [&](const char *name, const QByteArray &relative) {
        const QByteArray value = relative.isEmpty() ? root : root + '/' + relative;
        QDir().mkpath(QString::fromUtf8(value));
        ::setenv(name, value.constData(), 1);
    };
    set("HOME", {});
    set("XDG_CONFIG_HOME", "config");
    set("XDG_DATA_HOME", "data");
    set("XDG_CACHE_HOME", "cache");
    set("XDG_RUNTIME_DIR", "runtime");
    set("STRATALOOM_INDEX_DIR", "indexes");
    ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    ::setenv("TZ", "UTC", 1);
    ::unsetenv("STRATALOOM_GIT");
    ::unsetenv("GIT_DIR");
    ::unsetenv("GIT_WORK_TREE");
}
