#pragma once

#include <QList>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace qf {

class BudgetEditCell;
class ManagedObject;
class Quillfen_AppDelegate;
struct BudgetLineDraft;

// A budget's edit view: its name, and one row per line in two lists,
// incoming and outgoing. Done rebuilds every line from the rows.
class BudgetEditController : public QWidget {
    Q_OBJECT

public:
    explicit BudgetEditController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    void setVault(ManagedObject* budget) { m_vault = budget; }
    ManagedObject* vault() const { return m_vault; }

    // The name, and one empty row for each direction.
    void setupNewEditRules();
    // The name, and one row per stored line.
    void prepareRulesEdit();
    BudgetEditCell* createNewControllerWithDirection(const QString& direction);
    void removeRule(BudgetEditCell* cell);

    // Stores the name, checks the rows and rebuilds the lines; false, with
    // the bad field marked, when it stopped. True only when a line was made.
    bool finishEditing();

    const QList<BudgetEditCell*>& rows(const QString& direction) const;
    QLineEdit* nameField() const { return m_name; }
    QPushButton* doneButton() const { return m_done; }
    QPushButton* cancelButton() const { return m_cancel; }

Q_SIGNALS:
    void doneRequested();
    void cancelRequested();

private:
    void clearRows();
    BudgetEditCell* addRow(const BudgetLineDraft& row, int at = -1);
    QWidget* section(const QString& title, QVBoxLayout** rows);

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    QLineEdit* m_name;
    QVBoxLayout* m_incomingLayout = nullptr;
    QVBoxLayout* m_outgoingLayout = nullptr;
    QList<BudgetEditCell*> m_incoming;
    QList<BudgetEditCell*> m_outgoing;
    QPushButton* m_done;
    QPushButton* m_cancel;
};

} // namespace qf
