#include "QmlTestSetup.h"

#include <QApplication>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

STRATALOOM_QML_TEST_MAIN(ui_screens_test)
