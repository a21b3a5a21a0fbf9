#pragma once

#include "editing/TransEditForm.h"

#include <QWidget>
#include <vector>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPlainTextEdit;
class QToolButton;

namespace qf {

// The Details tab of the transaction editor: its inputs and nothing else.
// The editor copies the form's fields into the widgets (showFields) and back
// (collectFields) around every step of the form; the signals report only
// what the user did, never a change made by showFields.
class TransEditDetailsPane : public QWidget {
    Q_OBJECT

public:
    explicit TransEditDetailsPane(QWidget* parent = nullptr);

    // "None", a separator when there is an account, then one item per account.
    void setupAccounts(const std::vector<AccountChoice>& accounts);
    void showFields(const TransEditFields& fields);
    void collectFields(TransEditFields& fields) const;

    QLineEdit* titleField() const { return m_title; }
    QLineEdit* amountField() const { return m_amount; }
    QLineEdit* dateField() const { return m_date; }
    QLineEdit* toField() const { return m_to; }
    QLineEdit* fromField() const { return m_from; }
    QLineEdit* tagsField() const { return m_tags; }
    QPlainTextEdit* notesField() const { return m_notes; }
    QComboBox* typeSelector() const { return m_type; }
    QComboBox* repeatSelector() const { return m_repeat; }
    QComboBox* accountSelector() const { return m_account; }
    QCheckBox* pendingBox() const { return m_pending; }
    QCheckBox* calendarEventBox() const { return m_calendarEvent; }
    QToolButton* calendarButton() const { return m_calendarButton; }
    QToolButton* tagsButton() const { return m_tagsButton; }

Q_SIGNALS:
    void typeChanged();
    void pendingToggled(bool pending);
    void amountEditingFinished();
    void dateEditingFinished();
    void calendarRequested();
    void tagsRequested();

private:
    QLineEdit* lineEdit(const QString& objectName, const QString& placeholder);

    QComboBox* m_type;
    QComboBox* m_repeat;
    QComboBox* m_account;
    QCheckBox* m_pending;
    QCheckBox* m_calendarEvent;
    QLineEdit* m_title;
    QLineEdit* m_amount;
    QLineEdit* m_date;
    QToolButton* m_calendarButton;
    QLineEdit* m_to;
    QLineEdit* m_from;
    QLineEdit* m_tags;
    QToolButton* m_tagsButton;
    QPlainTextEdit* m_notes;
};

} // namespace qf
