#pragma once

#include <QFrame>

class QComboBox;
class QCompleter;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QToolButton;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// One row of the bill list: the bill shown (display), its fields open for
// change (edit), or nothing (blank). The type and account menus write to the
// bill as soon as they change; the other fields wait for Save.
class BillCell : public QFrame {
    Q_OBJECT

public:
    enum class State { Display, Edit, Blank };

    BillCell(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // Null shows the blank row.
    void setBill(ManagedObject* bill);
    ManagedObject* bill() const { return m_bill; }
    State state() const { return m_state; }
    // Shows the bill's current values again (display state only).
    void updateDisplay();

    void edit();
    // False, with the first empty or unreadable field marked, when nothing was stored.
    bool save();
    void cancel();
    void changeType();
    void changeIncomingAccount();
    void changeOutgoingAccount();
    void changeFromAccount();
    void changeToAccount();

    void setSelected(bool selected);
    bool isSelected() const { return m_selected; }
    // Every other row is shaded, as in the transaction list.
    void setAlternate(bool alternate);

    QLineEdit* titleField() const { return m_title; }
    QLineEdit* tagsField() const { return m_tags; }
    QLineEdit* amountField() const { return m_amount; }
    QLineEdit* dateField() const { return m_date; }
    QToolButton* calendarButton() const { return m_calendar; }
    QComboBox* repeatMenu() const { return m_repeat; }
    QComboBox* typeMenu() const { return m_type; }
    QComboBox* accountMenu() const { return m_account; }
    QComboBox* fromAccountMenu() const { return m_from; }
    QComboBox* toAccountMenu() const { return m_to; }
    QCompleter* tagCompleter() const { return m_completer; }
    QLabel* statusLabel() const { return m_statusLabel; }

Q_SIGNALS:
    void clicked(qf::BillCell* cell);
    void doubleClicked(qf::BillCell* cell);
    void saved(qf::BillCell* cell);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showPage(int index);
    QWidget* buildDisplay();
    QWidget* buildEdit();
    void fillAccountMenus();
    void showAccountMenusForType();
    void completeTags();
    void applyStyle();

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_bill = nullptr;
    State m_state = State::Blank;
    bool m_selected = false;
    bool m_alternate = false;
    bool m_filling = false;
    QStackedWidget* m_pages;
    // display
    QLabel* m_titleLabel = nullptr;
    QLabel* m_tagsLabel = nullptr;
    QLabel* m_amountLabel = nullptr;
    QLabel* m_dateLabel = nullptr;
    QLabel* m_statusLabel = nullptr;
    QLabel* m_detailLabel = nullptr;
    // edit
    QLineEdit* m_title = nullptr;
    QLineEdit* m_tags = nullptr;
    QLineEdit* m_amount = nullptr;
    QLineEdit* m_date = nullptr;
    QToolButton* m_calendar = nullptr;
    QComboBox* m_repeat = nullptr;
    QComboBox* m_type = nullptr;
    QComboBox* m_account = nullptr;
    QComboBox* m_from = nullptr;
    QComboBox* m_to = nullptr;
    QLabel* m_fromLabel = nullptr;
    QLabel* m_toLabel = nullptr;
    QLabel* m_accountLabel = nullptr;
    QCompleter* m_completer = nullptr;
    QStringList m_allTags;
};

} // namespace qf
