#pragma once

#include "views/TransactionIndexes.h"

#include <QFrame>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

namespace qf {

class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// An account's view: its transactions in the shared transaction list, with
// this pane above them showing the account's details (name, bank, type,
// number, web site, opening balance and balance) and the form that edits them.
class AccountController : public QFrame {
    Q_OBJECT

public:
    AccountController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent = nullptr);

    // Scopes the list to the account (its own transactions and the bills from
    // or to it), restores the account's filters, range, sort and presentation,
    // puts this pane above the list and returns the view to show.
    QWidget* prepareMainViewWithVaultObject(ManagedObject* account);
    ManagedObject* vault() const { return m_vault; }

    // Opens the edit form filled from the account.
    void editAccountInfo();
    // Saves the form (an empty name beeps, saves nothing and keeps the form
    // open) and goes back to the details. False when nothing was saved.
    bool saveEditAccountInfo();
    // Back to the details, nothing changed.
    void cancelEditAccountInfo();
    bool isEditing() const;

    // The details again from the store, e.g. after the list's transactions changed.
    void refreshInfoPanel();

private:
    QWidget* buildInfoPage();
    QWidget* buildEditPage();
    bool isShown() const;

    Quillfen_AppDelegate& m_delegate;
    LibraryController& m_library;
    ManagedObject* m_vault = nullptr;
    TransactionIndexes m_indexes;
    QStackedWidget* m_pages;
    QWidget* m_infoPage = nullptr;
    QWidget* m_editPage = nullptr;

    QLabel* m_icon = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_bank = nullptr;
    QLabel* m_typeIcon = nullptr;
    QLabel* m_type = nullptr;
    QLabel* m_number = nullptr;
    QLabel* m_url = nullptr;
    QLabel* m_opening = nullptr;
    QLabel* m_balance = nullptr;

    QLineEdit* m_nameField = nullptr;
    QLineEdit* m_bankField = nullptr;
    QComboBox* m_typeMenu = nullptr;
    QLineEdit* m_numberField = nullptr;
    QLineEdit* m_urlField = nullptr;
    QLineEdit* m_amountField = nullptr;
};

} // namespace qf
