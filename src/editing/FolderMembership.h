#pragma once

#include <QString>

namespace qf {

class ManagedObject;

// The folder list of a transaction (trans_listIDs: folder identifiers joined
// by ","), and the account it belongs to, as dropping and deleting change them.
class FolderMembership {
public:
    // The list with the folder appended, unless an element already equals it.
    // No list gives the folder alone; the empty text gives "," and the
    // folder: the leading comma does no harm to the "contains" test.
    static QString addedTo(const QString& listIDs, const QString& folderID);
    // The list without any element equal to the folder.
    static QString removedFrom(const QString& listIDs, const QString& folderID);

    static void addToFolder(ManagedObject& transaction, const QString& folderID);
    static void removeFromFolder(ManagedObject& transaction, const QString& folderID);

    // A transaction dropped on a vault's row: a folder adds it, an account
    // takes it; other kinds do nothing. False when nothing changed.
    static bool dropOnVault(ManagedObject& transaction, const ManagedObject& vault);
};

} // namespace qf
