#include "QmlTestSetup.h"

#include "ModelTestSupport.h"
#include "ui/shell/ModelTypes.h"

#include <QQmlContext>
#include <QTemporaryDir>

using namespace strataloom;

QmlTestFixtures::QmlTestFixtures(QObject *parent)
    : QObject(parent)
{ }

QmlTestFixtures::~QmlTestFixtures() = default;

QObject *QmlTestFixtures::newModel(const QString &home)
{
    m_harnesses.push_back(std::make_unique<ModelHarness>(home));
    QObject *model = &m_harnesses.back()->model();
    QQmlEngine::setObjectOwnership(model, QQmlEngine::CppOwnership);
    return model;
}

ModelHarness *QmlTestFixtures::harnessOf(QObject *model) const
{
    for (const auto &harness : m_harnesses) {
        if (&harness->model() == model)
            return harness.get();
    }
    return nullptr;
}

QStringList QmlTestFixtures::desktopCalls(QObject *model) const
{
    const ModelHarness *harness = harnessOf(model);
    return harness ? const_cast<ModelHarness *>(harness)->desktop().calls : QStringList();
}

void QmlTestFixtures::chooseFolder(QObject *model, const QString &path)
{
    ModelHarness *harness = harnessOf(model);
    if (!harness || !harness->desktop().pendingChoice)
        return;
    const auto choice = std::exchange(harness->desktop().pendingChoice, {});
    choice(path);
}

QString QmlTestFixtures::newRepository(bool bare)
{
    m_repositories.push_back(std::make_unique<FixtureRepository>(bare));
    return m_repositories.back()->path();
}

FixtureRepository *QmlTestFixtures::find(const QString &path) const
{
    for (const auto &repository : m_repositories) {
        if (repository->path() == path)
            return repository.get();
    }
    qFatal("No fixture repository at %s", qPrintable(path));
    return nullptr;
}

void QmlTestFixtures::write(const QString &repository, const QString &relative,
                            const QString &content)
{
    find(repository)->write(relative, content.toUtf8());
}

void QmlTestFixtures::remove(const QString &repository, const QString &relative)
{
    find(repository)->remove(relative);
}

QString QmlTestFixtures::commit(const QString &repository, const QString &message,
                                const QString &author, const QString &email, const QString &date)
{
    return find(repository)->commit(message, author, email, date);
}

QString QmlTestFixtures::git(const QString &repository, const QStringList &arguments)
{
    return find(repository)->git(arguments);
}

void QmlTestFixtures::importHistory(const QString &repository, int count)
{
    find(repository)->importHistory(count);
}

QString QmlTestFixtures::newFolder()
{
    m_folders.push_back(std::make_unique<QTemporaryDir>());
    return m_folders.back()->path();
}

QmlTestSetup::QmlTestSetup() = default;
QmlTestSetup::~QmlTestSetup() = default;

void QmlTestSetup::applicationAvailable()
{
    m_environment = std::make_unique<IsolatedEnvironment>();
    registerModelTypes();
}

void QmlTestSetup::qmlEngineAvailable(QQmlEngine *engine)
{
    engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine->rootContext()->setContextProperty(QStringLiteral("fixtures"), &m_fixtures);
}
