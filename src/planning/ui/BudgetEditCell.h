#pragma once

#include "planning/BudgetLines.h"

#include <QWidget>

class QComboBox;
class QLineEdit;
class QToolButton;

namespace qf {

class FieldCompleter;
class Quillfen_AppDelegate;

// One row of a budget's edit view: the tags a line counts, its limit and the
// interval the limit is for, with buttons to add a row below or remove this one.
class BudgetEditCell : public QWidget {
    Q_OBJECT

public:
    BudgetEditCell(Quillfen_AppDelegate& delegate, const BudgetLineDraft& row, QWidget* parent = nullptr);

    // The row as it stands: identifier and direction as loaded, the rest as typed.
    BudgetLineDraft row() const;
    QString tagsString() const;
    void setTagsString(const QString& tags);
    double amountLimitNumber() const;
    QString dateRangeString() const;

    QLineEdit* tagField() const { return m_tags; }
    QLineEdit* limitField() const { return m_limit; }
    QComboBox* intervalMenu() const { return m_interval; }
    QToolButton* addButton() const { return m_add; }
    QToolButton* removeButton() const { return m_remove; }

Q_SIGNALS:
    void addRequested(const QString& direction);
    void removeRequested(qf::BudgetEditCell* cell);

private:
    void reformatLimit();

    Quillfen_AppDelegate& m_delegate;
    BudgetLineDraft m_row;
    QLineEdit* m_tags;
    QLineEdit* m_limit;
    QComboBox* m_interval;
    QToolButton* m_add;
    QToolButton* m_remove;
    FieldCompleter* m_completer;
};

} // namespace qf
