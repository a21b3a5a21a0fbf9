#include "app/ui/MainWindow.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"
#include "views/ui/AccountController.h"
#include "views/ui/FolderController.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SmartFolderController.h"
#include "views/ui/SourceController.h"
#include "views/ui/SourceListModel.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

class FolderControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* trip = nullptr;
    ManagedObject* coffee = nullptr;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        Quillfen_AppDelegate& d = ledger.delegate();
        trip = VaultLibrary::insertVault(context, d, VaultType::Playlist, QStringLiteral("Trip"));
        coffee = VaultLibrary::insertVault(context, d, VaultType::SmartPlaylist, QStringLiteral("Coffee"));
        coffee->setValueForKey(u"vault_smartPredicateString", Value(QStringLiteral("trans_title CONTAINS[cd] \"coffee\"")));
        ledger.addTransaction(QStringLiteral("Hotel"), -180)->setValueForKey(u"trans_listIDs", trip->valueForKey(u"vault_uniqueID"));
        ledger.addTransaction(QStringLiteral("Coffee"), -3.5);
        ASSERT_TRUE(d.saveAction());
        window = std::make_unique<MainWindow>(d);
        window->setupSourceList();
    }

    FolderController* select(ManagedObject* vault)
    {
        EXPECT_TRUE(window->sourceController()->selectControllerWithID(vault->valueForKey(u"vault_uniqueID").toString()));
        return qobject_cast<FolderController*>(window->libraryController()->infoPane());
    }
    static QPushButton* button(FolderController* pane, const char* name)
    {
        return pane->findChild<QPushButton*>(QString::fromLatin1(name));
    }
    QStringList shownTitles()
    {
        QStringList titles;
        for (ManagedObject* t : window->libraryController()->arrangedTransObjects())
            titles << t->valueForKey(u"trans_title").toString();
        return titles;
    }
};

} // namespace

TEST_F(FolderControllerTest, ShareButtonSwitchesTheStoredSharing)
{
    FolderController* pane = select(trip);
    ASSERT_NE(pane, nullptr);
    EXPECT_EQ(shownTitles(), QStringList{QStringLiteral("Hotel")});
    EXPECT_EQ(pane->vaultID(), trip->valueForKey(u"vault_uniqueID").toString());
    // A transaction added while the folder is shown is to join it.
    const ValueDictionary& defaults = window->libraryController()->addDefaults();
    ASSERT_EQ(defaults.size(), 1u);
    EXPECT_EQ(defaults.at(QStringLiteral("trans_listIDs")).toString(), pane->vaultID());

    EXPECT_EQ(pane->sharingLabel(), QStringLiteral("No"));
    EXPECT_EQ(pane->shareButtonTitle(), QStringLiteral("Share this Folder"));
    button(pane, "shareButton")->click();
    EXPECT_TRUE(trip->valueForKey(u"vault_shouldPublish").toBool());
    EXPECT_EQ(pane->sharingLabel(), QStringLiteral("Yes"));
    EXPECT_EQ(pane->shareButtonTitle(), QStringLiteral("Stop Sharing"));
    button(pane, "shareButton")->click();
    EXPECT_FALSE(trip->valueForKey(u"vault_shouldPublish").toBool());
    EXPECT_EQ(pane->shareButtonTitle(), QStringLiteral("Share this Folder"));
}

TEST_F(FolderControllerTest, RenameStoresTheNameAndTheSharingBox)
{
    FolderController* pane = select(trip);
    ASSERT_NE(pane, nullptr);
    auto* name = pane->findChild<QLineEdit*>(QStringLiteral("folderName"));
    auto* share = pane->findChild<QCheckBox*>(QStringLiteral("shareBox"));

    button(pane, "editFolder")->click();
    ASSERT_TRUE(pane->isEditing());
    EXPECT_EQ(name->text(), QStringLiteral("Trip"));
    EXPECT_FALSE(share->isChecked());

    name->setText(QString());
    share->setChecked(true);
    EXPECT_FALSE(pane->saveEditFolderName());
    EXPECT_TRUE(pane->isEditing());
    EXPECT_EQ(trip->valueForKey(u"vault_title").toString(), QStringLiteral("Trip"));
    EXPECT_FALSE(trip->valueForKey(u"vault_shouldPublish").toBool());

    name->setText(QStringLiteral("Summer Trip"));
    button(pane, "saveEdit")->click();
    EXPECT_FALSE(pane->isEditing());
    EXPECT_EQ(trip->valueForKey(u"vault_title").toString(), QStringLiteral("Summer Trip"));
    EXPECT_TRUE(trip->valueForKey(u"vault_shouldPublish").toBool());
    EXPECT_EQ(pane->shareButtonTitle(), QStringLiteral("Stop Sharing"));
    EXPECT_EQ(pane->findChild<QLabel*>(QStringLiteral("folderTitle"))->text(), QStringLiteral("Summer Trip"));
    context.processPendingChanges();
    SourceListModel* rows = window->sourceController()->model();
    EXPECT_EQ(rows->index(rows->rowOfVault(pane->vaultID())).data().toString(), QStringLiteral("Summer Trip"));

    // Cancel keeps what is stored, whatever the form held.
    button(pane, "editFolder")->click();
    name->setText(QStringLiteral("Never"));
    share->setChecked(false);
    button(pane, "cancelEdit")->click();
    EXPECT_EQ(trip->valueForKey(u"vault_title").toString(), QStringLiteral("Summer Trip"));
    EXPECT_TRUE(trip->valueForKey(u"vault_shouldPublish").toBool());
}

TEST_F(FolderControllerTest, SmartFolderSharesAndEditsItsRulesInsteadOfARenameAndPanesOfOtherKindsClose)
{
    FolderController* pane = select(coffee);
    ASSERT_NE(pane, nullptr);
    EXPECT_NE(dynamic_cast<SmartFolderController*>(pane), nullptr);
    EXPECT_EQ(shownTitles(), QStringList{QStringLiteral("Coffee")});
    EXPECT_TRUE(window->libraryController()->addDefaults().empty());
    // Its name is edited with its rules, in the rules sheet.
    EXPECT_EQ(button(pane, "editFolder")->text(), QStringLiteral("Edit Rules…"));
    button(pane, "shareButton")->click();
    EXPECT_TRUE(coffee->valueForKey(u"vault_shouldPublish").toBool());

    FolderController* folderPane = select(trip);
    EXPECT_NE(folderPane, pane);
    EXPECT_TRUE(pane->isHidden());
    EXPECT_FALSE(button(folderPane, "editFolder")->isHidden());

    ManagedObject* account = ledger.addAccount(QStringLiteral("Checking"));
    context.processPendingChanges();
    EXPECT_EQ(select(account), nullptr);
    EXPECT_TRUE(folderPane->isHidden());
    EXPECT_NE(qobject_cast<AccountController*>(window->libraryController()->infoPane()), nullptr);
    EXPECT_TRUE(window->libraryController()->addDefaults().empty());
}
