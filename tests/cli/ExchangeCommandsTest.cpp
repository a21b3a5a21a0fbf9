#include "cli/CliFixture.h"
#include "support/FileBytes.h"

#include <QFile>
#include <gtest/gtest.h>

using qf::test::Cli;
using qf::test::CliRun;
using qf::test::utf16File;

namespace {

QString utf8File(const QString& path)
{
    return QString::fromUtf8(qf::test::readFile(path));
}

} // namespace

TEST_F(Cli, ExportCsvWritesTheSelectionInListOrder)
{
    ASSERT_EQ(run({"add-vault", "--type", "Account", "--title", "Checking"}).exitCode, 0);
    add({"--title", "Smith, John", "--amount", "-1234.5", "--date", "2026-03-02", "--account", "Checking"});
    add({"--title", "Salary", "--amount", "2000", "--date", "2026-03-01", "--account", "Checking"});
    add({"--title", "Elsewhere", "--amount", "5", "--date", "2026-03-03"});

    const QString path = home.filePath(QStringLiteral("Checking.csv"));
    const CliRun r = run({"export-csv", path, "--vault", "Checking", "--sort", "Title"});
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(utf16File(path),
              QStringLiteral("Title,Date,Amount\nSalary,3/1/26,\"$2,000.00\"\n\"Smith, John\",3/2/26,\"-$1,234.50\"\n"));

    const CliRun outgoing = run({"export-csv", path, "--direction", "outgoing"});
    ASSERT_EQ(outgoing.exitCode, 0) << qPrintable(outgoing.err);
    EXPECT_EQ(utf16File(path), QStringLiteral("Title,Date,Amount\n\"Smith, John\",3/2/26,\"-$1,234.50\"\n"));

    EXPECT_EQ(run({"export-csv"}).exitCode, 2);
    const CliRun unwritable = run({"export-csv", home.filePath(QStringLiteral("no/such/dir.csv"))});
    EXPECT_EQ(unwritable.exitCode, 1);
    EXPECT_TRUE(unwritable.err.contains(QStringLiteral("no/such/dir.csv"))) << qPrintable(unwritable.err);
}

TEST_F(Cli, ReportWritesTheFilledPageSortedAsAsked)
{
    ASSERT_EQ(run({"add-vault", "--type", "Account", "--title", "Checking"}).exitCode, 0);
    add({"--title", "b rent", "--amount", "-900", "--date", "2026-03-02", "--account", "Checking", "--tags", "home"});
    add({"--title", "A pay", "--amount", "2500", "--date", "2026-03-05", "--account", "Checking"});

    const QString path = home.filePath(QStringLiteral("report.html"));
    const CliRun byTitle = run({"report", path, "--vault", "Checking"});
    ASSERT_EQ(byTitle.exitCode, 0) << qPrintable(byTitle.err);
    const QString page = utf8File(path);
    EXPECT_TRUE(page.contains(QStringLiteral("<h1 class=\"title\">Checking</h1>"))) << qPrintable(page);
    EXPECT_TRUE(page.contains(QStringLiteral("2 Transactions")));
    EXPECT_TRUE(page.contains(QStringLiteral("$2,500.00")));
    EXPECT_TRUE(page.contains(QStringLiteral("$1,600.00")));
    EXPECT_FALSE(page.contains(QStringLiteral("%%")));
    EXPECT_LT(page.indexOf(QStringLiteral("A pay")), page.indexOf(QStringLiteral("b rent")));

    ASSERT_EQ(run({"report", path, "--vault", "Checking", "--sort", "Amount"}).exitCode, 0);
    const QString byAmount = utf8File(path);
    EXPECT_LT(byAmount.indexOf(QStringLiteral("b rent")), byAmount.indexOf(QStringLiteral("A pay")));

    EXPECT_EQ(run({"report", path, "--sort", "Colour"}).exitCode, 2);
    EXPECT_EQ(run({"report"}).exitCode, 2);
}
