#pragma once

#include "common/Predicate.h"
#include "common/Value.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// One file that could not be copied into, or moved out of, a transaction's
// folder. Its record stays: the stored copy, or the record pointing at the
// original file, is never lost because of it.
struct AttachmentFileFailure {
    QString path;
    QString message;
};

// The attachments of one transaction while its editor is open: the stored
// ones, additions and removals staged until the editor saves, and the rows the
// pane shows. Rows are plain dictionaries keyed by the attachment_* keys and
// told apart by attachment_uniqueID. Nothing reaches the store or the disk
// before applyStagedChanges().
class AttachmentStaging {
public:
    // Moves a file to the Trash; false when it could not.
    using TrashFunction = std::function<bool(const QString& path)>;

    // The delegate must outlive this object.
    explicit AttachmentStaging(Quillfen_AppDelegate& delegate);

    void setTransID(const QString& transID) { m_transID = transID; }
    const QString& transID() const { return m_transID; }
    // Tests put a failing or recording trash here; the default is the desktop's.
    void setTrashFunction(TrashFunction trash) { m_trash = std::move(trash); }

    // Shows the records' committed values (current ones for a record not yet
    // saved) and empties both staging lists.
    void setCurrentAttachments(const std::vector<ManagedObject*>& attachments);

    // Stages each path; the files are read only when the changes are applied.
    void addFilesToDatabase(const QStringList& paths);
    // Returns the staged row.
    const ValueDictionary& addFileToDatabase(const QString& path);
    // A stored attachment is staged for removal; a staged addition is simply
    // dropped. False when no row has that identifier.
    bool removeAttachment(const QString& uniqueID);

    // Filters the rows by title, ignoring case and diacritics; an empty text
    // shows all.
    void search(const QString& text);
    // The rows as shown: filtered, in the order they were added.
    std::vector<ValueDictionary> arrangedRows() const;
    const ValueDictionary* rowWithID(const QString& uniqueID) const;
    // Where a row's file is now: a staged addition where it was picked, a
    // stored attachment under the current data folder. Empty for no such row.
    QString currentPathOfAttachment(const QString& uniqueID) const;

    const std::vector<ValueDictionary>& currentAttachments() const { return m_currentAttachments; }
    const std::vector<ValueDictionary>& newCurrentAttachments() const { return m_newCurrentAttachments; }
    const std::vector<ValueDictionary>& removeCurrentAttachments() const { return m_removeCurrentAttachments; }

    // The editor's save step: staged additions become records whose files are
    // copied into the transaction's folder; staged removals are deleted from
    // the context and their files moved to the Trash. A removal whose file
    // cannot be trashed keeps its record. The context is not saved here.
    // Afterwards the rows show the transaction's attachments and nothing is
    // staged. Returns the files that failed, empty when all went well.
    std::vector<AttachmentFileFailure> applyStagedChanges();

private:
    Quillfen_AppDelegate& m_delegate;
    QString m_transID;
    TrashFunction m_trash;
    std::vector<ValueDictionary> m_rows;
    std::vector<ValueDictionary> m_currentAttachments;
    std::vector<ValueDictionary> m_newCurrentAttachments;
    std::vector<ValueDictionary> m_removeCurrentAttachments;
    Predicate m_filter;
};

} // namespace qf
