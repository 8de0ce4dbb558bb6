// insights_ui_benchmark: time from choosing the insights or statistics section (setting
// selectedSection) to the first frame drawn with it, on a repository whose index is ready.
// With --shots DIR it also saves the two screens, scrolled page by page, as PNG files.
//
//   insights_ui_benchmark <repository> [--runs N] [--width W --height H] [--dark]
//                         [--shots DIR]
//
// The window stands in for the shell: a sidebar and an inspector column of the shell's widths
// around a Loader that follows selectedSection, so that the content column is as narrow as in
// the application.
#include "AppViewModel.h"
#include "ModelTypes.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QPalette>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQmlProperty>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>

Q_IMPORT_QML_PLUGIN(Strataloom_StylePlugin)
Q_IMPORT_QML_PLUGIN(Strataloom_InsightsPlugin)

using namespace strataloom;
using Section = AppViewModel::SidebarSection;

namespace {

const char *hostQml = R"(
import QtQuick
import QtQuick.Controls
import Strataloom.Style
import Strataloom.Insights

ApplicationWindow {
    id: window
    property var appModel
    color: Theme.window
    visible: true
    Rectangle { id: sidebar; width: 220; height: parent.height; color: Theme.sidebar }
    Rectangle {
        id: inspector
        anchors.right: parent.right
        width: 260; height: parent.height
        color: Theme.sidebar
    }
    Loader {
        objectName: "host"
        anchors.left: sidebar.right
        anchors.right: inspector.left
        height: parent.height
        sourceComponent: window.appModel.selectedSection === 8 ? insights
                       : window.appModel.selectedSection === 1 ? statistics : null
    }
    Component { id: insights; InsightsScreen { appModel: window.appModel } }
    Component { id: statistics; StatisticsScreen { appModel: window.appModel } }
}
)";

QPalette darkPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0x1e, 0x1f, 0x22));
    palette.setColor(QPalette::WindowText, QColor(0xe8, 0xe8, 0xea));
    palette.setColor(QPalette::Base, QColor(0x26, 0x27, 0x2b));
    palette.setColor(QPalette::AlternateBase, QColor(0x2c, 0x2d, 0x31));
    palette.setColor(QPalette::Text, QColor(0xe8, 0xe8, 0xea));
    palette.setColor(QPalette::Button, QColor(0x2c, 0x2d, 0x31));
    palette.setColor(QPalette::ButtonText, QColor(0xe8, 0xe8, 0xea));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8b, 0xfd));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, QColor(0x2c, 0x2d, 0x31));
    palette.setColor(QPalette::ToolTipText, QColor(0xe8, 0xe8, 0xea));
    return palette;
}

// Milliseconds from the section change to the end of the frame that shows it.
double switchTo(AppViewModel &model, QQuickWindow &window, Section section)
{
    QEventLoop loop;
    double elapsed = -1;
    QElapsedTimer timer;
    const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
        elapsed = double(timer.nsecsElapsed()) / 1e6;
        loop.quit();
    });
    timer.start();
    model.setSelectedSection(section);
    window.update();
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    loop.exec();
    QObject::disconnect(connection);
    return elapsed;
}

void settle(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

QQuickItem *findNamed(QQuickItem *item, const QString &name)
{
    if (item->objectName() == name)
        return item;
    for (QQuickItem *child : item->childItems()) {
        if (QQuickItem *found = findNamed(child, name))
            return found;
    }
    return nullptr;
}

void findPrefixed(QQuickItem *item, const QString &prefix, QList<QQuickItem *> &found)
{
    if (item->objectName().startsWith(prefix) && item->isVisible())
        found.append(item);
    for (QQuickItem *child : item->childItems())
        findPrefixed(child, prefix, found);
}

// Saves the page at the top, then one shot per named section (or per screen height).
void shoot(QQuickWindow &window, const QString &flickName, const QString &prefix,
           const QString &stem)
{
    settle(400);
    QQuickItem *flick = findNamed(window.contentItem(), flickName);
    if (!flick)
        return;
    const double contentHeight = flick->property("contentHeight").toDouble();
    const double viewHeight = flick->height();
    QList<double> stops;
    QList<QQuickItem *> sections;
    findPrefixed(flick, prefix, sections);
    if (sections.isEmpty()) {
        for (double y = 0; y < contentHeight - 1; y += viewHeight * 0.9)
            stops << y;
    } else {
        stops << 0;
        for (QQuickItem *section : sections)
            stops << section->mapToItem(flick->childItems().constFirst(), QPointF(0, 0)).y() - 12;
    }
    int index = 0;
    for (double stop : stops) {
        const double y = std::clamp(stop, 0.0, std::max(0.0, contentHeight - viewHeight));
        flick->setProperty("contentY", y);
        settle(250);
        const QString name = sections.isEmpty() || index == 0
            ? QStringLiteral("%1-%2.png").arg(stem).arg(index, 2, 10, QLatin1Char('0'))
            : QStringLiteral("%1-%2-%3.png")
                  .arg(stem)
                  .arg(index, 2, 10, QLatin1Char('0'))
                  .arg(sections.at(index - 1)->objectName().section(QLatin1Char(':'), 1));
        window.grabWindow().save(name);
        ++index;
    }
    flick->setProperty("contentY", 0);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QStringList arguments = application.arguments();
    if (arguments.size() < 2) {
        std::fprintf(stderr,
                     "usage: insights_ui_benchmark <repository> [--runs N] [--width W "
                     "--height H] [--dark] [--shots DIR]\n");
        return 2;
    }
    const QString repository = QDir(arguments.at(1)).absolutePath();
    auto option = [&](const QString &name, const QString &fallback) {
        const qsizetype at = arguments.indexOf(name);
        return at > 0 && at + 1 < arguments.size() ? arguments.at(at + 1) : fallback;
    };
    const int runs = option(QStringLiteral("--runs"), QStringLiteral("5")).toInt();
    const int width = option(QStringLiteral("--width"), QStringLiteral("1280")).toInt();
    const int height = option(QStringLiteral("--height"), QStringLiteral("800")).toInt();
    const QString shots = option(QStringLiteral("--shots"), QString());
    const bool dark = arguments.contains(QStringLiteral("--dark"));
    if (dark)
        QApplication::setPalette(darkPalette());

    // A private settings file and index folder: the benchmark leaves the user's alone.
    QTemporaryDir scratch;
    qputenv("STRATALOOM_INDEX_DIR", scratch.filePath(QStringLiteral("indexes")).toLocal8Bit());
    registerModelTypes();
    AppViewModel model(RecentRepositoryStore(scratch.filePath(QStringLiteral("settings.ini"))),
                       DiscoveredRepositoryStore(scratch.filePath(QStringLiteral("settings.ini"))),
                       RepositoryScanner(scratch.path()));
    model.setSelectedSection(Section::Overview);

    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    QQmlComponent component(&engine);
    component.setData(hostQml,
                      QUrl::fromLocalFile(QDir::temp().filePath(QStringLiteral("Host.qml"))));
    QObject *root = component.createWithInitialProperties(
        {{QStringLiteral("appModel"), QVariant::fromValue(static_cast<QObject *>(&model))}});
    auto *window = qobject_cast<QQuickWindow *>(root);
    if (!window) {
        std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
        return 1;
    }
    window->resize(width, height);

    QElapsedTimer indexTimer;
    indexTimer.start();
    model.openRepository(repository);
    while (!model.analyticsIndexState().isReady() && !model.analyticsIndexState().isFailed())
        settle(50);
    if (model.analyticsIndexState().isFailed()) {
        std::fprintf(stderr, "index failed: %s\n",
                     qPrintable(model.analyticsIndexState().message()));
        return 1;
    }
    while (model.isLoading())
        settle(20);
    std::printf("repository: %s, %d commits, index ready after %.1f s, window %dx%d%s\n",
                qPrintable(repository), model.analyticsIndexState().indexedCommits(),
                indexTimer.elapsed() / 1000.0, width, height, dark ? " (dark)" : "");
    settle(300);

    if (!shots.isEmpty()) {
        QDir().mkpath(shots);
        const QString size = QStringLiteral("%1x%2%3").arg(width).arg(height).arg(
            dark ? QStringLiteral("-dark") : QStringLiteral("-light"));
        switchTo(model, *window, Section::Insights);
        shoot(*window, QStringLiteral("insightsFlick"), QStringLiteral("\x01"),
              shots + QStringLiteral("/insights-") + size);
        switchTo(model, *window, Section::Statistics);
        shoot(*window, QStringLiteral("statisticsFlick"), QStringLiteral("section:"),
              shots + QStringLiteral("/statistics-") + size);
        switchTo(model, *window, Section::Overview);
        settle(200);
    }

    for (const Section section : {Section::Insights, Section::Statistics}) {
        QList<double> times;
        for (int run = 0; run < runs; ++run) {
            switchTo(model, *window, Section::Overview);
            settle(150);
            times << switchTo(model, *window, section);
            settle(150);
        }
        std::sort(times.begin(), times.end());
        std::printf("%-10s switch to first frame: median %.1f ms, min %.1f ms, max %.1f ms "
                    "(%d runs)\n",
                    section == Section::Insights ? "insights" : "statistics",
                    times.at(times.size() / 2), times.constFirst(), times.constLast(),
                    int(times.size()));
    }
    return 0;
}
