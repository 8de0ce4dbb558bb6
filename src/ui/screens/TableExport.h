#pragma once

#include <QByteArray>
#include <QFutureWatcher>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <functional>

namespace strataloom {

/**
 * @brief Saves what a screen shows to a file the user chose: a table as CSV (the command line's
 * cell rules), or any bytes a screen prepares. The rows are read on the GUI thread, which owns
 * the models; making the bytes and writing them run in the background, so a large table or a
 * slow disk never freezes the window. One export at a time.
 */
class TableExport : public QObject
{
    Q_OBJECT
    QML_ELEMENT

    /// True while a file is being written.
    Q_PROPERTY(bool busy READ busy NOTIFY stateChanged)
    /// What the last export did ("Saved 120 rows to history.csv"), or why it failed.
    Q_PROPERTY(QString message READ message NOTIFY stateChanged)
    /// True when the last export failed; message then says why.
    Q_PROPERTY(bool failed READ failed NOTIFY stateChanged)

public:
    explicit TableExport(QObject *parent = nullptr);
    ~TableExport() override;

    bool busy() const { return m_busy; }
    QString message() const { return m_message; }
    bool failed() const { return m_failed; }

    /**
     * @brief Writes the rows of @p model (a list model) to @p file as CSV. @p columns lists
     * {role, header} objects; without them every role of the model is a column.
     */
    Q_INVOKABLE void saveModel(QObject *model, const QVariantList &columns, const QUrl &file);
    /// @brief The same for rows given as a list of objects, one column per entry of @p columns.
    Q_INVOKABLE void saveRows(const QVariantList &rows, const QVariantList &columns,
                              const QUrl &file);

    /**
     * @brief Writes what @p make returns (called on a worker thread) to @p path; @p done is
     * the message on success. Ignored while an export runs.
     */
    void saveInBackground(std::function<QByteArray()> make, const QString &path,
                          const QString &done);

    /// @brief Reports an export that cannot start, with @p message saying why.
    void refuse(const QString &message) { finish(true, message); }

    /// @brief @p file as a local path, with @p suffix added when the name has none.
    static QString localPath(const QUrl &file, const QString &suffix);

Q_SIGNALS:
    void stateChanged();

private:
    void finish(bool failed, const QString &message);

    QFutureWatcher<QString> m_watcher; ///< the error text of the write, empty on success
    QString m_pendingMessage;
    bool m_busy = false;
    bool m_failed = false;
    QString m_message;
};

} // namespace strataloom
