#include "ui/style/IconTable.h"

#include <QFontDatabase>
#include <QGuiApplication>

namespace strataloom {

IconTable::IconTable(QObject *parent)
    : QObject(parent)
{ }

const QHash<QString, QString> &IconTable::table()
{
    // Symbol name -> Material Icons ligature. Keep sorted by symbol name.
    static const QHash<QString, QString> symbols {
        {QStringLiteral("arrow.clockwise"), QStringLiteral("refresh")},
        {QStringLiteral("arrow.down.right"), QStringLiteral("south_east")},
        {QStringLiteral("arrow.down.right.circle.fill"), QStringLiteral("trending_down")},
        {QStringLiteral("arrow.left.arrow.right"), QStringLiteral("swap_horiz")},
        {QStringLiteral("arrow.triangle.2.circlepath"), QStringLiteral("sync")},
        {QStringLiteral("arrow.triangle.branch"), QStringLiteral("call_split")},
        {QStringLiteral("arrow.triangle.merge"), QStringLiteral("merge_type")},
        {QStringLiteral("arrow.up.arrow.down"), QStringLiteral("swap_vert")},
        {QStringLiteral("arrow.up.right"), QStringLiteral("north_east")},
        {QStringLiteral("arrow.up.right.circle.fill"), QStringLiteral("trending_up")},
        {QStringLiteral("arrow.up.forward.app"), QStringLiteral("open_in_new")},
        {QStringLiteral("arrow.uturn.backward.circle"), QStringLiteral("undo")},
        {QStringLiteral("arrow.uturn.backward.circle.fill"), QStringLiteral("undo")},
        {QStringLiteral("bolt.fill"), QStringLiteral("bolt")},
        {QStringLiteral("calendar"), QStringLiteral("calendar_today")},
        {QStringLiteral("calendar.badge.checkmark"), QStringLiteral("event_available")},
        {QStringLiteral("calendar.badge.clock"), QStringLiteral("schedule")},
        {QStringLiteral("calendar.day.timeline.left"), QStringLiteral("date_range")},
        {QStringLiteral("chart.bar.fill"), QStringLiteral("bar_chart")},
        {QStringLiteral("chart.line.uptrend.xyaxis"), QStringLiteral("stacked_line_chart")},
        {QStringLiteral("chart.pie.fill"), QStringLiteral("pie_chart")},
        {QStringLiteral("chart.xyaxis.line"), QStringLiteral("show_chart")},
        {QStringLiteral("checkmark"), QStringLiteral("check")},
        {QStringLiteral("checkmark.circle"), QStringLiteral("check_circle_outline")},
        {QStringLiteral("checkmark.circle.fill"), QStringLiteral("check_circle")},
        {QStringLiteral("checkmark.shield.fill"), QStringLiteral("verified_user")},
        {QStringLiteral("chevron.down"), QStringLiteral("expand_more")},
        {QStringLiteral("chevron.left.forwardslash.chevron.right"), QStringLiteral("code")},
        {QStringLiteral("chevron.right"), QStringLiteral("chevron_right")},
        {QStringLiteral("circle.dashed"), QStringLiteral("radio_button_unchecked")},
        {QStringLiteral("clock.arrow.circlepath"), QStringLiteral("history")},
        {QStringLiteral("cylinder.split.1x2"), QStringLiteral("storage")},
        {QStringLiteral("cylinder.split.1x2.fill"), QStringLiteral("storage")},
        {QStringLiteral("doc"), QStringLiteral("insert_drive_file")},
        {QStringLiteral("doc.badge.minus"), QStringLiteral("playlist_remove")},
        {QStringLiteral("doc.badge.plus"), QStringLiteral("note_add")},
        {QStringLiteral("doc.on.clipboard"), QStringLiteral("content_copy")},
        {QStringLiteral("doc.on.doc"), QStringLiteral("file_copy")},
        {QStringLiteral("doc.on.doc.fill"), QStringLiteral("file_copy")},
        {QStringLiteral("doc.text"), QStringLiteral("article")},
        {QStringLiteral("doc.text.magnifyingglass"), QStringLiteral("find_in_page")},
        {QStringLiteral("doc.zipper"), QStringLiteral("folder_zip")},
        {QStringLiteral("ellipsis.circle"), QStringLiteral("more_horiz")},
        {QStringLiteral("envelope"), QStringLiteral("mail_outline")},
        {QStringLiteral("equal"), QStringLiteral("drag_handle")},
        {QStringLiteral("exclamationmark.triangle"), QStringLiteral("warning_amber")},
        {QStringLiteral("exclamationmark.triangle.fill"), QStringLiteral("warning")},
        {QStringLiteral("externaldrive.badge.magnifyingglass"), QStringLiteral("manage_search")},
        {QStringLiteral("externaldrive.fill"), QStringLiteral("source")},
        {QStringLiteral("flag.checkered"), QStringLiteral("sports_score")},
        {QStringLiteral("flame.fill"), QStringLiteral("local_fire_department")},
        {QStringLiteral("folder"), QStringLiteral("folder_open")},
        {QStringLiteral("folder.badge.plus"), QStringLiteral("create_new_folder")},
        {QStringLiteral("folder.badge.questionmark"), QStringLiteral("folder_off")},
        {QStringLiteral("folder.fill"), QStringLiteral("folder")},
        {QStringLiteral("gauge.with.dots.needle.50percent"), QStringLiteral("speed")},
        {QStringLiteral("icloud"), QStringLiteral("cloud_queue")},
        {QStringLiteral("info.circle"), QStringLiteral("info")},
        {QStringLiteral("internaldrive"), QStringLiteral("dns")},
        {QStringLiteral("link"), QStringLiteral("link")},
        {QStringLiteral("link.circle.fill"), QStringLiteral("link")},
        {QStringLiteral("lock.shield"), QStringLiteral("security")},
        {QStringLiteral("magnifyingglass"), QStringLiteral("search")},
        {QStringLiteral("minus"), QStringLiteral("remove")},
        {QStringLiteral("moon.zzz.fill"), QStringLiteral("bedtime")},
        {QStringLiteral("network"), QStringLiteral("lan")},
        {QStringLiteral("percent"), QStringLiteral("percent")},
        {QStringLiteral("person.2"), QStringLiteral("people_outline")},
        {QStringLiteral("person.2.fill"), QStringLiteral("people")},
        {QStringLiteral("person.3.fill"), QStringLiteral("groups")},
        {QStringLiteral("person.3.sequence.fill"), QStringLiteral("groups")},
        {QStringLiteral("person.badge.clock"), QStringLiteral("person_outline")},
        {QStringLiteral("person.circle"), QStringLiteral("account_circle")},
        {QStringLiteral("person.crop.circle.badge.checkmark"), QStringLiteral("how_to_reg")},
        {QStringLiteral("person.crop.circle.badge.exclamationmark"), QStringLiteral("person_off")},
        {QStringLiteral("person.crop.circle.fill"), QStringLiteral("account_circle")},
        {QStringLiteral("person.fill.exclamationmark"), QStringLiteral("person_pin")},
        {QStringLiteral("play.circle.fill"), QStringLiteral("play_circle")},
        {QStringLiteral("plus"), QStringLiteral("add")},
        {QStringLiteral("plusminus"), QStringLiteral("exposure")},
        {QStringLiteral("point.3.connected.trianglepath.dotted"), QStringLiteral("hub")},
        {QStringLiteral("rectangle.3.group.bubble.left.fill"), QStringLiteral("view_module")},
        {QStringLiteral("rectangle.grid.2x2"), QStringLiteral("grid_view")},
        {QStringLiteral("scalemass"), QStringLiteral("scale")},
        {QStringLiteral("sidebar.left"), QStringLiteral("view_sidebar")},
        {QStringLiteral("slider.horizontal.3"), QStringLiteral("tune")},
        {QStringLiteral("sparkles"), QStringLiteral("auto_awesome")},
        {QStringLiteral("speedometer"), QStringLiteral("speed")},
        {QStringLiteral("square.3.layers.3d"), QStringLiteral("layers")},
        {QStringLiteral("tag"), QStringLiteral("sell")},
        {QStringLiteral("tag.fill"), QStringLiteral("sell")},
        {QStringLiteral("text.badge.checkmark"), QStringLiteral("fact_check")},
        {QStringLiteral("text.badge.xmark"), QStringLiteral("rule")},
        {QStringLiteral("text.quote"), QStringLiteral("format_quote")},
        {QStringLiteral("textformat.size"), QStringLiteral("format_size")},
        {QStringLiteral("timeline.selection"), QStringLiteral("timeline")},
        {QStringLiteral("waveform.path.ecg"), QStringLiteral("monitor_heart")},
        {QStringLiteral("xmark"), QStringLiteral("close")},
        {QStringLiteral("xmark.circle.fill"), QStringLiteral("cancel")},
    };
    return symbols;
}

QString IconTable::fontFamily() const
{
    return QStringLiteral("Material Icons");
}

QString IconTable::glyph(const QString &symbol) const
{
    // Without the icon font a ligature would be drawn as its name ("call_split"): nothing is
    // drawn instead, and the labels beside the symbols still say what each control does.
    static const bool fontInstalled
        = !qobject_cast<QGuiApplication *>(QCoreApplication::instance())
        || QFontDatabase::families().contains(fontFamily());
    return fontInstalled ? table().value(symbol) : QString();
}

bool IconTable::contains(const QString &symbol) const
{
    return table().contains(symbol);
}

QStringList IconTable::symbolNames() const
{
    QStringList names = table().keys();
    names.sort();
    return names;
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
