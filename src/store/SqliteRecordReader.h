#pragma once

// Part of the SQLite store's implementation; includes sqlite3.h.

#include "store/RawRecord.h"
#include "store/SqliteStoreInternal.h"

#include <QString>
#include <cstdint>
#include <string_view>
#include <vector>

namespace qf::sqlite {

// Makes shared texts, handing out one copy for texts that repeat (account
// identifiers, tags, titles, directions) so a million records do not hold a
// million copies of "Outgoing". Gives up on a column whose texts rarely
// repeat (unique identifiers, notes), where looking them up would only cost.
class TextInterner {
public:
    TextInterner();
    SharedString make(std::string_view utf8);

private:
    static constexpr std::size_t kSlots = 8192; // a power of two, twice kMaxEntries
    static constexpr std::size_t kMaxEntries = 4096;
    static constexpr std::size_t kMaxLength = 96;

    // The hash beside the text: a probe that misses never reads the text,
    // which lives elsewhere in memory.
    struct Slot {
        std::uint64_t hash = 0;
        SharedString text;
    };
    std::vector<Slot> m_slots;
    // Each reader's own empty text: one shared by all threads would make
    // its count a point of contention between them.
    SharedString m_empty;
    std::size_t m_entries = 0;
    std::size_t m_lookups = 0;
    std::size_t m_hits = 0;
    bool m_enabled = true;
};

// Turns the rows of one entity's table into records.
class SqliteRecordReader {
public:
    SqliteRecordReader(const EntityDescription& entity, std::vector<int> columns);

    // Every row of the table in key order. A large table is read in key
    // ranges, taken in order by this thread and further threads (on
    // read-only connections of their own to the file at path): this one
    // hands the others' rows to the sink as it reaches them and reads a range
    // itself whenever it finds none read ahead, so the work evens out by
    // itself. The sink still gets every record on the calling thread, in key
    // order. The store's writes
    // come from the thread calling this, so the connections see the same data.
    Status readTable(sqlite3* db, const QString& path, const RecordSink& sink);

    // The rows of the given keys, in the order given; a key without a row is
    // skipped. Reads on the caller's connection, in its transaction.
    Status readKeys(sqlite3* db, const std::vector<std::int64_t>& keys, const RecordSink& sink);

private:
    struct KeyRange {
        std::int64_t first, last;
    };
    struct Chunks;
    QByteArray selectSql() const;
    Status readRange(sqlite3* db, KeyRange range, const RecordSink& sink);
    // Steps the prepared select to its end, handing each row to the sink.
    Status readAll(sqlite3* db, sqlite3_stmt* select, const RecordSink& sink);
    // Takes ranges in order until none is left, for another thread.
    void readChunksSeparately(const QString& path, Chunks& chunks) const;

    const EntityDescription& m_entity;
    std::vector<int> m_columns;
    std::vector<TextInterner> m_interners; // per column; empty for non-text columns
};

} // namespace qf::sqlite
