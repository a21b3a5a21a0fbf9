#include "store/XmlStore.h"

#include "store/KeyAssignment.h"
#include "store/XmlStoreReader.h"
#include "store/XmlStoreWriter.h"

#include <QDir>
#include <algorithm>

namespace qf {

namespace {

using RecordKey = std::pair<QString, std::int64_t>; // entity name, primary key

RecordKey keyOf(const RawRecord& record) { return {record.entity ? record.entity->name() : QString(), record.primaryKey}; }

QString describe(const RawRecord& record)
{
    return QStringLiteral("%1 %2").arg(record.entity ? record.entity->name() : QStringLiteral("?")).arg(record.primaryKey);
}

} // namespace

XmlStore::XmlStore(QString path, StoreMetadata metadata, std::vector<RawRecord> records)
    : m_path(std::move(path)), m_metadata(std::move(metadata)), m_records(std::move(records))
{
}

Result<std::unique_ptr<XmlStore>> XmlStore::open(const QString& path)
{
    Result<XmlStoreReader::Document> document = XmlStoreReader::readFile(path);
    if (!document)
        return document.error();
    return std::unique_ptr<XmlStore>(
        new XmlStore(path, std::move(document->metadata), std::move(document->records)));
}

Status XmlStore::load(const RecordSink& sink)
{
    for (const RawRecord& record : m_records)
        sink(RawRecord(record)); // values are shared, so the copy is shallow
    return Status::ok();
}

Result<SaveOutcome> XmlStore::save(const ChangeSet& changes)
{
    auto fail = [&](const QString& why) {
        return Result<SaveOutcome>::failure(QStringLiteral("Could not save %1: %2").arg(QDir::toNativeSeparators(m_path), why));
    };
    std::map<RecordKey, std::size_t> index;
    std::int64_t next = m_metadata.nextObjectID;
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        index.emplace(keyOf(m_records[i]), i);
        next = std::max(next, m_records[i].primaryKey + 1);
    }
    const KeyAssignment keys(changes, next);
    SaveOutcome outcome;
    outcome.insertedKeys = keys.insertedKeys();

    std::vector<RawRecord> records = m_records;
    std::vector<bool> removed(records.size(), false);
    for (const RawRecord& record : changes.deleted) {
        const auto found = index.find(keyOf(record));
        if (found != index.end())
            removed[found->second] = true;
    }
    for (const RecordUpdate& update : changes.updated) {
        const auto found = index.find(keyOf(update.record));
        if (found == index.end() || removed[found->second])
            return fail(QStringLiteral("the record %1 to update is not in the store").arg(describe(update.record)));
        RawRecord& stored = records[found->second];
        for (std::size_t i = 0; i < stored.attributes.size() && i < update.record.attributes.size(); ++i) {
            if (update.changedAttributes & (1u << i))
                stored.attributes[i] = update.record.attributes[i];
        }
        if (update.relationshipsChanged)
            stored.relationships = keys.finalRelationships(update.record);
    }
    for (std::size_t i = 0; i < changes.inserted.size(); ++i) {
        RawRecord record = changes.inserted[i];
        record.primaryKey = keys.insertedKeys()[i];
        record.relationships = keys.finalRelationships(record);
        const auto found = index.find(keyOf(record));
        if (found != index.end() && !removed[found->second])
            return fail(QStringLiteral("the record %1 is already in the store").arg(describe(record)));
        if (!index.emplace(keyOf(record), records.size()).second)
            index[keyOf(record)] = records.size();
        records.push_back(std::move(record));
        removed.push_back(false);
    }

    std::vector<RawRecord> kept;
    kept.reserve(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!removed[i])
            kept.push_back(std::move(records[i]));
    }
    StoreMetadata metadata = m_metadata;
    metadata.nextObjectID = keys.next();
    if (Status written = XmlStoreWriter::writeFile(m_path, metadata, kept); !written)
        return written.error();
    m_records = std::move(kept);
    m_metadata = std::move(metadata);
    return outcome;
}

} // namespace qf
