#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// What the single-transaction editor's widgets show and the user typed.
struct TransEditFields {
    QString type = QStringLiteral("Outgoing"); // "Incoming" or "Outgoing"
    QString repeat = QStringLiteral("Never");  // a title of repeatTitles()
    QString accountID;                          // empty: the "None" item
    bool pending = false;
    bool calendarEvent = false; // offered only while pending is on
    QString title;
    QString amount;
    QString date; // long format
    QString to;
    QString from;
    QStringList tags;
    QString notes;
};

// An item of the account selector after "None" and its separator.
struct AccountChoice {
    QString title;
    QString uniqueID;
};

// The field whose error marker the dialog shows when a save is refused.
enum class TransEditField { None, Title, Amount };

// The parts of the editor that live outside this class: the photo and
// attachment panes, the calendar script and the search index. An unset hook
// is a step that does not run.
struct TransEditHooks {
    // Adding: the attachments pane emptied and given the new transaction's id.
    std::function<void(const QString& transUniqueID)> prepareAttachmentsForNew;
    // Editing: the photo at trans_photo and the transaction's attachments shown.
    std::function<void(ManagedObject& record)> showMediaOfRecord;
    // Save steps: the photo pane's image written (or trans_photo cleared), and
    // the attachments added or removed in the pane stored.
    std::function<void(ManagedObject& record)> savePhoto;
    std::function<void(ManagedObject& record)> saveAttachments;
    // Runs when the calendar box is newly turned on.
    std::function<void(ManagedObject& record)> createCalendarEvent;
    // After the store is saved: the record indexed again for search.
    std::function<void(ManagedObject& record)> indexTransaction;
};

// The form state of the single-transaction editor (TransEditController),
// with no widgets: the dialog binds its inputs to fields() and calls the
// opening, ending-of-editing and save steps here. Main thread only.
class TransEditForm {
public:
    enum class SaveOutcome {
        Invalid,              // validateInfo() refused; invalidField() names the field
        Saved,                // written and the store saved
        ConfirmationNeeded,   // saved; the repeat copy waits for confirmReoccurence()
        StoreSaveFailed,      // written, but the store refused; storeStatus() says why
    };

    explicit TransEditForm(Quillfen_AppDelegate& delegate, TransEditHooks hooks = {});

    static const QStringList& repeatTitles();
    // The alert shown when a repeat copy awaits confirmation.
    static QString reoccurenceAlertTitle();
    static QString reoccurenceAlertText();

    TransEditFields& fields() { return m_fields; }
    const TransEditFields& fields() const { return m_fields; }
    const std::vector<AccountChoice>& accounts() const { return m_accounts; }

    bool isEditing() const { return m_isEditing; }
    ManagedObject* transObject() const { return m_transObject; }
    const QString& transUniqueID() const { return m_transUniqueID; }
    const std::optional<ValueDictionary>& addTransDefaults() const { return m_addTransDefaults; }

    // A new transaction: fresh id, cleared fields, then the defaults
    // trans_isPending, trans_direction and trans_accountID applied (others
    // ignored; trans_listIDs is written at save). Leaves no undo step.
    void showAddWindowWithDefaults(const ValueDictionary& defaults);
    // The record's values in the fields; nothing when it is already the one
    // in the form. A trans_accountID naming no existing account is cleared in
    // the record at once, whether or not the edit is saved.
    void showEditWithTransObject(ManagedObject& record);
    void cancel() { m_transObject = nullptr; }

    // Turning pending off turns the calendar box off.
    void setPending(bool pending);
    // The amount text read by the amount formatter (else its leading number),
    // signed by the type.
    float adjustedAmount() const;
    // The amount field re-shown as adjustedAmount() (ending its editing, or
    // after a type change).
    void reformatAmount();
    // Ending the date field's editing: long format, else short, shown long.
    // False (the dialog beeps) when neither reads it; the field is then emptied.
    bool endDateEditing();
    // The first field that blocks a save, None when the form may be saved.
    TransEditField validateInfo() const;

    SaveOutcome save();
    TransEditField invalidField() const { return m_invalidField; }
    const Status& storeStatus() const { return m_storeStatus; }
    bool needsReoccurenceConfirmation() const { return m_pendingReoccurence.has_value(); }
    // The alert's OK: the upcoming copy made from the saved values of the
    // record. The store is not saved. Null when nothing awaits confirmation.
    ManagedObject* confirmReoccurence();
    // The alert dismissed otherwise: no copy.
    void dropReoccurence() { m_pendingReoccurence.reset(); }

    // Earlier values of the key (trans_title) that begin with the text, other
    // than the text itself, each from partialWordStart on; first-seen order.
    QStringList hintsForKey(const QString& key, const QString& text, qsizetype partialWordStart) const;

    // Created on first use. The transaction's folder fails when
    // transUniqueID() is not one safe folder name.
    QString attachmentsFolder() const;
    Result<QString> transactionSupportFolder() const;

private:
    void setupAccounts();
    void clearTextFields();
    void setupFieldsWithDefaults(const ValueDictionary& defaults);
    void setupFieldsWithTransObject(ManagedObject& record);
    bool hasAccount(const QString& uniqueID) const;
    void setupReoccurence(const QString& repeat, ManagedObject& record);

    struct PendingReoccurence {
        QString recordUniqueID;
        AbsoluteTime due = 0;
    };

    Quillfen_AppDelegate& m_delegate;
    TransEditHooks m_hooks;
    TransEditFields m_fields;
    std::optional<TransEditFields> m_openedFields; // as shown when an existing record was opened
    std::vector<AccountChoice> m_accounts;
    bool m_isEditing = false;
    ManagedObject* m_transObject = nullptr;
    QString m_transUniqueID;
    std::optional<ValueDictionary> m_addTransDefaults;
    TransEditField m_invalidField = TransEditField::None;
    Status m_storeStatus;
    std::optional<PendingReoccurence> m_pendingReoccurence;
};

} // namespace qf
