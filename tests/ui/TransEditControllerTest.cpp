#include "app/UserDefaults.h"
#include "app/ui/CalendarPickerController.h"
#include "app/ui/ErrorController.h"
#include "app/ui/MainWindow.h"
#include "attachments/ui/TransAttachmentsController.h"
#include "attachments/ui/TransPhotoController.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "editing/CalendarApplication.h"
#include "editing/ui/FieldCompleter.h"
#include "editing/ui/TagBrowser.h"
#include "editing/ui/TransEditController.h"
#include "editing/ui/TransEditDetailsPane.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/EventWait.h"
#include "support/FileBytes.h"
#include "support/ModalAnswer.h"
#include "support/TempLedger.h"
#include "ui/WidgetTestSupport.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QAbstractItemView>
#include <QAbstractButton>
#include <QAction>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QCompleter>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::RecordingPlayer;
using qf::test::TempLedger;
using qf::test::answerNextModal;
using qf::test::menuAction;
using qf::test::waitUntil;

// Stands in for the desktop's opener of files.
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls.append(url); }
};

namespace {

// A camera that starts and delivers nothing.
class IdleCamera final : public PhotoCamera {
public:
    Status start(QSize) override { return Status::ok(); }
    void stop() override {}
    QImage currentFrame() const override { return {}; }
};

class TransEditControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = nullptr;
    ManagedObject* trip = nullptr;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        ErrorController::sharedInstance().setAnimationDuration(1);
        UserDefaults::standard().setVolatileValue(DefaultsKey::ContactsFolder,
                                                  QStringLiteral(QUILLFEN_TEST_DATA_DIR "/contacts"));
        checking = ledger.addAccount(QStringLiteral("Checking"));
        trip = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Playlist, QStringLiteral("Trip"));
        ledger.addTransaction(QStringLiteral("Coffee"), -3.5, QStringLiteral("Food, treats"));
        ledger.addTransaction(QStringLiteral("Salary"), 2500, QStringLiteral("income"));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->show();
        window->setupSourceList();
        selectVault(ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front());
    }

    void TearDown() override
    {
        window.reset();
        UserDefaults::standard().clearVolatileValues();
    }

    void selectVault(ManagedObject* vault)
    {
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
    }

    QAction* action(const QString& text)
    {
        QAction* found = menuAction(*window, QStringLiteral("&Transactions"), text);
        EXPECT_NE(found, nullptr) << text.toStdString();
        return found;
    }

    // Opens the editor on a new transaction as the menu command does.
    TransEditController* openNew()
    {
        action(QStringLiteral("New Transaction"))->trigger();
        TransEditController* editor = window->transEditController();
        EXPECT_TRUE(editor->isVisible());
        EXPECT_TRUE(QTest::qWaitForWindowActive(editor));
        return editor;
    }

    // A new transaction with its title and amount typed in.
    TransEditController* fillNew(const QString& title, const QString& amount)
    {
        TransEditController* editor = openNew();
        details()->titleField()->setText(title);
        details()->amountField()->setText(amount);
        return editor;
    }

    TransEditDetailsPane* details() { return window->transEditController()->detailsPane(); }

    // Opens the editor on the transaction as selecting it and the menu command do.
    TransEditController* openEdit(const ManagedObject* record)
    {
        EXPECT_TRUE(window->libraryController()->selectTransactionWithID(record->valueForKey(u"trans_uniqueID").toString()));
        action(QStringLiteral("Edit Transaction…"))->trigger();
        TransEditController* editor = window->transEditController();
        EXPECT_TRUE(editor->isVisible());
        return editor;
    }

    // Moves the keyboard focus into the field and out again, as a user
    // tabbing through the form does.
    void leave(QWidget* field)
    {
        field->setFocus();
        details()->notesField()->setFocus();
    }

    ManagedObject* transaction(const QString& title)
    {
        const auto found = ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"),
                                                                        QStringLiteral("trans_title"), Value(title));
        return found.empty() ? nullptr : found.front();
    }

    // The record's values of the keys on one line, so that a failure shows them all.
    static QString values(const ManagedObject* record, const QStringList& keys)
    {
        if (!record)
            return QStringLiteral("no record");
        QStringList parts;
        for (const QString& key : keys)
            parts << key + QLatin1Char('=') + record->valueForKey(key).debugString();
        return parts.join(QStringLiteral("; "));
    }

    std::vector<ManagedObject*> copiesOf(const ManagedObject* record)
    {
        return ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"),
                                                            QStringLiteral("trans_paidREFID"),
                                                            record->valueForKey(u"trans_uniqueID"));
    }

    static void selectItem(QComboBox* box, const QString& data) { box->setCurrentIndex(box->findData(data)); }

    // The titles in the list's menu of attached files.
    QStringList filesMenu()
    {
        for (QToolButton* button : window->libraryController()->findChildren<QToolButton*>()) {
            if (button->toolTip() == QStringLiteral("Attached Files")) {
                QStringList titles;
                for (QAction* a : button->menu()->actions())
                    titles << a->text();
                return titles;
            }
        }
        ADD_FAILURE() << "no files menu";
        return {};
    }

    QString amountText(double amount) { return ledger.delegate().amountFormatter().format(amount); }

    static QAbstractItemView* popupOf(QLineEdit* field) { return field->findChild<QCompleter*>()->popup(); }

    // Chooses the row of the field's completion pop-up with the keyboard.
    void choose(QLineEdit* field, int row)
    {
        QAbstractItemView* popup = popupOf(field);
        ASSERT_TRUE(waitUntil([&] { return popup->isVisible(); }));
        for (int i = 0; i <= row; ++i)
            QTest::keyClick(popup, Qt::Key_Down);
        QTest::keyClick(popup, Qt::Key_Return);
    }
};

} // namespace

TEST_F(TransEditControllerTest, AddFromTheLibraryStoresTheTypedFieldsAndSelectsTheNewRow)
{
    // The list's "+" button opens the editor as the menu command does.
    auto* add = window->libraryController()->findChild<QToolButton*>(QStringLiteral("addButton"));
    ASSERT_NE(add, nullptr);
    add->click();
    TransEditController* editor = window->transEditController();
    ASSERT_TRUE(editor->isVisible());
    ASSERT_TRUE(QTest::qWaitForWindowActive(editor));
    EXPECT_EQ(editor->windowTitle(), QStringLiteral("New Transaction"));
    EXPECT_EQ(editor->tabs()->currentIndex(), int(TransEditController::DetailsTab));
    EXPECT_EQ(details()->typeSelector()->currentData().toString(), QStringLiteral("Outgoing"));
    EXPECT_EQ(details()->accountSelector()->itemText(0), QStringLiteral("None"));
    EXPECT_EQ(details()->accountSelector()->itemText(2), QStringLiteral("Checking"));

    QTest::keyClicks(details()->titleField(), QStringLiteral("Groceries"));
    QTest::keyClicks(details()->amountField(), QStringLiteral("12.50"));
    leave(details()->amountField());
    EXPECT_EQ(details()->amountField()->text(), amountText(-12.5));
    details()->accountSelector()->setCurrentIndex(2);
    details()->toField()->setText(QStringLiteral("Corner Shop"));
    details()->tagsField()->setText(QStringLiteral("Food,Rent ,"));
    details()->notesField()->setPlainText(QStringLiteral("weekly\nshop"));
    editor->saveButton()->click();

    EXPECT_FALSE(editor->isVisible());
    ManagedObject* saved = transaction(QStringLiteral("Groceries"));
    EXPECT_EQ(values(saved, {"trans_amount", "trans_direction", "trans_to", "trans_from", "trans_keywords",
                             "trans_notes", "trans_reoccurrence"}),
              QStringLiteral("trans_amount=-12.5; trans_direction=\"Outgoing\"; trans_to=\"Corner Shop\"; "
                             "trans_from=\"\"; trans_keywords=\"Food, Rent\"; trans_notes=\"weekly\nshop\"; "
                             "trans_reoccurrence=\"Never\""));
    ASSERT_NE(saved, nullptr);
    EXPECT_EQ(saved->valueForKey(u"trans_accountID"), checking->valueForKey(u"vault_uniqueID"));
    EXPECT_FALSE(context.hasChanges());
    EXPECT_EQ(window->libraryController()->selectedTransaction(), saved);

    // Added while a folder is shown, the transaction joins the folder.
    selectVault(trip);
    fillNew(QStringLiteral("Taxi"), QStringLiteral("20"))->saveButton()->click();
    ManagedObject* taxi = transaction(QStringLiteral("Taxi"));
    ASSERT_NE(taxi, nullptr);
    EXPECT_EQ(taxi->valueForKey(u"trans_listIDs"), trip->valueForKey(u"vault_uniqueID"));
    EXPECT_EQ(window->libraryController()->selectedTransaction(), taxi);
}

TEST_F(TransEditControllerTest, EditOpensFromReturnOrTheMenuSavesChangesAndCancelWritesNothing)
{
    ManagedObject* coffee = transaction(QStringLiteral("Coffee"));
    LibraryController* list = window->libraryController();
    ASSERT_TRUE(list->selectTransactionWithID(coffee->valueForKey(u"trans_uniqueID").toString()));
    QTest::keyClick(list->tableView(), Qt::Key_Return);
    TransEditController* editor = window->transEditController();
    ASSERT_TRUE(editor->isVisible());
    ASSERT_TRUE(QTest::qWaitForWindowActive(editor));
    EXPECT_EQ(editor->windowTitle(), QStringLiteral("Edit Transaction"));
    EXPECT_EQ(QStringList({details()->titleField()->text(), details()->amountField()->text(),
                           details()->tagsField()->text()}),
              QStringList({QStringLiteral("Coffee"), amountText(-3.5), QStringLiteral("Food, treats")}));

    // Switching the type flips the shown sign.
    details()->amountField()->setText(QStringLiteral("4.20"));
    details()->typeSelector()->setFocus();
    QTest::keyClick(details()->typeSelector(), Qt::Key_Up);
    EXPECT_EQ(details()->typeSelector()->currentData().toString(), QStringLiteral("Incoming"));
    EXPECT_EQ(details()->amountField()->text(), amountText(4.2));
    details()->accountSelector()->setCurrentIndex(2);
    editor->saveButton()->click();
    EXPECT_FALSE(editor->isVisible());
    EXPECT_FLOAT_EQ(float(coffee->valueForKey(u"trans_amount").toDouble()), 4.2f);
    EXPECT_EQ(coffee->valueForKey(u"trans_accountID"), checking->valueForKey(u"vault_uniqueID"));
    EXPECT_EQ(list->selectedTransaction(), coffee);

    // The menu command edits the one selected transaction; Cancel and Escape drop the change.
    QAction* edit = action(QStringLiteral("Edit Transaction…"));
    ASSERT_TRUE(edit->isEnabled());
    edit->trigger();
    details()->titleField()->setText(QStringLiteral("Changed"));
    editor->cancelButton()->click();
    EXPECT_FALSE(editor->isVisible());
    edit->trigger();
    EXPECT_EQ(details()->titleField()->text(), QStringLiteral("Coffee"));
    details()->titleField()->setText(QStringLiteral("Changed"));
    QTest::keyClick(editor, Qt::Key_Escape);
    EXPECT_FALSE(editor->isVisible());
    EXPECT_EQ(coffee->valueForKey(u"trans_title").toString(), QStringLiteral("Coffee"));
    EXPECT_FALSE(context.hasChanges());

    list->tableView()->clearSelection();
    EXPECT_FALSE(edit->isEnabled());
}

TEST_F(TransEditControllerTest, RefusedTitleOrAmountIsMarkedAndNothingIsSaved)
{
    const size_t before = ledger.delegate().fetchAllTransObjects().size();
    TransEditController* editor = fillNew(QString(), QStringLiteral("5"));
    ErrorController& marker = ErrorController::sharedInstance();
    editor->saveButton()->click();
    EXPECT_TRUE(editor->isVisible());
    EXPECT_TRUE(marker.isShown());
    EXPECT_EQ(marker.field(), details()->titleField());

    ASSERT_TRUE(waitUntil([&] { return !marker.isAnimating(); }));
    details()->titleField()->setText(QStringLiteral("Lunch"));
    details()->amountField()->setText(QStringLiteral("0"));
    leave(details()->amountField());
    EXPECT_EQ(details()->amountField()->text(), amountText(0)) << "no minus before an outgoing zero";
    editor->saveButton()->click();
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(marker.field(), details()->amountField());
    EXPECT_EQ(ledger.delegate().fetchAllTransObjects().size(), before);

    // Leaving the editor takes the marker away with it.
    editor->cancelButton()->click();
    EXPECT_TRUE(waitUntil([&] { return !marker.isShown(); }));
}

TEST_F(TransEditControllerTest, DateFieldBeepsAndEmptiesOnBadTextAndTakesPickedDates)
{
    openNew();
    QLineEdit* date = details()->dateField();
    QStringList sounds;
    SoundPlayer::setShared(std::make_unique<RecordingPlayer>(sounds));
    date->setText(QStringLiteral("no date"));
    leave(date);
    EXPECT_EQ(sounds, QStringList{QStringLiteral("beep")});
    EXPECT_TRUE(date->text().isEmpty());

    // A short date is shown in the long format, without a beep.
    date->setText(QStringLiteral("3/4/24"));
    leave(date);
    SoundPlayer::setShared(nullptr);
    EXPECT_EQ(date->text(), QStringLiteral("Mar 4, 2024"));
    EXPECT_EQ(sounds.size(), 1);

    CalendarPickerController& picker = CalendarPickerController::sharedInstance();
    details()->calendarButton()->click();
    ASSERT_TRUE(waitUntil([&] { return picker.panel() && picker.panel()->isVisible(); }));
    EXPECT_EQ(picker.calendar()->selectedDate(), QDate(2024, 3, 4));
    picker.calendar()->setSelectedDate(QDate(2024, 2, 29));
    picker.done();
    EXPECT_EQ(date->text(), QStringLiteral("Feb 29, 2024"));
}

TEST_F(TransEditControllerTest, MonthlyRepeatAskedWithTheAlertMakesOneSavedUpcomingCopy)
{
    TransEditController* editor = fillNew(QStringLiteral("Rent"), QStringLiteral("800"));
    details()->dateField()->setText(QStringLiteral("Jan 31, 2024"));
    selectItem(details()->repeatSelector(), QStringLiteral("Monthly"));
    QStringList alertWords;
    answerNextModal([&](QWidget* modal) {
        auto* alert = qobject_cast<QMessageBox*>(modal);
        ASSERT_NE(alert, nullptr);
        alertWords << alert->text() << alert->informativeText();
        for (QAbstractButton* button : alert->buttons())
            alertWords << button->text();
        alert->buttons().front()->click();
    });
    editor->saveButton()->click();
    EXPECT_FALSE(editor->isVisible());
    ASSERT_TRUE(waitUntil([&] { return !editor->reoccurenceAlert(); }));
    EXPECT_EQ(alertWords, (QStringList{QStringLiteral("Reocurring Transaction Added to the Bill Manager"),
                                       QStringLiteral("A new Upcoming transction will be added with your repeat "
                                                      "setting to the Bill Manager."),
                                       QStringLiteral("OK")}));

    ManagedObject* rent = transaction(QStringLiteral("Rent"));
    ASSERT_NE(rent, nullptr);
    const auto copies = copiesOf(rent);
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_EQ(values(copies.front(), {"trans_title", "trans_isUpcoming", "trans_date"}),
              QStringLiteral("trans_title=\"Rent\"; trans_isUpcoming=YES; trans_date=2024-02-28T23:00:00.000Z"));
    EXPECT_EQ(rent->valueForKey(u"trans_pendingREFID"), copies.front()->valueForKey(u"trans_uniqueID"));
    // The store was saved after the answer: the copy is no longer a new record.
    EXPECT_FALSE(copies.front()->isInserted());
}

TEST_F(TransEditControllerTest, TitlePayeeAndTagFieldsCompleteFromTheLedgerAndTheContactsFolder)
{
    TransEditController* editor = openNew();
    // A completer reacts only while its field has the focus.
    details()->titleField()->setFocus();
    QTest::keyClicks(details()->titleField(), QStringLiteral("co"));
    EXPECT_EQ(editor->titleCompleter()->hints(), QStringList{QStringLiteral("Coffee")});
    popupOf(details()->titleField())->hide();
    details()->titleField()->setText(QStringLiteral("Bakery"));
    details()->amountField()->setText(QStringLiteral("5"));

    details()->fromField()->setFocus();
    QTest::keyClicks(details()->fromField(), QStringLiteral("north"));
    EXPECT_EQ(editor->fromCompleter()->hints(),
              (QStringList{QStringLiteral("Northwind Traders"), QStringLiteral("North, South & Co"),
                           QStringLiteral("northern lights")}));
    choose(details()->fromField(), 1);
    details()->toField()->setFocus();
    QTest::keyClicks(details()->toField(), QStringLiteral("her"));
    EXPECT_EQ(editor->toCompleter()->hints(), QStringList{QStringLiteral("Cher")});
    choose(details()->toField(), 0);

    // Only the last tag is completed; the ones before it stay.
    details()->tagsField()->setFocus();
    QTest::keyClicks(details()->tagsField(), QStringLiteral("Rent, FO"));
    EXPECT_EQ(editor->tagsCompleter()->hints(), QStringList{QStringLiteral("Food")});
    choose(details()->tagsField(), 0);
    EXPECT_EQ(details()->tagsField()->text(), QStringLiteral("Rent, Food"));
    editor->saveButton()->click();
    EXPECT_EQ(values(transaction(QStringLiteral("Bakery")), {"trans_from", "trans_to", "trans_keywords"}),
              QStringLiteral("trans_from=\"North, South & Co\"; trans_to=\"Cher\"; trans_keywords=\"Rent, Food\""));

    // The next opening offers what was just saved.
    openNew();
    details()->titleField()->setFocus();
    QTest::keyClicks(details()->titleField(), QStringLiteral("b"));
    EXPECT_EQ(editor->titleCompleter()->hints(), QStringList{QStringLiteral("Bakery")});
    details()->tagsField()->setFocus();
    QTest::keyClicks(details()->tagsField(), QStringLiteral("r"));
    EXPECT_EQ(editor->tagsCompleter()->hints(), QStringList{QStringLiteral("Rent")});

    // The tag browser lists the tags in use and adds the one chosen, once.
    details()->tagsField()->setText(QStringLiteral("Rent"));
    TagBrowser* browser = editor->showTags();
    ASSERT_TRUE(browser->isVisible());
    QTest::keyClicks(browser->searchField(), QStringLiteral("OO"));
    ASSERT_EQ(browser->list()->count(), 1);
    browser->chooseTag(browser->list()->item(0)->text());
    EXPECT_EQ(details()->tagsField()->text(), QStringLiteral("Rent, Food"));
    editor->showTags()->chooseTag(QStringLiteral("Rent"));
    EXPECT_EQ(details()->tagsField()->text(), QStringLiteral("Rent, Food"));
    editor->cancel();
}

TEST_F(TransEditControllerTest, CalendarEventIsOfferedWhilePendingAndOpenedOnlyWithAHandler)
{
    TransEditController* editor = openNew();
    QCheckBox* pending = details()->pendingBox();
    QCheckBox* event = details()->calendarEventBox();
    EXPECT_FALSE(event->isVisible());
    pending->click();
    EXPECT_TRUE(event->isVisible());
    event->click();
    pending->click();
    EXPECT_FALSE(event->isVisible());
    EXPECT_FALSE(event->isChecked());

    OpenedUrls opened;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &opened, "open");
    auto addPendingWithEvent = [&](const QString& title) {
        fillNew(title, QStringLiteral("60"));
        details()->pendingBox()->click();
        details()->calendarEventBox()->click();
        editor->saveButton()->click();
        ManagedObject* saved = transaction(title);
        EXPECT_TRUE(saved && saved->valueForKey(u"trans_setiCalEvent").toBool());
        return saved ? CalendarApplication::eventFilePath(saved->valueForKey(u"trans_uniqueID").toString()) : QString();
    };

    editor->setCalendarHandlerLookup([] { return QString(); });
    EXPECT_FALSE(QFile::exists(addPendingWithEvent(QStringLiteral("Gym"))));
    EXPECT_TRUE(opened.urls.isEmpty());

    editor->setCalendarHandlerLookup([] { return QStringLiteral("agenda.desktop"); });
    const QString handled = addPendingWithEvent(QStringLiteral("Dentist"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    ASSERT_EQ(opened.urls, QList<QUrl>{QUrl::fromLocalFile(handled)});
    EXPECT_TRUE(qf::test::readFile(handled).contains("SUMMARY:Dentist"));
    QFile::remove(handled);
}

TEST_F(TransEditControllerTest, PhotoAndFilesAreStoredWithTheTransactionAndShownWhenEditing)
{
    QTemporaryDir folder;
    const QString receipt = folder.filePath(QStringLiteral("receipt.txt"));
    const QString warranty = folder.filePath(QStringLiteral("warranty.txt"));
    ASSERT_TRUE(qf::test::writeFile(receipt, "paper") && qf::test::writeFile(warranty, "paper"));
    QImage photo(8, 6, QImage::Format_RGB32);
    photo.fill(Qt::red);

    TransEditController* editor = fillNew(QStringLiteral("Printer"), QStringLiteral("120"));
    editor->photoPane()->setCurrentTransImage(photo);
    editor->filesPane()->addFilesToDatabase({receipt});
    editor->saveButton()->click();
    ManagedObject* printer = transaction(QStringLiteral("Printer"));
    ASSERT_NE(printer, nullptr);
    EXPECT_TRUE(QFile::exists(printer->valueForKey(u"trans_photo").toString()));
    EXPECT_EQ(filesMenu(), QStringList{QStringLiteral("receipt.txt")});

    // Editing shows both again; a file added there reaches the menu of the
    // transaction that stays selected.
    action(QStringLiteral("Edit Transaction…"))->trigger();
    EXPECT_EQ(editor->photoPane()->currentTransImage().size(), photo.size());
    EXPECT_EQ(editor->filesPane()->attTableView()->model()->rowCount(), 1);
    editor->filesPane()->addFilesToDatabase({warranty});
    editor->saveButton()->click();
    EXPECT_EQ(window->libraryController()->selectedTransaction(), printer);
    EXPECT_EQ(filesMenu(), (QStringList{QStringLiteral("receipt.txt"), QStringLiteral("warranty.txt")}));

    // A new transaction starts with neither.
    openNew();
    EXPECT_TRUE(editor->photoPane()->currentTransImage().isNull());
    EXPECT_EQ(editor->filesPane()->attTableView()->model()->rowCount(), 0);

    // The camera runs only while the photo tab is shown.
    editor->setupTabsWithTag(TransEditController::PhotoTab);
    editor->photoPane()->setCameraFactory([] { return std::make_unique<IdleCamera>(); });
    editor->photoPane()->togglePhotoButton()->click();
    ASSERT_TRUE(editor->photoPane()->isCameraRunning());
    editor->tabs()->setCurrentIndex(TransEditController::FilesTab);
    EXPECT_FALSE(editor->photoPane()->isCameraRunning());
    editor->cancel();
}

TEST_F(TransEditControllerTest, PhotoIsStoredAsTiffAndReadBack)
{
    QImage photo(12, 9, QImage::Format_RGB32);
    for (int y = 0; y < photo.height(); ++y)
        for (int x = 0; x < photo.width(); ++x)
            photo.setPixelColor(x, y, QColor(x * 20, y * 25, 90));
    TransEditController* editor = fillNew(QStringLiteral("Scanner"), QStringLiteral("80"));
    editor->photoPane()->setCurrentTransImage(photo);
    editor->saveButton()->click();
    ManagedObject* scanner = transaction(QStringLiteral("Scanner"));
    ASSERT_NE(scanner, nullptr);
    const QString path = scanner->valueForKey(u"trans_photo").toString();
    EXPECT_EQ(QFileInfo(path).fileName(), QStringLiteral("Trans_Photo.jpg"));
    const QByteArray bytes = qf::test::readFile(path);
    EXPECT_TRUE(bytes.startsWith(QByteArray("II*\0", 4)) || bytes.startsWith(QByteArray("MM\0*", 4)))
        << "not TIFF: " << bytes.left(8).toHex().constData();

    openEdit(scanner);
    EXPECT_EQ(editor->photoPane()->currentTransImage().convertToFormat(QImage::Format_RGB32), photo);
    editor->cancel();
}

TEST_F(TransEditControllerTest, UnreadablePhotoFileOutlivesSavesUntilTheUserRemovesIt)
{
    ManagedObject* coffee = transaction(QStringLiteral("Coffee"));
    const QString path = ledger.folder() + QStringLiteral("/Attachments/") +
                         coffee->valueForKey(u"trans_uniqueID").toString() + QStringLiteral("/Trans_Photo.jpg");
    ASSERT_TRUE(qf::test::writeFile(path, "\x01\x02 not an image of any kind"));
    coffee->setValueForKey(u"trans_photo", Value(path));
    ASSERT_TRUE(ledger.delegate().saveAction());

    TransEditController* editor = openEdit(coffee);
    TransPhotoController* pane = editor->photoPane();
    EXPECT_TRUE(pane->currentTransImage().isNull());
    EXPECT_TRUE(pane->keepsUnreadablePhoto());
    EXPECT_FALSE(pane->removeButton()->isHidden()) << "the user has no way to let the file go";
    details()->notesField()->setPlainText(QStringLiteral("with a receipt"));
    editor->saveButton()->click();
    EXPECT_EQ(coffee->valueForKey(u"trans_notes").toString(), QStringLiteral("with a receipt"));
    EXPECT_EQ(qf::test::readFile(path), QByteArray("\x01\x02 not an image of any kind"));
    EXPECT_EQ(coffee->valueForKey(u"trans_photo").toString(), path);

    openEdit(coffee);
    pane->removeButton()->click();
    EXPECT_TRUE(pane->removeButton()->isHidden());
    EXPECT_TRUE(QFileInfo::exists(path)) << "the file went before the save";
    editor->saveButton()->click();
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_TRUE(coffee->valueForKey(u"trans_photo").isNull());
}

TEST_F(TransEditControllerTest, OnTheNeverSavedExampleTheNewRowIsSelectedAndItsRepeatCopied)
{
    window.reset();
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    ASSERT_TRUE(ledger.delegate().isUsingExampleStore());
    ledger.launch();
    window = std::make_unique<MainWindow>(ledger.delegate());
    window->show();
    window->setupSourceList();
    TransEditController* editor = fillNew(QStringLiteral("Library Fine"), QStringLiteral("2"));
    selectItem(details()->repeatSelector(), QStringLiteral("Weekly"));
    answerNextModal([](QWidget* alert) { static_cast<QMessageBox*>(alert)->buttons().front()->click(); });
    editor->saveButton()->click();
    ManagedObject* selected = window->libraryController()->selectedTransaction();
    EXPECT_EQ(values(selected, {"trans_title"}), QStringLiteral("trans_title=\"Library Fine\""));

    // The upcoming copy takes the values the record has, though none were saved.
    ASSERT_TRUE(waitUntil([&] { return !editor->reoccurenceAlert(); }));
    ASSERT_NE(selected, nullptr);
    const auto copies = copiesOf(selected);
    ASSERT_EQ(copies.size(), 1u);
    EXPECT_EQ(values(copies.front(), {"trans_title", "trans_amount"}),
              QStringLiteral("trans_title=\"Library Fine\"; trans_amount=-2"));
}

#include "TransEditControllerTest.moc"
