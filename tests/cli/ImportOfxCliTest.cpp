#include "CliFixture.h"

#include <gtest/gtest.h>

using qf::test::CliRun;

namespace {

class ImportOfxCli : public qf::test::Cli {
protected:
    CliRun import(const char* file, const QStringList& options = {})
    {
        return run(QStringList{QStringLiteral("import-ofx"),
                               QStringLiteral(QUILLFEN_TEST_DATA_DIR "/ofx/") + QString::fromLatin1(file)} +
                   options);
    }
};

} // namespace

TEST_F(ImportOfxCli, ImportsEveryTransactionIntoTheLibraryOrAnAccount)
{
    CliRun r = import("xml-checking.ofx");
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral("3\n"));
    EXPECT_EQ(rowsByDay(), QStringList({QStringLiteral("2024-01-05 AT&T WIRELESS -42.17"),
                                   QStringLiteral("2024-01-15 ACME PAYROLL 2500"),
                                   QStringLiteral("2024-01-31 CITY WATER & SEWER -120.5")}));
    EXPECT_EQ(rowsByDay({QStringLiteral("--where"), QStringLiteral("trans_QIFUniqueID == \"2024011500002\"")}).size(), 1);

    const CliRun account = run({QStringLiteral("add-vault"), QStringLiteral("--type"), QStringLiteral("Account"),
                                QStringLiteral("--title"), QStringLiteral("Card")});
    ASSERT_EQ(account.exitCode, 0) << qPrintable(account.err);
    r = import("card-unclosed.qfx", {QStringLiteral("--account"), QStringLiteral("Card")});
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral("2\n"));
    EXPECT_EQ(rowsByDay({QStringLiteral("--vault"), account.out.trimmed()}),
              QStringList({QStringLiteral("2024-02-03 Bäckerei Müller -8.9"),
                           QStringLiteral("2024-02-29 Rückzahlung R&V 1250")}));
}

TEST_F(ImportOfxCli, AStatementWithValuesLeftOpenImportsItsPayees)
{
    const CliRun r = import("staircase.qfx");
    ASSERT_EQ(r.exitCode, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral("4\n"));
    EXPECT_EQ(rowsByDay(), QStringList({QStringLiteral("2026-01-05 AT&T MOBILITY -12.5"),
                                        QStringLiteral("2026-01-09 RIVERBEND HARDWARE -48.75"),
                                        QStringLiteral("2026-01-17 LANTERN COFFEE & TEA -7.4"),
                                        QStringLiteral("2026-01-28 PAYMENT THANK YOU 150")}));
}

TEST_F(ImportOfxCli, UnreadableFilesAndBadUsageStoreNothing)
{
    CliRun r = import("latin1.ofx");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("latin1.ofx")) && r.err.contains(QStringLiteral("not UTF-8")))
        << qPrintable(r.err);
    r = import("sgml-checking.ofx", {QStringLiteral("--account"), QStringLiteral("Nowhere")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.contains(QStringLiteral("no account \"Nowhere\"")));
    EXPECT_EQ(import("sgml-checking.ofx", {QStringLiteral("--date-order"), QStringLiteral("Month/Day/Year")}).exitCode, 2);
    EXPECT_EQ(run({QStringLiteral("import-ofx")}).exitCode, 2);
    EXPECT_TRUE(rowsByDay().isEmpty());
}
