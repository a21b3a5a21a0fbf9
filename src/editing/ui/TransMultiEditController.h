#pragma once

#include "editing/TransMultiEditForm.h"

#include <QDialog>
#include <array>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;

namespace qf {

class FieldCompleter;
class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// The window-modal sheet that changes several transactions at once: eight
// rows, each a box saying whether "Done" writes the field, and its input.
// The widgets mirror a TransMultiEditForm, which decides and writes.
class TransMultiEditController : public QDialog {
    Q_OBJECT

public:
    using Field = TransMultiEditForm::Field;

    // The list is asked to refresh after "Done"; it may be null.
    TransMultiEditController(Quillfen_AppDelegate& delegate, LibraryController* list, QWidget* parent = nullptr);

    // Does nothing and returns false for an empty selection. Otherwise fills
    // every row from the records' common values and opens the sheet.
    bool editTransObjects(const std::vector<ManagedObject*>& records);

    // Writes every checked field to every record, closes, refreshes the list.
    void done();
    using QDialog::done;
    // Closes without writing.
    void cancel() { reject(); }

    const TransMultiEditForm& form() const { return m_form; }
    // The box that says whether the field is written.
    QCheckBox* buttonForField(Field field) const { return m_boxes[int(field)]; }
    // The text input of title, amount, to, from, tags or notes; null otherwise.
    QLineEdit* textField(Field field) const;
    QComboBox* accountPopup() const { return m_account; }
    QComboBox* repeatPopup() const { return m_repeat; }
    FieldCompleter* titleCompleter() const { return m_titleCompleter; }
    FieldCompleter* tagsCompleter() const { return m_tagsCompleter; }

private:
    static constexpr int TextFieldCount = 6; // title to notes, in the order of Field

    void textDidChange(Field field);
    void amountDidEndEditing();
    void setupFields();
    void showBox(Field field);

    Quillfen_AppDelegate& m_delegate;
    LibraryController* m_list;
    TransMultiEditForm m_form;
    QLabel* m_heading;
    std::array<QCheckBox*, TransMultiEditForm::FieldCount> m_boxes{};
    std::array<QLineEdit*, TextFieldCount> m_texts{};
    QComboBox* m_account;
    QComboBox* m_repeat;
    FieldCompleter* m_titleCompleter = nullptr;
    FieldCompleter* m_tagsCompleter = nullptr;
};

} // namespace qf
