#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace strataloom {

/**
 * @brief The one table from the symbol names the screens use ("arrow.triangle.branch") to the
 * glyphs of the Material Icons font, which draws a glyph from its ligature name ("call_split").
 *
 * Screens never name a font glyph themselves: they ask for a symbol, so that the whole look can
 * change here. A name without a mapping is a mistake that tests catch (see unmappedSymbols()).
 */
class IconTable : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Icons)
    QML_SINGLETON

public:
    explicit IconTable(QObject *parent = nullptr);

    /// @brief The font family that draws the glyphs.
    Q_INVOKABLE QString fontFamily() const;
    /// @brief The ligature of @p symbol, or "" when the table has none.
    Q_INVOKABLE QString glyph(const QString &symbol) const;
    Q_INVOKABLE bool contains(const QString &symbol) const;
    /// @brief Every symbol the table maps, sorted.
    Q_INVOKABLE QStringList symbolNames() const;

    static const QHash<QString, QString> &table();
    /// @brief Symbols of @p names that the table does not map.
    static QStringList unmappedSymbols(const QStringList &names);
};

} // namespace strataloom
