#pragma once

#include "views/ChangeFollower.h"

#include <QString>
#include <string>
#include <unordered_map>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;

// Which transactions touch which account (as trans_accountID, or as either
// side of a bill), so that showing an account looks at its own transactions
// rather than at every transaction of the ledger.
//
// Like the text index, it names every transaction changed since it was built
// as well; the caller tests each candidate with the real predicate.
class TransactionAccountIndex {
public:
    std::vector<ManagedObject*> candidates(const ManagedObjectContext& context, const QString& accountID);

private:
    void rebuild(const ManagedObjectContext& context);

    ChangeFollower m_follower;
    std::unordered_map<std::string, std::vector<ManagedObject*>> m_byAccount;
    std::size_t m_records = 0;
};

} // namespace qf
