#pragma once

#include "editing/AccountSelector.h"

#include <QString>
#include <optional>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// The state and the writing of the transfer sheet: an amount moved from one
// account to another as two ordinary pending transactions, a withdrawal and
// a deposit. The pair is not linked; only the titles tell their origin.
class AccountTransfer {
public:
    struct Records {
        ManagedObject* withdrawal = nullptr;
        ManagedObject* deposit = nullptr; // the one the list selects afterwards
    };

    // The delegate is borrowed: its store, accounts, formatters and clock.
    explicit AccountTransfer(Quillfen_AppDelegate& delegate);

    // Keeps the vault shown in the list, fills both selectors and empties the
    // amount. When the vault is not an account its vault_uniqueID is set to
    // none: a side effect on the record, kept on purpose. Null vault: no preselection.
    void loadTransferPanelWithVaultObject(ManagedObject* vault);

    AccountSelector& fromAccounts() { return m_from; }
    AccountSelector& toAccounts() { return m_to; }
    const QString& amountText() const { return m_amountText; }
    void setAmountText(const QString& text) { m_amountText = text; }
    // Leaving the amount field re-shows it as amountFloat().
    void amountDidEndEditing();

    // The amount text through the amount formatter, else its leading number.
    float amountFloat() const;
    // Today in the locale's short date style.
    QString dateString() const;

    // Inserts the withdrawal, then the deposit, both dated now and pending.
    // None, and nothing written, unless both sides name an account and the
    // amount is above zero: the caller then beeps. The same account on both
    // sides is accepted. The store is not saved.
    std::optional<Records> transfer();

private:
    void setupAccountButton(AccountSelector& selector);
    ManagedObject* insertTransaction(const QString& title, const QString& accountID, double amount);

    Quillfen_AppDelegate& m_delegate;
    ManagedObject* m_vault = nullptr;
    AccountSelector m_from;
    AccountSelector m_to;
    QString m_amountText;
};

} // namespace qf
