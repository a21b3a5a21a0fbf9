#pragma once

#include "views/TransactionIndexes.h"

#include <QFrame>
#include <QPointer>

class QButtonGroup;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QVBoxLayout;

namespace qf {

class AccountOnlineController;
class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// An account's view: this pane with the account's details (name, bank, type,
// number, web site, opening balance and balance) and the form that edits
// them, above one of two tabs: "Transactions", the shared transaction list,
// and "Online", the bank's web site. The chosen tab is kept in
// vault_tabSelected.
class AccountController : public QFrame {
    Q_OBJECT

public:
    AccountController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent = nullptr);
    ~AccountController() override;

    // Scopes the list to the account (its own transactions and the bills from
    // or to it), restores the account's filters, range, sort and presentation,
    // puts this pane above the account's last tab and returns the view to show.
    QWidget* prepareMainViewWithVaultObject(ManagedObject* account);
    ManagedObject* vault() const { return m_vault; }

    // "Transactions" or "Online": stores the choice (nothing to undo) and
    // announces the view to show through mainViewChanged.
    void changePane(const QString& tab);
    QString selectedTab() const;
    // The view of the "Online" tab; the window keeps it beside the list.
    QWidget* onlineView() const { return m_onlineView; }
    AccountOnlineController* onlineController() const { return m_online; }

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

Q_SIGNALS:
    void mainViewChanged(QWidget* view);
    // A statement from the bank's site, for the import its extension names.
    void statementDownloaded(const QString& path, qf::ManagedObject* account);

private:
    QWidget* showTab(const QString& tab);
    QWidget* buildTabButtons(QWidget* parent);
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
    AccountOnlineController* m_online;
    // Owned here until the window takes it into its stack of views.
    QPointer<QWidget> m_onlineView;
    QVBoxLayout* m_onlineLayout;
    QButtonGroup* m_tabs = nullptr;

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
