#pragma once

#include "store/PersistentStore.h"

#include <QString>
#include <memory>

struct sqlite3;

namespace qf {

// The ledger's store file: one SQLite database in WAL mode with a table per
// entity, a metadata table and a join table per to-many relationship (layout
// in docs/store-file.md).
//
// A file that is not a store of ours (not SQLite at all, another program's
// database, a newer version) is refused by open() before anything is written
// to it. Main thread only; the object owns its connection.
//
// Several processes may hold the file open at once. Each save is one write
// transaction that waits for another's to finish, writes only the keys it
// changed, hands out primary keys from the file's counter and notes the
// records it touched in a change log, under a generation number, so that the
// others can read what changed since they last looked.
class SqliteStore final : public PersistentStore {
public:
    enum class Mode {
        CreateIfMissing, // a missing file becomes a new, empty store with a fresh UUID
        MustExist,       // a missing file is an error
    };
    enum class Layout {
        Current,
        // The older "Quillfen.db" form: the current tables without the
        // trans_direction column. Its records load with trans_direction null.
        WithoutTransDirection,
    };

    // 2 added the change log; a version-1 file gains it when opened for writing.
    static constexpr int kVersion = 2;
    static const char* const kMetadataTable;
    static const char* const kChangeLogTable;
    // Saves the log remembers; a reader further behind reads everything again.
    static constexpr std::uint64_t kLoggedGenerations = 1000;
    // A save of more records than this is not logged record by record: readers
    // behind it read everything again, which costs less than a log that size.
    static constexpr std::size_t kLoggedRecordsPerSave = 20000;

    static Result<std::unique_ptr<SqliteStore>> open(const QString& path, Mode mode,
                                                     Layout layout = Layout::Current);
    ~SqliteStore() override;
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;

    QString path() const override { return m_path; }
    const StoreMetadata& metadata() const override { return m_metadata; }
    Layout layout() const { return m_layout; }

    // Every record, entity by entity in model order, each entity's records in
    // primary-key order. An error (a damaged file) stops the stream; records
    // already handed over stay with the sink.
    Status load(const RecordSink& sink) override;

    // One SQLite transaction: deletes, then inserts, then updates (the
    // changed columns only, and the record's relationships replaced when
    // they changed). An update of a record that another process deleted is
    // dropped and reported. Any other failure, such as an inserted key that
    // already exists, rolls the whole save back.
    Result<SaveOutcome> save(const ChangeSet& changes) override;

    std::uint64_t loadedGeneration() const override { return m_loadedGeneration; }
    bool hasChangedElsewhere() override;
    Result<StoreChanges> changesSince(std::uint64_t generation, const std::set<std::uint64_t>& own) override;

private:
    struct Statements;
    struct History;
    SqliteStore(QString path, Layout layout, sqlite3* db, StoreMetadata metadata);
    Status writeChanges(const ChangeSet& changes, SaveOutcome& outcome, std::int64_t& nextObjectID);
    Result<History> readHistory();
    // Every record, inside a transaction the caller holds.
    Status readEverything(const RecordSink& sink);
    Status readRecords(const std::vector<std::pair<const EntityDescription*, std::int64_t>>& keys, StoreChanges& changes);
    std::int64_t dataVersion();

    QString m_path;
    Layout m_layout;
    sqlite3* m_db;
    StoreMetadata m_metadata;
    std::unique_ptr<Statements> m_statements;
    bool m_hasChangeLog = false;
    std::uint64_t m_loadedGeneration = 0;
    std::int64_t m_dataVersion = -1;
};

} // namespace qf
