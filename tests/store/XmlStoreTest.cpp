#include "store/XmlStore.h"
#include "store/XmlStoreReader.h"
#include "store/XmlStoreWriter.h"

#include "StoreTestSupport.h"

#include <QTemporaryDir>

using namespace qf;
using namespace qf::test;

namespace {

const ManagedObjectModel& model() { return ManagedObjectModel::shared(); }

QString dataFile(const char* name) { return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/store/") + QString::fromLatin1(name); }

// Checks that bytes are refused with a message naming the line.
void expectRejected(const QByteArray& xml, int line, const char* reason)
{
    Result<XmlStoreReader::Document> document = XmlStoreReader::read(xml);
    ASSERT_FALSE(document.isOk()) << xml.toStdString();
    const QString message = document.error().message;
    EXPECT_TRUE(message.startsWith(QStringLiteral("line %1:").arg(line))) << message.toStdString();
    EXPECT_TRUE(message.contains(QString::fromUtf8(reason))) << message.toStdString();
}

QByteArray transWith(const char* attribute)
{
    return QByteArray("<database>\n<object type=\"TRANSENTITY\" id=\"z1\">\n") + attribute + "\n</object>\n</database>\n";
}

} // namespace

TEST(XmlStoreReader, ReadsOlderFilesTolerantly)
{
    Result<XmlStoreReader::Document> document = XmlStoreReader::readFile(dataFile("tolerant.xml"));
    ASSERT_TRUE(document.isOk()) << document.message().toStdString();
    // Unknown entities, attributes and elements are skipped; ids that are not
    // "zN" and objects without one get keys after the largest "zN"; links to
    // missing records or to records of another entity are dropped.
    EXPECT_EQ(dumpRecords(document->records),
              "TransEntity#3 trans_title=\"Coffee & Cake <Café>\" trans_amount=real:-4.5 trans_date=date:815000000.5 "
              "trans_keywords=\"\" trans_notes=\"  two  spaces kept  \" trans_isPending=YES\n"
              "SmartEntity#5 smart_key=\"Title\" smart_amountFirstValue=real:0\n"
              "VaultEntity#2 vault_title=\"Coffee\" vault_type=\"Smart Playlist\" vault_shouldPublish=YES "
              "vault_smartObjects=[5,6]\n"
              "SmartEntity#6 smart_key=\"Amount\" smart_isMultiValued=NO\n"
              "PhotoEntity#7 photo_path=\"/photos/a.jpg\"");
    EXPECT_EQ(document->metadata.uuid, "5D2C1B4A-0000-4000-8000-00000000ABCD");
    EXPECT_EQ(document->metadata.version, 134481920);
    EXPECT_EQ(document->metadata.nextObjectID, 8); // raised above every key in use
}

TEST(XmlStoreReader, MalformedInputIsAnErrorWithItsLine)
{
    expectRejected("", 1, "malformed XML");
    expectRejected("<!-- only a comment -->", 1, "malformed XML");
    expectRejected("this is not XML", 1, "malformed XML");
    expectRejected("<?xml version=\"1.0\"?>\n<ledger><object/></ledger>", 2, "not <database>");
    expectRejected("<database>\n<object type=\"TRANSENTITY\" id=\"z1\">\n<attribute name=\"trans_title\" type=\"string\">cut",
                   3, "malformed XML");
    expectRejected("<database>\n<object>\n</database>", 3, "malformed XML");
    expectRejected("<database></database>\n<database/>", 2, "malformed XML");
    expectRejected(transWith("<attribute name=\"trans_amount\" type=\"float\">12,5x</attribute>"), 3,
                   "bad number “12,5x” for trans_amount");
    expectRejected(transWith("<attribute name=\"trans_amount\" type=\"float\">nan</attribute>"), 3, "bad number");
    expectRejected(transWith("<attribute name=\"trans_date\" type=\"date\"></attribute>"), 3, "bad number");
    expectRejected(transWith("<attribute name=\"trans_isPending\" type=\"bool\">maybe</attribute>"), 3, "bad boolean");
    expectRejected(transWith("<attribute name=\"trans_photos\" type=\"binary\">@@@</attribute>"), 3, "bad base64");
    expectRejected(transWith("<attribute name=\"trans_title\" type=\"string\">a<b/>c</attribute>"), 3, "malformed XML");
    expectRejected("<database>\n<databaseInfo>\n<nextObjectID>-3</nextObjectID>\n</databaseInfo>\n</database>", 3,
                   "bad number");
    expectRejected("<database>\n<object type=\"SMARTENTITY\" id=\"z1\"/>\n<object type=\"SMARTENTITY\" id=\"z1\"/>\n"
                   "</database>",
                   3, "used twice");

    QByteArray deep = "<database>\n<object type=\"TRANSENTITY\" id=\"z1\">\n";
    for (int i = 0; i < 200; ++i)
        deep += "<x>";
    expectRejected(deep, 3, "nested too deeply");
}

TEST(XmlStoreWriter, WriteThenReadKeepsEverything)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.xml");
    std::vector<RawRecord> records;
    records.push_back(makeRecord(model().trans(), 7,
                                 {{"trans_title", QStringLiteral("Grüße aus 東京 & <Co> \"quoted\"")},
                                  {"trans_notes", QStringLiteral("line one\r\nline two\ttab\x01")},
                                  {"trans_keywords", QString("")},
                                  {"trans_amount", -12.34},
                                  {"trans_date", Value::date(-0.125)},
                                  {"trans_isPending", Value::boolean(false)},
                                  {"trans_photos", Value::data(QByteArray("\0\xff\x10", 3))}}));
    records.push_back(makeRecord(model().vault(), 2, {{"vault_title", "  padded  "}, {"vault_budgetLimit", 1e-7}},
                                 {{9, 8}}));
    records.push_back(makeRecord(model().smart(), 8, {{"smart_date", Value::date(816134400.0)}}));
    records.push_back(makeRecord(model().smart(), 9, {{"smart_amountSecondValue", 3.4028234663852886e38}}));
    const StoreMetadata metadata{QStringLiteral("11111111-2222-3333-4444-555555555555"), 1, 10};

    const Status written = XmlStoreWriter::writeFile(path, metadata, records);
    ASSERT_TRUE(written.isOk()) << written.message().toStdString();
    const QByteArray bytes = readFile(path);
    EXPECT_TRUE(bytes.contains("<object type=\"TRANSENTITY\" id=\"z7\">"));
    EXPECT_TRUE(bytes.contains("name=\"trans_amount\" type=\"float\">-12.34<")); // shortest float text
    EXPECT_TRUE(bytes.contains("<relationship name=\"vault_smartobjects\" type=\"0/0\" destination=\"SMARTENTITY\" "
                               "idrefs=\"z9 z8\"/>"));

    Result<XmlStoreReader::Document> document = XmlStoreReader::readFile(path);
    ASSERT_TRUE(document.isOk()) << document.message().toStdString();
    EXPECT_EQ(dumpRecords(document->records), dumpRecords(records));
    EXPECT_EQ(document->metadata.uuid, metadata.uuid);
    EXPECT_EQ(document->metadata.nextObjectID, 10);
}

TEST(XmlStore, SavesWholeFileOrNothing)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("Quillfen.xml");
    ASSERT_TRUE(QFile::copy(dataFile("tolerant.xml"), path));
    auto opened = XmlStore::open(path);
    ASSERT_TRUE(opened.isOk()) << opened.message().toStdString();
    XmlStore& store = **opened;
    std::vector<RawRecord> records = loadAll(store);
    ASSERT_EQ(records.size(), 5u);

    RawRecord trans = records[0];
    trans.attributes[1] = Value("Tea");
    ChangeSet changes;
    changes.updated = {{trans, 1u << 1, false}};
    changes.deleted = {records[4]};
    changes.inserted = {makeRecord(model().budget(), 8, {{"budget_tags", "food"}, {"budget_limitAmount", 250.0}})};
    ASSERT_TRUE(store.save(changes).isOk());

    std::vector<RawRecord> expected = {trans, records[1], records[2], records[3], changes.inserted[0]};
    EXPECT_EQ(dumpRecords(loadAll(store)), dumpRecords(expected));
    auto reopened = XmlStore::open(path);
    ASSERT_TRUE(reopened.isOk()) << reopened.message().toStdString();
    EXPECT_EQ(dumpRecords(loadAll(**reopened)), dumpRecords(expected));
    EXPECT_EQ((*reopened)->metadata().nextObjectID, 9);
    EXPECT_EQ((*reopened)->metadata().uuid, "5D2C1B4A-0000-4000-8000-00000000ABCD");

    const QByteArray before = readFile(path);
    ChangeSet bad;
    bad.inserted = {makeRecord(model().trans(), 20, {{"trans_title", "new"}})};
    bad.updated = {{records[4], 1u << 1, false}}; // deleted above
    EXPECT_FALSE(store.save(bad).isOk());
    ChangeSet twice;
    twice.inserted = {changes.inserted[0]};
    EXPECT_FALSE(store.save(twice).isOk());
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(dumpRecords(loadAll(store)), dumpRecords(expected));

    EXPECT_FALSE(XmlStore::open(dir.filePath("missing.xml")).isOk());
}
