#include "app/Quillfen_AppDelegate.h"
#include "exchange/CSVExportController.h"
#include "store/ManagedObject.h"
#include "support/TempLedger.h"
#include "support/FileBytes.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::utf16File;

namespace {

// The delegate's formatters, except for a short date that holds a comma, as
// some locales' do, to show that the date field is never wrapped.
class CommaDateFormats : public RecordEnvironment {
public:
    explicit CommaDateFormats(const Quillfen_AppDelegate& delegate) : m_delegate(delegate) {}
    QString formatAmount(double amount) const override { return m_delegate.formatAmount(amount); }
    QString formatShortDate(AbsoluteTime) const override { return QStringLiteral("May 8, 2026"); }
    QString formatLongDate(AbsoluteTime date) const override { return m_delegate.formatLongDate(date); }
    AbsoluteTime now() const override { return m_delegate.now(); }
    QString selectedVaultID() const override { return {}; }
    QString createUniqueID() const override { return m_delegate.createUniqueID(); }
    QString applicationSupportFolder() const override { return m_delegate.applicationSupportFolder(); }
    std::optional<std::pair<AbsoluteTime, AbsoluteTime>> periodBounds(const QString&) const override { return {}; }
    std::vector<ManagedObject*> fetch(const QString&, const QString&, const ValueArray&) const override { return {}; }

private:
    const Quillfen_AppDelegate& m_delegate;
};

} // namespace

TEST(CSVExportController, QuotesOnlyFieldsWithACommaAndNeverTheDate)
{
    TempLedger ledger;
    ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    const QString date = d.formatShortDate(800000000.0);
    ASSERT_FALSE(date.contains(QLatin1Char(',')));

    ManagedObject* smith = ledger.addTransaction(QStringLiteral("Smith, John"), -12.5);
    EXPECT_EQ(CSVExportController::CSVLineWithObject(*smith, d),
              QStringLiteral("\"Smith, John\",%1,-$12.50\n").arg(date));
    ManagedObject* quoted = ledger.addTransaction(QStringLiteral("The \"Inn\""), 7);
    EXPECT_EQ(CSVExportController::CSVLineWithObject(*quoted, d), QStringLiteral("The \"Inn\",%1,$7.00\n").arg(date));
    // Quotes inside a quoted field stay single.
    ManagedObject* both = ledger.addTransaction(QStringLiteral("\"Big\", Co"), 1234.56);
    EXPECT_EQ(CSVExportController::CSVLineWithObject(*both, d),
              QStringLiteral("\"\"Big\", Co\",%1,\"$1,234.56\"\n").arg(date));

    const CommaDateFormats commaDates(d);
    EXPECT_EQ(CSVExportController::CSVLineWithObject(*quoted, commaDates),
              QStringLiteral("The \"Inn\",May 8, 2026,$7.00\n"));

    ManagedObject* bare = ledger.addTransaction(QStringLiteral("No date"), 1);
    bare->setValueForKey(u"trans_date", Value());
    EXPECT_EQ(CSVExportController::CSVLineWithObject(*bare, d), QStringLiteral("No date,,$1.00\n"));
}

TEST(CSVExportController, GermanAmountsCarryTheirDecimalComma)
{
    TempLedger ledger(QStringLiteral("de_DE"));
    ledger.launch();
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Miete"), -900);
    const QString line = CSVExportController::CSVLineWithObject(*rent, ledger.delegate());
    EXPECT_TRUE(line.startsWith(QStringLiteral("Miete,"))) << qPrintable(line);
    EXPECT_TRUE(line.endsWith(QStringLiteral(",\"-900,00\u00A0€\"\n"))) << qPrintable(line);
}

TEST(CSVExportController, FileIsUtf16WithByteOrderMarkInTheGivenOrder)
{
    TempLedger ledger;
    ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Checking.csv"));

    ASSERT_TRUE(CSVExportController::exportCSVWithPath(path, {}, d));
    EXPECT_EQ(utf16File(path), QStringLiteral("Title,Date,Amount\n"));

    ManagedObject* second = ledger.addTransaction(QStringLiteral("Café"), 2);
    ManagedObject* first = ledger.addTransaction(QStringLiteral("Zoo"), -1);
    ASSERT_TRUE(CSVExportController::exportCSVWithPath(path, {first, second}, d));
    const QString text = utf16File(path);
    const QString date = d.formatShortDate(800000000.0);
    EXPECT_EQ(text, QStringLiteral("Title,Date,Amount\nZoo,%1,-$1.00\nCafé,%1,$2.00\n").arg(date));
    EXPECT_FALSE(text.contains(QLatin1Char('\r')));
}

TEST(CSVExportController, AFailedWriteSaysWhyAndLeavesNoFile)
{
    TempLedger ledger;
    ledger.launch();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("missing/folder/out.csv"));
    const Status status = CSVExportController::exportCSVWithPath(path, {}, ledger.delegate());
    ASSERT_FALSE(status);
    EXPECT_TRUE(status.message().contains(path)) << qPrintable(status.message());
    EXPECT_FALSE(QFile::exists(path));
}
