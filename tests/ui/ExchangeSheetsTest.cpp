#include "app/ui/MainWindow.h"
#include "exchange/CSVExportController.h"
#include "exchange/ui/CSVController.h"
#include "exchange/ui/PrintingController.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "support/FileBytes.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QMenuBar>
#include <QPrinter>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::utf16File;

namespace {

class ExchangeSheetsTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking = nullptr;
    std::unique_ptr<MainWindow> window;
    QTemporaryDir dir;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        checking = VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
        const Value id = checking->valueForKey(u"vault_uniqueID");
        ledger.addTransaction(QStringLiteral("Rent, March"), -900, QStringLiteral("home"), 800000000.0)
            ->setValueForKey(u"trans_accountID", id);
        ledger.addTransaction(QStringLiteral("salary"), 2500, {}, 800086400.0)->setValueForKey(u"trans_accountID", id);
        ledger.addTransaction(QStringLiteral("Elsewhere"), -1, {}, 800172800.0);
        ASSERT_TRUE(d.saveAction());
        window = std::make_unique<MainWindow>(d);
        window->setupSourceList();
        ASSERT_TRUE(window->sourceController()->selectControllerWithID(id.toString()));
    }

    QAction* fileAction(const QString& text) const
    {
        QMenu* file = window->menuBar()->actions().front()->menu();
        for (QAction* action : file->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }
};

} // namespace

TEST_F(ExchangeSheetsTest, ExportCsvCommandProposesTheVaultAndWritesTheShownList)
{
    QAction* exportCSV = fileAction(QStringLiteral("Export CSV…"));
    ASSERT_NE(exportCSV, nullptr);
    exportCSV->trigger();
    auto* dialog = window->findChild<QFileDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Export CSV"));
    EXPECT_EQ(dialog->nameFilters(), QStringList{QStringLiteral("CSV files (*.csv)")});
    ASSERT_EQ(dialog->selectedFiles().size(), 1);
    EXPECT_TRUE(dialog->selectedFiles().front().endsWith(QStringLiteral("/Checking.csv"))) << qPrintable(dialog->selectedFiles().front());

    const QString path = dir.filePath(QStringLiteral("march"));
    dialog->selectFile(path);
    static_cast<QDialog*>(dialog)->accept(); // QFileDialog hides it; the override still runs
    QStringList lines = utf16File(path + QStringLiteral(".csv")).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 4) << qPrintable(lines.join(QLatin1Char('|')));
    EXPECT_EQ(lines[0], QStringLiteral("Title,Date,Amount"));
    // The list shows the newest first: the file follows it.
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("salary,"))) << qPrintable(lines[1]);
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("\"Rent, March\","))) << qPrintable(lines[2]);
    EXPECT_TRUE(lines[3].isEmpty());

    exportCSV->trigger();
    dialog = window->findChild<QFileDialog*>();
    ASSERT_NE(dialog, nullptr);
    dialog->selectFile(dir.filePath(QStringLiteral("cancelled")));
    dialog->reject();
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("cancelled.csv"))));
}

TEST_F(ExchangeSheetsTest, PrintSheetPreviewsTheListSortsAndPrintsToPdf)
{
    QAction* print = fileAction(QStringLiteral("Print…"));
    ASSERT_NE(print, nullptr);
    EXPECT_EQ(print->shortcut(), QKeySequence(QKeySequence::Print));
    print->trigger();
    auto* sheet = window->findChild<PrintingController*>();
    ASSERT_NE(sheet, nullptr);
    EXPECT_TRUE(sheet->isVisible());
    EXPECT_EQ(sheet->sortType(), PrintedReport::Sort::Title);
    EXPECT_EQ(sheet->sortByPopupButton()->currentText(), QStringLiteral("Title"));
    const QString byTitle = sheet->pageHTML();
    EXPECT_TRUE(byTitle.contains(QStringLiteral("2 Transactions")));
    EXPECT_TRUE(byTitle.contains(QStringLiteral("$1,600.00")));
    EXPECT_LT(byTitle.indexOf(QStringLiteral("Rent, March")), byTitle.indexOf(QStringLiteral("salary")));
    EXPECT_FALSE(byTitle.contains(QStringLiteral("Elsewhere")));
    // The preview shows the page, its table of rows included.
    const QString shown = sheet->mainWebView()->toPlainText();
    EXPECT_TRUE(shown.contains(QStringLiteral("Checking"))) << qPrintable(shown);
    EXPECT_TRUE(shown.contains(QStringLiteral("-$900.00"))) << qPrintable(shown);

    QComboBox* sort = sheet->sortByPopupButton();
    sort->setCurrentIndex(sort->findText(QStringLiteral("Amount")));
    Q_EMIT sort->activated(sort->currentIndex());
    EXPECT_EQ(sheet->sortType(), PrintedReport::Sort::Amount);
    EXPECT_LT(sheet->pageHTML().indexOf(QStringLiteral("Rent, March")), sheet->pageHTML().indexOf(QStringLiteral("salary")));
    sort->setCurrentIndex(sort->findText(QStringLiteral("Title")));
    Q_EMIT sort->activated(sort->currentIndex());

    QPrinter pdf(QPrinter::HighResolution);
    pdf.setOutputFormat(QPrinter::PdfFormat);
    const QString path = dir.filePath(QStringLiteral("report.pdf"));
    pdf.setOutputFileName(path);
    sheet->printDocument(pdf);
    const QMarginsF margins = pdf.pageLayout().margins(QPageLayout::Point);
    EXPECT_DOUBLE_EQ(margins.left(), 10);
    QFile written(path);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const QByteArray bytes = written.readAll();
    EXPECT_TRUE(bytes.startsWith("%PDF"));
    EXPECT_EQ(bytes.count("/Type /Page\n") + bytes.count("/Type /Page\r"), 1) << "one page for two rows";

    sheet->cancel();
    EXPECT_FALSE(sheet->isVisible());
    // A second print keeps the sort chosen last.
    sort->setCurrentIndex(sort->findText(QStringLiteral("Tags")));
    Q_EMIT sort->activated(sort->currentIndex());
    sheet->cancel();
    print->trigger();
    EXPECT_EQ(window->findChildren<PrintingController*>().size(), 1);
    EXPECT_EQ(sheet->sortType(), PrintedReport::Sort::Tags);
    EXPECT_EQ(sort->currentText(), QStringLiteral("Tags"));
    sheet->cancel();
}

TEST_F(ExchangeSheetsTest, MappingSheetListsColumnsOfAnExportedFile)
{
    const QString path = dir.filePath(QStringLiteral("ledger.csv"));
    ASSERT_TRUE(CSVExportController::exportCSVWithPath(path, window->libraryController()->arrangedTransObjects(),
                                                       ledger.delegate()));
    CSVController sheet(window.get(), window.get());
    EXPECT_FALSE(sheet.openCSVFile(dir.filePath(QStringLiteral("missing.csv"))));
    ASSERT_TRUE(sheet.openCSVFile(path));
    EXPECT_TRUE(sheet.isVisible());
    EXPECT_TRUE(sheet.csvString().startsWith(QStringLiteral("Title,Date,Amount\n")));
    QTableWidget* table = sheet.columnsTable();
    ASSERT_EQ(table->rowCount(), 3);
    // Without a header the first row is skipped and the second is the sample.
    EXPECT_EQ(table->item(0, CSVController::LabelColumn)->text(), QStringLiteral("1"));
    EXPECT_EQ(table->item(0, CSVController::SampleColumn)->text(), QStringLiteral("salary"));
    EXPECT_EQ(table->item(2, CSVController::SampleColumn)->text(), QStringLiteral("$2,500.00"));
    EXPECT_EQ(table->selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(table->selectionModel()->selectedRows().front().row(), 0);

    sheet.firstRowIsHeaderButton()->click();
    ASSERT_EQ(table->rowCount(), 3);
    EXPECT_EQ(table->item(1, CSVController::LabelColumn)->text(), QStringLiteral("Date"));
    EXPECT_EQ(table->item(1, CSVController::SampleColumn)->text(), QStringLiteral("Date"));

    auto* importAs = qobject_cast<QComboBox*>(table->cellWidget(0, CSVController::ImportAsColumn));
    ASSERT_NE(importAs, nullptr);
    ASSERT_EQ(importAs->count(), 8);
    EXPECT_EQ(importAs->currentText(), QStringLiteral("Do not import"));
    importAs->setCurrentIndex(importAs->findData(QStringLiteral("Title")));
    table->item(2, CSVController::ImportColumn)->setCheckState(Qt::Unchecked);
    const std::vector<CSVMappingRow> rows = sheet.mappingRows();
    EXPECT_EQ(rows[0].importAs, QStringLiteral("Title"));
    EXPECT_TRUE(rows[0].shouldImport);
    EXPECT_FALSE(rows[2].shouldImport);

    sheet.startImport();
    EXPECT_TRUE(sheet.isVisible());
    EXPECT_EQ(sheet.mappingRows().size(), 3u);
    sheet.cancelImport();
    EXPECT_FALSE(sheet.isVisible());
}
