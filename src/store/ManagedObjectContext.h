#pragma once

#include "common/Result.h"
#include "store/ManagedObject.h"
#include "store/PersistentStore.h"
#include "store/UndoManager.h"

#include <QObject>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

namespace qf {

// What changed between two processPendingChanges() calls.
struct ObjectChanges {
    std::vector<ManagedObject*> inserted;
    std::vector<ManagedObject*> updated;
    std::vector<ManagedObject*> deleted;
    bool isEmpty() const { return inserted.empty() && updated.empty() && deleted.empty(); }
};

// Makes the record object for an entity (the record classes plug in here).
using ObjectFactory =
    std::function<std::unique_ptr<ManagedObject>(const EntityDescription&, ManagedObjectContext&, std::int64_t)>;

// The in-memory ledger: every record of one store, loaded at once. Reads and
// fetches never touch the disk; save() writes what changed since the last
// save in one transaction of the store. Main thread only.
class ManagedObjectContext : public QObject {
    Q_OBJECT

public:
    // A context without a store holds records in memory only; save() then fails.
    explicit ManagedObjectContext(std::unique_ptr<PersistentStore> store = nullptr, QObject* parent = nullptr);
    ~ManagedObjectContext() override;

    // The record classes used for new and loaded records. Default: plain ManagedObject.
    void setObjectFactory(ObjectFactory factory);

    PersistentStore* persistentStore() const { return m_store.get(); }
    // Loads every record of the store. Leaves the context empty on failure.
    Status load();

    ManagedObject* insertNewObject(const EntityDescription& entity);
    ManagedObject* insertNewObject(QStringView entityName); // null for an unknown entity
    // Undoable. Relationships pointing at the record are cut as part of the same step.
    void deleteObject(ManagedObject* object);

    // Live records of an entity (not deleted), in store order then insertion order.
    const std::vector<ManagedObject*>& objects(const EntityDescription& entity) const;
    std::size_t count(const EntityDescription& entity) const { return objects(entity).size(); }
    // Null when the text is no URI of this context's store or the record is deleted.
    ManagedObject* objectWithURI(QStringView uri) const;

    std::vector<ManagedObject*> insertedObjects() const;
    std::vector<ManagedObject*> updatedObjects() const;
    std::vector<ManagedObject*> deletedObjects() const;
    bool hasChanges() const;

    // Writes all changes in one transaction. On failure nothing is written,
    // the changes stay in memory and the error says why. Records inserted
    // since the last save get their keys (and object URIs) from the store
    // here. A record this context changed that another process deleted
    // meanwhile stays deleted, and is announced as deleted.
    Status save();

    // Another process may save to the same file. Cheap to poll: whether one
    // did since the last merge or load.
    bool hasChangedElsewhere();
    // Takes in what other processes saved since this context last looked:
    // their new records, their values of keys this context has not changed
    // since its last save, and their deletions. Unsaved changes made here,
    // and the undo stack, stay. The merged records are announced like any
    // change.
    Status mergeChangesFromStore();
    // Drops every unsaved change, back to the last saved state.
    void rollback();

    UndoManager& undoManager() { return *m_undoManager; }

    // Every record touched since the last load, in order (a record appears
    // once per change), for caches that mirror records: a cache remembers the
    // log's size and later looks only at what follows. loadGeneration()
    // changes with every load, which starts a new log.
    const std::vector<ManagedObject*>& changeLog() const;
    std::uint64_t loadGeneration() const;

    // Closes the current undo group and announces the changes collected since
    // the last call (objectsDidChange). Runs by itself once the event loop
    // turns, like the platform's end of an event.
    void processPendingChanges();

Q_SIGNALS:
    void objectsDidChange(const qf::ObjectChanges& changes);

private:
    friend class ManagedObject;
    struct Private;
    // Every tracked change of a record passes here first, before the record
    // changes: it starts the record's bookkeeping and queues the announcement.
    void objectWillChange(ManagedObject* object);
    // Logs the change and queues its announcement; on its own (a change that
    // came from the file) it is not one to save.
    void announceChange(ManagedObject* object);
    void applyStoreChanges(StoreChanges& changes);
    // The record for a row of the file, holding its values (taken from raw).
    std::unique_ptr<ManagedObject> makeLoadedObject(RawRecord& raw);
    // The records the keys name, per relationship; keys of missing records are dropped.
    std::vector<std::vector<ManagedObject*>> resolveLinks(const EntityDescription& entity,
                                                          const std::vector<std::vector<std::int64_t>>& keys) const;
    void forgetDeletedElsewhere(ManagedObject* object);
    void undeleteObject(ManagedObject* object);
    QString storeUUID() const;
    // Counts successful saves, so an undo step can tell whether one came between.
    std::uint64_t saveCount() const;
    std::unique_ptr<PersistentStore> m_store;
    std::unique_ptr<UndoManager> m_undoManager;
    std::unique_ptr<Private> d;
};

} // namespace qf

Q_DECLARE_METATYPE(qf::ObjectChanges)
