#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace qf {

class ManagedObject;
class RecordEnvironment;

// The one photo of a transaction, kept as "Trans_Photo.jpg" in the
// transaction's attachments folder with its path in trans_photo.
class TransPhotoStore {
public:
    static QString photoFileName() { return QStringLiteral("Trans_Photo.jpg"); }

    // The editor's save step for the photo. imageData is the encoded photo,
    // stored as given, or none when the photo was removed. The new file is
    // written before the old one goes, so a failed write leaves the stored
    // photo and trans_photo as they were. A trans_uniqueID that is not one
    // safe name fails and touches nothing.
    static Status savePhoto(ManagedObject& transaction, const RecordEnvironment& environment,
                            const std::optional<QByteArray>& imageData);
};

} // namespace qf
