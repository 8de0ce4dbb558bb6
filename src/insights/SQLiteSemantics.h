#pragma once

#include <QString>
#include <QStringView>

// SQLite's text and date semantics, reproduced in C++ so that aggregates computed in memory
// agree with the queries over the index: ASCII-only lower() and LIKE, the NOCASE and BINARY
// collations, character counts that stop at a NUL, trim() of spaces, unixepoch dates.

namespace strataloom::sqlite {

/// @brief ASCII letters folded to lower case, every other unit unchanged (SQLite's lower()).
char16_t asciiLower(char16_t unit);

/// @brief BINARY collation (code point order of the UTF-8 bytes): -1, 0 or 1.
int compareBinary(const QString &left, const QString &right);

/// @brief NOCASE collation: BINARY after folding ASCII letters only.
int compareNoCase(const QString &left, const QString &right);

/// @brief length() of a text: code points before the first NUL.
qint64 sqlLength(QStringView text);

/// @brief trim() without arguments: spaces only, both ends.
QStringView sqlTrim(QStringView text);

/// @brief lower(subject) LIKE 'revert%'.
bool beginsWithRevert(const QString &subject);

/// @brief Days since 1970-01-01 to a proleptic Gregorian date, as strftime() prints it.
void civilFromDays(qint64 days, qint64 &year, int &month, int &day);

} // namespace strataloom::sqlite
