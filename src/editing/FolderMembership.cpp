#include "editing/FolderMembership.h"

#include "store/ManagedObject.h"
#include "store/VaultLibrary.h"

#include <QStringList>

namespace qf {

QString FolderMembership::addedTo(const QString& listIDs, const QString& folderID)
{
    if (listIDs.isNull())
        return folderID;
    QStringList ids = listIDs.split(QLatin1Char(','));
    if (ids.contains(folderID))
        return listIDs;
    ids.append(folderID);
    return ids.join(QLatin1Char(','));
}

QString FolderMembership::removedFrom(const QString& listIDs, const QString& folderID)
{
    if (listIDs.isNull())
        return listIDs;
    QStringList ids = listIDs.split(QLatin1Char(','));
    ids.removeAll(folderID);
    return ids.join(QLatin1Char(','));
}

void FolderMembership::addToFolder(ManagedObject& transaction, const QString& folderID)
{
    const QString before = transaction.valueForKey(u"trans_listIDs").toString();
    transaction.setValueForKey(u"trans_listIDs", Value(addedTo(before, folderID)));
}

void FolderMembership::removeFromFolder(ManagedObject& transaction, const QString& folderID)
{
    const QString before = transaction.valueForKey(u"trans_listIDs").toString();
    if (!before.isNull())
        transaction.setValueForKey(u"trans_listIDs", Value(removedFrom(before, folderID)));
}

bool FolderMembership::dropOnVault(ManagedObject& transaction, const ManagedObject& vault)
{
    const QString type = vault.valueForKey(u"vault_type").toString();
    const QString id = vault.valueForKey(u"vault_uniqueID").toString();
    const Value before = transaction.valueForKey(type == VaultType::Playlist ? u"trans_listIDs" : u"trans_accountID");
    if (type == VaultType::Playlist)
        addToFolder(transaction, id);
    else if (type == VaultType::Account)
        transaction.setValueForKey(u"trans_accountID", Value(id));
    else
        return false;
    return transaction.valueForKey(type == VaultType::Playlist ? u"trans_listIDs" : u"trans_accountID") != before;
}

} // namespace qf
