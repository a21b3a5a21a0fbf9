#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QTabWidget;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// The sheet that makes a new account, budget, folder or smart folder; one
// tab per kind (0 Account, 1 Budget, 2 Folder, 3 Smart folder).
class AddVaultController : public QDialog {
    Q_OBJECT

public:
    AddVaultController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // Opens on the tab of the vault type ("Account", "Budget", "Playlist",
    // "Smart Playlist") with empty fields.
    void showForType(const QString& vaultType);
    // The vault made by the last "continue"; null before.
    ManagedObject* createdVault() const { return m_created; }

    void accept() override;

private:
    ManagedObject* createVaultObjectWithType(const QString& type, const QString& title);
    QLineEdit* nameField(int tab) const;

    Quillfen_AppDelegate& m_delegate;
    QTabWidget* m_tabs;
    QLineEdit* m_accountName;
    QLineEdit* m_bankName;
    QComboBox* m_accountType;
    QLineEdit* m_url;
    QLineEdit* m_initialAmount;
    QLineEdit* m_budgetName;
    QLineEdit* m_folderName;
    QCheckBox* m_folderShare;
    QLineEdit* m_smartName;
    QCheckBox* m_smartShare;
    ManagedObject* m_created = nullptr;
};

} // namespace qf
