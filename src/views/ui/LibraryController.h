#pragma once

#include "common/Value.h"
#include "views/TransactionIndexes.h"
#include "views/TransactionQuery.h"

#include <QPointer>
#include <QWidget>
#include <memory>

class QAbstractItemView;
class QButtonGroup;
class QHBoxLayout;
class QFrame;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QTableView;
class QToolButton;
class QVBoxLayout;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;
class TransactionIconView;
class TransactionTableModel;

// The transaction list shown for the library, an account, a folder, a smart
// folder, the untagged view and the bills: filter buttons, search, date
// range, sort, the table and its balance line. Every choice is stored on the
// vault so that each vault reopens as it was left, the presentation (a
// table or cards, vault_viewBy "ListView" or "IconView") included.
class LibraryController : public QWidget {
    Q_OBJECT

public:
    explicit LibraryController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);
    ~LibraryController() override;

    // Shows the vault's list. Each prepare removes the info pane of the vault
    // shown before; a view with a pane of its own sets it afterwards.
    // addDefaults are the values a transaction added while this vault is
    // shown starts with (a folder's trans_listIDs); none for most vaults.
    void prepareWithVaultObject(ManagedObject* vault, ValueDictionary addDefaults = {});
    ManagedObject* vault() const { return m_vault; }
    const ValueDictionary& addDefaults() const { return m_addDefaults; }

    // A pane above the list with the shown vault's details; null removes it.
    // The library becomes the pane's parent but never deletes it on removal.
    void setInfoPane(QWidget* pane);
    QWidget* infoPane() const { return m_infoPane; }
    // A pane below the list about what it shows; null removes it, and each
    // prepare removes it as it does the info pane.
    void setDetailsPane(QWidget* pane);
    QWidget* detailsPane() const { return m_detailsPane; }

    // Another screen's condition on top of the list's own (a budget line's
    // transactions), with a bar above the list that says what it is and a
    // button that leaves it. Kept while the same vault is prepared again;
    // gone when another vault is shown.
    void setCondition(const Predicate& condition, const QString& description, const QString& leaveTitle);
    bool hasCondition() const { return !m_condition.isNull(); }
    QString conditionDescription() const;

    // The presentation, stored on the vault. Anything but "IconView" shows the table.
    void switchToListView();
    void switchToIconView();
    bool isShowingIcons() const;
    // "FilterAll", "FilterIncoming" or "FilterOutgoing", stored on the vault.
    void setDirectionFilter(const QString& filter);
    // The table or the cards, whichever is shown.
    QAbstractItemView* currentView() const;

    // Runs the query again after any change of filter, range, search or store.
    void filterWithSearchString(const QString& text);
    void refresh();

    std::vector<ManagedObject*> selectedTransactions() const;
    ManagedObject* selectedTransaction() const;
    bool selectTransactionWithID(const QString& uniqueID);
    void selectTransactionAtRow(int row);
    const std::vector<ManagedObject*>& arrangedTransObjects() const;
    Balances balances() const { return m_balances; }
    QString balanceLine() const;

    // Commands on the selection; each asks what it must first.
    void removeTransaction();
    void duplicate();
    void markAsPending();
    void reconcileSelected();
    // The attached-files menu rebuilt for the selected transaction.
    void setupFilesPopup();

    QLineEdit* searchField() const { return m_search; }
    QToolButton* reconcileButton() const { return m_reconcileButton; }
    QTableView* tableView() const { return m_table; }
    TransactionIconView* iconView() const { return m_icons; }

Q_SIGNALS:
    void selectionChanged();
    void balancesChanged(const QString& line);
    // The table or the cards came to be shown.
    void presentationChanged();
    // Return or a double click on a transaction, in either presentation.
    void transactionActivated(qf::ManagedObject* transaction);
    // The list's Transfer button: money is to move between accounts.
    void transferRequested();
    // The list's "+" button: a new transaction with this list's defaults.
    void addRequested();
    // The condition bar's button was pressed; the condition is gone.
    void conditionLeft();
    // The Pay button on an upcoming transaction: the bill is to be paid.
    void payRequested(qf::ManagedObject* bill);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void setViewBy(const QString& viewBy);
    void setupViewBy();
    void setTypeFilter(const QString& filter);
    void displayDateRange(const QString& item);
    void sortTransBy(const QString& title);
    void updateButtons();
    void setupReconcileButton();
    QToolButton* filterButton(const QString& icon, const QString& text, QButtonGroup* group, int tag,
                              const QString& tip = {});
    void fitFilterButtons();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    ValueDictionary m_addDefaults;
    QPointer<QWidget> m_infoPane;
    QPointer<QWidget> m_detailsPane;
    Predicate m_condition;
    QFrame* m_conditionBar;
    QLabel* m_conditionText;
    QToolButton* m_leaveCondition;
    QVBoxLayout* m_layout;
    QHBoxLayout* m_bar;
    ListQuery m_query;
    TransactionIndexes m_indexes;
    Balances m_balances;
    TransactionTableModel* m_model;
    QTableView* m_table;
    TransactionIconView* m_icons;
    QStackedWidget* m_presentation;
    QButtonGroup* m_viewButtons;
    QLineEdit* m_search;
    QButtonGroup* m_directionButtons;
    QButtonGroup* m_typeButtons;
    QToolButton* m_rangeButton;
    QToolButton* m_sortButton;
    QToolButton* m_reconcileButton;
    QToolButton* m_filesButton;
    std::vector<QToolButton*> m_filterButtons;
    bool m_compactFilters = false;
    int m_compactSavings = 0;
};

} // namespace qf
