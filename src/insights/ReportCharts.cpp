#include "insights/ReportCharts.h"

#include "insights/HtmlReport.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace strataloom {

namespace {

// A coordinate or length in an SVG attribute: C locale, at most one decimal.
QString n(double value)
{
    QString text = QString::number(std::round(value * 10) / 10, 'f', 1);
    if (text.endsWith(QLatin1String(".0")))
        text.chop(2);
    return text;
}

QString middleElided(const QString &text, int length)
{
    if (text.size() <= length)
        return text;
    const int keep = (length - 1) / 2;
    return text.left(keep) + QChar(0x2026) + text.right(keep);
}

} // namespace

QString reportTone(const QString &name)
{
    static const QStringList known {
        QStringLiteral("purple"), QStringLiteral("red"),    QStringLiteral("orange"),
        QStringLiteral("pink"),   QStringLiteral("blue"),   QStringLiteral("teal"),
        QStringLiteral("green"),  QStringLiteral("indigo"), QStringLiteral("cyan"),
        QStringLiteral("yellow")};
    return known.contains(name) ? name : QStringLiteral("gray");
}

QString barChartSvg(const QList<ReportBar> &bars, double maximum)
{
    constexpr double width = 560;
    constexpr double labelWidth = 190;
    constexpr double valueWidth = 110;
    constexpr double row = 24;
    constexpr double barHeight = 14;
    if (maximum <= 0) {
        for (const ReportBar &bar : bars)
            maximum = std::max(maximum, bar.value);
    }
    const double barRoom = width - labelWidth - valueWidth;
    const double height = bars.size() * row;
    QString svg = QStringLiteral("<svg class=\"bars\" xmlns=\"http://www.w3.org/2000/svg\" "
                                 "viewBox=\"0 0 %1 %2\" role=\"img\">")
                      .arg(n(width), n(height));
    for (qsizetype index = 0; index < bars.size(); ++index) {
        const ReportBar &bar = bars.at(index);
        const double top = index * row;
        const double length = maximum > 0 ? std::clamp(bar.value / maximum, 0.0, 1.0) * barRoom : 0;
        svg += QStringLiteral("<g><title>%1: %2</title>")
                   .arg(htmlEscaped(bar.label), htmlEscaped(bar.valueText));
        svg += QStringLiteral("<text class=\"label\" x=\"0\" y=\"%1\">%2</text>")
                   .arg(n(top + row / 2 + 4), htmlEscaped(middleElided(bar.label, 28)));
        svg += QStringLiteral("<rect class=\"track\" x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" "
                              "rx=\"3\"/>")
                   .arg(n(labelWidth), n(top + (row - barHeight) / 2), n(barRoom), n(barHeight));
        svg += QStringLiteral("<rect class=\"bar tone-%1\" x=\"%2\" y=\"%3\" width=\"%4\" "
                              "height=\"%5\" rx=\"3\"/>")
                   .arg(reportTone(bar.tone), n(labelWidth), n(top + (row - barHeight) / 2),
                        n(std::max(length, bar.value > 0 ? 1.0 : 0.0)), n(barHeight));
        svg += QStringLiteral("<text x=\"%1\" y=\"%2\">%3</text></g>")
                   .arg(n(labelWidth + barRoom + 8), n(top + row / 2 + 4),
                        htmlEscaped(bar.valueText));
    }
    return svg + QLatin1String("</svg>");
}

QString activityChartSvg(const QList<IndexedActivityInsight> &buckets, ActivityBucket bucket,
                         const QLocale &locale)
{
    constexpr double width = 1000;
    constexpr double height = 240;
    constexpr double left = 48;
    constexpr double right = 8;
    constexpr double top = 10;
    constexpr double bottom = 26;
    const double plotWidth = width - left - right;
    const double plotHeight = height - top - bottom;

    QList<const IndexedActivityInsight *> dated;
    qint64 largest = 0;
    for (const IndexedActivityInsight &entry : buckets) {
        if (entry.date) {
            dated.append(&entry);
            largest = std::max(largest, entry.commits);
        }
    }
    QString svg = QStringLiteral("<svg class=\"activity\" xmlns=\"http://www.w3.org/2000/svg\" "
                                 "viewBox=\"0 0 %1 %2\" role=\"img\">")
                      .arg(n(width), n(height));
    if (dated.isEmpty())
        return svg + QLatin1String("</svg>");

    const QDate first = dated.first()->date->toUTC().date();
    const QDate end = bucketEnd(dated.last()->date->toUTC().date(), bucket);
    const double span = double(std::max<qint64>(first.daysTo(end), 1));
    const auto xOf = [&](const QDate &date) { return left + first.daysTo(date) / span * plotWidth; };

    const ValueScale scale = valueScale(double(largest), 5);
    const auto yOf = [&](double value) { return top + plotHeight * (1 - scale.fraction(value)); };
    for (const double tick : scale.ticks) {
        svg += QStringLiteral("<line class=\"gridline\" x1=\"%1\" x2=\"%2\" y1=\"%3\" y2=\"%3\"/>")
                   .arg(n(left), n(width - right), n(yOf(tick)));
        svg += QStringLiteral("<text class=\"tick\" x=\"%1\" y=\"%2\" text-anchor=\"end\">%3</text>")
                   .arg(n(left - 6), n(yOf(tick) + 4), htmlEscaped(compactNumber(tick, locale)));
    }

    // Time labels: years over long histories, months otherwise, at most about eight of them.
    const int months = (end.year() - first.year()) * 12 + end.month() - first.month();
    const bool years = months > 24;
    const int stepMonths = years ? 12 * std::max(1, int(std::ceil(months / 12.0 / 8)))
                                 : std::max(1, int(std::ceil(months / 8.0)));
    QDate mark = years ? QDate(first.year() + 1, 1, 1)
                       : QDate(first.year(), first.month(), 1).addMonths(1);
    if (years && stepMonths > 12) // round years: 2010, 2015, ... rather than 2011, 2016
        mark = QDate(int(std::ceil(mark.year() / double(stepMonths / 12))) * (stepMonths / 12), 1, 1);
    for (; mark < end; mark = mark.addMonths(stepMonths)) {
        const double x = xOf(mark);
        svg += QStringLiteral("<line class=\"gridline\" x1=\"%1\" x2=\"%1\" y1=\"%2\" y2=\"%3\"/>")
                   .arg(n(x), n(top + plotHeight), n(top + plotHeight + 4));
        svg += QStringLiteral("<text x=\"%1\" y=\"%2\" text-anchor=\"middle\">%3</text>")
                   .arg(n(x), n(height - 6),
                        htmlEscaped(years ? QString::number(mark.year())
                                          : locale.toString(mark, QStringLiteral("MMM yyyy"))));
    }

    const QString caption = activityBucketName(bucket);
    for (const IndexedActivityInsight *entry : dated) {
        const QDate start = entry->date->toUTC().date();
        const double x0 = xOf(start);
        const double full = xOf(bucketEnd(start, bucket)) - x0;
        const double barWidth = std::max(full * 0.8, 1.0);
        const double y = yOf(double(entry->commits));
        svg += QStringLiteral("<rect class=\"bar tone-blue\" x=\"%1\" y=\"%2\" width=\"%3\" "
                              "height=\"%4\"><title>%5 of %6: %7 commits</title></rect>")
                   .arg(n(x0 + (full - barWidth) / 2), n(y), n(barWidth), n(top + plotHeight - y),
                        caption.at(0).toUpper() + caption.mid(1),
                        locale.toString(start, QLocale::ShortFormat),
                        locale.toString(entry->commits));
    }
    return svg + QLatin1String("</svg>");
}

} // namespace strataloom
