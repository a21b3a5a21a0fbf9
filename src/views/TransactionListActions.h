#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class Quillfen_AppDelegate;

// The question a delete asks first, by the kind of vault shown. A folder
// asks nothing: removing from it only takes transactions out of the folder.
struct DeleteQuestion {
    bool ask = false;
    QString title;
    QString text;
};

// What the reconcile/pay button offers for the selected transaction.
enum class ReconcileButton { Hidden, Reconcile, Pay };

// The transaction list's commands on the selected transactions, without the
// list: what they ask, and what they change.
class TransactionListActions {
public:
    static DeleteQuestion deleteQuestion(const QString& vaultType);
    // After "Yes" (or at once for a folder): a folder loses the transactions
    // from its list; any other vault deletes them from the store.
    static void removeTransactions(ManagedObjectContext& context, const ManagedObject& shownVault,
                                   const std::vector<ManagedObject*>& transactions);
    // Copies of the last saved values with new identifiers, in no folder;
    // the store is saved.
    static Result<std::vector<ManagedObject*>> duplicate(Quillfen_AppDelegate& delegate,
                                                         const std::vector<ManagedObject*>& transactions);
    static void markAsPending(const std::vector<ManagedObject*>& transactions);
    static ReconcileButton reconcileButton(const ManagedObject* transaction);
    static void reconcile(ManagedObject& transaction, AbsoluteTime date);
};

} // namespace qf
