#include "common/DateFormatter.h"
#include "exchange/PrintedReport.h"
#include "store/ManagedObject.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <QFileInfo>
#include <QUrl>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

// Templates small enough to compare a whole page at once.
PrintedReport::Templates compactTemplates()
{
    return {QStringLiteral("[%%TITLE%%|%%TRANSACTION_COUNT%%|in %%INCOMING_AMOUNT%%|out %%OUTGOING_AMOUNT%%|"
                           "bal %%CURRENT_BALANCE_AMOUNT%%|%%TRANSACTIONS_LIST%%]"),
            QStringLiteral("<%%TRANSACTION_ROW_TYPE%%:%%TRANSACTION_TITLE%%:%%TRANSACTION_DATE%%:%%TRANSACTION_AMOUNT%%:"
                           "%%TRANSACTION_TAGS%%:%%TRANSACTION_ACCOUNT%%:%%TRANSACTION_BUDGET%%>"),
            QStringLiteral("/styles.css")};
}

QStringList titles(const std::vector<ManagedObject*>& transactions)
{
    QStringList result;
    for (const ManagedObject* t : transactions)
        result << t->valueForKey(u"trans_title").toString();
    return result;
}

} // namespace

TEST(PrintedReport, EmptyListKeepsTheRowsPlaceholderAndShowsZeroes)
{
    TempLedger ledger;
    ledger.launch();
    const PrintedReport report(compactTemplates(), ledger.context(), QStringLiteral("en_US"));
    EXPECT_EQ(report.pageHTML(QStringLiteral("Checking"), {}, 800000000.0),
              QStringLiteral("[Checking|0 Transactions|in $0.00|out $0.00|bal $0.00|%%TRANSACTIONS_LIST%%]"));
    EXPECT_EQ(report.HTMLStringFromTransObjects({}), QString());
}

TEST(PrintedReport, RowsFillEveryPlaceholderLiterallyFromEvenOn)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* account = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    ManagedObject* budget = VaultLibrary::insertVault(context, d, VaultType::Budget, QStringLiteral("Home"));
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Rent"), -900, QStringLiteral("home, fixed"));
    rent->setValueForKey(u"trans_accountID", account->valueForKey(u"vault_uniqueID"));
    rent->setValueForKey(u"trans_budgetID", budget->valueForKey(u"vault_uniqueID"));
    ManagedObject* pay = ledger.addTransaction(QStringLiteral("<b>Pay</b> & more"), 2500.5);
    pay->setValueForKey(u"trans_accountID", Value("NO-SUCH-VAULT"));
    ManagedObject* tip = ledger.addTransaction(QStringLiteral("tip"), -3.25);

    PrintedReport report(compactTemplates(), context, QStringLiteral("en_US"));
    const QString date = DateFormatter(DateFormatter::Style::Short, QStringLiteral("en_US")).format(800000000.0);
    ASSERT_FALSE(date.isEmpty());
    const QString page = report.pageHTML(QStringLiteral("All & <everything>"), {rent, pay, tip}, 800000000.0);
    EXPECT_EQ(page, QStringLiteral("[All & <everything>|3 Transactions|in $2,500.50|out -$903.25|bal $1,597.25|"
                                   "<even:<b>Pay</b> & more:%1:$2,500.50:::>"
                                   "<odd:Rent:%1:-$900.00:home, fixed:Checking:Home>"
                                   "<even:tip:%1:-$3.25:::>]")
                        .arg(date));
}

TEST(PrintedReport, FourSortsAscendingWithMissingValuesFirst)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* b = ledger.addTransaction(QStringLiteral("banana"), 5, QStringLiteral("Zeta"), 800000300.0);
    ManagedObject* a = ledger.addTransaction(QStringLiteral("Apple"), -20, QStringLiteral("alpha"), 800000100.0);
    ManagedObject* c = ledger.addTransaction(QStringLiteral("cherry"), 1, QStringLiteral("Beta"), 800000200.0);
    ManagedObject* none = ledger.addTransaction(QStringLiteral("Zucchini"), 3, {}, 800000000.0);
    none->setValueForKey(u"trans_keywords", Value());
    const std::vector<ManagedObject*> given{b, a, c, none};

    PrintedReport report(compactTemplates(), context, QStringLiteral("en_US"));
    EXPECT_EQ(report.sortType(), PrintedReport::Sort::Title);
    EXPECT_EQ(titles(report.sorted(given)), QStringList({"Apple", "banana", "cherry", "Zucchini"}));
    report.setSortType(PrintedReport::Sort::Amount);
    EXPECT_EQ(titles(report.sorted(given)), QStringList({"Apple", "cherry", "Zucchini", "banana"}));
    report.setSortType(PrintedReport::Sort::Date);
    EXPECT_EQ(titles(report.sorted(given)), QStringList({"Zucchini", "Apple", "cherry", "banana"}));
    report.setSortType(PrintedReport::Sort::Tags); // case matters: upper case first
    EXPECT_EQ(titles(report.sorted(given)), QStringList({"Zucchini", "cherry", "banana", "Apple"}));

    EXPECT_EQ(PrintedReport::sortFromTitle(u"Amount"), PrintedReport::Sort::Amount);
    EXPECT_FALSE(PrintedReport::sortFromTitle(u"amount").has_value());
    for (auto sort : {PrintedReport::Sort::Title, PrintedReport::Sort::Amount, PrintedReport::Sort::Date,
                      PrintedReport::Sort::Tags})
        EXPECT_EQ(PrintedReport::sortFromTitle(PrintedReport::sortTitle(sort)), sort);
}

TEST(PrintedReport, VaultTransactionsAreFetchedByTheVaultsKind)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    auto vault = [&](const QString& type, const char* title) {
        return VaultLibrary::insertVault(context, d, type, QString::fromLatin1(title));
    };
    ManagedObject* account = vault(VaultType::Account, "Checking");
    ManagedObject* folder = vault(VaultType::Playlist, "Trip");
    ManagedObject* smart = vault(VaultType::SmartPlaylist, "Coffee");
    ManagedObject* broken = vault(VaultType::SmartPlaylist, "Broken");
    ManagedObject* budget = vault(VaultType::Budget, "Home");
    smart->setValueForKey(u"vault_smartPredicateString", Value("trans_title CONTAINS[c] 'coffee'"));
    broken->setValueForKey(u"vault_smartPredicateString", Value("trans_title ==="));
    ledger.addTransaction(QStringLiteral("Rent"), -900)->setValueForKey(u"trans_accountID", account->valueForKey(u"vault_uniqueID"));
    ledger.addTransaction(QStringLiteral("Hotel"), -180)->setValueForKey(u"trans_listIDs", folder->valueForKey(u"vault_uniqueID"));
    ledger.addTransaction(QStringLiteral("Coffee"), -3)->setValueForKey(u"trans_isUpcoming", Value::boolean(true));

    auto fetched = [&](ManagedObject* v) {
        QStringList t = titles(PrintedReport::vaultTransObjects(d, *v));
        t.sort();
        return t;
    };
    EXPECT_EQ(fetched(d.fetchVaultObjectsWithType(VaultType::MasterVault).front()), QStringList({"Coffee", "Hotel", "Rent"}));
    EXPECT_EQ(fetched(d.fetchVaultObjectsWithType(VaultType::BillManager).front()), QStringList({"Coffee"}));
    EXPECT_EQ(fetched(account), QStringList({"Rent"}));
    EXPECT_EQ(fetched(folder), QStringList({"Hotel"}));
    EXPECT_EQ(fetched(smart), QStringList({"Coffee"}));
    EXPECT_TRUE(fetched(broken).isEmpty());
    EXPECT_TRUE(fetched(budget).isEmpty());
}

TEST(PrintedReport, ShippedTemplatesHoldEveryPlaceholderAndLinkTheirStyleSheet)
{
    const auto templates = PrintedReport::loadTemplates();
    ASSERT_TRUE(templates) << qPrintable(templates.message());
    for (const char* placeholder : {"%%STYLES_CSS%%", "%%TITLE%%", "%%SUBTITLE%%", "%%TRANSACTION_COUNT%%",
                                    "%%INCOMING_AMOUNT%%", "%%OUTGOING_AMOUNT%%", "%%CURRENT_BALANCE_AMOUNT%%",
                                    "%%TRANSACTIONS_LIST%%"})
        EXPECT_TRUE(templates->page.contains(QLatin1String(placeholder))) << placeholder;
    for (const char* placeholder : {"%%TRANSACTION_TITLE%%", "%%TRANSACTION_DATE%%", "%%TRANSACTION_AMOUNT%%",
                                    "%%TRANSACTION_TAGS%%", "%%TRANSACTION_ACCOUNT%%", "%%TRANSACTION_BUDGET%%",
                                    "%%TRANSACTION_ROW_TYPE%%"})
        EXPECT_TRUE(templates->row.contains(QLatin1String(placeholder))) << placeholder;

    TempLedger ledger;
    ledger.launch();
    const PrintedReport report(*templates, ledger.context(), QStringLiteral("de_DE"));
    const QString page = report.pageHTML(QStringLiteral("Konto"), {}, 800000000.0);
    const QString styles = QUrl::fromLocalFile(templates->stylesPath).toString();
    EXPECT_TRUE(styles.startsWith(QStringLiteral("file:///"))) << qPrintable(styles);
    EXPECT_TRUE(page.contains(QStringLiteral("href=\"%1\"").arg(styles)));
    EXPECT_TRUE(QFileInfo::exists(templates->stylesPath));
    EXPECT_TRUE(page.contains(QStringLiteral("0 Transactions")));
    EXPECT_TRUE(page.contains(QStringLiteral("0,00\u00A0€")));
    EXPECT_FALSE(page.contains(QStringLiteral("%%TITLE%%")));

    const auto missing = PrintedReport::loadTemplates(QStringLiteral("/nonexistent/templates"));
    ASSERT_FALSE(missing);
    EXPECT_TRUE(missing.message().contains(QStringLiteral("/nonexistent/templates/Header.html")));
}
