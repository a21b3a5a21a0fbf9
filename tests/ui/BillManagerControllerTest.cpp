#include "app/ui/CalendarPickerController.h"
#include "app/ui/ErrorController.h"
#include "app/ui/MainWindow.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "planning/BillPayment.h"
#include "planning/BillRecords.h"
#include "planning/KVCalendarInfo.h"
#include "planning/ui/BillCell.h"
#include "planning/ui/BillManagerController.h"
#include "planning/ui/PendingCellController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/ModalAnswer.h"
#include "support/PinnedZone.h"
#include "support/TempLedger.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"
#include "views/ui/SourceListModel.h"

#include <QButtonGroup>
#include <QCalendarWidget>
#include <QComboBox>
#include <QCompleter>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::answerNextModal;
using qf::test::TempLedger;
using qf::testing::berlinTime;

namespace {

void choose(QComboBox* menu, const QString& data)
{
    const int index = menu->findData(data);
    ASSERT_GE(index, 0) << qPrintable(data);
    menu->setCurrentIndex(index);
    Q_EMIT menu->activated(index);
}

void type(QLineEdit* field, const QString& text)
{
    field->clear();
    QTest::keyClicks(field, text);
}

void triggerMenuItem(QToolButton* button, const QString& text)
{
    for (QAction* action : button->menu()->actions()) {
        if (action->text() == text) {
            action->trigger();
            return;
        }
    }
    ADD_FAILURE() << "no menu item " << qPrintable(text);
}

class BillManagerControllerTest : public qf::testing::PinnedZoneTest {
protected:
    void SetUp() override
    {
        PinnedZoneTest::SetUp();
        KVCalendarInfo::setClockForTesting([] { return berlinTime(2026, 3, 10, 12); });
        ledger.launch();
        billVault = VaultLibrary::vaultsOfType(ledger.context(), VaultType::BillManager).front();
        checking = ledger.addAccount(QStringLiteral("Checking"));
        savings = ledger.addAccount(QStringLiteral("Savings"));
    }
    void TearDown() override
    {
        ErrorController::sharedInstance().closeErrorPanel();
        KVCalendarInfo::setClockForTesting({});
    }

    ManagedObject* bill(const QString& title, double amount, const QString& billType, AbsoluteTime due,
                        const QString& repeat = QStringLiteral("Never"))
    {
        ManagedObject* b = BillRecords::addBill(ledger.context(), ledger.delegate());
        BillRecords::saveBill(*b, {title, QString(), amount, due, repeat, billType});
        return b;
    }
    QString id(ManagedObject* vault) { return vault->valueForKey(u"vault_uniqueID").toString(); }
    QString shortDate(AbsoluteTime date) { return ledger.delegate().shortDateFormatter().format(date); }
    std::size_t payments() { return ledger.context().count(ManagedObjectModel::shared().trans()); }
    QStringList shownTitles(const BillManagerController& screen)
    {
        QStringList titles;
        for (ManagedObject* b : screen.arrangedBills())
            titles << b->valueForKey(u"trans_title").toString();
        return titles;
    }
    static QToolButton* button(QWidget& parent, const char* name)
    {
        return parent.findChild<QToolButton*>(QString::fromLatin1(name));
    }

    TempLedger ledger;
    ManagedObject* billVault = nullptr;
    ManagedObject* checking = nullptr;
    ManagedObject* savings = nullptr;
};

} // namespace

TEST_F(BillManagerControllerTest, AddingOpensAnEmptyRowThatSavesOnlyWithTitleAmountAndDate)
{
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    EXPECT_TRUE(screen.blankCell()->isVisible());
    EXPECT_EQ(screen.blankCell()->state(), BillCell::State::Blank);

    QTest::mouseClick(button(screen, "addBillButton"), Qt::LeftButton);
    ManagedObject* added = screen.selectedBill();
    ASSERT_NE(added, nullptr);
    EXPECT_TRUE(added->valueForKey(u"trans_isUpcoming").toBool());
    EXPECT_TRUE(added->valueForKey(u"trans_isPending").toBool());
    BillCell* row = screen.cellForBill(added);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->state(), BillCell::State::Edit);

    // Title first, then amount, then date: each missing one is marked in turn.
    QTest::mouseClick(row->findChild<QPushButton*>(QStringLiteral("billSave")), Qt::LeftButton);
    EXPECT_EQ(ErrorController::sharedInstance().field(), row->titleField());
    EXPECT_EQ(row->state(), BillCell::State::Edit);
    type(row->titleField(), QStringLiteral("Phone"));
    EXPECT_FALSE(row->save());
    EXPECT_EQ(ErrorController::sharedInstance().field(), row->amountField());
    type(row->amountField(), QStringLiteral("20"));
    EXPECT_FALSE(row->save());
    EXPECT_EQ(ErrorController::sharedInstance().field(), row->dateField());
    EXPECT_TRUE(added->valueForKey(u"trans_title").isNull());

    type(row->tagsField(), QStringLiteral("phone,  mobile"));
    type(row->dateField(), shortDate(berlinTime(2026, 3, 15)));
    choose(row->repeatMenu(), QStringLiteral("Monthly"));
    choose(row->accountMenu(), id(checking));
    // The account menu writes at once, before Save.
    EXPECT_EQ(added->valueForKey(u"trans_accountID").toString(), id(checking));
    QTest::keyClick(row->dateField(), Qt::Key_Return);
    EXPECT_EQ(row->state(), BillCell::State::Display);
    EXPECT_EQ(added->valueForKey(u"trans_title").toString(), QStringLiteral("Phone"));
    EXPECT_EQ(added->valueForKey(u"trans_amount").toDouble(), -20.0);
    EXPECT_EQ(added->valueForKey(u"trans_keywords").toString(), QStringLiteral("phone, mobile"));
    EXPECT_EQ(added->valueForKey(u"trans_date").toDate(), berlinTime(2026, 3, 15));
    EXPECT_EQ(added->valueForKey(u"trans_reoccurrence").toString(), QStringLiteral("Monthly"));
    EXPECT_EQ(added->valueForKey(u"trans_billType").toString(), QStringLiteral("Outgoing"));
    EXPECT_EQ(shownTitles(screen), QStringList{QStringLiteral("Phone")});
    EXPECT_FALSE(screen.blankCell()->isVisible());
}

TEST_F(BillManagerControllerTest, EditingSwitchesTypeAndAccountMenusWhichWriteAtOnce)
{
    ManagedObject* gift = bill(QStringLiteral("Gift"), 75, QStringLiteral("Incoming"), berlinTime(2026, 3, 20));
    BillRecords::setAccount(*gift, id(checking));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    BillCell* row = screen.cellForBill(gift);
    ASSERT_NE(row, nullptr);
    QTest::mouseDClick(row, Qt::LeftButton);
    ASSERT_EQ(row->state(), BillCell::State::Edit);
    EXPECT_TRUE(row->accountMenu()->isVisible());
    EXPECT_FALSE(row->fromAccountMenu()->isVisible());
    EXPECT_EQ(row->accountMenu()->currentData().toString(), id(checking));
    EXPECT_EQ(row->amountField()->text(), ledger.delegate().amountFormatter().format(75));

    choose(row->typeMenu(), QStringLiteral("Transfer"));
    EXPECT_EQ(gift->valueForKey(u"trans_billType").toString(), QStringLiteral("Transfer"));
    EXPECT_FALSE(row->accountMenu()->isVisible());
    EXPECT_TRUE(row->fromAccountMenu()->isVisible());
    EXPECT_TRUE(row->toAccountMenu()->isVisible());
    choose(row->fromAccountMenu(), id(checking));
    choose(row->toAccountMenu(), id(savings));
    EXPECT_EQ(gift->valueForKey(u"trans_billFromAccountID").toString(), id(checking));
    EXPECT_EQ(gift->valueForKey(u"trans_billToAccountID").toString(), id(savings));

    // Back to an incoming account: the transfer accounts are cleared.
    choose(row->typeMenu(), QStringLiteral("Incoming"));
    choose(row->accountMenu(), QString());
    EXPECT_TRUE(gift->valueForKey(u"trans_accountID").isNull());
    EXPECT_EQ(gift->valueForKey(u"trans_billToAccountID").toString(), QString());

    // Cancel keeps the typed fields out of the record.
    type(row->titleField(), QStringLiteral("Changed"));
    row->cancel();
    EXPECT_EQ(row->state(), BillCell::State::Display);
    EXPECT_EQ(gift->valueForKey(u"trans_title").toString(), QStringLiteral("Gift"));
}

TEST_F(BillManagerControllerTest, TagFieldOffersTagsOfAllTransactions)
{
    ledger.addTransaction(QStringLiteral("Lunch"), -9, QStringLiteral("food, fuel"));
    ManagedObject* b = bill(QStringLiteral("Fuel card"), 60, QStringLiteral("Outgoing"), berlinTime(2026, 3, 20));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    BillCell* row = screen.cellForBill(b);
    row->edit();
    type(row->tagsField(), QStringLiteral("car, f"));
    QStringList hints;
    for (int i = 0; i < row->tagCompleter()->model()->rowCount(); ++i)
        hints << row->tagCompleter()->model()->index(i, 0).data().toString();
    EXPECT_EQ(hints, (QStringList{QStringLiteral("food"), QStringLiteral("fuel")}));
}

TEST_F(BillManagerControllerTest, RemoveDeletesTheSelectedBillOnly)
{
    ManagedObject* a = bill(QStringLiteral("A"), 1, QStringLiteral("Outgoing"), berlinTime(2026, 3, 20));
    ManagedObject* b = bill(QStringLiteral("B"), 2, QStringLiteral("Outgoing"), berlinTime(2026, 3, 21));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    EXPECT_FALSE(button(screen, "removeBillButton")->isEnabled());
    QTest::mouseClick(screen.cellForBill(b), Qt::LeftButton);
    EXPECT_EQ(screen.selectedBill(), b);
    QTest::mouseClick(button(screen, "removeBillButton"), Qt::LeftButton);
    EXPECT_TRUE(b->isDeleted());
    EXPECT_FALSE(a->isDeleted());
    EXPECT_EQ(shownTitles(screen), QStringList{QStringLiteral("A")});
    EXPECT_EQ(screen.selectedBill(), nullptr);
}

TEST_F(BillManagerControllerTest, TransferWithoutAccountsShowsMissingAccountAndPaysNothing)
{
    ManagedObject* half = bill(QStringLiteral("Half"), 50, QStringLiteral("Transfer"), berlinTime(2026, 3, 20),
                               QStringLiteral("Monthly"));
    BillRecords::setFromAccount(*half, id(checking));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    screen.selectBill(half);
    const std::size_t before = payments();
    QString title, text;
    answerNextModal([&](QWidget* modal) {
        title = modal->windowTitle();
        text = modal->findChild<QLabel*>(QStringLiteral("sheetText"))->text();
        EXPECT_EQ(modal->objectName(), QStringLiteral("missingAccountSheet"));
        qobject_cast<QDialog*>(modal)->accept();
    });
    QTest::mouseClick(button(screen, "payBillButton"), Qt::LeftButton);
    EXPECT_EQ(title, QStringLiteral("Missing Account"));
    EXPECT_EQ(text, QStringLiteral("In order to pay bill correctly, you must choose an incoming and an outgoing account."));
    EXPECT_EQ(payments(), before);
    EXPECT_EQ(half->valueForKey(u"trans_date").toDate(), berlinTime(2026, 3, 20));
}

TEST_F(BillManagerControllerTest, CancellingBillPaidMovesARepeatingDateButBooksNothing)
{
    ManagedObject* rent = bill(QStringLiteral("Rent"), 900, QStringLiteral("Outgoing"), berlinTime(2026, 1, 31, 9),
                               QStringLiteral("Monthly"));
    ManagedObject* once = bill(QStringLiteral("Once"), 9, QStringLiteral("Outgoing"), berlinTime(2026, 3, 12));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    const std::size_t before = payments();
    QString text;
    answerNextModal([&](QWidget* modal) {
        EXPECT_EQ(modal->windowTitle(), QStringLiteral("Bill Paid"));
        text = modal->findChild<QLabel*>(QStringLiteral("sheetText"))->text();
        qobject_cast<QDialog*>(modal)->reject();
    });
    EXPECT_TRUE(screen.payOffBillWithObject(rent));
    EXPECT_EQ(text, BillPayment::repeatingPaidText());
    EXPECT_EQ(payments(), before);
    EXPECT_EQ(rent->valueForKey(u"trans_date").toDate(), berlinTime(2026, 2, 28, 9));

    answerNextModal([&](QWidget* modal) {
        text = modal->findChild<QLabel*>(QStringLiteral("sheetText"))->text();
        qobject_cast<QDialog*>(modal)->reject();
    });
    screen.payOffBillWithObject(once);
    EXPECT_EQ(text, BillPayment::neverPaidText());
    EXPECT_FALSE(once->isDeleted());
    EXPECT_EQ(payments(), before);
}

TEST_F(BillManagerControllerTest, ConfirmedPaymentBooksPendingAndAOneOffBillLeavesTheList)
{
    ManagedObject* once = bill(QStringLiteral("Once"), 9, QStringLiteral("Outgoing"), berlinTime(2026, 3, 12));
    BillRecords::setAccount(*once, id(checking));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    screen.selectBill(once);
    const QString onceID = once->valueForKey(u"trans_uniqueID").toString();
    answerNextModal([](QWidget* modal) { qobject_cast<QDialog*>(modal)->accept(); });
    QTest::mouseClick(button(screen, "payBillButton"), Qt::LeftButton);
    EXPECT_TRUE(once->isDeleted());
    EXPECT_TRUE(screen.arrangedBills().empty());
    EXPECT_EQ(screen.selectedBill(), nullptr);
    std::vector<ManagedObject*> paid;
    for (ManagedObject* t : ledger.context().objects(ManagedObjectModel::shared().trans())) {
        if (t->valueForKey(u"trans_pendingREFID").toString() == onceID)
            paid.push_back(t);
    }
    ASSERT_EQ(paid.size(), 1u);
    EXPECT_EQ(paid[0]->valueForKey(u"trans_amount").toDouble(), -9.0);
    EXPECT_EQ(paid[0]->valueForKey(u"trans_accountID").toString(), id(checking));
    EXPECT_EQ(paid[0]->valueForKey(u"trans_status").toString(), QStringLiteral("Pending"));
}

TEST_F(BillManagerControllerTest, ASecondPaymentTheSameDayAsksAndDecliningChangesNothing)
{
    ManagedObject* gym = bill(QStringLiteral("Gym"), 30, QStringLiteral("Outgoing"), berlinTime(2026, 3, 10),
                              QStringLiteral("Weekly"));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    answerNextModal([](QWidget* modal) { qobject_cast<QDialog*>(modal)->accept(); });
    screen.payOffBillWithObject(gym);
    const std::size_t afterFirst = payments();
    const AbsoluteTime moved = gym->valueForKey(u"trans_date").toDate();
    EXPECT_EQ(moved, berlinTime(2026, 3, 17));

    QString question;
    answerNextModal([&](QWidget* modal) {
        auto* box = qobject_cast<QMessageBox*>(modal);
        ASSERT_NE(box, nullptr);
        question = box->text();
        box->button(QMessageBox::No)->click();
    });
    screen.payOffBillWithObject(gym);
    EXPECT_TRUE(question.contains(QStringLiteral("Gym")));
    EXPECT_EQ(payments(), afterFirst);
    EXPECT_EQ(gym->valueForKey(u"trans_date").toDate(), moved);

    // Paying on purpose: yes, then the Bill Paid sheet.
    answerNextModal([](QWidget* modal) {
        qobject_cast<QMessageBox*>(modal)->button(QMessageBox::Yes)->click();
        answerNextModal([](QWidget* paid) { qobject_cast<QDialog*>(paid)->accept(); });
    });
    screen.payOffBillWithObject(gym);
    EXPECT_EQ(payments(), afterFirst + 1);
    EXPECT_EQ(gym->valueForKey(u"trans_date").toDate(), berlinTime(2026, 3, 24));
}

TEST_F(BillManagerControllerTest, FilterRangeAndSortAreKeptOnTheVaultAndRestored)
{
    bill(QStringLiteral("Salary"), 2000, QStringLiteral("Incoming"), berlinTime(2026, 3, 25));
    bill(QStringLiteral("Savings"), 100, QStringLiteral("Transfer"), berlinTime(2026, 3, 12));
    bill(QStringLiteral("Late"), 5, QStringLiteral("Transfer"), berlinTime(2026, 3, 1));
    {
        BillManagerController screen(ledger.delegate());
        screen.prepareMainViewWithVaultObject(billVault);
        screen.show();
        EXPECT_EQ(shownTitles(screen).size(), 3);
        screen.filterButtons()->button(3)->click();
        EXPECT_EQ(billVault->valueForKey(u"vault_directionFilter").toString(), QStringLiteral("FilterTransfer"));
        EXPECT_EQ(shownTitles(screen), (QStringList{QStringLiteral("Late"), QStringLiteral("Savings")}));
        triggerMenuItem(screen.rangeButton(), QStringLiteral("Next 5 Days"));
        EXPECT_EQ(shownTitles(screen), QStringList{QStringLiteral("Savings")});
        triggerMenuItem(screen.sortButton(), QStringLiteral("By Amount"));
        EXPECT_EQ(billVault->valueForKey(u"vault_transSort").toString(), QStringLiteral("By Amount"));
        type(screen.searchField(), QStringLiteral("nothing like it"));
        EXPECT_TRUE(shownTitles(screen).empty());
        EXPECT_TRUE(screen.blankCell()->isVisible());
    }
    BillManagerController again(ledger.delegate());
    again.prepareMainViewWithVaultObject(billVault);
    EXPECT_EQ(again.settings().dateRangeType, QStringLiteral("Next 5 Days"));
    EXPECT_TRUE(again.filterButtons()->button(3)->isChecked());
    EXPECT_EQ(again.rangeButton()->text(), QStringLiteral("Next 5 Days"));
    EXPECT_EQ(again.sortButton()->text(), QStringLiteral("By Amount"));
    EXPECT_EQ(shownTitles(again), QStringList{QStringLiteral("Savings")});
}

TEST_F(BillManagerControllerTest, RowsMarkOverdueAndDueTodayBills)
{
    ManagedObject* late = bill(QStringLiteral("Late"), 5, QStringLiteral("Outgoing"), berlinTime(2026, 3, 9));
    ManagedObject* today = bill(QStringLiteral("Today"), 5, QStringLiteral("Outgoing"), berlinTime(2026, 3, 10, 8));
    ManagedObject* soon = bill(QStringLiteral("Soon"), 5, QStringLiteral("Outgoing"), berlinTime(2026, 3, 11));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    EXPECT_EQ(screen.cellForBill(late)->statusLabel()->text(), QStringLiteral("Overdue"));
    EXPECT_EQ(screen.cellForBill(today)->statusLabel()->text(), QStringLiteral("Due Today"));
    EXPECT_EQ(screen.cellForBill(soon)->statusLabel()->text(), QStringLiteral("Upcoming"));
    EXPECT_EQ(screen.statusLine(), QStringLiteral("3 bills, 1 overdue"));
}

TEST_F(BillManagerControllerTest, MainWindowBadgesOverdueBillsAndTheListPaysThroughTheBillScreen)
{
    ManagedObject* late = bill(QStringLiteral("Late"), 5, QStringLiteral("Outgoing"), berlinTime(2026, 3, 2),
                               QStringLiteral("Monthly"));
    bill(QStringLiteral("Later"), 5, QStringLiteral("Outgoing"), berlinTime(2026, 3, 5));
    ManagedObject* half = bill(QStringLiteral("Half"), 50, QStringLiteral("Transfer"), berlinTime(2026, 3, 20));
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    window.show();
    EXPECT_EQ(window.sourceController()->model()->badge(id(billVault)), 2);
    EXPECT_TRUE(window.overdueNote()->isVisible());
    EXPECT_EQ(window.overdueNote()->text(), QStringLiteral("2 bills overdue"));

    // The note opens the bills with every item.
    billVault->setValueForKey(u"vault_dateRangeType", Value("Next 10 Days"));
    QTest::mouseClick(window.overdueNote(), Qt::LeftButton);
    EXPECT_EQ(window.sourceController()->selectedVaultID(), id(billVault));
    EXPECT_EQ(window.billManager()->settings().dateRangeType, QStringLiteral("All Items"));
    EXPECT_EQ(window.billManager()->arrangedBills().size(), 3u);

    // From the library: Pay on an upcoming record pays it.
    const auto libraries = VaultLibrary::vaultsOfType(ledger.context(), VaultType::MasterVault);
    window.sourceController()->selectControllerWithID(id(libraries.front()));
    LibraryController* list = window.libraryController();
    ASSERT_TRUE(list->selectTransactionWithID(late->valueForKey(u"trans_uniqueID").toString()));
    EXPECT_TRUE(list->reconcileButton()->isVisible());
    EXPECT_EQ(list->reconcileButton()->text(), QStringLiteral("Pay"));
    answerNextModal([](QWidget* modal) { qobject_cast<QDialog*>(modal)->accept(); });
    QTest::mouseClick(list->reconcileButton(), Qt::LeftButton);
    EXPECT_EQ(late->valueForKey(u"trans_date").toDate(), berlinTime(2026, 4, 2));
    QCoreApplication::processEvents();
    EXPECT_EQ(window.sourceController()->model()->badge(id(billVault)), 1);

    // A bill that cannot be paid there is shown on the bill screen.
    ASSERT_TRUE(list->selectTransactionWithID(half->valueForKey(u"trans_uniqueID").toString()));
    answerNextModal([](QWidget* modal) { qobject_cast<QDialog*>(modal)->accept(); });
    QTest::mouseClick(list->reconcileButton(), Qt::LeftButton);
    EXPECT_EQ(window.sourceController()->selectedVaultID(), id(billVault));
    EXPECT_EQ(window.billManager()->selectedBill(), half);
}

TEST_F(BillManagerControllerTest, PendingRowShowsMainPlainMainAndBlank)
{
    ManagedObject* t = ledger.addTransaction(QStringLiteral("Cheque"), 40, QStringLiteral("gift"), berlinTime(2026, 3, 4));
    PendingCellController row(ledger.delegate());
    row.setTransaction(t);
    row.setState(QStringLiteral("Main"));
    EXPECT_EQ(row.titleText(), QStringLiteral("Cheque"));
    EXPECT_EQ(row.amountText(), ledger.delegate().amountFormatter().format(40));
    EXPECT_EQ(row.dateText(), shortDate(berlinTime(2026, 3, 4)));
    EXPECT_EQ(row.tagsText(), QStringLiteral("gift"));
    row.setState(QStringLiteral("Plain Main"));
    EXPECT_EQ(row.titleText(), QStringLiteral("Cheque"));
    EXPECT_TRUE(row.dateText().isEmpty());
    EXPECT_TRUE(row.tagsText().isEmpty());
    row.setState(QStringLiteral("Sideways"));
    EXPECT_EQ(row.state(), QStringLiteral("Plain Main"));
    row.setState(QStringLiteral("Blank"));
    EXPECT_EQ(row.state(), QStringLiteral("Blank"));
    t->setValueForKey(u"trans_amount", Value(41.0));
    row.localeChanged();
    EXPECT_EQ(row.amountText(), ledger.delegate().amountFormatter().format(41));
}

TEST_F(BillManagerControllerTest, EscapeInARowCancelsItsEdit)
{
    ManagedObject* b = bill(QStringLiteral("Water"), 20, QStringLiteral("Outgoing"), berlinTime(2026, 3, 20));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    BillCell* row = screen.cellForBill(b);
    row->edit();
    type(row->titleField(), QStringLiteral("Gas"));
    QTest::keyClick(row->titleField(), Qt::Key_Escape);
    EXPECT_EQ(row->state(), BillCell::State::Display);
    EXPECT_EQ(b->valueForKey(u"trans_title").toString(), QStringLiteral("Water"));
}

TEST_F(BillManagerControllerTest, DatePickedInTheCalendarIsSavedAndUnreadableTextIsRefused)
{
    ManagedObject* b = bill(QStringLiteral("Water"), 20, QStringLiteral("Outgoing"), berlinTime(2026, 3, 20, 7, 45));
    BillManagerController screen(ledger.delegate());
    screen.prepareMainViewWithVaultObject(billVault);
    screen.show();
    BillCell* row = screen.cellForBill(b);
    row->edit();
    CalendarPickerController& picker = CalendarPickerController::sharedInstance();
    row->calendarButton()->click();
    ASSERT_TRUE(picker.panel() && picker.panel()->isVisible());
    EXPECT_EQ(picker.calendar()->selectedDate(), QDate(2026, 3, 20));
    picker.calendar()->setSelectedDate(QDate(2026, 4, 2));
    picker.doneButton()->click();
    EXPECT_EQ(row->dateField()->text(), shortDate(berlinTime(2026, 4, 2)));
    EXPECT_TRUE(row->save());
    EXPECT_EQ(b->valueForKey(u"trans_date").toDate(), berlinTime(2026, 4, 2));

    // Saving an unchanged day keeps the time of day.
    b->setValueForKey(u"trans_date", Value::date(berlinTime(2026, 4, 2, 7, 45)));
    row->edit();
    EXPECT_TRUE(row->save());
    EXPECT_EQ(b->valueForKey(u"trans_date").toDate(), berlinTime(2026, 4, 2, 7, 45));

    row->edit();
    type(row->dateField(), QStringLiteral("soon"));
    EXPECT_FALSE(row->save());
    EXPECT_EQ(ErrorController::sharedInstance().field(), row->dateField());
    type(row->dateField(), shortDate(berlinTime(2026, 4, 3)));
    type(row->amountField(), QStringLiteral("lots"));
    EXPECT_FALSE(row->save());
    EXPECT_EQ(ErrorController::sharedInstance().field(), row->amountField());
    EXPECT_EQ(b->valueForKey(u"trans_date").toDate(), berlinTime(2026, 4, 2, 7, 45));
}
