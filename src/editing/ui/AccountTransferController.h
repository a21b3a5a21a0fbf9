#pragma once

#include "editing/AccountTransfer.h"

#include <QDialog>

class QComboBox;
class QLineEdit;

namespace qf {

class LibraryController;
class ManagedObject;
class Quillfen_AppDelegate;

// The window-modal sheet that moves an amount from one account to another:
// two account selectors, the amount, "Transfer" and "Cancel". The state and
// the writing live in AccountTransfer; this class shows them.
class AccountTransferController : public QDialog {
    Q_OBJECT

public:
    // The list (the sheet's delegate) is refreshed after a transfer and
    // shows the deposit selected; it may be null.
    AccountTransferController(Quillfen_AppDelegate& delegate, LibraryController* list, QWidget* parent = nullptr);

    // Fills both selectors for the vault the list shows, empties the amount
    // and opens the sheet. A vault that is not an account loses its
    // vault_uniqueID (see AccountTransfer).
    void loadTransferPanelWithVaultObject(ManagedObject* vault);

    // Refused (no account on a side, an amount not above zero): a beep, and
    // the sheet stays open. Otherwise the pair is written, the list
    // refreshed, the sheet closed and the deposit selected in the list.
    // Returns the deposit, null when refused.
    ManagedObject* transfer();
    // Closes; nothing is written.
    void cancel() { reject(); }

    const AccountTransfer& state() const { return m_transfer; }
    QComboBox* fromPopup() const { return m_from; }
    QComboBox* toPopup() const { return m_to; }
    QLineEdit* amountField() const { return m_amount; }

private:
    void amountDidEndEditing();

    Quillfen_AppDelegate& m_delegate;
    AccountTransfer m_transfer;
    LibraryController* m_list;
    QComboBox* m_from;
    QComboBox* m_to;
    QLineEdit* m_amount;
};

} // namespace qf
