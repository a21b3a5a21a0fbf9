#include "editing/AccountTransfer.h"

#include "common/DateFormatter.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

using namespace qf;
using qf::test::TempLedger;

namespace {

struct Fixture {
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = ledger.addAccount(QStringLiteral("Checking"));
    ManagedObject* savings = ledger.addAccount(QStringLiteral("Savings"));
    AccountTransfer sheet{ledger.delegate()};

    std::size_t transactionCount() const { return context.count(ManagedObjectModel::shared().trans()); }
};

QString uid(const ManagedObject* record)
{
    return record->valueForKey(u"vault_uniqueID").toString();
}

} // namespace

TEST(AccountTransfer, SelectorsAndPreselection)
{
    Fixture f;
    f.sheet.setAmountText(QStringLiteral("left over"));
    f.sheet.loadTransferPanelWithVaultObject(f.savings);
    EXPECT_TRUE(f.sheet.amountText().isEmpty());
    EXPECT_EQ(f.sheet.fromAccounts().titles(),
              (QStringList{QStringLiteral("None"), QStringLiteral("-"), QStringLiteral("Checking"),
                           QStringLiteral("Savings")}));
    EXPECT_EQ(f.sheet.fromAccounts().selectedID(), uid(f.savings));
    EXPECT_EQ(f.sheet.toAccounts().titles(), f.sheet.fromAccounts().titles());
    EXPECT_TRUE(f.sheet.toAccounts().selectedID().isNull());

    // A vault that is no account loses its id on purpose.
    ManagedObject* folder = VaultLibrary::insertVault(f.context, f.ledger.delegate(), VaultType::Playlist,
                                                      QStringLiteral("Trips"));
    const QString folderID = uid(folder);
    ASSERT_FALSE(folderID.isEmpty());
    f.sheet.loadTransferPanelWithVaultObject(folder);
    // The record class hands an id-less vault a fresh id on its next read.
    EXPECT_NE(uid(folder), folderID);
    EXPECT_TRUE(f.sheet.fromAccounts().selectedID().isNull());
    f.sheet.loadTransferPanelWithVaultObject(nullptr);
    EXPECT_TRUE(f.sheet.fromAccounts().selectedID().isNull());
}

TEST(AccountTransfer, NoAccountsGivesOnlyNone)
{
    TempLedger ledger;
    ledger.launch();
    AccountTransfer sheet(ledger.delegate());
    sheet.loadTransferPanelWithVaultObject(nullptr);
    EXPECT_EQ(sheet.fromAccounts().titles(), QStringList{QStringLiteral("None")});
    sheet.setAmountText(QStringLiteral("5"));
    EXPECT_FALSE(sheet.transfer());
}

TEST(AccountTransfer, RefusesWithoutBothAccountsOrAPositiveAmount)
{
    Fixture f;
    f.sheet.loadTransferPanelWithVaultObject(f.checking);
    const std::size_t before = f.transactionCount();
    f.sheet.setAmountText(QStringLiteral("25"));
    EXPECT_FALSE(f.sheet.transfer()); // "to" is None
    ASSERT_TRUE(f.sheet.toAccounts().selectID(uid(f.savings)));
    for (const char* amount : {"-25", "0", "abc", "", "1e-50"}) {
        f.sheet.setAmountText(QString::fromUtf8(amount));
        EXPECT_FALSE(f.sheet.transfer()) << amount;
    }
    EXPECT_EQ(f.transactionCount(), before);
}

TEST(AccountTransfer, WritesAnUnlinkedPendingPair)
{
    Fixture f;
    f.sheet.loadTransferPanelWithVaultObject(f.checking);
    ASSERT_TRUE(f.sheet.toAccounts().selectID(uid(f.savings)));
    f.sheet.setAmountText(QStringLiteral("$25.00"));
    const std::optional<AccountTransfer::Records> made = f.sheet.transfer();
    ASSERT_TRUE(made);
    const ManagedObject* w = made->withdrawal;
    const ManagedObject* d = made->deposit;
    const QString today = DateFormatter(DateFormatter::Style::Short, QStringLiteral("en_US"))
                              .format(f.ledger.delegate().now());
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^\\d+/\\d+/\\d\\d$")).match(today).hasMatch());
    EXPECT_EQ(w->valueForKey(u"trans_title").toString(), QStringLiteral("Transfer Withdrawal (%1)").arg(today));
    EXPECT_EQ(d->valueForKey(u"trans_title").toString(), QStringLiteral("Transfer Deposit (%1)").arg(today));
    EXPECT_EQ(w->valueForKey(u"trans_amount").toDouble(), -25.0);
    EXPECT_EQ(d->valueForKey(u"trans_amount").toDouble(), 25.0);
    EXPECT_EQ(w->valueForKey(u"trans_accountID").toString(), uid(f.checking));
    EXPECT_EQ(d->valueForKey(u"trans_accountID").toString(), uid(f.savings));
    for (const ManagedObject* r : {w, d}) {
        EXPECT_TRUE(r->valueForKey(u"trans_isPending").toBool());
        EXPECT_NEAR(r->valueForKey(u"trans_date").toDate(), f.ledger.delegate().now(), 5.0);
        EXPECT_TRUE(r->valueForKey(u"trans_paidREFID").isNull());
        EXPECT_TRUE(r->valueForKey(u"trans_pendingREFID").isNull());
    }
    EXPECT_NE(w->valueForKey(u"trans_uniqueID").toString(), d->valueForKey(u"trans_uniqueID").toString());

    // Deleting one half leaves the other as it was.
    f.context.deleteObject(made->withdrawal);
    EXPECT_EQ(d->valueForKey(u"trans_amount").toDouble(), 25.0);
    EXPECT_FALSE(d->isDeleted());
}

TEST(AccountTransfer, SameAccountOnBothSidesSumsToZero)
{
    Fixture f;
    f.sheet.loadTransferPanelWithVaultObject(f.checking);
    ASSERT_TRUE(f.sheet.toAccounts().selectID(uid(f.checking)));
    f.sheet.setAmountText(QStringLiteral("7.25"));
    const auto made = f.sheet.transfer();
    ASSERT_TRUE(made);
    EXPECT_EQ(made->withdrawal->valueForKey(u"trans_amount").toDouble()
                  + made->deposit->valueForKey(u"trans_amount").toDouble(),
              0.0);
    EXPECT_EQ(made->deposit->valueForKey(u"trans_accountID").toString(), uid(f.checking));
    f.sheet.setAmountText(QStringLiteral("1234.5"));
    f.sheet.amountDidEndEditing();
    EXPECT_EQ(f.sheet.amountText(), QStringLiteral("$1,234.50"));
}
