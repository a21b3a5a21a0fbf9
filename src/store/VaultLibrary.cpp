#include "store/VaultLibrary.h"

#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <algorithm>

namespace qf {

namespace {

const EntityDescription& vaultEntity()
{
    return ManagedObjectModel::shared().vault();
}

int vaultKey(QStringView name)
{
    return vaultEntity().indexOfAttribute(name);
}

void setVaultString(ManagedObject* vault, QStringView key, const QString& value)
{
    vault->setValue(vaultKey(key), Value(value));
}

void setFiltersToAll(ManagedObject* vault)
{
    setVaultString(vault, u"vault_directionFilter", QStringLiteral("FilterAll"));
    setVaultString(vault, u"vault_typeFilter", QStringLiteral("FilterAll"));
}

ManagedObject* insertFixedVault(ManagedObjectContext& context, const RecordEnvironment& environment,
                                const QString& type, const QString& title)
{
    ManagedObject* vault = VaultLibrary::insertVault(context, environment, type, title);
    setVaultString(vault, u"vault_viewBy", QStringLiteral("IconView"));
    return vault;
}

} // namespace

std::vector<ManagedObject*> VaultLibrary::vaultsOfType(const ManagedObjectContext& context, const QString& type)
{
    const int typeIndex = vaultKey(u"vault_type");
    const int titleIndex = vaultKey(u"vault_title");
    const SharedString wanted = SharedString::fromQString(type);
    std::vector<std::pair<QString, ManagedObject*>> found;
    for (ManagedObject* vault : context.objects(vaultEntity())) {
        if (vault->primitiveValue(typeIndex).string() == wanted)
            found.emplace_back(vault->primitiveValue(titleIndex).toString(), vault);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return a.first.compare(b.first, Qt::CaseInsensitive) < 0;
    });
    std::vector<ManagedObject*> vaults;
    vaults.reserve(found.size());
    for (auto& entry : found)
        vaults.push_back(entry.second);
    return vaults;
}

ManagedObject* VaultLibrary::insertVault(ManagedObjectContext& context, const RecordEnvironment& environment,
                                         const QString& type, const QString& title)
{
    ManagedObject* vault = context.insertNewObject(vaultEntity());
    setVaultString(vault, u"vault_uniqueID", environment.createUniqueID());
    setVaultString(vault, u"vault_title", title);
    setVaultString(vault, u"vault_type", type);
    vault->setValue(vaultKey(u"vault_dateAdded"), Value::date(environment.now()));
    setFiltersToAll(vault);
    // A smart folder's matches start as cards.
    if (type == VaultType::SmartPlaylist)
        setVaultString(vault, u"vault_viewBy", QStringLiteral("IconView"));
    return vault;
}

void VaultLibrary::ensureFixedVaults(ManagedObjectContext& context, const RecordEnvironment& environment)
{
    if (!context.objects(vaultEntity()).empty()) {
        const std::vector<ManagedObject*> paid = vaultsOfType(context, VaultType::Paid);
        if (!paid.empty()) {
            setVaultString(paid.front(), u"vault_title", VaultType::MasterVault);
            setVaultString(paid.front(), u"vault_type", VaultType::MasterVault);
            setFiltersToAll(paid.front());
        }
        const std::vector<ManagedObject*> pending = vaultsOfType(context, VaultType::Pending);
        if (!pending.empty()) {
            setVaultString(pending.front(), u"vault_title", QStringLiteral("Scheduler"));
            setVaultString(pending.front(), u"vault_type", VaultType::BillManager);
            setFiltersToAll(pending.front());
        }
    }

    if (vaultsOfType(context, VaultType::MasterVault).empty())
        insertFixedVault(context, environment, VaultType::MasterVault, VaultType::MasterVault);

    const std::vector<ManagedObject*> bills = vaultsOfType(context, VaultType::BillManager);
    if (bills.empty()) {
        insertFixedVault(context, environment, VaultType::BillManager, QStringLiteral("Scheduler"));
    } else if (bills.front()->primitiveValue(vaultKey(u"vault_title")).toString() == VaultType::BillManager) {
        setVaultString(bills.front(), u"vault_title", QStringLiteral("Scheduler"));
    }

    if (vaultsOfType(context, VaultType::Untagged).empty())
        insertFixedVault(context, environment, VaultType::Untagged, VaultType::Untagged);
}

} // namespace qf
