#include "insights/Classifiers.h"

#include <QHash>
#include <QSet>
#include <QTextBoundaryFinder>
#include <QTimeZone>

#include <array>
#include <limits>

namespace strataloom {

namespace {

constexpr std::array commitTypes {u"feat", u"fix",   u"docs", u"style", u"refactor", u"perf",
                                  u"test", u"build", u"ci",   u"chore", u"revert"};

const QSet<QString> &stopWords()
{
    static const QSet<QString> words {
        QStringLiteral("and"),     QStringLiteral("the"),     QStringLiteral("for"),
        QStringLiteral("with"),    QStringLiteral("from"),    QStringLiteral("into"),
        QStringLiteral("this"),    QStringLiteral("that"),    QStringLiteral("add"),
        QStringLiteral("adds"),    QStringLiteral("added"),   QStringLiteral("update"),
        QStringLiteral("updates"), QStringLiteral("updated"), QStringLiteral("fix"),
        QStringLiteral("feat"),    QStringLiteral("chore"),   QStringLiteral("merge"),
        QStringLiteral("branch"),  QStringLiteral("revert"),
    };
    return words;
}

const QHash<QString, QString> &technologyByFileName()
{
    static const QHash<QString, QString> table {
        {QStringLiteral("package.swift"), QStringLiteral("Swift")},
        {QStringLiteral("package.json"), QStringLiteral("JavaScript")},
        {QStringLiteral("dockerfile"), QStringLiteral("Docker")},
        {QStringLiteral("makefile"), QStringLiteral("Build")},
        {QStringLiteral("podfile"), QStringLiteral("Ruby")},
        {QStringLiteral("gemfile"), QStringLiteral("Ruby")},
    };
    return table;
}

const QHash<QString, QString> &technologyByExtension()
{
    static const QHash<QString, QString> table {
        {QStringLiteral("swift"), QStringLiteral("Swift")},
        {QStringLiteral("m"), QStringLiteral("Objective-C")},
        {QStringLiteral("mm"), QStringLiteral("Objective-C++")},
        {QStringLiteral("h"), QStringLiteral("C/C++ Headers")},
        {QStringLiteral("c"), QStringLiteral("C")},
        {QStringLiteral("cc"), QStringLiteral("C++")},
        {QStringLiteral("cpp"), QStringLiteral("C++")},
        {QStringLiteral("cxx"), QStringLiteral("C++")},
        {QStringLiteral("rs"), QStringLiteral("Rust")},
        {QStringLiteral("go"), QStringLiteral("Go")},
        {QStringLiteral("py"), QStringLiteral("Python")},
        {QStringLiteral("rb"), QStringLiteral("Ruby")},
        {QStringLiteral("js"), QStringLiteral("JavaScript")},
        {QStringLiteral("jsx"), QStringLiteral("JavaScript")},
        {QStringLiteral("ts"), QStringLiteral("TypeScript")},
        {QStringLiteral("tsx"), QStringLiteral("TypeScript")},
        {QStringLiteral("java"), QStringLiteral("Java")},
        {QStringLiteral("kt"), QStringLiteral("Kotlin")},
        {QStringLiteral("kts"), QStringLiteral("Kotlin")},
        {QStringLiteral("cs"), QStringLiteral("C#")},
        {QStringLiteral("php"), QStringLiteral("PHP")},
        {QStringLiteral("scala"), QStringLiteral("Scala")},
        {QStringLiteral("sh"), QStringLiteral("Shell")},
        {QStringLiteral("zsh"), QStringLiteral("Shell")},
        {QStringLiteral("fish"), QStringLiteral("Shell")},
        {QStringLiteral("html"), QStringLiteral("HTML")},
        {QStringLiteral("css"), QStringLiteral("CSS")},
        {QStringLiteral("scss"), QStringLiteral("CSS")},
        {QStringLiteral("less"), QStringLiteral("CSS")},
        {QStringLiteral("vue"), QStringLiteral("Vue")},
        {QStringLiteral("svelte"), QStringLiteral("Svelte")},
        {QStringLiteral("sql"), QStringLiteral("SQL")},
        {QStringLiteral("graphql"), QStringLiteral("GraphQL")},
        {QStringLiteral("proto"), QStringLiteral("Protocol Buffers")},
        {QStringLiteral("md"), QStringLiteral("Documentation")},
        {QStringLiteral("json"), QStringLiteral("JSON")},
        {QStringLiteral("yaml"), QStringLiteral("YAML")},
        {QStringLiteral("yml"), QStringLiteral("YAML")},
        {QStringLiteral("toml"), QStringLiteral("TOML")},
        {QStringLiteral("xml"), QStringLiteral("XML")},
    };
    return table;
}

// The first non-empty run of characters other than @p separator: the first piece of a split that
// drops empty pieces. Empty when there is no such run.
QStringView firstPiece(QStringView text, QChar separator)
{
    qsizetype start = 0;
    while (start < text.size() && text[start] == separator)
        ++start;
    qsizetype end = start;
    while (end < text.size() && text[end] != separator)
        ++end;
    return text.mid(start, end - start);
}

bool isCased(char32_t c)
{
    return QChar::isLower(c) || QChar::isUpper(c) || QChar::isTitleCase(c);
}

bool isCaseIgnorable(char32_t c)
{
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
    case QChar::Letter_Modifier:
    case QChar::Symbol_Modifier:
        return true;
    default:
        return c == u'\'' || c == u'.' || c == u':' || c == u'\u00B7' || c == u'\u2018'
            || c == u'\u2019' || c == u'\u2024' || c == u'\uFE52' || c == u'\uFF07'
            || c == u'\uFF0E';
    }
}

// Full Unicode lower-casing, including the one context rule of Greek: a capital sigma that ends a
// word becomes the final form, so that "ΟΔΟΣ" and "οδος" give the same word.
QString lowerCased(const QString &text)
{
    constexpr char16_t capitalSigma = 0x03A3;
    constexpr char16_t finalSigma = 0x03C2;
    if (!text.contains(QChar(capitalSigma)))
        return text.toLower();

    struct CodePoint
    {
        char32_t value;
        qsizetype offset; // in UTF-16 units
    };
    QList<CodePoint> codePoints;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoints.append({QChar::surrogateToUcs4(text[i], text[i + 1]), i});
            ++i;
        } else {
            codePoints.append({text[i].unicode(), i});
        }
    }
    QString prepared = text;
    for (qsizetype i = 0; i < codePoints.size(); ++i) {
        if (codePoints[i].value != capitalSigma)
            continue;
        qsizetype before = i - 1;
        while (before >= 0 && isCaseIgnorable(codePoints[before].value))
            --before;
        qsizetype after = i + 1;
        while (after < codePoints.size() && isCaseIgnorable(codePoints[after].value))
            ++after;
        if (before >= 0 && isCased(codePoints[before].value)
            && !(after < codePoints.size() && isCased(codePoints[after].value)))
            prepared[codePoints[i].offset] = QChar(finalSigma);
    }
    return prepared.toLower();
}

// Letters, marks and numbers of any script (general categories L*, M* and N*).
bool isWordCodePoint(char32_t codePoint)
{
    return QChar::isLetterOrNumber(codePoint) || QChar::isMark(codePoint);
}

// Below the combining marks there is one character per UTF-16 unit and nothing to normalise.
bool isSimple(const QString &word)
{
    for (const QChar c : word) {
        if (c.unicode() >= 0x0300)
            return false;
    }
    return true;
}

// Length as the user sees it: a base letter with its combining marks, or a surrogate pair, is one.
qsizetype characterCount(const QString &word)
{
    if (isSimple(word))
        return word.size();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, word);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

// Whether the text is a decimal number (ASCII digits) that fits in a signed 64-bit integer.
bool isInt64(const QString &word)
{
    if (word.isEmpty())
        return false;
    quint64 value = 0;
    constexpr quint64 limit = std::numeric_limits<qint64>::max();
    for (const QChar c : word) {
        if (c < u'0' || c > u'9')
            return false;
        value = value * 10 + (c.unicode() - u'0');
        if (value > limit)
            return false;
    }
    return true;
}

} // namespace

QString commitType(const QString &subject)
{
    static const QString other = QStringLiteral("other");
    if (!subject.contains(u':'))
        return other;
    const QString lowered = lowerCased(subject);
    const QStringView head = firstPiece(lowered, u':');
    QStringView type = firstPiece(head, u'(');
    if (type.isEmpty())
        type = head;
    for (const auto candidate : commitTypes) {
        if (type == QStringView(candidate))
            return type.toString();
    }
    return other;
}

QStringList commitTypeNames()
{
    QStringList names;
    for (const auto type : commitTypes)
        names.append(QString::fromUtf16(type));
    names.append(QStringLiteral("other"));
    return names;
}

QStringList significantWords(const QString &subject)
{
    const QString lowered = lowerCased(subject);
    QStringList words;
    const auto consider = [&](qsizetype start, qsizetype end) {
        if (end - start < 3)
            return;
        QString word = lowered.mid(start, end - start);
        if (!isSimple(word)) {
            // Canonically equivalent spellings (precomposed or with combining marks) are one word.
            word = word.normalized(QString::NormalizationForm_C);
        }
        if (characterCount(word) < 3 || stopWords().contains(word) || isInt64(word))
            return;
        words.append(word);
    };

    qsizetype start = 0;
    qsizetype i = 0;
    while (i < lowered.size()) {
        char32_t codePoint = lowered[i].unicode();
        qsizetype width = 1;
        if (lowered[i].isHighSurrogate() && i + 1 < lowered.size()
            && lowered[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(lowered[i], lowered[i + 1]);
            width = 2;
        }
        if (!isWordCodePoint(codePoint)) {
            consider(start, i);
            start = i + width;
        }
        i += width;
    }
    consider(start, lowered.size());
    return words;
}

QString technology(const QString &path)
{
    const QString fileName = lowerCased(path.mid(path.lastIndexOf(u'/') + 1));
    const auto byName = technologyByFileName().constFind(fileName);
    if (byName != technologyByFileName().constEnd())
        return byName.value();

    const qsizetype dot = fileName.lastIndexOf(u'.');
    const QString extension = dot < 0 ? QString() : fileName.mid(dot + 1);
    const auto byExtension = technologyByExtension().constFind(extension);
    if (byExtension != technologyByExtension().constEnd())
        return byExtension.value();
    if (extension.isEmpty())
        return QStringLiteral("Other");
    return u'.' + extension;
}

std::optional<QDateTime> periodDate(const QString &label)
{
    QString format = QStringLiteral("yyyy-MM-dd");
    if (label.size() == 4)
        format = QStringLiteral("yyyy");
    else if (label.size() == 7)
        format = QStringLiteral("yyyy-MM");
    const QDate date = QDate::fromString(label, format);
    if (!date.isValid())
        return std::nullopt;
    return QDateTime(date, QTime(0, 0), Qt::UTC);
}

double trend(const QList<IndexedActivityInsight> &points, ActivityValue value)
{
    const qint64 n = points.size();
    if (n < 2)
        return 0;
    const auto valueOf = [value](const IndexedActivityInsight &point) -> qint64 {
        switch (value) {
        case ActivityValue::Commits:
            return point.commits;
        case ActivityValue::Additions:
            return point.additions;
        case ActivityValue::Deletions:
            return point.deletions;
        case ActivityValue::Churn:
            return point.churn();
        }
        return 0;
    };
    const qint64 half = n / 2;
    qint64 first = 0;
    qint64 second = 0;
    for (qint64 i = 0; i < n; ++i)
        (i < half ? first : second) += valueOf(points[i]);
    const qint64 expected = first * (n - half) / half;
    if (expected < 1)
        return second >= 1 ? 100 : 0;
    return double(second - expected) / double(expected) * 100;
}

} // namespace strataloom
