#include "ui/insights/ChartNumbers.h"

#include "insights/ChartFigures.h"

namespace strataloom {

ChartNumbers::ChartNumbers(QObject *parent)
    : QObject(parent)
{ }

QString ChartNumbers::compact(double value) const
{
    return compactNumber(value);
}

} // namespace strataloom
