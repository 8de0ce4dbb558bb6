#include "QmlTestSetup.h"

#include <QApplication>
#include <QObject>
#include <QQmlEngine>
#include <QtQml/qqmlextensionplugin.h>
#include <QtQuickTest>

namespace {

/// What only these tests need: pointing the index folder somewhere unusable and back.
class InsightTestHelper : public QObject
{
    Q_OBJECT

public:
    /// @brief Sets STRATALOOM_INDEX_DIR to @p directory; returns the previous value.
    Q_INVOKABLE QString setIndexDirectory(const QString &directory)
    {
        const QString previous = qEnvironmentVariable("STRATALOOM_INDEX_DIR");
        qputenv("STRATALOOM_INDEX_DIR", directory.toLocal8Bit());
        return previous;
    }
};

void registerHelper()
{
    qmlRegisterSingletonType<InsightTestHelper>(
        "Strataloom.InsightTests", 1, 0, "InsightTestHelper",
        [](QQmlEngine *, QJSEngine *) -> QObject * { return new InsightTestHelper; });
}
Q_COREAPP_STARTUP_FUNCTION(registerHelper)

} // namespace

STRATALOOM_QML_TEST_MAIN(ui_insights_test)

#include "main.moc"
