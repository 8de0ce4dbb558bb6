#pragma once

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

class DiffSyntax;

/**
 * @brief Colours the lines of a diff shown in a TextEdit or TextArea: added and removed lines,
 * hunk headers and file headers. The text itself stays plain, so selecting and copying give
 * git's text unchanged.
 *
 *   DiffHighlighter { document: area.textDocument; added: "green"; removed: "red" }
 */
class DiffHighlighter : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickTextDocument *document READ document WRITE setDocument NOTIFY documentChanged)
    Q_PROPERTY(QColor added MEMBER m_added NOTIFY colorsChanged)
    Q_PROPERTY(QColor removed MEMBER m_removed NOTIFY colorsChanged)
    Q_PROPERTY(QColor hunk MEMBER m_hunk NOTIFY colorsChanged)
    Q_PROPERTY(QColor header MEMBER m_header NOTIFY colorsChanged)

public:
    explicit DiffHighlighter(QObject *parent = nullptr);
    ~DiffHighlighter() override;

    QQuickTextDocument *document() const { return m_document; }
    void setDocument(QQuickTextDocument *document);

    /// @brief What a line of a diff is, for colouring: "added", "removed", "hunk", "header" or "".
    Q_INVOKABLE static QString lineKind(const QString &line);

Q_SIGNALS:
    void documentChanged();
    void colorsChanged();

private:
    friend class DiffSyntax;

    QPointer<QQuickTextDocument> m_document;
    QPointer<QObject> m_syntax; ///< a DiffSyntax; its document owns it
    QColor m_added;
    QColor m_removed;
    QColor m_hunk;
    QColor m_header;
};

} // namespace strataloom
