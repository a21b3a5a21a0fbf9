#include "editing/FolderMembership.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/TransactionQuery.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(FolderMembership, ListsAreSplitAndJoinedOnCommasOnly)
{
    EXPECT_EQ(FolderMembership::addedTo(QString(), QStringLiteral("F")), QStringLiteral("F"));
    EXPECT_EQ(FolderMembership::addedTo(QStringLiteral(""), QStringLiteral("F")), QStringLiteral(",F"));
    EXPECT_EQ(FolderMembership::addedTo(QStringLiteral("A"), QStringLiteral("B")), QStringLiteral("A,B"));
    EXPECT_EQ(FolderMembership::addedTo(QStringLiteral("A,B"), QStringLiteral("B")), QStringLiteral("A,B"));
    // A longer identifier that merely contains the folder's is another folder.
    EXPECT_EQ(FolderMembership::addedTo(QStringLiteral("AB"), QStringLiteral("A")), QStringLiteral("AB,A"));
    EXPECT_EQ(FolderMembership::removedFrom(QStringLiteral("A,B,A"), QStringLiteral("A")), QStringLiteral("B"));
    EXPECT_EQ(FolderMembership::removedFrom(QStringLiteral(",F"), QStringLiteral("F")), QStringLiteral(""));
}

TEST(FolderMembership, DroppingOnFoldersAndAccountsAndRemovingFromAFolder)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* trip = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
    ManagedObject* taxes = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Taxes"));
    ManagedObject* checking = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    ManagedObject* budget = VaultLibrary::insertVault(context, d, VaultType::Budget, QStringLiteral("Home"));
    const QString tripID = trip->valueForKey(u"vault_uniqueID").toString();
    const QString taxesID = taxes->valueForKey(u"vault_uniqueID").toString();

    ManagedObject* hotel = ledger.addTransaction(QStringLiteral("Hotel"), -200);
    EXPECT_TRUE(FolderMembership::dropOnVault(*hotel, *trip));
    EXPECT_FALSE(FolderMembership::dropOnVault(*hotel, *trip));
    EXPECT_TRUE(FolderMembership::dropOnVault(*hotel, *taxes));
    EXPECT_EQ(hotel->valueForKey(u"trans_listIDs").toString(), tripID + QLatin1Char(',') + taxesID);
    EXPECT_TRUE(FolderMembership::dropOnVault(*hotel, *checking));
    EXPECT_EQ(hotel->valueForKey(u"trans_accountID"), checking->valueForKey(u"vault_uniqueID"));
    EXPECT_FALSE(FolderMembership::dropOnVault(*hotel, *budget));

    FolderMembership::removeFromFolder(*hotel, tripID);
    EXPECT_EQ(hotel->valueForKey(u"trans_listIDs").toString(), taxesID);
    const auto inTrip = TransactionQuery::arrangedTransactions(
        context, TransactionQuery::folderPredicates(tripID).all, QStringLiteral("Date"));
    EXPECT_TRUE(inTrip.empty());
    EXPECT_NE(d.fetchTransObjectWithID(hotel->valueForKey(u"trans_uniqueID").toString()), nullptr);
}
