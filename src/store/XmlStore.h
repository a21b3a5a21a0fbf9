#pragma once

#include "store/PersistentStore.h"

#include <QString>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace qf {

// A ledger in the XML store form ("Quillfen.xml", the example store) behind
// the same interface as the SQLite store.
//
// open() reads and checks the whole file; a bad file is refused there.
// save() applies the changes to the records read and rewrites the whole file
// atomically, so a failed save leaves both the file and this object as they
// were. Meant for small, older ledgers: every record is held in memory twice
// (here and in the context).
class XmlStore final : public PersistentStore {
public:
    static Result<std::unique_ptr<XmlStore>> open(const QString& path);

    QString path() const override { return m_path; }
    const StoreMetadata& metadata() const override { return m_metadata; }

    // Every record in the file's order, then those inserted by later saves.
    Status load(const RecordSink& sink) override;
    Result<SaveOutcome> save(const ChangeSet& changes) override;

private:
    XmlStore(QString path, StoreMetadata metadata, std::vector<RawRecord> records);

    QString m_path;
    StoreMetadata m_metadata;
    std::vector<RawRecord> m_records;
};

} // namespace qf
