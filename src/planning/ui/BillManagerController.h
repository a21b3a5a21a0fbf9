#pragma once

#include "planning/BillListQuery.h"

#include <QHash>
#include <QWidget>
#include <memory>
#include <vector>

class QButtonGroup;
class QLineEdit;
class QScrollArea;
class QToolButton;
class QVBoxLayout;

namespace qf {

class BillCell;
class ManagedObject;
class Quillfen_AppDelegate;

// The bills screen: every upcoming transaction as a row edited in place,
// narrowed by due range, direction and search, sorted, added, removed and
// paid. Its choices are kept on the bills vault.
class BillManagerController : public QWidget {
    Q_OBJECT

public:
    explicit BillManagerController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);
    ~BillManagerController() override;

    // Shows the vault's bills with its stored choices; the same vault again
    // only refreshes, so a row being edited stays open.
    QWidget* prepareMainViewWithVaultObject(ManagedObject* vault);
    ManagedObject* vault() const { return m_vault; }

    void display(const QString& rangeItem);
    void sort(const QString& sortItem);
    void selectFilterItem(const QString& filter);
    void search(const QString& text);
    void refresh();

    ManagedObject* addBill();
    void removeBill();
    void payBill();
    // Pays with the sheets: "Missing Account", a second payment today, "Bill Paid". False when nothing was
    // paid for want of an account or a next date.
    bool payOffBillWithObject(ManagedObject* bill);

    bool selectBill(ManagedObject* bill);
    ManagedObject* selectedBill() const;
    const std::vector<ManagedObject*>& arrangedBills() const { return m_arranged; }
    BillCell* cellForBill(ManagedObject* bill) const;
    BillCell* blankCell() const { return m_blank; }
    const BillListSettings& settings() const { return m_settings; }
    // The count line for the status bar, as last sent by statusChanged().
    const QString& statusLine() const { return m_statusLine; }

    QLineEdit* searchField() const { return m_search; }
    QToolButton* rangeButton() const { return m_rangeButton; }
    QToolButton* sortButton() const { return m_sortButton; }
    QToolButton* payButton() const { return m_payButton; }
    QButtonGroup* filterButtons() const { return m_filters; }

Q_SIGNALS:
    void statusChanged(const QString& line);

private:
    void selectCell(BillCell* cell);
    void updateButtons();
    void storeChoices();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    BillListSettings m_settings;
    std::unique_ptr<BillDueRanges> m_ranges;
    std::vector<ManagedObject*> m_arranged;
    QHash<ManagedObject*, BillCell*> m_cells;
    BillCell* m_blank;
    ManagedObject* m_selected = nullptr;
    QVBoxLayout* m_rows;
    QScrollArea* m_scroll;
    QButtonGroup* m_filters;
    QToolButton* m_rangeButton;
    QToolButton* m_sortButton;
    QToolButton* m_payButton;
    QToolButton* m_removeButton;
    QLineEdit* m_search;
    bool m_refreshing = false;
    QString m_statusLine;
};

} // namespace qf
