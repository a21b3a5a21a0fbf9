#include "store/SqliteRecordReader.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

namespace qf::sqlite {

namespace {

// Eight bytes at a time: most of these texts are 36-character identifiers,
// and hashing byte by byte would cost more than the lookup saves.
std::uint64_t hashOf(std::string_view text)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15ull ^ text.size();
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + i, 8);
        hash = (hash ^ word) * 0xFF51AFD7ED558CCDull;
        hash ^= hash >> 32;
    }
    std::uint64_t tail = 0;
    std::memcpy(&tail, text.data() + i, text.size() - i);
    hash = (hash ^ tail) * 0xC4CEB9FE1A85EC53ull;
    return hash ^ (hash >> 29);
}

} // namespace

TextInterner::TextInterner() : m_slots(kSlots), m_empty(SharedString::fromUtf8(std::string_view())) {}

SharedString TextInterner::make(std::string_view utf8)
{
    if (utf8.empty())
        return m_empty;
    if (!m_enabled || utf8.size() > kMaxLength)
        return SharedString::fromUtf8(utf8);
    ++m_lookups;
    const std::uint64_t hash = hashOf(utf8);
    std::size_t slot = static_cast<std::size_t>(hash) & (kSlots - 1);
    while (!m_slots[slot].text.isNull()) {
        if (m_slots[slot].hash == hash && m_slots[slot].text.view() == utf8) {
            ++m_hits;
            return m_slots[slot].text;
        }
        slot = (slot + 1) & (kSlots - 1);
    }
    SharedString text = SharedString::fromUtf8(utf8);
    if (m_entries < kMaxEntries) {
        m_slots[slot] = {hash, text};
        ++m_entries;
    }
    if (m_lookups >= 2048 && m_hits * 4 < m_lookups) {
        m_enabled = false;
        m_slots = {};
    }
    return text;
}

SqliteRecordReader::SqliteRecordReader(const EntityDescription& entity, std::vector<int> columns)
    : m_entity(entity), m_columns(std::move(columns)), m_interners(m_columns.size())
{
}

QByteArray SqliteRecordReader::selectSql() const
{
    QByteArray sql = QByteArray("SELECT ") + kPrimaryKeyColumn;
    for (int column : m_columns)
        sql += ", " + quoted(m_entity.attributes()[static_cast<std::size_t>(column)].name);
    sql += " FROM " + quoted(m_entity.name()) + " WHERE " + kPrimaryKeyColumn + " BETWEEN ?1 AND ?2 ORDER BY "
           + kPrimaryKeyColumn;
    return sql;
}

namespace {

// Rows read ahead by another thread, waiting for their turn: only the
// non-null values, packed, with one bit per attribute saying which are there.
struct PackedRows {
    std::vector<std::int64_t> keys;
    std::vector<std::uint32_t> present;
    std::vector<Value> values;
};

constexpr std::size_t kMaxPackedAttributes = 32; // bits of PackedRows::present

// Reads rows through read (which hands each to the sink given) into rows.
Status readIntoPacked(std::size_t expectedRows, std::size_t attributeCount, PackedRows& rows,
                      const std::function<Status(const RecordSink&)>& read)
{
    try {
        rows.keys.reserve(expectedRows);
        rows.present.reserve(expectedRows);
        rows.values.reserve(expectedRows * attributeCount / 2);
        return read([&](RawRecord&& record) {
            std::uint32_t present = 0;
            for (std::size_t a = 0; a < record.attributes.size(); ++a) {
                if (!record.attributes[a].isNull()) {
                    present |= 1u << a;
                    rows.values.push_back(std::move(record.attributes[a]));
                }
            }
            rows.keys.push_back(record.primaryKey);
            rows.present.push_back(present);
        });
    } catch (const std::bad_alloc&) {
        rows = {};
        return Status::failure(QStringLiteral("out of memory"));
    }
}

// Makes the record ready for the next row: every value null, no relationships.
void resetRecord(RawRecord& record, const EntityDescription& entity)
{
    const std::size_t attributeCount = entity.attributes().size();
    record.entity = &entity;
    record.relationships.clear();
    if (record.attributes.size() != attributeCount) {
        record.attributes.clear();
        record.attributes.resize(attributeCount);
        return;
    }
    for (Value& value : record.attributes) {
        if (value.type() != Value::Type::Null)
            value = Value();
    }
}

} // namespace

struct SqliteRecordReader::Chunks {
    struct Taken {
        bool ready = false;
        Status status;
        PackedRows rows;
    };
    std::vector<KeyRange> ranges;
    std::vector<Taken> taken;
    std::mutex mutex;
    std::condition_variable finished;
    // Ranges from next on are not taken yet; every thread takes them in
    // key order.
    std::size_t next = 0;
};

Status SqliteRecordReader::readTable(sqlite3* db, const QString& path, const RecordSink& sink)
{
    Statement bounds;
    if (Status ok = bounds.prepare(db, "SELECT min(" + QByteArray(kPrimaryKeyColumn) + "), max(" + kPrimaryKeyColumn
                                           + ") FROM " + quoted(m_entity.name()));
        !ok)
        return ok;
    if (sqlite3_step(bounds.get()) != SQLITE_ROW)
        return failure(db, m_entity.name());
    if (sqlite3_column_type(bounds.get(), 0) == SQLITE_NULL)
        return Status::ok(); // no rows
    const std::int64_t low = sqlite3_column_int64(bounds.get(), 0);
    const std::int64_t high = sqlite3_column_int64(bounds.get(), 1);

    // Decoding a million rows of some thirty columns takes about a second
    // on one core; split by key (keys are nearly dense) so the cores share
    // it. Small tables are not worth a thread.
    constexpr std::int64_t kRowsPerThread = 100000;
    constexpr std::int64_t kRowsPerChunk = 32768;
    const std::int64_t span = high - low;
    const int threads = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 4u)) - 1;
    if (span < kRowsPerThread || threads < 1 || m_entity.attributes().size() > kMaxPackedAttributes)
        return readRange(db, {low, high}, sink);

    Chunks chunks;
    for (std::int64_t first = low; first <= high; first += kRowsPerChunk)
        chunks.ranges.push_back({first, std::min(high, first + kRowsPerChunk - 1)});
    chunks.taken.resize(chunks.ranges.size());

    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        try {
            workers.emplace_back([this, &path, &chunks] { readChunksSeparately(path, chunks); });
        } catch (const std::system_error&) {
            break; // no thread to be had: this one reads more
        }
    }

    Status status;
    RawRecord record;
    for (std::size_t i = 0; i < chunks.ranges.size() && status; ++i) {
        std::unique_lock lock(chunks.mutex);
        // A range nobody took yet is read here and its records made at once.
        // The other threads only read, so they run ahead while this one
        // makes records; this one reads again when it catches up with them.
        if (i >= chunks.next) {
            chunks.next = i + 1;
            lock.unlock();
            status = readRange(db, chunks.ranges[i], sink);
            continue;
        }
        // While another thread is still reading the range due, read one
        // further ahead here rather than wait.
        const std::size_t attributeCount = m_entity.attributes().size();
        while (!chunks.taken[i].ready && chunks.next < chunks.ranges.size()) {
            const std::size_t ahead = chunks.next++;
            lock.unlock();
            const KeyRange range = chunks.ranges[ahead];
            PackedRows rows;
            const Status read = readIntoPacked(static_cast<std::size_t>(range.last - range.first + 1), attributeCount,
                                               rows, [&](const RecordSink& s) { return readRange(db, range, s); });
            lock.lock();
            chunks.taken[ahead].rows = std::move(rows);
            chunks.taken[ahead].status = read;
            chunks.taken[ahead].ready = true;
        }
        chunks.finished.wait(lock, [&] { return chunks.taken[i].ready; });
        Chunks::Taken taken = std::move(chunks.taken[i]);
        lock.unlock();
        if (!taken.status) {
            status = taken.status;
            break;
        }
        std::size_t next = 0;
        for (std::size_t row = 0; row < taken.rows.keys.size(); ++row) {
            resetRecord(record, m_entity);
            record.primaryKey = taken.rows.keys[row];
            const std::uint32_t present = taken.rows.present[row];
            for (std::size_t a = 0; a < record.attributes.size(); ++a) {
                if (present & (1u << a))
                    record.attributes[a] = std::move(taken.rows.values[next++]);
            }
            sink(std::move(record));
        }
    }
    {
        // After a failure nobody takes more; what is under way finishes.
        std::lock_guard lock(chunks.mutex);
        chunks.next = chunks.ranges.size();
    }
    for (std::thread& worker : workers)
        worker.join();
    return status;
}

Status SqliteRecordReader::readRange(sqlite3* db, KeyRange range, const RecordSink& sink)
{
    Statement select;
    if (Status ok = select.prepare(db, selectSql()); !ok)
        return ok;
    sqlite3_bind_int64(select.get(), 1, range.first);
    sqlite3_bind_int64(select.get(), 2, range.last);
    return readAll(db, select.get(), sink);
}

Status SqliteRecordReader::readKeys(sqlite3* db, const std::vector<std::int64_t>& keys, const RecordSink& sink)
{
    Statement select;
    if (Status ok = select.prepare(db, selectSql()); !ok)
        return ok;
    for (std::int64_t key : keys) {
        sqlite3_bind_int64(select.get(), 1, key);
        sqlite3_bind_int64(select.get(), 2, key);
        const Status read = readAll(db, select.get(), sink);
        sqlite3_reset(select.get());
        if (!read)
            return read;
    }
    return Status::ok();
}

void SqliteRecordReader::readChunksSeparately(const QString& path, Chunks& chunks) const
{
    SqliteRecordReader reader(m_entity, m_columns);
    sqlite3* db = openConnection(path, SQLITE_OPEN_READONLY);
    // A connection that cannot read leaves every range to the calling thread.
    if (db && sqlite3_errcode(db) == SQLITE_OK && exec(db, "BEGIN")) {
        execBestEffort(db, "PRAGMA mmap_size=1073741824");
        const std::size_t attributeCount = m_entity.attributes().size();
        for (;;) {
            std::size_t index;
            {
                std::lock_guard lock(chunks.mutex);
                if (chunks.next >= chunks.ranges.size())
                    break;
                index = chunks.next++;
            }
            PackedRows rows;
            const KeyRange range = chunks.ranges[index];
            const Status status = readIntoPacked(static_cast<std::size_t>(range.last - range.first + 1), attributeCount,
                                                 rows, [&](const RecordSink& s) { return reader.readRange(db, range, s); });
            {
                std::lock_guard lock(chunks.mutex);
                chunks.taken[index].rows = std::move(rows);
                chunks.taken[index].status = status;
                chunks.taken[index].ready = true;
            }
            chunks.finished.notify_all();
        }
        execBestEffort(db, "COMMIT");
    }
    sqlite3_close(db);
}

Status SqliteRecordReader::readAll(sqlite3* db, sqlite3_stmt* select, const RecordSink& sink)
{
    const auto& attributes = m_entity.attributes();
    // One record serves every row: a sink that takes the values leaves them
    // null, so the next row needs neither a new array nor 26 releases.
    RawRecord record;
    int rc;
    while ((rc = sqlite3_step(select)) == SQLITE_ROW) {
        resetRecord(record, m_entity);
        record.primaryKey = sqlite3_column_int64(select, 0);
        for (std::size_t c = 0; c < m_columns.size(); ++c) {
            // One column call per value: each sqlite3_column_* call has a
            // fixed cost that adds up over tens of millions of values.
            sqlite3_value* cell = sqlite3_column_value(select, static_cast<int>(c) + 1);
            if (sqlite3_value_type(cell) == SQLITE_NULL)
                continue;
            const std::size_t index = static_cast<std::size_t>(m_columns[c]);
            Value& value = record.attributes[index];
            switch (attributes[index].type) {
            case AttributeType::String: {
                // Straight from SQLite's UTF-8 into the shared text: no QString on the way.
                const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(cell));
                const auto size = static_cast<std::size_t>(sqlite3_value_bytes(cell));
                value = Value(m_interners[c].make(std::string_view(text ? text : "", size)));
                break;
            }
            case AttributeType::Int16:
            case AttributeType::Int32:
            case AttributeType::Int64:
                value = Value(static_cast<std::int64_t>(sqlite3_value_int64(cell)));
                break;
            case AttributeType::Float:
                value = Value(static_cast<double>(static_cast<float>(sqlite3_value_double(cell))));
                break;
            case AttributeType::Double:
                value = Value(sqlite3_value_double(cell));
                break;
            case AttributeType::Date:
                value = Value::date(sqlite3_value_double(cell));
                break;
            case AttributeType::Bool:
                value = Value::boolean(sqlite3_value_int64(cell) != 0);
                break;
            case AttributeType::Binary: {
                const void* blob = sqlite3_value_blob(cell);
                value = Value::data(QByteArray(static_cast<const char*>(blob), sqlite3_value_bytes(cell)));
                break;
            }
            }
        }
        sink(std::move(record));
    }
    if (rc != SQLITE_DONE)
        return failure(db, m_entity.name());
    return Status::ok();
}

} // namespace qf::sqlite
