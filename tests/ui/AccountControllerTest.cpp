#include "app/ui/MainWindow.h"
#include "common/AmountFormatter.h"
#include "editing/AccountRecords.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/ui/AccountController.h"
#include "views/ui/FolderController.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class AccountControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* account = nullptr;
    MainWindow* window = nullptr;
    AccountController* pane = nullptr;

    void SetUp() override
    {
        AccountDetails details;
        details.title = QStringLiteral("Checking");
        details.bankName = QStringLiteral("Harbor Bank");
        details.accountType = QStringLiteral("Savings");
        details.url = QStringLiteral("bank.example/me");
        details.number = QStringLiteral("****4821");
        details.initialAmount = 100;
        account = AccountRecords::createAccount(context, ledger.delegate(), details);
        const Value id = account->valueForKey(u"vault_uniqueID");
        ledger.addTransaction(QStringLiteral("Salary"), 2500)->setValueForKey(u"trans_accountID", id);
        ledger.addTransaction(QStringLiteral("Coffee"), -3.5)->setValueForKey(u"trans_accountID", id);
        ledger.addTransaction(QStringLiteral("Elsewhere"), -40);
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = new MainWindow(ledger.delegate());
        window->setupSourceList();
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(id.toString()));
        pane = window->findChild<AccountController*>();
        ASSERT_NE(pane, nullptr);
    }
    void TearDown() override { delete window; }

    QString text(const char* name) { return pane->findChild<QLabel*>(QString::fromLatin1(name))->text(); }
    QLineEdit* field(const char* name) { return pane->findChild<QLineEdit*>(QString::fromLatin1(name)); }
    void click(const char* name) { pane->findChild<QPushButton*>(QString::fromLatin1(name))->click(); }
};

} // namespace

TEST_F(AccountControllerTest, InfoPanelShowsTheAccountAboveItsList)
{
    EXPECT_EQ(window->libraryController()->infoPane(), pane);
    EXPECT_EQ(window->libraryController()->arrangedTransObjects().size(), 3u); // the deposit, Salary, Coffee
    EXPECT_EQ(text("accountTitle"), QStringLiteral("Checking"));
    EXPECT_EQ(text("bankLabel"), QStringLiteral("Harbor Bank"));
    EXPECT_EQ(text("typeLabel"), QStringLiteral("Savings"));
    EXPECT_EQ(text("numberLabel"), QStringLiteral("****4821"));
    EXPECT_EQ(text("urlLabel"), QStringLiteral("<a href=\"http://bank.example/me\">bank.example/me</a>"));
    EXPECT_EQ(text("openingLabel"), QStringLiteral("$100.00"));
    EXPECT_EQ(text("balanceLabel"), QStringLiteral("$2,596.50"));
    // An account that never chose a tab stores "Transactions", without an undo step.
    EXPECT_EQ(account->valueForKey(u"vault_tabSelected").toString(), QStringLiteral("Transactions"));
    account->setValueForKey(u"vault_tabSelected", Value(QStringLiteral("Unknown")));
    context.processPendingChanges();
    context.undoManager().removeAllActions();
    EXPECT_EQ(pane->prepareMainViewWithVaultObject(account), window->libraryController());
    context.processPendingChanges();
    EXPECT_EQ(account->valueForKey(u"vault_tabSelected").toString(), QStringLiteral("Transactions"));
    EXPECT_FALSE(context.undoManager().canUndo());

    // The balance follows the store; a filter of the list does not change it.
    ledger.addTransaction(QStringLiteral("Refund"), 10)->setValueForKey(u"trans_accountID", account->valueForKey(u"vault_uniqueID"));
    context.processPendingChanges();
    EXPECT_EQ(text("balanceLabel"), QStringLiteral("$2,606.50"));
    window->libraryController()->searchField()->setText(QStringLiteral("Coffee"));
    EXPECT_EQ(text("balanceLabel"), QStringLiteral("$2,606.50"));

    // Another kind of vault closes the pane.
    ManagedObject* library = ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front();
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(library->valueForKey(u"vault_uniqueID").toString()));
    EXPECT_EQ(window->libraryController()->infoPane(), nullptr);
    EXPECT_TRUE(pane->isHidden());
}

TEST_F(AccountControllerTest, EditFormSavesCancelsAndRefusesAnEmptyName)
{
    click("editAccount");
    ASSERT_TRUE(pane->isEditing());
    EXPECT_EQ(field("accountName")->text(), QStringLiteral("Checking"));
    EXPECT_EQ(field("accountURL")->text(), QStringLiteral("http://bank.example/me"));
    EXPECT_EQ(field("initialAmount")->text(), QStringLiteral("$100.00"));
    EXPECT_EQ(pane->findChild<QComboBox*>(QStringLiteral("accountType"))->currentData().toString(), QStringLiteral("Savings"));

    // Cancel leaves everything as it was.
    field("accountName")->setText(QStringLiteral("Changed"));
    click("cancelEdit");
    EXPECT_FALSE(pane->isEditing());
    EXPECT_EQ(account->valueForKey(u"vault_title").toString(), QStringLiteral("Checking"));

    // A blank name is refused: nothing is stored and the form stays open.
    click("editAccount");
    field("accountName")->setText(QStringLiteral("   "));
    field("bankName")->setText(QStringLiteral("Other Bank"));
    EXPECT_FALSE(pane->saveEditAccountInfo());
    EXPECT_TRUE(pane->isEditing());
    EXPECT_EQ(account->valueForKey(u"vault_accountBankName").toString(), QStringLiteral("Harbor Bank"));

    field("accountName")->setText(QStringLiteral("Everyday"));
    field("accountURL")->setText(QStringLiteral("www.harbor.example"));
    pane->findChild<QComboBox*>(QStringLiteral("accountType"))->setCurrentIndex(2); // Credit
    field("initialAmount")->setText(QStringLiteral("$250.00"));
    click("saveEdit");
    EXPECT_FALSE(pane->isEditing());
    EXPECT_EQ(account->valueForKey(u"vault_title").toString(), QStringLiteral("Everyday"));
    EXPECT_EQ(account->valueForKey(u"vault_accountBankName").toString(), QStringLiteral("Other Bank"));
    EXPECT_EQ(account->valueForKey(u"vault_accountType").toString(), QStringLiteral("Credit"));
    EXPECT_EQ(account->valueForKey(u"vault_accountInitialAmount").toDouble(), 250.0);
    EXPECT_EQ(text("accountTitle"), QStringLiteral("Everyday"));
    EXPECT_EQ(text("openingLabel"), QStringLiteral("$250.00"));
    EXPECT_EQ(text("balanceLabel"), QStringLiteral("$2,746.50"));
}

TEST_F(AccountControllerTest, ATypeTheMenuLacksSurvivesSavingTheForm)
{
    account->setValueForKey(u"vault_accountType", Value(QStringLiteral("Money Market")));
    pane->refreshInfoPanel();
    EXPECT_EQ(text("typeLabel"), QStringLiteral("Money Market"));
    click("editAccount");
    EXPECT_EQ(pane->findChild<QComboBox*>(QStringLiteral("accountType"))->currentText(), QStringLiteral("Money Market"));
    click("saveEdit");
    EXPECT_EQ(account->valueForKey(u"vault_accountType").toString(), QStringLiteral("Money Market"));
}
