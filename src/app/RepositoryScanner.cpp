#include "app/RepositoryScanner.h"

#include "insights/FileTree.h"

#include <QCollator>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace strataloom {

namespace {

constexpr std::string_view gitEntry = ".git";
constexpr std::string_view headEntry = "HEAD";
constexpr std::string_view objectsEntry = "objects";
constexpr std::string_view refsEntry = "refs";

bool isSkippedAtTopLevel(std::string_view name)
{
    return name == "Library" || name == ".Trash";
}

bool isSkippedAnywhere(std::string_view name)
{
    return name == "node_modules" || name == "DerivedData" || name == ".build";
}

bool existsAt(int directory, const char *name)
{
    struct stat status;
    return ::fstatat(directory, name, &status, 0) == 0;
}

bool isFolderAt(int directory, const char *name)
{
    struct stat status;
    return ::fstatat(directory, name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

bool isRepositoryAt(int directory)
{
    return existsAt(directory, gitEntry.data())
        || (existsAt(directory, headEntry.data()) && isFolderAt(directory, objectsEntry.data())
            && isFolderAt(directory, refsEntry.data()));
}

// What one read of a folder tells: whether it is a repository, and the subfolders to visit.
struct FolderListing
{
    bool isRepository = false;
    std::vector<std::string> subfolders;
};

// One kind of entry as readdir reports it, resolved with a stat only where the kind is unknown
// or a link (the markers of a repository count through links, as git itself sees them).
class EntryKinds
{
public:
    explicit EntryKinds(int directory)
        : m_directory(directory)
    { }

    bool exists(const dirent &entry) const
    {
        return entry.d_type != DT_LNK || existsAt(m_directory, entry.d_name);
    }
    bool isFolder(const dirent &entry) const
    {
        if (entry.d_type == DT_DIR)
            return true;
        if (entry.d_type == DT_LNK || entry.d_type == DT_UNKNOWN)
            return isFolderAt(m_directory, entry.d_name);
        return false;
    }
    // A real folder, not a link to one: the only kind the walk descends into.
    bool isPlainFolder(const dirent &entry) const
    {
        if (entry.d_type != DT_UNKNOWN)
            return entry.d_type == DT_DIR;
        struct stat status;
        return ::fstatat(m_directory, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0
            && S_ISDIR(status.st_mode);
    }

private:
    int m_directory;
};

/**
 * Reads the folder at @p path once. @p depth is the folder's depth below the home folder (0 for
 * the home folder itself), which decides the top-level pruning of its subfolders.
 */
std::optional<FolderListing> readFolder(const std::string &path, int depth, bool followLink)
{
    // O_NOFOLLOW closes the gap between readdir saying "folder" and the open: a folder swapped
    // for a link in between is not entered.
    const int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW);
    const int descriptor = ::open(path.c_str(), flags);
    if (descriptor < 0)
        return std::nullopt;
    DIR *folder = ::fdopendir(descriptor);
    if (!folder) {
        ::close(descriptor);
        return std::nullopt;
    }

    const EntryKinds kinds(descriptor);
    FolderListing listing;
    bool hasGit = false;
    bool hasHead = false;
    bool hasObjects = false;
    bool hasRefs = false;
    while (const dirent *entry = ::readdir(folder)) {
        const std::string_view name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        if (name == gitEntry)
            hasGit = hasGit || kinds.exists(*entry);
        else if (name == headEntry)
            hasHead = hasHead || kinds.exists(*entry);
        else if (name == objectsEntry)
            hasObjects = hasObjects || kinds.isFolder(*entry);
        else if (name == refsEntry)
            hasRefs = hasRefs || kinds.isFolder(*entry);

        if (hasGit || !kinds.isPlainFolder(*entry))
            continue;
        if ((depth == 0 && isSkippedAtTopLevel(name)) || isSkippedAnywhere(name))
            continue;
        listing.subfolders.emplace_back(name);
    }
    ::closedir(folder);

    listing.isRepository = hasGit || (hasHead && hasObjects && hasRefs);
    if (listing.isRepository)
        listing.subfolders.clear();
    return listing;
}

void sortRepositories(QList<DiscoveredRepository> &repositories)
{
    const QCollator collator = fileNameCollator();
    std::sort(repositories.begin(), repositories.end(),
              [&](const DiscoveredRepository &left, const DiscoveredRepository &right) {
                  if (const int byName = collator.compare(left.name, right.name))
                      return byName < 0;
                  if (const int byPath = collator.compare(left.path, right.path))
                      return byPath < 0;
                  // Paths that differ only in case: keep every scan's order the same.
                  return left.path < right.path;
              });
}

QString lastComponent(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

RepositoryScanner::RepositoryScanner(const QString &homeDirectory)
    : m_homeDirectory(standardizedPath(homeDirectory))
{
    // The freedesktop.org trash; a relative XDG_DATA_HOME is invalid and ignored, as the
    // specification of base directories asks.
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    const QString data = QDir::isAbsolutePath(dataHome)
        ? dataHome
        : m_homeDirectory + QStringLiteral("/.local/share");
    m_trashDirectory = standardizedPath(data + QStringLiteral("/Trash"));
}

QList<DiscoveredRepository> RepositoryScanner::scan() const
{
    QList<DiscoveredRepository> found;
    const auto discovered = [&](const std::string &path) {
        const QString decoded = QFile::decodeName(QByteArray::fromStdString(path));
        found.append({lastComponent(decoded), decoded});
    };

    const std::string root = QFile::encodeName(m_homeDirectory).toStdString();
    // The home folder itself may be a link (/home -> /usr/home); only links below it are not
    // followed.
    const std::optional<FolderListing> top = readFolder(root, 0, true);
    if (!top) {
        if (isRepository(m_homeDirectory))
            found.append({lastComponent(m_homeDirectory), m_homeDirectory});
        return found;
    }
    if (top->isRepository) {
        discovered(root);
        return found;
    }

    // Depth first with an explicit stack: no recursion limit on deep trees, and subfolders are
    // pushed in reverse so that they are visited in the order the folder lists them.
    const std::string prefix = root.ends_with('/') ? root : root + '/';
    std::vector<std::pair<std::string, int>> pending;
    const std::string trash = QFile::encodeName(m_trashDirectory).toStdString();
    const auto push = [&](const std::string &parent, int depth, const FolderListing &listing) {
        for (auto name = listing.subfolders.rbegin(); name != listing.subfolders.rend(); ++name) {
            std::string path = parent + *name;
            if (path != trash)
                pending.emplace_back(std::move(path), depth);
        }
    };
    push(prefix, 1, *top);
    while (!pending.empty()) {
        auto [path, depth] = std::move(pending.back());
        pending.pop_back();
        const std::optional<FolderListing> listing = readFolder(path, depth, false);
        if (!listing) {
            // A folder that cannot be listed may still be searchable (execute-only permission);
            // one that became a link since it was listed is left alone.
            struct stat status;
            if (::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)
                && isRepository(QFile::decodeName(QByteArray::fromStdString(path))))
                discovered(path);
            continue;
        }
        if (listing->isRepository) {
            discovered(path);
            continue;
        }
        push(path + '/', depth + 1, *listing);
    }

    sortRepositories(found);
    return found;
}

bool RepositoryScanner::isRepository(const QString &path)
{
    const QByteArray encoded = QFile::encodeName(path);
    const int descriptor = ::open(encoded.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool repository = isRepositoryAt(descriptor);
    ::close(descriptor);
    return repository;
}

bool RepositoryScanner::shouldSkipDirectory(const QString &path, const QString &root)
{
    const QStringList pieces
        = path.mid(root.size() + 1).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (!pieces.isEmpty()
        && (pieces.first() == QLatin1String("Library")
            || pieces.first() == QLatin1String(".Trash")))
        return true;
    const QByteArray name = QFile::encodeName(lastComponent(path));
    return isSkippedAnywhere(std::string_view(name.constData(), name.size()));
}

} // namespace strataloom
