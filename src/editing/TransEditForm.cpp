#include "editing/TransEditForm.h"

#include "app/Quillfen_AppDelegate.h"
#include "attachments/AttachmentFiles.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/QFNSStringCategory.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "store/UndoManager.h"

#include <QDir>
#include <algorithm>
#include <cmath>

namespace qf {

namespace {

const QString kIncoming = QStringLiteral("Incoming");
const QString kOutgoing = QStringLiteral("Outgoing");
const QString kNever = QStringLiteral("Never");

// Empty fields are stored as empty texts, not as missing values.
Value textValue(const QString& text)
{
    return Value(text.isNull() ? QStringLiteral("") : text);
}

QString storedText(const ManagedObject& record, QStringView key)
{
    const Value value = record.valueForKey(key);
    return value.isString() ? value.toString() : QString();
}

} // namespace

TransEditForm::TransEditForm(Quillfen_AppDelegate& delegate, TransEditHooks hooks)
    : m_delegate(delegate), m_hooks(std::move(hooks))
{
}

const QStringList& TransEditForm::repeatTitles()
{
    static const QStringList titles{kNever,
                                    QStringLiteral("Daily"),
                                    QStringLiteral("Weekly"),
                                    QStringLiteral("Bi-Weekly"),
                                    QStringLiteral("Monthly"),
                                    QStringLiteral("Yearly")};
    return titles;
}

QString TransEditForm::reoccurenceAlertTitle()
{
    return QObject::tr("Reocurring Transaction Added to the Bill Manager");
}

QString TransEditForm::reoccurenceAlertText()
{
    return QObject::tr("A new Upcoming transction will be added with your repeat setting to the Bill Manager.");
}

void TransEditForm::showAddWindowWithDefaults(const ValueDictionary& defaults)
{
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    UndoManager& undo = context.undoManager();
    undo.disableUndoRegistration();
    m_transUniqueID = m_delegate.createUniqueID();
    m_addTransDefaults = defaults;
    if (m_hooks.prepareAttachmentsForNew)
        m_hooks.prepareAttachmentsForNew(m_transUniqueID);
    context.processPendingChanges();
    undo.enableUndoRegistration();

    m_isEditing = false;
    m_transObject = nullptr;
    m_pendingReoccurence.reset();
    setupAccounts();
    clearTextFields();
    setupFieldsWithDefaults(defaults);
}

void TransEditForm::showEditWithTransObject(ManagedObject& record)
{
    if (m_transObject == &record)
        return;
    m_transObject = &record;
    m_transUniqueID = storedText(record, u"trans_uniqueID");
    m_isEditing = true;
    m_pendingReoccurence.reset();
    setupAccounts();
    clearTextFields();
    setupFieldsWithTransObject(record);
}

void TransEditForm::setupAccounts()
{
    m_accounts.clear();
    for (ManagedObject* vault : m_delegate.fetchVaultObjectsWithType(QStringLiteral("Account")))
        m_accounts.push_back({storedText(*vault, u"vault_title"), storedText(*vault, u"vault_uniqueID")});
}

bool TransEditForm::hasAccount(const QString& uniqueID) const
{
    return std::any_of(m_accounts.begin(), m_accounts.end(),
                       [&](const AccountChoice& choice) { return choice.uniqueID == uniqueID; });
}

void TransEditForm::clearTextFields()
{
    m_fields = TransEditFields();
    m_fields.date = m_delegate.longDateFormatter().format(m_delegate.now());
    m_openedFields.reset();
}

void TransEditForm::setupFieldsWithDefaults(const ValueDictionary& defaults)
{
    for (const auto& [key, value] : defaults) {
        if (key == QLatin1String("trans_isPending")) {
            setPending(value.toBool());
        } else if (key == QLatin1String("trans_direction")) {
            const QString type = value.toString();
            if (type == kIncoming || type == kOutgoing)
                m_fields.type = type;
        } else if (key == QLatin1String("trans_accountID")) {
            if (hasAccount(value.toString()))
                m_fields.accountID = value.toString();
        }
    }
}

void TransEditForm::setupFieldsWithTransObject(ManagedObject& record)
{
    m_fields.type = record.valueForKey(u"trans_direction").toString() == kIncoming ? kIncoming : kOutgoing;
    const QString repeat = storedText(record, u"trans_reoccurrence");
    m_fields.repeat = repeat.isEmpty() ? kNever : repeat;

    const QString accountID = storedText(record, u"trans_accountID");
    if (hasAccount(accountID)) {
        m_fields.accountID = accountID;
    } else if (!accountID.isEmpty()) {
        // The account was removed: the record lets go of it now, even when
        // the edit is then cancelled.
        record.setValueForKey(u"trans_accountID", Value());
    }

    m_fields.pending = record.valueForKey(u"trans_isPending").toBool();
    m_fields.calendarEvent = record.valueForKey(u"trans_setiCalEvent").toBool();
    setPending(m_fields.pending);

    const QString title = storedText(record, u"trans_title");
    if (QFNSStringCategory::isValidString(title))
        m_fields.title = title;
    const Value date = record.valueForKey(u"trans_date");
    m_fields.date = date.isNull() ? QString() : m_delegate.longDateFormatter().format(date.toDate());
    m_fields.amount = m_delegate.amountFormatter().format(record.valueForKey(u"trans_amount").toDouble());
    m_fields.to = storedText(record, u"trans_to");
    m_fields.from = storedText(record, u"trans_from");
    m_fields.notes = storedText(record, u"trans_notes");

    const QStringList tags = storedText(record, u"trans_keywords").split(QStringLiteral(", "));
    if (!tags.contains(QString()))
        m_fields.tags = tags;

    m_openedFields = m_fields;
    if (m_hooks.showMediaOfRecord)
        m_hooks.showMediaOfRecord(record);
}

void TransEditForm::setPending(bool pending)
{
    m_fields.pending = pending;
    if (!pending)
        m_fields.calendarEvent = false;
}

float TransEditForm::adjustedAmount() const
{
    const double read = m_delegate.amountFormatter().parseOrLeadingNumber(m_fields.amount);
    return static_cast<float>(TransactionRecords::signedAmount(read, m_fields.type));
}

void TransEditForm::reformatAmount()
{
    // Adding zero turns an outgoing -0 into 0, which shows without a sign.
    m_fields.amount = m_delegate.amountFormatter().format(adjustedAmount() + 0.0f);
}

bool TransEditForm::endDateEditing()
{
    const DateFormatter& longFormatter = m_delegate.longDateFormatter();
    std::optional<AbsoluteTime> date = longFormatter.parse(m_fields.date);
    if (!date)
        date = m_delegate.shortDateFormatter().parse(m_fields.date);
    m_fields.date = date ? longFormatter.format(*date) : QString();
    return date.has_value();
}

TransEditField TransEditForm::validateInfo() const
{
    if (!QFNSStringCategory::isValidString(m_fields.title))
        return TransEditField::Title;
    // NaN is not zero, so a value that is no number passes.
    if (adjustedAmount() == 0.0f)
        return TransEditField::Amount;
    return TransEditField::None;
}

TransEditForm::SaveOutcome TransEditForm::save()
{
    m_invalidField = validateInfo();
    if (m_invalidField != TransEditField::None)
        return SaveOutcome::Invalid;
    m_pendingReoccurence.reset();

    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    const DateFormatter& longFormatter = m_delegate.longDateFormatter();
    const std::optional<AbsoluteTime> parsedDate = longFormatter.parse(m_fields.date);
    const Value dateValue = parsedDate ? Value::date(*parsedDate) : Value();

    ManagedObject* record = m_isEditing ? m_transObject : nullptr;
    // A field left as it was opened writes nothing, so that what another
    // program saved to the record while the editor was open stays.
    const TransEditFields* opened = record && m_openedFields ? &*m_openedFields : nullptr;
    auto edited = [&](auto field) { return !opened || m_fields.*field != opened->*field; };
    if (record) {
        // Compared as text so that an untouched date keeps its time of day.
        const Value stored = record->valueForKey(u"trans_date");
        const QString storedText = stored.isNull() ? QString() : longFormatter.format(stored.toDate());
        const QString shownText = parsedDate ? longFormatter.format(*parsedDate) : QString();
        if (edited(&TransEditFields::date) && shownText != storedText)
            record->setValueForKey(u"trans_date", dateValue);
    } else {
        record = context.insertNewObject(QStringLiteral("TransEntity"));
        record->setValueForKey(u"trans_date", dateValue);
    }

    record->setValueForKey(u"trans_uniqueID", Value(m_transUniqueID));
    if (edited(&TransEditFields::title))
        record->setValueForKey(u"trans_title", textValue(m_fields.title));
    if (edited(&TransEditFields::from))
        record->setValueForKey(u"trans_from", textValue(m_fields.from));
    if (edited(&TransEditFields::to))
        record->setValueForKey(u"trans_to", textValue(m_fields.to));
    if (edited(&TransEditFields::notes))
        record->setValueForKey(u"trans_notes", textValue(m_fields.notes));
    record->setValueForKey(u"trans_dateModified", Value::date(m_delegate.now()));
    if (edited(&TransEditFields::amount) || edited(&TransEditFields::type))
        record->setValueForKey(u"trans_amount", Value(static_cast<double>(adjustedAmount())));
    if (edited(&TransEditFields::tags))
        record->setValueForKey(u"trans_keywords", Value(TransactionRecords::keywordString(m_fields.tags)));

    // "None" keeps whatever account the record had.
    if (!m_fields.accountID.isEmpty() && edited(&TransEditFields::accountID))
        record->setValueForKey(u"trans_accountID", Value(m_fields.accountID));

    if (m_hooks.savePhoto)
        m_hooks.savePhoto(*record);
    if (m_hooks.saveAttachments)
        m_hooks.saveAttachments(*record);

    const bool hadCalendarEvent = record->valueForKey(u"trans_setiCalEvent").toBool();
    if (edited(&TransEditFields::calendarEvent))
        record->setValueForKey(u"trans_setiCalEvent", Value::boolean(m_fields.calendarEvent));
    if (!hadCalendarEvent && m_fields.calendarEvent && m_hooks.createCalendarEvent)
        m_hooks.createCalendarEvent(*record);

    if (m_fields.repeat != kNever && m_fields.repeat != storedText(*record, u"trans_reoccurrence"))
        setupReoccurence(m_fields.repeat, *record);

    if (edited(&TransEditFields::pending))
        record->setValueForKey(u"trans_isPending", Value::boolean(m_fields.pending));
    if (edited(&TransEditFields::repeat))
        record->setValueForKey(u"trans_reoccurrence", Value(m_fields.repeat));

    // The defaults of the last add hold for later edits in this form too.
    if (m_addTransDefaults) {
        const auto listIDs = m_addTransDefaults->find(QStringLiteral("trans_listIDs"));
        if (listIDs != m_addTransDefaults->end())
            record->setValueForKey(u"trans_listIDs", listIDs->second);
    }

    m_storeStatus = m_delegate.saveAction();
    if (m_hooks.indexTransaction)
        m_hooks.indexTransaction(*record);
    m_transObject = nullptr;
    if (!m_storeStatus)
        return SaveOutcome::StoreSaveFailed;
    return m_pendingReoccurence ? SaveOutcome::ConfirmationNeeded : SaveOutcome::Saved;
}

void TransEditForm::setupReoccurence(const QString& repeat, ManagedObject& record)
{
    const std::optional<AbsoluteTime> due = TransactionRecords::nextOccurrenceDue(record, repeat);
    if (!due)
        return;
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    if (ManagedObject* copy = TransactionRecords::findPendingTransactionWithPaidID(context, m_transUniqueID)) {
        // Runs before the new repeat is written, so the copy takes the
        // record's previous repeat value.
        copy->setValueForKey(u"trans_reoccurrence", record.valueForKey(u"trans_reoccurrence"));
        return;
    }
    m_pendingReoccurence = PendingReoccurence{m_transUniqueID, *due};
}

ManagedObject* TransEditForm::confirmReoccurence()
{
    if (!m_pendingReoccurence)
        return nullptr;
    const PendingReoccurence pending = *m_pendingReoccurence;
    m_pendingReoccurence.reset();
    ManagedObject* record = m_delegate.fetchTransObjectWithID(pending.recordUniqueID);
    if (!record)
        return nullptr;
    return TransactionRecords::insertNextOccurrence(*m_delegate.managedObjectContext(), m_delegate, *record,
                                                    pending.due);
}

QStringList TransEditForm::hintsForKey(const QString& key, const QString& text, qsizetype partialWordStart) const
{
    return TransactionRecords::hintsForKey(m_delegate.fetchAllTransObjects(), key, text, partialWordStart);
}

QString TransEditForm::attachmentsFolder() const
{
    const QString folder = AttachmentFiles::attachmentsFolder(m_delegate.applicationSupportFolder());
    QDir().mkpath(folder);
    return folder;
}

Result<QString> TransEditForm::transactionSupportFolder() const
{
    Result<QString> folder = AttachmentFiles::transactionFolder(m_delegate.applicationSupportFolder(), m_transUniqueID);
    if (!folder)
        return folder;
    if (Status made = AttachmentFiles::ensureFolder(folder.value()); !made)
        return made.error();
    return folder;
}

} // namespace qf
