#include "app/RecoveryFile.h"
#include "app/ui/MainWindow.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/FileBytes.h"
#include "support/ModalAnswer.h"
#include "support/TempLedger.h"
#include "views/ui/AddVaultController.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"
#include "views/ui/SourceListModel.h"
#include "views/ui/TransactionTableModel.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::answerNextModal;

namespace {

class MainWindowTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = nullptr;
    ManagedObject* trip = nullptr;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        checking = ledger.addAccount(QStringLiteral("Checking"));
        trip = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
        ledger.addTransaction(QStringLiteral("Salary"), 2500, QStringLiteral("income"))
            ->setValueForKey(u"trans_accountID", checking->valueForKey(u"vault_uniqueID"));
        ledger.addTransaction(QStringLiteral("Coffee"), -3.5, QStringLiteral("food, treats"))
            ->setValueForKey(u"trans_accountID", checking->valueForKey(u"vault_uniqueID"));
        ManagedObject* hotel = ledger.addTransaction(QStringLiteral("Hotel"), -180, QStringLiteral("travel"));
        hotel->setValueForKey(u"trans_listIDs", trip->valueForKey(u"vault_uniqueID"));
        hotel->setValueForKey(u"trans_isPending", Value::boolean(true));
        ASSERT_TRUE(ledger.delegate().saveAction());
    }

    QStringList shownTitles(MainWindow& window)
    {
        QStringList titles;
        for (ManagedObject* t : window.libraryController()->arrangedTransObjects())
            titles << t->valueForKey(u"trans_title").toString();
        return titles;
    }

    void select(MainWindow& window, ManagedObject* vault)
    {
        ASSERT_TRUE(window.sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
    }

    QStringList sourceRows(MainWindow& window)
    {
        QStringList rows;
        SourceListModel* model = window.sourceController()->model();
        for (int row = 0; row < model->rowCount(); ++row)
            rows << model->index(row).data().toString();
        return rows;
    }
};

} // namespace

TEST_F(MainWindowTest, SourceListSelectsTheViewOfEachVault)
{
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    EXPECT_EQ(sourceRows(window), QStringList({QStringLiteral("LIBRARY"), QStringLiteral("Master Vault"),
                                               QStringLiteral("Scheduler"), QStringLiteral("Untagged"),
                                               QStringLiteral("ACCOUNTS"), QStringLiteral("Checking"),
                                               QStringLiteral("FOLDERS"), QStringLiteral("Trip")}));
    // One day's transactions sort by title.
    EXPECT_EQ(shownTitles(window), QStringList({QStringLiteral("Coffee"), QStringLiteral("Hotel"), QStringLiteral("Salary")}));
    select(window, checking);
    EXPECT_EQ(shownTitles(window).size(), 2);
    EXPECT_TRUE(shownTitles(window).contains(QStringLiteral("Coffee")));
    select(window, trip);
    EXPECT_EQ(shownTitles(window), QStringList{QStringLiteral("Hotel")});
    // A header row cannot be selected.
    EXPECT_FALSE(window.sourceController()->model()->flags(window.sourceController()->model()->index(0)) &
                 Qt::ItemIsSelectable);
}

TEST_F(MainWindowTest, FilterButtonsSearchSortAndRangeAreStoredOnTheVault)
{
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    LibraryController* list = window.libraryController();
    ManagedObject* library = list->vault();
    ASSERT_NE(library, nullptr);

    auto buttons = list->findChildren<QToolButton*>();
    auto button = [&](const QString& text) -> QToolButton* {
        for (QToolButton* b : buttons) {
            if (b->text() == text)
                return b;
        }
        return nullptr;
    };
    ASSERT_NE(button(QStringLiteral("Outgoing")), nullptr);
    button(QStringLiteral("Outgoing"))->click();
    EXPECT_EQ(library->valueForKey(u"vault_directionFilter").toString(), QStringLiteral("FilterOutgoing"));
    EXPECT_EQ(shownTitles(window), QStringList({QStringLiteral("Coffee"), QStringLiteral("Hotel")}));
    button(QStringLiteral("Pending"))->click();
    EXPECT_EQ(library->valueForKey(u"vault_typeFilter").toString(), QStringLiteral("FilterPending"));
    EXPECT_EQ(shownTitles(window), QStringList{QStringLiteral("Hotel")});
    EXPECT_TRUE(button(QStringLiteral("Pending"))->isChecked());

    button(QStringLiteral("Reconciled"))->click();
    button(QStringLiteral("All"))->click(); // the direction group's "All" comes first
    list->searchField()->setText(QStringLiteral("TREATS"));
    EXPECT_EQ(shownTitles(window), QStringList{QStringLiteral("Coffee")});
    list->searchField()->clear();

    // Sort and range menus store their titles.
    for (QToolButton* b : buttons) {
        if (!b->menu())
            continue;
        for (QAction* action : b->menu()->actions()) {
            if (action->text() == QLatin1String("Amount") || action->text() == QLatin1String("This Year"))
                action->trigger();
        }
    }
    EXPECT_EQ(library->valueForKey(u"vault_transSort").toString(), QStringLiteral("Amount"));
    EXPECT_EQ(library->valueForKey(u"vault_dateRangeType").toString(), QStringLiteral("This Year"));

    // Reopening the vault restores what was stored.
    select(window, checking);
    select(window, library);
    EXPECT_EQ(library->valueForKey(u"vault_typeFilter").toString(), QStringLiteral("FilterPaid"));
    EXPECT_TRUE(button(QStringLiteral("Reconciled"))->isChecked());
}

TEST_F(MainWindowTest, DeleteDuplicateReconcileAndDragToAFolder)
{
    MainWindow window(ledger.delegate());
    window.show();
    window.setupSourceList();
    LibraryController* list = window.libraryController();

    // Removing from a folder asks nothing and keeps the transaction.
    select(window, trip);
    list->selectTransactionAtRow(0);
    list->removeTransaction();
    EXPECT_TRUE(shownTitles(window).isEmpty());
    EXPECT_NE(ledger.delegate().fetchVaultObjectWithName(QStringLiteral("Trip")), nullptr);
    select(window, ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front());
    EXPECT_EQ(shownTitles(window).size(), 3);

    // Drag Coffee onto the folder.
    ASSERT_TRUE(list->selectTransactionWithID(
        ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"), QStringLiteral("trans_title"),
                                                     Value("Coffee")).front()->valueForKey(u"trans_uniqueID").toString()));
    auto* table = qobject_cast<TransactionTableModel*>(list->tableView()->model());
    std::unique_ptr<QMimeData> dragged(table->mimeData(list->tableView()->selectionModel()->selectedIndexes()));
    SourceListModel* sources = window.sourceController()->model();
    const QModelIndex tripRow = sources->index(sources->rowOfVault(trip->valueForKey(u"vault_uniqueID").toString()));
    ASSERT_TRUE(sources->dropMimeData(dragged.get(), Qt::CopyAction, -1, -1, tripRow));
    select(window, trip);
    EXPECT_EQ(shownTitles(window), QStringList{QStringLiteral("Coffee")});

    // Deleting in the library asks first; "No" keeps, "Yes" deletes.
    select(window, ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front());
    list->selectTransactionAtRow(0);
    const QString doomed = list->selectedTransaction()->valueForKey(u"trans_title").toString();
    answerNextModal([](QWidget* w) { static_cast<QMessageBox*>(w)->button(QMessageBox::No)->click(); });
    list->removeTransaction();
    EXPECT_EQ(shownTitles(window).size(), 3);
    answerNextModal([](QWidget* w) { static_cast<QMessageBox*>(w)->button(QMessageBox::Yes)->click(); });
    list->removeTransaction();
    EXPECT_EQ(shownTitles(window).size(), 2);
    EXPECT_FALSE(shownTitles(window).contains(doomed));

    // Duplicate saves a copy; reconcile clears the pending mark.
    list->selectTransactionAtRow(0);
    list->duplicate();
    EXPECT_EQ(shownTitles(window).size(), 3);
    ManagedObject* hotel = ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"),
                                                                        QStringLiteral("trans_title"), Value("Hotel"))
                               .front();
    list->selectTransactionWithID(hotel->valueForKey(u"trans_uniqueID").toString());
    answerNextModal([](QWidget* w) {
        w->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    list->reconcileSelected();
    EXPECT_FALSE(hotel->valueForKey(u"trans_isPending").toBool());
}

TEST_F(MainWindowTest, AddingAndRemovingVaultsFromTheWindow)
{
    MainWindow window(ledger.delegate());
    window.show();
    window.setupSourceList();

    // An empty name beeps and keeps the sheet open; a name makes the vault.
    answerNextModal([](QWidget* sheet) {
        auto* add = static_cast<AddVaultController*>(sheet);
        add->accept();
        EXPECT_TRUE(add->isVisible());
        add->findChild<QLineEdit*>(QStringLiteral("folderName"))->setText(QStringLiteral("Receipts"));
        add->accept();
    });
    window.sourceController()->newVault(VaultType::Playlist);
    ManagedObject* receipts = ledger.delegate().fetchVaultObjectWithName(QStringLiteral("Receipts"));
    ASSERT_NE(receipts, nullptr);
    EXPECT_EQ(receipts->valueForKey(u"vault_type").toString(), VaultType::Playlist);
    EXPECT_EQ(window.sourceController()->selectedVaultID(), receipts->valueForKey(u"vault_uniqueID").toString());

    answerNextModal([](QWidget* w) { static_cast<QMessageBox*>(w)->button(QMessageBox::Yes)->click(); });
    window.sourceController()->removeVault();
    EXPECT_EQ(ledger.delegate().fetchVaultObjectWithName(QStringLiteral("Receipts")), nullptr);
    EXPECT_FALSE(sourceRows(window).contains(QStringLiteral("Receipts")));
}

TEST_F(MainWindowTest, OpeningASearchIndexFileSelectsItsTransaction)
{
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    select(window, trip);
    ManagedObject* salary = ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"),
                                                                         QStringLiteral("trans_title"), Value("Salary"))
                                .front();
    const QString id = salary->valueForKey(u"trans_uniqueID").toString();
    ASSERT_TRUE(ledger.delegate().openFile(QStringLiteral("/cache/") + id + QStringLiteral(".QuillfenTransItem")));
    EXPECT_EQ(window.sourceController()->selectedVaultType(), VaultType::MasterVault);
    ASSERT_NE(window.libraryController()->selectedTransaction(), nullptr);
    EXPECT_EQ(window.libraryController()->selectedTransaction(), salary);
    EXPECT_TRUE(ledger.delegate().transIDToOpen().isEmpty());
}

TEST_F(MainWindowTest, ChangesKeptByAQuitThatCouldNotSaveAreOfferedAtTheNextStart)
{
    const QString path = ledger.delegate().recoveryFilePath();
    auto keepChanges = [&] {
        ledger.addTransaction(QStringLiteral("Recovered"), -42);
        ASSERT_TRUE(RecoveryFile::write(path, UnsavedChanges::collect(context)));
        context.rollback();
    };
    auto clickButton = [](const QString& text) {
        answerNextModal([text](QWidget* w) {
            auto* box = static_cast<QMessageBox*>(w);
            EXPECT_EQ(box->windowTitle(), QStringLiteral("Recover Unsaved Changes?"));
            EXPECT_TRUE(box->informativeText().startsWith(QStringLiteral("• New transaction “Recovered”\n\n")))
                << qPrintable(box->informativeText());
            for (QAbstractButton* button : box->buttons()) {
                if (button->text() == text)
                    button->click();
            }
        });
    };
    MainWindow window(ledger.delegate());
    window.setupSourceList();

    // Ended from outside while asking (the dialog closes with neither
    // button): the file waits for the next start.
    keepChanges();
    answerNextModal([](QWidget* w) { static_cast<QMessageBox*>(w)->done(QDialog::Rejected); });
    window.offerRecoveredChanges();
    EXPECT_TRUE(QFileInfo::exists(path));

    clickButton(QStringLiteral("Set Aside"));
    window.offerRecoveredChanges();
    EXPECT_FALSE(shownTitles(window).contains(QStringLiteral("Recovered")));
    EXPECT_FALSE(QFileInfo::exists(path));
    const QStringList aside = QDir(ledger.folder()).entryList({QStringLiteral("Quillfen.1ccdb.recovery.set-aside-*")});
    EXPECT_EQ(aside.size(), 1);

    keepChanges();
    clickButton(QStringLiteral("Apply Changes"));
    window.offerRecoveredChanges();
    EXPECT_TRUE(shownTitles(window).contains(QStringLiteral("Recovered")));
    EXPECT_FALSE(context.hasChanges());
    EXPECT_FALSE(QFileInfo::exists(path));

    // A file that does not read is only reported, and stays.
    ASSERT_TRUE(qf::test::writeFile(path, "{\"quillfenRecovery\": 1"));
    answerNextModal([](QWidget* w) {
        auto* box = static_cast<QMessageBox*>(w);
        EXPECT_EQ(box->windowTitle(), QStringLiteral("Unsaved Changes Could Not Be Read"));
        box->button(QMessageBox::Ok)->click();
    });
    window.offerRecoveredChanges();
    EXPECT_EQ(qf::test::readFile(path), QByteArray("{\"quillfenRecovery\": 1"));
}
