#pragma once

#include "editing/SmartRule.h"

#include <QWidget>

class QComboBox;
class QDateTimeEdit;
class QLineEdit;
class QToolButton;

namespace qf {

class FieldCompleter;
class Quillfen_AppDelegate;

// One row of the smart-folder rule sheet: the field, its operator and the
// value widgets of that field, with + and − buttons. The row only shows and
// edits a SmartRule; SmartRule decides what the rule selects.
class SmartViewCellController : public QWidget {
    Q_OBJECT

public:
    // The accounts of the account pop-up are read once, here.
    explicit SmartViewCellController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    // The row's rule with its id and date; values of fields other than the
    // shown one are left at their defaults.
    SmartRule rule() const;
    // Shows the rule; an unknown field or operator shows the first one.
    void setRule(const SmartRule& rule);

    QString uniqueID() const { return m_uniqueID; }

    // Shows the field with its view reset, as choosing it in the pop-up does.
    void keyChange(const QString& field);

    QComboBox* fieldPopup() const { return m_field; }
    QComboBox* operandPopup() const { return m_operand; }
    QLineEdit* textField() const { return m_text; }
    QLineEdit* amountField(int which) const { return which == 0 ? m_amountFirst : m_amountSecond; }
    QDateTimeEdit* datePicker(int which) const { return which == 0 ? m_dateFirst : m_dateSecond; }
    QLineEdit* tagsField() const { return m_tags; }
    FieldCompleter* tagsCompleter() const { return m_tagsCompleter; }
    QComboBox* accountPopup() const { return m_account; }
    QComboBox* typePopup() const { return m_type; }
    QToolButton* addButton() const { return m_add; }
    QToolButton* removeButton() const { return m_remove; }

Q_SIGNALS:
    void addNewRule();
    void removeRule();

private:
    QString field() const;
    QString operand() const;
    void setupCleanView();
    void fillOperands(const QString& field);
    void operandChange();
    void showValueWidgets();
    double amountOf(const QLineEdit& field) const;
    void reformatAmount(QLineEdit& field);

    Quillfen_AppDelegate& m_delegate;
    QString m_uniqueID;
    AbsoluteTime m_date = 0;
    QComboBox* m_field;
    QComboBox* m_operand;
    QLineEdit* m_text;
    QLineEdit* m_amountFirst;
    QLineEdit* m_amountSecond;
    QDateTimeEdit* m_dateFirst;
    QDateTimeEdit* m_dateSecond;
    QLineEdit* m_tags;
    FieldCompleter* m_tagsCompleter;
    QComboBox* m_account;
    QComboBox* m_type;
    QToolButton* m_add;
    QToolButton* m_remove;
};

} // namespace qf
