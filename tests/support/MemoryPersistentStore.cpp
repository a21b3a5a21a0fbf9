#include "MemoryPersistentStore.h"

#include "store/KeyAssignment.h"

#include <algorithm>

namespace qf::test {

MemoryPersistentStore::MemoryPersistentStore(QString uuid) { m_metadata.uuid = std::move(uuid); }

Status MemoryPersistentStore::load(const RecordSink& sink)
{
    if (!m_loadFailure.isEmpty())
        return Status::failure(m_loadFailure);
    for (const RawRecord& record : m_records) {
        RawRecord copy = record;
        sink(std::move(copy));
    }
    return Status::ok();
}

Result<SaveOutcome> MemoryPersistentStore::save(const ChangeSet& changes)
{
    ++m_saveCount;
    if (!m_saveFailure.isEmpty())
        return Result<SaveOutcome>::failure(m_saveFailure);
    std::int64_t next = m_metadata.nextObjectID;
    for (const RawRecord& r : m_records)
        next = std::max(next, r.primaryKey + 1);
    const KeyAssignment keys(changes, next);
    // Checked before anything is applied: a save lands whole or not at all.
    for (std::size_t i = 0; i < changes.inserted.size(); ++i) {
        if (record(*changes.inserted[i].entity, keys.insertedKeys()[i]))
            return Result<SaveOutcome>::failure(QStringLiteral("duplicate primary key %1").arg(keys.insertedKeys()[i]));
    }
    for (const RawRecord& deleted : changes.deleted) {
        if (!record(*deleted.entity, deleted.primaryKey))
            return Result<SaveOutcome>::failure(QStringLiteral("no record with primary key %1").arg(deleted.primaryKey));
    }
    SaveOutcome outcome;
    outcome.insertedKeys = keys.insertedKeys();
    ChangeSet applied = changes;
    for (std::size_t i = 0; i < applied.inserted.size(); ++i) {
        RawRecord& inserted = applied.inserted[i];
        inserted.primaryKey = keys.insertedKeys()[i];
        inserted.relationships = keys.finalRelationships(inserted);
        m_records.push_back(inserted);
    }
    for (RecordUpdate& update : applied.updated) {
        update.record.relationships = keys.finalRelationships(update.record);
        RawRecord* stored = nullptr;
        for (RawRecord& r : m_records) {
            if (r.entity == update.record.entity && r.primaryKey == update.record.primaryKey)
                stored = &r;
        }
        if (!stored) {
            outcome.vanishedKeys.push_back(update.record.primaryKey);
            continue;
        }
        for (std::size_t i = 0; i < stored->attributes.size(); ++i) {
            if (update.changedAttributes & (1u << i))
                stored->attributes[i] = update.record.attributes[i];
        }
        if (update.relationshipsChanged)
            stored->relationships = update.record.relationships;
    }
    for (const RawRecord& deleted : changes.deleted) {
        std::erase_if(m_records, [&](const RawRecord& r) {
            return r.entity == deleted.entity && r.primaryKey == deleted.primaryKey;
        });
    }
    m_metadata.nextObjectID = keys.next();
    m_lastChanges = std::move(applied);
    return outcome;
}

const RawRecord* MemoryPersistentStore::record(const EntityDescription& entity, std::int64_t primaryKey) const
{
    for (const RawRecord& r : m_records) {
        if (r.entity == &entity && r.primaryKey == primaryKey)
            return &r;
    }
    return nullptr;
}

RawRecord makeRawRecord(const EntityDescription& entity, std::int64_t primaryKey,
                        std::initializer_list<std::pair<const char*, Value>> values)
{
    RawRecord record;
    record.entity = &entity;
    record.primaryKey = primaryKey;
    record.attributes.resize(entity.attributeCount());
    record.relationships.resize(entity.relationships().size());
    for (const auto& [key, value] : values) {
        const int index = entity.indexOfAttribute(QString::fromUtf8(key));
        if (index >= 0)
            record.attributes[index] = entity.coerce(index, value);
    }
    return record;
}

} // namespace qf::test
