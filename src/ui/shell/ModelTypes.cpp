#include "ui/shell/ModelTypes.h"

#include "app/AnalyticsIndex.h"
#include "app/AppViewModel.h"
#include "app/RecordModels.h"

#include <QtQml/qqml.h>

namespace strataloom {

void registerModelTypes()
{
    static const bool registered = [] {
        const char *uri = "Strataloom.Model";
        qmlRegisterUncreatableType<AppViewModel>(
            uri, 1, 0, "AppViewModel", QStringLiteral("The application creates the model"));
        const QString room = QStringLiteral("Rooms belong to the application model");
        qmlRegisterUncreatableType<RepositorySession>(uri, 1, 0, "RepositorySession", room);
        qmlRegisterUncreatableType<RepositorySelection>(uri, 1, 0, "RepositorySelection", room);
        qmlRegisterUncreatableType<RepositoryCatalog>(uri, 1, 0, "RepositoryCatalog", room);
        qmlRegisterUncreatableType<AnalyticsIndexController>(uri, 1, 0, "AnalyticsIndexController",
                                                             room);
        qmlRegisterUncreatableType<RecordListModel>(uri, 1, 0, "RecordListModel",
                                                    QStringLiteral("Lists belong to the model"));
        qmlRegisterUncreatableType<HistoryListModel>(uri, 1, 0, "HistoryListModel",
                                                     QStringLiteral("Lists belong to the model"));
        qmlRegisterUncreatableType<IndexedGraphModel>(uri, 1, 0, "IndexedGraphModel",
                                                      QStringLiteral("Lists belong to the model"));
        qmlRegisterUncreatableMetaObject(AnalyticsIndexState::staticMetaObject, uri, 1, 0,
                                         "AnalyticsIndexState",
                                         QStringLiteral("States come from the model"));
        return true;
    }();
    Q_UNUSED(registered);
}

} // namespace strataloom
