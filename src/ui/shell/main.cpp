// The Strataloom application: one window over one application model.
#include "app/AppViewModel.h"
#include "ui/shell/Appearance.h"
#include "ui/shell/ModelTypes.h"
#include "ui/shell/SystemDesktopActions.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QIcon>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickStyle>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_ScreensPlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)
Q_IMPORT_QML_PLUGIN(StrataloomPlugin)

using namespace strataloom;

int main(int argc, char *argv[])
{
    // Charts draw through the widgets module, which needs a QApplication.
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Strataloom"));
    QApplication::setApplicationName(QStringLiteral("Strataloom"));
    QApplication::setApplicationVersion(QStringLiteral(STRATALOOM_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("strataloom"));
    if (qEnvironmentVariableIsEmpty("QT_QUICK_CONTROLS_STYLE"))
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
    applyPreferredAppearance(application);
    new AppearanceFollower(application); // owned by the application
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/qt/qml/Strataloom/icons/strataloom.svg")));

    registerModelTypes();
    SystemDesktopActions desktopActions;
    AppViewModel model(RecentRepositoryStore(), DiscoveredRepositoryStore(),
                       RepositoryScanner(QDir::homePath()), &desktopActions);

    QQmlApplicationEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    engine.setInitialProperties({{QStringLiteral("appModel"), QVariant::fromValue(&model)},
                                 {QStringLiteral("desktopActions"),
                                  QVariant::fromValue(static_cast<QObject *>(&desktopActions))}});
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &application,
        [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Strataloom/Main.qml")));

    // `strataloom <path>` opens that repository at start.
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1)
        model.session()->openRepository(QFileInfo(arguments.at(1)).absoluteFilePath());

    return QApplication::exec();
}
