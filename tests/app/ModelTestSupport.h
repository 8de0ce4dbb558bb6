#pragma once

// Helpers of the application model's Qt Test binaries: an isolated environment, fixture
// repositories, a model over temporary stores with every list model under
// QAbstractItemModelTester, and a recording stand-in for the desktop.

#include "IsolatedEnvironment.h"
#include "TestRepository.h"
#include "app/AppViewModel.h"
#include "app/DesktopActions.h"

#include <QAbstractItemModelTester>
#include <QCoreApplication>
#include <QSignalSpy>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>
#include <vector>

/// @brief main() of a model test binary: isolate, create the application, run @p TestClass.
#define STRATALOOM_MODEL_TEST_MAIN(TestClass)                                                      \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        IsolatedEnvironment environment;                                                           \
        QCoreApplication application(argc, argv);                                                  \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

/// @brief A TestRepository whose commits are an hour apart from 2024-01-01T10:00:00Z, so that
/// order by date is order of creation.
struct FixtureRepository : TestRepository
{
    FixtureRepository() { setDateStep(3600); }
};

/// @brief Remembers every hand-off the model asks of the desktop.
class RecordingDesktopActions : public strataloom::DesktopActions
{
public:
    void openFile(const QString &path) override { calls << "openFile " + path; }
    void showFolder(const QString &path) override { calls << "showFolder " + path; }
    void openTerminal(const QString &path) override { calls << "openTerminal " + path; }
    void chooseFolder(const QString &title,
                      const std::function<void(const QString &)> &chosen) override
    {
        calls << "chooseFolder " + title;
        pendingChoice = chosen;
    }

    QStringList calls;
    std::function<void(const QString &)> pendingChoice;
};

/// @brief An AppViewModel over stores in a temporary settings file, a scanner over @p home and a
/// recording desktop, with QAbstractItemModelTester watching each list model of its rooms.
class ModelHarness
{
public:
    explicit ModelHarness(const QString &home = {});
    ~ModelHarness();

    strataloom::AppViewModel &model() { return *m_model; }
    strataloom::RepositorySession &session() { return *m_model->session(); }
    strataloom::RepositorySelection &selection() { return *m_model->selection(); }
    strataloom::RepositoryCatalog &catalog() { return *m_model->catalog(); }
    strataloom::AnalyticsIndexController &analytics() { return *m_model->analytics(); }
    RecordingDesktopActions &desktop() { return m_desktop; }
    QString settingsFile() const { return m_settings.filePath("settings.ini"); }
    strataloom::RecentRepositoryStore recentStore() const
    {
        return strataloom::RecentRepositoryStore(settingsFile());
    }
    strataloom::DiscoveredRepositoryStore discoveredStore() const
    {
        return strataloom::DiscoveredRepositoryStore(settingsFile());
    }
    /// @brief A new model over the same stores (what the next start of the application sees).
    void restart();

private:
    QTemporaryDir m_settings;
    QTemporaryDir m_emptyHome;
    QString m_home;
    RecordingDesktopActions m_desktop;
    std::unique_ptr<strataloom::AppViewModel> m_model;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> m_testers;
};

/// @brief main: "Add alpha feature" (Ada: src/main.cpp, conflict.txt, docs/old.md), "Fix beta
/// bug" (Grace: src/main.cpp), tag v1.0; branch feature: one more commit changing conflict.txt.
/// @p marker makes two such repositories differ.
std::unique_ptr<FixtureRepository> projectRepository(const QByteArray &marker = "a");

/// @brief Lets the event loop run until every background task of @p room (the model or one of
/// its rooms) has been handled.
template<typename Room> bool settle(const Room &room, int timeoutMilliseconds = 120000)
{
    const bool done
        = QTest::qWaitFor([&] { return room.runningTaskCount() == 0; }, timeoutMilliseconds);
    QCoreApplication::processEvents();
    return done;
}

/// @brief Opens @p path and waits for the load to end; true when it ended in time.
bool openAndWait(strataloom::RepositorySession &session, const QString &path);
inline bool openAndWait(strataloom::AppViewModel &model, const QString &path)
{
    return openAndWait(*model.session(), path);
}
/// @brief Opens @p path, then waits until every room, the index run included, is done.
inline bool openAndSettle(strataloom::AppViewModel &model, const QString &path)
{
    return openAndWait(model, path) && settle(model);
}

/// @brief A summary that names only @p path, as an index run is started with.
inline strataloom::RepositorySummary summaryAt(const QString &path)
{
    strataloom::RepositorySummary summary;
    summary.path = path;
    return summary;
}

/// @brief The names of the properties of @p objects whose NOTIFY signal fired, in firing order.
class SignalOrder : public QObject
{
    Q_OBJECT

public:
    explicit SignalOrder(const QList<QObject *> &objects);
    QStringList fired;

private Q_SLOTS:
    void record() { fired << m_names.value({sender(), senderSignalIndex()}); }

private:
    QHash<QPair<QObject *, int>, QString> m_names;
};
