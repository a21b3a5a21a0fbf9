#include "app/ui/MainWindow.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SmartController.h"
#include "views/ui/SourceController.h"

#include <QPushButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class SmartControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* coffee = ledger.addTransaction(QStringLiteral("Coffee"), -3, QStringLiteral("Food"), 1000);
    ManagedObject* refund = ledger.addTransaction(QStringLiteral("Coffee refund"), 3, {}, 2000);
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Rent"), -800, {}, 3000);
    ManagedObject* folder = nullptr;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        folder = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::SmartPlaylist, QStringLiteral("Coffee"));
        folder->setValueForKey(u"vault_smartPredicateString", Value("trans_title CONTAINS[cd] \"coffee\""));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->setupSourceList();
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(vaultID(*folder)));
    }

    static QString vaultID(ManagedObject& vault) { return vault.valueForKey(u"vault_uniqueID").toString(); }
    LibraryController& list() { return *window->libraryController(); }
    SmartController& view() { return *window->smartView(); }

    QStringList listed()
    {
        QStringList titles;
        for (ManagedObject* t : list().arrangedTransObjects())
            titles << t->valueForKey(u"trans_title").toString();
        titles.sort();
        return titles;
    }
};

} // namespace

TEST_F(SmartControllerTest, DirectionIsKeptOnTheFolderAndTheSearchLooksPastIt)
{
    ASSERT_TRUE(view().isActive());
    EXPECT_EQ(list().detailsPane(), &view());
    EXPECT_EQ(listed(), (QStringList{"Coffee", "Coffee refund"}));

    view().viewIncoming();
    EXPECT_EQ(folder->valueForKey(u"vault_directionFilter").toString(), "FilterIncoming");
    EXPECT_EQ(listed(), QStringList{"Coffee refund"});
    // The outgoing coffee is found although only incoming ones are shown.
    view().search(QStringLiteral("Coffee"));
    EXPECT_EQ(listed(), (QStringList{"Coffee", "Coffee refund"}));
    view().search(QString());
    EXPECT_EQ(listed(), QStringList{"Coffee refund"});

    // Each folder reopens with its own choice; the library keeps all.
    ManagedObject* library = VaultLibrary::vaultsOfType(context, VaultType::MasterVault).front();
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(vaultID(*library)));
    EXPECT_FALSE(view().isActive());
    EXPECT_EQ(list().detailsPane(), nullptr);
    EXPECT_EQ(list().arrangedTransObjects().size(), 3u);
    view().viewOutgoing(); // acts only on a smart folder
    EXPECT_NE(library->valueForKey(u"vault_directionFilter").toString(), "FilterOutgoing");
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(vaultID(*folder)));
    EXPECT_EQ(listed(), QStringList{"Coffee refund"});
}

TEST_F(SmartControllerTest, AnEmptyResultShowsBlankAndASelectionShowsItsMatch)
{
    view().search(QStringLiteral("tea"));
    EXPECT_EQ(view().detailsPage(), "Blank");
    auto* edit = view().findChild<QPushButton*>(QStringLiteral("blankEditRules"));
    ASSERT_NE(edit, nullptr);
    std::vector<ManagedObject*> asked;
    QObject::connect(&view(), &SmartController::editRulesRequested, [&](ManagedObject* v) { asked.push_back(v); });
    edit->click();
    EXPECT_EQ(asked, std::vector<ManagedObject*>{folder});

    view().search(QString());
    EXPECT_EQ(view().detailsPage(), "Smart Info");
    EXPECT_TRUE(view().infoText().startsWith(QStringLiteral("2 transactions match")));
    list().selectTransactionWithID(refund->valueForKey(u"trans_uniqueID").toString());
    EXPECT_TRUE(view().infoText().startsWith(QStringLiteral("Coffee refund\n"))) << qPrintable(view().infoText());

    // A rule that no longer reads is the folder's own state: an empty folder.
    folder->setValueForKey(u"vault_smartPredicateString", Value("trans_title CONTAINS["));
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(vaultID(*folder)));
    EXPECT_TRUE(list().arrangedTransObjects().empty());
    EXPECT_EQ(view().detailsPage(), "Blank");
}

TEST_F(SmartControllerTest, CardsGiveTheirTransactionsAnIdentifierThatIsNoEditToUndo)
{
    EXPECT_EQ(folder->valueForKey(u"vault_viewBy").toString(), "IconView"); // a new folder shows cards
    folder->setValueForKey(u"vault_viewBy", Value("ListView"));
    coffee->setValueForKey(u"trans_uniqueID", Value());
    rent->setValueForKey(u"trans_uniqueID", Value());
    ASSERT_TRUE(ledger.delegate().saveAction());
    context.undoManager().removeAllActions();
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(vaultID(*folder)));
    EXPECT_TRUE(coffee->valueForKey(u"trans_uniqueID").toString().isEmpty()); // the table needs none

    view().switchToIconView();
    EXPECT_EQ(folder->valueForKey(u"vault_viewBy").toString(), "IconView");
    EXPECT_TRUE(list().isShowingIcons());
    EXPECT_EQ(coffee->valueForKey(u"trans_uniqueID").toString().size(), 36);
    EXPECT_TRUE(rent->valueForKey(u"trans_uniqueID").toString().isEmpty()); // not listed, no card
    EXPECT_FALSE(context.undoManager().canUndo());

    view().switchToListView();
    EXPECT_EQ(folder->valueForKey(u"vault_viewBy").toString(), "ListView");
    EXPECT_FALSE(list().isShowingIcons());
}
