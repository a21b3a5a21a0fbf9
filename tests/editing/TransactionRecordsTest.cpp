#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(TransactionRecords, PendingSheetMakesAPendingTransactionOfTheHandedValues)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    const ValueDictionary values{{QStringLiteral("trans_title"), Value("Cheque from Ann")},
                                 {QStringLiteral("trans_amount"), Value(40.0)},
                                 {QStringLiteral("trans_uniqueID"), Value("HANDED-IN")},
                                 {QStringLiteral("trans_isPending"), Value::boolean(false)},
                                 {QStringLiteral("trans_status"), Value("Reconciled")}, // derived: ignored
                                 {QStringLiteral("no_such_key"), Value("x")}};
    ManagedObject* t = TransactionRecords::insertPending(context, ledger.delegate(), values, 800000000.0);
    EXPECT_EQ(t->valueForKey(u"trans_title").toString(), QStringLiteral("Cheque from Ann"));
    EXPECT_EQ(t->valueForKey(u"trans_amount").toDouble(), 40.0);
    EXPECT_TRUE(t->valueForKey(u"trans_isPending").toBool());
    EXPECT_EQ(t->valueForKey(u"trans_status").toString(), QStringLiteral("Pending"));
    EXPECT_EQ(t->valueForKey(u"trans_date").toDate(), 800000000.0);
    EXPECT_NE(t->valueForKey(u"trans_uniqueID").toString(), QStringLiteral("HANDED-IN"));
    EXPECT_EQ(t->valueForKey(u"trans_uniqueID").toString().size(), 36);
    EXPECT_EQ(context.count(ManagedObjectModel::shared().trans()), 1u);
}

TEST(TransactionRecords, RepeatOfATransactionWithoutADateSchedulesNothing)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* gym = ledger.addTransaction(QStringLiteral("Gym"), -30.0);
    gym->setValueForKey(u"trans_date", Value());
    const std::size_t before = context.count(ManagedObjectModel::shared().trans());
    EXPECT_EQ(TransactionRecords::scheduleNextOccurrence(context, ledger.delegate(), *gym, QStringLiteral("Weekly")),
              nullptr);
    EXPECT_EQ(context.count(ManagedObjectModel::shared().trans()), before);
}
