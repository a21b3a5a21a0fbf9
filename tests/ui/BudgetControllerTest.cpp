#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"
#include "common/AmountFormatter.h"
#include "app/ui/ErrorController.h"
#include "app/ui/MainWindow.h"
#include "planning/NamedPeriod.h"
#include "planning/ui/BudgetController2.h"
#include "planning/ui/BudgetEditCell.h"
#include "planning/ui/BudgetEditController.h"
#include "planning/ui/BudgetOverviewCell.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/CliRun.h"
#include "support/TempLedger.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class BudgetControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* budget = nullptr;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        ErrorController::sharedInstance().setAnimationDuration(0);
        // Mid-month and mid-year, whatever day the test runs.
        const AbsoluteTime month = namedPeriodBounds(NamedPeriod::ThisMonth, ledger.delegate().now()).lower;
        ledger.addTransaction(QStringLiteral("Market"), -60, QStringLiteral("Food, Home"), month + 12 * 3600);
        ledger.addTransaction(QStringLiteral("Bakery"), -15.5, QStringLiteral("seafood, homeware"), month + 13 * 3600);
        ledger.addTransaction(QStringLiteral("Cafe"), -9, QStringLiteral("food"), month + 14 * 3600);
        ledger.addTransaction(QStringLiteral("Refund"), 20, QStringLiteral("food, home"), month + 15 * 3600);
        budget = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Budget, QStringLiteral("Home"));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->resize(900, 600);
        window->setupSourceList();
        select(budget);
    }

    void select(ManagedObject* vault)
    {
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
    }
    BudgetController2& screen() { return *window->budgetController(); }
    BudgetEditController& editor() { return *screen().editController(); }

    std::vector<ManagedObject*> storedLines()
    {
        std::vector<ManagedObject*> lines;
        for (ManagedObject* line : context.objects(ManagedObjectModel::shared().budget())) {
            if (line->valueForKey(u"budget_vaultID") == budget->valueForKey(u"vault_uniqueID"))
                lines.push_back(line);
        }
        return lines;
    }

    static void fill(BudgetEditCell* row, const QString& tags, const QString& limit, const QString& interval)
    {
        row->tagField()->setText(tags);
        row->limitField()->setText(limit);
        Q_EMIT row->limitField()->editingFinished();
        row->intervalMenu()->setCurrentIndex(row->intervalMenu()->findData(interval));
    }

    // Two outgoing lines and one incoming, saved through the edit view.
    void makeLines()
    {
        ASSERT_TRUE(screen().isEditing());
        fill(editor().rows(QStringLiteral("Incoming")).at(0), QStringLiteral("food, home"), QStringLiteral("50"),
             QStringLiteral("Monthly"));
        BudgetEditCell* outgoing = editor().rows(QStringLiteral("Outgoing")).at(0);
        fill(outgoing, QStringLiteral("food, home"), QStringLiteral("100"), QStringLiteral("Weekly"));
        outgoing->addButton()->click();
        fill(editor().rows(QStringLiteral("Outgoing")).at(1), QStringLiteral("food"), QStringLiteral("40"),
             QStringLiteral("Monthly"));
        editor().doneButton()->click();
        ASSERT_FALSE(screen().isEditing());
    }

    BudgetOverviewCell* cell(const QString& direction, const QString& tags)
    {
        for (BudgetOverviewCell* c : screen().cells()) {
            if (c->line().valueForKey(u"budget_direction").toString() == direction
                && c->line().valueForKey(u"budget_tags").toString() == tags)
                return c;
        }
        return nullptr;
    }
};

} // namespace

TEST_F(BudgetControllerTest, ANewBudgetOpensInEditAndDoneStoresOnlyAValidWhole)
{
    ASSERT_TRUE(screen().isEditing());
    ASSERT_EQ(editor().rows(QStringLiteral("Incoming")).size(), 1);
    ASSERT_EQ(editor().rows(QStringLiteral("Outgoing")).size(), 1);
    EXPECT_EQ(editor().nameField()->text(), "Home");

    // The incoming row is checked first: its empty tags are marked, and
    // nothing is stored but the name.
    editor().nameField()->setText(QStringLiteral("House"));
    fill(editor().rows(QStringLiteral("Outgoing")).at(0), QStringLiteral("food"), QStringLiteral("0"),
         QStringLiteral("Weekly"));
    editor().doneButton()->click();
    EXPECT_TRUE(screen().isEditing());
    EXPECT_EQ(ErrorController::sharedInstance().field(), editor().rows(QStringLiteral("Incoming")).at(0)->tagField());
    EXPECT_TRUE(storedLines().empty());
    EXPECT_EQ(budget->valueForKey(u"vault_title").toString(), "House");

    // Without the incoming row, the zero limit is next.
    editor().rows(QStringLiteral("Incoming")).at(0)->removeButton()->click();
    EXPECT_TRUE(editor().rows(QStringLiteral("Incoming")).isEmpty());
    editor().doneButton()->click();
    EXPECT_EQ(ErrorController::sharedInstance().field(), editor().rows(QStringLiteral("Outgoing")).at(0)->limitField());
    EXPECT_TRUE(storedLines().empty());

    // An empty name is marked before anything else, and not stored.
    editor().nameField()->clear();
    editor().doneButton()->click();
    EXPECT_EQ(ErrorController::sharedInstance().field(), editor().nameField());
    EXPECT_EQ(budget->valueForKey(u"vault_title").toString(), "House");

    editor().nameField()->setText(QStringLiteral("Home"));
    BudgetEditCell* row = editor().rows(QStringLiteral("Outgoing")).at(0);
    row->limitField()->setText(QStringLiteral("1234.5"));
    Q_EMIT row->limitField()->editingFinished();
    EXPECT_EQ(row->limitField()->text(), ledger.delegate().amountFormatter().format(1234.5)); // reformatted
    const QString rowID = row->row().uniqueID;
    editor().doneButton()->click();
    EXPECT_FALSE(screen().isEditing());
    const auto lines = storedLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]->valueForKey(u"budget_uniqueID").toString(), rowID);
    EXPECT_EQ(lines[0]->valueForKey(u"budget_limitAmount").toDouble(), 1234.5);
    EXPECT_EQ(lines[0]->valueForKey(u"budget_dateRange").toString(), "Weekly");
    EXPECT_FALSE(ledger.delegate().managedObjectContext()->hasChanges()); // Done saved
}

TEST_F(BudgetControllerTest, ReopeningEditKeepsTheRowsAndRemovingEveryRowLeavesNoLines)
{
    makeLines();
    ASSERT_EQ(storedLines().size(), 3u);
    screen().editButton()->click();
    ASSERT_TRUE(screen().isEditing());
    ASSERT_EQ(editor().rows(QStringLiteral("Outgoing")).size(), 2);
    // Each direction by its tags.
    EXPECT_EQ(editor().rows(QStringLiteral("Outgoing")).at(0)->tagsString(), "food");
    EXPECT_EQ(editor().rows(QStringLiteral("Outgoing")).at(1)->tagsString(), "food, home");
    EXPECT_EQ(editor().rows(QStringLiteral("Outgoing")).at(1)->amountLimitNumber(), 100);
    std::set<QString> ids;
    for (ManagedObject* line : storedLines())
        ids.insert(line->valueForKey(u"budget_uniqueID").toString());
    for (const QString direction : {QStringLiteral("Incoming"), QStringLiteral("Outgoing")}) {
        for (BudgetEditCell* r : editor().rows(direction))
            EXPECT_EQ(ids.count(r->row().uniqueID), 1u);
    }

    // Cancel keeps what is stored.
    editor().rows(QStringLiteral("Outgoing")).at(0)->removeButton()->click();
    editor().cancelButton()->click();
    EXPECT_FALSE(screen().isEditing());
    EXPECT_EQ(storedLines().size(), 3u);

    screen().edit();
    for (const QString direction : {QStringLiteral("Incoming"), QStringLiteral("Outgoing")}) {
        while (!editor().rows(direction).isEmpty())
            editor().rows(direction).front()->removeButton()->click();
    }
    editor().doneButton()->click();
    EXPECT_TRUE(screen().isEditing());
    EXPECT_TRUE(storedLines().empty());
}

TEST_F(BudgetControllerTest, ThePeriodMenuIsStoredAndEveryFigureFollowsIt)
{
    EXPECT_EQ(budget->valueForKey(u"vault_budgetDateRange").toString(), "This Month"); // chosen on first showing
    makeLines();
    BudgetOverviewCell* both = cell(QStringLiteral("Outgoing"), QStringLiteral("food, home"));
    BudgetOverviewCell* food = cell(QStringLiteral("Outgoing"), QStringLiteral("food"));
    BudgetOverviewCell* income = cell(QStringLiteral("Incoming"), QStringLiteral("food, home"));
    ASSERT_TRUE(both && food && income);
    EXPECT_EQ(both->limit(), 400);
    EXPECT_FLOAT_EQ(both->actual(), 75.5); // Market and Bakery: "seafood, homeware" holds both texts
    EXPECT_FLOAT_EQ(food->actual(), 84.5);
    EXPECT_FLOAT_EQ(income->actual(), 20);
    EXPECT_EQ(food->fillFraction(), 1.0); // over its 40
    EXPECT_NEAR(both->fillFraction(), 75.5 / 400, 1e-6);
    const AmountFormatter& amounts = ledger.delegate().amountFormatter();
    EXPECT_EQ(screen().budgetedSavingsText(), "Budgeted Savings: " + amounts.format(50 - 400 - 40));
    EXPECT_EQ(screen().actualSavingsText(), "Actual Savings: " + amounts.format(20 - 75.5 - 84.5));
    // One column for every amount line.
    EXPECT_EQ(both->budgetedText(), "Budgeted: " + amounts.format(400));

    // A bar is drawn again only when its width, limit or actual changed.
    both->grab();
    const int drawn = BudgetOverviewCell::barsDrawn();
    both->grab();
    EXPECT_EQ(BudgetOverviewCell::barsDrawn(), drawn);

    QComboBox* menu = screen().periodMenu();
    const int year = menu->findData(QStringLiteral("This Year"));
    menu->setCurrentIndex(year);
    Q_EMIT menu->activated(year);
    EXPECT_EQ(budget->valueForKey(u"vault_budgetDateRange").toString(), "This Year");
    both = cell(QStringLiteral("Outgoing"), QStringLiteral("food, home"));
    EXPECT_EQ(both->limit(), 5200);
    EXPECT_EQ(cell(QStringLiteral("Incoming"), QStringLiteral("food, home"))->limit(), 600);
    both->grab();
    EXPECT_EQ(BudgetOverviewCell::barsDrawn(), drawn + 1);

    // Reopened, the budget shows its period.
    select(VaultLibrary::vaultsOfType(context, VaultType::MasterVault).front());
    select(budget);
    EXPECT_EQ(screen().periodMenu()->currentData().toString(), "This Year");
}

TEST_F(BudgetControllerTest, ALineOpensIntoTheListWithItsTransactionsAndComesBack)
{
    makeLines();
    BudgetOverviewCell* both = cell(QStringLiteral("Outgoing"), QStringLiteral("food, home"));
    ASSERT_NE(both, nullptr);
    const double actual = both->actual();
    QTest::mouseDClick(both, Qt::LeftButton);
    LibraryController& list = *window->libraryController();
    ASSERT_TRUE(list.hasCondition());
    QStringList titles;
    for (ManagedObject* t : list.arrangedTransObjects())
        titles << t->valueForKey(u"trans_title").toString();
    titles.sort();
    EXPECT_EQ(titles, (QStringList{"Bakery", "Market"}));
    EXPECT_FLOAT_EQ(std::abs(list.balances().total), actual);
    EXPECT_TRUE(list.conditionDescription().contains(QStringLiteral("food, home")));
    EXPECT_EQ(window->sourceController()->selectedVaultObject(), budget);

    // A search narrows the line's transactions like any list's.
    list.searchField()->setText(QStringLiteral("Bakery"));
    EXPECT_EQ(list.arrangedTransObjects().size(), 1u);
    list.searchField()->clear();

    // A change of the store keeps the line's list in place.
    ledger.addTransaction(QStringLiteral("Hardware"), -5, QStringLiteral("home, food"),
                          namedPeriodBounds(NamedPeriod::ThisMonth, ledger.delegate().now()).lower + 3600);
    QCoreApplication::processEvents();
    EXPECT_TRUE(list.hasCondition());
    EXPECT_EQ(list.arrangedTransObjects().size(), 3u);

    list.findChild<QToolButton*>(QStringLiteral("leaveCondition"))->click();
    EXPECT_FALSE(list.hasCondition());
    EXPECT_FALSE(screen().isEditing());
    EXPECT_FLOAT_EQ(cell(QStringLiteral("Outgoing"), QStringLiteral("food, home"))->actual(), actual + 5);
}

TEST(BudgetControllerExample, TheCommandLinePrintsTheScreensFigures)
{
    TempLedger ledger;
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    ManagedObjectContext& context = ledger.launch();
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    ManagedObject* budget = VaultLibrary::vaultsOfType(context, VaultType::Budget).front();
    ASSERT_TRUE(window.sourceController()->selectControllerWithID(budget->valueForKey(u"vault_uniqueID").toString()));
    BudgetController2& screen = *window.budgetController();
    ASSERT_FALSE(screen.cells().empty());
    const double scale = std::pow(10.0, ledger.delegate().amountFormatter().fractionDigits());
    for (const QString period : {QStringLiteral("This Month"), QStringLiteral("This Year")}) {
        screen.showDateRange(period);
        QStringList expected;
        for (BudgetOverviewCell* c : screen.cells()) {
            const ManagedObject& line = c->line();
            expected << QStringLiteral("%1\t%2\t%3").arg(line.valueForKey(u"budget_tags").toString(),
                                                          QString::number(std::round(c->limit() * scale) / scale),
                                                          QString::number(std::round(c->actual() * scale) / scale));
        }
        const auto run = qf::test::runCli(ledger.folder(), ledger.folder(),
                                          {QStringLiteral("--example"), QStringLiteral("budget"),
                                           budget->valueForKey(u"vault_title").toString(), QStringLiteral("--period"), period});
        ASSERT_EQ(run.exitCode, 0) << qPrintable(run.err);
        QStringList printed;
        for (const QString& row : run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList columns = row.split(QLatin1Char('\t'));
            if (columns.size() == 6)
                printed << QStringList{columns[1], columns[4], columns[5]}.join(QLatin1Char('\t'));
        }
        EXPECT_EQ(printed, expected) << qPrintable(period);
    }
}
