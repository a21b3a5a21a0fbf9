#include "store/SqliteRecordReader.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <future>
#include <new>
#include <optional>
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

TextInterner::TextInterner() : m_slots(kSlots) {}

SharedString TextInterner::make(std::string_view utf8)
{
    if (utf8.empty())
        return SharedString::empty();
    if (!m_enabled || utf8.size() > kMaxLength)
        return SharedString::fromUtf8(utf8);
    ++m_lookups;
    std::size_t slot = static_cast<std::size_t>(hashOf(utf8)) & (kSlots - 1);
    while (!m_slots[slot].isNull()) {
        if (m_slots[slot].view() == utf8) {
            ++m_hits;
            return m_slots[slot];
        }
        slot = (slot + 1) & (kSlots - 1);
    }
    SharedString text = SharedString::fromUtf8(utf8);
    if (m_entries < kMaxEntries) {
        m_slots[slot] = text;
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

    // Decoding a million rows of some thirty columns costs more than a
    // second on one core; split by key (keys are nearly dense) so the cores
    // share it. Small tables are not worth a thread.
    constexpr std::int64_t kRowsPerThread = 100000;
    const std::int64_t span = high - low;
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 4u));
    const int parts = span < kRowsPerThread ? 1 : static_cast<int>(std::min<std::int64_t>(cores, span / kRowsPerThread + 1));
    const std::int64_t step = span / parts + 1;
    std::vector<KeyRange> ranges;
    for (int i = 0; i < parts; ++i)
        ranges.push_back({low + i * step, i == parts - 1 ? high : low + (i + 1) * step - 1});

    std::vector<std::optional<std::future<Result<std::vector<RawRecord>>>>> workers(ranges.size());
    for (std::size_t i = 1; i < ranges.size(); ++i) {
        try {
            workers[i] = std::async(std::launch::async, [this, &path, range = ranges[i]] {
                return readRangeSeparately(path, range);
            });
        } catch (const std::system_error&) {
            // No thread to be had: this range is read here afterwards.
        }
    }
    Status status = readRange(db, ranges[0], sink);
    for (std::size_t i = 1; i < ranges.size(); ++i) {
        if (!workers[i]) {
            if (status)
                status = readRange(db, ranges[i], sink);
            continue;
        }
        Result<std::vector<RawRecord>> records = workers[i]->get(); // always joined, also after a failure
        if (!status)
            continue;
        if (!records) {
            status = records.error();
            continue;
        }
        for (RawRecord& record : *records)
            sink(std::move(record));
    }
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

Result<std::vector<RawRecord>> SqliteRecordReader::readRangeSeparately(const QString& path, KeyRange range) const
{
    SqliteRecordReader reader(m_entity, m_columns);
    sqlite3* db = openConnection(path, SQLITE_OPEN_READONLY);
    std::vector<RawRecord> records;
    Status status = db && sqlite3_errcode(db) == SQLITE_OK ? exec(db, "BEGIN") : failure(db, m_entity.name());
    execBestEffort(db, "PRAGMA mmap_size=1073741824");
    try {
        if (status)
            status = reader.readRange(db, range, [&](RawRecord&& record) { records.push_back(std::move(record)); });
    } catch (const std::bad_alloc&) {
        status = Status::failure(QStringLiteral("out of memory"));
    }
    execBestEffort(db, "COMMIT");
    sqlite3_close(db);
    if (!status)
        return status.error();
    return records;
}

Status SqliteRecordReader::readAll(sqlite3* db, sqlite3_stmt* select, const RecordSink& sink)
{
    const auto& attributes = m_entity.attributes();
    const std::size_t attributeCount = attributes.size();
    int rc;
    while ((rc = sqlite3_step(select)) == SQLITE_ROW) {
        RawRecord record;
        record.entity = &m_entity;
        record.primaryKey = sqlite3_column_int64(select, 0);
        record.attributes.resize(attributeCount);
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
