#include "views/SourceListRows.h"

#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"

#include <QStringList>

namespace qf {

namespace {

struct Section {
    const char* header;
    std::vector<const QString*> types;
};

} // namespace

QString SourceListRows::iconKind(const ManagedObject& vault)
{
    const QString type = vault.valueForKey(u"vault_type").toString();
    const bool shared = vault.valueForKey(u"vault_shouldPublish").toBool();
    if (type == VaultType::MasterVault)
        return QStringLiteral("Master_Vault");
    if (type == VaultType::BillManager)
        return QStringLiteral("Bill_Manager");
    if (type == VaultType::Untagged)
        return QStringLiteral("Untagged");
    if (type == VaultType::Account) {
        const QString accountType = vault.valueForKey(u"vault_accountType").toString();
        if (accountType == QLatin1String("Checking") || accountType == QLatin1String("Savings") ||
            accountType == QLatin1String("Credit"))
            return accountType;
        return QStringLiteral("Online");
    }
    if (type == VaultType::Budget)
        return QStringLiteral("Budget");
    if (type == VaultType::Playlist)
        return shared ? QStringLiteral("FolderShared") : QStringLiteral("Folder");
    if (type == VaultType::SmartPlaylist)
        return shared ? QStringLiteral("SmartFolderShared") : QStringLiteral("SmartFolder");
    if (type == VaultType::Sharing)
        return QStringLiteral("SharedFolder");
    if (type == VaultType::IPod)
        return QStringLiteral("iPod");
    return QStringLiteral("Folder");
}

QString SourceListRows::iconName(const ManagedObject& vault, const QString& sourceSize)
{
    return iconKind(vault) + (isLarge(sourceSize) ? QStringLiteral("_Large_Icon") : QStringLiteral("_Small_Icon"));
}

SourceListGeometry SourceListRows::geometry(const QString& sourceSize)
{
    return isLarge(sourceSize) ? SourceListGeometry{32, 3} : SourceListGeometry{18, 5};
}

QString SourceListRows::toggleTitle(const QString& sourceSize)
{
    return isLarge(sourceSize) ? QStringLiteral("Use Small Sidebar Icons") : QStringLiteral("Use Large Sidebar Icons");
}

QString SourceListRows::toggledSize(const QString& sourceSize)
{
    return isLarge(sourceSize) ? QStringLiteral("Small") : QStringLiteral("Large");
}

bool SourceListRows::canRemove(const QString& vaultType)
{
    return vaultType == VaultType::Account || vaultType == VaultType::Budget || vaultType == VaultType::Playlist ||
           vaultType == VaultType::SmartPlaylist;
}

std::vector<SourceListRow> SourceListRows::build(const ManagedObjectContext& context, const QString& sourceSize,
                                                 const QStringList& connectedIPodIDs)
{
    std::vector<ManagedObject*> library;
    for (const QString* type : {&VaultType::MasterVault, &VaultType::BillManager, &VaultType::Untagged}) {
        const std::vector<ManagedObject*> vaults = VaultLibrary::vaultsOfType(context, *type);
        if (vaults.empty())
            return {};
        library.push_back(vaults.front());
    }

    std::vector<SourceListRow> rows;
    auto addVault = [&](ManagedObject* vault) { rows.push_back({QString(), vault, iconName(*vault, sourceSize)}); };
    rows.push_back({QStringLiteral("LIBRARY"), nullptr, QString()});
    for (ManagedObject* vault : library)
        addVault(vault);

    const Section sections[] = {{"ACCOUNTS", {&VaultType::Account}},
                                {"BUDGETS", {&VaultType::Budget}},
                                {"SHARING", {&VaultType::Sharing}},
                                {"FOLDERS", {&VaultType::Playlist}},
                                {"SEARCHES", {&VaultType::SmartPlaylist}},
                                {"IPODS", {&VaultType::IPod}}};
    for (const Section& section : sections) {
        std::vector<ManagedObject*> vaults = VaultLibrary::vaultsOfType(context, *section.types.front());
        if (section.types.front() == &VaultType::IPod) {
            std::erase_if(vaults, [&](ManagedObject* v) {
                return !connectedIPodIDs.contains(v->valueForKey(u"vault_uniqueID").toString());
            });
        }
        if (vaults.empty())
            continue;
        rows.push_back({QString::fromLatin1(section.header), nullptr, QString()});
        for (ManagedObject* vault : vaults)
            addVault(vault);
    }
    return rows;
}

} // namespace qf
