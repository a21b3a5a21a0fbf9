#include "app/ui/RecoveryQuestion.h"
#include "app/UnsavedChanges.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(RecoveryQuestion, NamesEachChangeByTheTitleTheChangeOrTheLedgerHolds)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Rent"), -800);
    ManagedObject* trip = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Playlist, QStringLiteral("Trip"));
    ManagedObject* rule = context.insertNewObject(ManagedObjectModel::shared().smart());
    rule->setValueForKey(u"smart_uniqueID", Value("RULE-1"));
    ASSERT_TRUE(ledger.delegate().saveAction());

    context.deleteObject(rent);
    trip->setValueForKey(u"vault_dateRangeType", Value("This Month"));
    rule->setValueForKey(u"smart_key", Value("Amount"));
    ledger.addTransaction(QStringLiteral("Salary"), 2500);
    const UnsavedChanges changes = UnsavedChanges::collect(context);
    context.rollback();

    EXPECT_EQ(RecoveryQuestion::describe(changes, ledger.delegate()),
              QStringLiteral("• Deleted transaction “Rent”\n"
                             "• New transaction “Salary”\n"
                             "• Changed sidebar item “Trip”\n"
                             "• Changed smart folder rule"));
    EXPECT_EQ(RecoveryQuestion::describe(changes, ledger.delegate(), 2),
              QStringLiteral("• Deleted transaction “Rent”\n• New transaction “Salary”\nand 2 more changes"));
    EXPECT_EQ(RecoveryQuestion::describe(changes, ledger.delegate(), 3).section(QLatin1Char('\n'), -1),
              QStringLiteral("and 1 more change"));
}
