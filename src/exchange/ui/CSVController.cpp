#include "exchange/ui/CSVController.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QStringDecoder>
#include <QTableWidget>
#include <QVBoxLayout>

namespace qf {

namespace {

QFileDialog* csvFileDialog(QWidget* parent, QFileDialog::AcceptMode mode)
{
    auto* dialog = new QFileDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    dialog->setNameFilter(QFileDialog::tr("CSV files (*.csv)"));
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    return dialog;
}

} // namespace

CSVController::CSVController(QObject* delegate, QWidget* parent)
    : QDialog(parent), m_delegate(delegate),
      m_firstRowIsHeaderButton(new QCheckBox(tr("First row contains column names"), this)),
      m_columns(new QTableWidget(0, 4, this)), m_startButton(new QPushButton(tr("Start"), this))
{
    setWindowTitle(tr("CSV Columns"));
    setWindowModality(Qt::WindowModal);
    m_firstRowIsHeaderButton->setObjectName(QStringLiteral("firstRowIsHeaderButton"));
    connect(m_firstRowIsHeaderButton, &QCheckBox::clicked, this, &CSVController::firstRowIsHeader);

    m_columns->setObjectName(QStringLiteral("columnsTable"));
    m_columns->setHorizontalHeaderLabels({tr("Import"), tr("Column"), tr("Sample"), tr("Import As")});
    m_columns->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_columns->setSelectionMode(QAbstractItemView::SingleSelection);
    m_columns->setAlternatingRowColors(true);
    m_columns->verticalHeader()->hide();
    m_columns->horizontalHeader()->setSectionResizeMode(SampleColumn, QHeaderView::Stretch);
    m_columns->horizontalHeader()->setSectionResizeMode(ImportAsColumn, QHeaderView::ResizeToContents);

    auto* cancelButton = new QPushButton(tr("Cancel"), this);
    m_startButton->setDefault(true);
    connect(m_startButton, &QPushButton::clicked, this, &CSVController::startImport);
    connect(cancelButton, &QPushButton::clicked, this, &CSVController::cancelImport);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(m_startButton);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_firstRowIsHeaderButton);
    layout->addWidget(m_columns, 1);
    layout->addLayout(buttons);
    resize(560, 360);
}

void CSVController::loadImportPanelWithVaultObject(ManagedObject* vault)
{
    m_vaultObject = vault;
    m_firstRowIsHeaderButton->setChecked(false);
    QFileDialog* dialog = csvFileDialog(parentWidget(), QFileDialog::AcceptOpen);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) { openCSVFile(path); });
    dialog->open();
}

void CSVController::loadExportWithVaultObject(ManagedObject* vault)
{
    m_vaultObject = vault;
    m_firstRowIsHeaderButton->setChecked(false);
    QFileDialog* dialog = csvFileDialog(parentWidget(), QFileDialog::AcceptSave);
    dialog->selectFile(QStringLiteral("QuillFen CSV Export"));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) { openCSVFile(path); });
    dialog->open();
}

bool CSVController::openCSVFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll();
    const auto encoding = QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
    QStringDecoder decoder(encoding, QStringConverter::Flag::Default);
    m_csvString = decoder.decode(bytes);
    m_firstRowIsHeaderButton->setChecked(false);
    parseCSVString(m_csvString, CSVColumnMapping::Header::Absent);
    open();
    return true;
}

void CSVController::parseCSVString(const QString& text, CSVColumnMapping::Header header)
{
    m_rows = CSVColumnMapping::parseCSVString(text, header);
    m_columns->setRowCount(0);
    m_columns->setRowCount(static_cast<int>(m_rows.size()));
    const QStringList& choices = CSVColumnMapping::importAsValues();
    for (int r = 0; r < static_cast<int>(m_rows.size()); ++r) {
        const CSVMappingRow& row = m_rows[static_cast<std::size_t>(r)];
        auto* check = new QTableWidgetItem;
        check->setFlags(Qt::ItemIsUserCheckable | Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        check->setCheckState(row.shouldImport ? Qt::Checked : Qt::Unchecked);
        m_columns->setItem(r, ImportColumn, check);
        for (auto [column, text] : {std::pair{LabelColumn, row.columnValue.toString()}, std::pair{SampleColumn, row.rowValue}}) {
            auto* item = new QTableWidgetItem(text);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            m_columns->setItem(r, column, item);
        }
        auto* importAs = new QComboBox(m_columns);
        for (const QString& choice : choices)
            importAs->addItem(tr(qPrintable(choice)), choice);
        importAs->setCurrentIndex(static_cast<int>(choices.indexOf(row.importAs)));
        m_columns->setCellWidget(r, ImportAsColumn, importAs);
    }
    if (!m_rows.empty())
        m_columns->selectRow(0);
}

void CSVController::firstRowIsHeader()
{
    parseCSVString(m_csvString, m_firstRowIsHeaderButton->isChecked() ? CSVColumnMapping::Header::FirstLine
                                                                      : CSVColumnMapping::Header::Absent);
}

void CSVController::startImport()
{
    // Mapped columns are not imported yet; the sheet stays as it is.
}

void CSVController::cancelImport()
{
    reject();
}

std::vector<CSVMappingRow> CSVController::mappingRows() const
{
    std::vector<CSVMappingRow> rows = m_rows;
    for (int r = 0; r < static_cast<int>(rows.size()); ++r) {
        CSVMappingRow& row = rows[static_cast<std::size_t>(r)];
        row.shouldImport = m_columns->item(r, ImportColumn)->checkState() == Qt::Checked;
        if (auto* importAs = qobject_cast<QComboBox*>(m_columns->cellWidget(r, ImportAsColumn)))
            row.importAs = importAs->currentData().toString();
    }
    return rows;
}

} // namespace qf
