#include "planning/BillListQuery.h"

#include "BillTestSupport.h"
#include "planning/BillRow.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;

namespace {

class BillListQueryTest : public qf::testing::BillLedgerTest {
protected:
    QStringList titlesUnder(const QString& range, const QString& direction = QStringLiteral("FilterAll"),
                            const QString& search = {}, const QString& sort = QStringLiteral("By Title"))
    {
        BillDueRanges ranges([] { return KVCalendarInfo::now(); });
        BillListSettings settings;
        settings.dateRangeType = range;
        settings.directionFilter = direction;
        settings.searchText = search;
        settings.sort = sort;
        QStringList titles;
        for (ManagedObject* b : BillListQuery::arrangedBills(ledger.context(), settings, ranges))
            titles << b->valueForKey(u"trans_title").toString();
        return titles;
    }
};

} // namespace

TEST_F(BillListQueryTest, ThisMonthOnThirtiethOfAprilReachesFirstOfMayMidnight)
{
    pinNow(berlinTime(2025, 4, 30, 15));
    bill(QStringLiteral("May rent"), 900, QStringLiteral("Outgoing"), berlinTime(2025, 5, 1));
    bill(QStringLiteral("May gas"), 40, QStringLiteral("Outgoing"), berlinTime(2025, 5, 1, 0, 1));
    bill(QStringLiteral("April water"), 20, QStringLiteral("Outgoing"), berlinTime(2025, 4, 1));
    EXPECT_EQ(titlesUnder(QStringLiteral("This Month")),
              (QStringList{QStringLiteral("April water"), QStringLiteral("May rent")}));
}

TEST_F(BillListQueryTest, NextDaysCarryIntoTheNextMonthAndLeaveOverdueBillsOut)
{
    pinNow(berlinTime(2025, 1, 30, 9));
    bill(QStringLiteral("Overdue"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 1, 20));
    bill(QStringLiteral("Today"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 1, 30));
    bill(QStringLiteral("Fourth Feb"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 2, 4));
    bill(QStringLiteral("Fifth Feb"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 2, 5));
    bill(QStringLiteral("Ninth Feb"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 2, 9));
    EXPECT_EQ(titlesUnder(QStringLiteral("Next 5 Days")),
              (QStringList{QStringLiteral("Fourth Feb"), QStringLiteral("Today")}));
    EXPECT_EQ(titlesUnder(QStringLiteral("Next 10 Days")),
              (QStringList{QStringLiteral("Fifth Feb"), QStringLiteral("Fourth Feb"), QStringLiteral("Ninth Feb"),
                           QStringLiteral("Today")}));
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items")).size(), 5);
    EXPECT_TRUE(titlesUnder(QStringLiteral("All Items")).contains(QStringLiteral("Overdue")));
    // The month and year ranges start on the 1st, so a bill overdue since
    // the 20th is still in them.
    EXPECT_TRUE(titlesUnder(QStringLiteral("This Month")).contains(QStringLiteral("Overdue")));
    EXPECT_TRUE(titlesUnder(QStringLiteral("This Year")).contains(QStringLiteral("Overdue")));
}

TEST_F(BillListQueryTest, RangesStayWhereTheyWereFirstBuilt)
{
    pinNow(berlinTime(2025, 3, 10, 12));
    BillDueRanges ranges([] { return KVCalendarInfo::now(); });
    const Predicate first = ranges.predicateForItem(QStringLiteral("Next 5 Days"));
    pinNow(berlinTime(2025, 3, 20, 12));
    EXPECT_EQ(ranges.predicateForItem(QStringLiteral("Next 5 Days")), first);
    ManagedObject* later = bill(QStringLiteral("Later"), 5, QStringLiteral("Outgoing"), berlinTime(2025, 3, 21));
    EXPECT_FALSE(first.evaluate(BillRow(later)));
    BillDueRanges fresh([] { return KVCalendarInfo::now(); });
    EXPECT_TRUE(fresh.predicateForItem(QStringLiteral("Next 5 Days")).evaluate(BillRow(later)));
}

TEST_F(BillListQueryTest, SearchMatchesWholeTitleOrEveryWordInTheTags)
{
    pinNow(berlinTime(2025, 3, 1));
    bill(QStringLiteral("Pay Rent Home now"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 3, 2));
    bill(QStringLiteral("Flat"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 3, 2), QStringLiteral("Never"),
         QStringLiteral("Rent, Home"));
    bill(QStringLiteral("Only rent"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 3, 2), QStringLiteral("Never"),
         QStringLiteral("rent"));
    bill(QStringLiteral("Rent and home"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 3, 2));
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterAll"), QStringLiteral("rent home")),
              (QStringList{QStringLiteral("Flat"), QStringLiteral("Pay Rent Home now")}));
    // Diacritics and case do not count.
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterAll"), QStringLiteral("FLÄT")),
              QStringList{QStringLiteral("Flat")});
}

TEST_F(BillListQueryTest, DirectionFilterAndSearchCombine)
{
    pinNow(berlinTime(2025, 3, 1));
    bill(QStringLiteral("Salary"), 2000, QStringLiteral("Incoming"), berlinTime(2025, 3, 25));
    bill(QStringLiteral("Savings"), 100, QStringLiteral("Transfer"), berlinTime(2025, 3, 26));
    bill(QStringLiteral("Phone"), 30, QStringLiteral("Outgoing"), berlinTime(2025, 3, 3));
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterIncoming")),
              QStringList{QStringLiteral("Salary")});
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterTransfer")),
              QStringList{QStringLiteral("Savings")});
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterOutgoing")),
              QStringList{QStringLiteral("Phone")});
    EXPECT_TRUE(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterOutgoing"), QStringLiteral("sa"))
                    .isEmpty());
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items"), QStringLiteral("FilterAll"), QStringLiteral("sa")),
              (QStringList{QStringLiteral("Salary"), QStringLiteral("Savings")}));
}

TEST_F(BillListQueryTest, ThreeSorts)
{
    pinNow(berlinTime(2025, 3, 1));
    bill(QStringLiteral("beta"), 50, QStringLiteral("Incoming"), berlinTime(2025, 3, 9));
    bill(QStringLiteral("Alpha"), 10, QStringLiteral("Outgoing"), berlinTime(2025, 3, 20));
    bill(QStringLiteral("gamma"), 5, QStringLiteral("Incoming"), berlinTime(2025, 3, 2));
    const QString all = QStringLiteral("All Items");
    const QString any = QStringLiteral("FilterAll");
    EXPECT_EQ(titlesUnder(all, any, {}, QStringLiteral("By Title")),
              (QStringList{QStringLiteral("Alpha"), QStringLiteral("beta"), QStringLiteral("gamma")}));
    EXPECT_EQ(titlesUnder(all, any, {}, QStringLiteral("By Date")),
              (QStringList{QStringLiteral("gamma"), QStringLiteral("beta"), QStringLiteral("Alpha")}));
    EXPECT_EQ(titlesUnder(all, any, {}, QStringLiteral("By Amount")),
              (QStringList{QStringLiteral("Alpha"), QStringLiteral("gamma"), QStringLiteral("beta")}));
}

TEST_F(BillListQueryTest, OnlyUpcomingRecordsAreBillsAndOverdueCountsDaysBeforeToday)
{
    pinNow(berlinTime(2025, 6, 15, 10));
    bill(QStringLiteral("Yesterday"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 6, 14, 23, 30));
    bill(QStringLiteral("Earlier today"), 1, QStringLiteral("Outgoing"), berlinTime(2025, 6, 15, 8));
    bill(QStringLiteral("Last year"), 1, QStringLiteral("Outgoing"), berlinTime(2024, 6, 15));
    ledger.addTransaction(QStringLiteral("Old groceries"), -12, {}, berlinTime(2025, 1, 1));
    EXPECT_EQ(BillListQuery::overdueCount(ledger.context(), KVCalendarInfo::now()), 2);
    EXPECT_EQ(titlesUnder(QStringLiteral("All Items")).size(), 3);
}

TEST_F(BillListQueryTest, VaultChoicesGetTheirDefaultsAndOlderRangeNamesBecomeAllItems)
{
    ManagedObject* vault = VaultLibrary::vaultsOfType(ledger.context(), VaultType::BillManager).front();
    vault->setValueForKey(u"vault_dateRangeType", Value("All Transactions"));
    vault->setValueForKey(u"vault_transSort", Value());
    BillListSettings settings = BillListSettings::ofVault(*vault);
    EXPECT_EQ(settings.dateRangeType, QStringLiteral("All Items"));
    EXPECT_EQ(vault->valueForKey(u"vault_dateRangeType").toString(), QStringLiteral("All Items"));
    EXPECT_EQ(settings.sort, QStringLiteral("By Title"));
    EXPECT_EQ(vault->valueForKey(u"vault_transSort").toString(), QStringLiteral("By Title"));
    settings.dateRangeType = QStringLiteral("Next 10 Days");
    settings.sort = QStringLiteral("By Amount");
    settings.directionFilter = QStringLiteral("FilterTransfer");
    settings.storeOn(*vault);
    const BillListSettings again = BillListSettings::ofVault(*vault);
    EXPECT_EQ(again.dateRangeType, QStringLiteral("Next 10 Days"));
    EXPECT_EQ(again.sort, QStringLiteral("By Amount"));
    EXPECT_EQ(again.directionFilter, QStringLiteral("FilterTransfer"));
}
