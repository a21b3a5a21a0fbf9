#include "app/ui/MainWindow.h"
#include "editing/ui/FieldCompleter.h"
#include "editing/ui/TransMultiEditController.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"
#include "ui/WidgetTestSupport.h"
#include "views/ui/LibraryController.h"
#include "views/ui/TransactionTableModel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFocusEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <array>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::menuAction;
using qf::test::TempLedger;
using Field = TransMultiEditController::Field;

namespace {

class TransMultiEditControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = nullptr;
    std::vector<ManagedObject*> records;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        checking = ledger.addAccount(QStringLiteral("Checking"));
        ManagedObject* savings = ledger.addAccount(QStringLiteral("Savings"));
        records = {ledger.addTransaction(QStringLiteral("Rent"), -500, QStringLiteral("home"), 800000000),
                   ledger.addTransaction(QStringLiteral("Rent"), 20, QStringLiteral("home"), 800000100),
                   ledger.addTransaction(QStringLiteral("Food"), -30, QString(), 800000200)};
        for (ManagedObject* r : {records[0], records[1]})
            r->setValueForKey(u"trans_accountID", checking->valueForKey(u"vault_uniqueID"));
        records[2]->setValueForKey(u"trans_accountID", savings->valueForKey(u"vault_uniqueID"));
        ASSERT_TRUE(d.saveAction());
        window = std::make_unique<MainWindow>(d);
        window->setupSourceList();
    }

    // Selects the records in the list and opens the sheet through its command.
    TransMultiEditController* editSelected(const std::vector<ManagedObject*>& chosen)
    {
        LibraryController* list = window->libraryController();
        QItemSelectionModel* selection = list->tableView()->selectionModel();
        selection->clearSelection();
        for (ManagedObject* r : chosen) {
            const auto* model = static_cast<TransactionTableModel*>(list->tableView()->model());
            const int row = model->rowOfTransaction(r->valueForKey(u"trans_uniqueID").toString());
            selection->select(model->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
        QAction* edit = menuAction(*window, QStringLiteral("&Transactions"), QStringLiteral("Edit Transaction…"));
        EXPECT_NE(edit, nullptr);
        if (!edit)
            return nullptr;
        EXPECT_EQ(edit->isEnabled(), !chosen.empty());
        edit->trigger();
        return window->findChild<TransMultiEditController*>();
    }

    static void leave(QLineEdit* field)
    {
        QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
        QApplication::sendEvent(field, &out);
    }
    static QPushButton* sheetButton(TransMultiEditController* sheet, QDialogButtonBox::StandardButton which)
    {
        return sheet->findChild<QDialogButtonBox*>()->button(which);
    }
    QStringList values(QStringView key) const
    {
        QStringList out;
        for (ManagedObject* r : records)
            out << r->valueForKey(key).toString();
        return out;
    }
};

} // namespace

TEST_F(TransMultiEditControllerTest, RowsShowCommonValuesAndBoxesFollowTheUser)
{
    EXPECT_EQ(window->editTransactions({}), nullptr);
    const auto* unopened = window->findChild<TransMultiEditController*>();
    EXPECT_TRUE(!unopened || !unopened->isVisible());

    TransMultiEditController* sheet = editSelected({records[0], records[1]});
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->textField(Field::Title)->text(), QStringLiteral("Rent"));
    EXPECT_TRUE(sheet->buttonForField(Field::Title)->isChecked());
    EXPECT_EQ(sheet->textField(Field::Tags)->text(), QStringLiteral("home"));
    EXPECT_EQ(sheet->accountPopup()->currentText(), QStringLiteral("Checking"));
    EXPECT_TRUE(sheet->buttonForField(Field::Account)->isChecked());
    EXPECT_TRUE(sheet->textField(Field::Amount)->text().isEmpty());
    EXPECT_FALSE(sheet->buttonForField(Field::Amount)->isChecked());
    sheet->cancel();

    sheet = editSelected(records);
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->textField(Field::Title)->text().isEmpty());
    EXPECT_FALSE(sheet->buttonForField(Field::Title)->isChecked());
    EXPECT_FALSE(sheet->buttonForField(Field::Tags)->isChecked());
    EXPECT_EQ(sheet->accountPopup()->currentText(), QStringLiteral("None"));
    EXPECT_FALSE(sheet->buttonForField(Field::Account)->isChecked());
    EXPECT_EQ(sheet->repeatPopup()->currentText(), QStringLiteral("Never"));

    // Typing checks a box and erasing the text unchecks it.
    QLineEdit* notes = sheet->textField(Field::Notes);
    QTest::keyClicks(notes, QStringLiteral("x"));
    EXPECT_TRUE(sheet->buttonForField(Field::Notes)->isChecked());
    QTest::keyClick(notes, Qt::Key_Backspace);
    EXPECT_FALSE(sheet->buttonForField(Field::Notes)->isChecked());

    // Choosing in a selector checks its box.
    QTest::keyClick(sheet->repeatPopup(), Qt::Key_Down);
    EXPECT_EQ(sheet->form().repeat(), QStringLiteral("Daily"));
    EXPECT_TRUE(sheet->buttonForField(Field::Repeat)->isChecked());
    QTest::keyClick(sheet->accountPopup(), Qt::Key_Down); // over the separator
    EXPECT_EQ(sheet->accountPopup()->currentText(), QStringLiteral("Checking"));
    EXPECT_TRUE(sheet->buttonForField(Field::Account)->isChecked());

    // Leaving the amount field shows it as currency; an empty one stays empty.
    QLineEdit* amount = sheet->textField(Field::Amount);
    leave(amount);
    EXPECT_TRUE(amount->text().isEmpty());
    QTest::keyClicks(amount, QStringLiteral("12.5"));
    leave(amount);
    EXPECT_EQ(amount->text(), QStringLiteral("$12.50"));

    // Titles complete from earlier ones; a chosen one counts as typed.
    QLineEdit* title = sheet->textField(Field::Title);
    QTest::keyClicks(title, QStringLiteral("fo"));
    EXPECT_EQ(sheet->titleCompleter()->hints(), QStringList{QStringLiteral("Food")});
    sheet->titleCompleter()->complete(QStringLiteral("Food"));
    EXPECT_EQ(title->text(), QStringLiteral("Food"));
    EXPECT_TRUE(sheet->buttonForField(Field::Title)->isChecked());
    sheet->cancel();
}

TEST_F(TransMultiEditControllerTest, DoneWritesOnlyCheckedFieldsAndRefreshesTheList)
{
    const QStringList toBefore = values(u"trans_to");
    TransMultiEditController* sheet = editSelected(records);
    ASSERT_NE(sheet, nullptr);
    QTest::keyClicks(sheet->textField(Field::Amount), QStringLiteral("20"));
    QTest::keyClicks(sheet->textField(Field::Tags), QStringLiteral("bills ,home,"));
    QTest::keyClicks(sheet->textField(Field::To), QStringLiteral("Landlord"));
    sheet->buttonForField(Field::To)->click(); // typed, then unchecked: not written
    sheet->buttonForField(Field::Account)->click(); // "None" with its box checked
    ASSERT_EQ(sheet->accountPopup()->currentText(), QStringLiteral("None"));
    sheetButton(sheet, QDialogButtonBox::Ok)->click();

    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(values(u"trans_title"), (QStringList{QStringLiteral("Rent"), QStringLiteral("Rent"), QStringLiteral("Food")}));
    for (ManagedObject* r : records) {
        EXPECT_EQ(r->valueForKey(u"trans_amount").toDouble(), 20.0);
        EXPECT_TRUE(r->valueForKey(u"trans_accountID").isNull());
        EXPECT_EQ(r->valueForKey(u"trans_keywords").toString(), QStringLiteral("bills, home"));
    }
    EXPECT_EQ(values(u"trans_to"), toBefore);
    EXPECT_EQ(window->libraryController()->balances().total, 60.0);
    EXPECT_EQ(window->libraryController()->balances().outgoing, 0.0);
}

TEST_F(TransMultiEditControllerTest, CancelWritesNothing)
{
    TransMultiEditController* sheet = editSelected(records);
    ASSERT_NE(sheet, nullptr);
    QTest::keyClicks(sheet->textField(Field::Title), QStringLiteral("Changed"));
    QTest::keyClicks(sheet->textField(Field::Amount), QStringLiteral("5"));
    sheet->buttonForField(Field::Account)->click();
    sheetButton(sheet, QDialogButtonBox::Cancel)->click();

    EXPECT_FALSE(sheet->isVisible());
    EXPECT_EQ(values(u"trans_title"), (QStringList{QStringLiteral("Rent"), QStringLiteral("Rent"), QStringLiteral("Food")}));
    for (std::size_t i = 0; i < records.size(); ++i)
        EXPECT_EQ(records[i]->valueForKey(u"trans_amount").toDouble(), (std::array{-500.0, 20.0, -30.0})[i]);
    EXPECT_FALSE(records[0]->valueForKey(u"trans_accountID").isNull());
}
