#pragma once

#include <QString>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// What the add sheet and the account's edit form hold.
struct AccountDetails {
    QString title;
    QString bankName;
    QString accountType = QStringLiteral("Checking"); // Checking, Savings, Credit, Online
    QString url;    // made into an "http://" address when stored
    QString number;
    double initialAmount = 0;
};

// Accounts and their opening deposit ("Initial Deposit (%@)"), which holds
// the opening balance a second time as a transaction of the account.
class AccountRecords {
public:
    // A new account as the add sheet makes it; a non-zero opening amount
    // brings its deposit transaction, dated now and counted as reconciled.
    static ManagedObject* createAccount(ManagedObjectContext& context, const RecordEnvironment& environment,
                                        const AccountDetails& details);

    // The first transaction marked as the account's opening deposit; null when none.
    static ManagedObject* fetchDepositTransWithAccountID(const ManagedObjectContext& context, const QString& accountID);

    // The edit form's save. False, and nothing written, for an empty name. An
    // amount of 0 leaves an existing deposit's amount as it was (kept so on
    // purpose); another amount updates the deposit, or makes one. Renaming
    // does not retitle the deposit.
    static bool saveEditAccountInfo(ManagedObjectContext& context, const RecordEnvironment& environment,
                                    ManagedObject& account, const AccountDetails& details);

private:
    static ManagedObject* insertDeposit(ManagedObjectContext& context, const RecordEnvironment& environment,
                                        const ManagedObject& account, const QString& title, double amount);
};

} // namespace qf
