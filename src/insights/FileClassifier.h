#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace strataloom {

/**
 * @brief Names and sorts the files of one history as users see them, by the table in
 * Languages.json: the language of a file (by whole name, by extension, by the interpreter of an
 * extensionless script) and whether it was generated, vendored or locked rather than written.
 *
 * Some rules look at a file's neighbours anywhere in the history, hence the paths it is built on:
 * `configure` beside a `configure.ac` is generated; a man page or HTML page beside the Markdown
 * (or ronn, AsciiDoc...) source of the same name is rendered output; a `.txt` file in a folder
 * that holds an asciidoc configuration (or below one) is AsciiDoc.
 */
class FileClassifier
{
public:
    /// @param paths every path of the history
    explicit FileClassifier(const QStringList &paths);

    /// @brief Whether @p path is left out as generated, vendored, locked, minified or built;
    /// @p attributes are its PathAttribute bits (any of them excludes it).
    bool isExcluded(const QString &path, int attributes) const;
    /// @brief The language of @p path; @p interpreter is what its first line names, if anything.
    /// An unknown extension gives "." + the extension, an unknown file without one "Other".
    QString technology(const QString &path, const QString &interpreter) const;

private:
    bool hasNeighbour(const QString &folder, const QString &lowerName) const;
    bool inAsciidocFolder(const QString &folder) const;

    QSet<QString> m_lowerPaths;
    QSet<QString> m_asciidocFolders; // with a trailing slash; "" for the top
};

} // namespace strataloom
