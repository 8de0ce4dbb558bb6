#include "cli/JsonOutput.h"

#include <QLocale>

#include <cmath>

namespace strataloom::cli {

Json::Json(const std::optional<QString> &value)
{
    if (value)
        m_value = *value;
}

Json::Json(const OptionalDate &value)
{
    if (value && value->isValid())
        m_value = value->toUTC().toString(Qt::ISODate);
}

Json Json::strings(const QList<QString> &items)
{
    return array(items, [](const QString &item) { return Json(item); });
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

Json toJson(const RepositorySummary &s)
{
    return Json::Object {
        {QStringLiteral("path"), s.path},
        {QStringLiteral("name"), s.name},
        {QStringLiteral("currentBranch"), s.currentBranch},
        {QStringLiteral("remoteURL"), s.remoteURL},
        {QStringLiteral("isClean"), s.isClean},
        {QStringLiteral("statusUnavailableReason"), s.statusUnavailableReason},
        {QStringLiteral("commitCount"), s.commitCount},
        {QStringLiteral("branchCount"), s.branchCount},
        {QStringLiteral("tagCount"), s.tagCount},
        {QStringLiteral("authorCount"), s.authorCount},
        {QStringLiteral("trackedFileCount"), s.trackedFileCount},
        {QStringLiteral("firstCommitDate"), s.firstCommitDate},
        {QStringLiteral("latestCommitDate"), s.latestCommitDate},
        {QStringLiteral("repositorySizeBytes"), s.repositorySizeBytes},
        {QStringLiteral("gitSizeBytes"), s.gitSizeBytes},
        {QStringLiteral("longestInactivityDays"), s.longestInactivityDays},
        {QStringLiteral("commitsPerMonth"), s.commitsPerMonth},
        {QStringLiteral("activityTrendPercent"), s.activityTrendPercent},
    };
}

Json toJson(const CommitRecord &c)
{
    return Json::Object {
        {QStringLiteral("id"), c.id},
        {QStringLiteral("shortHash"), c.shortHash},
        {QStringLiteral("author"), c.author},
        {QStringLiteral("email"), c.email},
        {QStringLiteral("date"), c.date},
        {QStringLiteral("subject"), c.subject},
        {QStringLiteral("body"), c.body},
        {QStringLiteral("additions"), c.additions},
        {QStringLiteral("deletions"), c.deletions},
        {QStringLiteral("filesChanged"), c.filesChanged},
    };
}

Json toJson(const GraphCommitRecord &g)
{
    return Json::Object {
        {QStringLiteral("id"), g.id},
        {QStringLiteral("graph"), g.graph},
        {QStringLiteral("shortHash"), g.shortHash},
        {QStringLiteral("relativeDate"), g.relativeDate},
        {QStringLiteral("subject"), g.subject},
        {QStringLiteral("author"), g.author},
        {QStringLiteral("decorations"), g.decorations},
    };
}

Json toJson(const BranchRecord &b)
{
    return Json::Object {
        {QStringLiteral("name"), b.name},
        {QStringLiteral("isCurrent"), b.isCurrent},
        {QStringLiteral("isRemote"), b.isRemote},
        {QStringLiteral("lastCommitHash"), b.lastCommitHash},
        {QStringLiteral("lastCommitDate"), b.lastCommitDate},
        {QStringLiteral("lastAuthor"), b.lastAuthor},
    };
}

Json toJson(const TagRecord &t)
{
    return Json::Object {
        {QStringLiteral("name"), t.name},
        {QStringLiteral("objectHash"), t.objectHash},
        {QStringLiteral("date"), t.date},
        {QStringLiteral("subject"), t.subject},
    };
}

Json toJson(const FileRecord &f)
{
    return Json::Object {
        {QStringLiteral("path"), f.path},
        {QStringLiteral("status"), f.status},
        {QStringLiteral("lastCommitDate"), f.lastCommitDate},
        {QStringLiteral("lastAuthor"), f.lastAuthor},
    };
}

Json toJson(const FileDetails &f)
{
    return Json::Object {
        {QStringLiteral("path"), f.path},
        {QStringLiteral("sizeBytes"), f.sizeBytes},
        {QStringLiteral("commitCount"), f.commitCount},
        {QStringLiteral("authors"), Json::strings(f.authors)},
        {QStringLiteral("firstCommitDate"), f.firstCommitDate},
        {QStringLiteral("lastCommitDate"), f.lastCommitDate},
        {QStringLiteral("lastAuthor"), f.lastAuthor},
    };
}

Json toJson(const AuthorStat &a)
{
    return Json::Object {{QStringLiteral("name"), a.name}, {QStringLiteral("commits"), a.commits}};
}

Json toJson(const ActivityPoint &p)
{
    return Json::Object {{QStringLiteral("date"), p.date}, {QStringLiteral("count"), p.count}};
}

Json toJson(const AuthorDetails &a)
{
    return Json::Object {
        {QStringLiteral("name"), a.name},
        {QStringLiteral("emails"), Json::strings(a.emails)},
        {QStringLiteral("commits"), a.commits},
        {QStringLiteral("additions"), a.additions},
        {QStringLiteral("deletions"), a.deletions},
        {QStringLiteral("firstCommitDate"), a.firstCommitDate},
        {QStringLiteral("lastCommitDate"), a.lastCommitDate},
        {QStringLiteral("activity"), toJson(a.activity)},
    };
}

Json toJson(const CommitFileChange &c)
{
    return Json::Object {{QStringLiteral("status"), c.status}, {QStringLiteral("path"), c.path}};
}

} // namespace strataloom::cli
