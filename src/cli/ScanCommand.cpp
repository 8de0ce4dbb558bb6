#include "cli/ScanCommand.h"

#include "cli/JsonOutput.h"
#include "app/RepositoryScanner.h"

#include <QDir>
#include <QFileInfo>

#include <cstdio>

namespace strataloom::cli {

namespace {

constexpr int exitFailure = 1;
constexpr int exitUsage = 2;

const char scanUsage[] = "Usage: strataloom-cli scan [<home>]\n";

int usageError(const QString &message)
{
    std::fprintf(stderr, "strataloom-cli: scan: %s\n", message.toUtf8().constData());
    std::fputs(scanUsage, stderr);
    return exitUsage;
}

int failure(const QString &message)
{
    std::fprintf(stderr, "strataloom-cli: %s\n", message.toUtf8().constData());
    return exitFailure;
}

} // namespace

int runScanCommand(const QStringList &arguments)
{
    if (arguments.size() > 1)
        return usageError(QStringLiteral("wrong number of arguments"));
    if (!arguments.isEmpty() && arguments[0].startsWith(QLatin1String("--"))
        && arguments[0].size() > 2)
        return usageError(QStringLiteral("unknown option ") + arguments[0]);

    const QString home = arguments.isEmpty() ? QDir::homePath() : arguments[0];
    const QFileInfo info(home);
    if (!info.exists())
        return failure(QStringLiteral("%1: no such folder").arg(home));
    if (!info.isDir())
        return failure(QStringLiteral("%1: not a folder").arg(home));

    const QList<DiscoveredRepository> repositories = RepositoryScanner(home).scan();
    const Json json = toJson(repositories);
    const QByteArray text = json.serialize();
    std::fwrite(text.constData(), 1, text.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : exitFailure;
}

} // namespace strataloom::cli
