#include "app/UserDefaults.h"
#include "store/ManagedObjectContext.h"
#include "store/SqliteStore.h"
#include "store/StoreOpener.h"
#include "store/VaultLibrary.h"
#include "views/SourceListRows.h"
#include "support/FileBytes.h"
#include "support/TempLedger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <csignal>
#include <sys/types.h>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::readFile;
using qf::test::writeFile;

namespace {

QString vaultSummary(ManagedObjectContext& context)
{
    QStringList rows;
    for (const SourceListRow& row : SourceListRows::build(context, QStringLiteral("Large"))) {
        if (!row.isHeader())
            rows << row.vault->valueForKey(u"vault_type").toString() + QLatin1Char('/') +
                        row.vault->valueForKey(u"vault_title").toString();
    }
    return rows.join(QStringLiteral(", "));
}

const QString kFixedVaults = QStringLiteral("Master Vault/Master Vault, Bill Manager/Scheduler, Untagged/Untagged");

} // namespace

TEST(AppDelegate, FreshFolderEndsWithExactlyTheThreeFixedVaultsSaved)
{
    TempLedger ledger;
    ledger.launch();
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    ASSERT_TRUE(QFileInfo::exists(ledger.storePath()));

    ledger.reopen();
    ManagedObjectContext& context = ledger.launch();
    EXPECT_EQ(vaultSummary(context), kFixedVaults);
    EXPECT_EQ(context.count(ManagedObjectModel::shared().vault()), 3u);
    for (ManagedObject* vault : context.objects(ManagedObjectModel::shared().vault())) {
        EXPECT_EQ(vault->valueForKey(u"vault_viewBy").toString(), QStringLiteral("IconView"));
        EXPECT_EQ(vault->valueForKey(u"vault_directionFilter").toString(), QStringLiteral("FilterAll"));
        EXPECT_EQ(vault->valueForKey(u"vault_uniqueID").toString().size(), 36);
    }
    // Launching again adds nothing.
    ledger.delegate().convertVaultLibraryObjects();
    EXPECT_EQ(context.count(ManagedObjectModel::shared().vault()), 3u);
}

TEST(AppDelegate, OlderPaidAndPendingVaultsBecomeLibraryAndScheduler)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.context();
    ManagedObject* paid = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Paid, QStringLiteral("Paid"));
    VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Pending, QStringLiteral("Pending"));
    paid->setValueForKey(u"vault_directionFilter", Value("FilterIncoming"));
    ASSERT_TRUE(context.save());

    ledger.reopen();
    ManagedObjectContext& reopened = ledger.launch();
    // Retitled and retyped in place: no second library or bill list.
    EXPECT_EQ(vaultSummary(reopened), kFixedVaults);
    EXPECT_EQ(reopened.count(ManagedObjectModel::shared().vault()), 3u);
    ManagedObject* library = ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front();
    EXPECT_EQ(library->valueForKey(u"vault_directionFilter").toString(), QStringLiteral("FilterAll"));
}

TEST(AppDelegate, OldBillManagerTitleBecomesScheduler)
{
    TempLedger ledger;
    VaultLibrary::insertVault(ledger.context(), ledger.delegate(), VaultType::BillManager, QStringLiteral("Bill Manager"));
    ledger.delegate().convertVaultLibraryObjects();
    EXPECT_EQ(vaultSummary(ledger.context()), kFixedVaults);
}

TEST(AppDelegate, XmlStoreIsConvertedOnceAndMovedAside)
{
    TempLedger ledger;
    ASSERT_TRUE(writeFile(ledger.folder() + QStringLiteral("/Quillfen.xml"), R"(<?xml version="1.0"?>
<database>
  <databaseInfo><version>1</version><UUID>11111111-2222-3333-4444-555555555555</UUID><nextObjectID>4</nextObjectID></databaseInfo>
  <object type="TRANSENTITY" id="z1">
    <attribute name="trans_uniqueid" type="string">T-1</attribute>
    <attribute name="trans_title" type="string">Groceries</attribute>
    <attribute name="trans_amount" type="float">-42.5</attribute>
  </object>
  <object type="VAULTENTITY" id="z2">
    <attribute name="vault_uniqueid" type="string">V-1</attribute>
    <attribute name="vault_type" type="string">Paid</attribute>
    <attribute name="vault_title" type="string">Paid</attribute>
  </object>
</database>
)"));
    ManagedObjectContext& context = ledger.launch();
    ASSERT_FALSE(ledger.delegate().storeError()) << qPrintable(ledger.delegate().storeError()->describe());
    EXPECT_TRUE(QFileInfo::exists(ledger.storePath()));
    EXPECT_TRUE(QFileInfo::exists(ledger.folder() + QStringLiteral("/BACKUP.xml")));
    EXPECT_FALSE(QFileInfo::exists(ledger.folder() + QStringLiteral("/Quillfen.xml")));

    ManagedObject* groceries = ledger.delegate().fetchTransObjectWithID(QStringLiteral("T-1"));
    ASSERT_NE(groceries, nullptr);
    const int direction = ManagedObjectModel::shared().trans().indexOfAttribute(u"trans_direction");
    EXPECT_EQ(groceries->primitiveValue(direction).toString(), QStringLiteral("Outgoing"));
    EXPECT_EQ(vaultSummary(context), kFixedVaults);
}

TEST(AppDelegate, OlderSqliteStoreIsMigratedWithDirectionAndRuleLinks)
{
    TempLedger ledger;
    const QString older = ledger.folder() + QStringLiteral("/Quillfen.db");
    QDir().mkpath(ledger.folder());
    {
        auto store = SqliteStore::open(older, SqliteStore::Mode::CreateIfMissing, SqliteStore::Layout::WithoutTransDirection);
        ASSERT_TRUE(store) << qPrintable(store.message());
        const ManagedObjectModel& model = ManagedObjectModel::shared();
        ChangeSet changes;
        auto record = [&](const EntityDescription& entity, std::int64_t key) -> RawRecord& {
            RawRecord& r = changes.inserted.emplace_back();
            r.entity = &entity;
            r.primaryKey = key;
            r.attributes.resize(entity.attributeCount());
            r.relationships.resize(entity.relationships().size());
            return r;
        };
        RawRecord& t = record(model.trans(), 1);
        t.attributes[model.trans().indexOfAttribute(u"trans_uniqueID")] = Value("T-9");
        t.attributes[model.trans().indexOfAttribute(u"trans_amount")] = Value(12.0);
        RawRecord& rule = record(model.smart(), 2);
        rule.attributes[model.smart().indexOfAttribute(u"smart_uniqueID")] = Value("S-1");
        RawRecord& smart = record(model.vault(), 3);
        smart.attributes[model.vault().indexOfAttribute(u"vault_uniqueID")] = Value("V-S");
        smart.attributes[model.vault().indexOfAttribute(u"vault_type")] = Value("Smart Playlist");
        smart.relationships[0] = {2};
        ASSERT_TRUE((*store)->save(changes));
    }
    ledger.launch();
    ASSERT_FALSE(ledger.delegate().storeError()) << qPrintable(ledger.delegate().storeError()->describe());
    ManagedObject* t = ledger.delegate().fetchTransObjectWithID(QStringLiteral("T-9"));
    ASSERT_NE(t, nullptr);
    const int direction = ManagedObjectModel::shared().trans().indexOfAttribute(u"trans_direction");
    EXPECT_EQ(t->primitiveValue(direction).toString(), QStringLiteral("Incoming"));
    ManagedObject* smart = ledger.delegate().fetchVaultObjectWithID(QStringLiteral("V-S"));
    ASSERT_NE(smart, nullptr);
    ASSERT_EQ(smart->relatedObjects(0).size(), 1u);
    EXPECT_EQ(smart->relatedObjects(0).front()->valueForKey(u"smart_uniqueID").toString(), QStringLiteral("S-1"));
    EXPECT_TRUE(QFileInfo::exists(older));
    EXPECT_FALSE(QFileInfo::exists(ledger.storePath() + QStringLiteral(".converting")));
}

TEST(AppDelegate, UnreadableStoreIsNeverOverwritten)
{
    TempLedger ledger;
    const QByteArray garbage("SQLite format 3\0 but then nothing sensible at all", 48);
    ASSERT_TRUE(writeFile(ledger.storePath(), garbage));
    ledger.launch();
    ASSERT_TRUE(ledger.delegate().storeError());
    EXPECT_FALSE(ledger.delegate().storeError()->message.isEmpty());
    // The program goes on with an empty ledger and cannot save over the file.
    EXPECT_EQ(ledger.context().count(ManagedObjectModel::shared().trans()), 0u);
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Later);
    EXPECT_TRUE(ledger.delegate().saveError());
    EXPECT_EQ(readFile(ledger.storePath()), garbage);
}

TEST(AppDelegate, ExampleStoreOpensPristineAndIsNeverSaved)
{
    TempLedger ledger;
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    ManagedObjectContext& context = ledger.launch();
    ASSERT_FALSE(ledger.delegate().storeError()) << qPrintable(ledger.delegate().storeError()->describe());
    EXPECT_TRUE(ledger.delegate().applicationSupportFolder().endsWith(QStringLiteral("Quillfen_Example")));
    const std::size_t transactions = context.count(ManagedObjectModel::shared().trans());
    EXPECT_GE(transactions, 250u);
    EXPECT_GE(ledger.delegate().fetchVaultObjectsWithType(VaultType::Account).size(), 3u);

    ledger.addTransaction(QStringLiteral("Not kept"), -1.0);
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    ledger.delegate().applicationWillTerminate();
    EXPECT_FALSE(UserDefaults::standard().boolForKey(DefaultsKey::UseExampleStore));

    ledger.reopen();
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    EXPECT_EQ(ledger.launch().count(ManagedObjectModel::shared().trans()), transactions);
    EXPECT_FALSE(QFileInfo::exists(ledger.storePath()));
}

TEST(AppDelegate, LookupsAndIdentifiers)
{
    TempLedger ledger;
    ledger.launch();
    Quillfen_AppDelegate& d = ledger.delegate();
    ManagedObjectContext& context = ledger.context();
    VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("savings"));
    VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Checking"));
    VaultLibrary::insertVault(context, d, VaultType::Account, QStringLiteral("Brokerage"));

    QStringList titles;
    for (ManagedObject* v : d.fetchVaultObjectsWithType(VaultType::Account))
        titles << v->valueForKey(u"vault_title").toString();
    EXPECT_EQ(titles, QStringList({QStringLiteral("Brokerage"), QStringLiteral("Checking"), QStringLiteral("savings")}));
    EXPECT_NE(d.fetchVaultObjectWithName(QStringLiteral("Checking")), nullptr);
    EXPECT_EQ(d.fetchVaultObjectWithName(QStringLiteral("checking")), nullptr);
    EXPECT_EQ(d.fetchTransObjectWithID(QStringLiteral("nothing")), nullptr);

    static const QRegularExpression uuid(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    const QString a = d.createUniqueID();
    EXPECT_TRUE(uuid.match(a).hasMatch()) << qPrintable(a);
    EXPECT_NE(a, d.createUniqueID());

    EXPECT_EQ(d.obtainAttachmentPathFrom(QStringLiteral("/old/home/Attachments/T-1/receipt.pdf")),
              ledger.folder() + QStringLiteral("/Attachments/T-1/receipt.pdf"));
    EXPECT_TRUE(d.obtainAttachmentPathFrom(QString()).isNull());

    EXPECT_TRUE(d.openFile(QStringLiteral("/cache/ABC-123.QUILLFENTRANSITEM")));
    EXPECT_EQ(d.transIDToOpen(), QStringLiteral("ABC-123"));
    EXPECT_FALSE(d.openFile(QStringLiteral("/cache/ABC-123.txt")));
}

TEST(AppDelegate, QuittingRemovesAttachmentsOfDeletedTransactionsAndSaves)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* t = ledger.addTransaction(QStringLiteral("Printer"), -199.0);
    const QString id = t->valueForKey(u"trans_uniqueID").toString();
    ManagedObject* attachment = ledger.context().insertNewObject(ManagedObjectModel::shared().attachment());
    attachment->setValueForKey(u"attachment_transParentID", Value(id));
    attachment->setValueForKey(u"attachment_uniqueID", Value("A-1"));
    ASSERT_TRUE(ledger.delegate().saveAction());
    const QString folder = ledger.folder() + QStringLiteral("/Attachments/") + id;
    ASSERT_TRUE(writeFile(folder + QStringLiteral("/receipt.pdf"), "%PDF"));

    ledger.context().deleteObject(t);
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    EXPECT_FALSE(QFileInfo::exists(folder));

    ledger.reopen();
    ledger.launch();
    EXPECT_EQ(ledger.delegate().fetchTransObjectWithID(id), nullptr);
    EXPECT_EQ(ledger.delegate().fetchAttachmentWithID(QStringLiteral("A-1")), nullptr);
    // The default button of the save-failed alert quits; "Quit" stays.
    EXPECT_EQ(Quillfen_AppDelegate::replyToSaveFailedAlert(Quillfen_AppDelegate::SaveFailedButton::Cancel),
              Quillfen_AppDelegate::TerminateReply::Now);
    EXPECT_EQ(Quillfen_AppDelegate::replyToSaveFailedAlert(Quillfen_AppDelegate::SaveFailedButton::Quit),
              Quillfen_AppDelegate::TerminateReply::Cancel);
}

TEST(AppDelegate, PathLikeTransactionIDsNeverLeadOutOfTheirAttachmentsFolder)
{
    TempLedger ledger;
    ledger.launch();
    const QStringList malformed{QStringLiteral(".."), QStringLiteral("../x"), QStringLiteral("a/b"),
                                QStringLiteral("LINK")};
    for (const QString& id : malformed + QStringList{QStringLiteral("GOOD-1")}) {
        ManagedObject* t = ledger.addTransaction(id, -1.0);
        t->setValueForKey(u"trans_uniqueID", Value(id));
        ManagedObject* attachment = ledger.context().insertNewObject(ManagedObjectModel::shared().attachment());
        attachment->setValueForKey(u"attachment_transParentID", Value(id));
    }
    ASSERT_TRUE(ledger.delegate().saveAction());
    ledger.reopen();
    ledger.launch();

    const QString data = ledger.folder();
    const QString attachments = data + QStringLiteral("/Attachments");
    const QString beside = QFileInfo(data).path();
    const QStringList sentinels{data + QStringLiteral("/sentinel.txt"), data + QStringLiteral("/x/sentinel.txt"),
                                attachments + QStringLiteral("/a/b/sentinel.txt"),
                                beside + QStringLiteral("/sentinel.txt"), beside + QStringLiteral("/linked/sentinel.txt")};
    for (const QString& path : sentinels)
        ASSERT_TRUE(writeFile(path, "keep"));
    ASSERT_TRUE(QFile::link(beside + QStringLiteral("/linked"), attachments + QStringLiteral("/LINK")));
    ASSERT_TRUE(writeFile(attachments + QStringLiteral("/GOOD-1/receipt.pdf"), "%PDF"));

    for (ManagedObject* t : ledger.delegate().fetchAllTransObjects())
        ledger.context().deleteObject(t);
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    for (const QString& path : sentinels)
        EXPECT_EQ(readFile(path), QByteArray("keep")) << qPrintable(path);
    EXPECT_TRUE(QFileInfo::exists(ledger.storePath()));
    EXPECT_FALSE(QFileInfo::exists(attachments + QStringLiteral("/GOOD-1")));
    // The records go with their transactions; only the files are spared.
    ledger.reopen();
    ledger.launch();
    EXPECT_TRUE(ledger.delegate().fetchAllTransObjects().empty());
    EXPECT_TRUE(ledger.delegate().fetchAllAttachments().empty());

    // A stored attachment path keeps only its last two names, and both must be safe.
    QStringList resolved;
    for (const QString& stored :
         {QStringLiteral("/old/Attachments/../receipt.pdf"), QStringLiteral("/old/Attachments/T-1/.."),
          QStringLiteral("/old/Attachments/T-1/"), QStringLiteral("../.."), QStringLiteral(".."),
          QStringLiteral("/"), QStringLiteral("receipt.pdf"), QStringLiteral("/old/Attachments/LINK/sentinel.txt"),
          QStringLiteral("/old/a/b/c.pdf")})
        resolved << ledger.delegate().obtainAttachmentPathFrom(stored).replace(attachments, QStringLiteral("<A>"));
    EXPECT_EQ(resolved.join(QLatin1Char('|')), QStringLiteral("||||||||<A>/b/c.pdf"));
}

TEST(AppDelegate, RestartWithoutSavingLeavesTheFilesAsTheyAre)
{
    TempLedger ledger;
    ledger.launch();
    ASSERT_TRUE(ledger.delegate().saveAction());
    const QByteArray saved = readFile(ledger.storePath());
    ledger.addTransaction(QStringLiteral("Never written"), -1);

    const qint64 job = ledger.delegate().restartWithoutSaving(QStringLiteral("/bin/true"));
    ASSERT_GT(job, 0);
    EXPECT_EQ(qgetenv("LAUNCH_PATH"), QByteArray("/bin/true"));
    EXPECT_FALSE(ledger.delegate().saveWhenQuit());
    EXPECT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    EXPECT_TRUE(ledger.delegate().terminateUnattended());
    EXPECT_EQ(readFile(ledger.storePath()), saved);
    EXPECT_FALSE(QFileInfo::exists(ledger.delegate().recoveryFilePath()));
    // The job waits for this process to end; the test stops it instead.
    EXPECT_EQ(::kill(static_cast<pid_t>(job), SIGTERM), 0);
}
