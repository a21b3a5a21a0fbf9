#include "store/SqliteStore.h"

#include "StoreTestSupport.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace qf;
using namespace qf::test;

namespace {

const ManagedObjectModel& model() { return ManagedObjectModel::shared(); }

std::unique_ptr<SqliteStore> openStore(const QString& path, SqliteStore::Mode mode = SqliteStore::Mode::MustExist,
                                       SqliteStore::Layout layout = SqliteStore::Layout::Current)
{
    auto store = SqliteStore::open(path, mode, layout);
    EXPECT_TRUE(store.isOk()) << store.message().toStdString();
    return store ? std::move(store).value() : nullptr;
}

// Every attribute type, with the awkward values: empty and non-ASCII text,
// NUL bytes, an empty blob, fractional dates, negative floats, nulls.
std::uint32_t titleAndPhotos()
{
    return (1u << model().trans().indexOfAttribute(u"trans_title")) | (1u << model().trans().indexOfAttribute(u"trans_photos"));
}

std::vector<RawRecord> sampleRecords()
{
    std::vector<RawRecord> records;
    records.push_back(makeRecord(model().trans(), 7,
                                 {{"trans_uniqueID", "0F6C3A52-9D1E-4B7A-8C1D-2E3F4A5B6C7D"},
                                  {"trans_title", QStringLiteral("Café Grüße – 東京 🍣")},
                                  {"trans_amount", -12.34},
                                  {"trans_direction", "Outgoing"},
                                  {"trans_date", Value::date(816134400.25)},
                                  {"trans_notes", QString("")},
                                  {"trans_keywords", "food, travel"},
                                  {"trans_isPending", Value::boolean(true)},
                                  {"trans_isUpcoming", Value::boolean(false)},
                                  {"trans_photos", Value::data(QByteArray("\0\x01\xff binary", 10))},
                                  {"trans_isInitalAccountAmount", Value::boolean(false)}}));
    records.push_back(makeRecord(model().trans(), 3,
                                 {{"trans_title", "Salary"}, {"trans_amount", 2500.0},
                                  {"trans_photos", Value::data(QByteArray())},
                                  {"trans_date", Value::date(-86400.5)}}));
    records.push_back(makeRecord(model().vault(), 10,
                                 {{"vault_uniqueID", "A"}, {"vault_type", "Smart Playlist"},
                                  {"vault_accountInitialAmount", 0.1}, {"vault_shouldPublish", Value::boolean(true)}},
                                 {{12, 11}}));
    records.push_back(makeRecord(model().smart(), 11, {{"smart_key", "Title"}, {"smart_amountFirstValue", 0.0}}));
    records.push_back(makeRecord(model().smart(), 12, {{"smart_key", "Amount"}, {"smart_isMultiValued", Value::boolean(false)}}));
    records.push_back(makeRecord(model().photo(), 13, {{"photo_path", "/tmp/a b/ü.jpg"}}));
    return records;
}

// Records as the store hands them back: entity by entity in model order, by key.
std::vector<RawRecord> inStoreOrder(std::vector<RawRecord> records)
{
    auto entityRank = [](const RawRecord& r) {
        const auto& entities = model().entities();
        return std::find(entities.begin(), entities.end(), r.entity) - entities.begin();
    };
    std::stable_sort(records.begin(), records.end(), [&](const RawRecord& a, const RawRecord& b) {
        return std::pair(entityRank(a), a.primaryKey) < std::pair(entityRank(b), b.primaryKey);
    });
    return records;
}

} // namespace

TEST(SqliteStore, NewStoreHasIdentityAndWalJournal)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    EXPECT_FALSE(SqliteStore::open(path, SqliteStore::Mode::MustExist).isOk());
    EXPECT_FALSE(QFileInfo::exists(path)); // must-exist never creates

    QString uuid;
    {
        auto store = openStore(path, SqliteStore::Mode::CreateIfMissing);
        ASSERT_TRUE(store);
        uuid = store->metadata().uuid;
        EXPECT_TRUE(QRegularExpression("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$")
                        .match(uuid)
                        .hasMatch())
            << uuid.toStdString();
        EXPECT_EQ(store->metadata().nextObjectID, 1);
        EXPECT_TRUE(loadAll(*store).empty());
    }
    const QByteArray header = readFile(path);
    ASSERT_GE(header.size(), 20);
    EXPECT_EQ(header[18], 2); // WAL: the file format's write version
    auto reopened = openStore(path, SqliteStore::Mode::CreateIfMissing);
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->metadata().uuid, uuid); // an existing store is opened, not replaced

    auto other = openStore(dir.filePath("second.1ccdb"), SqliteStore::Mode::CreateIfMissing);
    ASSERT_TRUE(other);
    EXPECT_NE(other->metadata().uuid, uuid);
}

TEST(SqliteStore, RoundTripKeepsEveryTypeAndRelationship)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    const std::vector<RawRecord> records = sampleRecords();
    {
        auto store = openStore(path, SqliteStore::Mode::CreateIfMissing);
        ASSERT_TRUE(store);
        ChangeSet changes;
        changes.inserted = records;
        const auto saved = store->save(changes);
        ASSERT_TRUE(saved.isOk()) << saved.message().toStdString();
        EXPECT_EQ(saved->insertedKeys, (std::vector<std::int64_t>{7, 3, 10, 11, 12, 13})); // kept: not provisional
        EXPECT_EQ(store->metadata().nextObjectID, 14);
    }
    auto store = openStore(path);
    ASSERT_TRUE(store);
    EXPECT_EQ(store->metadata().nextObjectID, 14);
    EXPECT_EQ(dumpRecords(loadAll(*store)), dumpRecords(inStoreOrder(records)));

    // Updates write the changed columns and replace links; deleting a rule unlinks it.
    std::vector<RawRecord> changed = records;
    RawRecord& salary = changed[1];
    salary.attributes[static_cast<std::size_t>(model().trans().indexOfAttribute(u"trans_title"))] = Value("Bonus");
    salary.attributes[static_cast<std::size_t>(model().trans().indexOfAttribute(u"trans_photos"))] = Value();
    RawRecord& vault = changed[2];
    vault.relationships[0] = {11, 12};
    ChangeSet changes;
    changes.updated = {{salary, titleAndPhotos(), false}, {vault, 0, true}};
    const RawRecord rule12 = changed[4];
    changes.deleted = {rule12};
    ASSERT_TRUE(store->save(changes).isOk());
    changed.erase(changed.begin() + 4);
    changed[2].relationships[0] = {11};
    EXPECT_EQ(dumpRecords(loadAll(*store)), dumpRecords(inStoreOrder(changed)));
    store.reset();
    auto again = openStore(path);
    ASSERT_TRUE(again);
    EXPECT_EQ(dumpRecords(loadAll(*again)), dumpRecords(inStoreOrder(changed)));
    EXPECT_EQ(again->metadata().nextObjectID, 14);
}

TEST(SqliteStore, FailedSaveChangesNothing)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    const std::vector<RawRecord> records = sampleRecords();
    auto store = openStore(path, SqliteStore::Mode::CreateIfMissing);
    ASSERT_TRUE(store);
    ChangeSet initial;
    initial.inserted = records;
    ASSERT_TRUE(store->save(initial).isOk());

    // The update and the delete run before the colliding insert fails.
    RawRecord renamed = records[0];
    renamed.attributes[1] = Value("Renamed");
    ChangeSet collides;
    collides.deleted = {records[3]};
    collides.updated = {{renamed, 1u << 1, false}};
    collides.inserted = {makeRecord(model().trans(), 99, {{"trans_title", "new"}}),
                         makeRecord(model().trans(), 3, {{"trans_title", "same key as Salary"}})};
    const auto failed = store->save(collides);
    EXPECT_FALSE(failed.isOk());
    EXPECT_TRUE(failed.message().contains("TransEntity 3")) << failed.message().toStdString();
    // In plain words: SQLite's own wording names tables and constraints.
    EXPECT_TRUE(failed.message().contains("clashes with one already stored")) << failed.message().toStdString();
    EXPECT_FALSE(failed.message().contains("UNIQUE")) << failed.message().toStdString();
    EXPECT_EQ(store->metadata().nextObjectID, 14);

    // A record another process deleted stays deleted; the save goes through.
    ChangeSet missing;
    missing.updated = {{makeRecord(model().trans(), 55, {{"trans_title", "not there"}}), 1u << 1, false}};
    const auto vanished = store->save(missing);
    ASSERT_TRUE(vanished.isOk()) << vanished.message().toStdString();
    EXPECT_EQ(vanished->vanishedKeys, std::vector<std::int64_t>{55});

    ChangeSet malformed;
    malformed.inserted = {RawRecord{&model().trans(), 60, {Value("too few attributes")}, {}}};
    EXPECT_FALSE(store->save(malformed).isOk());

    EXPECT_EQ(dumpRecords(loadAll(*store)), dumpRecords(inStoreOrder(records)));
    store.reset();
    auto reopened = openStore(path);
    ASSERT_TRUE(reopened);
    EXPECT_EQ(reopened->metadata().nextObjectID, 14);
    EXPECT_EQ(dumpRecords(loadAll(*reopened)), dumpRecords(inStoreOrder(records)));

    // The connection is usable again after a rollback.
    ChangeSet fine;
    fine.inserted = {makeRecord(model().budget(), 14, {{"budget_tags", "food"}})};
    EXPECT_TRUE(reopened->save(fine).isOk());
    EXPECT_EQ(loadAll(*reopened).size(), records.size() + 1);
}

TEST(SqliteStore, RefusesFilesThatAreNotStoresWithoutTouchingThem)
{
    QTemporaryDir dir;
    auto expectRefused = [&](const QString& name, const QByteArray& bytes, const char* expected) {
        const QString path = dir.filePath(name);
        if (!bytes.isNull()) {
            ASSERT_TRUE(writeFile(path, bytes));
        }
        const QByteArray before = readFile(path);
        for (auto mode : {SqliteStore::Mode::MustExist, SqliteStore::Mode::CreateIfMissing}) {
            auto store = SqliteStore::open(path, mode);
            ASSERT_FALSE(store.isOk()) << name.toStdString();
            EXPECT_TRUE(store.message().contains(QString::fromUtf8(expected))) << store.message().toStdString();
        }
        EXPECT_EQ(readFile(path), before) << name.toStdString();
        EXPECT_FALSE(QFileInfo::exists(path + "-wal")) << name.toStdString();
    };

    QByteArray noise(8192, '\0');
    for (int i = 0; i < noise.size(); ++i)
        noise[i] = static_cast<char>((i * 7919 + 13) % 251);
    expectRefused("noise.1ccdb", noise, "not a Quillfen store");
    expectRefused("empty.1ccdb", QByteArray(""), "empty");
    expectRefused("header-only.1ccdb", QByteArray("SQLite format 3\0", 16) + QByteArray(84, '\x01'), "damaged");

    // Another program's SQLite database.
    const QString foreign = dir.filePath("foreign.db");
    execSql(foreign, "CREATE TABLE people (name TEXT); INSERT INTO people VALUES ('Ada');");
    expectRefused("foreign.db", QByteArray(), "another program");

    // A store of a newer version, and one whose tables are incomplete.
    const QString newer = dir.filePath("newer.1ccdb");
    openStore(newer, SqliteStore::Mode::CreateIfMissing).reset();
    execSql(newer, "UPDATE QuillfenMetadata SET value = 99 WHERE key = 'version'");
    expectRefused("newer.1ccdb", QByteArray(), "newer version");
    const QString partial = dir.filePath("partial.1ccdb");
    openStore(partial, SqliteStore::Mode::CreateIfMissing).reset();
    execSql(partial, "DROP TABLE PhotoEntity");
    expectRefused("partial.1ccdb", QByteArray(), "PhotoEntity");

    // A real store cut off in the middle.
    const QString full = dir.filePath("full.1ccdb");
    {
        auto store = openStore(full, SqliteStore::Mode::CreateIfMissing);
        ASSERT_TRUE(store);
        ChangeSet many;
        for (int i = 1; i <= 2000; ++i)
            many.inserted.push_back(makeRecord(model().trans(), i, {{"trans_title", QString("Transaction %1").arg(i)}}));
        ASSERT_TRUE(store->save(many).isOk());
    }
    const QByteArray whole = readFile(full);
    ASSERT_GT(whole.size(), 32768);
    expectRefused("truncated.1ccdb", whole.left(whole.size() / 2), "damaged");
}

TEST(SqliteStore, LayoutWithoutTransDirection)
{
    QTemporaryDir dir;
    const QString legacy = dir.filePath("Quillfen.db");
    const RawRecord record =
        makeRecord(model().trans(), 1, {{"trans_title", "Rent"}, {"trans_amount", -700.0}, {"trans_direction", "Outgoing"}});
    {
        auto store = openStore(legacy, SqliteStore::Mode::CreateIfMissing, SqliteStore::Layout::WithoutTransDirection);
        ASSERT_TRUE(store);
        ChangeSet changes;
        changes.inserted = {record};
        ASSERT_TRUE(store->save(changes).isOk());
        const std::vector<RawRecord> loaded = loadAll(*store);
        ASSERT_EQ(loaded.size(), 1u);
        EXPECT_EQ(dumpRecord(loaded[0]), "TransEntity#1 trans_title=\"Rent\" trans_amount=real:-700");
    }
    const QByteArray before = readFile(legacy);
    auto asCurrent = SqliteStore::open(legacy, SqliteStore::Mode::MustExist);
    ASSERT_FALSE(asCurrent.isOk());
    EXPECT_TRUE(asCurrent.message().contains("older layout")) << asCurrent.message().toStdString();
    EXPECT_EQ(readFile(legacy), before);

    // A current store read as the older layout simply leaves the direction out.
    const QString current = dir.filePath("Quillfen.1ccdb");
    {
        auto store = openStore(current, SqliteStore::Mode::CreateIfMissing);
        ChangeSet changes;
        changes.inserted = {record};
        ASSERT_TRUE(store->save(changes).isOk());
    }
    auto asLegacy = openStore(current, SqliteStore::Mode::MustExist, SqliteStore::Layout::WithoutTransDirection);
    ASSERT_TRUE(asLegacy);
    const std::vector<RawRecord> loaded = loadAll(*asLegacy);
    ASSERT_EQ(loaded.size(), 1u);
    EXPECT_TRUE(loaded[0].attributes[3].isNull());
}

TEST(SqliteStore, WideKeyRangesLoadCompleteAndInKeyOrder)
{
    // Keys spread far apart make the loader split the table into ranges read
    // on several connections; the sink must still see one ordered stream.
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    std::vector<std::int64_t> keys;
    for (std::int64_t block = 0; block < 8; ++block) {
        for (std::int64_t i = 0; i < 25; ++i)
            keys.push_back(block * 97001 + i * 3 + 1);
    }
    {
        auto store = openStore(path, SqliteStore::Mode::CreateIfMissing);
        ASSERT_TRUE(store);
        ChangeSet changes;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            const std::int64_t key = keys[(i * 37) % keys.size()]; // not in key order
            // Values with nulls between them: ranges read ahead travel packed.
            changes.inserted.push_back(makeRecord(model().trans(), key,
                                                  {{"trans_title", QString::number(key)},
                                                   {"trans_isPending", Value::boolean(key % 2 == 0)}}));
        }
        ASSERT_TRUE(store->save(changes).isOk());
    }
    auto store = openStore(path);
    ASSERT_TRUE(store);
    const std::size_t pending = static_cast<std::size_t>(model().trans().indexOfAttribute(u"trans_isPending"));
    std::vector<std::int64_t> loaded;
    bool titlesMatch = true;
    for (const RawRecord& record : loadAll(*store)) {
        loaded.push_back(record.primaryKey);
        titlesMatch = titlesMatch && record.attributes[1].toString() == QString::number(record.primaryKey)
                      && record.attributes[pending] == Value::boolean(record.primaryKey % 2 == 0)
                      && record.attributes[0].isNull() && record.attributes[2].isNull();
    }
    EXPECT_EQ(loaded, keys);
    EXPECT_TRUE(titlesMatch);
}

TEST(SqliteStore, DamagedPagesFailTheLoadWithoutChangingTheFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.1ccdb");
    {
        auto store = openStore(path, SqliteStore::Mode::CreateIfMissing);
        ASSERT_TRUE(store);
        ChangeSet many;
        for (int i = 1; i <= 3000; ++i)
            many.inserted.push_back(makeRecord(model().trans(), i, {{"trans_title", QString("Transaction %1").arg(i)}}));
        ASSERT_TRUE(store->save(many).isOk());
    }
    QByteArray bytes = readFile(path);
    // Scribble over the pages of the second half, keeping the header and schema pages.
    for (qsizetype i = bytes.size() / 2; i < bytes.size() - 4096; i += 4096)
        bytes.replace(i, 64, QByteArray(64, '\x5A'));
    ASSERT_TRUE(writeFile(path, bytes));

    {
        // Header and schema are intact, so only reading the rows can tell.
        auto store = openStore(path);
        ASSERT_TRUE(store);
        std::size_t count = 0;
        const Status loaded = store->load([&](RawRecord&&) { ++count; });
        EXPECT_FALSE(loaded.isOk()) << count;
        EXPECT_TRUE(loaded.message().contains("Could not read the store")) << loaded.message().toStdString();
    }
    EXPECT_EQ(readFile(path), bytes);
}
