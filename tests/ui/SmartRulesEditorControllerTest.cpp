#include "app/ui/MainWindow.h"
#include "editing/SmartRule.h"
#include "editing/ui/FieldCompleter.h"
#include "editing/ui/SmartRulesEditorController.h"
#include "editing/ui/SmartViewCellController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/CliRun.h"
#include "support/ModalAnswer.h"
#include "support/TempLedger.h"
#include "ui/WidgetTestSupport.h"
#include "views/ui/SourceListModel.h"
#include "views/ui/SourceController.h"

#include <QComboBox>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::menuAction;
using qf::test::TempLedger;

namespace {

const QDateTime kMarch(QDate(2026, 3, 1), QTime(9, 30));

// Chooses the item that carries the stored title (or id), as a click does.
void choose(QComboBox* popup, const QString& data)
{
    const int index = popup->findData(data);
    ASSERT_GE(index, 0) << qPrintable(data);
    popup->setCurrentIndex(index);
    Q_EMIT popup->activated(index);
}

void type(QLineEdit* field, const QString& text)
{
    field->clear();
    QTest::keyClicks(field, text);
    Q_EMIT field->editingFinished();
}

// A stored rule record as one line: field, operator and the values of its field.
QString describe(ManagedObject& record)
{
    const SmartRule rule = SmartRule::fromRecord(record);
    QString values = rule.stringValue;
    if (rule.key == QLatin1String("Amount"))
        values = QStringLiteral("%1..%2").arg(rule.amountFirst).arg(rule.amountSecond);
    else if (rule.key == QLatin1String("Date"))
        values = dateTimeFromAbsoluteTime(rule.dateFirst).toString(Qt::ISODate);
    return QStringLiteral("%1 %2 [%3]").arg(rule.key, rule.operand, values);
}

class SmartRulesEditorControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = ledger.addAccount(QStringLiteral("Checking"));
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        ledger.addTransaction(QStringLiteral("Coffee"), -3, QStringLiteral("Food, Rent"));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->setupSourceList();
    }

    std::vector<ManagedObject*> rulesOf(ManagedObject& vault) { return vault.relatedObjects(0); }
    std::size_t smartVaultCount() { return VaultLibrary::vaultsOfType(context, VaultType::SmartPlaylist).size(); }
    std::size_t ruleRecordCount() { return context.count(ManagedObjectModel::shared().smart()); }

    static void pressOK(SmartRulesEditorController& sheet)
    {
        sheet.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    }

    // The next row: the first one, or one added with the last row's +.
    static SmartViewCellController* nextRow(SmartRulesEditorController& sheet, bool first)
    {
        if (!first)
            sheet.subviewControllers().back()->addButton()->click();
        return sheet.subviewControllers().back();
    }

    // A new folder with the rules that fill(row, i) gives, through the sheet's widgets.
    ManagedObject* addFolder(SmartRulesEditorController& sheet, const QString& name, const QString& condition,
                             int ruleCount, const std::function<void(SmartViewCellController&, int)>& fill)
    {
        sheet.loadAddSmartPanel();
        type(sheet.nameField(), name);
        choose(sheet.conditionPopup(), condition);
        for (int i = 0; i < ruleCount; ++i)
            fill(*nextRow(sheet, i == 0), i);
        pressOK(sheet);
        return sheet.vault();
    }

    // Opens the sheet on the vault through the Edit menu, as the user would.
    SmartRulesEditorController* editThroughMenu(ManagedObject& vault)
    {
        window->sourceController()->selectControllerWithID(vault.valueForKey(u"vault_uniqueID").toString());
        QAction* edit = menuAction(*window, QStringLiteral("&Edit"), QStringLiteral("Edit Rules…"));
        EXPECT_TRUE(edit && edit->isEnabled());
        if (!edit)
            return nullptr;
        edit->trigger();
        return window->findChild<SmartRulesEditorController*>();
    }
};

// One rule of each field, through the real widgets.
void fillEachField(SmartViewCellController& row, int i)
{
    const QString field = SmartRule::fields()[i];
    choose(row.fieldPopup(), field);
    if (field == QLatin1String("Title")) {
        choose(row.operandPopup(), QStringLiteral("Contains"));
        type(row.textField(), QStringLiteral("coffee"));
    } else if (field == QLatin1String("Amount")) {
        choose(row.operandPopup(), QStringLiteral("Between"));
        type(row.amountField(0), QStringLiteral("-10"));
        type(row.amountField(1), QStringLiteral("$1,250.50"));
    } else if (field == QLatin1String("Date")) {
        choose(row.operandPopup(), QStringLiteral("After"));
        row.datePicker(0)->setDateTime(kMarch);
    } else if (field == QLatin1String("To")) {
        type(row.textField(), QStringLiteral("Grocer"));
    } else if (field == QLatin1String("From")) {
        choose(row.operandPopup(), QStringLiteral("Is not"));
        type(row.textField(), QStringLiteral("Bob"));
    } else if (field == QLatin1String("Tag")) {
        type(row.tagsField(), QStringLiteral("Food,Rent ,"));
    } else if (field == QLatin1String("Note")) {
        choose(row.operandPopup(), QStringLiteral("Does not contain"));
        type(row.textField(), QStringLiteral("memo"));
    } else if (field == QLatin1String("Account")) {
        choose(row.accountPopup(), row.accountPopup()->itemData(2).toString());
    } else if (field == QLatin1String("Type")) {
        choose(row.operandPopup(), QStringLiteral("Is not"));
        choose(row.typePopup(), QStringLiteral("Pending"));
    }
}

TEST_F(SmartRulesEditorControllerTest, AddingStoresOneRecordPerRowAndTheJoinedPredicate)
{
    SmartRulesEditorController sheet(ledger.delegate());
    ManagedObject* vault = addFolder(sheet, QStringLiteral("Everything"), QStringLiteral("Any"), 9, fillEachField);
    ASSERT_NE(vault, nullptr);
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(vault->valueForKey(u"vault_type").toString(), VaultType::SmartPlaylist);
    EXPECT_EQ(vault->valueForKey(u"vault_title").toString(), QStringLiteral("Everything"));
    EXPECT_EQ(vault->valueForKey(u"vault_viewBy").toString(), QStringLiteral("IconView"));
    EXPECT_EQ(vault->valueForKey(u"vault_smartCondition").toString(), QStringLiteral("Any"));

    const QString checkingID = checking->valueForKey(u"vault_uniqueID").toString();
    QStringList stored;
    for (ManagedObject* record : rulesOf(*vault))
        stored << describe(*record);
    EXPECT_EQ(stored.join(QLatin1Char('\n')),
              QStringList({QStringLiteral("Title Contains [coffee]"), QStringLiteral("Amount Between [-10..1250.5]"),
                           QStringLiteral("Date After [2026-03-01T09:30:00]"), QStringLiteral("To Is [Grocer]"),
                           QStringLiteral("From Is not [Bob]"), QStringLiteral("Tag Contains [Food, Rent]"),
                           QStringLiteral("Note Does not contain [memo]"),
                           QStringLiteral("Account Is [%1]").arg(checkingID), QStringLiteral("Type Is not [Pending]")})
                  .join(QLatin1Char('\n')));
    EXPECT_EQ(rulesOf(*vault)[1]->valueForKey(u"smart_isMultiValued").toBool(), true);

    const double march = absoluteTimeFromDateTime(kMarch);
    EXPECT_EQ(vault->valueForKey(u"vault_smartPredicateString").toString(),
              QStringLiteral("\"coffee\" IN[cd] trans_title OR (trans_amount >= -10.0 AND trans_amount <= 1250.5) OR "
                             "trans_date > CAST(%1, \"NSDate\") OR trans_to == \"Grocer\" OR trans_from != \"Bob\" OR "
                             "(trans_keywords CONTAINS[d] \"Food\" AND trans_keywords CONTAINS[d] \"Rent\") OR "
                             "NOT \"memo\" IN[cd] trans_notes OR trans_accountID == \"%2\" OR trans_isPending != YES")
                  .arg(march, 0, 'f', 0)
                  .arg(checkingID));
    // OK saves the store.
    EXPECT_FALSE(context.hasChanges());

    // The same rules from the command line make the same predicate.
    const auto made = qf::test::runCli(
        ledger.folder(), ledger.folder(),
        {"add-vault", "--type", "Smart Playlist", "--title", "Scripted", "--condition", "Any", "--rule",
         "Title|Contains|coffee", "--rule", "Amount|Between|-10|1250.50", "--rule", "Date|After|2026-03-01T09:30",
         "--rule", "To|Is|Grocer", "--rule", "From|Is not|Bob", "--rule", "Tag|Contains|Food,Rent ,", "--rule",
         "Note|Does not contain|memo", "--rule", "Account|Is|Checking", "--rule", "Type|Is not|Pending"});
    ASSERT_EQ(made.exitCode, 0) << qPrintable(made.err);
    const auto shown = qf::test::runCli(ledger.folder(), ledger.folder(), {"show", made.out.trimmed()});
    EXPECT_EQ(QJsonDocument::fromJson(shown.out.toUtf8()).object().value("vault_smartPredicateString").toString(),
              vault->valueForKey(u"vault_smartPredicateString").toString());
}

TEST_F(SmartRulesEditorControllerTest, ReopeningShowsTheRowsAndOKAgainKeepsTheSameRecords)
{
    SmartRulesEditorController sheet(ledger.delegate());
    ManagedObject* vault = addFolder(sheet, QStringLiteral("Dated"), QStringLiteral("Any"), 3, [](auto& row, int i) {
        fillEachField(row, i);
        // A second bound makes the date rule a "Between", whose pickers both reopen.
        if (i == 2) {
            choose(row.operandPopup(), QStringLiteral("Between"));
            row.datePicker(0)->setDateTime(kMarch);
            row.datePicker(1)->setDateTime(kMarch.addDays(3));
        }
    });
    ASSERT_NE(vault, nullptr);
    const std::vector<ManagedObject*> records = rulesOf(*vault);
    const std::size_t recordCount = ruleRecordCount();

    SmartRulesEditorController* edit = editThroughMenu(*vault);
    ASSERT_NE(edit, nullptr);
    EXPECT_TRUE(edit->isVisible());
    EXPECT_EQ(edit->nameField()->text(), QStringLiteral("Dated"));
    EXPECT_EQ(edit->conditionPopup()->currentData().toString(), QStringLiteral("Any"));
    const auto& rows = edit->subviewControllers();
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0]->textField()->text(), QStringLiteral("coffee"));
    EXPECT_EQ(rows[1]->amountField(1)->text(), QStringLiteral("$1,250.50"));
    EXPECT_TRUE(rows[1]->amountField(1)->isVisibleTo(edit));
    EXPECT_EQ(rows[2]->datePicker(1)->dateTime(), kMarch.addDays(3));
    EXPECT_TRUE(rows[2]->datePicker(1)->isVisibleTo(edit));
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i]->rule().uniqueID, records[i]->valueForKey(u"smart_uniqueID").toString());
        EXPECT_EQ(rows[i]->fieldPopup()->currentData().toString(), records[i]->valueForKey(u"smart_key").toString());
    }

    pressOK(*edit);
    EXPECT_EQ(rulesOf(*vault), records);
    EXPECT_EQ(ruleRecordCount(), recordCount);
    EXPECT_EQ(smartVaultCount(), 1u);
}

TEST_F(SmartRulesEditorControllerTest, ChangingOneRuleAndRemovingAnotherUnlinksButKeepsIt)
{
    SmartRulesEditorController sheet(ledger.delegate());
    ManagedObject* vault = addFolder(sheet, QStringLiteral("Three"), QStringLiteral("All"), 3, fillEachField);
    ASSERT_NE(vault, nullptr);
    const std::vector<ManagedObject*> records = rulesOf(*vault);

    SmartRulesEditorController* edit = editThroughMenu(*vault);
    ASSERT_NE(edit, nullptr);
    SmartViewCellController* first = edit->subviewControllers()[0];
    choose(first->fieldPopup(), QStringLiteral("Note"));
    type(first->textField(), QStringLiteral("lunch"));
    edit->subviewControllers()[1]->removeButton()->click();
    ASSERT_EQ(edit->subviewControllers().size(), 2u);
    type(edit->nameField(), QStringLiteral("Two"));
    pressOK(*edit);

    EXPECT_EQ(rulesOf(*vault), (std::vector<ManagedObject*>{records[0], records[2]}));
    EXPECT_EQ(describe(*records[0]), QStringLiteral("Note Contains [lunch]"));
    EXPECT_FALSE(records[1]->isDeleted());
    EXPECT_EQ(ruleRecordCount(), 3u);
    EXPECT_EQ(vault->valueForKey(u"vault_title").toString(), QStringLiteral("Two"));
    EXPECT_EQ(vault->valueForKey(u"vault_smartPredicateString").toString(),
              QStringLiteral("\"lunch\" IN[cd] trans_notes AND trans_date > CAST(%1, \"NSDate\")")
                  .arg(absoluteTimeFromDateTime(kMarch), 0, 'f', 0));
    EXPECT_EQ(window->sourceController()->selectedVaultID(), vault->valueForKey(u"vault_uniqueID").toString());
}

TEST_F(SmartRulesEditorControllerTest, EmptyNameRefusesOKAndTheLastRowStays)
{
    SmartRulesEditorController sheet(ledger.delegate());
    sheet.loadAddSmartPanel();
    ASSERT_EQ(sheet.subviewControllers().size(), 1u);
    EXPECT_FALSE(sheet.subviewControllers()[0]->removeButton()->isEnabled());
    pressOK(sheet);
    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(sheet.vault(), nullptr);
    EXPECT_EQ(smartVaultCount(), 0u);
    EXPECT_EQ(ruleRecordCount(), 0u);
    sheet.smartCancel();
}

TEST_F(SmartRulesEditorControllerTest, ChangingFieldOrOperatorResetsTheValueWidgets)
{
    SmartViewCellController row(ledger.delegate());
    choose(row.fieldPopup(), QStringLiteral("Amount"));
    choose(row.operandPopup(), QStringLiteral("Between"));
    type(row.amountField(0), QStringLiteral("5"));
    EXPECT_EQ(row.amountField(0)->text(), QStringLiteral("$5.00"));
    EXPECT_TRUE(row.amountField(1)->isVisibleTo(&row));
    choose(row.fieldPopup(), QStringLiteral("Date"));
    choose(row.fieldPopup(), QStringLiteral("Amount"));
    EXPECT_EQ(row.operandPopup()->currentData().toString(), QStringLiteral("Is"));
    EXPECT_TRUE(row.amountField(0)->text().isEmpty());
    EXPECT_FALSE(row.amountField(1)->isVisibleTo(&row));

    choose(row.fieldPopup(), QStringLiteral("Tag"));
    type(row.tagsField(), QStringLiteral("Fo"));
    EXPECT_EQ(row.tagsCompleter()->hints(), QStringList{QStringLiteral("Food")});
    choose(row.operandPopup(), QStringLiteral("Is Empty"));
    EXPECT_FALSE(row.tagsField()->isVisibleTo(&row));
    EXPECT_EQ(row.rule().stringValue, QString());
    EXPECT_EQ(row.rule().predicate()->predicateFormat(), QStringLiteral("trans_keywords == nil"));

    choose(row.fieldPopup(), QStringLiteral("Type"));
    EXPECT_EQ(row.typePopup()->count(), 6); // five types and a separator
    EXPECT_EQ(row.rule().stringValue, QStringLiteral("Incoming"));
    choose(row.fieldPopup(), QStringLiteral("Account"));
    EXPECT_EQ(row.rule().stringValue, QString());
}

TEST_F(SmartRulesEditorControllerTest, NewSmartFolderAndDoubleClickOpenTheSheet)
{
    // Another vault has no rules to edit.
    QListView* list = window->sourceController()->listView();
    SourceListModel* model = window->sourceController()->model();
    const int accountRow = model->rowOfVault(checking->valueForKey(u"vault_uniqueID").toString());
    window->sourceController()->selectControllerWithID(checking->valueForKey(u"vault_uniqueID").toString());
    EXPECT_FALSE(menuAction(*window, QStringLiteral("&Edit"), QStringLiteral("Edit Rules…"))->isEnabled());
    Q_EMIT list->doubleClicked(model->index(accountRow));
    EXPECT_EQ(window->findChild<SmartRulesEditorController*>(), nullptr);

    qf::test::answerNextModal([](QWidget* modal) {
        modal->findChild<QTabWidget*>()->setCurrentIndex(3);
        QTest::keyClicks(modal->findChild<QLineEdit*>(QStringLiteral("smartName")), QStringLiteral("Fresh"));
        modal->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    menuAction(*window, QStringLiteral("&File"), QStringLiteral("New Smart Folder…"))->trigger();
    auto* sheet = window->findChild<SmartRulesEditorController*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->nameField()->text(), QStringLiteral("Fresh"));
    ASSERT_NE(sheet->vault(), nullptr);
    ManagedObject* vault = sheet->vault();
    sheet->smartCancel();

    const int row = model->rowOfVault(vault->valueForKey(u"vault_uniqueID").toString());
    Q_EMIT list->doubleClicked(model->index(row));
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->vault(), vault);
    sheet->smartCancel();

    // The folder's own pane offers the same, in place of a rename.
    window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString());
    QPushButton* paneButton = nullptr;
    for (QPushButton* button : window->findChildren<QPushButton*>(QStringLiteral("editFolder"))) {
        if (button->isVisibleTo(window.get()) && button->text() == QStringLiteral("Edit Rules…"))
            paneButton = button;
    }
    ASSERT_NE(paneButton, nullptr);
    QTest::mouseClick(paneButton, Qt::LeftButton);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->vault(), vault);
    sheet->smartCancel();
}

} // namespace
