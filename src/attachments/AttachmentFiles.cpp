#include "attachments/AttachmentFiles.h"

#include "common/SafePathComponent.h"
#include "store/StoreOpener.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace qf {

namespace {

Status copyFolderContents(const QString& from, const QString& to, int depth)
{
    // Links can loop; a folder tree deeper than this is not an attachment.
    if (depth > 64)
        return Status::failure(QStringLiteral("Folder nesting too deep: %1").arg(from));
    if (!QDir().mkpath(to))
        return Status::failure(QStringLiteral("Could not make the folder %1").arg(to));
    const QDir source(from);
    const auto entries = source.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        const QString target = to + QLatin1Char('/') + entry.fileName();
        if (entry.isDir() && !entry.isSymLink()) {
            if (Status s = copyFolderContents(entry.filePath(), target, depth + 1); !s)
                return s;
        } else if (!QFile::copy(entry.filePath(), target)) {
            return Status::failure(QStringLiteral("Could not copy %1").arg(entry.filePath()));
        }
    }
    return Status::ok();
}

} // namespace

QString AttachmentFiles::attachmentsFolder(const QString& supportFolder)
{
    return supportFolder + QLatin1Char('/') + StoreFile::Attachments;
}

Result<QString> AttachmentFiles::transactionFolder(const QString& supportFolder, const QString& transID)
{
    return SafePathComponent::join(attachmentsFolder(supportFolder), transID);
}

Status AttachmentFiles::ensureFolder(const QString& folder)
{
    if (QFileInfo(folder).isDir() || QDir().mkpath(folder))
        return Status::ok();
    return Status::failure(QStringLiteral("Could not make the folder %1").arg(folder));
}

Result<QString> AttachmentFiles::copyPathIntoFolder(const QString& source, const QString& folder)
{
    const QFileInfo info(source);
    if (!info.exists())
        return Result<QString>::failure(QStringLiteral("No file at %1").arg(source));
    QString name = info.fileName();
    if (name.isEmpty()) // a folder given with a trailing "/"
        name = QFileInfo(info.absolutePath()).fileName();
    const Result<QString> joined = SafePathComponent::join(folder, name);
    if (!joined)
        return joined;
    if (Status s = ensureFolder(folder); !s)
        return s.error();
    const QString& target = joined.value();
    if (QFileInfo::exists(target))
        return target;
    if (info.isDir()) {
        if (Status s = copyFolderContents(info.absoluteFilePath(), target, 0); !s) {
            QDir(target).removeRecursively();
            return s.error();
        }
        return target;
    }
    if (!QFile::copy(source, target))
        return Result<QString>::failure(QStringLiteral("Could not copy %1 to %2").arg(source, target));
    return target;
}

Status AttachmentFiles::writeAtomically(const QString& path, const QByteArray& bytes)
{
    if (Status s = ensureFolder(QFileInfo(path).absolutePath()); !s)
        return s;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return Status::failure(QStringLiteral("Could not write %1: %2").arg(path, file.errorString()));
    return Status::ok();
}

} // namespace qf
