// main() of every QML test binary: QApplication, as charts need widgets, every QML module of the
// application, the model types, and a `fixtures` object that builds repositories and application
// models for the tests:
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
#include "ModelTestSupport.h"
#include "ui/shell/ModelTypes.h"

#include <QApplication>
#include <QFileInfo>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

#include <memory>
#include <vector>

Q_IMPORT_QML_PLUGIN(StrataloomPlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_ScreensPlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)

/// @brief The setup object of the test binary, seen by the tests as `fixtures`.
class QmlTestFixtures : public QObject
{
    Q_OBJECT

public:
    /// @brief A new application model over stores of its own, with a recording desktop.
    Q_INVOKABLE QObject *newModel(const QString &home = {})
    {
        m_harnesses.push_back(std::make_unique<ModelHarness>(home));
        QObject *model = &m_harnesses.back()->model();
        QQmlEngine::setObjectOwnership(model, QQmlEngine::CppOwnership);
        return model;
    }
    /// @brief Points the index folder (STRATALOOM_INDEX_DIR) at @p directory; returns the previous.
    Q_INVOKABLE QString setIndexDirectory(const QString &directory)
    {
        const QString previous = qEnvironmentVariable("STRATALOOM_INDEX_DIR");
        qputenv("STRATALOOM_INDEX_DIR", directory.toLocal8Bit());
        return previous;
    }
    /// @brief A new repository on an unborn "main"; returns its path.
    Q_INVOKABLE QString newRepository()
    {
        return m_repositories.emplace_back(std::make_unique<FixtureRepository>())->path();
    }
    Q_INVOKABLE void write(const QString &repo, const QString &path, const QString &content)
    {
        find(repo)->write(path, content.toUtf8());
    }
    Q_INVOKABLE void remove(const QString &repo, const QString &path) { find(repo)->remove(path); }
    /// @brief Stages everything and commits with fixed dates (or at @p date, ISO-8601); returns
    /// the full hash.
    Q_INVOKABLE QString commit(const QString &repo, const QString &message,
                               const QString &author = QStringLiteral("Ada Lovelace"),
                               const QString &email = QStringLiteral("ada@example.com"),
                               const QString &date = {})
    {
        return find(repo)->commit(message, author, email, date);
    }
    Q_INVOKABLE QString git(const QString &repo, const QStringList &args)
    {
        return find(repo)->git(args);
    }
    /// @brief Adds @p count commits by several authors in one fast-import run.
    Q_INVOKABLE void importHistory(const QString &repo, int count)
    {
        find(repo)->importHistory(count);
    }
    /// @brief A new empty folder that lives as long as the test binary.
    Q_INVOKABLE QString newFolder()
    {
        return m_folders.emplace_back(std::make_unique<QTemporaryDir>())->path();
    }

public Q_SLOTS:
    void applicationAvailable()
    {
        m_environment = std::make_unique<IsolatedEnvironment>();
        strataloom::registerModelTypes();
    }
    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->rootContext()->setContextProperty(QStringLiteral("fixtures"), this);
    }

private:
    FixtureRepository *find(const QString &path) const
    {
        for (const auto &repository : m_repositories) {
            if (repository->path() == path)
                return repository.get();
        }
        qFatal("No fixture repository at %s", qPrintable(path));
        return nullptr;
    }

    std::unique_ptr<IsolatedEnvironment> m_environment;
    std::vector<std::unique_ptr<FixtureRepository>> m_repositories;
    std::vector<std::unique_ptr<ModelHarness>> m_harnesses;
    std::vector<std::unique_ptr<QTemporaryDir>> m_folders;
};

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QTEST_SET_MAIN_SOURCE_PATH
    QmlTestFixtures setup;
    // One object file serves every QML test binary: the binary's name is the test's name, and
    // its folder of tst_*.qml files comes from the build (STRATALOOM_QML_TESTS in the test's
    // environment) unless -input names another.
    const QByteArray name = QFileInfo(QString::fromLocal8Bit(argv[0])).fileName().toLocal8Bit();
    const QByteArray folder = qgetenv("STRATALOOM_QML_TESTS");
    return quick_test_main_with_setup(argc, argv, name.constData(),
                                      folder.isEmpty() ? nullptr : folder.constData(), &setup);
}

#include "QmlTestMain.moc"
