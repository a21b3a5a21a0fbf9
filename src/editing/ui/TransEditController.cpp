#include "editing/ui/TransEditController.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SearchIndex.h"
#include "app/SoundPlayer.h"
#include "app/ui/CalendarPickerController.h"
#include "app/ui/ErrorController.h"
#include "attachments/ui/TransAttachmentsController.h"
#include "attachments/ui/TransPhotoController.h"
#include "common/AbsoluteTime.h"
#include "common/DateFormatter.h"
#include "editing/CalendarApplication.h"
#include "editing/CalendarEvent.h"
#include "editing/TransactionRecords.h"
#include "editing/ui/FieldCompleter.h"
#include "editing/ui/TagBrowser.h"
#include "editing/ui/TransEditDetailsPane.h"
#include "store/ManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "views/ui/LibraryController.h"

#include <QAbstractItemView>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QUrl>
#include <QVBoxLayout>

namespace qf {

TransEditController::TransEditController(Quillfen_AppDelegate& delegate, LibraryController& list, QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_list(list), m_form(delegate, makeHooks()), m_tags(delegate),
      m_calendarHandlerLookup(&CalendarApplication::defaultHandler), m_details(new TransEditDetailsPane(this)),
      m_tabs(new QTabWidget(this)), m_photoPane(new TransPhotoController(delegate, this)),
      m_filesPane(new TransAttachmentsController(delegate, this))
{
    setObjectName(QStringLiteral("transEditor"));
    setWindowModality(Qt::WindowModal);
    m_tabs->setDocumentMode(true);
    m_tabs->addTab(m_details, tr("Details"));
    m_tabs->addTab(m_photoPane, tr("Photo"));
    m_tabs->addTab(m_filesPane, tr("Files"));
    // The photo pane lets its camera go when its tab is left (it is hidden then).
    m_photoPane->setupPhotoPane();

    auto* buttons = new QDialogButtonBox(this);
    m_save = buttons->addButton(tr("Save"), QDialogButtonBox::AcceptRole);
    m_save->setObjectName(QStringLiteral("saveButton"));
    m_save->setDefault(true);
    m_cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    m_cancel->setObjectName(QStringLiteral("cancelButton"));
    connect(m_save, &QPushButton::clicked, this, &TransEditController::save);
    connect(m_cancel, &QPushButton::clicked, this, &TransEditController::cancel);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 12);
    layout->addWidget(m_tabs, 1);
    auto* buttonRow = new QHBoxLayout;
    buttonRow->setContentsMargins(16, 0, 16, 0);
    buttonRow->addWidget(buttons);
    layout->addLayout(buttonRow);
    resize(620, 460);

    m_titleCompleter = new FieldCompleter(*m_details->titleField(), [this](const QString& typed) {
        if (!m_titles)
            m_titles = TransactionRecords::distinctTexts(m_delegate.fetchAllTransObjects(), u"trans_title");
        return TransactionRecords::hintsAmong(*m_titles, typed, 0);
    });
    const auto payees = [this](const QString& typed) { return contacts().hintsForContact(typed); };
    m_toCompleter = new FieldCompleter(*m_details->toField(), payees);
    m_fromCompleter = new FieldCompleter(*m_details->fromField(), payees);
    m_tagsCompleter = new FieldCompleter(
        *m_details->tagsField(),
        [this](const QString& typed) {
            if (!m_keywords)
                m_keywords = m_tags.allTransactionKeywords();
            return TagsController::hintsForKeyword(*m_keywords, typed);
        },
        QLatin1Char(','));

    connect(m_details, &TransEditDetailsPane::typeChanged, this, &TransEditController::transactionTypeChange);
    connect(m_details, &TransEditDetailsPane::pendingToggled, this, &TransEditController::pendingToggle);
    connect(m_details, &TransEditDetailsPane::amountEditingFinished, this, &TransEditController::amountDidEndEditing);
    connect(m_details, &TransEditDetailsPane::dateEditingFinished, this, &TransEditController::dateDidEndEditing);
    connect(m_details, &TransEditDetailsPane::calendarRequested, this, &TransEditController::showCalendar);
    connect(m_details, &TransEditDetailsPane::tagsRequested, this, &TransEditController::showTags);
}

TransEditController::~TransEditController() = default;

TransEditHooks TransEditController::makeHooks()
{
    // File failures of the photo and the attachments cost the user nothing
    // of the transaction itself, so they are logged, not shown.
    TransEditHooks hooks;
    hooks.prepareAttachmentsForNew = [this](const QString& transUniqueID) {
        m_filesPane->setTransID(transUniqueID);
        m_filesPane->setCurrentAttachments({});
    };
    hooks.showMediaOfRecord = [this](ManagedObject& record) {
        m_photoPane->showRecord(record);
        m_filesPane->showRecord(record);
    };
    hooks.savePhoto = [this](ManagedObject& record) {
        if (Status saved = m_photoPane->saveToRecord(record); !saved)
            qWarning("Photo not stored: %s", qPrintable(saved.message()));
    };
    hooks.saveAttachments = [this](ManagedObject& record) {
        for (const AttachmentFileFailure& failure : m_filesPane->saveToRecord(record))
            qWarning("Attachment not stored: %s: %s", qPrintable(failure.path), qPrintable(failure.message));
    };
    hooks.createCalendarEvent = [this](ManagedObject& record) { createCalendarEvent(record); };
    // An edited transaction's search record is written afresh.
    hooks.indexTransaction = [](ManagedObject& record) { SearchIndex::indexTransaction(&record, true); };
    return hooks;
}

void TransEditController::showAddWindowWithDefaults(const ValueDictionary& defaults)
{
    m_form.showAddWindowWithDefaults(defaults);
    m_photoPane->turnOffiSight();
    m_photoPane->setCurrentTransImage(QImage());
    openDialog(tr("New Transaction"));
}

void TransEditController::showEditWithTransObject(ManagedObject& record)
{
    if (m_form.transObject() == &record && isVisible())
        return;
    m_form.showEditWithTransObject(record);
    openDialog(tr("Edit Transaction"));
}

void TransEditController::openDialog(const QString& title)
{
    // Read again after each opening, so that cards and titles added since are offered.
    m_titles.reset();
    m_keywords.reset();
    m_contacts.reset();
    setWindowTitle(title);
    m_details->setupAccounts(m_form.accounts());
    m_details->showFields(m_form.fields());
    setupTabsWithTag(DetailsTab);
    open();
    m_details->titleField()->setFocus();
}

void TransEditController::collectFields()
{
    m_details->collectFields(m_form.fields());
}

void TransEditController::showFields()
{
    m_details->showFields(m_form.fields());
}

void TransEditController::transactionTypeChange()
{
    collectFields();
    m_form.reformatAmount();
    showFields();
}

void TransEditController::pendingToggle(bool pending)
{
    collectFields();
    m_form.setPending(pending);
    showFields();
}

void TransEditController::amountDidEndEditing()
{
    if (!isVisible())
        return;
    collectFields();
    m_form.reformatAmount();
    showFields();
}

void TransEditController::dateDidEndEditing()
{
    // Closing the dialog takes the focus away too; that is no end of editing.
    if (!isVisible())
        return;
    collectFields();
    const bool read = m_form.endDateEditing();
    showFields();
    if (!read)
        SoundPlayer::shared().beep();
}

TagBrowser* TransEditController::showTags()
{
    if (!m_keywords)
        m_keywords = m_tags.allTransactionKeywords();
    auto* browser = new TagBrowser(*m_details->tagsField(), *m_keywords, this);
    browser->showBelowField();
    return browser;
}

void TransEditController::showCalendar()
{
    collectFields();
    const DateFormatter& longFormatter = m_delegate.longDateFormatter();
    const std::optional<AbsoluteTime> shown = longFormatter.parse(m_form.fields().date);
    const QDate date = shown ? dateTimeFromAbsoluteTime(*shown).date() : QDate();
    CalendarPickerController::sharedInstance().showCalendarPickerWithDate(
        date, m_details->dateField(), [this](const QDate& picked, QWidget* sender) {
            if (!sender || !isVisible())
                return;
            collectFields();
            m_form.fields().date =
                m_delegate.longDateFormatter().format(absoluteTimeFromDateTime(picked.startOfDay()));
            showFields();
        });
}

void TransEditController::setupTabsWithTag(int tag)
{
    if (tag < DetailsTab || tag > FilesTab)
        return;
    m_tabs->setCurrentIndex(tag);
}

void TransEditController::save()
{
    collectFields();
    using Outcome = TransEditForm::SaveOutcome;
    const Outcome outcome = m_form.save();
    if (outcome == Outcome::Invalid) {
        QLineEdit* field = m_form.invalidField() == TransEditField::Title ? m_details->titleField()
                                                                           : m_details->amountField();
        setupTabsWithTag(DetailsTab);
        field->setFocus();
        ErrorController::sharedInstance().displayErrorFromField(field);
        return;
    }
    const QString uniqueID = m_form.transUniqueID();
    closeEditor(Accepted);
    // The list follows the store's announcements; a store that is not
    // saved to disk (the example) has not announced this save yet.
    m_delegate.managedObjectContext()->processPendingChanges();
    m_list.selectTransactionWithID(uniqueID);
    m_list.setupFilesPopup();
    if (outcome == Outcome::StoreSaveFailed) {
        QMessageBox::warning(parentWidget(), tr("Could Not Save"), m_form.storeStatus().message());
    } else if (outcome == Outcome::ConfirmationNeeded) {
        showReoccurenceAlert();
    }
    Q_EMIT transactionSaved(uniqueID);
}

void TransEditController::showReoccurenceAlert()
{
    auto* alert = new QMessageBox(QMessageBox::Information, TransEditForm::reoccurenceAlertTitle(),
                                  TransEditForm::reoccurenceAlertTitle(), QMessageBox::NoButton, parentWidget());
    alert->setObjectName(QStringLiteral("reoccurenceAlert"));
    alert->setInformativeText(TransEditForm::reoccurenceAlertText());
    alert->addButton(tr("OK"), QMessageBox::AcceptRole);
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    // The alert's one button is its only way out: however it ends, the
    // upcoming copy is made.
    connect(alert, &QMessageBox::finished, this, [this] {
        if (!m_form.confirmReoccurence())
            return;
        if (Status saved = m_delegate.saveAction(); !saved)
            QMessageBox::warning(parentWidget(), tr("Could Not Save"), saved.message());
    });
    m_alert = alert;
    alert->open();
}

void TransEditController::cancel()
{
    m_form.cancel();
    closeEditor(Rejected);
    m_list.currentView()->setFocus();
}

void TransEditController::reject()
{
    cancel();
}

void TransEditController::closeEditor(DialogCode code)
{
    ErrorController::sharedInstance().closeErrorPanel();
    done(code);
}

void TransEditController::createCalendarEvent(ManagedObject& record)
{
    if (!m_calendarHandlerLookup || m_calendarHandlerLookup().isEmpty())
        return;
    const QString path = CalendarApplication::eventFilePath(record.valueForKey(u"trans_uniqueID").toString());
    // A calendar that cannot be reached costs the user nothing of the
    // transaction, so the failure is only logged.
    if (Status written = CalendarEvent::createiCalEventWithObject(record, path, m_delegate.now()); !written) {
        qWarning("Calendar event not created: %s", qPrintable(written.message()));
        return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

const ContactBook& TransEditController::contacts()
{
    if (!m_contacts)
        m_contacts = ContactBook::load(ContactBook::chosenFolder());
    return *m_contacts;
}

} // namespace qf
