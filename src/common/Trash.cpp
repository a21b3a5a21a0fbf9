#include "common/Trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace qf {

Result<QString> Trash::move(const QString& path)
{
    const QString home = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash");
    QDir().mkpath(home + QStringLiteral("/files"));
    QDir().mkpath(home + QStringLiteral("/info"));
    QString trashed;
    if (!QFile::moveToTrash(path, &trashed))
        return Result<QString>::failure(
            QStringLiteral("%1 could not be moved to the Trash.").arg(QDir::toNativeSeparators(path)));
    return QFileInfo(trashed).absoluteFilePath();
}

} // namespace qf
