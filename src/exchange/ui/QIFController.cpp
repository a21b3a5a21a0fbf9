#include "exchange/ui/QIFController.h"

#include "app/Quillfen_AppDelegate.h"
#include "exchange/DateOrderPattern.h"
#include "exchange/ui/ImportRecordModel.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/ui/TransactionTableModel.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

namespace qf {

QIFController::QIFController(Quillfen_AppDelegate& delegate, QWidget* window)
    : QObject(window), m_delegate(delegate), m_window(window)
{
    buildDatePanel();
    buildSheet();
}

QIFController::~QIFController() = default;

void QIFController::buildDatePanel()
{
    m_datePanel = new QDialog(m_window);
    m_datePanel->setObjectName(QStringLiteral("qifDatePanel"));
    m_datePanel->setWindowTitle(tr("Import QIF"));
    m_datePanel->setWindowModality(Qt::WindowModal);
    m_sampleField = new QLineEdit(m_datePanel);
    m_orderPopup = new QComboBox(m_datePanel);
    m_orderPopup->addItems(DateOrderPattern::orderTitles());
    auto* explanation = new QLabel(tr("In which order does this file write the day, month and year of its dates?"),
                                   m_datePanel);
    explanation->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(m_datePanel);
    buttons->addButton(tr("Continue"), QDialogButtonBox::AcceptRole)->setObjectName(QStringLiteral("continueButton"));
    buttons->addButton(QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QIFController::dateFormatPanelContinue);
    connect(buttons, &QDialogButtonBox::rejected, this, &QIFController::dateFormatPanelCancel);
    // Escape and the close box go through Cancel as well.
    connect(m_datePanel, &QDialog::rejected, this, [this] { m_datePanel->hide(); });

    auto* form = new QFormLayout;
    form->addRow(tr("Sample date:"), m_sampleField);
    form->addRow(tr("Order:"), m_orderPopup);
    auto* layout = new QVBoxLayout(m_datePanel);
    layout->addWidget(explanation);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

void QIFController::buildSheet()
{
    m_sheet = new QDialog(m_window);
    m_sheet->setObjectName(QStringLiteral("qifImportSheet"));
    m_sheet->setWindowTitle(tr("Import Transactions"));
    m_sheet->setWindowModality(Qt::WindowModal);
    m_sheet->resize(900, 500);

    m_accountsPopup = new QComboBox(m_sheet);
    m_accountsPopup->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    connect(m_accountsPopup, &QComboBox::activated, this, &QIFController::accountChoose);
    m_expandButton = new QToolButton(m_sheet);
    m_expandButton->setText(tr("Show Account"));
    m_expandButton->setCheckable(true);
    m_collapseButton = new QToolButton(m_sheet);
    m_collapseButton->setText(tr("Hide Account"));
    m_collapseButton->setCheckable(true);
    connect(m_expandButton, &QToolButton::clicked, this, &QIFController::expandAccounts);
    connect(m_collapseButton, &QToolButton::clicked, this, &QIFController::collapseAccounts);

    m_accountModel = new TransactionTableModel(this);
    m_accountTable = new QTableView(m_sheet);
    m_accountTable->setModel(m_accountModel);
    m_accountTable->setSelectionMode(QAbstractItemView::NoSelection);
    m_accountTable->verticalHeader()->hide();
    // Date, title and amount are what tells an entry already in the ledger.
    m_accountTable->hideColumn(TransactionTableModel::StatusColumn);
    m_accountTable->hideColumn(TransactionTableModel::TagsColumn);
    m_accountTable->horizontalHeader()->setSectionResizeMode(TransactionTableModel::TitleColumn, QHeaderView::Stretch);

    m_recordModel = new ImportRecordModel(m_delegate, m_import.QIFTransactions(), this);
    m_recordOrder = new QSortFilterProxyModel(this);
    m_recordOrder->setSourceModel(m_recordModel);
    m_recordOrder->setSortRole(Qt::UserRole);
    m_recordsTable = new QTableView(m_sheet);
    m_recordsTable->setModel(m_recordOrder);
    m_recordsTable->setSortingEnabled(true);
    m_recordsTable->sortByColumn(-1, Qt::AscendingOrder); // file order until the user sorts
    m_recordsTable->verticalHeader()->hide();
    m_recordsTable->horizontalHeader()->setSectionResizeMode(ImportRecordModel::PayeeColumn, QHeaderView::Stretch);
    m_recordsTable->horizontalHeader()->setSectionResizeMode(ImportRecordModel::CheckColumn,
                                                             QHeaderView::ResizeToContents);

    m_splitter = new QSplitter(m_sheet);
    m_splitter->addWidget(m_accountTable);
    m_splitter->addWidget(m_recordsTable);
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setStretchFactor(1, 1);
    m_splitter->setSizes({340, 560});

    auto* top = new QHBoxLayout;
    top->addWidget(m_expandButton);
    top->addWidget(m_collapseButton);
    top->addStretch(1);
    top->addWidget(new QLabel(tr("Import to:"), m_sheet));
    top->addWidget(m_accountsPopup);

    auto* bottom = new QHBoxLayout;
    auto addButton = [&](const QString& title, const char* name, void (QIFController::*slot)()) {
        auto* button = new QPushButton(title, m_sheet);
        button->setObjectName(QString::fromLatin1(name));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, slot);
        bottom->addWidget(button);
        return button;
    };
    addButton(tr("Check All"), "checkAllButton", &QIFController::checkAll);
    addButton(tr("Uncheck All"), "uncheckAllButton", &QIFController::uncheckAll);
    bottom->addStretch(1);
    addButton(tr("Cancel"), "cancelButton", &QIFController::cancel);
    addButton(tr("Import"), "importButton", &QIFController::done)->setDefault(true);
    connect(m_sheet, &QDialog::rejected, this, [this] { m_sheet->hide(); });

    auto* layout = new QVBoxLayout(m_sheet);
    layout->addLayout(top);
    layout->addWidget(m_splitter, 1);
    layout->addLayout(bottom);
}

void QIFController::loadImportQIFPanelWithVaultObject(ManagedObject* vault)
{
    auto* panel = new QFileDialog(m_window, tr("Import QIF"), QString(), tr("QIF files (*.qif *.QIF)"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setWindowModality(Qt::WindowModal);
    connect(panel, &QFileDialog::fileSelected, this,
            [this, vault](const QString& path) { loadImportQIFPanelWithQIFFile(path, vault); });
    panel->open();
}

bool QIFController::loadImportQIFPanelWithQIFFile(const QString& path, ManagedObject* vault)
{
    if (Status loaded = m_import.loadQIFFile(path); !loaded) {
        auto* alert = new QMessageBox(QMessageBox::Warning, tr("The file cannot be imported."), loaded.message(),
                                      QMessageBox::Ok, m_window);
        alert->setAttribute(Qt::WA_DeleteOnClose);
        alert->setWindowModality(Qt::WindowModal);
        alert->open();
        return false;
    }
    m_selectedVault = vault;
    m_sampleField->setText(m_import.dateFormatString().value_or(QString()));
    m_datePanel->open();
    return true;
}

void QIFController::dateFormatPanelContinue()
{
    m_datePanel->hide();
    // No pattern (a sample without two separators) reads no date: the sheet
    // then opens empty and the user can only cancel.
    const std::optional<QString> pattern =
        DateOrderPattern::patternFromSample(m_sampleField->text(), m_orderPopup->currentText());
    m_import.prepareQIFTransactions(pattern.value_or(QString()));
    prepareSheet(m_selectedVault);
}

void QIFController::dateFormatPanelCancel()
{
    m_datePanel->hide();
}

void QIFController::showImportPanelWithDelegate(ManagedObject* vault, std::vector<ValueDictionary> records)
{
    m_import.setQIFTransactions(std::move(records));
    prepareSheet(vault);
}

void QIFController::prepareSheet(ManagedObject* selectedVault)
{
    m_recordOrder->sort(-1);
    m_recordModel->reset();
    prepareAccountsPopup();
    m_vaultObject = QIFImport::targetForSelectedVault(selectedVault);
    setupPanesWithAccountID(vaultID());
    m_expandButton->setEnabled(m_vaultObject != nullptr);
    m_sheet->open();
}

void QIFController::prepareAccountsPopup()
{
    m_accountsPopup->clear();
    m_accountsPopup->addItem(tr("Import to Library"), QString());
    const std::vector<ManagedObject*> accounts = QIFImport::targetAccounts(*m_delegate.managedObjectContext());
    if (!accounts.empty())
        m_accountsPopup->insertSeparator(1);
    for (ManagedObject* account : accounts)
        m_accountsPopup->addItem(account->valueForKey(u"vault_title").toString(),
                                 account->valueForKey(u"vault_uniqueID").toString());
}

void QIFController::accountChoose(int index)
{
    const QString id = m_accountsPopup->itemData(index).toString();
    m_vaultObject = id.isEmpty() ? nullptr : QIFImport::targetForSelectedVault(m_delegate.fetchVaultObjectWithID(id));
    setupPanesWithAccountID(vaultID());
}

void QIFController::setupPanesWithAccountID(const QString& accountID)
{
    if (m_vaultObject) {
        m_accountsPopup->setCurrentIndex(m_accountsPopup->findData(accountID));
        m_accountModel->setTransactions(QIFImport::clearedTransactions(m_delegate, accountID));
        expandAccounts();
    } else {
        m_accountsPopup->setCurrentIndex(0);
        m_accountModel->setTransactions({});
        collapseAccounts();
    }
}

void QIFController::expandAccounts()
{
    m_accountTable->show();
    m_expandButton->setChecked(true);
    m_collapseButton->setChecked(false);
    m_splitter->setHandleWidth(8);
}

void QIFController::collapseAccounts()
{
    m_accountTable->hide();
    m_expandButton->setChecked(false);
    m_collapseButton->setChecked(true);
    m_splitter->setHandleWidth(0);
}

void QIFController::checkAll()
{
    m_import.checkAll();
    m_recordModel->checksChanged();
}

void QIFController::uncheckAll()
{
    m_import.uncheckAll();
    m_recordModel->checksChanged();
}

QString QIFController::vaultID() const
{
    return m_vaultObject ? m_vaultObject->valueForKey(u"vault_uniqueID").toString() : QString();
}

void QIFController::done()
{
    const std::vector<ValueDictionary>& records = m_import.QIFTransactions();
    std::vector<ValueDictionary> arranged;
    arranged.reserve(records.size());
    for (int row = 0; row < m_recordOrder->rowCount(); ++row)
        arranged.push_back(records[std::size_t(m_recordOrder->mapToSource(m_recordOrder->index(row, 0)).row())]);
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    QIFImport::insertTransactions(context, m_delegate, arranged, vaultID());
    if (Status saved = m_delegate.saveAction(); !saved)
        QMessageBox::warning(m_sheet, tr("The imported transactions could not be saved."), saved.message());
    m_sheet->hide();
    QString selected = vaultID();
    if (selected.isEmpty()) {
        const auto library = VaultLibrary::vaultsOfType(context, VaultType::MasterVault);
        if (!library.empty())
            selected = library.front()->valueForKey(u"vault_uniqueID").toString();
    }
    Q_EMIT importFinished(selected);
}

void QIFController::cancel()
{
    m_sheet->hide();
}

} // namespace qf
