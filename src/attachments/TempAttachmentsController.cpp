#include "attachments/TempAttachmentsController.h"

#include "app/Quillfen_AppDelegate.h"
#include "attachments/AttachmentFiles.h"
#include "common/SafePathComponent.h"
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

Result<QString> TempAttachmentsController::transactionSupportFolder() const
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
    const Result<QString> folder = transactionSupportFolder();
    if (!folder)
        return folder.error();
    const Result<QString> path = SafePathComponent::join(folder.value(), fileName);
    if (!path)
        return path.error();
    if (Status s = AttachmentFiles::writeAtomically(path.value(), data); !s)
        return s.error();
    return createAttachmentRecord(path.value());
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
    const Result<QString> folder = transactionSupportFolder();
    if (!folder)
        return folder;
    if (Status s = AttachmentFiles::ensureFolder(folder.value()); !s)
        return s.error();
    // Names freed by deleted photos are taken again, lowest first. A link,
    // even one leading nowhere, holds its name: writing would follow it.
    QString path;
    for (int i = 1;; ++i) {
        path = folder.value() + QStringLiteral("/Photo %1.jpg").arg(i);
        const QFileInfo entry(path);
        if (!entry.exists() && !entry.isSymLink())
            break;
    }
    if (Status s = AttachmentFiles::writeAtomically(path, imageData); !s)
        return s.error();
    return path;
}

Result<QString> TempAttachmentsController::copyPathToSupportFolder(const QString& path)
{
    const Result<QString> folder = transactionSupportFolder();
    if (!folder)
        return folder;
    return AttachmentFiles::copyPathIntoFolder(path, folder.value());
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
