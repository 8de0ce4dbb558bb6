#include "IconTable.h"

namespace strataloom {

IconTable::IconTable(QObject *parent)
    : QObject(parent)
{
}

const QHash<QString, QString> &IconTable::table()
{
    // Symbol name -> Material Icons ligature. Keep sorted by symbol name.
    static const QHash<QString, QString> symbols{
        {QStringLiteral("arrow.clockwise"), QStringLiteral("refresh")},
        {QStringLiteral("arrow.triangle.branch"), QStringLiteral("call_split")},
        {QStringLiteral("arrow.uturn.backward.circle.fill"), QStringLiteral("undo")},
        {QStringLiteral("bolt.fill"), QStringLiteral("bolt")},
        {QStringLiteral("chart.xyaxis.line"), QStringLiteral("show_chart")},
        {QStringLiteral("checkmark"), QStringLiteral("check")},
        {QStringLiteral("checkmark.circle"), QStringLiteral("check_circle_outline")},
        {QStringLiteral("checkmark.circle.fill"), QStringLiteral("check_circle")},
        {QStringLiteral("checkmark.shield.fill"), QStringLiteral("verified_user")},
        {QStringLiteral("clock.arrow.circlepath"), QStringLiteral("history")},
        {QStringLiteral("cylinder.split.1x2.fill"), QStringLiteral("storage")},
        {QStringLiteral("ellipsis.circle"), QStringLiteral("more_horiz")},
        {QStringLiteral("exclamationmark.triangle"), QStringLiteral("warning_amber")},
        {QStringLiteral("flame.fill"), QStringLiteral("local_fire_department")},
        {QStringLiteral("folder"), QStringLiteral("folder")},
        {QStringLiteral("magnifyingglass"), QStringLiteral("search")},
        {QStringLiteral("moon.zzz.fill"), QStringLiteral("bedtime")},
        {QStringLiteral("person.3.sequence.fill"), QStringLiteral("groups")},
        {QStringLiteral("person.crop.circle.badge.exclamationmark"), QStringLiteral("person_off")},
        {QStringLiteral("person.fill.exclamationmark"), QStringLiteral("person_pin")},
        {QStringLiteral("play.circle.fill"), QStringLiteral("play_circle")},
        {QStringLiteral("rectangle.3.group.bubble.left.fill"), QStringLiteral("view_module")},
        {QStringLiteral("rectangle.grid.2x2"), QStringLiteral("grid_view")},
        {QStringLiteral("sparkles"), QStringLiteral("auto_awesome")},
        {QStringLiteral("tag"), QStringLiteral("sell")},
        {QStringLiteral("tag.fill"), QStringLiteral("sell")},
        {QStringLiteral("text.badge.checkmark"), QStringLiteral("fact_check")},
        {QStringLiteral("text.badge.xmark"), QStringLiteral("rule")},
        {QStringLiteral("timeline.selection"), QStringLiteral("timeline")},
    };
    return symbols;
}

QString IconTable::fontFamily() const
{
    return QStringLiteral("Material Icons");
}

QString IconTable::glyph(const QString &symbol) const
{
    return table().value(symbol);
}

bool IconTable::contains(const QString &symbol) const
{
    return table().contains(symbol);
}

QStringList IconTable::unmappedSymbols(const QStringList &names)
{
    QStringList missing;
    for (const QString &name : names) {
        if (!table().contains(name))
            missing << name;
    }
    return missing;
}

} // namespace strataloom
