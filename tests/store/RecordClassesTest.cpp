#include "store/FakeRecordEnvironment.h"
#include "store/BudgetManagedObject.h"
#include "store/RecordClassFactory.h"
#include "store/TransManagedObject.h"
#include "store/VaultManagedObject.h"

#include <gtest/gtest.h>
#include <typeinfo>

using namespace qf;
using qf::test::FakeRecordEnvironment;
using qf::test::localTime;

namespace {

class RecordClassesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_environment.context = &m_context;
        m_context.setObjectFactory(recordClassFactory(&m_environment));
        m_environment.periods[QStringLiteral("This Month")] = {localTime(2024, 5, 1), localTime(2024, 5, 31)};
    }

    ManagedObject* insert(const char* entity, std::initializer_list<std::pair<const char*, Value>> values)
    {
        ManagedObject* object = m_context.insertNewObject(QString::fromLatin1(entity));
        for (const auto& [key, value] : values)
            EXPECT_TRUE(object->setValueForKey(QString::fromLatin1(key), value)) << key;
        return object;
    }

    ManagedObject* budgetVault(const char* period)
    {
        return insert("VaultEntity", {{"vault_uniqueID", "B1"}, {"vault_type", "Budget"}, {"vault_budgetDateRange", period}});
    }

    ManagedObject* line(const char* direction, const char* interval, double limit, const char* tags = "food")
    {
        return insert("BudgetEntity", {{"budget_vaultID", "B1"},
                                       {"budget_direction", direction},
                                       {"budget_dateRange", interval},
                                       {"budget_limitAmount", limit},
                                       {"budget_tags", tags}});
    }

    FakeRecordEnvironment m_environment;
    ManagedObjectContext m_context;
};

} // namespace

TEST_F(RecordClassesTest, FactoryMakesTheRecordClassOfEachEntity)
{
    EXPECT_NE(dynamic_cast<TransManagedObject*>(m_context.insertNewObject(u"TransEntity")), nullptr);
    EXPECT_NE(dynamic_cast<VaultManagedObject*>(m_context.insertNewObject(u"VaultEntity")), nullptr);
    EXPECT_NE(dynamic_cast<BudgetManagedObject*>(m_context.insertNewObject(u"BudgetEntity")), nullptr);
    ManagedObject* rule = m_context.insertNewObject(u"SmartEntity");
    EXPECT_EQ(typeid(*rule), typeid(ManagedObject));
}

TEST_F(RecordClassesTest, TransferBillReadsBySelectedAccountButKeepsItsDirection)
{
    ManagedObject* bill = insert("TransEntity", {{"trans_amount", -25.0},
                                                 {"trans_isUpcoming", Value::boolean(true)},
                                                 {"trans_billType", "Transfer"},
                                                 {"trans_billFromAccountID", "FROM"},
                                                 {"trans_billToAccountID", "TO"}});
    const auto read = [&](const char* key) { return bill->valueForKey(QString::fromLatin1(key)); };

    m_environment.selection = QStringLiteral("TO");
    EXPECT_EQ(read("trans_amount"), Value(25.0));
    EXPECT_EQ(read("trans_amountStringValue"), Value("$25.00"));
    EXPECT_EQ(read("trans_direction"), Value("Outgoing"));
    m_environment.selection = QStringLiteral("FROM");
    EXPECT_EQ(read("trans_amount"), Value(-25.0));
    EXPECT_EQ(read("trans_amountStringValue"), Value("$-25.00"));
    m_environment.selection = QStringLiteral("LIBRARY");
    EXPECT_EQ(read("trans_amount"), Value(-25.0));
    EXPECT_EQ(read("trans_direction"), Value("Outgoing"));

    // Not a transfer: the stored amount whatever is selected.
    bill->setValueForKey(u"trans_billType", Value("Bill"));
    m_environment.selection = QStringLiteral("TO");
    EXPECT_EQ(read("trans_amount"), Value(-25.0));
}

TEST_F(RecordClassesTest, DirectionFollowsTheAmountAndIsStored)
{
    ManagedObject* t = insert("TransEntity", {});
    const int direction = t->entity().indexOfAttribute(u"trans_direction");
    EXPECT_EQ(t->primitiveValue(direction), Value(""));
    t->setValueForKey(u"trans_amount", Value(12.5));
    EXPECT_EQ(t->primitiveValue(direction), Value("Incoming"));
    t->setValueForKey(u"trans_direction", Value("Outgoing")); // never set by itself
    EXPECT_EQ(t->valueForKey(u"trans_direction"), Value("Incoming"));
    EXPECT_EQ(t->primitiveValue(direction), Value("Incoming"));
    m_context.processPendingChanges();

    t->setValueForKey(u"trans_amount", Value(-3));
    EXPECT_EQ(t->primitiveValue(direction), Value("Outgoing"));
    m_context.undoManager().undo();
    EXPECT_EQ(t->valueForKey(u"trans_amount"), Value(12.5));
    EXPECT_EQ(t->primitiveValue(direction), Value("Incoming"));
    t->setValueForKey(u"trans_amount", Value(0));
    EXPECT_EQ(t->valueForKey(u"trans_direction"), Value(""));

    // The words are shared, not copied per record.
    ManagedObject* other = insert("TransEntity", {{"trans_amount", 1.0}});
    t->setValueForKey(u"trans_amount", Value(2.0));
    EXPECT_EQ(t->primitiveValue(direction).string().data(), other->primitiveValue(direction).string().data());
}

TEST_F(RecordClassesTest, StatusOfTransactionsAndBills)
{
    const auto status = [](ManagedObject* t) { return t->valueForKey(u"trans_status").toString(); };
    EXPECT_EQ(status(insert("TransEntity", {{"trans_isPending", Value::boolean(true)}})), "Pending");
    EXPECT_EQ(status(insert("TransEntity", {})), "Reconciled");

    m_environment.clock = localTime(2024, 5, 15, 18, 0);
    const auto bill = [&](AbsoluteTime due) {
        return insert("TransEntity", {{"trans_isUpcoming", Value::boolean(true)},
                                      {"trans_isPending", Value::boolean(true)},
                                      {"trans_date", Value::date(due)}});
    };
    EXPECT_EQ(status(bill(localTime(2024, 5, 15, 9, 0))), "Due Today"); // earlier today is not overdue
    EXPECT_EQ(status(bill(localTime(2024, 5, 15, 23, 0))), "Due Today");
    EXPECT_EQ(status(bill(localTime(2024, 5, 14, 23, 59))), "Overdue");
    EXPECT_EQ(status(bill(localTime(2024, 5, 16, 0, 0))), "Upcoming");

    // An upcoming bill is pending: reading its status stores that, as a change.
    ManagedObject* unpaid = insert("TransEntity", {{"trans_isUpcoming", Value::boolean(true)},
                                                   {"trans_date", Value::date(localTime(2024, 6, 1))}});
    m_context.processPendingChanges();
    EXPECT_EQ(status(unpaid), "Upcoming");
    EXPECT_TRUE(unpaid->valueForKey(u"trans_isPending").toBool());
    m_context.undoManager().undo();
    EXPECT_FALSE(unpaid->valueForKey(u"trans_isPending").toBool());
}

TEST_F(RecordClassesTest, FormattedTextsAreCachedUntilTheirKeyOrTheLocaleChanges)
{
    ManagedObject* t = insert("TransEntity", {{"trans_amount", 10.0}, {"trans_date", Value::date(localTime(2024, 3, 9))}});
    EXPECT_EQ(t->valueForKey(u"trans_dateShortStringValue"), Value("09/03/24"));
    EXPECT_EQ(t->valueForKey(u"trans_dateLongStringValue"), Value("9 March 2024"));
    EXPECT_EQ(t->valueForKey(u"trans_amountStringValue"), Value("$10.00"));
    const int calls = m_environment.formatCalls;
    for (int i = 0; i < 3; ++i) {
        t->valueForKey(u"trans_amountStringValue");
        t->valueForKey(u"trans_dateShortStringValue");
    }
    EXPECT_EQ(m_environment.formatCalls, calls);
    m_context.processPendingChanges();

    t->setValueForKey(u"trans_amount", Value(-4.25));
    t->setValueForKey(u"trans_date", Value::date(localTime(2024, 3, 10)));
    EXPECT_EQ(t->valueForKey(u"trans_amountStringValue"), Value("$-4.25"));
    EXPECT_EQ(t->valueForKey(u"trans_dateLongStringValue"), Value("10 March 2024"));
    m_context.undoManager().undo();
    EXPECT_EQ(t->valueForKey(u"trans_amountStringValue"), Value("$10.00"));
    EXPECT_EQ(t->valueForKey(u"trans_dateShortStringValue"), Value("09/03/24"));

    const int before = m_environment.formatCalls;
    ++m_environment.generation;
    t->valueForKey(u"trans_amountStringValue");
    EXPECT_EQ(m_environment.formatCalls, before + 1);

    ManagedObject* empty = insert("TransEntity", {});
    EXPECT_TRUE(empty->valueForKey(u"trans_amountStringValue").isNull());
    EXPECT_TRUE(empty->valueForKey(u"trans_dateShortStringValue").isNull());
}

TEST_F(RecordClassesTest, PhotoPathIsBuiltFromTheStoredFileName)
{
    ManagedObject* t = insert("TransEntity", {{"trans_uniqueID", "T-1"}});
    EXPECT_TRUE(t->valueForKey(u"trans_photo").isNull());
    t->setValueForKey(u"trans_photo", Value(""));
    EXPECT_TRUE(t->valueForKey(u"trans_photo").isNull());
    t->setValueForKey(u"trans_photo", Value("/old/place/Trans_Photo.jpg"));
    EXPECT_EQ(t->valueForKey(u"trans_photo"),
              Value("/home/user/.local/share/Quillfen/Attachments/T-1/Trans_Photo.jpg"));
    const int photo = t->entity().indexOfAttribute(u"trans_photo");
    EXPECT_EQ(t->primitiveValue(photo), Value("/old/place/Trans_Photo.jpg"));

    // Names that would climb out of the attachments folder make no path.
    t->setValueForKey(u"trans_photo", Value("/old/place/.."));
    EXPECT_TRUE(t->valueForKey(u"trans_photo").isNull());
    t->setValueForKey(u"trans_photo", Value("/old/place/Trans_Photo.jpg"));
    t->setValueForKey(u"trans_uniqueID", Value(".."));
    EXPECT_TRUE(t->valueForKey(u"trans_photo").isNull());
}

TEST_F(RecordClassesTest, VaultIdentifierIsMadeOnceOnFirstRead)
{
    ManagedObject* vault = insert("VaultEntity", {{"vault_uniqueID", ""}});
    const Value id = vault->valueForKey(u"vault_uniqueID");
    EXPECT_EQ(id, Value("VAULT-ID-1"));
    EXPECT_EQ(vault->valueForKey(u"vault_uniqueID"), id);
    EXPECT_EQ(m_environment.idsMade, 1);
    EXPECT_EQ(vault->primitiveValue(0), id);
}

TEST_F(RecordClassesTest, BudgetSavings)
{
    ManagedObject* vault = budgetVault("This Month");
    EXPECT_EQ(vault->valueForKey(u"vault_budgetTotalBudgetedSavings"), Value(0.0));
    EXPECT_EQ(vault->valueForKey(u"vault_budgetTotalActualSavingsString"), Value("Actual Savings: $0.00"));
    EXPECT_EQ(m_environment.lastFormat, "budget_vaultID == %@ AND budget_direction == %@");

    line("Incoming", "Monthly", 3000);
    line("Outgoing", "Weekly", 100);
    line("Outgoing", "Monthly", 250.5);
    insert("TransEntity", {{"trans_amount", 2500.0}, {"trans_keywords", "Food"}, {"trans_date", Value::date(localTime(2024, 5, 2))}});
    insert("TransEntity", {{"trans_amount", -80.0}, {"trans_keywords", "food"}, {"trans_date", Value::date(localTime(2024, 5, 3))}});
    EXPECT_EQ(vault->valueForKey(u"vault_budgetTotalBudgetedSavings"), Value(3000.0 - 400.0 - 250.5));
    EXPECT_EQ(vault->valueForKey(u"vault_budgetTotalBudgetedSavingsString"), Value("Budgeted Savings: $2349.50"));
    EXPECT_EQ(vault->valueForKey(u"vault_budgetTotalActualSavings"), Value(2500.0 - 80.0 - 80.0));
}

TEST_F(RecordClassesTest, AdjustedLimitFactors)
{
    ManagedObject* vault = budgetVault("This Month");
    const auto adjusted = [](ManagedObject* l) { return l->valueForKey(u"budget_limitAmountAdjusted").toDouble(); };
    ManagedObject* weekly = line("Outgoing", "Weekly", 100);
    ManagedObject* daily = line("Outgoing", "Daily", 10);
    ManagedObject* yearly = line("Outgoing", "Yearly", 1200);
    ManagedObject* biWeekly = line("Outgoing", "Bi-Weekly", 100);
    ManagedObject* monthly = line("Outgoing", "Monthly", 100);

    EXPECT_EQ(adjusted(weekly), 400);
    EXPECT_EQ(adjusted(daily), 150); // on the 15th
    EXPECT_EQ(adjusted(biWeekly), 200);
    EXPECT_EQ(adjusted(monthly), 100);
    m_environment.clock = localTime(2023, 1, 31, 10, 0);
    EXPECT_EQ(adjusted(daily), 30); // one month later is 3 March
    m_environment.clock = localTime(2024, 1, 31, 10, 0);
    EXPECT_EQ(adjusted(daily), 20); // 2 March in a leap year
    m_environment.clock = localTime(2024, 12, 31, 10, 0);
    EXPECT_EQ(adjusted(daily), 310); // January has a 31st

    vault->setValueForKey(u"vault_budgetDateRange", Value("Last Month"));
    EXPECT_EQ(adjusted(yearly), 100);
    vault->setValueForKey(u"vault_budgetDateRange", Value("This Year"));
    EXPECT_EQ(adjusted(weekly), 5200);
    EXPECT_EQ(adjusted(daily), 3560);
    EXPECT_EQ(adjusted(biWeekly), 2600);
    EXPECT_EQ(adjusted(monthly), 1200);
    EXPECT_EQ(adjusted(yearly), 1200);
    vault->setValueForKey(u"vault_budgetDateRange", Value("Custom Range"));
    EXPECT_EQ(adjusted(weekly), 100);
}

TEST_F(RecordClassesTest, ActualAmountOfMatchingTransactions)
{
    budgetVault("This Month");
    const auto trans = [&](double amount, const char* keywords, int day) {
        insert("TransEntity", {{"trans_amount", amount},
                               {"trans_keywords", keywords},
                               {"trans_date", Value::date(localTime(2024, 5, day, 10))}});
    };
    trans(-200, "food, home", 3);
    trans(-50, "Food, Home", 4);
    trans(-999, "food", 5);         // lacks home
    trans(500, "food, home", 6);    // incoming
    trans(-7, "seafood, homes", 7); // substrings count
    trans(-1, "food, home", 31);    // after the period's last midnight
    ManagedObject* both = line("Outgoing", "Monthly", 300, "food, home");
    EXPECT_FLOAT_EQ(both->valueForKey(u"budget_actualAmount").toDouble(), 257.0f);
    EXPECT_EQ(m_environment.lastFormat,
              "trans_date >= %@ AND trans_date <= %@ AND trans_keywords contains[cd] %@ AND trans_keywords contains[cd] %@");
    ASSERT_EQ(m_environment.lastArguments.size(), 4u);
    EXPECT_EQ(m_environment.lastArguments[3], Value("home"));

    ManagedObject* income = line("Incoming", "Monthly", 300, "food, home");
    EXPECT_FLOAT_EQ(income->valueForKey(u"budget_actualAmount").toDouble(), 500.0f);

    ManagedObject* untagged = line("Outgoing", "Monthly", 300, "");
    EXPECT_EQ(untagged->valueForKey(u"budget_actualAmount"), Value(0.0));
    ManagedObject* orphan = insert("BudgetEntity", {{"budget_tags", "food"}, {"budget_direction", "Outgoing"}});
    EXPECT_EQ(orphan->valueForKey(u"budget_actualAmount"), Value(0.0));
    m_context.objects(ManagedObjectModel::shared().vault()).front()->setValueForKey(u"vault_budgetDateRange",
                                                                                    Value("Custom Range"));
    EXPECT_EQ(both->valueForKey(u"budget_actualAmount"), Value(0.0)); // no period filter
}

TEST(RecordClasses, StoredValueShortcutNeverBypassesComputedReads)
{
    FakeRecordEnvironment environment;
    ManagedObjectContext context;
    context.setObjectFactory(recordClassFactory(&environment));
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    ManagedObject* bill = context.insertNewObject(trans);
    bill->setValueForKey(u"trans_amount", Value(-25.0));
    bill->setValueForKey(u"trans_title", Value("Transfer"));
    EXPECT_EQ(bill->storedValueForKeyIndex(trans.indexOfKey(u"trans_amount")), nullptr);
    EXPECT_EQ(bill->storedValueForKeyIndex(trans.indexOfKey(u"trans_photo")), nullptr);
    EXPECT_EQ(bill->storedValueForKeyIndex(trans.indexOfKey(u"trans_status")), nullptr);
    const Value* title = bill->storedValueForKeyIndex(trans.indexOfKey(u"trans_title"));
    ASSERT_NE(title, nullptr);
    EXPECT_EQ(title->toString(), QStringLiteral("Transfer"));

    ManagedObject* vault = context.insertNewObject(ManagedObjectModel::shared().vault());
    EXPECT_EQ(vault->storedValueForKeyIndex(0), nullptr);
}
