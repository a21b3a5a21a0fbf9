#include "app/RecoveryFile.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/FileBytes.h"
#include "support/TempLedger.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::readFile;
using qf::test::writeFile;

namespace {

// Every record with its non-null values and related uniqueIDs, one line
// each, sorted: the whole ledger as one comparable text.
QString dump(ManagedObjectContext& context)
{
    QStringList lines;
    for (const EntityDescription* entity : ManagedObjectModel::shared().entities()) {
        for (ManagedObject* record : context.objects(*entity)) {
            QStringList fields{entity->name()};
            for (int i = 0; i < entity->attributeCount(); ++i) {
                if (!record->primitiveValue(i).isNull())
                    fields << entity->attributes()[i].name + QLatin1Char('=') + record->primitiveValue(i).debugString();
            }
            for (int i = 0; i < static_cast<int>(entity->relationships().size()); ++i) {
                QStringList related;
                for (ManagedObject* other : record->relatedObjects(i))
                    related << other->primitiveValue(0).toString();
                fields << entity->relationships()[i].name + QStringLiteral("=[") + related.join(QLatin1Char(',')) +
                              QLatin1Char(']');
            }
            lines << fields.join(QLatin1Char(' '));
        }
    }
    lines.sort();
    return lines.join(QLatin1Char('\n'));
}

ManagedObject* insertRule(ManagedObjectContext& context, const char* uniqueID)
{
    ManagedObject* rule = context.insertNewObject(ManagedObjectModel::shared().smart());
    rule->setValueForKey(u"smart_uniqueID", Value(uniqueID));
    return rule;
}

QString trimmed(const char* json)
{
    return QString::fromUtf8(json).simplified();
}

} // namespace

TEST(RecoveryFile, UnsavedChangesComeBackWholeOverTheSavedStore)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Rent"), -800);
    ManagedObject* coffee = ledger.addTransaction(QStringLiteral("Coffee"), -3.5, QStringLiteral("food"));
    ManagedObject* smart =
        VaultLibrary::insertVault(context, ledger.delegate(), VaultType::SmartPlaylist, QStringLiteral("Big"));
    smart->addRelatedObject(0, insertRule(context, "RULE-1"));
    ASSERT_TRUE(ledger.delegate().saveAction());

    context.deleteObject(rent);
    coffee->setValueForKey(u"trans_title", Value("Espresso"));
    coffee->setValueForKey(u"trans_keywords", Value());
    ManagedObject* salary = ledger.addTransaction(QStringLiteral("Salary"), 2500);
    salary->setValueForKey(u"trans_photos", Value::data(QByteArray("\x00\xff\x10 png", 7)));
    salary->setValueForKey(u"trans_isPending", Value::boolean(true));
    ManagedObject* rule = insertRule(context, "RULE-2");
    rule->setValueForKey(u"smart_amountFirstValue", Value(99.5));
    rule->setValueForKey(u"smart_date", Value::date(700000000.25));
    smart->addRelatedObject(0, rule);
    smart->setValueForKey(u"vault_dateRangeFrom", Value::date(650000000.5));
    const QString expected = dump(context);

    const QString path = ledger.delegate().recoveryFilePath();
    EXPECT_EQ(QFileInfo(path).fileName(), QStringLiteral("Quillfen.1ccdb.recovery"));
    Result<QString> written = RecoveryFile::write(path, UnsavedChanges::collect(context));
    ASSERT_TRUE(written) << qPrintable(written.message());
    EXPECT_EQ(*written, path);

    ledger.reopen();
    ManagedObjectContext& reopened = ledger.launch();
    ASSERT_NE(dump(reopened), expected);
    Result<UnsavedChanges> read = RecoveryFile::read(path);
    ASSERT_TRUE(read) << qPrintable(read.message());
    EXPECT_EQ(read->count(RecordChange::Kind::Delete), 1);
    EXPECT_EQ(read->count(RecordChange::Kind::Insert), 2);
    EXPECT_EQ(read->count(RecordChange::Kind::Update), 2);
    const ApplyReport report = read->applyTo(reopened);
    EXPECT_EQ(report.applied, 5);
    EXPECT_EQ(report.notFound, 0);
    EXPECT_EQ(dump(reopened), expected);
}

TEST(RecoveryFile, AnUpdateNamesItsRecordByUniqueIDAndCarriesOnlyTheKeysItChanged)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* coffee = ledger.addTransaction(QStringLiteral("Coffee"), -3.5);
    const QString coffeeID = coffee->valueForKey(u"trans_uniqueID").toString();
    ASSERT_TRUE(ledger.delegate().saveAction());
    coffee->setValueForKey(u"trans_title", Value("Espresso"));
    const UnsavedChanges changes = UnsavedChanges::collect(ledger.context());
    EXPECT_EQ(RecoveryFile::serialize(changes).simplified(),
              trimmed(R"({ "changes": [ { "change": "update", "entity": "TransEntity", "relationships": { },
                           "uniqueID": "%1", "values": { "trans_title": "Espresso" } } ], "quillfenRecovery": 1 })")
                  .arg(coffeeID)
                  .toUtf8());

    // Another ledger holds the record at another primary key, and another
    // program changed its amount meanwhile: both survive.
    TempLedger other;
    other.launch();
    other.addTransaction(QStringLiteral("Filler"), -1);
    other.addTransaction(QStringLiteral("Coffee"), -4)->setValueForKey(u"trans_uniqueID", Value(coffeeID));
    ASSERT_TRUE(other.delegate().saveAction());
    const ApplyReport report = changes.applyTo(other.context());
    EXPECT_EQ(report.applied, 1);
    ManagedObject* applied = other.delegate().fetchTransObjectWithID(coffeeID);
    ASSERT_NE(applied, nullptr);
    EXPECT_EQ(applied->valueForKey(u"trans_title").toString(), QStringLiteral("Espresso"));
    EXPECT_EQ(applied->valueForKey(u"trans_amount").toDouble(), -4.0);
    EXPECT_EQ(other.delegate().fetchObjectsWithEntityName(QStringLiteral("TransEntity"), QStringLiteral("trans_title"),
                                                          Value("Filler"))
                  .size(),
              1u);

    // Gone from the store by now: counted, nothing else touched.
    other.context().deleteObject(applied);
    EXPECT_EQ(changes.applyTo(other.context()).notFound, 1);
}

TEST(RecoveryFile, MalformedFilesAreRefusedWithAReasonAndLeftUntouched)
{
    const QString change = QStringLiteral(R"({"quillfenRecovery": 1, "changes": [{"change": "update",
        "entity": "%1", "uniqueID": "X-1", "values": {%2}, "relationships": {%3}}]})");
    const struct {
        QString text;
        QString reason;
    } cases[] = {
        {QString(), QStringLiteral("(at position 0)")},
        {QStringLiteral(R"({"quillfenRecovery": 1, "changes": [)"), QStringLiteral("(at position 36)")},
        {QStringLiteral(R"({"quillfenRecovery": 2, "changes": []})"), QStringLiteral("not a recovery file of version 1")},
        {QStringLiteral(R"({"quillfenRecovery": 1, "changes": [{"change": "delete", "entity": "TransEntity"}]})"),
         QStringLiteral("change 1: no uniqueID")},
        {change.arg(QStringLiteral("Nothing"), QString(), QString()),
         QStringLiteral("change 1: unknown entity \"Nothing\"")},
        {change.arg(QStringLiteral("TransEntity"), QStringLiteral(R"("trans_colour": "red")"), QString()),
         QStringLiteral("change 1: \"trans_colour\" is no key of TransEntity")},
        {change.arg(QStringLiteral("TransEntity"), QStringLiteral(R"("trans_amount": "lots")"), QString()),
         QStringLiteral("change 1: the value of \"trans_amount\" is not a float")},
        {change.arg(QStringLiteral("TransEntity"), QStringLiteral(R"("trans_photos": "not base64!")"), QString()),
         QStringLiteral("change 1: the value of \"trans_photos\" is not a binary")},
        {change.arg(QStringLiteral("VaultEntity"), QString(), QStringLiteral(R"("vault_smartObjects": [3])")),
         QStringLiteral("change 1: \"vault_smartObjects\" must list uniqueIDs")},
    };
    TempLedger ledger;
    ledger.launch();
    const QString path = ledger.delegate().recoveryFilePath();
    for (const auto& c : cases) {
        SCOPED_TRACE(qPrintable(c.text));
        ASSERT_TRUE(writeFile(path, c.text.toUtf8()));
        Result<UnsavedChanges> read = ledger.delegate().readRecoveryFile();
        ASSERT_FALSE(read);
        EXPECT_TRUE(read.message().startsWith(path + QStringLiteral(" is not a readable recovery file: ")))
            << qPrintable(read.message());
        EXPECT_TRUE(read.message().endsWith(c.reason)) << qPrintable(read.message());
        EXPECT_EQ(readFile(path), c.text.toUtf8());
    }

    // Unsaved changes of a later quit do not go over it, but beside it.
    const QByteArray unreadable = readFile(path);
    ledger.addTransaction(QStringLiteral("Later"), -1);
    Result<QString> written = RecoveryFile::write(path, UnsavedChanges::collect(ledger.context()));
    ASSERT_TRUE(written) << qPrintable(written.message());
    EXPECT_NE(*written, path);
    EXPECT_EQ(QFileInfo(*written).dir(), QFileInfo(path).dir());
    EXPECT_EQ(readFile(path), unreadable);
    EXPECT_TRUE(RecoveryFile::read(*written));
}

TEST(RecoveryFile, ALaterQuitAddsToTheFileAndSettingAsideNeverDeletes)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ASSERT_TRUE(ledger.delegate().saveAction());
    const QString path = ledger.delegate().recoveryFilePath();
    ledger.addTransaction(QStringLiteral("First"), -1);
    ASSERT_TRUE(RecoveryFile::write(path, UnsavedChanges::collect(context)));
    context.rollback();
    ledger.addTransaction(QStringLiteral("Second"), -2);
    Result<QString> written = RecoveryFile::write(path, UnsavedChanges::collect(context));
    ASSERT_TRUE(written);
    EXPECT_EQ(*written, path);
    context.rollback();

    Result<UnsavedChanges> both = RecoveryFile::read(path);
    ASSERT_TRUE(both) << qPrintable(both.message());
    both->applyTo(context);
    QStringList titles;
    for (ManagedObject* t : ledger.delegate().fetchAllTransObjects())
        titles << t->valueForKey(u"trans_title").toString();
    EXPECT_EQ(titles, QStringList({QStringLiteral("First"), QStringLiteral("Second")}));

    // Setting aside again never goes over the file set aside first.
    const QByteArray bytes = readFile(path);
    Result<QString> aside = ledger.delegate().setAsideRecoveryFile();
    ASSERT_TRUE(aside) << qPrintable(aside.message());
    EXPECT_TRUE(QFileInfo(*aside).fileName().startsWith(QStringLiteral("Quillfen.1ccdb.recovery.set-aside-")));
    EXPECT_FALSE(ledger.delegate().hasRecoveryFile());
    ASSERT_TRUE(writeFile(path, "again"));
    Result<QString> again = RecoveryFile::setAside(path);
    ASSERT_TRUE(again);
    EXPECT_EQ(readFile(*aside), bytes);
    EXPECT_EQ(readFile(*again), QByteArray("again"));
}

TEST(RecoveryFile, AStoreWhoseFirstSaveFailedGetsNoSecondLibrary)
{
    // Kept as inserted: the fixed vaults of that launch, and one account.
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ledger.addAccount(QStringLiteral("Checking"));
    const QString path = ledger.delegate().recoveryFilePath();
    ASSERT_TRUE(RecoveryFile::write(path, UnsavedChanges::collect(context)));
    context.rollback();
    ledger.delegate().convertVaultLibraryObjects(); // the next launch makes its own
    ASSERT_TRUE(ledger.delegate().saveAction());

    Result<UnsavedChanges> kept = RecoveryFile::read(path);
    ASSERT_TRUE(kept) << qPrintable(kept.message());
    kept->applyTo(context);
    QStringList types;
    for (ManagedObject* vault : ledger.delegate().fetchAllVaultObjects())
        types << vault->valueForKey(u"vault_type").toString();
    types.sort();
    EXPECT_EQ(types.join(u','), QStringLiteral("Account,Bill Manager,Master Vault,Untagged"));
}
