#pragma once

#include <QDialog>
#include <vector>

class QComboBox;
class QLineEdit;
class QVBoxLayout;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;
class SmartViewCellController;

// The window-modal sheet that names a smart folder and composes its rules:
// a condition ("All" or "Any") and rule rows. OK stores them through
// SmartRules::store and saves the store.
class SmartRulesEditorController : public QDialog {
    Q_OBJECT

public:
    explicit SmartRulesEditorController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // Opens for a new smart folder, made on OK: empty name, one new row.
    void loadAddSmartPanel();
    // Opens on the vault's name, condition and rules (one new row when it has none).
    void loadEditSmartPanelWithVaultObject(ManagedObject& vault);

    // An empty name leaves the sheet open and changes nothing.
    void smartOK();
    void smartCancel() { reject(); }

    // A new row with a fresh date, appended.
    SmartViewCellController* createNewController();
    void removeRule(SmartViewCellController* row);
    void removeAllRules();
    const std::vector<SmartViewCellController*>& subviewControllers() const { return m_rows; }

    QLineEdit* nameField() const { return m_name; }
    QComboBox* conditionPopup() const { return m_condition; }
    // The vault being edited; null while adding.
    ManagedObject* vault() const { return m_vault; }

Q_SIGNALS:
    void smartFolderEditingDone(qf::ManagedObject* vault);

private:
    void open(const QString& name, const QString& condition);
    SmartViewCellController* appendRow();
    void updateRemoveButtons();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    QLineEdit* m_name;
    QComboBox* m_condition;
    QVBoxLayout* m_rowsLayout;
    std::vector<SmartViewCellController*> m_rows;
};

} // namespace qf
