#include "planning/BillPayment.h"

#include "BillTestSupport.h"
#include "store/ManagedObjectContext.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;
using qf::testing::inBerlin;

namespace {

class BillPaymentTest : public qf::testing::BillLedgerTest {
protected:
    std::size_t transactionCount() { return ledger.context().count(ManagedObjectModel::shared().trans()); }
    static QString id(const ManagedObject* record) { return record->valueForKey(u"trans_uniqueID").toString(); }
};

} // namespace

TEST_F(BillPaymentTest, SavingSignsTheAmountByType)
{
    EXPECT_EQ(bill(QStringLiteral("Out"), 20, QStringLiteral("Outgoing"), 0)->valueForKey(u"trans_amount").toDouble(),
              -20.0);
    EXPECT_EQ(bill(QStringLiteral("In"), -20, QStringLiteral("Incoming"), 0)->valueForKey(u"trans_amount").toDouble(),
              20.0);
    EXPECT_EQ(bill(QStringLiteral("Move"), -35, QStringLiteral("Transfer"), 0)->valueForKey(u"trans_amount").toDouble(),
              35.0);
    EXPECT_EQ(bill(QStringLiteral("Out"), -7, QStringLiteral("Outgoing"), 0)->valueForKey(u"trans_amount").toDouble(),
              -7.0);
}

TEST_F(BillPaymentTest, NewBillIsUpcomingAndPendingWithAnIdentifier)
{
    ManagedObject* b = BillRecords::addBill(ledger.context(), ledger.delegate());
    EXPECT_TRUE(b->valueForKey(u"trans_isUpcoming").toBool());
    EXPECT_TRUE(b->valueForKey(u"trans_isPending").toBool());
    EXPECT_EQ(id(b).size(), 36);
    EXPECT_EQ(BillRecords::billTypeOf(*b), QStringLiteral("Outgoing"));
}

TEST_F(BillPaymentTest, MonthlyBillOfThirtyFirstJanuaryMovesToLastOfFebruaryKeepingTheTime)
{
    pinNow(berlinTime(2025, 1, 31, 12));
    ledger.addAccount(QStringLiteral("Checking"));
    ManagedObject* rent = bill(QStringLiteral("Rent"), 800, QStringLiteral("Outgoing"), berlinTime(2025, 1, 31, 9, 30),
                               QStringLiteral("Monthly"));
    ASSERT_EQ(BillPayment::check(ledger.context(), *rent, KVCalendarInfo::now()), BillPayment::Check::Payable);
    EXPECT_EQ(BillPayment::begin(*rent), BillPayment::repeatingPaidText());
    EXPECT_EQ(inBerlin(rent->valueForKey(u"trans_date").toDate()).toString(QStringLiteral("yyyy-MM-dd HH:mm")),
              QStringLiteral("2025-02-28 09:30"));
    EXPECT_TRUE(BillPayment::repeatingPaidText().contains(QStringLiteral("has been creating")));
}

TEST_F(BillPaymentTest, TransferOfFiftyBooksBothSidesPendingAndReferringToTheBill)
{
    const AbsoluteTime now = berlinTime(2025, 5, 2, 14);
    pinNow(now);
    const QString from = ledger.addAccount(QStringLiteral("Checking"))->valueForKey(u"vault_uniqueID").toString();
    const QString to = ledger.addAccount(QStringLiteral("Savings"))->valueForKey(u"vault_uniqueID").toString();
    ManagedObject* save = bill(QStringLiteral("Save"), 50, QStringLiteral("Transfer"), berlinTime(2025, 5, 1),
                               QStringLiteral("Weekly"), QStringLiteral("savings"));
    BillRecords::setFromAccount(*save, from);
    BillRecords::setToAccount(*save, to);
    ASSERT_EQ(BillPayment::check(ledger.context(), *save, now), BillPayment::Check::Payable);
    BillPayment::begin(*save);
    const auto made = BillPayment::complete(ledger.context(), ledger.delegate(), *save);
    ASSERT_EQ(made.size(), 2u);
    EXPECT_EQ(made[0]->valueForKey(u"trans_amount").toDouble(), 50.0);
    EXPECT_EQ(made[0]->valueForKey(u"trans_accountID").toString(), to);
    EXPECT_EQ(made[1]->valueForKey(u"trans_amount").toDouble(), -50.0);
    EXPECT_EQ(made[1]->valueForKey(u"trans_accountID").toString(), from);
    for (ManagedObject* t : made) {
        EXPECT_TRUE(t->valueForKey(u"trans_isPending").toBool());
        EXPECT_FALSE(t->valueForKey(u"trans_isUpcoming").toBool());
        EXPECT_EQ(t->valueForKey(u"trans_pendingREFID").toString(), id(save));
        EXPECT_EQ(t->valueForKey(u"trans_title").toString(), QStringLiteral("Save"));
        EXPECT_EQ(t->valueForKey(u"trans_keywords").toString(), QStringLiteral("savings"));
        EXPECT_EQ(t->valueForKey(u"trans_date").toDate(), now);
        EXPECT_NE(id(t), id(save));
    }
    // A repeating bill stays, a week on.
    EXPECT_FALSE(save->isDeleted());
    EXPECT_EQ(save->valueForKey(u"trans_date").toDate(), berlinTime(2025, 5, 8));
}

TEST_F(BillPaymentTest, TransferWithoutBothAccountsIsMissingAnAccountAndChangesNothing)
{
    ManagedObject* save = bill(QStringLiteral("Save"), 50, QStringLiteral("Transfer"), berlinTime(2025, 5, 1),
                               QStringLiteral("Monthly"));
    BillRecords::setFromAccount(*save, ledger.addAccount(QStringLiteral("A"))->valueForKey(u"vault_uniqueID").toString());
    EXPECT_EQ(BillPayment::check(ledger.context(), *save, berlinTime(2025, 5, 1)), BillPayment::Check::MissingAccount);
    EXPECT_EQ(save->valueForKey(u"trans_date").toDate(), berlinTime(2025, 5, 1));
}

TEST_F(BillPaymentTest, EmptyOrUnknownRecurrenceHasNoNextDate)
{
    ManagedObject* odd = bill(QStringLiteral("Odd"), 5, QStringLiteral("Outgoing"), berlinTime(2025, 5, 1),
                              QStringLiteral("Fortnightly"));
    EXPECT_EQ(BillPayment::check(ledger.context(), *odd, berlinTime(2025, 5, 1)), BillPayment::Check::NoNextDate);
    ManagedObject* empty = bill(QStringLiteral("Empty"), 5, QStringLiteral("Outgoing"), berlinTime(2025, 5, 1));
    empty->setValueForKey(u"trans_reoccurrence", Value());
    EXPECT_EQ(BillPayment::check(ledger.context(), *empty, berlinTime(2025, 5, 1)), BillPayment::Check::NoNextDate);
}

TEST_F(BillPaymentTest, NeverBillPaysIntoItsAccountAndIsRemoved)
{
    pinNow(berlinTime(2025, 5, 2, 9));
    const QString checking = ledger.addAccount(QStringLiteral("Checking"))->valueForKey(u"vault_uniqueID").toString();
    ManagedObject* gift = bill(QStringLiteral("Gift"), -75, QStringLiteral("Incoming"), berlinTime(2025, 5, 3));
    BillRecords::setAccount(*gift, checking);
    EXPECT_EQ(gift->valueForKey(u"trans_billToAccountID").toString(), QString());
    EXPECT_EQ(BillPayment::begin(*gift), BillPayment::neverPaidText());
    EXPECT_EQ(gift->valueForKey(u"trans_date").toDate(), berlinTime(2025, 5, 3));
    const auto made = BillPayment::complete(ledger.context(), ledger.delegate(), *gift);
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0]->valueForKey(u"trans_amount").toDouble(), 75.0);
    EXPECT_EQ(made[0]->valueForKey(u"trans_accountID").toString(), checking);
    EXPECT_TRUE(gift->isDeleted());
}

TEST_F(BillPaymentTest, OutgoingPaymentIsNegativeWhateverTheStoredSign)
{
    pinNow(berlinTime(2025, 5, 2, 9));
    ManagedObject* phone = bill(QStringLiteral("Phone"), 30, QStringLiteral("Outgoing"), berlinTime(2025, 5, 3),
                                QStringLiteral("Monthly"));
    phone->setValueForKey(u"trans_amount", Value(30.0)); // as a raw edit could leave it
    const auto made = BillPayment::complete(ledger.context(), ledger.delegate(), *phone);
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0]->valueForKey(u"trans_amount").toDouble(), -30.0);
    EXPECT_TRUE(made[0]->valueForKey(u"trans_accountID").isNull());
}

TEST_F(BillPaymentTest, SecondPaymentOnTheSameDayIsFlaggedButNotTheOriginNorYesterdays)
{
    const AbsoluteTime now = berlinTime(2025, 7, 10, 18);
    pinNow(now);
    ManagedObject* gym = bill(QStringLiteral("Gym"), 30, QStringLiteral("Outgoing"), berlinTime(2025, 7, 10),
                              QStringLiteral("Weekly"));
    // The transaction the bill was scheduled from, dated today, is not a payment.
    ManagedObject* origin = ledger.addTransaction(QStringLiteral("Gym"), -30, {}, berlinTime(2025, 7, 10, 8));
    origin->setValueForKey(u"trans_pendingREFID", Value(id(gym)));
    gym->setValueForKey(u"trans_paidREFID", Value(id(origin)));
    EXPECT_EQ(BillPayment::check(ledger.context(), *gym, now), BillPayment::Check::Payable);

    pinNow(berlinTime(2025, 7, 9, 23, 50));
    BillPayment::begin(*gym);
    BillPayment::complete(ledger.context(), ledger.delegate(), *gym);
    EXPECT_EQ(BillPayment::check(ledger.context(), *gym, now), BillPayment::Check::Payable);

    pinNow(now);
    BillPayment::begin(*gym);
    const auto made = BillPayment::complete(ledger.context(), ledger.delegate(), *gym);
    ManagedObject* earlier = nullptr;
    EXPECT_EQ(BillPayment::check(ledger.context(), *gym, now, &earlier), BillPayment::Check::PaidToday);
    EXPECT_EQ(earlier, made.front());
    EXPECT_EQ(BillPayment::paymentsOf(ledger.context(), *gym).size(), 2u);
}

TEST(BillRecords, TagCompletionBeginsWithTheTextCaseCountingAndLeavesTheTextOut)
{
    const QStringList tags{QStringLiteral("rent"), QStringLiteral("Rental car"), QStringLiteral("renter"),
                           QStringLiteral("home"), QStringLiteral("renter")};
    EXPECT_EQ(BillRecords::tagCompletions(tags, QStringLiteral("rent")), QStringList{QStringLiteral("renter")});
    EXPECT_EQ(BillRecords::tagCompletions(tags, QStringLiteral("Ren")), QStringList{QStringLiteral("Rental car")});
}

namespace {
QStringList* loggedLines = nullptr;
void keepLine(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    if (loggedLines && QByteArray(context.category) == "quillfen.bills")
        loggedLines->append(text);
}
} // namespace

TEST_F(BillPaymentTest, AddingAndRemovingABillWriteTheirLogLines)
{
    QStringList lines;
    loggedLines = &lines;
    const QtMessageHandler before = qInstallMessageHandler(keepLine);
    ManagedObject* b = BillRecords::addBill(ledger.context(), ledger.delegate());
    BillRecords::removeBill(ledger.context(), b);
    qInstallMessageHandler(before);
    loggedLines = nullptr;
    EXPECT_EQ(lines, (QStringList{QStringLiteral("Add bill"), QStringLiteral("Remove bill")}));
    EXPECT_TRUE(b->isDeleted() || ledger.context().count(ManagedObjectModel::shared().trans()) == 0);
}
