#pragma once

// Helpers shared by the SQLite store's own .cpp files; nothing else includes
// this header (it brings in sqlite3.h).

#include "common/Result.h"
#include "store/SqliteStore.h"

#include <QByteArray>
#include <QString>
#include <sqlite3.h>
#include <utility>
#include <vector>

namespace qf::sqlite {

inline constexpr const char* kPrimaryKeyColumn = "pk";

// Long enough for another process's largest save (an import of a whole
// statement history) to finish; writers queue rather than fail.
inline constexpr int kBusyTimeoutMs = 60000;

QString displayPath(const QString& path);
// Plain words for an SQLite result code.
QString plainMessage(int code);
// Plain words for the connection's last error.
QString errorMessage(sqlite3* db);
Status failure(sqlite3* db, const QString& what);
QByteArray quoted(const QString& identifier);
QString joinTableName(const EntityDescription& entity, const RelationshipDescription& relationship);
// Index in ManagedObjectModel::shared().entities(), or -1 for a foreign description.
int entityIndex(const EntityDescription* entity);
// The attribute indexes that have a column in the layout, in column order.
std::vector<int> storedColumns(const EntityDescription& entity, SqliteStore::Layout layout);

// Owns one prepared statement; reset after each use so it can be bound again.
class Statement {
public:
    Statement() = default;
    Statement(Statement&& other) noexcept : m_stmt(std::exchange(other.m_stmt, nullptr)) {}
    Statement& operator=(Statement&& other) noexcept
    {
        std::swap(m_stmt, other.m_stmt);
        return *this;
    }
    ~Statement() { sqlite3_finalize(m_stmt); }

    Status prepare(sqlite3* db, const QByteArray& sql);
    bool isPrepared() const { return m_stmt != nullptr; }
    sqlite3_stmt* get() const { return m_stmt; }
    void reset()
    {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

// Steps a statement that returns no rows, then resets it.
Status run(sqlite3* db, Statement& statement, const QString& what);
Status exec(sqlite3* db, const char* sql);
// For settings and clean-up whose failure changes nothing that matters.
void execBestEffort(sqlite3* db, const char* sql);

// A connection for this thread only; check sqlite3_errcode() before use.
sqlite3* openConnection(const QString& path, int flags);
// Makes a new store file with the layout's tables and the metadata. False
// when another process made one at path first.
Result<bool> createStore(const QString& path, SqliteStore::Layout layout, const StoreMetadata& metadata);
// The change log's table and its metadata rows, for new files and older ones.
QByteArray changeLogSchemaSql();
// Refuses a file whose header is not SQLite's. True when the file is shorter
// than its header says: only SQLite, with the -wal, can then tell whether
// the store is whole.
Result<bool> checkHeader(const QString& path, qint64 fileSize);
// SQLite's own check of every page.
Status quickCheck(sqlite3* db, const QString& path);
// Reads and checks what a file says about itself and whether it has our tables.
Result<StoreMetadata> inspect(sqlite3* db, const QString& path, SqliteStore::Layout layout);

} // namespace qf::sqlite
