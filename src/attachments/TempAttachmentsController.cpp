#include "attachments/TempAttachmentsController.h"

#include "app/Quillfen_AppDelegate.h"
#include "attachments/AttachmentFiles.h"
#include "store/EntityDescription.h"
#include "store/ManagedObject.h"

#include <QFileInfo>

namespace qf {

TempAttachmentsController::TempAttachmentsController(Quillfen_AppDelegate& delegate, ManagedObject& transactionObject)
    : m_delegate(delegate), m_transactionObject(transactionObject)
{
}

QString TempAttachmentsController::transactionID() const
{
    return m_transactionObject.valueForKey(u"trans_uniqueID").toString();
}

QString TempAttachmentsController::attachmentsFolder() const
{
    return AttachmentFiles::attachmentsFolder(m_delegate.applicationSupportFolder());
}

QString TempAttachmentsController::transactionSupportFolder() const
{
    return AttachmentFiles::transactionFolder(m_delegate.applicationSupportFolder(), transactionID());
}

Result<ManagedObject*> TempAttachmentsController::createAttachmentObjectWithPath(const QString& path)
{
    Result<QString> copy = copyPathToSupportFolder(path);
    if (!copy)
        return copy.error();
    return createAttachmentRecord(copy.value());
}

Result<ManagedObject*> TempAttachmentsController::createAttachmentObjectWithData(const QByteArray& data,
                                                                                 const QString& fileName)
{
    if (fileName.isEmpty())
        return Result<ManagedObject*>::failure(QStringLiteral("An attachment needs a file name"));
    const QString path = transactionSupportFolder() + QLatin1Char('/') + fileName;
    if (Status s = AttachmentFiles::writeAtomically(path, data); !s)
        return s.error();
    return createAttachmentRecord(path);
}

Result<ManagedObject*> TempAttachmentsController::createAttachmentObjectWithImage(const QByteArray& imageData)
{
    Result<QString> stored = copyImageToSupportFolder(imageData);
    if (!stored)
        return stored.error();
    return createAttachmentRecord(stored.value());
}

Result<QString> TempAttachmentsController::copyImageToSupportFolder(const QByteArray& imageData)
{
    const QString folder = transactionSupportFolder();
    if (Status s = AttachmentFiles::ensureFolder(folder); !s)
        return s.error();
    // Names freed by deleted photos are taken again, lowest first.
    QString path;
    for (int i = 1;; ++i) {
        path = folder + QStringLiteral("/Photo %1.jpg").arg(i);
        if (!QFileInfo::exists(path))
            break;
    }
    if (Status s = AttachmentFiles::writeAtomically(path, imageData); !s)
        return s.error();
    return path;
}

Result<QString> TempAttachmentsController::copyPathToSupportFolder(const QString& path)
{
    return AttachmentFiles::copyPathIntoFolder(path, transactionSupportFolder());
}

ManagedObject* TempAttachmentsController::createAttachmentRecord(const QString& storedPath)
{
    ManagedObject* record =
        m_delegate.managedObjectContext()->insertNewObject(ManagedObjectModel::shared().attachment());
    record->setValueForKey(u"attachment_title", Value(QFileInfo(storedPath).fileName()));
    record->setValueForKey(u"attachment_path", Value(storedPath));
    record->setValueForKey(u"attachment_uniqueID", Value(m_delegate.createUniqueID()));
    record->setValueForKey(u"attachment_transParentID", Value(transactionID()));
    record->setValueForKey(u"attachment_dateAdded", Value::date(m_delegate.now()));
    return record;
}

} // namespace qf
