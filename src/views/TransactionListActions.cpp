#include "views/TransactionListActions.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SearchIndex.h"
#include "editing/FolderMembership.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

namespace qf {

DeleteQuestion TransactionListActions::deleteQuestion(const QString& vaultType)
{
    if (vaultType == VaultType::Playlist)
        return {};
    if (vaultType == VaultType::Account)
        return {true, QObject::tr("Are you sure you want to delete the selected transactions from this Account?"),
                QObject::tr("This action will also remove the selected transactions from the Master Vault.")};
    return {true, QObject::tr("Are you sure you want to delete the selected transactions?"),
            QObject::tr("This action will also remove the selected transactions from their respective Accounts and "
                        "Folders.")};
}

void TransactionListActions::removeTransactions(ManagedObjectContext& context, const ManagedObject& shownVault,
                                                const std::vector<ManagedObject*>& transactions)
{
    if (shownVault.valueForKey(u"vault_type").toString() == VaultType::Playlist) {
        const QString folderID = shownVault.valueForKey(u"vault_uniqueID").toString();
        for (ManagedObject* t : transactions)
            FolderMembership::removeFromFolder(*t, folderID);
        return;
    }
    // Attachment files go when the deletion is saved at quit; search records now.
    SearchIndex::removeIndexOf(transactions);
    for (ManagedObject* t : transactions)
        context.deleteObject(t);
}

Result<std::vector<ManagedObject*>> TransactionListActions::duplicate(Quillfen_AppDelegate& delegate,
                                                                      const std::vector<ManagedObject*>& transactions)
{
    ManagedObjectContext& context = *delegate.managedObjectContext();
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    std::vector<ManagedObject*> copies;
    for (ManagedObject* original : transactions) {
        ManagedObject* copy = context.insertNewObject(trans);
        // A transaction never saved has no last saved values: copy what it holds.
        const bool saved = !original->isInserted();
        for (int i = 0; i < trans.attributeCount(); ++i)
            copy->setValue(i, saved ? original->committedValue(i) : original->primitiveValue(i));
        copy->setValueForKey(u"trans_uniqueID", Value(delegate.createUniqueID()));
        copy->setValueForKey(u"trans_listIDs", Value(QStringLiteral("")));
        copies.push_back(copy);
    }
    if (Status s = delegate.saveAction(); !s)
        return s.error();
    return copies;
}

void TransactionListActions::markAsPending(const std::vector<ManagedObject*>& transactions)
{
    for (ManagedObject* t : transactions)
        t->setValueForKey(u"trans_isPending", Value::boolean(true));
}

ReconcileButton TransactionListActions::reconcileButton(const ManagedObject* transaction)
{
    if (!transaction)
        return ReconcileButton::Hidden;
    if (transaction->valueForKey(u"trans_isUpcoming").toBool())
        return ReconcileButton::Pay;
    if (transaction->valueForKey(u"trans_isPending").toBool())
        return ReconcileButton::Reconcile;
    return ReconcileButton::Hidden;
}

void TransactionListActions::reconcile(ManagedObject& transaction, AbsoluteTime date)
{
    transaction.setValueForKey(u"trans_date", Value::date(date));
    transaction.setValueForKey(u"trans_isPending", Value::boolean(false));
}

} // namespace qf
