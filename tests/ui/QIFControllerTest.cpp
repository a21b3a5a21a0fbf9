#include "app/ui/MainWindow.h"
#include "exchange/ui/ImportRecordModel.h"
#include "exchange/ui/QIFController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/ui/SourceController.h"

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QTableView>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

QString dataPath(const char* name)
{
    return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/qif/") + QString::fromLatin1(name);
}

class QIFControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = nullptr;
    QString checkingID;
    std::unique_ptr<MainWindow> window;
    QIFController* qif = nullptr;

    void SetUp() override
    {
        checking = ledger.addAccount(QStringLiteral("Checking"));
        checkingID = checking->valueForKey(u"vault_uniqueID").toString();
        ManagedObject* cleared = ledger.addTransaction(QStringLiteral("Old rent"), -900, {}, 200000000);
        cleared->setValueForKey(u"trans_accountID", Value(checkingID));
        ManagedObject* pending = ledger.addTransaction(QStringLiteral("Cheque"), -20, {}, 100000000);
        pending->setValueForKey(u"trans_accountID", Value(checkingID));
        pending->setValueForKey(u"trans_isPending", Value::boolean(true));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->setupSourceList();
        qif = window->qifController();
    }

    ManagedObject* library() { return VaultLibrary::vaultsOfType(context, VaultType::MasterVault).front(); }

    // File, date order, Continue: the sheet is then up.
    void openSheet(const char* file, const char* order, ManagedObject* vault)
    {
        ASSERT_TRUE(qif->loadImportQIFPanelWithQIFFile(dataPath(file), vault));
        ASSERT_TRUE(qif->datePanel()->isVisible());
        qif->orderPopup()->setCurrentText(QString::fromLatin1(order));
        qif->datePanel()->findChild<QPushButton*>(QStringLiteral("continueButton"))->click();
        ASSERT_FALSE(qif->datePanel()->isVisible());
        ASSERT_TRUE(qif->sheet()->isVisible());
    }

    void click(const char* button)
    {
        qif->sheet()->findChild<QPushButton*>(QString::fromLatin1(button))->click();
    }

    // Rows of a table as the user sees them, column by column.
    static QStringList shownColumn(QTableView* table, int column, int role = Qt::DisplayRole)
    {
        QStringList cells;
        for (int row = 0; row < table->model()->rowCount(); ++row)
            cells << table->model()->index(row, column).data(role).toString();
        return cells;
    }

    QStringList importedTitles()
    {
        QStringList titles;
        for (ManagedObject* t : context.objects(ManagedObjectModel::shared().trans())) {
            if (!t->valueForKey(u"trans_QIFUniqueID").isNull())
                titles << t->valueForKey(u"trans_title").toString() + QLatin1Char('@') +
                              t->valueForKey(u"trans_accountID").toString();
        }
        return titles;
    }
};

} // namespace

TEST_F(QIFControllerTest, ImportsCheckedRowsInTheTableOrderIntoTheSelectedAccount)
{
    openSheet("checking-crlf.qif", "Month/Day/Year", checking);
    EXPECT_EQ(qif->sampleField()->text(), QStringLiteral("1/ 5'08"));
    QTableView* records = qif->recordsTable();
    EXPECT_EQ(shownColumn(records, ImportRecordModel::PayeeColumn),
              QStringList({QStringLiteral("Rent January"), QStringLiteral("Salary ACME Corp"),
                           QStringLiteral("Grocery Mart"), QString()}));
    EXPECT_EQ(shownColumn(records, ImportRecordModel::CheckColumn, Qt::CheckStateRole),
              QStringList(4, QString::number(Qt::Checked)));

    // The pop-up: library, separator, the account, which is chosen; its
    // cleared transactions (not the pending cheque) stand on the left.
    QComboBox* popup = qif->accountsPopup();
    ASSERT_EQ(popup->count(), 3);
    EXPECT_EQ(popup->itemText(0), QStringLiteral("Import to Library"));
    EXPECT_EQ(popup->currentText(), QStringLiteral("Checking"));
    EXPECT_FALSE(qif->accountTable()->isHidden());
    EXPECT_EQ(qif->splitter()->handleWidth(), 8);
    EXPECT_TRUE(qif->expandButton()->isChecked() && qif->expandButton()->isEnabled());
    EXPECT_EQ(qif->accountTable()->model()->rowCount(), 1);
    EXPECT_EQ(qif->accountTable()->model()->index(0, 1).data().toString(), QStringLiteral("Old rent"));

    // Sorted by amount, biggest first; Grocery Mart unchecked by its box.
    records->sortByColumn(ImportRecordModel::AmountColumn, Qt::DescendingOrder);
    EXPECT_EQ(shownColumn(records, ImportRecordModel::PayeeColumn).first(), QStringLiteral("Salary ACME Corp"));
    const int grocery = shownColumn(records, ImportRecordModel::PayeeColumn).indexOf(QStringLiteral("Grocery Mart"));
    ASSERT_TRUE(records->model()->setData(records->model()->index(grocery, 0), Qt::Unchecked, Qt::CheckStateRole));

    click("importButton");
    EXPECT_FALSE(qif->sheet()->isVisible());
    EXPECT_EQ(importedTitles(), QStringList({QStringLiteral("Salary ACME Corp@") + checkingID, QLatin1Char('@') + checkingID,
                                             QStringLiteral("Rent January@") + checkingID}));
    // Saved: no new record waits for a save.
    EXPECT_TRUE(context.insertedObjects().empty());
    EXPECT_EQ(window->sourceController()->selectedVaultID(), checkingID);
}

TEST_F(QIFControllerTest, LibraryTargetCollapsesTheAccountPaneAndUncheckedImportCreatesNothing)
{
    openSheet("day-first.qif", "Day/Month/Year", library());
    EXPECT_EQ(qif->accountsPopup()->currentIndex(), 0);
    EXPECT_TRUE(qif->accountTable()->isHidden());
    EXPECT_EQ(qif->splitter()->handleWidth(), 0);
    EXPECT_FALSE(qif->expandButton()->isEnabled());
    EXPECT_TRUE(qif->collapseButton()->isChecked());

    // Picking the account shows its pane; the library hides it again.
    qif->accountChoose(2);
    EXPECT_EQ(qif->vaultID(), checkingID);
    EXPECT_FALSE(qif->accountTable()->isHidden());
    EXPECT_EQ(qif->accountTable()->model()->rowCount(), 1);
    qif->accountChoose(0);
    EXPECT_TRUE(qif->vaultID().isEmpty());
    EXPECT_TRUE(qif->accountTable()->isHidden());

    click("uncheckAllButton");
    EXPECT_EQ(shownColumn(qif->recordsTable(), 0, Qt::CheckStateRole), QStringList(2, QString::number(Qt::Unchecked)));
    click("importButton");
    EXPECT_FALSE(qif->sheet()->isVisible());
    EXPECT_TRUE(importedTitles().isEmpty());
    EXPECT_EQ(window->sourceController()->selectedVaultID(), library()->valueForKey(u"vault_uniqueID").toString());
}

TEST_F(QIFControllerTest, UnreadableFileAndCancelStoreNothing)
{
    EXPECT_FALSE(qif->loadImportQIFPanelWithQIFFile(dataPath("non-ascii.qif"), checking));
    EXPECT_FALSE(qif->datePanel()->isVisible());
    QMessageBox* alert = window->findChild<QMessageBox*>();
    ASSERT_NE(alert, nullptr);
    EXPECT_TRUE(alert->isVisible());
    EXPECT_TRUE(alert->informativeText().contains(QStringLiteral("offset 31")) ||
                alert->text().contains(QStringLiteral("offset 31")));
    alert->close();

    ASSERT_TRUE(qif->loadImportQIFPanelWithQIFFile(dataPath("savings-cr.qif"), checking));
    qif->dateFormatPanelCancel();
    EXPECT_FALSE(qif->datePanel()->isVisible());
    EXPECT_FALSE(qif->sheet()->isVisible());

    openSheet("savings-cr.qif", "Month/Day/Year", checking);
    click("cancelButton");
    EXPECT_FALSE(qif->sheet()->isVisible());
    EXPECT_TRUE(importedTitles().isEmpty());
    EXPECT_FALSE(context.hasChanges());
}
