#pragma once

#include "git/GitRecordFields.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace strataloom::cli {

/**
 * @brief A JSON value whose objects keep their fields in the order they were added.
 *
 * QJsonObject sorts its keys; our output lists a record's fields in the record's own order.
 */
class Json
{
public:
    using Array = std::vector<Json>;
    using Object = std::vector<std::pair<QString, Json>>;

    Json() = default; ///< null
    Json(std::nullptr_t) { }
    Json(bool value)
        : m_value(value)
    { }
    Json(int value)
        : m_value(qint64(value))
    { }
    Json(qint64 value)
        : m_value(value)
    { }
    Json(double value)
        : m_value(value)
    { }
    Json(const QString &value)
        : m_value(value)
    { }
    Json(const char *value)
        : m_value(QString::fromUtf8(value))
    { }
    Json(Array value)
        : m_value(std::move(value))
    { }
    Json(Object value)
        : m_value(std::move(value))
    { }
    /// @brief An ISO-8601 UTC text with seconds, or null.
    Json(const OptionalDate &value);
    Json(const QDateTime &value)
        : Json(OptionalDate(value))
    { }

    template<typename T, typename Convert> static Json array(const QList<T> &items, Convert convert)
    {
        Array out;
        out.reserve(items.size());
        for (const T &item : items)
            out.push_back(convert(item));
        return out;
    }

    using Value = std::variant<std::monostate, bool, qint64, double, QString, Array, Object>;
    const Value &value() const { return m_value; }

    /// @brief Indented UTF-8 text with a final newline.
    QByteArray serialize() const;

private:
    void write(QByteArray &out, int depth) const;

    Value m_value;
};

QByteArray quoted(const QString &text);

/**
 * @brief @p value as JSON: a record (anything with a field list, visitFields) as an object of
 * its fields in the record's order, a list as an array, an absent value as null, a date as an
 * ISO-8601 UTC text (null when invalid), numbers, texts and flags as themselves.
 *
 * The field lists are found by argument-dependent lookup where the record is converted:
 * include the record's field header there (git/GitRecordFields.h, insights/InsightFields.h...).
 */
template<typename T> Json toJson(const T &value)
{
    if constexpr (HasFields<T>) {
        Json::Object object;
        visitFields(value, [&object](const char *name, const auto &field) {
            object.emplace_back(QString::fromLatin1(name), toJson(field));
        });
        return object;
    } else if constexpr (fieldtypes::isOptional<T>) {
        return value ? toJson(*value) : Json();
    } else if constexpr (fieldtypes::isList<T>) {
        return Json::array(value, [](const auto &item) { return toJson(item); });
    } else {
        return Json(value);
    }
}

} // namespace strataloom::cli
