#include "cli/JsonOutput.h"

#include <QLocale>

#include <cmath>

namespace strataloom::cli {

Json::Json(const OptionalDate &value)
{
    if (value && value->isValid())
        m_value = value->toUTC().toString(Qt::ISODate);
}

QByteArray quoted(const QString &text)
{
    QByteArray out;
    const QByteArray utf8 = text.toUtf8();
    out.reserve(utf8.size() + 2);
    out.append('"');
    for (const char c : utf8) {
        switch (c) {
        case '"':
            out.append("\\\"");
            break;
        case '\\':
            out.append("\\\\");
            break;
        case '\n':
            out.append("\\n");
            break;
        case '\r':
            out.append("\\r");
            break;
        case '\t':
            out.append("\\t");
            break;
        case '\b':
            out.append("\\b");
            break;
        case '\f':
            out.append("\\f");
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
                out.append("\\u00").append(
                    QByteArray::number(static_cast<unsigned char>(c), 16).rightJustified(2, '0'));
            else
                out.append(c);
        }
    }
    out.append('"');
    return out;
}

QByteArray Json::serialize() const
{
    QByteArray out;
    write(out, 0);
    out.append('\n');
    return out;
}

void Json::write(QByteArray &out, int depth) const
{
    const QByteArray indent((depth + 1) * 2, ' ');
    const QByteArray closing(depth * 2, ' ');
    if (std::holds_alternative<std::monostate>(m_value)) {
        out.append("null");
    } else if (const bool *b = std::get_if<bool>(&m_value)) {
        out.append(*b ? "true" : "false");
    } else if (const qint64 *i = std::get_if<qint64>(&m_value)) {
        out.append(QByteArray::number(*i));
    } else if (const double *d = std::get_if<double>(&m_value)) {
        if (std::isfinite(*d))
            out.append(QByteArray::number(*d, 'g', QLocale::FloatingPointShortest));
        else
            out.append("null");
    } else if (const QString *s = std::get_if<QString>(&m_value)) {
        out.append(quoted(*s));
    } else if (const Array *a = std::get_if<Array>(&m_value)) {
        if (a->empty()) {
            out.append("[]");
            return;
        }
        out.append("[\n");
        for (size_t n = 0; n < a->size(); ++n) {
            out.append(indent);
            (*a)[n].write(out, depth + 1);
            out.append(n + 1 < a->size() ? ",\n" : "\n");
        }
        out.append(closing).append(']');
    } else if (const Object *o = std::get_if<Object>(&m_value)) {
        if (o->empty()) {
            out.append("{}");
            return;
        }
        out.append("{\n");
        for (size_t n = 0; n < o->size(); ++n) {
            out.append(indent).append(quoted((*o)[n].first)).append(": ");
            (*o)[n].second.write(out, depth + 1);
            out.append(n + 1 < o->size() ? ",\n" : "\n");
        }
        out.append(closing).append('}');
    }
}

} // namespace strataloom::cli
