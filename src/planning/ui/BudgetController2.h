#pragma once

#include <QWidget>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

namespace qf {

class BudgetEditController;
class BudgetOverviewCell;
class ManagedObject;
class Quillfen_AppDelegate;

// A budget's screen: the overview of its lines against the chosen period,
// with the two savings lines, and the edit view that rebuilds the lines.
class BudgetController2 : public QWidget {
    Q_OBJECT

public:
    explicit BudgetController2(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // Shows the budget: its stored period, and the overview, or the edit
    // view with two empty rows when it has no lines. Preparing the budget
    // already shown keeps an edit in progress.
    QWidget* prepareMainViewWithVaultObject(ManagedObject* budget);
    ManagedObject* vault() const { return m_vault; }

    // The period menu's choice, stored on the budget.
    void showDateRange(const QString& period);
    void edit();
    // The edit view's Done: saves and returns to the overview, or stays
    // with the bad field marked.
    bool editDone();
    void cancelEdit();
    bool isEditing() const;

    ManagedObject* addNewBudgetItemWithDirection(const QString& direction);
    void removeAllBudgetItems();

    BudgetEditController* editController() const { return m_editor; }
    QComboBox* periodMenu() const { return m_period; }
    QPushButton* editButton() const { return m_edit; }
    const std::vector<BudgetOverviewCell*>& cells() const { return m_cells; }
    QString budgetedSavingsText() const;
    QString actualSavingsText() const;

    // Reads the figures again (after a store change).
    void refresh();

Q_SIGNALS:
    // A line's row was double-clicked: show the transactions it counts.
    void lineActivated(qf::ManagedObject* line);

private:
    QWidget* buildOverview();
    void reloadLines();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    QStackedWidget* m_pages;
    QWidget* m_overview = nullptr;
    BudgetEditController* m_editor;
    QLabel* m_title = nullptr;
    QComboBox* m_period = nullptr;
    QPushButton* m_edit = nullptr;
    QLabel* m_budgetedSavings = nullptr;
    QLabel* m_actualSavings = nullptr;
    QLabel* m_empty[2] = {nullptr, nullptr};
    QVBoxLayout* m_lists[2] = {nullptr, nullptr};
    std::vector<BudgetOverviewCell*> m_cells;
};

} // namespace qf
