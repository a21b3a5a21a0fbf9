#include "attachments/AttachmentStaging.h"

#include "app/Quillfen_AppDelegate.h"
#include "attachments/AttachmentFiles.h"
#include "common/Trash.h"
#include "store/EntityDescription.h"
#include "store/ManagedObject.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace qf {

namespace {

const QString kTitle = QStringLiteral("attachment_title");
const QString kPath = QStringLiteral("attachment_path");
const QString kUniqueID = QStringLiteral("attachment_uniqueID");
const QString kParentID = QStringLiteral("attachment_transParentID");
const QString kDateAdded = QStringLiteral("attachment_dateAdded");

QString stringOf(const ValueDictionary& row, const QString& key)
{
    const auto it = row.find(key);
    return it == row.end() ? QString() : it->second.toString();
}

auto byID(const QString& uniqueID)
{
    return [uniqueID](const ValueDictionary& row) { return stringOf(row, kUniqueID) == uniqueID; };
}

bool eraseByID(std::vector<ValueDictionary>& rows, const QString& uniqueID)
{
    const auto it = std::find_if(rows.begin(), rows.end(), byID(uniqueID));
    if (it == rows.end())
        return false;
    rows.erase(it);
    return true;
}

} // namespace

AttachmentStaging::AttachmentStaging(Quillfen_AppDelegate& delegate)
    : m_delegate(delegate), m_trash([](const QString& path) { return Trash::move(path).isOk(); })
{
}

void AttachmentStaging::setCurrentAttachments(const std::vector<ManagedObject*>& attachments)
{
    static const QStringList keys{kTitle, kPath, kUniqueID, kParentID, kDateAdded};
    m_currentAttachments.clear();
    for (const ManagedObject* attachment : attachments) {
        ValueDictionary values = attachment->committedValuesForKeys(keys);
        // A record made since the last save has no committed values yet.
        if (values.empty())
            for (const QString& key : keys)
                values[key] = attachment->valueForKey(key);
        m_currentAttachments.push_back(std::move(values));
    }
    m_rows = m_currentAttachments;
    m_newCurrentAttachments.clear();
    m_removeCurrentAttachments.clear();
}

void AttachmentStaging::addFilesToDatabase(const QStringList& paths)
{
    for (const QString& path : paths)
        addFileToDatabase(path);
}

const ValueDictionary& AttachmentStaging::addFileToDatabase(const QString& path)
{
    ValueDictionary row{
        {kTitle, Value(QFileInfo(path).fileName())},
        {kPath, Value(path)},
        {kUniqueID, Value(m_delegate.createUniqueID())},
        {kParentID, Value(m_transID)},
        {kDateAdded, Value::date(m_delegate.now())},
    };
    m_newCurrentAttachments.push_back(row);
    m_rows.push_back(std::move(row));
    return m_rows.back();
}

bool AttachmentStaging::removeAttachment(const QString& uniqueID)
{
    const auto row = std::find_if(m_rows.begin(), m_rows.end(), byID(uniqueID));
    if (row == m_rows.end())
        return false;
    if (!eraseByID(m_newCurrentAttachments, uniqueID))
        m_removeCurrentAttachments.push_back(*row);
    m_rows.erase(row);
    return true;
}

void AttachmentStaging::search(const QString& text)
{
    if (text.isEmpty()) {
        m_filter = Predicate();
        return;
    }
    Result<Predicate> parsed =
        Predicate::parse(u"%K contains[cd] %@", {Value(kTitle), Value(text)});
    m_filter = parsed ? std::move(parsed).value() : Predicate();
}

std::vector<ValueDictionary> AttachmentStaging::arrangedRows() const
{
    if (m_filter.isNull())
        return m_rows;
    std::vector<ValueDictionary> shown;
    for (const ValueDictionary& row : m_rows)
        if (m_filter.evaluate(Value(row)))
            shown.push_back(row);
    return shown;
}

const ValueDictionary* AttachmentStaging::rowWithID(const QString& uniqueID) const
{
    const auto it = std::find_if(m_rows.begin(), m_rows.end(), byID(uniqueID));
    return it == m_rows.end() ? nullptr : &*it;
}

QString AttachmentStaging::currentPathOfAttachment(const QString& uniqueID) const
{
    const ValueDictionary* row = rowWithID(uniqueID);
    if (!row)
        return {};
    const QString path = stringOf(*row, kPath);
    const bool staged = std::any_of(m_newCurrentAttachments.begin(), m_newCurrentAttachments.end(), byID(uniqueID));
    return staged ? path : m_delegate.obtainAttachmentPathFrom(path);
}

std::vector<AttachmentFileFailure> AttachmentStaging::applyStagedChanges()
{
    std::vector<AttachmentFileFailure> failures;
    ManagedObjectContext* context = m_delegate.managedObjectContext();
    const Result<QString> folder = AttachmentFiles::transactionFolder(m_delegate.applicationSupportFolder(), m_transID);

    for (const ValueDictionary& staged : m_newCurrentAttachments) {
        ManagedObject* record = context->insertNewObject(ManagedObjectModel::shared().attachment());
        for (const auto& [key, value] : staged)
            record->setValueForKey(key, value);
        // The record keeps the original path when the copy fails, so the
        // attachment still opens from where the user picked it.
        const QString source = stringOf(staged, kPath);
        const Result<QString> copy = folder ? AttachmentFiles::copyPathIntoFolder(source, folder.value()) : folder;
        if (copy)
            record->setValueForKey(kPath, Value(copy.value()));
        else
            failures.push_back({source, copy.message()});
    }

    for (const ValueDictionary& removed : m_removeCurrentAttachments) {
        ManagedObject* record = m_delegate.fetchAttachmentWithID(stringOf(removed, kUniqueID));
        if (!record)
            continue;
        const QString stored = record->valueForKey(kPath).toString();
        const QString file = m_delegate.obtainAttachmentPathFrom(stored);
        if (file.isEmpty() && !stored.isEmpty())
            qWarning("Attachment file not moved to the Trash: \"%s\" names no file inside the attachments folder",
                     qPrintable(stored));
        if (!file.isEmpty() && QFileInfo::exists(file) && !m_trash(file)) {
            failures.push_back({file, QStringLiteral("Could not move %1 to the Trash").arg(file)});
            continue;
        }
        context->deleteObject(record);
    }

    setCurrentAttachments(m_delegate.fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"), kParentID,
                                                                Value(m_transID)));
    return failures;
}

} // namespace qf
