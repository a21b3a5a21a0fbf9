#include "attachments/TransPhotoStore.h"

#include "attachments/AttachmentFiles.h"
#include "common/SafePathComponent.h"
#include "store/ManagedObject.h"
#include "store/RecordEnvironment.h"

#include <QFile>
#include <QFileInfo>

namespace qf {

namespace {

// The file trans_photo names inside the transaction's folder; empty when
// there is none or its name would lead elsewhere.
QString storedPhotoFile(const ManagedObject& transaction, const QString& folder)
{
    // trans_photo reads as the full path under the current data folder.
    const QString path = transaction.valueForKey(u"trans_photo").toString();
    if (path.isEmpty())
        return {};
    const Result<QString> file = SafePathComponent::join(folder, QFileInfo(path).fileName());
    return file ? file.value() : QString();
}

} // namespace

Status TransPhotoStore::savePhoto(ManagedObject& transaction, const RecordEnvironment& environment,
                                  const std::optional<QByteArray>& imageData)
{
    const Result<QString> folder = AttachmentFiles::transactionFolder(
        environment.applicationSupportFolder(), transaction.valueForKey(u"trans_uniqueID").toString());
    if (!folder)
        return folder.error();
    const QString oldPath = storedPhotoFile(transaction, folder.value());
    if (!imageData) {
        if (!oldPath.isEmpty() && QFile::exists(oldPath) && !QFile::remove(oldPath))
            return Status::failure(QStringLiteral("Could not delete the photo %1").arg(oldPath));
        transaction.setValueForKey(u"trans_photo", Value());
        return Status::ok();
    }
    // Joined, not appended: QSaveFile would write through a link to wherever it leads.
    const Result<QString> newPath = SafePathComponent::join(folder.value(), photoFileName());
    if (!newPath)
        return newPath.error();
    if (Status s = AttachmentFiles::writeAtomically(newPath.value(), *imageData); !s)
        return s;
    if (!oldPath.isEmpty() && oldPath != newPath.value() && QFile::exists(oldPath))
        QFile::remove(oldPath); // the new photo is safe; a leftover old file harms nothing
    transaction.setValueForKey(u"trans_photo", Value(newPath.value()));
    return Status::ok();
}

} // namespace qf
