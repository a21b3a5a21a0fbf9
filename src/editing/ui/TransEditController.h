#pragma once

#include "editing/ContactBook.h"
#include "editing/TagsController.h"
#include "editing/TransEditForm.h"

#include <QDialog>
#include <QMessageBox>
#include <QPointer>
#include <functional>
#include <optional>

class QPushButton;
class QTabWidget;

namespace qf {

class FieldCompleter;
class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;
class TagBrowser;
class TransAttachmentsController;
class TransEditDetailsPane;
class TransPhotoController;

// The window in which one transaction is added or changed: a window-modal
// dialog on the main window with the tabs Details, Photo and Files. The
// decisions are the form's (TransEditForm); this class binds the widgets to
// it, shows its refusals and, after a save, hands the list the saved
// transaction. Main thread only.
class TransEditController : public QDialog {
    Q_OBJECT

public:
    enum Tab { DetailsTab = 0, PhotoTab = 1, FilesTab = 2 };

    // The list is where a saved transaction is selected afterwards; the
    // parent (the main window) carries the repeat alert.
    TransEditController(Quillfen_AppDelegate& delegate, LibraryController& list, QWidget* parent);
    ~TransEditController() override;

    // Opens the dialog on a new transaction with the list's defaults.
    void showAddWindowWithDefaults(const ValueDictionary& defaults);
    // Opens the dialog on the record; nothing when it is the one already open.
    void showEditWithTransObject(ManagedObject& record);
    // Refused input marks its field and keeps the dialog open; otherwise the
    // photo and the files staged in their tabs are stored with it and the
    // dialog closes and the list selects the saved transaction. A repeat
    // waiting for confirmation then asks with an alert on the main window.
    void save();
    // Closes without writing anything.
    void cancel();
    // 0 details, 1 photo, 2 files. Leaving the photo tab turns the camera off.
    void setupTabsWithTag(int tag);
    // The tag browser, opened below the tag field; it adds the tag chosen.
    TagBrowser* showTags();

    const TransEditForm& form() const { return m_form; }
    TransEditDetailsPane* detailsPane() const { return m_details; }
    QTabWidget* tabs() const { return m_tabs; }
    TransPhotoController* photoPane() const { return m_photoPane; }
    TransAttachmentsController* filesPane() const { return m_filesPane; }
    QPushButton* saveButton() const { return m_save; }
    QPushButton* cancelButton() const { return m_cancel; }
    // Completion of the title, payee and tag fields.
    FieldCompleter* titleCompleter() const { return m_titleCompleter; }
    FieldCompleter* toCompleter() const { return m_toCompleter; }
    FieldCompleter* fromCompleter() const { return m_fromCompleter; }
    FieldCompleter* tagsCompleter() const { return m_tagsCompleter; }
    // The repeat alert while it is shown.
    QMessageBox* reoccurenceAlert() const { return m_alert; }

    // Answers which application takes calendar files (empty: none); the
    // event file is written and opened only when there is one.
    using CalendarHandlerLookup = std::function<QString()>;
    void setCalendarHandlerLookup(CalendarHandlerLookup lookup) { m_calendarHandlerLookup = std::move(lookup); }

Q_SIGNALS:
    // The dialog closed after a save; the list has selected the transaction.
    void transactionSaved(const QString& transUniqueID);

protected:
    // Escape and the window's close box cancel.
    void reject() override;

private:
    TransEditHooks makeHooks();
    void openDialog(const QString& title);
    void collectFields();
    void showFields();
    void transactionTypeChange();
    void pendingToggle(bool pending);
    void amountDidEndEditing();
    void dateDidEndEditing();
    void showCalendar();
    void closeEditor(DialogCode code);
    void showReoccurenceAlert();
    void createCalendarEvent(ManagedObject& record);
    const ContactBook& contacts();

    Quillfen_AppDelegate& m_delegate;
    LibraryController& m_list;
    TransEditForm m_form;
    TagsController m_tags;
    // What the completions choose from, read on first use after each
    // opening: a keystroke then never walks the whole ledger or the folder.
    std::optional<QStringList> m_titles;
    std::optional<QStringList> m_keywords;
    std::optional<ContactBook> m_contacts;
    CalendarHandlerLookup m_calendarHandlerLookup;
    TransEditDetailsPane* m_details;
    QTabWidget* m_tabs;
    TransPhotoController* m_photoPane;
    TransAttachmentsController* m_filesPane;
    QPushButton* m_save;
    QPushButton* m_cancel;
    FieldCompleter* m_titleCompleter;
    FieldCompleter* m_toCompleter;
    FieldCompleter* m_fromCompleter;
    FieldCompleter* m_tagsCompleter;
    QPointer<QMessageBox> m_alert;
};

} // namespace qf
