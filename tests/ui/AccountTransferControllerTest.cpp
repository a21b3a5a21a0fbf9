#include "app/ui/MainWindow.h"
#include "editing/ui/AccountTransferController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "ui/WidgetTestSupport.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFocusEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::menuAction;
using qf::test::RecordingPlayer;
using qf::test::TempLedger;

namespace {

class AccountTransferControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* alpha = nullptr;
    ManagedObject* beta = nullptr;
    QStringList played;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        alpha = ledger.addAccount(QStringLiteral("Alpha"));
        beta = ledger.addAccount(QStringLiteral("Beta"));
        ASSERT_TRUE(d.saveAction());
        SoundPlayer::setShared(std::make_unique<RecordingPlayer>(played));
        window = std::make_unique<MainWindow>(d);
        window->setupSourceList();
    }
    void TearDown() override { SoundPlayer::setShared(nullptr); }

    AccountTransferController* openOn(ManagedObject* vault)
    {
        EXPECT_TRUE(window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
        QAction* transfer = menuAction(*window, QStringLiteral("&Transactions"), QStringLiteral("Transfer…"));
        EXPECT_NE(transfer, nullptr);
        if (!transfer)
            return nullptr;
        transfer->trigger();
        return window->findChild<AccountTransferController*>();
    }
    static QPushButton* transferButton(AccountTransferController* sheet)
    {
        return sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    }
    std::vector<ManagedObject*> transactionsIn(ManagedObject* account)
    {
        return ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"), QStringLiteral("trans_accountID"),
                                                            account->valueForKey(u"vault_uniqueID"));
    }
};

} // namespace

TEST_F(AccountTransferControllerTest, TransferWritesThePairAndSelectsTheDeposit)
{
    AccountTransferController* sheet = openOn(beta);
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    // The shown account is the one money leaves; "to" waits for a choice.
    EXPECT_EQ(sheet->fromPopup()->currentText(), QStringLiteral("Beta"));
    EXPECT_EQ(sheet->toPopup()->currentText(), QStringLiteral("None"));
    EXPECT_TRUE(sheet->amountField()->text().isEmpty());

    QTest::keyClick(sheet->fromPopup(), Qt::Key_Up);
    QTest::keyClick(sheet->toPopup(), Qt::Key_Down); // over the separator, to Alpha
    QTest::keyClick(sheet->toPopup(), Qt::Key_Down);
    EXPECT_EQ(sheet->fromPopup()->currentText(), QStringLiteral("Alpha"));
    EXPECT_EQ(sheet->toPopup()->currentText(), QStringLiteral("Beta"));
    QTest::keyClicks(sheet->amountField(), QStringLiteral("25"));
    QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
    QApplication::sendEvent(sheet->amountField(), &out);
    EXPECT_EQ(sheet->amountField()->text(), QStringLiteral("$25.00"));
    transferButton(sheet)->click();

    EXPECT_FALSE(sheet->isVisible());
    EXPECT_TRUE(played.isEmpty());
    const auto fromAlpha = transactionsIn(alpha);
    const auto intoBeta = transactionsIn(beta);
    ASSERT_EQ(fromAlpha.size(), 1u);
    ASSERT_EQ(intoBeta.size(), 1u);
    EXPECT_EQ(fromAlpha[0]->valueForKey(u"trans_amount").toDouble(), -25.0);
    EXPECT_EQ(intoBeta[0]->valueForKey(u"trans_amount").toDouble(), 25.0);
    // The list of Beta shows the deposit, selected, at once.
    LibraryController* list = window->libraryController();
    ASSERT_EQ(list->arrangedTransObjects().size(), 1u);
    EXPECT_EQ(list->selectedTransaction(), intoBeta[0]);
    // and keeps it so once the store's change has gone round the window.
    context.processPendingChanges();
    EXPECT_EQ(list->selectedTransaction(), intoBeta[0]);
}

TEST_F(AccountTransferControllerTest, RefusedTransferBeepsAndKeepsTheSheet)
{
    AccountTransferController* sheet = openOn(alpha);
    ASSERT_NE(sheet, nullptr);
    QTest::keyClick(sheet->toPopup(), Qt::Key_Down);
    ASSERT_EQ(sheet->toPopup()->currentText(), QStringLiteral("Alpha"));
    QTest::keyClicks(sheet->amountField(), QStringLiteral("-25"));
    transferButton(sheet)->click();
    EXPECT_EQ(played, QStringList{QStringLiteral("beep")});
    EXPECT_TRUE(sheet->isVisible());
    sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
    EXPECT_FALSE(sheet->isVisible());
    EXPECT_TRUE(ledger.delegate().fetchAllTransObjects().empty());
    EXPECT_EQ(played.size(), 1);
}

TEST_F(AccountTransferControllerTest, ListButtonOnAFolderOpensTheSheetWithNoAccountChosen)
{
    ManagedObject* trip = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Playlist, QStringLiteral("Trip"));
    context.processPendingChanges();
    const QString tripID = trip->valueForKey(u"vault_uniqueID").toString();
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(tripID));
    window->libraryController()->findChild<QToolButton*>(QStringLiteral("transferButton"))->click();
    auto* sheet = window->findChild<AccountTransferController*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->fromPopup()->currentText(), QStringLiteral("None"));
    sheet->cancel();
}
