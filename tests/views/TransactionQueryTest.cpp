#include "common/AmountFormatter.h"
#include "common/Money.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/TransactionQuery.h"

#include <QDateTime>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>
#include <set>

using namespace qf;
using qf::test::TempLedger;

namespace {

AbsoluteTime local(int year, int month, int day, int hour = 0)
{
    const QDateTime t(QDate(year, month, day), QTime(hour, 0), Qt::LocalTime);
    return static_cast<double>(t.toSecsSinceEpoch() - 978307200);
}

class TransactionQueryTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();

    // Titles of what a predicate shows, in list order for a sort.
    QString shown(const Predicate& predicate, const QString& sort = QStringLiteral("Title"))
    {
        QStringList titles;
        for (ManagedObject* t : TransactionQuery::arrangedTransactions(context, predicate, sort))
            titles << t->valueForKey(u"trans_title").toString();
        return titles.join(QStringLiteral(", "));
    }

    QString search(const QString& text, const FilterPredicates& scope = TransactionQuery::libraryPredicates())
    {
        ListSettings settings;
        settings.searchText = text;
        const AmountFormatter& amounts = ledger.delegate().amountFormatter();
        return shown(TransactionQuery::filterWithSearchString(
            scope, settings, std::nullopt, [&amounts](const QString& t) { return amounts.mayContain(t); }));
    }
};

} // namespace

TEST_F(TransactionQueryTest, SearchNeedsEveryWordInTagsOrTheWholeTextInOneField)
{
    ledger.addTransaction(QStringLiteral("Tags both"), -10, QStringLiteral("home, rent"));
    ledger.addTransaction(QStringLiteral("Tags one"), -10, QStringLiteral("rent"));
    ledger.addTransaction(QStringLiteral("Paid rent home deposit"), -10);
    ledger.addTransaction(QStringLiteral("rent for my home"), -10);
    ManagedObject* noted = ledger.addTransaction(QStringLiteral("Noted"), -10);
    noted->setValueForKey(u"trans_notes", Value("about RENT HOME things"));

    EXPECT_EQ(search(QStringLiteral("rent home")), QStringLiteral("Noted, Paid rent home deposit, Tags both"));
    EXPECT_EQ(search(QStringLiteral("Rént")), QStringLiteral("Noted, Paid rent home deposit, Tags both, Tags one, rent for my home"));
    EXPECT_EQ(search(QStringLiteral("nothing like it")), QString());
}

TEST_F(TransactionQueryTest, SearchFindsFormattedAmounts)
{
    ledger.addTransaction(QStringLiteral("Lunch"), -12.5);
    ledger.addTransaction(QStringLiteral("Salary"), 2500);
    EXPECT_EQ(search(QStringLiteral("12.50")), QStringLiteral("Lunch"));
    EXPECT_EQ(search(QStringLiteral("$2,500")), QStringLiteral("Salary"));
}

TEST_F(TransactionQueryTest, NamedRangesEndAtTheStartOfTheirLastDay)
{
    ledger.addTransaction(QStringLiteral("First day"), -1, {}, local(2026, 3, 1));
    ledger.addTransaction(QStringLiteral("Last day midnight"), -1, {}, local(2026, 3, 31));
    ledger.addTransaction(QStringLiteral("Last day ten"), -1, {}, local(2026, 3, 31, 10));
    ledger.addTransaction(QStringLiteral("February end"), -1, {}, local(2026, 2, 28));
    ledger.addTransaction(QStringLiteral("Last year"), -1, {}, local(2025, 12, 31));

    ListSettings settings;
    const AbsoluteTime now = local(2026, 3, 31, 15);
    auto range = [&](const QString& name) {
        settings.dateRangeType = name;
        const auto bounds = TransactionQuery::dateRangeBounds(settings, now, {});
        return shown(TransactionQuery::filterWithSearchString(TransactionQuery::libraryPredicates(), settings, bounds));
    };
    EXPECT_EQ(range(QStringLiteral("This Month")), QStringLiteral("First day, Last day midnight"));
    EXPECT_EQ(range(QStringLiteral("Last Month")), QStringLiteral("February end"));
    EXPECT_EQ(range(QStringLiteral("Last Year")), QStringLiteral("Last year"));
    EXPECT_EQ(range(QStringLiteral("All Transactions")),
              QStringLiteral("February end, First day, Last day midnight, Last day ten, Last year"));

    // An empty custom range runs from the earliest transaction to today.
    settings.dateRangeType = QStringLiteral("Custom Range");
    const auto custom = TransactionQuery::dateRangeBounds(settings, now, [this] {
        return TransactionQuery::earliestTransactionDate(context);
    });
    ASSERT_TRUE(custom);
    EXPECT_EQ(custom->first, local(2025, 12, 31));
    EXPECT_EQ(custom->second, local(2026, 3, 31));
}

TEST_F(TransactionQueryTest, VaultScopesSelectTheirTransactions)
{
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObject* account = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    ManagedObject* folder = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
    const QString accountID = account->valueForKey(u"vault_uniqueID").toString();
    const QString folderID = folder->valueForKey(u"vault_uniqueID").toString();

    ledger.addTransaction(QStringLiteral("In account"), -5, QStringLiteral("food"))->setValueForKey(u"trans_accountID", Value(accountID));
    ManagedObject* transfer = ledger.addTransaction(QStringLiteral("Transfer bill"), -25, QStringLiteral("x"));
    transfer->setValueForKey(u"trans_billToAccountID", Value(accountID));
    transfer->setValueForKey(u"trans_isUpcoming", Value::boolean(true));
    ledger.addTransaction(QStringLiteral("In folder"), 7, QString())->setValueForKey(u"trans_listIDs", Value("," + folderID));
    ledger.addTransaction(QStringLiteral("Empty tags"), 3, QString());
    ledger.addTransaction(QStringLiteral("Comma tags"), 3, QString())->setValueForKey(u"trans_keywords", Value(", "));
    ledger.addTransaction(QStringLiteral("Nil tags"), 3, QString())->setValueForKey(u"trans_keywords", Value());

    EXPECT_EQ(shown(TransactionQuery::predicatesForVault(*account).all), QStringLiteral("In account, Transfer bill"));
    EXPECT_EQ(shown(TransactionQuery::predicatesForVault(*account).incoming), QString());
    EXPECT_EQ(shown(TransactionQuery::predicatesForVault(*folder).all), QStringLiteral("In folder"));
    EXPECT_EQ(shown(TransactionQuery::untaggedPredicates().all), QStringLiteral("Empty tags, In folder, Nil tags"));
    EXPECT_EQ(shown(TransactionQuery::billListPredicates().all), QStringLiteral("Transfer bill"));
    EXPECT_EQ(shown(TransactionQuery::folderPredicates(QString()).all), QString());
}

TEST_F(TransactionQueryTest, SmartFolderRulesCombineWithTheQuickFilters)
{
    ledger.addTransaction(QStringLiteral("Coffee beans"), -9);
    ledger.addTransaction(QStringLiteral("COFFEE refund"), 9);
    ledger.addTransaction(QStringLiteral("Rent"), -900);
    const FilterPredicates all =
        TransactionQuery::smartFolderPredicates(QStringLiteral("\"coffee\" IN[cd] trans_title AND trans_amount < 0"));
    EXPECT_EQ(shown(all.all), QStringLiteral("Coffee beans"));
    const FilterPredicates any =
        TransactionQuery::smartFolderPredicates(QStringLiteral("\"coffee\" IN[cd] trans_title OR trans_amount < 0"));
    EXPECT_EQ(shown(any.all), QStringLiteral("COFFEE refund, Coffee beans, Rent"));
    EXPECT_EQ(shown(any.incoming), QStringLiteral("COFFEE refund"));
    EXPECT_EQ(shown(TransactionQuery::smartFolderPredicates(QStringLiteral("trans_title ==")).all), QString());
}

TEST_F(TransactionQueryTest, SortsAndBalances)
{
    ledger.addTransaction(QStringLiteral("b"), -30, QStringLiteral("z"), local(2026, 1, 2));
    ledger.addTransaction(QStringLiteral("a"), 100, QStringLiteral("y"), local(2026, 1, 2));
    ledger.addTransaction(QStringLiteral("c"), -0.1, QStringLiteral("x"), local(2026, 1, 3));
    ledger.addTransaction(QStringLiteral("zero"), 0, QString(), local(2025, 1, 3));
    const Predicate all = TransactionQuery::libraryPredicates().all;
    EXPECT_EQ(shown(all, QStringLiteral("Date")), QStringLiteral("c, a, b, zero"));
    EXPECT_EQ(shown(all, QStringLiteral("Amount")), QStringLiteral("a, zero, c, b"));
    EXPECT_EQ(shown(all, QStringLiteral("Tags")), QStringLiteral("zero, c, a, b"));

    const Balances b = TransactionQuery::balances(TransactionQuery::arrangedTransactions(context, all, QStringLiteral("Date")));
    EXPECT_EQ(b.count, 4u);
    EXPECT_NEAR(b.total, 69.9, 1e-5);
    EXPECT_NEAR(b.incoming, 100, 1e-9);
    EXPECT_NEAR(b.outgoing, -30.1, 1e-5);
    // Zero is neither incoming nor outgoing.
    EXPECT_EQ(shown(TransactionQuery::libraryPredicates().incoming), QStringLiteral("a"));
}

TEST(Money, DecimalAmountsDropSinglePrecisionNoise)
{
    EXPECT_EQ(decimalAmount(static_cast<float>(483.86)), 483.86);
    EXPECT_EQ(decimalAmount(static_cast<float>(-0.1)), -0.1);
    EXPECT_EQ(decimalAmount(static_cast<float>(1.459)), 1.459); // not a whole cent
    EXPECT_EQ(decimalAmount(static_cast<float>(123456.79)), 123456.79);
    EXPECT_EQ(decimalAmount(0.0), 0.0);
    double sum = 0;
    for (int i = 0; i < 1000; ++i)
        sum += decimalAmount(static_cast<float>(0.1));
    EXPECT_NEAR(sum, 100.0, 1e-9);
}

TEST(Money, AmountSumsAreExactAndOrderFree)
{
    AmountSum tenths;
    for (int i = 0; i < 10; ++i)
        tenths.add(0.1);
    EXPECT_EQ(tenths.total(), 1.0);
    EXPECT_EQ(tenths.count(), 10u);

    const double amounts[] = {483.86, -0.1, 1.459, -0.2, 3e12, -2.5, 0, 1e-7};
    AmountSum forward, backward;
    for (double a : amounts)
        forward.add(a);
    for (int i = 7; i >= 0; --i)
        backward.add(amounts[i]);
    EXPECT_EQ(forward.total(), backward.total());
    EXPECT_EQ(forward.incoming(), backward.incoming());
    EXPECT_EQ(forward.outgoing(), -2.8);
    EXPECT_EQ(forward.count(), 8u);
    EXPECT_EQ(AmountSum::micros(1.459), 1459000);
    EXPECT_EQ(AmountSum::micros(1e-7), AmountSum::kNotExact);
    EXPECT_EQ(AmountSum::micros(3e12), AmountSum::kNotExact);
}

TEST_F(TransactionQueryTest, NumberSortsOrderLargeListsLikeSmallOnes)
{
    // Small lists sort by comparing, large ones by the keys' bytes: both must
    // give newest (largest) first, nil last, ties by title (nil first) for
    // dates, and otherwise the order given.
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    std::uint32_t seed = 7;
    auto next = [&seed](std::uint32_t below) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % below;
    };
    for (int size : {300, 3000}) {
        for (ManagedObject* t : std::vector<ManagedObject*>(context.objects(trans)))
            context.deleteObject(t);
        for (int i = 0; i < size; ++i) {
            const QString title = next(10) == 0 ? QString() : QStringLiteral("t%1").arg(next(5));
            // Keys that differ in every byte, and ties.
            ManagedObject* t = ledger.addTransaction(title, (static_cast<double>(next(400)) - 200) * 0.25, {},
                                                     800000000.0 - next(2000) * 1.5);
            if (next(20) == 0)
                t->setValueForKey(u"trans_date", Value());
            if (title.isNull())
                t->setValueForKey(u"trans_title", Value());
        }
        const std::vector<ManagedObject*>& given = context.objects(trans);
        std::map<const ManagedObject*, std::size_t> position;
        for (std::size_t i = 0; i < given.size(); ++i)
            position[given[i]] = i;
        auto number = [](const ManagedObject* t, QStringView key) {
            const Value v = t->valueForKey(key);
            return v.isNull() ? -std::numeric_limits<double>::infinity() : v.toDouble();
        };
        for (const char* sort : {"Date", "Amount"}) {
            const bool byDate = QLatin1String(sort) == QLatin1String("Date");
            const QStringView key = byDate ? u"trans_date" : u"trans_amount";
            const std::vector<ManagedObject*> sorted =
                TransactionQuery::arrangedTransactions(context, Predicate(), QString::fromLatin1(sort));
            ASSERT_EQ(sorted.size(), given.size());
            std::size_t wrong = 0;
            for (std::size_t i = 1; i < sorted.size(); ++i) {
                const ManagedObject* a = sorted[i - 1];
                const ManagedObject* b = sorted[i];
                const double na = number(a, key), nb = number(b, key);
                const Value ta = a->valueForKey(u"trans_title"), tb = b->valueForKey(u"trans_title");
                bool inOrder;
                if (na != nb)
                    inOrder = na > nb;
                else if (byDate && ta.isNull() != tb.isNull())
                    inOrder = ta.isNull();
                else if (byDate && ta.toString() != tb.toString())
                    inOrder = ta.toString() < tb.toString();
                else
                    inOrder = position[a] < position[b];
                wrong += inOrder ? 0 : 1;
            }
            EXPECT_EQ(wrong, 0u) << size << ' ' << sort;
            EXPECT_EQ(std::set<ManagedObject*>(sorted.begin(), sorted.end()).size(), given.size());
        }
    }
}

TEST_F(TransactionQueryTest, LongListsAddUpLikeTheirAmounts)
{
    // Long lists are summed in the order of memory rather than their own.
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    const int amountKey = trans.indexOfAttribute(u"trans_amount");
    for (int i = 0; i < 70000; ++i) {
        ManagedObject* t = context.insertNewObject(trans);
        t->setPrimitiveValue(amountKey, Value(static_cast<double>(static_cast<float>((i % 97) * 0.37 - 11))));
    }
    std::vector<ManagedObject*> list = context.objects(trans);
    list.erase(list.begin() + 3); // not every record, and in no order of memory
    std::mt19937 random(5);
    std::shuffle(list.begin(), list.end(), random);
    AmountSum expected;
    for (ManagedObject* t : list)
        expected.add(decimalAmount(t->valueForKey(u"trans_amount").toDouble()));
    const Balances b = TransactionQuery::balances(list);
    EXPECT_EQ(b.count, list.size());
    EXPECT_EQ(b.total, expected.total());
    EXPECT_EQ(b.incoming, expected.incoming());
    EXPECT_EQ(b.outgoing, expected.outgoing());
}
