#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/SourceListRows.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

// "HEADER" rows as they are, vault rows as "title (icon)".
QString describe(const std::vector<SourceListRow>& rows)
{
    QStringList out;
    for (const SourceListRow& row : rows)
        out << (row.isHeader() ? row.header
                               : row.vault->valueForKey(u"vault_title").toString() + QStringLiteral(" (") + row.iconName +
                                     QLatin1Char(')'));
    return out.join(QStringLiteral(", "));
}

} // namespace

TEST(SourceListRows, SectionsInOrderWithEmptyOnesLeftOut)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    EXPECT_EQ(describe(SourceListRows::build(context, QStringLiteral("Large"))),
              QStringLiteral("LIBRARY, Master Vault (Master_Vault_Large_Icon), Scheduler (Bill_Manager_Large_Icon), "
                             "Untagged (Untagged_Large_Icon)"));

    Quillfen_AppDelegate& d = ledger.delegate();
    VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("visa"))
        ->setValueForKey(u"vault_accountType", Value("Credit"));
    VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Brokerage"))
        ->setValueForKey(u"vault_accountType", Value("Investments"));
    VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"))
        ->setValueForKey(u"vault_shouldPublish", Value::boolean(true));
    VaultLibrary::insertVault(context, d, VaultType::SmartPlaylist, QStringLiteral("Coffee"));
    VaultLibrary::insertVault(context, d, VaultType::Budget, QStringLiteral("Home"));
    ManagedObject* pod = VaultLibrary::insertVault(context, d, VaultType::IPod, QStringLiteral("Pod"));

    EXPECT_EQ(describe(SourceListRows::build(context, QStringLiteral("Small"))),
              QStringLiteral("LIBRARY, Master Vault (Master_Vault_Small_Icon), Scheduler (Bill_Manager_Small_Icon), "
                             "Untagged (Untagged_Small_Icon), ACCOUNTS, Brokerage (Online_Small_Icon), "
                             "visa (Credit_Small_Icon), BUDGETS, Home (Budget_Small_Icon), FOLDERS, "
                             "Trip (FolderShared_Small_Icon), SEARCHES, Coffee (SmartFolder_Small_Icon)"));
    // An iPod shows only while it is plugged in.
    const auto withPod = SourceListRows::build(context, QStringLiteral("Large"),
                                               {pod->valueForKey(u"vault_uniqueID").toString()});
    EXPECT_TRUE(describe(withPod).endsWith(QStringLiteral("IPODS, Pod (iPod_Large_Icon)")));

    // Without a fixed vault nothing is built until the vaults are ensured.
    context.deleteObject(d.fetchVaultObjectsWithType(VaultType::Untagged).front());
    EXPECT_TRUE(SourceListRows::build(context, QStringLiteral("Large")).empty());
    d.convertVaultLibraryObjects();
    EXPECT_FALSE(SourceListRows::build(context, QStringLiteral("Large")).empty());
}

TEST(SourceListRows, IconSizeDecidesGeometryAndTheMenuItem)
{
    EXPECT_EQ(SourceListRows::geometry(QStringLiteral("Large")).rowHeight, 32);
    EXPECT_EQ(SourceListRows::geometry(QStringLiteral("Large")).spacing, 3);
    EXPECT_EQ(SourceListRows::geometry(QStringLiteral("anything")).rowHeight, 18);
    EXPECT_EQ(SourceListRows::geometry(QStringLiteral("Small")).spacing, 5);
    EXPECT_EQ(SourceListRows::toggleTitle(QStringLiteral("Large")), QStringLiteral("Use Small Sidebar Icons"));
    EXPECT_EQ(SourceListRows::toggledSize(QStringLiteral("Large")), QStringLiteral("Small"));
    EXPECT_EQ(SourceListRows::toggleTitle(QStringLiteral("Small")), QStringLiteral("Use Large Sidebar Icons"));
    EXPECT_EQ(SourceListRows::toggledSize(QStringLiteral("Small")), QStringLiteral("Large"));
    EXPECT_FALSE(SourceListRows::canRemove(VaultType::MasterVault));
    EXPECT_FALSE(SourceListRows::canRemove(VaultType::Untagged));
    EXPECT_TRUE(SourceListRows::canRemove(VaultType::Playlist));
}
