#pragma once

#include <QMainWindow>
#include <vector>

class QAction;
class QLabel;
class QPushButton;
class QStackedWidget;

namespace qf {

class AccountController;
class BillManagerController;
class AccountTransferController;
class BudgetController2;
class DatabaseBackup;
class FolderController;
class LibraryController;
class LockPanelController;
class ManagedObject;
class PreferencesController;
class PrintingController;
class OFXController;
class QIFController;
class Quillfen_AppDelegate;
class SmartController;
class SmartRulesEditorController;
class SourceController;
class TransEditController;
class TransMultiEditController;

// The main window: the source list on the left, the selected vault's view on
// the right, the balance line below, and the menus. Quitting goes through the
// delegate's quit steps, which save the store.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    SourceController* sourceController() const { return m_source; }
    LibraryController* libraryController() const { return m_library; }
    SmartController* smartView() const { return m_smartView; }
    BudgetController2* budgetController() const { return m_budget; }
    // The transactions that make up a budget line's actual amount, in the
    // transaction list, with the budget still selected.
    void showBudgetLineTransactions(ManagedObject* line);
    BillManagerController* billManager() const { return m_bills; }
    // The status bar's note of overdue bills; hidden when there are none.
    QPushButton* overdueNote() const { return m_overdue; }
    // Shows the bills with "All Items", from the overdue note or badge.
    void showOverdueBills();
    LockPanelController* lockPanel() const { return m_lockPanel; }
    // Made on first use and kept; brought to the front.
    PreferencesController* openPreferences();
    // Export Database… and Import Database…, made on first use and kept.
    DatabaseBackup* databaseBackup();
    // The import sheet, made on first use and kept; the OFX route enters it too.
    QIFController* qifController();
    OFXController* ofxController();
    // The transaction editor, made on first use and kept.
    TransEditController* transEditController();

    // The sheet that changes several transactions at once, opened on the
    // records; null, and nothing opened, for none. Made on first use and kept.
    TransMultiEditController* editTransactions(const std::vector<ManagedObject*>& records);
    // The transfer sheet, opened with the vault the list shows (none when
    // another view is shown). Made on first use and kept.
    AccountTransferController* openTransfer();

    // The rule sheet opened on a smart folder; null, and nothing opened, for
    // another vault. Made on first use and kept.
    SmartRulesEditorController* editSmartFolderRules(ManagedObject* vault);

    // First fill after launching, and again after a search-index file was opened.
    void setupSourceList();
    // When the last session ended without saving and kept its changes, asks
    // whether to apply them or set them aside.
    void offerRecoveredChanges();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    void prepareMainViewWithVaultObject(ManagedObject* vault);
    void storeChanged();
    void countOverdueBills();
    void payBill(ManagedObject* bill);
    void updateCommands();
    void undo();
    void redo();
    void save();
    void openAboutBox();
    void newTransaction();
    void editTransaction();
    void exportCSV();
    void print();

    Quillfen_AppDelegate& m_delegate;
    SourceController* m_source;
    LibraryController* m_library;
    AccountController* m_account;
    FolderController* m_folder;
    FolderController* m_smartFolder;
    SmartController* m_smartView;
    BudgetController2* m_budget;
    // The budget line whose transactions the list shows for its budget.
    QString m_shownBudgetLine;
    QStackedWidget* m_views;
    QLabel* m_otherView;
    QLabel* m_status;
    BillManagerController* m_bills;
    QPushButton* m_overdue;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_removeVault = nullptr;
    QAction* m_iconSize = nullptr;
    QAction* m_lockDatabase = nullptr;
    QAction* m_editTransaction = nullptr;
    QAction* m_editRules = nullptr;
    LockPanelController* m_lockPanel = nullptr;
    PreferencesController* m_preferences = nullptr;
    TransEditController* m_transEdit = nullptr;
    PrintingController* m_printing = nullptr;
    TransMultiEditController* m_multiEdit = nullptr;
    SmartRulesEditorController* m_smartRules = nullptr;
    AccountTransferController* m_transfer = nullptr;
    QIFController* m_qif = nullptr;
    DatabaseBackup* m_databaseBackup = nullptr;
    OFXController* m_ofx = nullptr;
    bool m_refreshing = false;
};

} // namespace qf
