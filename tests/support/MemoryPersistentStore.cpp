#include "MemoryPersistentStore.h"

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

Status MemoryPersistentStore::save(const ChangeSet& changes, std::int64_t nextObjectID)
{
    ++m_saveCount;
    if (!m_saveFailure.isEmpty())
        return Status::failure(m_saveFailure);
    // Checked before anything is applied: a save lands whole or not at all.
    for (const RawRecord& inserted : changes.inserted) {
        if (record(*inserted.entity, inserted.primaryKey))
            return Status::failure(QStringLiteral("duplicate primary key %1").arg(inserted.primaryKey));
    }
    for (const auto* list : {&changes.updated, &changes.deleted}) {
        for (const RawRecord& changed : *list) {
            if (!record(*changed.entity, changed.primaryKey))
                return Status::failure(QStringLiteral("no record with primary key %1").arg(changed.primaryKey));
        }
    }
    for (const RawRecord& inserted : changes.inserted)
        m_records.push_back(inserted);
    for (const RawRecord& updated : changes.updated) {
        for (RawRecord& r : m_records) {
            if (r.entity == updated.entity && r.primaryKey == updated.primaryKey)
                r = updated;
        }
    }
    for (const RawRecord& deleted : changes.deleted) {
        std::erase_if(m_records, [&](const RawRecord& r) {
            return r.entity == deleted.entity && r.primaryKey == deleted.primaryKey;
        });
    }
    m_metadata.nextObjectID = nextObjectID;
    m_lastChanges = changes;
    return Status::ok();
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
