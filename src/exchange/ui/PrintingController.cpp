#include "exchange/ui/PrintingController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "store/ManagedObject.h"

#include <QAbstractTextDocumentLayout>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextFrame>
#include <QVBoxLayout>
#include <QtGlobal>

#ifdef QUILLFEN_HAVE_PRINTSUPPORT
#include <QPrintDialog>
#include <QPrinter>
#endif

namespace qf {

namespace {

constexpr PrintedReport::Sort kSorts[] = {PrintedReport::Sort::Title, PrintedReport::Sort::Amount,
                                          PrintedReport::Sort::Date, PrintedReport::Sort::Tags};

} // namespace

PrintingController::PrintingController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_mainWebView(new QTextBrowser(this)),
      m_sortByPopupButton(new QComboBox(this)), m_printButton(new QPushButton(tr("Print…"), this)),
      m_pdfButton(new QPushButton(tr("Save as PDF…"), this))
{
    setWindowTitle(tr("Print"));
    setWindowModality(Qt::WindowModal);
    m_mainWebView->setObjectName(QStringLiteral("mainWebView"));
    m_mainWebView->setOpenLinks(false);
    // The preview stands for paper: white whatever the desktop theme.
    QPalette paper = m_mainWebView->palette();
    paper.setColor(QPalette::Base, Qt::white);
    paper.setColor(QPalette::Text, Qt::black);
    m_mainWebView->setPalette(paper);
    m_sortByPopupButton->setObjectName(QStringLiteral("sortByPopupButton"));
    for (PrintedReport::Sort sort : kSorts)
        m_sortByPopupButton->addItem(tr(qPrintable(PrintedReport::sortTitle(sort))), static_cast<int>(sort));
    connect(m_sortByPopupButton, &QComboBox::activated, this, &PrintingController::sortBy);

    auto* cancelButton = new QPushButton(tr("Cancel"), this);
    m_printButton->setDefault(true);
    connect(m_printButton, &QPushButton::clicked, this, &PrintingController::print);
    connect(m_pdfButton, &QPushButton::clicked, this, &PrintingController::saveAsPDF);
    connect(cancelButton, &QPushButton::clicked, this, &PrintingController::cancel);
#ifndef QUILLFEN_HAVE_PRINTSUPPORT
    m_printButton->setEnabled(false);
    m_pdfButton->setEnabled(false);
    m_printButton->setToolTip(tr("This build of Quillfen cannot print."));
#else
    m_printer = std::make_unique<QPrinter>(QPrinter::HighResolution);
#endif

    auto* bar = new QHBoxLayout;
    bar->addWidget(new QLabel(tr("Sort by:"), this));
    bar->addWidget(m_sortByPopupButton);
    bar->addStretch(1);
    bar->addWidget(cancelButton);
    bar->addWidget(m_pdfButton);
    bar->addWidget(m_printButton);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_mainWebView, 1);
    layout->addLayout(bar);
    resize(760, 640);
}

PrintingController::~PrintingController() = default;

void PrintingController::loadPrintPanelWithObjects(const std::vector<ManagedObject*>& transactions,
                                                   const ManagedObject* vault)
{
    m_transObjects = transactions;
    m_vaultTitle = vault ? vault->valueForKey(u"vault_title").toString() : QString();
    m_sortByPopupButton->setCurrentIndex(m_sortByPopupButton->findData(static_cast<int>(m_sortType)));
    prepareWebViewWithTransObjects(m_transObjects);
    open();
}

void PrintingController::sortBy()
{
    m_sortType = static_cast<PrintedReport::Sort>(m_sortByPopupButton->currentData().toInt());
    prepareWebViewWithTransObjects(m_transObjects);
}

void PrintingController::prepareWebViewWithTransObjects(const std::vector<ManagedObject*>& transactions)
{
    auto templates = PrintedReport::loadTemplates();
    if (!templates) {
        m_pageHTML.clear();
        m_mainWebView->setPlainText(templates.message());
        return;
    }
    PrintedReport report(std::move(templates).value(), *m_delegate.managedObjectContext(),
                         m_delegate.amountFormatter().localeIdentifier());
    report.setSortType(m_sortType);
    m_pageHTML = report.pageHTML(m_vaultTitle, transactions, m_delegate.now());
    m_mainWebView->setHtml(m_pageHTML);
}

void PrintingController::printDocument(QPrinter& printer) const
{
#ifdef QUILLFEN_HAVE_PRINTSUPPORT
    QMarginsF margins = printer.pageLayout().margins(QPageLayout::Point);
    margins.setLeft(10);
    margins.setRight(10);
    margins.setTop(10);
    printer.setPageMargins(margins, QPageLayout::Point);

    // A document without a page size would be printed with margins of its
    // own: lay a copy out on the paper's printable area instead. Its layout
    // counts in screen pixels, which print() scales to the printer.
    std::unique_ptr<QTextDocument> paged(m_mainWebView->document()->clone());
    paged->setDocumentMargin(0);
    const qreal dpi = QGuiApplication::primaryScreen() ? QGuiApplication::primaryScreen()->logicalDotsPerInchY() : 96;
    const QRectF area = printer.pageLayout().paintRect(QPageLayout::Point);
    paged->setPageSize(QSizeF(area.width() * dpi / 72.0, area.height() * dpi / 72.0));
    paged->print(&printer);
#endif
}

void PrintingController::print()
{
#ifdef QUILLFEN_HAVE_PRINTSUPPORT
    auto* dialog = new QPrintDialog(m_printer.get(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this] { printDocument(*m_printer); });
    dialog->open();
#endif
}

void PrintingController::saveAsPDF()
{
#ifdef QUILLFEN_HAVE_PRINTSUPPORT
    QString path = QFileDialog::getSaveFileName(this, tr("Save as PDF"), m_vaultTitle, tr("PDF (*.pdf)"));
    if (path.isEmpty())
        return;
    if (!path.endsWith(QLatin1String(".pdf"), Qt::CaseInsensitive))
        path += QStringLiteral(".pdf");
    QPrinter pdf(QPrinter::HighResolution);
    pdf.setPageLayout(m_printer->pageLayout());
    pdf.setOutputFormat(QPrinter::PdfFormat);
    pdf.setOutputFileName(path);
    printDocument(pdf);
#endif
}

void PrintingController::cancel()
{
    reject();
}

} // namespace qf
