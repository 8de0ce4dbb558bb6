#pragma once

// What QML tests get: the model types, the application's QML modules, and a `fixtures` object
// that builds repositories and application models for them.
//
//   import Strataloom.Model
//   TestCase {
//       function test_opens() {
//           const repo = fixtures.newRepository()
//           fixtures.write(repo, "a.txt", "hello\n")
//           fixtures.commit(repo, "Add a")
//           const model = fixtures.newModel()
//           model.session.openRepository(repo)
//           tryCompare(model.session, "isLoading", false)
//       }
//   }

#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlextensionplugin.h>

#include <memory>
#include <vector>

class FixtureRepository;
class ModelHarness;

class QmlTestFixtures : public QObject
{
    Q_OBJECT

public:
    explicit QmlTestFixtures(QObject *parent = nullptr);
    ~QmlTestFixtures() override;

    /// @brief A new application model over stores of its own, with a recording desktop.
    Q_INVOKABLE QObject *newModel(const QString &home = {});
    /// @brief The desktop hand-offs @p model asked for ("openFile /path", "showFolder /path"...).
    Q_INVOKABLE QStringList desktopCalls(QObject *model) const;
    /// @brief Answers the folder picker that @p model opened, as if the user chose @p path.
    Q_INVOKABLE void chooseFolder(QObject *model, const QString &path);

    /// @brief A new repository on an unborn "main" (bare when @p bare); returns its path.
    Q_INVOKABLE QString newRepository(bool bare = false);
    Q_INVOKABLE void write(const QString &repository, const QString &relative,
                           const QString &content);
    Q_INVOKABLE void remove(const QString &repository, const QString &relative);
    /// @brief Stages everything and commits with fixed dates (or at @p date, ISO-8601); returns
    /// the full hash.
    Q_INVOKABLE QString commit(const QString &repository, const QString &message,
                               const QString &author = QStringLiteral("Ada Lovelace"),
                               const QString &email = QStringLiteral("ada@example.com"),
                               const QString &date = {});
    Q_INVOKABLE QString git(const QString &repository, const QStringList &arguments);
    /// @brief Adds @p count commits by several authors in one fast-import run.
    Q_INVOKABLE void importHistory(const QString &repository, int count);
    /// @brief A new empty folder that lives as long as the test binary.
    Q_INVOKABLE QString newFolder();

private:
    FixtureRepository *find(const QString &path) const;
    ModelHarness *harnessOf(QObject *model) const;

    std::vector<std::unique_ptr<FixtureRepository>> m_repositories;
    std::vector<std::unique_ptr<ModelHarness>> m_harnesses;
    std::vector<std::unique_ptr<class QTemporaryDir>> m_folders;
};

/// @brief The setup object of every QML test binary.
class QmlTestSetup : public QObject
{
    Q_OBJECT

public:
    QmlTestSetup();
    ~QmlTestSetup() override;

public Q_SLOTS:
    void applicationAvailable();
    void qmlEngineAvailable(QQmlEngine *engine);

private:
    std::unique_ptr<class IsolatedEnvironment> m_environment;
    QmlTestFixtures m_fixtures;
};

/// @brief main() of a QML test binary (application: QApplication, as charts need widgets).
#define STRATALOOM_QML_TEST_MAIN(name)                                                             \
    Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)                                                    \
    Q_IMPORT_QML_PLUGIN(Strataloom_ScreensPlugin)                                                  \
    Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)                                                 \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        QApplication app(argc, argv);                                                              \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        QmlTestSetup setup;                                                                        \
        return quick_test_main_with_setup(argc, argv, #name, QUICK_TEST_SOURCE_DIR, &setup);       \
    }
