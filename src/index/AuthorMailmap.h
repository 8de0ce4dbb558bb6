#pragma once

#include <QList>
#include <QString>

namespace strataloom {

class RepositoryIndex;

/// @brief A name and e-mail address as a commit records them, or as the mailmap maps them.
struct MailmapContact
{
    QString name;
    QString email;

    bool operator==(const MailmapContact &) const = default;
};

/**
 * @brief What the repository's mailmap follows from, as one text: the work tree's .mailmap,
 * mailmap.file and its content, mailmap.blob (HEAD:.mailmap in a bare repository) and the blob it
 * names. Equal texts mean the mailmap maps every contact the same way.
 */
QString mailmapState(const QString &repository);

/**
 * @brief @p contacts as `git check-mailmap` maps them, in the same order. A contact git cannot
 * take as an argument (a name or address holding "<", ">" or a line break) and any contact of a
 * run that git refuses stays as it is: a mailmap that cannot be applied never stops a
 * synchronisation.
 */
QList<MailmapContact> mappedContacts(const QString &repository,
                                     const QList<MailmapContact> &contacts);

/**
 * @brief Brings the index's mapped identities (author_identities) in step with the repository's
 * mailmap: recomputed only when the mailmap or the set of aliases changed since the last time.
 * Does nothing on a read-only index.
 * @return whether the stored identities were rewritten.
 */
bool updateAuthorIdentities(RepositoryIndex &index, const QString &repository);

} // namespace strataloom
