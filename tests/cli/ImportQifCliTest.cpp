#include "CliFixture.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using qf::test::CliRun;

namespace {

class ImportQifCli : public qf::test::Cli {
protected:
    CliRun import(const char* file, const QStringList& options)
    {
        return run(QStringList{QStringLiteral("import-qif"),
                               QStringLiteral(QUILLFEN_TEST_DATA_DIR "/qif/") + QString::fromLatin1(file)} +
                   options);
    }
};

const QStringList kMonthDayYear{QStringLiteral("--date-order"), QStringLiteral("Month/Day/Year")};

} // namespace

TEST_F(ImportQifCli, ImportsEveryRecordIntoTheLibraryOrAnAccount)
{
    CliRun r = import("savings-cr.qif", kMonthDayYear);
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral("2\n"));
    EXPECT_EQ(rowsByDay(), QStringList({QStringLiteral("1997-12-31 Interest 100"),
                                   QStringLiteral("1998-01-05 Transfer out -20")}));

    const CliRun account = run({QStringLiteral("add-vault"), QStringLiteral("--type"), QStringLiteral("Account"),
                                QStringLiteral("--title"), QStringLiteral("Giro")});
    ASSERT_EQ(account.exitCode, 0) << qPrintable(account.err);
    r = import("day-first.qif", {QStringLiteral("--date-order"), QStringLiteral("Day/Month/Year"),
                                 QStringLiteral("--account"), QStringLiteral("Giro")});
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral("2\n"));
    EXPECT_EQ(rowsByDay({QStringLiteral("--vault"), account.out.trimmed()}),
              QStringList({QStringLiteral("2008-01-05 Cafe Central -12.5"), QStringLiteral("2008-01-31 Payroll 2500")}));

    r = import("header-only.qif", kMonthDayYear);
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, QStringLiteral("0\n"));
    EXPECT_EQ(rowsByDay().size(), 4);
}

TEST_F(ImportQifCli, NonAsciiFileFailsAndStoresNothing)
{
    ASSERT_EQ(import("savings-cr.qif", kMonthDayYear).exitCode, 0);
    const CliRun r = import("non-ascii.qif", kMonthDayYear);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("non-ascii.qif")) && r.err.contains(QStringLiteral("offset 31")))
        << qPrintable(r.err);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(rowsByDay().size(), 2);
}

TEST_F(ImportQifCli, BadUsageExitsWithTwo)
{
    EXPECT_EQ(import("savings-cr.qif", {}).exitCode, 2);
    EXPECT_EQ(import("savings-cr.qif", {QStringLiteral("--date-order"), QStringLiteral("Month/Month/Year")}).exitCode, 2);
    EXPECT_EQ(run({QStringLiteral("import-qif"), QStringLiteral("--date-order"), QStringLiteral("Month/Day/Year")}).exitCode,
              2);
    const CliRun noAccount = import("savings-cr.qif", kMonthDayYear + QStringList{QStringLiteral("--account"),
                                                                                   QStringLiteral("Nowhere")});
    EXPECT_EQ(noAccount.exitCode, 1);
    EXPECT_TRUE(noAccount.err.contains(QStringLiteral("no account \"Nowhere\"")));
    EXPECT_TRUE(rowsByDay().isEmpty());
}
