// Entry point of every test binary: before any test runs, point HOME, the XDG folders, git's
// configuration and the index folder at a private temporary folder, so that tests never read or
// write the developer's own settings, and fix the time zone.
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char **argv)
{
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/strataloom-test-home-XXXXXX"));
    if (!home.isValid())
        return 3;
    const QByteArray root = home.path().toUtf8();
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

    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
