#include "store/ManagedObjectContext.h"

#include "store/ManagedObjectInternal.h"
#include "store/RecordArena.h"

#include <QMetaObject>
#include <QUuid>
#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace qf {

namespace {

const QLatin1String kURIScheme("x-quillfen://");

// The records of one entity. Every record ever made stays in members (undo
// may bring a deleted one back); live is the view objects() hands out,
// rebuilt in one pass after deletions instead of erasing one by one.
struct EntityTable {
    explicit EntityTable(const EntityDescription& description) : entity(&description) {}

    const EntityDescription* entity;
    std::vector<std::unique_ptr<ManagedObject>> members;
    std::vector<ManagedObject*> live;
    bool liveStale = false;
    bool keysAscending = true; // members sorted by primary key: lookups by binary search
    std::unordered_map<std::int64_t, ManagedObject*> byKey; // only when they are not
    bool byKeyBuilt = false;

    void add(std::unique_ptr<ManagedObject> object)
    {
        if (!members.empty() && members.back()->primaryKey() >= object->primaryKey())
            keysAscending = false;
        if (byKeyBuilt)
            byKey.emplace(object->primaryKey(), object.get());
        members.push_back(std::move(object));
    }

    // A record another process saved: its key may fall before records of
    // this one still waiting for theirs, so it goes where its key belongs.
    void addInOrder(std::unique_ptr<ManagedObject> object)
    {
        if (!keysAscending || members.empty() || members.back()->primaryKey() < object->primaryKey()) {
            // At the end, as usual: the live list takes it without a rebuild.
            ManagedObject* added = object.get();
            add(std::move(object));
            if (!liveStale)
                live.push_back(added);
            return;
        }
        if (byKeyBuilt)
            byKey.emplace(object->primaryKey(), object.get());
        const auto at = std::lower_bound(members.begin(), members.end(), object->primaryKey(),
                                         [](const auto& member, std::int64_t key) { return member->primaryKey() < key; });
        members.insert(at, std::move(object));
        liveStale = true;
    }

    // After a save gave records their keys: back in key order for lookups,
    // which also keeps objects() in the order a fresh load would give.
    void restoreKeyOrder()
    {
        auto byPrimaryKey = [](const auto& a, const auto& b) { return a->primaryKey() < b->primaryKey(); };
        if (!std::is_sorted(members.begin(), members.end(), byPrimaryKey)) {
            std::stable_sort(members.begin(), members.end(), byPrimaryKey);
            liveStale = true;
        }
        keysAscending = true;
        byKey.clear();
        byKeyBuilt = false;
    }

    ManagedObject* find(std::int64_t primaryKey)
    {
        if (keysAscending) {
            const auto it = std::lower_bound(members.begin(), members.end(), primaryKey,
                                             [](const auto& object, std::int64_t key) { return object->primaryKey() < key; });
            return it != members.end() && (*it)->primaryKey() == primaryKey ? it->get() : nullptr;
        }
        if (!byKeyBuilt) {
            byKey.reserve(members.size());
            for (const auto& object : members)
                byKey.emplace(object->primaryKey(), object.get());
            byKeyBuilt = true;
        }
        const auto it = byKey.find(primaryKey);
        return it != byKey.end() ? it->second : nullptr;
    }
};

std::vector<std::pair<int, Value>>& noCommittedValues()
{
    static std::vector<std::pair<int, Value>> none;
    return none;
}

RawRecord rawRecordOf(const ManagedObject& object)
{
    const EntityDescription& entity = object.entity();
    RawRecord raw;
    raw.entity = &entity;
    raw.primaryKey = object.primaryKey();
    raw.attributes.reserve(entity.attributeCount());
    for (int i = 0; i < entity.attributeCount(); ++i)
        raw.attributes.push_back(object.primitiveValue(i));
    raw.relationships.resize(entity.relationships().size());
    for (std::size_t r = 0; r < entity.relationships().size(); ++r) {
        for (const ManagedObject* related : object.relatedObjects(static_cast<int>(r))) {
            if (!related->isDeleted())
                raw.relationships[r].push_back(related->primaryKey());
        }
    }
    return raw;
}

} // namespace

struct ManagedObjectContext::Private {
    ObjectFactory factory;
    RecordArena arena; // values of loaded records; outlives the tables holding them
    std::vector<std::unique_ptr<EntityTable>> tables;
    std::vector<ManagedObject*> changed; // unsaved changes, in order of first change
    std::vector<ManagedObject*> pending; // to announce, in order of first change
    std::vector<ManagedObject*> changeLog;
    // Unique across contexts, so a cache never mistakes a new context at a
    // reused address for the one it followed.
    std::uint64_t loadGeneration = nextGeneration();

    static std::uint64_t nextGeneration()
    {
        static std::uint64_t counter = 0;
        return ++counter;
    }
    bool announcementScheduled = false;
    std::int64_t nextProvisionalKey = kFirstProvisionalKey;
    // Where in the store's history of saves this context stands, and the
    // later saves that were its own (nothing to merge from those).
    std::uint64_t syncedGeneration = 0;
    std::set<std::uint64_t> ownGenerations;
    std::uint64_t saves = 0;
    QString ownUUID;

    EntityTable* table(const EntityDescription& entity) const
    {
        for (const auto& t : tables) {
            if (t->entity == &entity)
                return t.get();
        }
        return nullptr;
    }

    EntityTable* table(QStringView entityName) const
    {
        for (const auto& t : tables) {
            if (t->entity->name() == entityName)
                return t.get();
        }
        return nullptr;
    }

    // The relationships of any entity that point at records of this one.
    std::vector<std::pair<EntityTable*, int>> linksTo(const EntityDescription& entity) const
    {
        std::vector<std::pair<EntityTable*, int>> links;
        for (const auto& t : tables) {
            const auto& relationships = t->entity->relationships();
            for (std::size_t r = 0; r < relationships.size(); ++r) {
                if (relationships[r].destinationEntity == entity.name())
                    links.emplace_back(t.get(), static_cast<int>(r));
            }
        }
        return links;
    }

    EntityTable& tableFor(const EntityDescription& entity)
    {
        if (EntityTable* t = table(entity))
            return *t;
        tables.push_back(std::make_unique<EntityTable>(entity));
        return *tables.back();
    }

    void clear()
    {
        tables.clear();
        arena.clear();
        changed.clear();
        pending.clear();
        changeLog.clear();
        loadGeneration = nextGeneration();
        nextProvisionalKey = kFirstProvisionalKey;
        syncedGeneration = 0;
        ownGenerations.clear();
    }

    void noteSavedGeneration(std::uint64_t generation)
    {
        if (generation == 0)
            return;
        if (generation == syncedGeneration + 1)
            syncedGeneration = generation;
        else
            ownGenerations.insert(generation);
        while (!ownGenerations.empty() && *ownGenerations.begin() <= syncedGeneration + 1) {
            syncedGeneration = std::max(syncedGeneration, *ownGenerations.begin());
            ownGenerations.erase(ownGenerations.begin());
        }
    }
};

ManagedObjectContext::ManagedObjectContext(std::unique_ptr<PersistentStore> store, QObject* parent)
    : QObject(parent), m_store(std::move(store)), m_undoManager(std::make_unique<UndoManager>()),
      d(std::make_unique<Private>())
{
    qRegisterMetaType<qf::ObjectChanges>();
    d->ownUUID = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

ManagedObjectContext::~ManagedObjectContext() = default;

void ManagedObjectContext::setObjectFactory(ObjectFactory factory) { d->factory = std::move(factory); }

QString ManagedObjectContext::storeUUID() const
{
    if (m_store && !m_store->metadata().uuid.isEmpty())
        return m_store->metadata().uuid;
    return d->ownUUID;
}

Status ManagedObjectContext::load()
{
    d->clear();
    m_undoManager->removeAllActions();
    if (!m_store)
        return Status::ok();

    struct PendingLinks {
        ManagedObject* object;
        std::vector<std::vector<std::int64_t>> keys;
    };
    std::vector<PendingLinks> links;
    EntityTable* last = nullptr;
    const Status status = m_store->load([&](RawRecord&& raw) {
        if (!raw.entity)
            return;
        EntityTable& t = last && last->entity == raw.entity ? *last : d->tableFor(*raw.entity);
        last = &t;
        std::unique_ptr<ManagedObject> object = makeLoadedObject(raw);
        const bool linked = std::any_of(raw.relationships.begin(), raw.relationships.end(),
                                        [](const auto& keys) { return !keys.empty(); });
        if (linked)
            links.push_back({object.get(), std::move(raw.relationships)});
        else
            object->awakeFromLoad(); // now, while the record is in the cache: a pass after the load costs a miss each
        t.add(std::move(object));
    });
    if (!status) {
        d->clear();
        return Status::failure(QStringLiteral("Could not load the ledger: %1").arg(status.message()));
    }

    // Relationships point at records anywhere in the file, so they are
    // resolved once everything is in memory. Keys of missing records are dropped.
    for (PendingLinks& link : links) {
        ManagedObject::State& state = link.object->state();
        state.relationships = resolveLinks(link.object->entity(), link.keys);
    }
    for (const auto& t : d->tables) {
        t->live.reserve(t->members.size());
        for (const auto& object : t->members)
            t->live.push_back(object.get());
    }
    d->syncedGeneration = m_store->loadedGeneration();
    for (PendingLinks& link : links)
        link.object->awakeFromLoad();
    return Status::ok();
}

std::unique_ptr<ManagedObject> ManagedObjectContext::makeLoadedObject(RawRecord& raw)
{
    std::unique_ptr<ManagedObject> object = d->factory ? d->factory(*raw.entity, *this, raw.primaryKey) : nullptr;
    if (!object)
        object = std::make_unique<ManagedObject>(*raw.entity, *this, raw.primaryKey);
    object->adoptLoadedValues(raw.attributes, d->arena);
    return object;
}

std::vector<std::vector<ManagedObject*>>
ManagedObjectContext::resolveLinks(const EntityDescription& entity, const std::vector<std::vector<std::int64_t>>& keys) const
{
    const auto& relationships = entity.relationships();
    std::vector<std::vector<ManagedObject*>> resolved(relationships.size());
    for (std::size_t r = 0; r < relationships.size() && r < keys.size(); ++r) {
        EntityTable* destination = d->table(relationships[r].destinationEntity);
        for (std::int64_t key : keys[r]) {
            if (ManagedObject* related = destination ? destination->find(key) : nullptr)
                resolved[r].push_back(related);
        }
    }
    return resolved;
}

ManagedObject* ManagedObjectContext::insertNewObject(const EntityDescription& entity)
{
    EntityTable& t = d->tableFor(entity);
    const std::int64_t key = d->nextProvisionalKey++;
    std::unique_ptr<ManagedObject> made = d->factory ? d->factory(entity, *this, key) : nullptr;
    if (!made)
        made = std::make_unique<ManagedObject>(entity, *this, key);
    ManagedObject* object = made.get();
    ManagedObject::State& state = object->state();
    state.inStore = false;
    state.present = false;
    t.add(std::move(made));

    objectWillChange(object);
    state.present = true;
    if (!t.liveStale)
        t.live.push_back(object);
    m_undoManager->registerUndo([this, object] { deleteObject(object); });
    object->awakeFromInsert();
    return object;
}

ManagedObject* ManagedObjectContext::insertNewObject(QStringView entityName)
{
    const EntityDescription* entity = ManagedObjectModel::shared().entity(entityName);
    return entity ? insertNewObject(*entity) : nullptr;
}

void ManagedObjectContext::deleteObject(ManagedObject* object)
{
    if (!object || &object->managedObjectContext() != this || object->isDeleted())
        return;
    // Nothing may keep pointing at a deleted record: relationships to it are
    // cut, as undoable steps of the same group.
    for (const auto& [table, r] : d->linksTo(object->entity())) {
        for (ManagedObject* holder : objects(*table->entity)) {
            if (holder->m_state)
                holder->removeRelatedObject(r, object);
        }
    }
    objectWillChange(object);
    object->m_state->present = false;
    d->table(object->entity())->liveStale = true;
    m_undoManager->registerUndo([this, object] { undeleteObject(object); });
}

void ManagedObjectContext::undeleteObject(ManagedObject* object)
{
    if (!object->isDeleted())
        return;
    objectWillChange(object);
    object->m_state->present = true;
    d->table(object->entity())->liveStale = true;
    m_undoManager->registerUndo([this, object] { deleteObject(object); });
}

const std::vector<ManagedObject*>& ManagedObjectContext::objects(const EntityDescription& entity) const
{
    static const std::vector<ManagedObject*> none;
    EntityTable* t = d->table(entity);
    if (!t)
        return none;
    if (t->liveStale) {
        t->live.clear();
        for (const auto& object : t->members) {
            if (!object->isDeleted())
                t->live.push_back(object.get());
        }
        t->liveStale = false;
    }
    return t->live;
}

ManagedObject* ManagedObjectContext::objectWithURI(QStringView uri) const
{
    if (!uri.startsWith(kURIScheme))
        return nullptr;
    const QStringView rest = uri.mid(kURIScheme.size());
    const qsizetype firstSlash = rest.indexOf(u'/');
    const qsizetype lastSlash = rest.lastIndexOf(u'/');
    if (firstSlash <= 0 || lastSlash <= firstSlash)
        return nullptr;
    if (rest.left(firstSlash).compare(storeUUID(), Qt::CaseInsensitive) != 0)
        return nullptr;
    const QStringView entityName = rest.mid(firstSlash + 1, lastSlash - firstSlash - 1);
    const QStringView keyText = rest.mid(lastSlash + 1);
    if (!keyText.startsWith(u'p'))
        return nullptr;
    bool ok = false;
    const std::int64_t key = keyText.mid(1).toLongLong(&ok);
    EntityTable* t = ok ? d->table(entityName) : nullptr;
    ManagedObject* object = t ? t->find(key) : nullptr;
    return object && !object->isDeleted() ? object : nullptr;
}

std::vector<ManagedObject*> ManagedObjectContext::insertedObjects() const
{
    std::vector<ManagedObject*> result;
    for (ManagedObject* object : d->changed) {
        if (object->isInserted())
            result.push_back(object);
    }
    return result;
}

std::vector<ManagedObject*> ManagedObjectContext::updatedObjects() const
{
    std::vector<ManagedObject*> result;
    for (ManagedObject* object : d->changed) {
        if (object->isUpdated())
            result.push_back(object);
    }
    return result;
}

std::vector<ManagedObject*> ManagedObjectContext::deletedObjects() const
{
    std::vector<ManagedObject*> result;
    for (ManagedObject* object : d->changed) {
        if (object->m_state->inStore && !object->m_state->present)
            result.push_back(object);
    }
    return result;
}

bool ManagedObjectContext::hasChanges() const
{
    return std::any_of(d->changed.begin(), d->changed.end(), [](const ManagedObject* object) {
        const ManagedObject::State& s = *object->m_state;
        return s.present != s.inStore || (s.present && s.updated);
    });
}

const std::vector<ManagedObject*>& ManagedObjectContext::changeLog() const
{
    return d->changeLog;
}

std::uint64_t ManagedObjectContext::loadGeneration() const
{
    return d->loadGeneration;
}

void ManagedObjectContext::objectWillChange(ManagedObject* object)
{
    announceChange(object);
    ManagedObject::State& state = *object->m_state;
    if (!state.tracked) {
        state.tracked = true;
        d->changed.push_back(object);
    }
}

void ManagedObjectContext::processPendingChanges()
{
    m_undoManager->closeOpenGroup();
    if (d->pending.empty())
        return;
    ObjectChanges changes;
    const std::vector<ManagedObject*> pending = std::exchange(d->pending, {});
    for (ManagedObject* object : pending) {
        ManagedObject::State& state = *object->m_state;
        state.queued = false;
        if (!state.wasPresent && state.present)
            changes.inserted.push_back(object);
        else if (state.wasPresent && !state.present)
            changes.deleted.push_back(object);
        else if (state.present)
            changes.updated.push_back(object);
        if (state.isPlain())
            object->m_state.reset();
    }
    if (!changes.isEmpty())
        Q_EMIT objectsDidChange(changes);
}

Status ManagedObjectContext::save()
{
    if (!m_store)
        return Status::failure(QStringLiteral("The ledger is held in memory only and has no store file to save to."));
    processPendingChanges();

    ChangeSet changes;
    std::vector<ManagedObject*> inserted;
    for (ManagedObject* object : d->changed) {
        const ManagedObject::State& s = *object->m_state;
        if (s.present && !s.inStore) {
            changes.inserted.push_back(rawRecordOf(*object));
            inserted.push_back(object);
        } else if (!s.present && s.inStore) {
            RawRecord raw;
            raw.entity = &object->entity();
            raw.primaryKey = object->primaryKey();
            changes.deleted.push_back(std::move(raw));
        } else if (s.present && s.updated) {
            // Only the keys that differ from what was loaded are written: a
            // value written and written back is no change, and keys left
            // alone keep what another process saved to them meanwhile.
            RecordUpdate update;
            for (const auto& [index, committed] : s.committed) {
                if (committed != object->primitiveValue(index))
                    update.changedAttributes |= 1u << index;
            }
            update.relationshipsChanged = s.committedRelationships && *s.committedRelationships != s.relationships;
            if (update.changedAttributes != 0 || update.relationshipsChanged) {
                update.record = rawRecordOf(*object);
                changes.updated.push_back(std::move(update));
            }
        }
    }
    std::vector<ManagedObject*> vanished;
    if (!changes.isEmpty()) {
        Result<SaveOutcome> saved = m_store->save(changes);
        if (!saved)
            return Status::failure(QStringLiteral("Could not save the ledger: %1").arg(saved.message()));
        std::unordered_set<EntityTable*> rekeyed;
        for (std::size_t i = 0; i < inserted.size() && i < saved->insertedKeys.size(); ++i) {
            ManagedObject* object = inserted[i];
            if (object->m_primaryKey != saved->insertedKeys[i]) {
                object->m_primaryKey = saved->insertedKeys[i];
                rekeyed.insert(d->table(object->entity()));
            }
        }
        for (EntityTable* t : rekeyed)
            t->restoreKeyOrder();
        for (std::int64_t key : saved->vanishedKeys) {
            for (const RecordUpdate& update : changes.updated) {
                if (update.record.primaryKey == key) {
                    if (ManagedObject* object = d->table(*update.record.entity)->find(key))
                        vanished.push_back(object);
                }
            }
        }
        d->noteSavedGeneration(saved->generation);
    }

    for (ManagedObject* object : d->changed) {
        ManagedObject::State& s = *object->m_state;
        s.inStore = s.present;
        s.updated = false;
        s.tracked = false;
        s.committed.clear();
        s.committedRelationships.reset();
        if (s.isPlain())
            object->m_state.reset();
    }
    d->changed.clear();
    ++d->saves;
    // Another process deleted these while this one changed them: the
    // deletion stands, here as in the file.
    for (ManagedObject* object : vanished)
        forgetDeletedElsewhere(object);
    return Status::ok();
}

std::uint64_t ManagedObjectContext::saveCount() const
{
    return d->saves;
}

bool ManagedObjectContext::hasChangedElsewhere()
{
    return m_store && m_store->hasChangedElsewhere();
}

Status ManagedObjectContext::mergeChangesFromStore()
{
    if (!m_store)
        return Status::ok();
    Result<StoreChanges> changes = m_store->changesSince(d->syncedGeneration, d->ownGenerations);
    if (!changes)
        return Status::failure(QStringLiteral("Could not read what another program saved: %1").arg(changes.message()));
    applyStoreChanges(*changes);
    d->syncedGeneration = std::max(d->syncedGeneration, changes->generation);
    while (!d->ownGenerations.empty() && *d->ownGenerations.begin() <= d->syncedGeneration)
        d->ownGenerations.erase(d->ownGenerations.begin());
    return Status::ok();
}

void ManagedObjectContext::announceChange(ManagedObject* object)
{
    d->changeLog.push_back(object);
    ManagedObject::State& state = object->state();
    if (state.queued)
        return;
    state.queued = true;
    state.wasPresent = state.present;
    d->pending.push_back(object);
    if (!d->announcementScheduled) {
        d->announcementScheduled = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                d->announcementScheduled = false;
                processPendingChanges();
            },
            Qt::QueuedConnection);
    }
}

void ManagedObjectContext::applyStoreChanges(StoreChanges& changes)
{
    struct PendingLinks {
        ManagedObject* object;
        std::vector<std::vector<std::int64_t>> keys;
    };
    std::vector<PendingLinks> links;
    std::unordered_map<const EntityDescription*, std::unordered_set<std::int64_t>> seen;

    for (RawRecord& raw : changes.records) {
        if (!raw.entity)
            continue;
        EntityTable& t = d->tableFor(*raw.entity);
        if (changes.complete)
            seen[raw.entity].insert(raw.primaryKey);
        ManagedObject* object = t.find(raw.primaryKey);
        if (!object) {
            std::unique_ptr<ManagedObject> made = makeLoadedObject(raw);
            object = made.get();
            object->state().present = false;
            announceChange(object);
            object->state().present = true;
            t.addInOrder(std::move(made));
            links.push_back({object, std::move(raw.relationships)});
            continue;
        }
        ManagedObject::State* s = object->m_state.get();
        if (s && !s->present) {
            if (s->inStore)
                continue; // deleted here and not saved yet: that deletion is saved next
            // Deleted elsewhere once and back now (its deletion was undone there).
            announceChange(object);
            s->present = true;
            s->inStore = true;
            t.liveStale = true;
        }
        std::vector<int> changed;
        for (int i = 0; i < raw.entity->attributeCount() && i < static_cast<int>(raw.attributes.size()); ++i) {
            Value& stored = raw.attributes[static_cast<std::size_t>(i)];
            // A key changed here and not saved yet keeps this process's
            // value; what it was changed from is now what the file holds.
            Value* committed = nullptr;
            for (auto& entry : s ? s->committed : noCommittedValues()) {
                if (entry.first == i)
                    committed = &entry.second;
            }
            if (committed) {
                *committed = std::move(stored);
                continue;
            }
            if (object->primitiveValue(i) != stored) {
                object->storeValue(i, std::move(stored));
                changed.push_back(i);
            }
        }
        if (!changed.empty()) {
            announceChange(object);
            object->awakeFromLoad();
            for (int i : changed)
                object->didChangeValue(i);
        }
        links.push_back({object, std::move(raw.relationships)});
    }

    // Links are resolved once every merged record is in place.
    for (PendingLinks& link : links) {
        ManagedObject* object = link.object;
        const auto& relationships = object->entity().relationships();
        if (relationships.empty())
            continue;
        ManagedObject::State::Relationships resolved = resolveLinks(object->entity(), link.keys);
        ManagedObject::State& s = object->state();
        if (s.committedRelationships) {
            *s.committedRelationships = std::move(resolved);
            continue;
        }
        s.relationships.resize(relationships.size());
        if (s.relationships != resolved) {
            announceChange(object);
            s.relationships = std::move(resolved);
        }
    }

    for (const auto& [entity, key] : changes.gone) {
        EntityTable* t = d->table(*entity);
        if (ManagedObject* object = t ? t->find(key) : nullptr)
            forgetDeletedElsewhere(object);
    }
    if (changes.complete) {
        // Everything the file holds was handed over: whatever this context
        // had from the file and did not get again is gone.
        std::vector<ManagedObject*> gone;
        for (const auto& t : d->tables) {
            const auto& keys = seen[t->entity];
            for (const auto& object : t->members) {
                const ManagedObject::State* s = object->m_state.get();
                const bool fromFile = !s || s->inStore;
                if (fromFile && !isProvisionalKey(object->primaryKey()) && !keys.count(object->primaryKey()))
                    gone.push_back(object.get());
            }
        }
        for (ManagedObject* object : gone)
            forgetDeletedElsewhere(object);
    }
}

void ManagedObjectContext::forgetDeletedElsewhere(ManagedObject* object)
{
    ManagedObject::State& s = object->state();
    if (!s.inStore)
        return;
    announceChange(object);
    if (s.present)
        d->table(object->entity())->liveStale = true;
    s.present = false;
    s.inStore = false;
    s.updated = false;
    s.committed.clear();
    s.committedRelationships.reset();
    if (s.tracked) {
        s.tracked = false;
        std::erase(d->changed, object);
    }
    // The file lost its links to the record with it; so do the records here.
    for (const auto& [table, r] : d->linksTo(object->entity())) {
        const auto index = static_cast<std::size_t>(r);
        for (const auto& holder : table->members) {
            ManagedObject::State* held = holder->m_state.get();
            if (!held)
                continue;
            if (index < held->relationships.size())
                std::erase(held->relationships[index], object);
            if (held->committedRelationships && index < held->committedRelationships->size())
                std::erase((*held->committedRelationships)[index], object);
        }
    }
}

void ManagedObjectContext::rollback()
{
    m_undoManager->disableUndoRegistration();
    const std::vector<ManagedObject*> changed = std::exchange(d->changed, {});
    for (ManagedObject* object : changed) {
        ManagedObject::State& s = *object->m_state;
        objectWillChange(object);
        if (s.present != s.inStore) {
            s.present = s.inStore;
            d->table(object->entity())->liveStale = true;
        }
        if (!s.inStore)
            continue;
        const auto committed = std::exchange(s.committed, {});
        for (const auto& [index, value] : committed)
            object->storeValue(index, value);
        if (s.committedRelationships)
            s.relationships = *std::exchange(s.committedRelationships, nullptr);
        for (const auto& [index, value] : committed)
            object->didChangeValue(index);
    }
    // Restoring may have touched records again (stored copies of derived
    // values): they are as committed now, so none of it is a change.
    std::vector<ManagedObject*> touched = changed;
    touched.insert(touched.end(), d->changed.begin(), d->changed.end());
    for (ManagedObject* object : touched) {
        ManagedObject::State& s = *object->m_state;
        s.updated = false;
        s.tracked = false;
        s.committed.clear();
        s.committedRelationships.reset();
    }
    d->changed.clear();
    m_undoManager->enableUndoRegistration();
    m_undoManager->removeAllActions();
}

} // namespace qf
