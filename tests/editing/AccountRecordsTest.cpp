#include "editing/AccountRecords.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(AccountRecords, OpeningDepositFollowsTheAmountButNotTheName)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    const std::size_t before = context.count(ManagedObjectModel::shared().trans());

    AccountDetails details;
    details.title = QStringLiteral("Checking");
    details.url = QStringLiteral("bank.example");
    ManagedObject* account = AccountRecords::createAccount(context, d, details);
    const QString id = account->valueForKey(u"vault_uniqueID").toString();
    EXPECT_EQ(account->valueForKey(u"vault_accountURL").toString(), QStringLiteral("http://bank.example"));
    EXPECT_EQ(context.count(ManagedObjectModel::shared().trans()), before); // 0 makes no deposit
    EXPECT_EQ(AccountRecords::fetchDepositTransWithAccountID(context, id), nullptr);

    details.initialAmount = 50;
    ASSERT_TRUE(AccountRecords::saveEditAccountInfo(context, d, *account, details));
    ManagedObject* deposit = AccountRecords::fetchDepositTransWithAccountID(context, id);
    ASSERT_NE(deposit, nullptr);
    EXPECT_EQ(deposit->valueForKey(u"trans_title").toString(), QStringLiteral("Initial Deposit (Checking)"));
    EXPECT_EQ(deposit->valueForKey(u"trans_amount").toDouble(), 50.0);
    EXPECT_EQ(deposit->valueForKey(u"trans_status").toString(), QStringLiteral("Reconciled"));
    EXPECT_NEAR(deposit->valueForKey(u"trans_date").toDate(), d.now(), 5.0);
    // A new record's flags read NO, so the account's cleared filter finds the deposit.
    EXPECT_EQ(d.fetch(QStringLiteral("TransEntity"), QStringLiteral("trans_accountID == %@ AND trans_isPending == NO"),
                      {Value(id)}),
              std::vector<ManagedObject*>{deposit});

    details.title = QStringLiteral("Everyday");
    details.initialAmount = 75;
    ASSERT_TRUE(AccountRecords::saveEditAccountInfo(context, d, *account, details));
    EXPECT_EQ(deposit->valueForKey(u"trans_amount").toDouble(), 75.0);
    EXPECT_EQ(deposit->valueForKey(u"trans_title").toString(), QStringLiteral("Initial Deposit (Checking)"));

    // Setting the amount to 0 keeps the old deposit: both figures then differ.
    details.initialAmount = 0;
    ASSERT_TRUE(AccountRecords::saveEditAccountInfo(context, d, *account, details));
    EXPECT_EQ(deposit->valueForKey(u"trans_amount").toDouble(), 75.0);
    EXPECT_EQ(account->valueForKey(u"vault_accountInitialAmount").toDouble(), 0.0);

    details.title = QString();
    EXPECT_FALSE(AccountRecords::saveEditAccountInfo(context, d, *account, details));
    EXPECT_EQ(account->valueForKey(u"vault_title").toString(), QStringLiteral("Everyday"));
}
