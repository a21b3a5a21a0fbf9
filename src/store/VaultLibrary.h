#pragma once

#include <QString>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// Vault kinds as stored in vault_type.
namespace VaultType {
inline const QString MasterVault = QStringLiteral("Master Vault");
inline const QString BillManager = QStringLiteral("Bill Manager");
inline const QString Untagged = QStringLiteral("Untagged");
inline const QString Account = QStringLiteral("Account");
inline const QString Budget = QStringLiteral("Budget");
inline const QString Playlist = QStringLiteral("Playlist");
inline const QString SmartPlaylist = QStringLiteral("Smart Playlist");
inline const QString IPod = QStringLiteral("iPod");
inline const QString Sharing = QStringLiteral("Sharing");
inline const QString Paid = QStringLiteral("Paid");
inline const QString Pending = QStringLiteral("Pending");
} // namespace VaultType

// The vaults every store must hold, and the vault lists the source list shows.
class VaultLibrary {
public:
    // Vaults of a type, sorted by title ascending, ignoring case.
    static std::vector<ManagedObject*> vaultsOfType(const ManagedObjectContext& context, const QString& type);

    // Converts older "Paid"/"Pending" vaults, then inserts whichever of
    // "Master Vault", "Bill Manager" (titled "Scheduler") and "Untagged" is
    // missing. Nothing is saved.
    static void ensureFixedVaults(ManagedObjectContext& context, const RecordEnvironment& environment);

    // Inserts a vault as the add sheet makes one: a new identifier, now as
    // date added, the type, both filters "FilterAll"; a smart folder shows cards.
    static ManagedObject* insertVault(ManagedObjectContext& context, const RecordEnvironment& environment,
                                      const QString& type, const QString& title);
};

} // namespace qf
