#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <ostream>

/// @brief Lets GoogleTest print QString values as text in failure messages.
inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

/**
 * @brief A git repository in a temporary folder for one test, with fixed dates and identities.
 *
 * Every commit gets the date set with setDate() (default 2024-01-01T10:00:00Z) for both author
 * and committer unless a call says otherwise; nothing reads the user's git configuration. A git
 * failure while building a fixture goes to failureHandler: it fails the GoogleTest test, and ends
 * any other binary (the fixture is broken then).
 */
class TestRepository
{
public:
    /// @brief A fresh repository whose unborn branch is "main" (bare when @p bare).
    explicit TestRepository(bool bare = false);

    QString path() const { return m_path; }
    /// @brief Absolute path of @p relative inside the work tree.
    QString filePath(const QString &relative) const;

    void write(const QString &relative, const QByteArray &content) const;
    void remove(const QString &relative) const;

    /// @brief Runs git in the repository; a failure fails the test and returns "".
    QString git(const QStringList &arguments) const;
    /// @brief Runs git and returns its exit status, without failing the test.
    int gitStatus(const QStringList &arguments, QString *errorOutput = nullptr) const;

    /// @brief Writes @p object, byte for byte, as a git object of @p type; returns its hash.
    QString hashObject(const QByteArray &object, const QString &type = QStringLiteral("commit")) const;

    /// @brief Stages everything and commits (at @p date, an ISO-8601 text, when given); returns
    /// the new commit's full hash.
    QString commit(const QString &message, const QString &author = QStringLiteral("Ada Lovelace"),
                   const QString &email = QStringLiteral("ada@example.com"),
                   const QString &date = {});
    /// @brief Adds @p count commits on "main" in one fast-import run (each changes one of a few
    /// dozen files by several authors) and checks them out: a long history in a second or so.
    void importHistory(int count);
    void setDate(const QString &isoDate) { m_date = isoDate; }
    /// @brief Sets the date, then moves it on by @p seconds for every later commit.
    void setDateStep(qint64 seconds) { m_step = seconds; }

    static inline void (*failureHandler)(const QString &message)
        = [](const QString &message) { qFatal("%s", qPrintable(message)); };

private:
    QTemporaryDir m_dir;
    QString m_path;
    QString m_date = QStringLiteral("2024-01-01T10:00:00Z");
    qint64 m_step = 0;
};

/// @brief One commit of a history written with git fast-import: any parents, any dates, any
/// branch tips. For exact shapes (octopus merges, several roots, clock skew) and histories of
/// hundreds of commits, written in one git run.
struct ScriptCommit
{
    QString name; ///< unique within the script; the file it writes and its subject
    QString branch; ///< the branch it is written on; the branch's last commit is its tip
    qint64 time = 0; ///< author and committer date, seconds since 1970
    QStringList parents; ///< names of earlier commits; none for a root
    QString author = QStringLiteral("Ada");
    QString email = QStringLiteral("ada@example.com");
};

/// @brief Writes @p commits into @p repository in order and checks out main.
void writeHistory(const TestRepository &repository, const QList<ScriptCommit> &commits);

/// @brief Commits written as "name branch day parent..." (days from a fixed date, fractions
/// allowed), each by one of five authors chosen by the length of its name ("Ada", "bob", "Bob",
/// "Zed", "\u00c9mile") with one of three addresses.
QList<ScriptCommit> scripted(std::initializer_list<const char *> lines);

/// @brief Nine commits of five authors on four branches, merged into one another and into main.
QList<ScriptCommit> mergesOfMerges();

/// @brief Runs git with the test identity and dates in @p directory; returns stdout.
QString runGitIn(const QString &directory, const QStringList &arguments,
                 const QString &date = QStringLiteral("2024-01-01T10:00:00Z"),
                 int *status = nullptr, QString *errorOutput = nullptr);

/// @brief The user-facing text of the GitError that @p call throws, or "<no error>".
QString gitErrorOf(const std::function<void()> &call);

/// @brief The instant of an ISO-8601 text such as "2024-03-01T09:20:30Z".
QDateTime utcDate(const char *iso);

/// @brief "hash lane/lanes" of a commit drawn as @p drawing by `git log --graph`: the lane is the
/// column of its "*" over two; each lane is one of "|*/\" (an octopus's "-" and "." are none).
QString drawnLane(const QString &hash, const QString &drawing);

/// @brief drawnLane() of every commit of `git log --graph --all --date-order` in @p repository,
/// with full hashes unless @p options give another format.
QStringList gitGraphLanes(const TestRepository &repository, const QStringList &options = {});
