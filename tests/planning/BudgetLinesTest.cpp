#include "planning/BudgetLines.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "planning/NamedPeriod.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class BudgetLinesTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* budget = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Budget, QStringLiteral("Home"));
    PeriodBounds month = namedPeriodBounds(NamedPeriod::ThisMonth, ledger.delegate().now());

    BudgetLineDraft row(const QString& direction, const QString& tags, double limit, const QString& interval = QStringLiteral("Monthly"))
    {
        BudgetLineDraft r = BudgetLines::newRow(ledger.delegate(), direction);
        r.tags = tags;
        r.limit = limit;
        r.interval = interval;
        return r;
    }

    QStringList lineTexts()
    {
        QStringList texts;
        for (const BudgetLineDraft& r : BudgetLines::editRows(context, *budget))
            texts << QStringLiteral("%1 %2 %3 %4").arg(r.direction, r.tags).arg(r.limit).arg(r.interval);
        return texts;
    }
};

} // namespace

TEST_F(BudgetLinesTest, DoneReplacesEveryLineOnlyWhenEveryRowIsValid)
{
    ASSERT_FALSE(BudgetLines::finishEditing(context, *budget, QStringLiteral("Home"),
                                            {row(QStringLiteral("Incoming"), QStringLiteral("Salary"), 3000)},
                                            {row(QStringLiteral("Outgoing"), QStringLiteral("rent"), 900),
                                             row(QStringLiteral("Outgoing"), QStringLiteral("Food, home"), -25.5, QStringLiteral("Weekly"))}));
    // Incoming first, each direction by tags ignoring case; a negative limit is a limit.
    EXPECT_EQ(lineTexts(), (QStringList{"Incoming Salary 3000 Monthly", "Outgoing Food, home -25.5 Weekly",
                                        "Outgoing rent 900 Monthly"}));

    // A bad outgoing row stops the save after the name was stored.
    auto problem = BudgetLines::finishEditing(context, *budget, QStringLiteral("House"),
                                              {row(QStringLiteral("Incoming"), QStringLiteral("gift"), 10)},
                                              {row(QStringLiteral("Outgoing"), QStringLiteral("car"), 5),
                                               row(QStringLiteral("Outgoing"), QStringLiteral("fuel"), 0)});
    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->field, BudgetEditProblem::Limit);
    EXPECT_EQ(problem->direction, "Outgoing");
    EXPECT_EQ(problem->row, 1);
    EXPECT_EQ(budget->valueForKey(u"vault_title").toString(), "House");
    EXPECT_EQ(lineTexts().size(), 3);

    problem = BudgetLines::finishEditing(context, *budget, QStringLiteral("   "), {}, {});
    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->field, BudgetEditProblem::Name);
    EXPECT_EQ(budget->valueForKey(u"vault_title").toString(), "House");
    EXPECT_EQ(lineTexts().size(), 3);

    problem = BudgetLines::finishEditing(context, *budget, QStringLiteral("House"), {}, {});
    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->field, BudgetEditProblem::NoLines);
    EXPECT_TRUE(lineTexts().isEmpty());
    EXPECT_EQ(context.count(ManagedObjectModel::shared().budget()), 0u);
}

TEST_F(BudgetLinesTest, ALinesTransactionsAreWhatItsActualAmountAdds)
{
    ASSERT_FALSE(BudgetLines::finishEditing(context, *budget, QStringLiteral("Home"), {},
                                            {row(QStringLiteral("Outgoing"), QStringLiteral("food, home"), 100)}));
    ManagedObject* line = BudgetLines::lines(context, *budget, QStringLiteral("Outgoing")).front();
    budget->setValueForKey(u"vault_budgetDateRange", Value("This Month"));
    const AbsoluteTime lastDay = month.upper;
    ledger.addTransaction(QStringLiteral("In"), -40, QStringLiteral("Food, Home"), month.lower);
    ledger.addTransaction(QStringLiteral("Also in"), -9.5, QStringLiteral("seafood, homes"), lastDay);
    ledger.addTransaction(QStringLiteral("Late on the last day"), -100, QStringLiteral("food, home"), lastDay + 15 * 3600);
    ledger.addTransaction(QStringLiteral("Incoming"), 70, QStringLiteral("food, home"), month.lower + 3600);
    ledger.addTransaction(QStringLiteral("One tag"), -3, QStringLiteral("food"), month.lower + 3600);

    const Predicate shown = BudgetLines::transactionsPredicate(*line);
    ASSERT_FALSE(shown.isNull());
    double sum = 0;
    QStringList titles;
    for (ManagedObject* t : context.objects(ManagedObjectModel::shared().trans())) {
        if (shown.evaluate(*t)) {
            sum += t->valueForKey(u"trans_amount").toDouble();
            titles << t->valueForKey(u"trans_title").toString();
        }
    }
    titles.sort();
    EXPECT_EQ(titles, (QStringList{"Also in", "In"}));
    EXPECT_FLOAT_EQ(line->valueForKey(u"budget_actualAmount").toDouble(), std::abs(sum));

    line->setValueForKey(u"budget_tags", Value(""));
    EXPECT_TRUE(BudgetLines::transactionsPredicate(*line).isNull());
}

TEST_F(BudgetLinesTest, LimitsReadAsTheEditRowReadsThem)
{
    const AmountFormatter& amounts = ledger.delegate().amountFormatter();
    EXPECT_EQ(BudgetLines::readLimit(amounts.format(1234.5), amounts), 1234.5);
    EXPECT_EQ(BudgetLines::readLimit(QStringLiteral("12abc"), amounts), 12);
    EXPECT_EQ(BudgetLines::readLimit(QStringLiteral("abc"), amounts), 0);
    EXPECT_EQ(BudgetLines::period(*budget), "This Month");
}
