#include "CliFixture.h"

#include <QDate>

using qf::test::Cli;
using qf::test::CliRun;

namespace {

QString day(int offset)
{
    return QDate::currentDate().addDays(offset).toString(Qt::ISODate);
}

class BillCli : public Cli {
protected:
    QString addBill(const QStringList& arguments)
    {
        const CliRun r = run(QStringList{QStringLiteral("add-bill")} + arguments);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        return r.out.trimmed();
    }

    // Rows of `bills` with the id left out.
    QStringList billRows(const QStringList& options = {})
    {
        const CliRun r = run(QStringList{QStringLiteral("bills")} + options);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        QStringList rows;
        for (const QString& line : r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            rows << line.section(QLatin1Char('\t'), 1);
        return rows;
    }

    QString account(const QString& title)
    {
        const CliRun r = run({QStringLiteral("add-vault"), QStringLiteral("--type"), QStringLiteral("Account"),
                              QStringLiteral("--title"), title});
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        return r.out.trimmed();
    }
};

} // namespace

TEST_F(BillCli, AddBillSignsAmountsAndBillsListsThemFreshEachRun)
{
    addBill({QStringLiteral("--title"), QStringLiteral("Phone"), QStringLiteral("--amount"), QStringLiteral("20"),
             QStringLiteral("--type"), QStringLiteral("Outgoing"), QStringLiteral("--date"), day(3)});
    addBill({QStringLiteral("--title"), QStringLiteral("refund"), QStringLiteral("--amount"), QStringLiteral("-20"),
             QStringLiteral("--type"), QStringLiteral("Incoming"), QStringLiteral("--date"), day(1) + "T08:15",
             QStringLiteral("--repeat"), QStringLiteral("Monthly"), QStringLiteral("--tags"), QStringLiteral("tax,  state")});
    addBill({QStringLiteral("--title"), QStringLiteral("Gym"), QStringLiteral("--amount"), QStringLiteral("30"),
             QStringLiteral("--type"), QStringLiteral("Outgoing"), QStringLiteral("--date"), day(-40)});

    EXPECT_EQ(billRows(), (QStringList{day(-40) + "T00:00:00\tGym\t-30\tOutgoing\tNever\tOverdue",
                                       day(3) + "T00:00:00\tPhone\t-20\tOutgoing\tNever\tUpcoming",
                                       day(1) + "T08:15:00\trefund\t20\tIncoming\tMonthly\tUpcoming"}));
    EXPECT_EQ(billRows({QStringLiteral("--sort"), QStringLiteral("By Amount")}).first().section('\t', 1, 1),
              QStringLiteral("Gym"));
    // The next run starts from "By Title" again and keeps the overdue bill out of the next days.
    const QStringList soon = billRows({QStringLiteral("--range"), QStringLiteral("Next 5 Days")});
    EXPECT_EQ(soon.size(), 2);
    EXPECT_EQ(soon.first().section('\t', 1, 1), QStringLiteral("Phone"));
    EXPECT_EQ(billRows({QStringLiteral("--direction"), QStringLiteral("incoming"), QStringLiteral("--search"),
                        QStringLiteral("state tax")})
                  .size(),
              1);
    EXPECT_TRUE(billRows({QStringLiteral("--direction"), QStringLiteral("transfer")}).isEmpty());

    const CliRun bad = run({QStringLiteral("add-bill"), QStringLiteral("--title"), QStringLiteral("X"),
                            QStringLiteral("--amount"), QStringLiteral("5"), QStringLiteral("--type"),
                            QStringLiteral("Transfer"), QStringLiteral("--date"), day(0), QStringLiteral("--account"),
                            QStringLiteral("Nowhere")});
    EXPECT_EQ(bad.exitCode, 2);
    EXPECT_EQ(billRows().size(), 3);
}

TEST_F(BillCli, PayingATransferBooksBothSidesAndMovesTheDueDate)
{
    account(QStringLiteral("Checking"));
    account(QStringLiteral("Savings"));
    const QString bill = addBill({QStringLiteral("--title"), QStringLiteral("Save"), QStringLiteral("--amount"),
                                  QStringLiteral("50"), QStringLiteral("--type"), QStringLiteral("Transfer"),
                                  QStringLiteral("--date"), QStringLiteral("2025-01-31T09:30"), QStringLiteral("--repeat"),
                                  QStringLiteral("Monthly"), QStringLiteral("--from-account"), QStringLiteral("Checking"),
                                  QStringLiteral("--to-account"), QStringLiteral("Savings")});
    const CliRun paid = run({QStringLiteral("pay"), bill});
    ASSERT_EQ(paid.exitCode, 0) << qPrintable(paid.err);
    EXPECT_EQ(paid.out.split('\n', Qt::SkipEmptyParts).size(), 2);
    // The bill itself shows in both accounts too; only the payments are not upcoming.
    EXPECT_EQ(listed({QStringLiteral("--vault"), QStringLiteral("Savings"), QStringLiteral("--where"),
                      QStringLiteral("trans_isUpcoming == NO")}),
              QStringList{QStringLiteral("Save|50|Pending|")});
    EXPECT_EQ(listed({QStringLiteral("--vault"), QStringLiteral("Checking"), QStringLiteral("--where"),
                      QStringLiteral("trans_isUpcoming == NO")}),
              QStringList{QStringLiteral("Save|-50|Pending|")});
    EXPECT_TRUE(billRows().value(0).startsWith(QStringLiteral("2025-02-28T09:30:00\tSave")));

    // Paying again the same day asks for --again.
    const CliRun twice = run({QStringLiteral("pay"), bill});
    EXPECT_EQ(twice.exitCode, 1);
    EXPECT_TRUE(twice.err.contains(QStringLiteral("already paid today")));
    EXPECT_TRUE(billRows().value(0).startsWith(QStringLiteral("2025-02-28")));
    const CliRun again = run({QStringLiteral("pay"), bill, QStringLiteral("--again")});
    EXPECT_EQ(again.exitCode, 0) << qPrintable(again.err);
    EXPECT_TRUE(billRows().value(0).startsWith(QStringLiteral("2025-03-28")));
}

TEST_F(BillCli, PayRefusesMissingAccountsAndUnknownRepeatsAndCancelKeepsANeverBill)
{
    account(QStringLiteral("Checking"));
    const QString transfer = addBill({QStringLiteral("--title"), QStringLiteral("Half"), QStringLiteral("--amount"),
                                      QStringLiteral("10"), QStringLiteral("--type"), QStringLiteral("Transfer"),
                                      QStringLiteral("--date"), day(2), QStringLiteral("--from-account"),
                                      QStringLiteral("Checking")});
    const CliRun missing = run({QStringLiteral("pay"), transfer});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains(QStringLiteral(
        "Missing Account: In order to pay bill correctly, you must choose an incoming and an outgoing account.")));

    const QString odd = addBill({QStringLiteral("--title"), QStringLiteral("Odd"), QStringLiteral("--amount"),
                                 QStringLiteral("4"), QStringLiteral("--type"), QStringLiteral("Outgoing"),
                                 QStringLiteral("--date"), day(2), QStringLiteral("--repeat"), QStringLiteral("Weekly")});
    ASSERT_EQ(run({QStringLiteral("set"), odd, QStringLiteral("trans_reoccurrence"), QStringLiteral("Fortnightly")}).exitCode, 0);
    const QStringList before = billRows();
    EXPECT_EQ(run({QStringLiteral("pay"), odd}).exitCode, 1);
    EXPECT_EQ(billRows(), before);

    const QString once = addBill({QStringLiteral("--title"), QStringLiteral("Once"), QStringLiteral("--amount"),
                                  QStringLiteral("9"), QStringLiteral("--type"), QStringLiteral("Outgoing"),
                                  QStringLiteral("--date"), day(2)});
    const CliRun cancelled = run({QStringLiteral("pay"), once, QStringLiteral("--cancel")});
    EXPECT_EQ(cancelled.exitCode, 0) << qPrintable(cancelled.err);
    EXPECT_TRUE(cancelled.out.trimmed().isEmpty());
    EXPECT_TRUE(billRows().contains(day(2) + QStringLiteral("T00:00:00\tOnce\t-9\tOutgoing\tNever\tUpcoming")));
    EXPECT_TRUE(listed({QStringLiteral("--where"), QStringLiteral("trans_isUpcoming == NO")}).isEmpty());

    // Confirmed, the one-off bill goes and its payment stays.
    const CliRun paid = run({QStringLiteral("pay"), once});
    EXPECT_EQ(paid.exitCode, 0) << qPrintable(paid.err);
    EXPECT_EQ(billRows().size(), 2);
    EXPECT_EQ(listed({QStringLiteral("--where"), QStringLiteral("trans_isUpcoming == NO")}),
              QStringList{QStringLiteral("Once|-9|Pending|")});

    // A repeating bill's date moves even when the payment is cancelled.
    const QString weekly = addBill({QStringLiteral("--title"), QStringLiteral("Weekly"), QStringLiteral("--amount"),
                                    QStringLiteral("1"), QStringLiteral("--type"), QStringLiteral("Outgoing"),
                                    QStringLiteral("--date"), QStringLiteral("2030-01-01"), QStringLiteral("--repeat"),
                                    QStringLiteral("Weekly")});
    EXPECT_EQ(run({QStringLiteral("pay"), weekly, QStringLiteral("--cancel")}).exitCode, 0);
    EXPECT_TRUE(billRows({QStringLiteral("--search"), QStringLiteral("Weekly")}).value(0).startsWith(QStringLiteral("2030-01-08")));
    EXPECT_EQ(listed({QStringLiteral("--where"), QStringLiteral("trans_isUpcoming == NO")}).size(), 1);
}
