#include "exchange/QIFImport.h"

#include "common/LocaleDefaults.h"
#include "exchange/QFQIFParser.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/PinnedZone.h"
#include "support/TempLedger.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::testing::berlinTime;

namespace {

QString dataPath(const char* name)
{
    return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/qif/") + QString::fromLatin1(name);
}

class QIFImportTest : public ::testing::Test {
protected:
    void SetUp() override { LocaleDefaults::setLocaleIdentifier(QStringLiteral("en_US")); }
    void TearDown() override { LocaleDefaults::setLocaleIdentifier(QString()); }

    TempLedger ledger;

    QStringList imported()
    {
        QStringList rows;
        for (ManagedObject* t : ledger.context().objects(ManagedObjectModel::shared().trans())) {
            rows << QStringList{t->valueForKey(u"trans_title").toString(),
                                QString::number(t->valueForKey(u"trans_amount").toDouble(), 'f', 2),
                                t->valueForKey(u"trans_notes").toString(), t->valueForKey(u"trans_accountID").toString(),
                                t->valueForKey(u"trans_QIFUniqueID").toString()}
                        .join(QLatin1Char('|'));
        }
        return rows;
    }
};

} // namespace

TEST_F(QIFImportTest, ReadsOnlySevenBitAsciiAndNamesTheOffendingByte)
{
    const Result<QString> text = QIFImport::asciiText(QByteArray("!Type:Bank\nPCaf\xc3\xa9\n"));
    ASSERT_FALSE(text);
    EXPECT_EQ(text.error().position, 15);
    EXPECT_TRUE(text.message().contains(QStringLiteral("0xC3"))) << qPrintable(text.message());
    EXPECT_EQ(*QIFImport::asciiText(QByteArray("a\0b\x7f", 4)), QString::fromLatin1("a\0b\x7f", 4));

    QIFImport import;
    ASSERT_TRUE(import.loadQIFFile(dataPath("day-first.qif")));
    const Status failed = import.loadQIFFile(dataPath("non-ascii.qif"));
    ASSERT_FALSE(failed);
    EXPECT_TRUE(failed.message().contains(QStringLiteral("non-ascii.qif"))) << qPrintable(failed.message());
    EXPECT_EQ(failed.error().position, 31);
    EXPECT_EQ(import.dateFormatString(), QStringLiteral("05-01-08")); // the earlier file stays
    EXPECT_FALSE(import.loadQIFFile(dataPath("no-such-file.qif")));
}

TEST_F(QIFImportTest, PreparedRecordsAreCheckedAndCarryPayeeAndLocalDate)
{
    QIFImport import;
    ASSERT_TRUE(import.loadQIFFile(dataPath("checking-crlf.qif")));
    ASSERT_EQ(import.dateFormatString(), QStringLiteral("1/ 5'08"));
    import.prepareQIFTransactions(QStringLiteral("%m/%d'%y"));
    const auto& records = import.QIFTransactions();
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0].at(QStringLiteral("QIFUniqueID")).toString(),
              QStringLiteral("Rent January:2008-01-05 00:00:00 +0100"));
    EXPECT_EQ(records[3].at(QStringLiteral("QIFUniqueID")).toString(), QStringLiteral("(null):2008-02-01 00:00:00 +0100"));
    for (const ValueDictionary& record : records)
        EXPECT_TRUE(QIFImport::shouldImport(record));
    // Summer time shows its own offset; the description is local, not UTC.
    EXPECT_EQ(QIFImport::dateDescription(berlinTime(2008, 7, 1)), QStringLiteral("2008-07-01 00:00:00 +0200"));
    EXPECT_EQ(QIFImport::dateDescription(berlinTime(2008, 7, 1, 23, 59)), QStringLiteral("2008-07-01 23:59:00 +0200"));
    EXPECT_EQ(QIFImport::uniqueIDForRecord({{QStringLiteral("Payee"), Value("X")}}), QStringLiteral("X:(null)"));

    import.uncheckAll();
    EXPECT_FALSE(QIFImport::shouldImport(import.QIFTransactions()[2]));
    import.checkAll();
    EXPECT_TRUE(QIFImport::shouldImport(import.QIFTransactions()[2]));

    // A pattern under which nothing reads leaves the list empty.
    import.prepareQIFTransactions(QStringLiteral("%d-%m-%y"));
    EXPECT_TRUE(import.QIFTransactions().empty());
}

TEST_F(QIFImportTest, ImportIntoAnAccountTwiceGivesDuplicatesWithEqualIDs)
{
    ledger.launch();
    ManagedObject* checking = ledger.addAccount(QStringLiteral("Checking"));
    const QString checkingID = checking->valueForKey(u"vault_uniqueID").toString();
    QIFImport import;
    ASSERT_TRUE(import.loadQIFFile(dataPath("checking-crlf.qif")));
    import.prepareQIFTransactions(QStringLiteral("%m/%d'%y"));
    std::vector<ValueDictionary> arranged = import.QIFTransactions();
    std::reverse(arranged.begin(), arranged.end()); // as the user sorted the table
    QIFImport::setShouldImport(arranged[1], false);  // Grocery Mart stays out

    const auto first = QIFImport::insertTransactions(ledger.context(), ledger.delegate(), arranged, checkingID);
    ASSERT_EQ(first.size(), 3u);
    const auto second = QIFImport::insertTransactions(ledger.context(), ledger.delegate(), arranged, checkingID);
    ASSERT_TRUE(ledger.delegate().saveAction());
    const QString id = QStringLiteral("|") + checkingID + QStringLiteral("|");
    const QStringList once{QStringLiteral("|-4.50|") + id + QStringLiteral("(null):2008-02-01 00:00:00 +0100"),
                           QStringLiteral("Salary ACME Corp|1234.56|") + id +
                               QStringLiteral("Salary ACME Corp:2008-01-12 00:00:00 +0100"),
                           QStringLiteral("Rent January|-1234.56|Monthly rent") + id +
                               QStringLiteral("Rent January:2008-01-05 00:00:00 +0100")};
    EXPECT_EQ(imported(), once + once);

    ManagedObject* salary = first[1];
    EXPECT_EQ(salary->valueForKey(u"trans_date").toDate(), berlinTime(2008, 1, 12));
    EXPECT_EQ(salary->valueForKey(u"trans_direction").toString(), QStringLiteral("Incoming"));
    EXPECT_EQ(salary->valueForKey(u"trans_status").toString(), QStringLiteral("Reconciled"));
    EXPECT_EQ(salary->valueForKey(u"trans_uniqueID").toString().size(), 36);
    EXPECT_NE(salary->valueForKey(u"trans_uniqueID"), second[1]->valueForKey(u"trans_uniqueID"));
    // The payee-less record has no title at all, and no tags or folders.
    EXPECT_TRUE(first[0]->valueForKey(u"trans_title").isNull());
    EXPECT_TRUE(first[0]->valueForKey(u"trans_keywords").isNull());
    EXPECT_TRUE(first[0]->valueForKey(u"trans_listIDs").isNull());
    // Imported records are cleared ones: the account's pane (and every
    // "paid" filter) shows them.
    EXPECT_EQ(QIFImport::clearedTransactions(ledger.delegate(), checkingID).size(), 6u);
}

TEST_F(QIFImportTest, LibraryImportLeavesTheAccountUnsetAndNothingCheckedCreatesNothing)
{
    ledger.launch();
    QIFImport import;
    ASSERT_TRUE(import.loadQIFFile(dataPath("four-digit-year.qif")));
    import.prepareQIFTransactions(QStringLiteral("%m/%d/%Y"));
    import.uncheckAll();
    EXPECT_TRUE(QIFImport::insertTransactions(ledger.context(), ledger.delegate(), import.QIFTransactions(), {}).empty());
    EXPECT_TRUE(imported().isEmpty());

    import.checkAll();
    const auto made = QIFImport::insertTransactions(ledger.context(), ledger.delegate(), import.QIFTransactions(), {});
    ASSERT_EQ(made.size(), 2u);
    EXPECT_TRUE(made[0]->valueForKey(u"trans_accountID").isNull());
    EXPECT_EQ(made[0]->valueForKey(u"trans_date").toDate(), berlinTime(2007, 12, 31));

    // OFX records come without check marks and keep their own identifiers.
    QIFImport ofx;
    ofx.setQIFTransactions({{{QStringLiteral("Payee"), Value("Bank fee")},
                             {QStringLiteral("Amount"), Value(-2.0)},
                             {QStringLiteral("QIFUniqueID"), Value("FIT-991")},
                             {QStringLiteral("TRNTYPE"), Value("DEBIT")}}});
    EXPECT_TRUE(QIFImport::insertTransactions(ledger.context(), ledger.delegate(), ofx.QIFTransactions(), {}).empty());
    ofx.checkAll();
    const auto fee = QIFImport::insertTransactions(ledger.context(), ledger.delegate(), ofx.QIFTransactions(), {});
    ASSERT_EQ(fee.size(), 1u);
    EXPECT_EQ(fee[0]->valueForKey(u"trans_QIFUniqueID").toString(), QStringLiteral("FIT-991"));
    EXPECT_TRUE(fee[0]->valueForKey(u"trans_date").isNull());
}

TEST_F(QIFImportTest, TargetIsTheSelectedAccountAndItsClearedTransactionsOldestFirst)
{
    ledger.launch();
    ManagedObject* checking = ledger.addAccount(QStringLiteral("Checking"));
    ManagedObject* savings = ledger.addAccount(QStringLiteral("Savings"));
    ManagedObjectContext& context = ledger.context();
    EXPECT_EQ(QIFImport::targetAccounts(context), (std::vector<ManagedObject*>{checking, savings}));
    EXPECT_EQ(QIFImport::targetForSelectedVault(savings), savings);
    EXPECT_EQ(QIFImport::targetForSelectedVault(VaultLibrary::vaultsOfType(context, VaultType::MasterVault).front()),
              nullptr);
    EXPECT_EQ(QIFImport::targetForSelectedVault(nullptr), nullptr);

    const QString id = checking->valueForKey(u"vault_uniqueID").toString();
    auto add = [&](const char* title, AbsoluteTime date, bool pending) {
        ManagedObject* t = ledger.addTransaction(QString::fromLatin1(title), -1, {}, date);
        t->setValueForKey(u"trans_accountID", Value(id));
        t->setValueForKey(u"trans_isPending", Value::boolean(pending));
    };
    add("late", 900000000, false);
    add("pending", 850000000, true);
    add("early", 700000000, false);
    ledger.addTransaction(QStringLiteral("elsewhere"), -1, {}, 600000000);
    QStringList titles;
    for (ManagedObject* t : QIFImport::clearedTransactions(ledger.delegate(), id))
        titles << t->valueForKey(u"trans_title").toString();
    EXPECT_EQ(titles, QStringList({QStringLiteral("early"), QStringLiteral("late")}));
}
