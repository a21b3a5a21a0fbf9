#include "store/SqliteStore.h"
#include "store/StoreConversion.h"
#include "store/XmlStore.h"

#include "StoreTestSupport.h"

#include <QTemporaryDir>

using namespace qf;
using namespace qf::test;

namespace {

const ManagedObjectModel& model() { return ManagedObjectModel::shared(); }

// "uniqueID=direction" for transactions, "uniqueID->[rule uniqueIDs]" for vaults.
std::string summary(const std::vector<RawRecord>& records)
{
    std::map<std::int64_t, QString> ruleIDs;
    for (const RawRecord& record : records) {
        if (record.entity == &model().smart())
            ruleIDs[record.primaryKey] = record.attributes[0].toString();
    }
    QStringList lines;
    for (const RawRecord& record : records) {
        if (record.entity == &model().trans()) {
            lines << record.attributes[0].toString() + QLatin1Char('=') + record.attributes[3].debugString();
        } else if (record.entity == &model().vault()) {
            QStringList rules;
            for (std::int64_t key : record.relationships[0])
                rules << ruleIDs[key];
            lines << record.attributes[0].toString() + QStringLiteral("->") + rules.join(QLatin1Char(','));
        }
    }
    return lines.join(QLatin1Char(' ')).toStdString();
}

} // namespace

TEST(StoreConversion, XmlToSqliteDerivesDirectionAndKeepsRules)
{
    QTemporaryDir dir;
    auto source = XmlStore::open(QStringLiteral(QUILLFEN_TEST_DATA_DIR "/store/older-ledger.xml"));
    ASSERT_TRUE(source.isOk()) << source.message().toStdString();
    auto target = SqliteStore::open(dir.filePath("Quillfen.1ccdb"), SqliteStore::Mode::CreateIfMissing);
    ASSERT_TRUE(target.isOk()) << target.message().toStdString();

    const Status copied = copyRecords(**source, **target);
    ASSERT_TRUE(copied.isOk()) << copied.message().toStdString();
    const std::vector<RawRecord> records = loadAll(**target);
    ASSERT_EQ(records.size(), 7u);
    // The link to the missing z99 is dropped; the rules keep their order.
    EXPECT_EQ(summary(records),
              "T-IN=\"Incoming\" T-OUT=\"Outgoing\" T-ZERO=\"\" T-NONE=\"\" V-SMART->S-AMOUNT,S-TITLE");
    EXPECT_EQ((*target)->metadata().nextObjectID, 8);
}

TEST(StoreConversion, OlderSqliteLayoutIntoStoreWithRecords)
{
    QTemporaryDir dir;
    const QString legacyPath = dir.filePath("Quillfen.db");
    {
        auto legacy = SqliteStore::open(legacyPath, SqliteStore::Mode::CreateIfMissing,
                                        SqliteStore::Layout::WithoutTransDirection);
        ASSERT_TRUE(legacy.isOk());
        ChangeSet changes;
        changes.inserted = {makeRecord(model().trans(), 1, {{"trans_uniqueID", "OLD-OUT"}, {"trans_amount", -3.0}}),
                            makeRecord(model().smart(), 2, {{"smart_uniqueID", "OLD-RULE"}}),
                            makeRecord(model().vault(), 3, {{"vault_uniqueID", "OLD-VAULT"}}, {{2}})};
        ASSERT_TRUE((*legacy)->save(changes).isOk());
    }
    // Older files use the rollback journal; reading one must not switch it.
    execSql(legacyPath, "PRAGMA journal_mode=DELETE");
    const QByteArray legacyBytes = readFile(legacyPath);
    auto source = SqliteStore::open(legacyPath, SqliteStore::Mode::MustExist, SqliteStore::Layout::WithoutTransDirection);
    ASSERT_TRUE(source.isOk()) << source.message().toStdString();

    // A target that already holds records: the copies get keys after them.
    auto target = SqliteStore::open(dir.filePath("Quillfen.1ccdb"), SqliteStore::Mode::CreateIfMissing);
    ASSERT_TRUE(target.isOk());
    ChangeSet existing;
    existing.inserted = {makeRecord(model().smart(), 1, {{"smart_uniqueID", "NEW-RULE"}}),
                         makeRecord(model().trans(), 2, {{"trans_uniqueID", "NEW-IN"}, {"trans_amount", 1.0},
                                                         {"trans_direction", "Incoming"}})};
    ASSERT_TRUE((*target)->save(existing).isOk());

    ASSERT_TRUE(copyRecords(**source, **target).isOk());
    const std::vector<RawRecord> records = loadAll(**target);
    EXPECT_EQ(summary(records), "NEW-IN=\"Incoming\" OLD-OUT=\"Outgoing\" OLD-VAULT->OLD-RULE");
    EXPECT_EQ((*target)->metadata().nextObjectID, 6);
    source = Error{};
    EXPECT_EQ(readFile(legacyPath), legacyBytes);
}
