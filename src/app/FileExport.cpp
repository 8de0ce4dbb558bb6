#include "app/FileExport.h"

#include <QSaveFile>

#include <stdexcept>

namespace strataloom {

void writeExportFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    const auto fail = [&path](const QString &reason) {
        throw std::runtime_error(
            QStringLiteral("Unable to write \"%1\": %2").arg(path, reason).toStdString());
    };
    if (!file.open(QIODevice::WriteOnly))
        fail(file.errorString());
    if (file.write(bytes) != bytes.size())
        fail(file.errorString());
    if (!file.commit())
        fail(file.errorString());
}

} // namespace strataloom
