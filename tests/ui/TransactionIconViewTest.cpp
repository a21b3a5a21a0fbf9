#include "app/ui/MainWindow.h"
#include "editing/ui/TransEditController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"
#include "views/ui/TransactionIconView.h"
#include "views/ui/TransactionTableModel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QLineEdit>
#include <QTableView>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class TransactionIconViewTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* library = nullptr;
    ManagedObject* trip = nullptr;
    ManagedObject* checking = nullptr;
    std::unique_ptr<MainWindow> window;
    LibraryController* list = nullptr;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        library = d.fetchVaultObjectsWithType(VaultType::MasterVault).front();
        trip = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
        checking = ledger.addAccount(QStringLiteral("Checking"));
        // Twelve days of transactions, newest first in the list.
        for (int day = 0; day < 12; ++day) {
            ledger.addTransaction(QStringLiteral("Day %1").arg(day, 2, 10, QLatin1Char('0')), -day - 1, {},
                                  800000000.0 - day * 86400.0)
                ->setValueForKey(u"trans_listIDs", trip->valueForKey(u"vault_uniqueID"));
        }
        ASSERT_TRUE(d.saveAction());
        window = std::make_unique<MainWindow>(d);
        window->resize(1100, 700);
        window->setupSourceList();
        list = window->libraryController();
    }

    void select(ManagedObject* vault)
    {
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
    }
    QToolButton* toggle(const char* text)
    {
        for (QToolButton* b : list->findChildren<QToolButton*>()) {
            if (b->text() == QLatin1String(text))
                return b;
        }
        return nullptr;
    }
    QString currentTitle()
    {
        ManagedObject* t = list->selectedTransaction();
        return t ? t->valueForKey(u"trans_title").toString() : QString();
    }
    static void press(QWidget* w, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        // Sent, not posted: like a test driver's key, it is offered to the
        // shortcuts first.
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(w, &event);
        // The application remembers the modifiers of the last key event:
        // let go of them, or later clicks would count as Ctrl-clicks.
        QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(w, &release);
    }
};

} // namespace

TEST_F(TransactionIconViewTest, EachVaultKeepsItsPresentation)
{
    // The library starts as cards; a vault that stored nothing as a table.
    EXPECT_TRUE(list->isShowingIcons());
    EXPECT_EQ(list->currentView(), list->iconView());
    select(checking);
    EXPECT_FALSE(list->isShowingIcons());

    context.processPendingChanges();
    context.undoManager().removeAllActions();
    ASSERT_NE(toggle("Icons"), nullptr);
    toggle("Icons")->click();
    EXPECT_TRUE(list->isShowingIcons());
    EXPECT_TRUE(toggle("Icons")->isChecked());
    EXPECT_EQ(checking->valueForKey(u"vault_viewBy").toString(), QStringLiteral("IconView"));
    select(library);
    toggle("List")->click();
    EXPECT_EQ(library->valueForKey(u"vault_viewBy").toString(), QStringLiteral("ListView"));
    context.processPendingChanges();
    EXPECT_FALSE(context.undoManager().canUndo());

    select(checking);
    EXPECT_TRUE(list->isShowingIcons());
    select(library);
    EXPECT_FALSE(list->isShowingIcons());
    EXPECT_TRUE(toggle("List")->isChecked());
}

TEST_F(TransactionIconViewTest, CardsAndTableShareTheSelection)
{
    select(trip);
    list->switchToListView();
    list->selectTransactionAtRow(3);
    EXPECT_EQ(currentTitle(), QStringLiteral("Day 03"));
    list->switchToIconView();
    EXPECT_EQ(currentTitle(), QStringLiteral("Day 03"));
    const QModelIndexList cards = list->iconView()->selectionModel()->selectedIndexes();
    EXPECT_TRUE(std::any_of(cards.begin(), cards.end(), [](const QModelIndex& i) {
        return i.row() == 3 && i.column() == TransactionTableModel::TitleColumn;
    }));
    // Selecting a card selects the whole row, as the commands expect.
    // A click carries its own modifiers (none here), as a user's does.
    window->show();
    QApplication::processEvents();
    TransactionIconView* view = list->iconView();
    const QPoint centre = view->visualRect(view->model()->index(5, TransactionTableModel::TitleColumn)).center();
    QMouseEvent press(QEvent::MouseButtonPress, centre, view->viewport()->mapToGlobal(centre), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, centre, view->viewport()->mapToGlobal(centre), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(view->viewport(), &press);
    QApplication::sendEvent(view->viewport(), &release);
    EXPECT_EQ(currentTitle(), QStringLiteral("Day 05"));
    EXPECT_EQ(list->tableView()->selectionModel()->selectedRows().size(), 1);
}

TEST_F(TransactionIconViewTest, KeysWorkOnTheCards)
{
    window->show();
    window->activateWindow();
    QApplication::processEvents();
    select(trip);
    list->switchToIconView();
    QApplication::processEvents();
    TransactionIconView* cards = list->iconView();
    cards->setFocus();
    cards->setCurrentIndex(cards->model()->index(0, TransactionTableModel::TitleColumn));
    QApplication::processEvents();

    // Right moves along a row of cards, Down to the card below.
    press(cards, Qt::Key_Right);
    EXPECT_EQ(currentTitle(), QStringLiteral("Day 01"));
    const int x = cards->visualRect(cards->currentIndex()).x();
    press(cards, Qt::Key_Down);
    EXPECT_GT(cards->currentIndex().row(), 1);
    EXPECT_EQ(cards->visualRect(cards->currentIndex()).x(), x);

    // Return hands the transaction on.
    ManagedObject* activated = nullptr;
    QObject::connect(list, &LibraryController::transactionActivated, [&](ManagedObject* t) { activated = t; });
    press(cards, Qt::Key_Return);
    EXPECT_EQ(activated, list->selectedTransaction());
    // The window opens the editor on it; cancelling gives the cards the keys back.
    TransEditController* editor = window->transEditController();
    EXPECT_TRUE(editor->isVisible());
    editor->cancel();

    // Delete removes the card's transaction from the folder.
    ASSERT_TRUE(cards->hasFocus());
    const QString removed = currentTitle();
    press(cards, Qt::Key_Delete);
    EXPECT_EQ(list->arrangedTransObjects().size(), 11u);
    EXPECT_NE(ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"), QStringLiteral("trans_title"),
                                                           Value(removed)).size(), 0u);

    // Ctrl+F goes to the search field.
    cards->setFocus();
    press(cards, Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(list->searchField()->hasFocus());
}
