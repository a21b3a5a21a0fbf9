#pragma once

#include "views/TransactionIndexes.h"
#include "views/TransactionQuery.h"

#include <QWidget>
#include <memory>

class QButtonGroup;
class QLineEdit;
class QTableView;
class QToolButton;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;
class TransactionTableModel;

// The transaction list shown for the library, an account, a folder, a smart
// folder, the untagged view and the bills: filter buttons, search, date
// range, sort, the table and its balance line. Every choice is stored on the
// vault so that each vault reopens as it was left.
class LibraryController : public QWidget {
    Q_OBJECT

public:
    explicit LibraryController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);
    ~LibraryController() override;

    void prepareWithVaultObject(ManagedObject* vault);
    ManagedObject* vault() const { return m_vault; }

    // Runs the query again after any change of filter, range, search or store.
    void filterWithSearchString(const QString& text);
    void refresh();

    std::vector<ManagedObject*> selectedTransactions() const;
    ManagedObject* selectedTransaction() const;
    bool selectTransactionWithID(const QString& uniqueID);
    const std::vector<ManagedObject*>& arrangedTransObjects() const;
    Balances balances() const { return m_balances; }
    QString balanceLine() const;

    // Commands on the selection; each asks what it must first.
    void removeTransaction();
    void duplicate();
    void markAsPending();
    void reconcileSelected();

    QLineEdit* searchField() const { return m_search; }
    QTableView* tableView() const { return m_table; }

Q_SIGNALS:
    void selectionChanged();
    void balancesChanged(const QString& line);

private:
    void setDirectionFilter(const QString& filter);
    void setTypeFilter(const QString& filter);
    void displayDateRange(const QString& item);
    void sortTransBy(const QString& title);
    void updateButtons();
    void setupReconcileButton();
    void setupFilesPopup();
    QToolButton* filterButton(const QString& icon, const QString& tip, QButtonGroup* group, int tag);

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    ListQuery m_query;
    TransactionIndexes m_indexes;
    Balances m_balances;
    TransactionTableModel* m_model;
    QTableView* m_table;
    QLineEdit* m_search;
    QButtonGroup* m_directionButtons;
    QButtonGroup* m_typeButtons;
    QToolButton* m_rangeButton;
    QToolButton* m_sortButton;
    QToolButton* m_reconcileButton;
    QToolButton* m_filesButton;
};

} // namespace qf
