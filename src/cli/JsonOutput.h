#pragma once

#include "git/GitRecords.h"

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
    Json(const std::optional<QString> &value);
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
    static Json strings(const QList<QString> &items);

    using Value = std::variant<std::monostate, bool, qint64, double, QString, Array, Object>;
    const Value &value() const { return m_value; }

    /// @brief Indented UTF-8 text with a final newline.
    QByteArray serialize() const;

private:
    void write(QByteArray &out, int depth) const;

    Value m_value;
};

QByteArray quoted(const QString &text);

Json toJson(const RepositorySummary &summary);
Json toJson(const CommitRecord &commit);
Json toJson(const GraphCommitRecord &line);
Json toJson(const BranchRecord &branch);
Json toJson(const TagRecord &tag);
Json toJson(const FileRecord &file);
Json toJson(const FileDetails &details);
Json toJson(const AuthorStat &author);
Json toJson(const AuthorDetails &details);
Json toJson(const ActivityPoint &point);
Json toJson(const CommitFileChange &change);

template<typename T> Json toJson(const QList<T> &items)
{
    return Json::array(items, [](const T &item) { return toJson(item); });
}

} // namespace strataloom::cli
