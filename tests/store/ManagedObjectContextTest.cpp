#include "support/MemoryPersistentStore.h"
#include "store/ManagedObjectContext.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::makeRawRecord;
using qf::test::MemoryPersistentStore;

namespace {

const ManagedObjectModel& model() { return ManagedObjectModel::shared(); }

QString titles(const std::vector<ManagedObject*>& objects)
{
    QStringList parts;
    for (const ManagedObject* o : objects)
        parts << o->valueForKey(u"trans_title").toString();
    return parts.join(u',');
}

class ContextTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        auto store = std::make_unique<MemoryPersistentStore>();
        store->addRecord(makeRawRecord(model().trans(), 3, {{"trans_title", "Rent"}, {"trans_amount", -500.0}}));
        store->addRecord(makeRawRecord(model().trans(), 7, {{"trans_title", "Salary"}, {"trans_amount", 2000.0}}));
        store->addRecord(makeRawRecord(model().trans(), 9, {{"trans_title", "Coffee"}, {"trans_amount", -3.5}}));
        store->addRecord(makeRawRecord(model().smart(), 20, {{"smart_key", "Tag"}}));
        RawRecord vault = makeRawRecord(model().vault(), 21, {{"vault_title", "Smart"}});
        vault.relationships[0] = {20, 99}; // 99 does not exist
        store->addRecord(std::move(vault));
        store->setNextObjectID(5); // behind the loaded keys on purpose
        m_store = store.get();
        m_context = std::make_unique<ManagedObjectContext>(std::move(store));
        ASSERT_TRUE(m_context->load());
        QObject::connect(m_context.get(), &ManagedObjectContext::objectsDidChange,
                         [this](const ObjectChanges& changes) { m_announced.push_back(changes); });
    }

    ManagedObject* trans(int i) const { return m_context->objects(model().trans()).at(i); }

    MemoryPersistentStore* m_store = nullptr;
    std::unique_ptr<ManagedObjectContext> m_context;
    std::vector<ObjectChanges> m_announced;
    const int m_title = model().trans().indexOfAttribute(u"trans_title");
    const int m_amount = model().trans().indexOfAttribute(u"trans_amount");
};

} // namespace

TEST_F(ContextTest, LoadsRecordsKeysAndRelationships)
{
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent,Salary,Coffee");
    EXPECT_EQ(trans(1)->primaryKey(), 7);
    EXPECT_EQ(trans(1)->valueForKey(u"trans_amount"), Value(2000.0));
    EXPECT_FALSE(m_context->hasChanges());

    ManagedObject* vault = m_context->objects(model().vault()).at(0);
    ManagedObject* rule = m_context->objects(model().smart()).at(0);
    ASSERT_EQ(vault->relatedObjects(0).size(), 1u); // the missing key is dropped
    EXPECT_EQ(vault->relatedObjects(0)[0], rule);

    // New records wait for their save to get a key, which continues after the
    // highest one stored whatever the file's counter says.
    ManagedObject* fresh = m_context->insertNewObject(u"TransEntity");
    EXPECT_TRUE(isProvisionalKey(fresh->primaryKey()));
    EXPECT_EQ(m_context->insertNewObject(u"NoSuchEntity"), nullptr);
    ASSERT_TRUE(m_context->save());
    EXPECT_EQ(fresh->primaryKey(), 22);

    const QString uri = trans(2)->objectURI();
    EXPECT_EQ(uri, "x-quillfen://11111111-2222-3333-4444-555555555555/TransEntity/p9");
    EXPECT_EQ(m_context->objectWithURI(uri), trans(2));
    EXPECT_EQ(m_context->objectWithURI(u"x-quillfen://11111111-2222-3333-4444-555555555555/TransEntity/p8"), nullptr);
    EXPECT_EQ(m_context->objectWithURI(u"x-quillfen://00000000-0000-0000-0000-000000000000/TransEntity/p9"), nullptr);
    EXPECT_EQ(m_context->objectWithURI(u"x-quillfen://11111111-2222-3333-4444-555555555555/TransEntity/9"), nullptr);
    EXPECT_EQ(m_context->objectWithURI(u"garbage"), nullptr);
}

TEST_F(ContextTest, FailedLoadLeavesTheContextEmpty)
{
    m_store->setLoadFailure(QStringLiteral("disk on fire"));
    const Status status = m_context->load();
    ASSERT_FALSE(status);
    EXPECT_TRUE(status.message().contains("disk on fire"));
    EXPECT_EQ(m_context->count(model().trans()), 0u);
}

TEST_F(ContextTest, TracksChangesAndKeepsCommittedValuesOnFirstWrite)
{
    ManagedObject* rent = trans(0);
    EXPECT_EQ(rent->committedValue(m_title), Value("Rent")); // never changed: the current value

    rent->setValue(m_title, Value("Rent May"));
    rent->setValue(m_title, Value("Rent June"));
    rent->setValue(m_amount, Value(-500)); // equal after coercion: no change
    EXPECT_TRUE(rent->isUpdated());
    EXPECT_EQ(rent->committedValue(m_title), Value("Rent"));
    EXPECT_EQ(rent->committedValuesForKeys({QStringLiteral("trans_title"), QStringLiteral("nonsense")}),
              (ValueDictionary{{QStringLiteral("trans_title"), Value("Rent")}}));
    EXPECT_EQ(rent->committedValuesForKeys().size(), static_cast<std::size_t>(model().trans().attributeCount()));
    EXPECT_FALSE(trans(1)->hasChanges());

    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    fresh->setValue(m_title, Value("New"));
    EXPECT_TRUE(fresh->isInserted());
    EXPECT_FALSE(fresh->isUpdated()); // inserted records are not also updated
    EXPECT_TRUE(fresh->committedValuesForKeys().empty());
    EXPECT_TRUE(fresh->committedValue(m_title).isNull());

    m_context->deleteObject(trans(2));
    EXPECT_EQ(m_context->insertedObjects(), std::vector<ManagedObject*>{fresh});
    EXPECT_EQ(m_context->updatedObjects(), std::vector<ManagedObject*>{rent});
    ASSERT_EQ(m_context->deletedObjects().size(), 1u);
    EXPECT_EQ(m_context->deletedObjects()[0]->primaryKey(), 9);
    EXPECT_TRUE(m_context->hasChanges());
    EXPECT_FALSE(rent->setValueForKey(u"trans_status", Value("x"))); // not stored
}

TEST_F(ContextTest, SaveWritesExactlyTheChangedRecords)
{
    trans(0)->setValue(m_title, Value("Rent May"));
    trans(1)->setValue(m_title, Value("Bonus"));
    trans(1)->setValue(m_title, Value("Salary")); // written back: nothing to store
    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    fresh->setValue(m_title, Value("New"));
    ManagedObject* gone = m_context->insertNewObject(model().trans());
    m_context->deleteObject(gone); // inserted and deleted before any save
    m_context->deleteObject(trans(2));

    ASSERT_TRUE(m_context->save());
    const ChangeSet& saved = m_store->lastChanges();
    ASSERT_EQ(saved.inserted.size(), 1u);
    EXPECT_EQ(saved.inserted[0].primaryKey, fresh->primaryKey());
    EXPECT_EQ(saved.inserted[0].attributes[m_title], Value("New"));
    ASSERT_EQ(saved.updated.size(), 1u);
    EXPECT_EQ(saved.updated[0].record.primaryKey, 3);
    EXPECT_EQ(saved.updated[0].record.attributes[m_title], Value("Rent May"));
    EXPECT_EQ(saved.updated[0].changedAttributes, 1u << m_title); // only what changed is written
    ASSERT_EQ(saved.deleted.size(), 1u);
    EXPECT_EQ(saved.deleted[0].primaryKey, 9);

    EXPECT_FALSE(m_context->hasChanges());
    EXPECT_FALSE(trans(0)->isUpdated());
    EXPECT_EQ(trans(0)->committedValue(m_title), Value("Rent May"));
    EXPECT_FALSE(fresh->isInserted());
    // The store gave the new record the next free key; the one deleted unsaved got none.
    EXPECT_FALSE(isProvisionalKey(fresh->primaryKey()));
    EXPECT_TRUE(isProvisionalKey(gone->primaryKey()));
    EXPECT_EQ(m_store->metadata().nextObjectID, fresh->primaryKey() + 1);

    // Nothing changed: the store is not bothered.
    const int saves = m_store->saveCount();
    ASSERT_TRUE(m_context->save());
    EXPECT_EQ(m_store->saveCount(), saves);
}

TEST_F(ContextTest, FailedSaveKeepsEveryChange)
{
    trans(0)->setValue(m_title, Value("Rent May"));
    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    m_context->deleteObject(trans(1));
    m_store->setSaveFailure(QStringLiteral("disk full"));

    const Status status = m_context->save();
    ASSERT_FALSE(status);
    EXPECT_TRUE(status.message().contains("disk full"));
    EXPECT_TRUE(fresh->isInserted());
    EXPECT_TRUE(trans(0)->isUpdated());
    EXPECT_EQ(trans(0)->committedValue(m_title), Value("Rent"));
    EXPECT_EQ(m_context->deletedObjects().size(), 1u);

    m_store->setSaveFailure({});
    ASSERT_TRUE(m_context->save());
    const ChangeSet& saved = m_store->lastChanges();
    EXPECT_EQ(saved.inserted.size() + saved.updated.size() + saved.deleted.size(), 3u);
    EXPECT_EQ(m_store->records().size(), 5u); // 5 loaded + 1 inserted - 1 deleted
}

TEST(ContextWithoutStore, HoldsRecordsButCannotSave)
{
    ManagedObjectContext context;
    ManagedObject* a = context.insertNewObject(ManagedObjectModel::shared().vault());
    EXPECT_TRUE(isProvisionalKey(a->primaryKey()));
    EXPECT_TRUE(a->objectURI().startsWith(u"x-quillfen://"));
    EXPECT_EQ(context.objectWithURI(a->objectURI()), a);
    const Status status = context.save();
    ASSERT_FALSE(status);
    EXPECT_FALSE(status.message().isEmpty());
    EXPECT_TRUE(a->isInserted());
}

TEST_F(ContextTest, ObjectsStayInOrderThroughManyDeletions)
{
    std::vector<ManagedObject*> made;
    for (int i = 0; i < 200; ++i) {
        made.push_back(m_context->insertNewObject(model().trans()));
        made.back()->setValue(m_title, Value(QString::number(i)));
    }
    for (int i = 0; i < 200; i += 2)
        m_context->deleteObject(made[i]);
    m_context->deleteObject(made[0]); // twice is once
    const auto& live = m_context->objects(model().trans());
    ASSERT_EQ(live.size(), 103u);
    EXPECT_EQ(live[2]->valueForKey(u"trans_title"), Value("Coffee"));
    EXPECT_EQ(live[3]->valueForKey(u"trans_title"), Value("1"));
    EXPECT_EQ(live[102]->valueForKey(u"trans_title"), Value("199"));
    EXPECT_TRUE(made[0]->isDeleted());
    EXPECT_EQ(m_context->objectWithURI(made[0]->objectURI()), nullptr);
}

TEST_F(ContextTest, UndoAndRedoOfSetInsertAndDelete)
{
    UndoManager& undo = m_context->undoManager();
    trans(0)->setValue(m_title, Value("Rent May"));
    m_context->processPendingChanges();

    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    fresh->setValue(m_title, Value("New"));
    m_context->processPendingChanges();

    ManagedObject* salary = trans(1);
    m_context->deleteObject(salary);
    m_context->processPendingChanges();
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent May,Coffee,New");

    undo.undo();
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent May,Salary,Coffee,New");
    EXPECT_TRUE(m_context->deletedObjects().empty());
    undo.undo(); // insert and its title were one event
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent May,Salary,Coffee");
    EXPECT_TRUE(m_context->insertedObjects().empty());
    undo.undo();
    EXPECT_EQ(trans(0)->valueForKey(u"trans_title"), Value("Rent"));
    EXPECT_FALSE(undo.canUndo());

    undo.redo();
    undo.redo();
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent May,Salary,Coffee,New");
    EXPECT_TRUE(fresh->isInserted());
    undo.redo();
    EXPECT_TRUE(salary->isDeleted());

    // Undoing a deletion that was saved brings the record back as a new row.
    ASSERT_TRUE(m_context->save());
    undo.undo();
    EXPECT_TRUE(salary->isInserted());
    ASSERT_TRUE(m_context->save());
    EXPECT_EQ(m_store->lastChanges().inserted.size(), 1u);
    EXPECT_NE(m_store->record(model().trans(), 7), nullptr);
}

TEST_F(ContextTest, ChangesWithRegistrationOffLeaveNoUndoStep)
{
    UndoManager& undo = m_context->undoManager();
    undo.disableUndoRegistration();
    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    trans(0)->setValue(m_title, Value("Quiet"));
    m_context->processPendingChanges();
    undo.enableUndoRegistration();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_TRUE(fresh->isInserted()); // still a change to save
    EXPECT_TRUE(trans(0)->isUpdated());
}

TEST_F(ContextTest, RollbackReturnsToTheSavedState)
{
    trans(0)->setValue(m_title, Value("Rent May"));
    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    ManagedObject* salary = trans(1);
    m_context->deleteObject(salary);
    ManagedObject* vault = m_context->objects(model().vault()).at(0);
    vault->setRelatedObjects(0, {});

    m_context->rollback();
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent,Salary,Coffee");
    EXPECT_FALSE(m_context->hasChanges());
    EXPECT_TRUE(fresh->isDeleted());
    EXPECT_FALSE(trans(0)->isUpdated());
    EXPECT_EQ(vault->relatedObjects(0).size(), 1u);
    EXPECT_FALSE(m_context->undoManager().canUndo());
}

TEST_F(ContextTest, RelationshipsAreUndoableAndDeletedRecordsAreCutOff)
{
    ManagedObject* vault = m_context->objects(model().vault()).at(0);
    ManagedObject* first = m_context->objects(model().smart()).at(0);
    ManagedObject* second = m_context->insertNewObject(model().smart());
    vault->addRelatedObject(0, second);
    vault->addRelatedObject(0, second);
    EXPECT_EQ(vault->relatedObjects(0), (std::vector<ManagedObject*>{first, second}));
    m_context->processPendingChanges();

    m_context->deleteObject(first);
    EXPECT_EQ(vault->relatedObjects(0), std::vector<ManagedObject*>{second});
    m_context->undoManager().undo();
    EXPECT_EQ(vault->relatedObjects(0), (std::vector<ManagedObject*>{first, second}));

    ASSERT_TRUE(m_context->save());
    const auto& updated = m_store->lastChanges().updated;
    ASSERT_EQ(updated.size(), 1u);
    EXPECT_TRUE(updated[0].relationshipsChanged);
    EXPECT_EQ(updated[0].record.relationships[0], (std::vector<std::int64_t>{20, second->primaryKey()}));
}

TEST_F(ContextTest, AnnouncesOncePerEventWithWhatChanged)
{
    trans(0)->setValue(m_title, Value("A"));
    trans(0)->setValue(m_title, Value("B"));
    ManagedObject* fresh = m_context->insertNewObject(model().trans());
    fresh->setValue(m_title, Value("New"));
    ManagedObject* passing = m_context->insertNewObject(model().trans());
    m_context->deleteObject(passing); // came and went within the event: not announced
    m_context->deleteObject(trans(2));
    EXPECT_TRUE(m_announced.empty());

    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    ASSERT_EQ(m_announced.size(), 1u);
    const ObjectChanges& changes = m_announced[0];
    EXPECT_EQ(changes.inserted, std::vector<ManagedObject*>{fresh});
    ASSERT_EQ(changes.updated.size(), 1u);
    EXPECT_EQ(changes.updated[0]->primaryKey(), 3);
    ASSERT_EQ(changes.deleted.size(), 1u);
    EXPECT_EQ(changes.deleted[0]->primaryKey(), 9);

    // The event closed the undo group: one undo takes all of it back, and is
    // announced like any other change.
    m_context->undoManager().undo();
    QCoreApplication::processEvents();
    ASSERT_EQ(m_announced.size(), 2u);
    EXPECT_EQ(m_announced[1].deleted, std::vector<ManagedObject*>{fresh});
    EXPECT_EQ(m_announced[1].inserted.size(), 1u);
    EXPECT_EQ(m_announced[1].updated.size(), 1u);
    EXPECT_EQ(titles(m_context->objects(model().trans())), "Rent,Salary,Coffee");
}

// Records keep only their non-null values, packed in attribute order: writes
// that add or drop a value in the middle must leave the others where they read.
TEST_F(ContextTest, NullAndEmptyValuesThroughWritesUndoAndRollback)
{
    const EntityDescription& e = model().trans();
    const int uniqueID = e.indexOfAttribute(u"trans_uniqueID");
    const int notes = e.indexOfAttribute(u"trans_notes");
    const int last = e.attributeCount() - 1;
    ManagedObject* rent = trans(0);
    UndoManager& undo = m_context->undoManager();

    // A null value reads as a shared null, also through the stored-value path.
    EXPECT_TRUE(rent->primitiveValue(notes).isNull());
    const Value* stored = rent->storedValueForKeyIndex(notes);
    ASSERT_NE(stored, nullptr);
    EXPECT_TRUE(stored->isNull());

    // The empty text is a value of its own, not null.
    rent->setValue(notes, Value(""));
    EXPECT_FALSE(rent->primitiveValue(notes).isNull());
    EXPECT_EQ(rent->primitiveValue(notes).type(), Value::Type::String);
    EXPECT_TRUE(rent->isUpdated());

    // Values around it stay put while values come and go on both sides.
    rent->setValue(uniqueID, Value("ID-1"));
    rent->setValue(last, Value::boolean(true));
    EXPECT_EQ(rent->primitiveValue(m_title), Value("Rent"));
    EXPECT_EQ(rent->primitiveValue(m_amount), Value(-500.0));
    EXPECT_EQ(rent->primitiveValue(uniqueID), Value("ID-1"));
    EXPECT_EQ(rent->primitiveValue(last), Value::boolean(true));
    rent->setValue(m_title, Value());
    EXPECT_TRUE(rent->primitiveValue(m_title).isNull());
    EXPECT_EQ(rent->primitiveValue(m_amount), Value(-500.0));
    EXPECT_EQ(rent->primitiveValue(uniqueID), Value("ID-1"));
    EXPECT_EQ(rent->committedValue(m_title), Value("Rent"));
    EXPECT_TRUE(rent->committedValue(notes).isNull());
    m_context->processPendingChanges();

    // Undo brings back both the null and the text it replaced.
    undo.undo();
    EXPECT_EQ(rent->primitiveValue(m_title), Value("Rent"));
    EXPECT_TRUE(rent->primitiveValue(notes).isNull());
    EXPECT_TRUE(rent->primitiveValue(uniqueID).isNull());
    EXPECT_TRUE(rent->primitiveValue(last).isNull());
    undo.redo();
    EXPECT_TRUE(rent->primitiveValue(m_title).isNull());
    EXPECT_EQ(rent->primitiveValue(notes), Value(""));

    // A saved null stays null; rollback restores the saved values exactly.
    ASSERT_TRUE(m_context->save());
    const RawRecord* saved = m_store->record(e, 3);
    ASSERT_NE(saved, nullptr);
    EXPECT_TRUE(saved->attributes[m_title].isNull());
    EXPECT_EQ(saved->attributes[notes], Value(""));
    rent->setValue(m_title, Value("Back"));
    rent->setValue(notes, Value());
    rent->setValue(m_amount, Value());
    m_context->rollback();
    EXPECT_TRUE(rent->primitiveValue(m_title).isNull());
    EXPECT_EQ(rent->primitiveValue(notes), Value(""));
    EXPECT_EQ(rent->primitiveValue(m_amount), Value(-500.0));
    EXPECT_FALSE(m_context->hasChanges());
}

// A record filled value by value grows its packed storage past every size.
TEST(ContextWithoutStore, RecordTakesEveryAttributeOneByOne)
{
    ManagedObjectContext context;
    const EntityDescription& vault = ManagedObjectModel::shared().vault();
    ManagedObject* record = context.insertNewObject(vault);
    for (int i = vault.attributeCount() - 1; i >= 0; --i)
        record->setValue(i, Value(QString::number(i)));
    for (int i = 0; i < vault.attributeCount(); ++i)
        EXPECT_EQ(record->primitiveValue(i), vault.coerce(i, Value(QString::number(i)))) << i;
    for (int i = 0; i < vault.attributeCount(); i += 2)
        record->setPrimitiveValue(i, Value());
    for (int i = 0; i < vault.attributeCount(); ++i)
        EXPECT_EQ(record->primitiveValue(i).isNull(), i % 2 == 0) << i;
}
