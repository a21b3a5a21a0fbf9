#pragma once

#include "store/PersistentStore.h"

#include <initializer_list>
#include <optional>
#include <utility>

namespace qf::test {

// A persistent store held in memory, standing in for a store file in tests:
// it loads the records it holds, applies saved change sets to them, keeps the
// last change set for inspection and can be told to fail.
class MemoryPersistentStore final : public PersistentStore {
public:
    explicit MemoryPersistentStore(QString uuid = QStringLiteral("11111111-2222-3333-4444-555555555555"));

    QString path() const override { return QStringLiteral(":memory:"); }
    const StoreMetadata& metadata() const override { return m_metadata; }
    Status load(const RecordSink& sink) override;
    Result<SaveOutcome> save(const ChangeSet& changes) override;

    void addRecord(RawRecord record) { m_records.push_back(std::move(record)); }
    void setNextObjectID(std::int64_t next) { m_metadata.nextObjectID = next; }
    // Every save and load fails with the message while it is not empty.
    void setSaveFailure(QString message) { m_saveFailure = std::move(message); }
    void setLoadFailure(QString message) { m_loadFailure = std::move(message); }

    const std::vector<RawRecord>& records() const { return m_records; }
    const RawRecord* record(const EntityDescription& entity, std::int64_t primaryKey) const;
    const ChangeSet& lastChanges() const { return m_lastChanges; }
    int saveCount() const { return m_saveCount; }

private:
    StoreMetadata m_metadata;
    std::vector<RawRecord> m_records;
    ChangeSet m_lastChanges;
    int m_saveCount = 0;
    QString m_saveFailure;
    QString m_loadFailure;
};

// A record of the entity with the given attribute values (coerced) and no relationships.
RawRecord makeRawRecord(const EntityDescription& entity, std::int64_t primaryKey,
                        std::initializer_list<std::pair<const char*, Value>> values);

} // namespace qf::test
