#include "attachments/TransPhotoStore.h"

#include "attachments/AttachmentFiles.h"
#include "store/ManagedObject.h"
#include "store/RecordEnvironment.h"

#include <QFile>

namespace qf {

Status TransPhotoStore::savePhoto(ManagedObject& transaction, const RecordEnvironment& environment,
                                  const std::optional<QByteArray>& imageData)
{
    // trans_photo reads as the full path under the current data folder.
    const QString oldPath = transaction.valueForKey(u"trans_photo").toString();
    if (!imageData) {
        if (!oldPath.isEmpty() && QFile::exists(oldPath) && !QFile::remove(oldPath))
            return Status::failure(QStringLiteral("Could not delete the photo %1").arg(oldPath));
        transaction.setValueForKey(u"trans_photo", Value());
        return Status::ok();
    }
    const QString transID = transaction.valueForKey(u"trans_uniqueID").toString();
    const QString newPath = AttachmentFiles::transactionFolder(environment.applicationSupportFolder(), transID) +
                            QLatin1Char('/') + photoFileName();
    if (Status s = AttachmentFiles::writeAtomically(newPath, *imageData); !s)
        return s;
    if (!oldPath.isEmpty() && oldPath != newPath && QFile::exists(oldPath))
        QFile::remove(oldPath); // the new photo is safe; a leftover old file harms nothing
    transaction.setValueForKey(u"trans_photo", Value(newPath));
    return Status::ok();
}

} // namespace qf
