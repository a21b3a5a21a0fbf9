#pragma once

#include "common/Value.h"
#include "exchange/QIFImport.h"

#include <QObject>
#include <QString>
#include <vector>

class QComboBox;
class QDialog;
class QLineEdit;
class QSortFilterProxyModel;
class QSplitter;
class QTableView;
class QToolButton;
class QWidget;

namespace qf {

class ImportRecordModel;
class ManagedObject;
class Quillfen_AppDelegate;
class TransactionTableModel;

// The import sheet shared by QIF files and the OFX route: the records with
// check boxes, beside the target account's cleared transactions, and the
// target pop-up. For a QIF file a date panel first asks in which order the
// file writes day, month and year. Import makes one transaction per checked
// row in the table's order, saves, closes and asks for the target to be
// selected (importFinished). The window is made once and kept.
class QIFController : public QObject {
    Q_OBJECT

public:
    // Sheets open window-modal on the window.
    QIFController(Quillfen_AppDelegate& delegate, QWidget* window);
    ~QIFController() override;

    // Asks for a .qif file, then goes on as below; nothing on cancel.
    void loadImportQIFPanelWithVaultObject(ManagedObject* vault);
    // Reads the file and shows the date panel with its sample date. A file
    // that is not 7-bit ASCII shows an alert instead and returns false.
    bool loadImportQIFPanelWithQIFFile(const QString& path, ManagedObject* vault);
    void dateFormatPanelContinue();
    void dateFormatPanelCancel();
    // The OFX route: the records as they are (unchecked without "shouldImport").
    void showImportPanelWithDelegate(ManagedObject* vault, std::vector<ValueDictionary> records);

    // The sheet's controls. Index 0 of the pop-up is the library.
    void accountChoose(int index);
    void expandAccounts();
    void collapseAccounts();
    void checkAll();
    void uncheckAll();
    void done();
    void cancel();

    // The target's vault_uniqueID; empty for the library.
    QString vaultID() const;
    ManagedObject* vaultObject() const { return m_vaultObject; }
    QIFImport& importCore() { return m_import; }

    QDialog* datePanel() const { return m_datePanel; }
    QLineEdit* sampleField() const { return m_sampleField; }
    QComboBox* orderPopup() const { return m_orderPopup; }
    QDialog* sheet() const { return m_sheet; }
    QComboBox* accountsPopup() const { return m_accountsPopup; }
    QTableView* recordsTable() const { return m_recordsTable; }
    QTableView* accountTable() const { return m_accountTable; }
    QToolButton* expandButton() const { return m_expandButton; }
    QToolButton* collapseButton() const { return m_collapseButton; }
    QSplitter* splitter() const { return m_splitter; }

Q_SIGNALS:
    // After an import: the vault the source list should select.
    void importFinished(const QString& vaultID);

private:
    void buildDatePanel();
    void buildSheet();
    void prepareSheet(ManagedObject* selectedVault);
    void prepareAccountsPopup();
    void setupPanesWithAccountID(const QString& accountID);

    Quillfen_AppDelegate& m_delegate;
    QWidget* m_window;
    QIFImport m_import;
    ManagedObject* m_selectedVault = nullptr;
    ManagedObject* m_vaultObject = nullptr;

    QDialog* m_datePanel = nullptr;
    QLineEdit* m_sampleField = nullptr;
    QComboBox* m_orderPopup = nullptr;
    QDialog* m_sheet = nullptr;
    QComboBox* m_accountsPopup = nullptr;
    QToolButton* m_expandButton = nullptr;
    QToolButton* m_collapseButton = nullptr;
    QSplitter* m_splitter = nullptr;
    QTableView* m_accountTable = nullptr;
    QTableView* m_recordsTable = nullptr;
    TransactionTableModel* m_accountModel = nullptr;
    ImportRecordModel* m_recordModel = nullptr;
    QSortFilterProxyModel* m_recordOrder = nullptr;
};

} // namespace qf
