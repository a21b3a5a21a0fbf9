#include "cli/CliFixture.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using qf::test::Cli;
using qf::test::CliRun;

namespace {

// The first of this month, when every period of the tests holds it.
QString firstOfMonth()
{
    const QDate today = QDate::currentDate();
    return QDate(today.year(), today.month(), 1).toString(Qt::ISODate);
}

} // namespace

TEST_F(Cli, BudgetLinesFromTheCommandLineAndTheirFigures)
{
    add({"--title", "Market", "--amount", "60", "--type", "Outgoing", "--tags", "Food, Home", "--date", firstOfMonth()});
    add({"--title", "Bakery", "--amount", "15.5", "--type", "Outgoing", "--tags", "seafood, homeware", "--date",
         firstOfMonth() + "T14:00"});
    add({"--title", "Cafe", "--amount", "9", "--type", "Outgoing", "--tags", "food", "--date", firstOfMonth()});
    add({"--title", "Pay", "--amount", "2500", "--type", "Incoming", "--tags", "salary", "--date", firstOfMonth()});
    ASSERT_EQ(run({"add-vault", "--type", "Budget", "--title", "Home"}).exitCode, 0);

    const CliRun edited = run({"budget-edit", "Home", "--line", "Outgoing|food, home|100|Weekly", "--line",
                               "outgoing|Food|10|daily", "--line", "Incoming|salary|1200|Yearly"});
    ASSERT_EQ(edited.exitCode, 0) << qPrintable(edited.err);
    const CliRun month = run({"budget", "Home"});
    ASSERT_EQ(month.exitCode, 0) << qPrintable(month.err);
    // Incoming first, then by tags ignoring case; the daily factor is a day number.
    const QStringList rows = month.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(rows.size(), 5);
    EXPECT_EQ(rows[0], "Incoming\tsalary\tYearly\t1200\t100\t2500");
    EXPECT_TRUE(rows[1].startsWith("Outgoing\tFood\tDaily\t10\t")) << qPrintable(rows[1]);
    EXPECT_TRUE(rows[1].endsWith("\t84.5")) << qPrintable(rows[1]);
    EXPECT_EQ(rows[2], "Outgoing\tfood, home\tWeekly\t100\t400\t75.5");
    EXPECT_EQ(rows[4], "Actual Savings\t2340");

    const CliRun year = run({"budget", "Home", "--period", "This Year", "--json"});
    ASSERT_EQ(year.exitCode, 0) << qPrintable(year.err);
    const QJsonObject figures = QJsonDocument::fromJson(year.out.toUtf8()).object();
    EXPECT_EQ(figures["period"].toString(), "This Year");
    const QJsonArray lines = figures["lines"].toArray();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0].toObject()["adjusted"].toDouble(), 1200);
    EXPECT_EQ(lines[1].toObject()["adjusted"].toDouble(), 3560);
    EXPECT_EQ(lines[2].toObject()["adjusted"].toDouble(), 5200);
    EXPECT_EQ(figures["budgetedSavings"].toDouble(), 1200 - 3560 - 5200);
    // The period is the budget's now, and its lines are records like any other.
    EXPECT_TRUE(run({"budget", "Home"}).out.contains("\t5200\t"));
    const CliRun line = run({"show", lines[2].toObject()["id"].toString()});
    EXPECT_TRUE(line.out.contains("\"budget_tags\":\"food, home\"")) << qPrintable(line.out);
    EXPECT_TRUE(line.out.contains("\"budget_limitAmountAdjusted\":5200")) << qPrintable(line.out);

    run({"budget", "Home", "--period", "Last Month"});
    EXPECT_TRUE(run({"budget", "Home"}).out.startsWith("Incoming\tsalary\tYearly\t1200\t100\t0\n"));
}

TEST_F(Cli, ABadBudgetLineChangesNothingButTheName)
{
    const QString id = run({"add-vault", "--type", "Budget", "--title", "Home"}).out.trimmed();
    ASSERT_EQ(run({"budget-edit", id, "--line", "Outgoing|rent|900|Monthly"}).exitCode, 0);
    const QString before = run({"budget", id}).out;

    for (const char* bad : {"Outgoing||100|Weekly", "Outgoing|food|0|Weekly", "Sideways|food|1|Weekly",
                            "Outgoing|food|1|Fortnightly", "Outgoing|food|1"}) {
        const CliRun r = run({"budget-edit", id, "--title", "House", "--line", "Incoming|pay|10|Monthly", "--line", bad});
        EXPECT_EQ(r.exitCode, 1) << bad;
        EXPECT_TRUE(r.err.contains(QString::fromUtf8(bad))) << qPrintable(r.err);
        EXPECT_EQ(run({"budget", id}).out, before) << bad;
    }
    // Empty tags and a zero limit are found by the edit view's check, after the name was kept.
    EXPECT_TRUE(run({"vaults", "--type", "Budget"}).out.contains("\tHouse\n"));

    const CliRun none = run({"budget-edit", "House"});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(run({"budget", "House"}).out, "Budgeted Savings\t0\nActual Savings\t0\n");
}
