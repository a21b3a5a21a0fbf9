// Two connections on one store file stand for two processes: each has its
// own SqliteStore, and they meet only in the file.

#include "store/ManagedObjectContext.h"
#include "store/SqliteStore.h"
#include "store/StoreSnapshot.h"

#include "StoreTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace qf;
using namespace qf::test;

namespace {

const ManagedObjectModel& model() { return ManagedObjectModel::shared(); }

std::unique_ptr<ManagedObjectContext> openContext(const QString& path)
{
    auto store = SqliteStore::open(path, SqliteStore::Mode::CreateIfMissing);
    EXPECT_TRUE(store.isOk()) << store.message().toStdString();
    if (!store)
        return nullptr;
    auto context = std::make_unique<ManagedObjectContext>(std::move(*store));
    const Status loaded = context->load();
    EXPECT_TRUE(loaded.isOk()) << loaded.message().toStdString();
    return context;
}

int attribute(const char* key) { return model().trans().indexOfAttribute(QString::fromLatin1(key)); }

ManagedObject* addTrans(ManagedObjectContext& context, const QString& id, const QString& title)
{
    ManagedObject* record = context.insertNewObject(model().trans());
    record->setValueForKey(u"trans_uniqueID", Value(id));
    record->setValueForKey(u"trans_title", Value(title));
    return record;
}

ManagedObject* byID(ManagedObjectContext& context, const QString& id)
{
    for (ManagedObject* record : context.objects(model().trans())) {
        if (record->valueForKey(u"trans_uniqueID").toString() == id)
            return record;
    }
    return nullptr;
}

// "id title notes" of every transaction, sorted: two contexts agree when these do.
QString contents(ManagedObjectContext& context)
{
    QStringList rows;
    for (ManagedObject* record : context.objects(model().trans())) {
        rows << QStringLiteral("%1 %2 %3 #%4")
                    .arg(record->valueForKey(u"trans_uniqueID").toString(), record->valueForKey(u"trans_title").toString(),
                         record->valueForKey(u"trans_notes").toString())
                    .arg(record->primaryKey());
    }
    rows.sort();
    return rows.join(QLatin1Char('\n'));
}

class SharedStore : public ::testing::Test {
protected:
    void SetUp() override
    {
        path = dir.filePath("Quillfen.1ccdb");
        first = openContext(path);
        ASSERT_TRUE(first);
        addTrans(*first, "A", "Rent");
        addTrans(*first, "B", "Salary");
        ASSERT_TRUE(first->save());
        second = openContext(path);
        ASSERT_TRUE(second);
        QObject::connect(first.get(), &ManagedObjectContext::objectsDidChange,
                         [this](const ObjectChanges& changes) { announced.push_back(changes); });
    }

    QTemporaryDir dir;
    QString path;
    std::unique_ptr<ManagedObjectContext> first, second;
    std::vector<ObjectChanges> announced;
};

} // namespace

TEST_F(SharedStore, KeysAreHandedOutByTheFileAndEditsOfOtherKeysSurvive)
{
    // Both insert without knowing of each other: neither save may fail, and
    // the two records get different keys.
    ManagedObject* fromFirst = addTrans(*first, "C", "Coffee");
    ManagedObject* fromSecond = addTrans(*second, "D", "Dinner");
    EXPECT_TRUE(isProvisionalKey(fromFirst->primaryKey()));
    ASSERT_TRUE(first->save());
    ASSERT_TRUE(second->save());
    EXPECT_FALSE(isProvisionalKey(fromSecond->primaryKey()));
    EXPECT_NE(fromFirst->primaryKey(), fromSecond->primaryKey());
    EXPECT_EQ(fromFirst->primaryKey(), 3);
    EXPECT_EQ(fromSecond->primaryKey(), 4);

    // Each changes another key of the same record: both changes stay.
    byID(*first, "A")->setValueForKey(u"trans_title", Value("Rent May"));
    byID(*second, "A")->setValueForKey(u"trans_notes", Value("paid late"));
    ASSERT_TRUE(first->save());
    ASSERT_TRUE(second->save());
    auto reader = openContext(path);
    EXPECT_EQ(contents(*reader).toStdString(), "A Rent May paid late #1\nB Salary  #2\nC Coffee  #3\nD Dinner  #4");
}

TEST_F(SharedStore, MergeTakesNewChangedAndDeletedRecordsAndKeepsUnsavedEdits)
{
    ManagedObject* rent = byID(*first, "A");
    ManagedObject* salary = byID(*first, "B");
    // An unsaved edit here, with its undo step.
    rent->setValueForKey(u"trans_title", Value("Rent (mine)"));
    first->processPendingChanges();
    ASSERT_TRUE(first->undoManager().canUndo());
    announced.clear();

    EXPECT_FALSE(first->hasChangedElsewhere());
    byID(*second, "A")->setValueForKey(u"trans_title", Value("Rent (theirs)"));
    byID(*second, "A")->setValueForKey(u"trans_notes", Value("theirs"));
    second->deleteObject(byID(*second, "B"));
    addTrans(*second, "E", "Electricity");
    ASSERT_TRUE(second->save());

    ASSERT_TRUE(first->hasChangedElsewhere());
    ASSERT_TRUE(first->mergeChangesFromStore());
    EXPECT_FALSE(first->hasChangedElsewhere());
    EXPECT_EQ(rent->valueForKey(u"trans_title").toString(), "Rent (mine)"); // unsaved edit kept
    EXPECT_EQ(rent->valueForKey(u"trans_notes").toString(), "theirs");     // untouched key merged
    EXPECT_EQ(rent->committedValue(attribute("trans_title")).toString(), "Rent (theirs)");
    EXPECT_TRUE(salary->isDeleted());
    EXPECT_TRUE(first->deletedObjects().empty()); // not a deletion of ours to save
    ManagedObject* electricity = byID(*first, "E");
    ASSERT_TRUE(electricity);
    EXPECT_FALSE(electricity->hasChanges());

    first->processPendingChanges();
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(announced[0].inserted, std::vector<ManagedObject*>{electricity});
    EXPECT_EQ(announced[0].deleted, std::vector<ManagedObject*>{salary});
    EXPECT_EQ(announced[0].updated, std::vector<ManagedObject*>{rent});

    // The undo stack still works on the merged record, and undoing the edit
    // returns to what the file holds now, not to what it held before.
    first->undoManager().undo();
    EXPECT_EQ(rent->valueForKey(u"trans_title").toString(), "Rent (theirs)");
    first->undoManager().redo();
    EXPECT_EQ(rent->valueForKey(u"trans_title").toString(), "Rent (mine)");

    // Saving again writes only the edit of this side, and then both agree.
    ASSERT_TRUE(first->save());
    ASSERT_TRUE(second->mergeChangesFromStore());
    EXPECT_EQ(contents(*first).toStdString(), contents(*second).toStdString());
    EXPECT_EQ(contents(*openContext(path)).toStdString(),
              "A Rent (mine) theirs #1\nE Electricity  #3");
}

TEST_F(SharedStore, AnEditOfARecordDeletedElsewhereLetsTheDeletionStand)
{
    second->deleteObject(byID(*second, "A"));
    ASSERT_TRUE(second->save());
    ManagedObject* rent = byID(*first, "A");
    rent->setValueForKey(u"trans_notes", Value("too late"));
    first->processPendingChanges();
    announced.clear();

    ASSERT_TRUE(first->save());
    EXPECT_TRUE(rent->isDeleted());
    EXPECT_FALSE(first->hasChanges());
    first->processPendingChanges();
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(announced[0].deleted, std::vector<ManagedObject*>{rent});
    EXPECT_EQ(contents(*openContext(path)).toStdString(), "B Salary  #2");
}

TEST_F(SharedStore, ADeletionUndoneElsewhereBringsTheRecordBack)
{
    ManagedObject* salary = byID(*first, "B");
    second->deleteObject(byID(*second, "B"));
    second->processPendingChanges();
    ASSERT_TRUE(second->save());
    ASSERT_TRUE(first->mergeChangesFromStore());
    EXPECT_TRUE(salary->isDeleted());

    second->undoManager().undo();
    ASSERT_TRUE(second->save());
    ASSERT_TRUE(first->mergeChangesFromStore());
    EXPECT_FALSE(salary->isDeleted());
    EXPECT_FALSE(salary->hasChanges());
    EXPECT_EQ(contents(*first).toStdString(), contents(*second).toStdString());
}

TEST_F(SharedStore, RuleLinksMergeAndFollowDeletedRules)
{
    const EntityDescription& vaultEntity = model().vault();
    ManagedObject* vault = second->insertNewObject(vaultEntity);
    vault->setValueForKey(u"vault_uniqueID", Value("V"));
    ManagedObject* rule = second->insertNewObject(model().smart());
    rule->setValueForKey(u"smart_key", Value("Title"));
    ManagedObject* other = second->insertNewObject(model().smart());
    other->setValueForKey(u"smart_key", Value("Amount"));
    vault->setRelatedObjects(0, {rule, other});
    ASSERT_TRUE(second->save());

    ASSERT_TRUE(first->mergeChangesFromStore());
    ASSERT_EQ(first->count(vaultEntity), 1u);
    ManagedObject* merged = first->objects(vaultEntity).front();
    ASSERT_EQ(merged->relatedObjects(0).size(), 2u);
    EXPECT_EQ(merged->relatedObjects(0)[0]->valueForKey(u"smart_key").toString(), "Title");
    EXPECT_EQ(merged->relatedObjects(0)[1]->valueForKey(u"smart_key").toString(), "Amount");

    second->deleteObject(rule);
    ASSERT_TRUE(second->save());
    ASSERT_TRUE(first->mergeChangesFromStore());
    ASSERT_EQ(merged->relatedObjects(0).size(), 1u);
    EXPECT_EQ(merged->relatedObjects(0)[0]->valueForKey(u"smart_key").toString(), "Amount");
    EXPECT_FALSE(first->hasChanges());
}

TEST_F(SharedStore, AReaderTooFarBehindReadsEverythingAgain)
{
    // A save too large to log record by record, followed by a deletion:
    // the lagging side takes in both by reading the whole file.
    for (std::size_t i = 0; i < SqliteStore::kLoggedRecordsPerSave + 1; ++i)
        addTrans(*second, QStringLiteral("N%1").arg(i), QStringLiteral("Bulk"));
    ASSERT_TRUE(second->save());
    second->deleteObject(byID(*second, "B"));
    byID(*second, "A")->setValueForKey(u"trans_notes", Value("after the bulk"));
    ASSERT_TRUE(second->save());

    ManagedObject* salary = byID(*first, "B");
    ASSERT_TRUE(first->mergeChangesFromStore());
    EXPECT_EQ(first->count(model().trans()), SqliteStore::kLoggedRecordsPerSave + 2);
    EXPECT_TRUE(salary->isDeleted());
    EXPECT_EQ(byID(*first, "A")->valueForKey(u"trans_notes").toString(), "after the bulk");
    EXPECT_EQ(contents(*first).toStdString(), contents(*second).toStdString());
}

TEST(SharedStoreFile, OlderVersionGainsTheChangeLog)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    openContext(path).reset();
    execSql(path, "DROP TABLE QuillfenChanges; DELETE FROM QuillfenMetadata WHERE key IN ('generation', "
                  "'fullSyncGeneration'); UPDATE QuillfenMetadata SET value = 1 WHERE key = 'version'");
    auto writer = openContext(path);
    ASSERT_TRUE(writer);
    EXPECT_EQ(writer->persistentStore()->metadata().version, 1); // as found; the file now says 2
    auto follower = openContext(path);
    addTrans(*writer, "A", "Rent");
    ASSERT_TRUE(writer->save());
    ASSERT_TRUE(follower->hasChangedElsewhere());
    ASSERT_TRUE(follower->mergeChangesFromStore());
    EXPECT_TRUE(byID(*follower, "A"));
    auto again = SqliteStore::open(path, SqliteStore::Mode::MustExist);
    ASSERT_TRUE(again.isOk());
    EXPECT_EQ((*again)->metadata().version, SqliteStore::kVersion);
}

TEST(SharedStoreFile, CrashInTheMiddleOfACheckpointLosesNoRow)
{
    // The -wal holds every committed page and the main file only its first:
    // what a crash or a full disk leaves halfway through a checkpoint.
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    const QString copy = dir.filePath("crashed/Quillfen.1ccdb");
    ASSERT_TRUE(QDir().mkpath(dir.filePath("crashed")));
    QString expected;
    {
        auto context = openContext(path);
        ASSERT_TRUE(context);
        for (int i = 0; i < 3000; ++i)
            addTrans(*context, QStringLiteral("T%1").arg(i), QStringLiteral("Transaction %1").arg(i));
        ASSERT_TRUE(context->save());
        expected = contents(*context);
        // Rewriting the whole file with automatic checkpoints off puts every
        // page in the -wal; the open connections keep it from being folded
        // back while the files are copied.
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, "PRAGMA wal_autocheckpoint=0; VACUUM", nullptr, nullptr, nullptr), SQLITE_OK);
        const QByteArray main = readFile(path);
        const QByteArray wal = readFile(path + "-wal");
        ASSERT_GT(wal.size(), main.size()); // the rows are all in the -wal
        const int pageSize = 4096;
        ASSERT_GT(main.size(), pageSize);
        ASSERT_TRUE(writeFile(copy, main.left(pageSize)));
        ASSERT_TRUE(writeFile(copy + "-wal", wal));
        sqlite3_close(db);
    }
    // The copy's header promises more pages than the file has.
    auto reopened = openContext(copy);
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->count(model().trans()), 3000u);
    EXPECT_EQ(contents(*reopened).toStdString(), expected.toStdString());

    // Without its -wal the same cut file is damaged, and is left as it was.
    const QString lost = dir.filePath("lost/Quillfen.1ccdb");
    ASSERT_TRUE(QDir().mkpath(dir.filePath("lost")));
    ASSERT_TRUE(writeFile(lost, readFile(path).left(4096 * 3)));
    const QByteArray before = readFile(lost);
    auto refused = SqliteStore::open(lost, SqliteStore::Mode::CreateIfMissing);
    ASSERT_FALSE(refused.isOk());
    EXPECT_TRUE(refused.message().contains("damaged")) << refused.message().toStdString();
    EXPECT_EQ(readFile(lost), before);
}

TEST(StoreSnapshot, HoldsOneCommittedStateWhileAnotherWriterIsMidSave)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    const QString copy = dir.filePath("out/Quillfen.1ccdb");
    ASSERT_TRUE(QDir().mkpath(dir.filePath("out")));
    auto context = openContext(path);
    ASSERT_TRUE(context);
    for (int i = 0; i < 500; ++i)
        addTrans(*context, QStringLiteral("T%1").arg(i), QStringLiteral("Transaction %1").arg(i));
    ASSERT_TRUE(context->save());

    // Another writer has begun and not committed: the copy has none of it.
    sqlite3* writer = nullptr;
    ASSERT_EQ(sqlite3_open(QFile::encodeName(path).constData(), &writer), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(writer, "BEGIN IMMEDIATE; DELETE FROM \"TransEntity\" WHERE pk % 2 = 0", nullptr, nullptr,
                           nullptr),
              SQLITE_OK);
    const Status written = StoreSnapshot::write(path, copy);
    ASSERT_TRUE(written.isOk()) << written.message().toStdString();
    ASSERT_EQ(sqlite3_exec(writer, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(writer);
    EXPECT_FALSE(QFileInfo::exists(copy + "-wal"));
    EXPECT_EQ(QDir(dir.filePath("out")).entryList(QDir::Files), QStringList{"Quillfen.1ccdb"});

    auto counts = StoreSnapshot::check(copy);
    ASSERT_TRUE(counts.isOk()) << counts.message().toStdString();
    EXPECT_EQ((*counts)["TransEntity"], 500);
    EXPECT_EQ((*StoreSnapshot::check(path))["TransEntity"], 250);
    auto reopened = openContext(copy);
    ASSERT_TRUE(reopened);
    EXPECT_EQ(contents(*reopened), contents(*context));

    // A copy cut short, another file, nothing: refused, each by name.
    const QByteArray whole = readFile(copy);
    ASSERT_TRUE(writeFile(dir.filePath("short.1ccdb"), whole.left(whole.size() / 2)));
    ASSERT_TRUE(writeFile(dir.filePath("notes.1ccdb"), "not a database at all, just words\n"));
    for (const char* bad : {"short.1ccdb", "notes.1ccdb", "missing.1ccdb"}) {
        auto refused = StoreSnapshot::check(dir.filePath(bad));
        ASSERT_FALSE(refused.isOk()) << bad;
        EXPECT_TRUE(refused.message().contains(QString::fromLatin1(bad))) << refused.message().toStdString();
    }
    // A failed copy leaves nothing behind under either name.
    EXPECT_FALSE(StoreSnapshot::write(dir.filePath("missing.1ccdb"), dir.filePath("out/none.1ccdb")).isOk());
    EXPECT_TRUE(QDir(dir.filePath("out")).entryList({"none*"}, QDir::Files).isEmpty());
}
