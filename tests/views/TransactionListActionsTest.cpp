#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/TransactionListActions.h"
#include "views/TransactionQuery.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(TransactionListActions, DeletingAsksByVaultKindAndFoldersOnlyLetGo)
{
    EXPECT_FALSE(TransactionListActions::deleteQuestion(VaultType::Playlist).ask);
    EXPECT_EQ(TransactionListActions::deleteQuestion(VaultType::Account).title,
              QStringLiteral("Are you sure you want to delete the selected transactions from this Account?"));
    EXPECT_EQ(TransactionListActions::deleteQuestion(VaultType::MasterVault).text,
              QStringLiteral("This action will also remove the selected transactions from their respective Accounts "
                             "and Folders."));

    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* folder = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
    ManagedObject* library = d.fetchVaultObjectsWithType(VaultType::MasterVault).front();
    ManagedObject* kept = ledger.addTransaction(QStringLiteral("Kept"), -5);
    ManagedObject* gone = ledger.addTransaction(QStringLiteral("Gone"), -5);
    kept->setValueForKey(u"trans_listIDs", folder->valueForKey(u"vault_uniqueID"));

    TransactionListActions::removeTransactions(context, *folder, {kept});
    EXPECT_FALSE(kept->isDeleted());
    EXPECT_EQ(kept->valueForKey(u"trans_listIDs").toString(), QStringLiteral(""));
    TransactionListActions::removeTransactions(context, *library, {gone});
    EXPECT_TRUE(gone->isDeleted());
}

TEST(TransactionListActions, DuplicateKeepsAccountTagsAndAmountButNoFolder)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* original = ledger.addTransaction(QStringLiteral("Rent"), -900, QStringLiteral("home"));
    original->setValueForKey(u"trans_accountID", Value("ACCOUNT"));
    original->setValueForKey(u"trans_listIDs", Value("FOLDER"));
    ASSERT_TRUE(d.saveAction());
    original->setValueForKey(u"trans_title", Value("Unsaved edit"));

    auto copies = TransactionListActions::duplicate(d, {original});
    ASSERT_TRUE(copies) << qPrintable(copies.message());
    ManagedObject* copy = copies->front();
    EXPECT_EQ(copy->valueForKey(u"trans_title").toString(), QStringLiteral("Rent")); // last saved values
    EXPECT_EQ(copy->valueForKey(u"trans_accountID").toString(), QStringLiteral("ACCOUNT"));
    EXPECT_EQ(copy->valueForKey(u"trans_keywords").toString(), QStringLiteral("home"));
    EXPECT_EQ(copy->valueForKey(u"trans_amount").toDouble(), -900.0);
    EXPECT_EQ(copy->valueForKey(u"trans_listIDs").toString(), QStringLiteral(""));
    EXPECT_NE(copy->valueForKey(u"trans_uniqueID"), original->valueForKey(u"trans_uniqueID"));
    EXPECT_FALSE(copy->hasChanges()); // saved
    EXPECT_TRUE(TransactionQuery::arrangedTransactions(context, TransactionQuery::folderPredicates(QStringLiteral("FOLDER")).all,
                                                       QStringLiteral("Date"))
                    .size() == 1);
}

TEST(TransactionListActions, PendingReconcileAndTheButton)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* t = ledger.addTransaction(QStringLiteral("Cheque"), -40, {}, 800000000.0 + 3600);
    EXPECT_EQ(TransactionListActions::reconcileButton(t), ReconcileButton::Hidden);
    EXPECT_EQ(TransactionListActions::reconcileButton(nullptr), ReconcileButton::Hidden);
    TransactionListActions::markAsPending({t});
    EXPECT_EQ(TransactionListActions::reconcileButton(t), ReconcileButton::Reconcile);
    TransactionListActions::reconcile(*t, 800086400.0);
    EXPECT_FALSE(t->valueForKey(u"trans_isPending").toBool());
    EXPECT_EQ(t->valueForKey(u"trans_date").toDate(), 800086400.0);
    t->setValueForKey(u"trans_isUpcoming", Value::boolean(true));
    EXPECT_EQ(TransactionListActions::reconcileButton(t), ReconcileButton::Pay);
}
