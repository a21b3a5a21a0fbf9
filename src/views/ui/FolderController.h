#pragma once

#include "common/Value.h"

#include <QFrame>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

namespace qf {

class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// A folder's view: the folder's transactions in the shared transaction list,
// with this pane above them: the folder's name, whether it is shared, the
// share button and the form that renames it.
class FolderController : public QFrame {
    Q_OBJECT

public:
    FolderController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent = nullptr);

    // Scopes the list to the folder (a transaction added meanwhile joins it),
    // restores its filters, range, sort and presentation, puts this pane above
    // the list and returns the view to show.
    QWidget* prepareMainViewWithVaultObject(ManagedObject* folder);
    ManagedObject* vault() const { return m_vault; }
    // The folder's vault_uniqueID; empty when no folder is set.
    QString vaultID() const;
    ManagedObject* selectedTransaction() const;

    // The rename form: the folder's title and the sharing box.
    void editFolderName();
    // An empty name beeps and changes nothing (the form stays). Otherwise the
    // title is stored, sharing is switched by the box even when it did not
    // change, and the details show again. False when nothing was saved.
    bool saveEditFolderName();
    void cancelEditFolderName();
    bool isEditing() const;

    // The share button: its title says what it does.
    void shareThisFolder();
    void enableSharing();
    void disableSharing();
    QString shareButtonTitle() const;
    // "Yes" or "No".
    QString sharingLabel() const;

    void refreshInfoPanel();

Q_SIGNALS:
    // The pane's edit button on a folder that cannot be renamed here.
    void editRulesRequested(qf::ManagedObject* vault);

protected:
    // What differs for a smart folder, whose members are chosen by rules.
    virtual ValueDictionary addDefaults() const;
    virtual bool canRename() const { return true; }

private:
    QWidget* buildInfoPage();
    QWidget* buildEditPage();
    void setSharing(bool shared);
    bool isShown() const;

    Quillfen_AppDelegate& m_delegate;
    LibraryController& m_library;
    ManagedObject* m_vault = nullptr;
    QStackedWidget* m_pages;
    QWidget* m_infoPage = nullptr;
    QWidget* m_editPage = nullptr;
    QLabel* m_icon = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_shared = nullptr;
    QPushButton* m_shareButton = nullptr;
    QPushButton* m_editButton = nullptr;
    QLineEdit* m_nameField = nullptr;
    QCheckBox* m_shareBox = nullptr;
};

} // namespace qf
