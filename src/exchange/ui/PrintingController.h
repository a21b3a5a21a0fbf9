#pragma once

#include "exchange/PrintedReport.h"

#include <QDialog>
#include <memory>
#include <vector>

class QComboBox;
class QPrinter;
class QPushButton;
class QTextBrowser;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// The print sheet: a preview of the report page of the transactions the
// list shows, a sort pop-up that rebuilds it, and Print (whose dialog also
// prints to a PDF file), Save as PDF and Cancel. Made once and kept by the
// main window; the print settings chosen last are kept with it.
class PrintingController : public QDialog {
    Q_OBJECT

public:
    explicit PrintingController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);
    ~PrintingController() override;

    // Keeps the transactions (in the order given) and the vault, builds the
    // page and shows the sheet. The sort chosen before stays; Title at first.
    void loadPrintPanelWithObjects(const std::vector<ManagedObject*>& transactions, const ManagedObject* vault);

    // The pop-up's action: the chosen item becomes the sort, the page is built again.
    void sortBy();
    void print();
    void saveAsPDF();
    void cancel();

    // The page as built, into the preview.
    void prepareWebViewWithTransObjects(const std::vector<ManagedObject*>& transactions);
    // Lays the preview's page out on the printer's paper, with margins of 10
    // points at the left, right and top, and prints it.
    void printDocument(QPrinter& printer) const;

    PrintedReport::Sort sortType() const { return m_sortType; }
    QString pageHTML() const { return m_pageHTML; }
    QComboBox* sortByPopupButton() const { return m_sortByPopupButton; }
    QTextBrowser* mainWebView() const { return m_mainWebView; }

private:
    Quillfen_AppDelegate& m_delegate;
    QTextBrowser* m_mainWebView;
    QComboBox* m_sortByPopupButton;
    QPushButton* m_printButton;
    QPushButton* m_pdfButton;
    std::unique_ptr<QPrinter> m_printer;
    std::vector<ManagedObject*> m_transObjects;
    QString m_vaultTitle;
    QString m_pageHTML;
    PrintedReport::Sort m_sortType = PrintedReport::Sort::Title;
};

} // namespace qf
