#include "insights/SQLiteSemantics.h"

#include <algorithm>

namespace strataloom::sqlite {

namespace {

// UTF-16 unit remapped so that comparing units orders texts by code point, as the UTF-8 bytes of
// SQLite's BINARY collation do (plain UTF-16 order puts U+E000..U+FFFF after the surrogates).
char16_t codePointOrder(char16_t unit)
{
    if (unit >= 0xD800 && unit <= 0xDFFF)
        return unit + 0x2000;
    if (unit >= 0xE000)
        return unit - 0x800;
    return unit;
}

} // namespace

char16_t asciiLower(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? unit + 32 : unit;
}

// BINARY collation: -1, 0 or 1.
int compareBinary(const QString &left, const QString &right)
{
    const qsizetype length = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < length; ++i) {
        const char16_t a = codePointOrder(left[i].unicode());
        const char16_t b = codePointOrder(right[i].unicode());
        if (a != b)
            return a < b ? -1 : 1;
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

// NOCASE collation: BINARY after folding ASCII letters only.
int compareNoCase(const QString &left, const QString &right)
{
    const qsizetype length = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < length; ++i) {
        const char16_t a = codePointOrder(asciiLower(left[i].unicode()));
        const char16_t b = codePointOrder(asciiLower(right[i].unicode()));
        if (a != b)
            return a < b ? -1 : 1;
    }
    return left.size() == right.size() ? 0 : (left.size() < right.size() ? -1 : 1);
}

// SQLite's length() of a text: code points before the first NUL.
qint64 sqlLength(QStringView text)
{
    qint64 count = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].unicode() == 0)
            break;
        if (!(text[i].isLowSurrogate() && i > 0 && text[i - 1].isHighSurrogate()))
            ++count;
    }
    return count;
}

// SQLite's trim() without arguments removes spaces only.
QStringView sqlTrim(QStringView text)
{
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && text[start] == u' ')
        ++start;
    while (end > start && text[end - 1] == u' ')
        --end;
    return text.mid(start, end - start);
}

// lower(subject) LIKE 'revert%': lower() and LIKE fold ASCII letters only.
bool beginsWithRevert(const QString &subject)
{
    static constexpr char16_t revert[] = u"revert";
    if (subject.size() < 6)
        return false;
    for (int i = 0; i < 6; ++i) {
        if (asciiLower(subject[i].unicode()) != revert[i])
            return false;
    }
    return true;
}

// Days since 1970-01-01 to a proleptic Gregorian date (H. Hinnant's civil_from_days).
void civilFromDays(qint64 days, qint64 &year, int &month, int &day)
{
    days += 719468;
    const qint64 era = (days >= 0 ? days : days - 146096) / 146097;
    const qint64 dayOfEra = days - era * 146097;
    const qint64 yearOfEra
        = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const qint64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const qint64 shifted = (5 * dayOfYear + 2) / 153;
    day = int(dayOfYear - (153 * shifted + 2) / 5 + 1);
    month = int(shifted < 10 ? shifted + 3 : shifted - 9);
    year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
}

} // namespace strataloom::sqlite
