#pragma once

#include "attachments/AttachmentStaging.h"

#include <QWidget>
#include <vector>

class QLineEdit;
class QModelIndex;
class QStandardItemModel;
class QTableView;
class QToolButton;

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// The files pane of the transaction editor: a table of the transaction's
// attachments with search, add, remove, drop and open. Additions and removals
// stay staged (see AttachmentStaging) until the editor saves.
class TransAttachmentsController : public QWidget {
    Q_OBJECT

public:
    // The delegate must outlive the pane.
    explicit TransAttachmentsController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);

    void setTransID(const QString& transID);
    // Shows these records and forgets anything staged; the search is cleared.
    void setCurrentAttachments(const std::vector<ManagedObject*>& attachments);
    // The transaction's id and its attachments ("attachment_transParentID == id").
    void showRecord(ManagedObject& transaction);
    // The editor's save step: staged additions copied and recorded, removals
    // deleted and their files moved to the Trash. The context is not saved.
    // Returns the files that failed; their records are kept.
    std::vector<AttachmentFileFailure> saveToRecord(ManagedObject& transaction);

    AttachmentStaging& staging() { return m_staging; }
    // Stages the files and shows them.
    void addFilesToDatabase(const QStringList& paths);
    // The selected row's attachment_uniqueID; empty when none is selected.
    QString selectedAttachmentID() const;

    QTableView* attTableView() const { return m_tableView; }
    QLineEdit* searchField() const { return m_searchField; }
    QToolButton* addButton() const { return m_addButton; }
    QToolButton* removeButton() const { return m_removeButton; }

public Q_SLOTS:
    void addAttachment();
    void removeAttachment();
    void search(const QString& text);
    void doubleClicked(const QModelIndex& index);

protected:
    // Delete and Backspace remove the selected row, like "−".
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void reloadRows();
    void updateButtons();

    Quillfen_AppDelegate& m_delegate;
    AttachmentStaging m_staging;
    QStandardItemModel* m_model = nullptr;
    QTableView* m_tableView = nullptr;
    QLineEdit* m_searchField = nullptr;
    QToolButton* m_addButton = nullptr;
    QToolButton* m_removeButton = nullptr;
};

} // namespace qf
