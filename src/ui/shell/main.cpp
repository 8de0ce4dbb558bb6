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

#include <cstdio>
#include <optional>

Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_ScreensPlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)
Q_IMPORT_QML_PLUGIN(StrataloomPlugin)

using namespace strataloom;

namespace {

const char usage[] = "Usage: strataloom [REPOSITORY]\n"
                     "\n"
                     "Explore a Git repository: timeline, history, branches, tags, files, search,\n"
                     "statistics and insights. REPOSITORY, a folder inside a Git repository, is\n"
                     "opened at start.\n"
                     "\n"
                     "Options:\n"
                     "  -h, --help     print this help and exit\n"
                     "  -v, --version  print the version and exit\n"
                     "  --             what follows is the repository, even if it begins with \"-\"\n"
                     "\n"
                     "Without a display, strataloom-cli prints the same figures in a terminal.\n";

// --help and --version answer before the window's application exists, so they need no display.
// Returns the exit status when the process should end there.
std::optional<int> answerWithoutDisplay(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        const QByteArray word(argv[i]);
        if (word == "--")
            break;
        if (word == "-h" || word == "--help") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (word == "-v" || word == "--version") {
            std::printf("strataloom %s\n", STRATALOOM_VERSION);
            return 0;
        }
    }
    return std::nullopt;
}

// The rest of the command line, once the application has taken out Qt's own options
// (-platform, -qwindowgeometry, -style, ...): at most one repository, no other option.
std::optional<int> readRepository(const QStringList &arguments, QString &repository)
{
    bool optionsEnded = false;
    for (const QString &word : arguments.mid(1)) {
        if (!optionsEnded && word == QLatin1String("--")) {
            optionsEnded = true;
        } else if (!optionsEnded && word.startsWith(QLatin1Char('-'))) {
            std::fprintf(stderr, "strataloom: unknown option %s\n%s", qPrintable(word), usage);
            return 2;
        } else if (repository.isEmpty()) {
            repository = word;
        } else {
            std::fprintf(stderr, "strataloom: one repository at a time\n%s", usage);
            return 2;
        }
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char *argv[])
{
    if (const std::optional<int> status = answerWithoutDisplay(argc, argv))
        return *status;

    // Charts draw through the widgets module, which needs a QApplication.
    QApplication application(argc, argv);
    QString repository;
    if (const std::optional<int> status = readRepository(QApplication::arguments(), repository))
        return *status;
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
    if (!repository.isEmpty())
        model.session()->openRepository(QFileInfo(repository).absoluteFilePath());

    return QApplication::exec();
}
