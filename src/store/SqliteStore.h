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

    static constexpr int kVersion = 1;
    static const char* const kMetadataTable;

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

    // One SQLite transaction: deletes, then inserts, then updates (every
    // column of the row, and the record's relationships replaced). Any
    // failure, such as an inserted key that already exists or an updated
    // record that does not, rolls the whole save back.
    Status save(const ChangeSet& changes, std::int64_t nextObjectID) override;

private:
    struct Statements;
    SqliteStore(QString path, Layout layout, sqlite3* db, StoreMetadata metadata);
    Status writeChanges(const ChangeSet& changes, std::int64_t nextObjectID);

    QString m_path;
    Layout m_layout;
    sqlite3* m_db;
    StoreMetadata m_metadata;
    std::unique_ptr<Statements> m_statements;
};

} // namespace qf
