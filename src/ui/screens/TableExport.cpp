#include "ui/screens/TableExport.h"

#include "app/CsvTable.h"
#include "app/FileExport.h"
#include "app/HistoryListModel.h"
#include "app/RecordModels.h"
#include "index/SQLite.h"
#include "insights/IndexedHistory.h"

#include <QAbstractItemModel>
#include <QFileInfo>
#include <QLocale>
#include <QtConcurrent/QtConcurrentRun>

#include <exception>

namespace strataloom {

namespace {

QList<CsvColumn> csvColumns(const QVariantList &columns)
{
    QList<CsvColumn> result;
    for (const QVariant &column : columns) {
        const QVariantMap map = column.toMap();
        result.append({map.value(QStringLiteral("role")).toString().toUtf8(),
                       map.value(QStringLiteral("header")).toString()});
    }
    return result;
}

QString rowsSaved(qsizetype rows, const QString &path)
{
    return QStringLiteral("Saved %1 %2 to %3")
        .arg(QLocale().toString(qint64(rows)), rows == 1 ? QStringLiteral("row") : QStringLiteral("rows"),
             QFileInfo(path).fileName());
}

} // namespace

TableExport::TableExport(QObject *parent)
    : QObject(parent)
{
    connect(&m_watcher, &QFutureWatcherBase::finished, this, [this] {
        const QString error = m_watcher.result();
        finish(!error.isEmpty(), error.isEmpty() ? m_pendingMessage : error);
    });
}

TableExport::~TableExport()
{
    // The write holds no reference to this object; let it end before the watcher goes.
    m_watcher.waitForFinished();
}

QString TableExport::localPath(const QUrl &file, const QString &suffix)
{
    QString path = file.isLocalFile() ? file.toLocalFile() : file.toString();
    if (!path.isEmpty() && QFileInfo(path).suffix().isEmpty())
        path += QLatin1Char('.') + suffix;
    return path;
}

void TableExport::saveModel(QObject *model, const QVariantList &columns, const QUrl &file)
{
    // A list paged from the index holds only the pages scrolled so far: the file gets every
    // commit its query matches, read again from the index in the background.
    if (const auto *history = qobject_cast<HistoryListModel *>(model);
        history && history->isAvailable()) {
        const QString path = localPath(file, QStringLiteral("csv"));
        saveInBackground(
            [database = history->database(), query = history->query(),
             csvColumnList = csvColumns(columns)] {
                SQLiteDatabase connection(database);
                IndexedHistory matching(connection, HistoryQuery::parse(query));
                CommitListModel rows;
                rows.setRecords(matching.page(0, 0));
                return modelToCsv(rows, csvColumnList);
            },
            path, rowsSaved(history->total(), path));
        return;
    }
    const auto *itemModel = qobject_cast<QAbstractItemModel *>(model);
    if (!itemModel) {
        finish(true, QStringLiteral("There is no table to export."));
        return;
    }
    const QString path = localPath(file, QStringLiteral("csv"));
    const QByteArray csv = modelToCsv(*itemModel, csvColumns(columns));
    saveInBackground([csv] { return csv; }, path, rowsSaved(itemModel->rowCount(), path));
}

void TableExport::saveRows(const QVariantList &rows, const QVariantList &columns, const QUrl &file)
{
    const QString path = localPath(file, QStringLiteral("csv"));
    const QList<CsvColumn> csvColumnList = csvColumns(columns);
    saveInBackground([rows, csvColumnList] { return rowsToCsv(rows, csvColumnList); }, path,
                     rowsSaved(rows.size(), path));
}

void TableExport::saveInBackground(std::function<QByteArray()> make, const QString &path,
                                   const QString &done)
{
    if (m_busy)
        return;
    if (path.isEmpty()) {
        finish(true, QStringLiteral("Choose a file to export to."));
        return;
    }
    m_busy = true;
    m_failed = false;
    m_message.clear();
    m_pendingMessage = done;
    Q_EMIT stateChanged();
    m_watcher.setFuture(QtConcurrent::run([make = std::move(make), path]() -> QString {
        try {
            writeExportFile(path, make());
            return {};
        } catch (const std::exception &error) {
            return QString::fromUtf8(error.what());
        }
    }));
}

void TableExport::finish(bool failed, const QString &message)
{
    m_busy = false;
    m_failed = failed;
    m_message = message;
    Q_EMIT stateChanged();
}

} // namespace strataloom
