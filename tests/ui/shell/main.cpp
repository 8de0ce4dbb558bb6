#include "QmlTestSetup.h"

#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

// The window's own module ("Strataloom"), on top of the screen modules every test gets.
Q_IMPORT_QML_PLUGIN(StrataloomPlugin)

STRATALOOM_QML_TEST_MAIN(ui_shell_test)
