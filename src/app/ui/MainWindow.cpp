#include "app/ui/MainWindow.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SoundPlayer.h"
#include "app/UserDefaults.h"
#include "app/ui/DatabaseBackup.h"
#include "app/ui/LockPanelController.h"
#include "app/ui/PreferencesController.h"
#include "app/ui/RecoveryQuestion.h"
#include "editing/ui/AccountTransferController.h"
#include "editing/ui/SmartRulesEditorController.h"
#include "editing/ui/TransEditController.h"
#include "editing/ui/TransMultiEditController.h"
#include "exchange/ui/CSVExportPanel.h"
#include "exchange/ui/PrintingController.h"
#include "exchange/StatementDownload.h"
#include "exchange/ui/OFXController.h"
#include "exchange/ui/QIFController.h"
#include "planning/BudgetLines.h"
#include "planning/ui/BudgetController2.h"
#include "planning/BillListQuery.h"
#include "planning/ui/BillManagerController.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/SourceListRows.h"
#include "views/ui/AccountController.h"
#include "views/ui/FolderController.h"
#include "views/ui/IconLibrary.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SmartController.h"
#include "views/ui/SmartFolderController.h"
#include "views/ui/SourceController.h"
#include "views/ui/SourceListModel.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>

namespace qf {

MainWindow::MainWindow(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QMainWindow(parent), m_delegate(delegate), m_source(new SourceController(delegate, this)),
      m_library(new LibraryController(delegate, this)),
      m_account(new AccountController(delegate, *m_library, m_library)),
      m_folder(new FolderController(delegate, *m_library, m_library)),
      m_smartFolder(new SmartFolderController(delegate, *m_library, m_library)),
      m_smartView(new SmartController(delegate, *m_library, m_library)), m_budget(new BudgetController2(delegate, this)),
      m_views(new QStackedWidget(this)), m_otherView(new QLabel(this)), m_status(new QLabel(this)),
      m_bills(new BillManagerController(delegate, this)), m_overdue(new QPushButton(this))
{
    setWindowTitle(QStringLiteral("Quillfen"));
    setWindowIcon(quillfenIcon(QStringLiteral("quillfen")));
    m_otherView->setAlignment(Qt::AlignCenter);
    m_otherView->setWordWrap(true);
    m_views->addWidget(m_library);
    m_views->addWidget(m_otherView);
    m_views->addWidget(m_account->onlineView());
    m_views->addWidget(m_budget);
    m_views->addWidget(m_bills);

    auto* splitter = new QSplitter(this);
    splitter->addWidget(m_source);
    splitter->addWidget(m_views);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({210, 790});
    splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter);
    statusBar()->addWidget(m_status, 1);
    m_overdue->setObjectName(QStringLiteral("overdueNote"));
    m_overdue->setFlat(true);
    m_overdue->setCursor(Qt::PointingHandCursor);
    m_overdue->setStyleSheet(QStringLiteral("QPushButton { color: #B91C1C; font-weight: bold; border: none; padding: 0 6px; }"));
    m_overdue->hide();
    statusBar()->addPermanentWidget(m_overdue);
    connect(m_overdue, &QPushButton::clicked, this, &MainWindow::showOverdueBills);
    resize(1100, 700);

    buildMenus();
    connect(m_source, &SourceController::vaultSelected, this, &MainWindow::prepareMainViewWithVaultObject);
    connect(m_source, &SourceController::smartFolderEditRequested, this, &MainWindow::editSmartFolderRules);
    connect(m_smartFolder, &FolderController::editRulesRequested, this, &MainWindow::editSmartFolderRules);
    connect(m_smartView, &SmartController::editRulesRequested, this, &MainWindow::editSmartFolderRules);
    connect(m_budget, &BudgetController2::lineActivated, this, &MainWindow::showBudgetLineTransactions);
    connect(m_library, &LibraryController::conditionLeft, this, [this] {
        m_shownBudgetLine.clear();
        prepareMainViewWithVaultObject(m_source->selectedVaultObject());
    });
    connect(m_source, &SourceController::transactionsDropped, m_library, &LibraryController::refresh);
    connect(m_account, &AccountController::mainViewChanged, m_views, &QStackedWidget::setCurrentWidget);
    connect(m_account, &AccountController::statementDownloaded, this, [this](const QString& path, ManagedObject* account) {
        if (StatementDownload::routeForPath(path) == StatementRoute::Qif)
            qifController()->loadImportQIFPanelWithQIFFile(path, account);
        else
            ofxController()->loadImportOFXPanelWithQIFFile(path, account);
    });
    connect(m_library, &LibraryController::balancesChanged, m_status, &QLabel::setText);
    connect(m_library, &LibraryController::selectionChanged, this, &MainWindow::updateCommands);
    connect(m_library, &LibraryController::transactionActivated, this, [this](ManagedObject* transaction) {
        if (transaction)
            transEditController()->showEditWithTransObject(*transaction);
    });
    connect(m_library, &LibraryController::transferRequested, this, &MainWindow::openTransfer);
    connect(m_library, &LibraryController::addRequested, this, &MainWindow::newTransaction);
    connect(m_library, &LibraryController::payRequested, this, &MainWindow::payBill);
    connect(m_bills, &BillManagerController::statusChanged, this, [this](const QString& line) {
        if (m_views->currentWidget() == m_bills)
            m_status->setText(line);
    });
    connect(m_delegate.managedObjectContext(), &ManagedObjectContext::objectsDidChange, this, &MainWindow::storeChanged);
    connect(&m_delegate, &Quillfen_AppDelegate::sourceListSetupRequested, this, &MainWindow::setupSourceList);
    m_lockPanel = new LockPanelController(*this);
}

void MainWindow::buildMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("New Account…"), this, [this] { m_source->newVault(VaultType::Account); });
    file->addAction(tr("New Budget…"), this, [this] { m_source->newVault(VaultType::Budget); });
    file->addAction(tr("New Folder…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), this,
                    [this] { m_source->newVault(VaultType::Playlist); });
    file->addAction(tr("New Smart Folder…"), this, [this] { m_source->newVault(VaultType::SmartPlaylist); });
    file->addSeparator();
    file->addAction(tr("Save"), QKeySequence::Save, this, &MainWindow::save);
    file->addSeparator();
    file->addAction(tr("Import QIF…"), this,
                    [this] { qifController()->loadImportQIFPanelWithVaultObject(m_source->selectedVaultObject()); });
    file->addAction(tr("Import OFX…"), this,
                    [this] { ofxController()->loadImportOFXPanelWithVaultObject(m_source->selectedVaultObject()); });
    file->addAction(tr("Export CSV…"), this, &MainWindow::exportCSV);
    file->addAction(tr("Print…"), QKeySequence::Print, this, &MainWindow::print);
    file->addSeparator();
    file->addAction(tr("Export Database…"), this, [this] { databaseBackup()->exportDatabase(); });
    file->addAction(tr("Import Database…"), this, [this] { databaseBackup()->importDatabase(); });
    file->addSeparator();
    m_lockDatabase = file->addAction(tr("Lock Database"), this, [this] { m_lockPanel->lockDatabase(); });
    connect(file, &QMenu::aboutToShow, this, [this] {
        m_lockDatabase->setEnabled(!m_lockPanel->databaseLocked() && LockPanelController::canLock());
    });
    file->addSeparator();
    QAction* quit = file->addAction(tr("Quit"), QKeySequence::Quit, this, &QWidget::close);
    quit->setMenuRole(QAction::QuitRole);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    m_undo = edit->addAction(tr("Undo"), QKeySequence::Undo, this, &MainWindow::undo);
    m_redo = edit->addAction(tr("Redo"), QKeySequence::Redo, this, &MainWindow::redo);
    edit->addSeparator();
    edit->addAction(tr("Find"), QKeySequence::Find, this, [this] {
        m_library->searchField()->setFocus();
        m_library->searchField()->selectAll();
    });
    edit->addSeparator();
    m_removeVault = edit->addAction(tr("Remove Item from Sidebar…"), this, [this] { m_source->removeVault(); });
    m_editRules = edit->addAction(tr("Edit Rules…"), this, [this] { editSmartFolderRules(m_source->selectedVaultObject()); });
    edit->addSeparator();
    QAction* preferences = edit->addAction(tr("Preferences…"), this, &MainWindow::openPreferences);
    preferences->setShortcuts({QKeySequence(QKeySequence::Preferences), QKeySequence(Qt::CTRL | Qt::Key_Comma)});
    preferences->setMenuRole(QAction::PreferencesRole);

    QMenu* transactions = menuBar()->addMenu(tr("&Transactions"));
    transactions->addAction(tr("New Transaction"), QKeySequence::New, this, &MainWindow::newTransaction);
    m_editTransaction = transactions->addAction(tr("Edit Transaction…"), QKeySequence(Qt::CTRL | Qt::Key_E), this,
                                                &MainWindow::editTransaction);
    transactions->addSeparator();
    QAction* remove = transactions->addAction(tr("Delete"), QKeySequence::Delete, this,
                                              [this] { m_library->removeTransaction(); });
    // Delete acts on the list only: the search field keeps its own Delete key.
    remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_library->tableView()->addAction(remove);
    transactions->addAction(tr("Duplicate"), QKeySequence(Qt::CTRL | Qt::Key_D), this, [this] { m_library->duplicate(); });
    transactions->addAction(tr("Mark as Pending"), this, [this] { m_library->markAsPending(); });
    transactions->addAction(tr("Reconcile…"), this, [this] { m_library->reconcileSelected(); });
    transactions->addSeparator();
    transactions->addAction(tr("Transfer…"), this, &MainWindow::openTransfer);

    QMenu* view = menuBar()->addMenu(tr("&View"));
    m_iconSize = view->addAction(m_source->toggleIconSizeTitle(), this, [this] { m_source->toggleVaultIconSize(); });
    connect(&UserDefaults::standard(), &UserDefaults::defaultsChanged, m_iconSize, [this](const QString& key) {
        if (key == DefaultsKey::SourceSize)
            m_iconSize->setText(m_source->toggleIconSizeTitle());
    });

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(tr("About Quillfen"), this, &MainWindow::openAboutBox);
    updateCommands();
}

void MainWindow::setupSourceList()
{
    m_source->refreshSourceTable();
    countOverdueBills();
    const QString toOpen = m_delegate.transIDToOpen();
    if (!toOpen.isEmpty()) {
        const auto libraries = m_delegate.fetchVaultObjectsWithType(VaultType::MasterVault);
        if (!libraries.empty())
            m_source->selectControllerWithID(libraries.front()->valueForKey(u"vault_uniqueID").toString());
        m_library->selectTransactionWithID(toOpen);
        m_delegate.setTransIDToOpen(QString());
    }
}

void MainWindow::prepareMainViewWithVaultObject(ManagedObject* vault)
{
    if (!vault)
        return;
    const QString type = vault->valueForKey(u"vault_type").toString();
    const QString vaultID = vault->valueForKey(u"vault_uniqueID").toString();
    m_delegate.setSelectedVaultID(vaultID);
    ManagedObject* budgetLine = nullptr;
    if (!m_shownBudgetLine.isEmpty()) {
        for (ManagedObject* line : m_delegate.managedObjectContext()->objects(ManagedObjectModel::shared().budget())) {
            if (line->valueForKey(u"budget_uniqueID").toString() == m_shownBudgetLine
                && line->valueForKey(u"budget_vaultID").toString() == vaultID)
                budgetLine = line;
        }
        if (!budgetLine)
            m_shownBudgetLine.clear();
    }
    if (type == VaultType::Budget && budgetLine) {
        m_library->prepareWithVaultObject(vault);
        const QString tags = budgetLine->valueForKey(u"budget_tags").toString();
        const QString direction = budgetLine->valueForKey(u"budget_direction").toString();
        m_library->setCondition(BudgetLines::transactionsPredicate(*budgetLine),
                                tr("%1 transactions tagged “%2” in %3, as the budget “%4” counts them")
                                    .arg(tr(qPrintable(direction)), tags,
                                         tr(qPrintable(BudgetLines::period(*vault))).toLower(),
                                         vault->valueForKey(u"vault_title").toString()),
                                tr("Back to Budget"));
        m_views->setCurrentWidget(m_library);
    } else if (type == VaultType::Budget) {
        m_views->setCurrentWidget(m_budget->prepareMainViewWithVaultObject(vault));
        m_status->clear();
    } else if (type == VaultType::Account) {
        m_views->setCurrentWidget(m_account->prepareMainViewWithVaultObject(vault));
    } else if (type == VaultType::Playlist) {
        m_views->setCurrentWidget(m_folder->prepareMainViewWithVaultObject(vault));
    } else if (type == VaultType::SmartPlaylist) {
        m_views->setCurrentWidget(m_smartFolder->prepareMainViewWithVaultObject(vault));
        m_smartView->prepare(vault);
    } else if (type == VaultType::BillManager) {
        m_views->setCurrentWidget(m_bills->prepareMainViewWithVaultObject(vault));
        m_status->setText(m_bills->statusLine());
    } else if (type == VaultType::MasterVault || type == VaultType::Untagged) {
        m_library->prepareWithVaultObject(vault);
        m_views->setCurrentWidget(m_library);
    } else {
        m_otherView->setText(QStringLiteral("<h2>%1</h2>").arg(vault->valueForKey(u"vault_title").toString().toHtmlEscaped()));
        m_views->setCurrentWidget(m_otherView);
        m_status->clear();
    }
    updateCommands();
}

void MainWindow::showBudgetLineTransactions(ManagedObject* line)
{
    ManagedObject* budget = m_source->selectedVaultObject();
    if (!line || !budget || line->valueForKey(u"budget_vaultID") != budget->valueForKey(u"vault_uniqueID"))
        return;
    m_shownBudgetLine = line->valueForKey(u"budget_uniqueID").toString();
    prepareMainViewWithVaultObject(budget);
}

void MainWindow::storeChanged()
{
    // Refreshing reads records, and reading an upcoming bill's status may mark
    // it pending: that change must not start another refresh.
    if (m_refreshing)
        return;
    m_refreshing = true;
    // Rebuilding the source list selects the shown vault again, which
    // prepares (and so refreshes) its view.
    m_source->refreshSourceTable();
    countOverdueBills();
    updateCommands();
    m_refreshing = false;
}

void MainWindow::countOverdueBills()
{
    const int overdue = BillListQuery::overdueCount(*m_delegate.managedObjectContext(), m_delegate.now());
    const auto bills = m_delegate.fetchVaultObjectsWithType(VaultType::BillManager);
    if (!bills.empty())
        m_source->model()->setBadge(bills.front()->valueForKey(u"vault_uniqueID").toString(), overdue);
    m_overdue->setText(overdue == 1 ? tr("1 bill overdue") : tr("%1 bills overdue").arg(overdue));
    m_overdue->setVisible(overdue > 0);
}

void MainWindow::showOverdueBills()
{
    const auto bills = m_delegate.fetchVaultObjectsWithType(VaultType::BillManager);
    if (bills.empty())
        return;
    m_source->selectControllerWithID(bills.front()->valueForKey(u"vault_uniqueID").toString());
    m_bills->display(QStringLiteral("All Items"));
}

void MainWindow::payBill(ManagedObject* bill)
{
    if (m_bills->payOffBillWithObject(bill))
        return;
    // Not paid: the bill is shown on the bills screen, where its accounts can be chosen.
    const auto bills = m_delegate.fetchVaultObjectsWithType(VaultType::BillManager);
    if (bills.empty())
        return;
    m_source->selectControllerWithID(bills.front()->valueForKey(u"vault_uniqueID").toString());
    if (!m_bills->selectBill(bill)) {
        m_bills->display(QStringLiteral("All Items"));
        m_bills->selectBill(bill);
    }
}

void MainWindow::updateCommands()
{
    UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
    m_undo->setEnabled(undo.canUndo());
    m_redo->setEnabled(undo.canRedo());
    m_removeVault->setEnabled(SourceListRows::canRemove(m_source->selectedVaultType()));
    m_editRules->setEnabled(m_source->selectedVaultType() == VaultType::SmartPlaylist);
    const bool anySelected = m_views->currentWidget() == m_library && m_library->selectedTransaction();
    m_editTransaction->setEnabled(anySelected);
}

void MainWindow::undo()
{
    ManagedObjectContext* context = m_delegate.managedObjectContext();
    context->processPendingChanges();
    if (context->undoManager().canUndo())
        context->undoManager().undo();
    context->processPendingChanges();
}

void MainWindow::redo()
{
    ManagedObjectContext* context = m_delegate.managedObjectContext();
    context->processPendingChanges();
    if (context->undoManager().canRedo())
        context->undoManager().redo();
    context->processPendingChanges();
}

void MainWindow::save()
{
    if (Status s = m_delegate.saveAction(); !s)
        QMessageBox::critical(this, tr("Could Not Save"), s.message());
}

PreferencesController* MainWindow::openPreferences()
{
    if (!m_preferences) {
        m_preferences = new PreferencesController(m_delegate, this);
        connect(m_preferences, &PreferencesController::localePreferenceChanged, this, [this] {
            m_source->refreshSourceTable();
            m_library->refresh();
            m_smartView->localePreferenceChanged();
            m_budget->refresh();
            m_bills->refresh();
        });
    }
    m_preferences->show();
    m_preferences->raise();
    m_preferences->activateWindow();
    return m_preferences;
}

TransEditController* MainWindow::transEditController()
{
    if (!m_transEdit)
        m_transEdit = new TransEditController(m_delegate, *m_library, this);
    return m_transEdit;
}

void MainWindow::newTransaction()
{
    // Other views (budgets, bills to come) add with no defaults.
    const bool listShown = m_views->currentWidget() == m_library;
    transEditController()->showAddWindowWithDefaults(listShown ? m_library->addDefaults() : ValueDictionary());
}

void MainWindow::editTransaction()
{
    const std::vector<ManagedObject*> selected = m_library->selectedTransactions();
    if (selected.size() == 1)
        transEditController()->showEditWithTransObject(*selected.front());
    else if (selected.size() > 1)
        editTransactions(selected);
    else
        SoundPlayer::shared().beep();
}

TransMultiEditController* MainWindow::editTransactions(const std::vector<ManagedObject*>& records)
{
    if (!m_multiEdit)
        m_multiEdit = new TransMultiEditController(m_delegate, m_library, this);
    return m_multiEdit->editTransObjects(records) ? m_multiEdit : nullptr;
}

SmartRulesEditorController* MainWindow::editSmartFolderRules(ManagedObject* vault)
{
    if (!vault || vault->valueForKey(u"vault_type").toString() != VaultType::SmartPlaylist)
        return nullptr;
    if (!m_smartRules) {
        m_smartRules = new SmartRulesEditorController(m_delegate, this);
        // The name may have changed, and the rules select anew.
        connect(m_smartRules, &SmartRulesEditorController::smartFolderEditingDone, this, [this](ManagedObject* edited) {
            m_source->refreshSourceTable();
            m_source->selectControllerWithID(edited->valueForKey(u"vault_uniqueID").toString());
        });
    }
    m_smartRules->loadEditSmartPanelWithVaultObject(*vault);
    return m_smartRules;
}

AccountTransferController* MainWindow::openTransfer()
{
    if (!m_transfer)
        m_transfer = new AccountTransferController(m_delegate, m_library, this);
    m_transfer->loadTransferPanelWithVaultObject(m_views->currentWidget() == m_library ? m_library->vault() : nullptr);
    return m_transfer;
}

void MainWindow::openAboutBox()
{
    QMessageBox::about(this, tr("About Quillfen"),
                       QStringLiteral("<h3>Quillfen</h3><p>%1</p><p>%2</p>")
                           .arg(tr("Version %1").arg(QStringLiteral(QUILLFEN_VERSION)),
                                tr("A personal-finance ledger for the Linux desktop.")));
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    using Reply = Quillfen_AppDelegate::TerminateReply;
    Reply reply = m_delegate.applicationShouldTerminate();
    if (reply == Reply::Later) {
        QMessageBox::critical(this, tr("Could Not Save"), m_delegate.saveError()->describe());
        QMessageBox box(QMessageBox::Warning, Quillfen_AppDelegate::saveFailedTitle(),
                        Quillfen_AppDelegate::saveFailedTitle(), QMessageBox::NoButton, this);
        box.setInformativeText(Quillfen_AppDelegate::saveFailedText());
        QPushButton* cancel = box.addButton(tr("Cancel"), QMessageBox::AcceptRole);
        box.addButton(tr("Quit"), QMessageBox::RejectRole);
        box.setDefaultButton(cancel);
        box.exec();
        reply = Quillfen_AppDelegate::replyToSaveFailedAlert(box.clickedButton() == cancel
                                                                 ? Quillfen_AppDelegate::SaveFailedButton::Cancel
                                                                 : Quillfen_AppDelegate::SaveFailedButton::Quit);
    }
    if (reply != Reply::Now) {
        event->ignore();
        return;
    }
    m_delegate.applicationWillTerminate();
    event->accept();
}

void MainWindow::offerRecoveredChanges()
{
    RecoveryQuestion::ask(this, m_delegate);
}

void MainWindow::exportCSV()
{
    CSVExportPanel::exportCSV(this, m_delegate, m_source->selectedVaultObject(), m_library->arrangedTransObjects());
}

void MainWindow::print()
{
    if (!m_printing)
        m_printing = new PrintingController(m_delegate, this);
    m_printing->loadPrintPanelWithObjects(m_library->arrangedTransObjects(), m_source->selectedVaultObject());
}

DatabaseBackup* MainWindow::databaseBackup()
{
    if (!m_databaseBackup)
        m_databaseBackup = new DatabaseBackup(m_delegate, *this);
    return m_databaseBackup;
}

QIFController* MainWindow::qifController()
{
    if (!m_qif) {
        m_qif = new QIFController(m_delegate, this);
        connect(m_qif, &QIFController::importFinished, m_source, &SourceController::selectControllerWithID);
    }
    return m_qif;
}

OFXController* MainWindow::ofxController()
{
    if (!m_ofx)
        m_ofx = new OFXController(*qifController(), this);
    return m_ofx;
}

} // namespace qf
