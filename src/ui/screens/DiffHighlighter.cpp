#include "ui/screens/DiffHighlighter.h"

#include <QSyntaxHighlighter>
#include <QTextDocument>

namespace strataloom {

class DiffSyntax : public QSyntaxHighlighter
{
public:
    DiffSyntax(DiffHighlighter *owner, QTextDocument *document)
        : QSyntaxHighlighter(document)
        , m_owner(owner)
    { }

protected:
    void highlightBlock(const QString &text) override
    {
        const QString kind = DiffHighlighter::lineKind(text);
        QColor color;
        if (kind == u"added")
            color = m_owner->m_added;
        else if (kind == u"removed")
            color = m_owner->m_removed;
        else if (kind == u"hunk")
            color = m_owner->m_hunk;
        else if (kind == u"header")
            color = m_owner->m_header;
        if (!color.isValid())
            return;
        QTextCharFormat format;
        format.setForeground(color);
        if (kind == u"header")
            format.setFontWeight(QFont::DemiBold);
        setFormat(0, int(text.size()), format);
    }

private:
    DiffHighlighter *m_owner;
};

DiffHighlighter::DiffHighlighter(QObject *parent)
    : QObject(parent)
{
    connect(this, &DiffHighlighter::colorsChanged, this, [this] {
        if (auto *syntax = qobject_cast<QSyntaxHighlighter *>(m_syntax))
            syntax->rehighlight();
    });
}

DiffHighlighter::~DiffHighlighter() = default;

void DiffHighlighter::setDocument(QQuickTextDocument *document)
{
    if (document == m_document)
        return;
    delete m_syntax.data();
    m_syntax = nullptr;
    m_document = document;
    if (document && document->textDocument())
        m_syntax = new DiffSyntax(this, document->textDocument());
    Q_EMIT documentChanged();
}

QString DiffHighlighter::lineKind(const QString &line)
{
    // File headers first: "+++ b/x" and "--- a/x" are not added or removed lines.
    if (line.startsWith(u"diff --git") || line.startsWith(u"+++ ") || line.startsWith(u"--- ")
        || line.startsWith(u"commit ") || line == u"---")
        return QStringLiteral("header");
    if (line.startsWith(u"@@"))
        return QStringLiteral("hunk");
    if (line.startsWith(u'+'))
        return QStringLiteral("added");
    if (line.startsWith(u'-'))
        return QStringLiteral("removed");
    return {};
}

} // namespace strataloom
