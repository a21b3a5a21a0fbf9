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

TEST_F(TransactionTextIndexTest, AccountBalancesMatchTheArrangedListThroughEdits)
{
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* checking = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    ManagedObject* savings = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Savings"));
    const QString checkingID = checking->valueForKey(u"vault_uniqueID").toString();
    const QString savingsID = savings->valueForKey(u"vault_uniqueID").toString();

    // Balances are exact: the index's store order and the list's date order
    // must agree to the last bit, hence EXPECT_EQ on the sums.
    auto expectSame = [&](ManagedObject* account) {
        ListSettings wholeList;
        ListSettings pending;
        pending.typeFilter = QStringLiteral("FilterPending");
        ListSettings incoming;
        incoming.directionFilter = QStringLiteral("FilterIncoming");
        ListSettings search;
        search.searchText = QStringLiteral("o");
        for (const ListSettings& settings : {wholeList, pending, incoming, search}) {
            const ListQuery q = ListQuery::forVault(*account, settings);
            const Balances expected = TransactionQuery::balances(TransactionQuery::arrangedTransactions(context, q));
            const Balances fast = TransactionQuery::balances(context, q, &indexes);
            const QString what = account->valueForKey(u"vault_title").toString() + QLatin1Char(' ')
                               + settings.typeFilter + QLatin1Char(' ') + settings.directionFilter + QLatin1Char(' ')
                               + settings.searchText;
            EXPECT_EQ(fast.count, expected.count) << qPrintable(what);
            EXPECT_EQ(fast.total, expected.total) << qPrintable(what);
            EXPECT_EQ(fast.incoming, expected.incoming) << qPrintable(what);
            EXPECT_EQ(fast.outgoing, expected.outgoing) << qPrintable(what);
        }
    };
    auto inAccount = [&](ManagedObject* t, const QString& id) {
        t->setValueForKey(u"trans_accountID", Value(id));
        return t;
    };
    ManagedObject* groceries = inAccount(ledger.addTransaction(QStringLiteral("Groceries"), -40.37), checkingID);
    for (int i = 0; i < 10; ++i) // ten tenths: a floating-point sum misses 1 by a bit
        inAccount(ledger.addTransaction(QStringLiteral("Tenth"), 0.1, {}, 800000000.0 - i * 86400), checkingID);
    inAccount(ledger.addTransaction(QStringLiteral("Odd"), 1.459, {}, 700000000.0), checkingID);
    inAccount(ledger.addTransaction(QStringLiteral("Tiny"), 1e-7), checkingID); // not a whole millionth
    ManagedObject* bill = ledger.addTransaction(QStringLiteral("Rent transfer"), -100, {}, 900000000.0);
    bill->setValueForKey(u"trans_isUpcoming", Value::boolean(true));
    bill->setValueForKey(u"trans_billType", Value("Transfer"));
    bill->setValueForKey(u"trans_billFromAccountID", Value(checkingID));
    bill->setValueForKey(u"trans_billToAccountID", Value(savingsID));
    ManagedObject* loose = ledger.addTransaction(QStringLiteral("Loose"), 5);
    context.processPendingChanges();
    expectSame(checking);
    expectSame(savings);
    EXPECT_EQ(TransactionQuery::balances(context, ListQuery::forVault(*checking, {}), &indexes).count, 14u);

    // The bill's amount follows the selected account, also in the index's sum.
    for (const QString& selected : {checkingID, savingsID, QString()}) {
        d.setSelectedVaultID(selected);
        expectSame(checking);
        expectSame(savings);
    }

    groceries->setValueForKey(u"trans_amount", Value(-41.5));
    inAccount(loose, savingsID);
    bill->setValueForKey(u"trans_isUpcoming", Value::boolean(false));
    context.processPendingChanges();
    ManagedObject* gone = inAccount(ledger.addTransaction(QStringLiteral("Gone"), -1), checkingID);
    inAccount(ledger.addTransaction(QStringLiteral("New"), 7.25), savingsID);
    context.processPendingChanges();
    context.deleteObject(gone);
    expectSame(checking);
    expectSame(savings);

    context.processPendingChanges();
    context.undoManager().undo();
    expectSame(checking);
    expectSame(savings);
    context.undoManager().undo();
    context.undoManager().undo();
    expectSame(checking);
    expectSame(savings);
}

TEST_F(TransactionTextIndexTest, FindsMatchesAnywhereInTheBlock)
{
    // Matches at the start and end of fields and records, across the block's
    // sixteen-byte steps, and in the very last bytes of the block.
    for (int i = 0; i < 40; ++i) {
        const QString filler = QString(i % 17, QLatin1Char('x'));
        ManagedObject* t = ledger.addTransaction(filler + QStringLiteral("row") + QString::number(i), -1);
        if (i % 5 == 0)
            t->setValueForKey(u"trans_notes", Value(filler + QStringLiteral("Longneedle-abcdefghijk")));
        if (i % 7 == 3)
            t->setValueForKey(u"trans_to", Value(QStringLiteral("qx")));
    }
    ledger.addTransaction(QStringLiteral("abxaabca"), -1); // a near miss just before a match
    ledger.addTransaction(QStringLiteral("last"), -1)->setValueForKey(u"trans_keywords", Value("tail q"));
    context.processPendingChanges();
    for (const char* text : {"longneedle-abcdefghijk", "needle-abcdefghijk", "q", "qx", "row3", "xrow1", "xxxxxxxxxxxxxxxxrow",
                             "tail q", "k", "x", "abca"})
        expectSameAsScan(QString::fromLatin1(text));
    EXPECT_EQ(index.candidates(context, QStringLiteral("needle-abcdefghijk")).size(), 8u);
    EXPECT_EQ(index.candidates(context, QStringLiteral("q")).size(), 7u);
    EXPECT_EQ(index.candidates(context, QStringLiteral("abca")).size(), 1u);
}
