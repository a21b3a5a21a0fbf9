#pragma once

#include "views/ChangeFollower.h"

#include <QString>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace qf {

class AmountSum;
class ManagedObject;
class ManagedObjectContext;
class Predicate;

// Which transactions touch which account (as trans_accountID, or as either
// side of a bill), so that showing an account looks at its own transactions
// rather than at every transaction of the ledger.
//
// Like the text index, it names every transaction changed since it was built
// as well; the caller tests each candidate with the real predicate.
class TransactionAccountIndex {
public:
    std::vector<ManagedObject*> candidates(const ManagedObjectContext& context, const QString& accountID);

    // Adds the amounts of the transactions the account's scope selects, as
    // value() reads them. Amounts kept in the index are summed without
    // visiting their records; changed records are tested with `scope` (the
    // account's own predicate) and read, and so are upcoming bills, whose
    // amount may follow the selected account.
    void addAmounts(const ManagedObjectContext& context, const QString& accountID, const Predicate& scope,
                    AmountSum& sum);

private:
    struct Account {
        std::vector<ManagedObject*> records;
        // Each record's decimal amount in millionths as of the build, or
        // AmountSum::kNotExact when it must be read through the record.
        std::vector<std::int64_t> micros;
    };

    void follow(const ManagedObjectContext& context);
    void rebuild(const ManagedObjectContext& context);

    ChangeFollower m_follower;
    std::unordered_map<std::string, Account> m_byAccount;
    std::size_t m_records = 0;
};

} // namespace qf
