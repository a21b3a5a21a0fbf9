#include "common/AmountFormatter.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/TransactionQuery.h"
#include "views/TransactionIndexes.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class TransactionTextIndexTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    TransactionIndexes indexes;
    TransactionTextIndex& index = indexes.text;

    ListQuery query(const QString& text)
    {
        ListQuery q;
        q.scope = TransactionQuery::libraryPredicates();
        q.settings.searchText = text;
        q.settings.sort = QStringLiteral("Title");
        const AmountFormatter& amounts = ledger.delegate().amountFormatter();
        q.amountMayContain = [&amounts](const QString& t) { return amounts.mayContain(t); };
        return q;
    }

    static QStringList titles(const std::vector<ManagedObject*>& records)
    {
        QStringList out;
        for (ManagedObject* r : records)
            out << r->valueForKey(u"trans_title").toString();
        return out;
    }

    // The index may only ever narrow what the plain scan finds to the same set.
    void expectSameAsScan(const QString& text)
    {
        const QStringList scanned = titles(TransactionQuery::arrangedTransactions(context, query(text)));
        const QStringList indexed = titles(TransactionQuery::arrangedTransactions(context, query(text), &indexes));
        EXPECT_EQ(indexed, scanned) << "search " << qPrintable(text);
    }

    void expectAllSearches()
    {
        for (const char* text : {"coffee", "CAFÉ", "cafe", "straße", "STRASSE", "ångström", "rent home", "home",
                                 "e", "zzz", "  ", "12.50"})
            expectSameAsScan(QString::fromUtf8(text));
    }
};

} // namespace

TEST_F(TransactionTextIndexTest, FindsWhatTheFullScanFindsThroughEdits)
{
    ledger.addTransaction(QStringLiteral("Coffee at the Café"), -4.5, QStringLiteral("food"));
    ledger.addTransaction(QStringLiteral("Hauptstraße 5 rent"), -900, QStringLiteral("home, rent"));
    ledger.addTransaction(QStringLiteral("Lunch"), -12.5, QStringLiteral("food"))
        ->setValueForKey(u"trans_notes", Value("met at ÅNGSTRÖM labs"));
    ledger.addTransaction(QStringLiteral("Paid rent home"), -900);
    ManagedObject* plain = ledger.addTransaction(QStringLiteral("Plain"), 10);
    plain->setValueForKey(u"trans_to", Value("cafe owner"));
    expectAllSearches();

    // Changes after the index was built: an edit that makes and one that
    // breaks a match, an insert, a delete, and undoing them.
    ASSERT_FALSE(index.candidates(context, QStringLiteral("coffee")).empty());
    plain->setValueForKey(u"trans_title", Value("Coffee beans"));
    context.objects(ManagedObjectModel::shared().trans()).front()->setValueForKey(u"trans_title", Value("Tea"));
    ledger.addTransaction(QStringLiteral("Strasse fair"), -3);
    ManagedObject* gone = ledger.addTransaction(QStringLiteral("Home café"), -2);
    context.processPendingChanges();
    context.deleteObject(gone);
    expectAllSearches();
    EXPECT_GT(index.staleCount(), 0u);

    context.processPendingChanges();
    context.undoManager().undo();
    expectAllSearches();
}

TEST_F(TransactionTextIndexTest, AReloadedLedgerIsIndexedAfresh)
{
    ledger.addTransaction(QStringLiteral("Coffee"), -3);
    ASSERT_TRUE(context.save());
    EXPECT_EQ(index.candidates(context, QStringLiteral("coffee")).size(), 1u);
    ledger.addTransaction(QStringLiteral("More coffee"), -3);
    ASSERT_TRUE(context.load());
    EXPECT_EQ(index.staleCount(), 0u);
    EXPECT_EQ(titles(index.candidates(context, QStringLiteral("COFFEE"))), QStringList{QStringLiteral("Coffee")});
}

TEST_F(TransactionTextIndexTest, AccountListsMatchTheFullScanThroughEdits)
{
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* checking = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    ManagedObject* savings = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Savings"));
    const QString checkingID = checking->valueForKey(u"vault_uniqueID").toString();
    const QString savingsID = savings->valueForKey(u"vault_uniqueID").toString();

    auto expectSame = [&](ManagedObject* account) {
        for (const char* status : {"FilterAll", "FilterPending"}) {
            ListSettings settings;
            settings.typeFilter = QString::fromLatin1(status);
            settings.sort = QStringLiteral("Title");
            const ListQuery q = ListQuery::forVault(*account, settings);
            ASSERT_FALSE(q.accountID.isEmpty());
            EXPECT_EQ(titles(TransactionQuery::arrangedTransactions(context, q, &indexes)),
                      titles(TransactionQuery::arrangedTransactions(context, q)))
                << qPrintable(account->valueForKey(u"vault_title").toString()) << ' ' << status;
        }
    };
    ledger.addTransaction(QStringLiteral("Groceries"), -40)->setValueForKey(u"trans_accountID", Value(checkingID));
    ManagedObject* transfer = ledger.addTransaction(QStringLiteral("Transfer"), -100);
    transfer->setValueForKey(u"trans_billFromAccountID", Value(checkingID));
    transfer->setValueForKey(u"trans_billToAccountID", Value(savingsID));
    ManagedObject* loose = ledger.addTransaction(QStringLiteral("Loose"), 5);
    expectSame(checking);
    expectSame(savings);
    EXPECT_EQ(indexes.accounts.candidates(context, savingsID).size(), 1u);

    loose->setValueForKey(u"trans_accountID", Value(savingsID));
    loose->setValueForKey(u"trans_isPending", Value::boolean(true));
    transfer->setValueForKey(u"trans_billToAccountID", Value(checkingID));
    context.processPendingChanges();
    ManagedObject* gone = ledger.addTransaction(QStringLiteral("Gone"), -1);
    gone->setValueForKey(u"trans_accountID", Value(checkingID));
    context.processPendingChanges();
    context.deleteObject(gone);
    expectSame(checking);
    expectSame(savings);

    context.processPendingChanges();
    context.undoManager().undo();
    expectSame(checking);
    expectSame(savings);
}
