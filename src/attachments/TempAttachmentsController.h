#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// Makes attachment records and their files for one transaction at once, with
// no editor staging in between (files and photos that arrive from elsewhere).
// Records are inserted into the delegate's context, which is not saved here.
class TempAttachmentsController {
public:
    // Both must outlive this object.
    TempAttachmentsController(Quillfen_AppDelegate& delegate, ManagedObject& transactionObject);

    QString transactionID() const;
    QString attachmentsFolder() const;
    // Fails when the transaction's identifier is not a safe folder name.
    Result<QString> transactionSupportFolder() const;

    // Copies the file (or folder) into the transaction's folder and records
    // the copy; an existing entry of that name is recorded instead of copied.
    Result<ManagedObject*> createAttachmentObjectWithPath(const QString& path);
    // Writes data atomically at <transaction folder>/<fileName>, replacing a
    // file there. fileName must be one safe name: a peer's "../x" or "a/b"
    // is refused.
    Result<ManagedObject*> createAttachmentObjectWithData(const QByteArray& data, const QString& fileName);
    // imageData is an already encoded image; its bytes are stored unchanged.
    Result<ManagedObject*> createAttachmentObjectWithImage(const QByteArray& imageData);

    // Writes the image under the first free "Photo %i.jpg" from 1.
    Result<QString> copyImageToSupportFolder(const QByteArray& imageData);
    Result<QString> copyPathToSupportFolder(const QString& path);

private:
    ManagedObject* createAttachmentRecord(const QString& storedPath);

    Quillfen_AppDelegate& m_delegate;
    ManagedObject& m_transactionObject;
};

} // namespace qf
