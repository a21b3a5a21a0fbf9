#include "store/SqliteStore.h"

#include "store/KeyAssignment.h"
#include "store/SqliteRecordReader.h"
#include "store/SqliteStoreInternal.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>
#include <set>
#include <unordered_map>

namespace qf {

using namespace qf::sqlite;

const char* const SqliteStore::kMetadataTable = "QuillfenMetadata";
const char* const SqliteStore::kChangeLogTable = "QuillfenChanges";

namespace {

QString newStoreUUID() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

QByteArray metadataTable() { return quoted(QString::fromLatin1(SqliteStore::kMetadataTable)); }
QByteArray changeLogTable() { return quoted(QString::fromLatin1(SqliteStore::kChangeLogTable)); }

bool hasTable(sqlite3* db, const char* name)
{
    Statement master;
    if (!master.prepare(db, "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = ?1"))
        return false;
    sqlite3_bind_text(master.get(), 1, name, -1, SQLITE_STATIC);
    return sqlite3_step(master.get()) == SQLITE_ROW && sqlite3_column_int(master.get(), 0) > 0;
}

// A version-1 file gains the change log. Where that cannot be written (a
// read-only file) the store still opens; it just cannot follow other writers.
void addChangeLog(sqlite3* db, int version)
{
    if (version >= SqliteStore::kVersion && hasTable(db, SqliteStore::kChangeLogTable))
        return;
    if (!exec(db, "BEGIN IMMEDIATE"))
        return;
    const QByteArray bump = "UPDATE " + metadataTable() + " SET value = "
                            + QByteArray::number(SqliteStore::kVersion) + " WHERE key = 'version'";
    if (!exec(db, changeLogSchemaSql().constData()) || !exec(db, bump.constData()) || !exec(db, "COMMIT"))
        execBestEffort(db, "ROLLBACK");
}

} // namespace

// Where the file stands in its history, read inside a transaction.
struct SqliteStore::History {
    std::int64_t nextObjectID = 1;
    std::uint64_t generation = 0;
    std::uint64_t fullSyncGeneration = 0; // readers from before it read everything again
};

// Prepared statements, made on first use and kept with the connection.
struct SqliteStore::Statements {
    struct PerEntity {
        std::vector<int> columns;
        Statement insert, remove, exists;
        std::unordered_map<std::uint32_t, Statement> updates; // by the set of changed columns
        std::vector<Statement> joinInsert, joinDeleteBySource, joinSelect; // per relationship
        // Relationships of any entity that point at this one: (owner entity, relationship).
        std::vector<std::pair<int, int>> incoming;
        std::vector<Statement> joinDeleteByDestination; // parallel to incoming
    };
    std::vector<PerEntity> entities;
    Statement history, setMetadata, logChange, pruneLog, changedSince;
};

SqliteStore::SqliteStore(QString path, Layout layout, sqlite3* db, StoreMetadata metadata)
    : m_path(std::move(path)),
      m_layout(layout),
      m_db(db),
      m_metadata(std::move(metadata)),
      m_statements(std::make_unique<Statements>())
{
    const auto& entities = ManagedObjectModel::shared().entities();
    m_statements->entities.resize(entities.size());
    for (std::size_t e = 0; e < entities.size(); ++e) {
        Statements::PerEntity& per = m_statements->entities[e];
        per.columns = storedColumns(*entities[e], layout);
        const std::size_t relationships = entities[e]->relationships().size();
        per.joinInsert = std::vector<Statement>(relationships);
        per.joinDeleteBySource = std::vector<Statement>(relationships);
        per.joinSelect = std::vector<Statement>(relationships);
        for (std::size_t owner = 0; owner < entities.size(); ++owner) {
            const auto& ownerRelationships = entities[owner]->relationships();
            for (std::size_t r = 0; r < ownerRelationships.size(); ++r) {
                if (ownerRelationships[r].destinationEntity == entities[e]->name())
                    per.incoming.emplace_back(static_cast<int>(owner), static_cast<int>(r));
            }
        }
        per.joinDeleteByDestination = std::vector<Statement>(per.incoming.size());
    }
    m_hasChangeLog = layout == Layout::Current && hasTable(m_db, kChangeLogTable);
}

SqliteStore::~SqliteStore()
{
    m_statements.reset(); // statements must be finalized before the connection closes
    sqlite3_close(m_db);
}

Result<std::unique_ptr<SqliteStore>> SqliteStore::open(const QString& path, Mode mode, Layout layout)
{
    using R = Result<std::unique_ptr<SqliteStore>>;
    QFileInfo info(path);
    if (!info.exists()) {
        if (mode == Mode::MustExist)
            return R::failure(QStringLiteral("There is no store at %1.").arg(displayPath(path)));
        StoreMetadata metadata;
        metadata.uuid = newStoreUUID();
        metadata.version = kVersion;
        metadata.nextObjectID = 1;
        // Another process may make the file first; then that one is opened.
        if (Result<bool> created = createStore(path, layout, metadata); !created)
            return created.error();
        info.refresh();
    }
    if (!info.isFile())
        return R::failure(QStringLiteral("%1 is not a file.").arg(displayPath(path)));
    if (info.size() == 0)
        return R::failure(QStringLiteral("The file %1 is empty, not a Quillfen store.").arg(displayPath(path)));
    Result<bool> shorterThanHeader = checkHeader(path, info.size());
    if (!shorterThanHeader)
        return shorterThanHeader.error();

    // Check through a read-only connection first: a file that turns out to be
    // foreign or damaged must leave this function byte for byte as it was.
    // A read-only connection to a WAL database makes the -wal and -shm files
    // and cannot remove them; a refused file should not keep them around.
    const QString walPath = path + QStringLiteral("-wal"), shmPath = path + QStringLiteral("-shm");
    const bool hadWal = QFileInfo::exists(walPath), hadShm = QFileInfo::exists(shmPath);
    sqlite3* reader = openConnection(path, SQLITE_OPEN_READONLY);
    Result<StoreMetadata> metadata = (!reader || sqlite3_errcode(reader) != SQLITE_OK)
                                         ? Result<StoreMetadata>::failure(QStringLiteral("Could not open the store %1: %2")
                                                                              .arg(displayPath(path), errorMessage(reader)))
                                         : inspect(reader, path, layout);
    // A crash in the middle of a checkpoint leaves the file shorter than its
    // header says while the -wal holds the committed pages: SQLite reads such
    // a store whole, so its own check decides.
    if (metadata && *shorterThanHeader) {
        if (Status checked = quickCheck(reader, path); !checked)
            metadata = checked.error();
    }
    sqlite3_close(reader);
    if (!metadata) {
        if (!hadWal && QFileInfo(walPath).size() == 0)
            QFile::remove(walPath);
        if (!hadShm && !QFileInfo::exists(walPath))
            QFile::remove(shmPath);
        return metadata.error();
    }

    sqlite3* db = openConnection(path, SQLITE_OPEN_READWRITE);
    if (!db || sqlite3_errcode(db) != SQLITE_OK) {
        const QString message = errorMessage(db);
        sqlite3_close(db);
        return R::failure(QStringLiteral("Could not open the store %1: %2").arg(displayPath(path), message));
    }
    // An older file is opened to be copied from: its journal mode, which is
    // part of its header, stays as it is.
    if (layout == Layout::Current && !sqlite3_db_readonly(db, "main")) {
        execBestEffort(db, "PRAGMA journal_mode=WAL");
        addChangeLog(db, metadata->version);
    }
    return std::unique_ptr<SqliteStore>(new SqliteStore(path, layout, db, std::move(*metadata)));
}

std::int64_t SqliteStore::dataVersion()
{
    Statement version;
    if (!version.prepare(m_db, "PRAGMA data_version") || sqlite3_step(version.get()) != SQLITE_ROW)
        return -1;
    return sqlite3_column_int64(version.get(), 0);
}

bool SqliteStore::hasChangedElsewhere()
{
    const std::int64_t now = dataVersion();
    if (now == m_dataVersion)
        return false;
    m_dataVersion = now;
    return true;
}

Result<SqliteStore::History> SqliteStore::readHistory()
{
    Statement& select = m_statements->history;
    if (!select.isPrepared()) {
        if (Status ok = select.prepare(m_db, "SELECT key, value FROM " + metadataTable()
                                                 + " WHERE key IN ('nextObjectID', 'generation', 'fullSyncGeneration')");
            !ok)
            return ok.error();
    }
    History history;
    int rc;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const QByteArray key(reinterpret_cast<const char*>(sqlite3_column_text(select.get(), 0)));
        const std::int64_t value = sqlite3_column_int64(select.get(), 1);
        if (key == "nextObjectID")
            history.nextObjectID = std::max<std::int64_t>(1, value);
        else if (key == "generation")
            history.generation = static_cast<std::uint64_t>(std::max<std::int64_t>(0, value));
        else
            history.fullSyncGeneration = static_cast<std::uint64_t>(std::max<std::int64_t>(0, value));
    }
    const Status status = rc == SQLITE_DONE ? Status::ok() : failure(m_db, QStringLiteral("metadata"));
    select.reset();
    if (!status)
        return status.error();
    return history;
}

Status SqliteStore::load(const RecordSink& sink)
{
    // One read transaction: a consistent snapshot, and no lock taken per statement.
    if (Status begun = exec(m_db, "BEGIN"); !begun)
        return Status::failure(QStringLiteral("Could not read the store %1: %2").arg(displayPath(m_path), begun.message()));
    Result<History> history = readHistory();
    Status read = history ? readEverything(sink) : Status(history.error());
    if (!read) {
        execBestEffort(m_db, "ROLLBACK");
        return Status::failure(QStringLiteral("Could not read the store %1 (%2)").arg(displayPath(m_path), read.message()));
    }
    m_loadedGeneration = history->generation;
    m_dataVersion = dataVersion();
    execBestEffort(m_db, "COMMIT");
    return Status::ok();
}

Status SqliteStore::readEverything(const RecordSink& sink)
{
    const auto& entities = ManagedObjectModel::shared().entities();
    // Loading reads every page once; mapping the file saves a copy per page.
    // The mapping ends with the load: kept, it would hold the whole file in
    // the process's memory for nothing, as saves write only a few pages.
    struct FileMapping {
        sqlite3* db;
        explicit FileMapping(sqlite3* connection) : db(connection) { execBestEffort(db, "PRAGMA mmap_size=1073741824"); }
        ~FileMapping() { execBestEffort(db, "PRAGMA mmap_size=0"); }
    } mapping(m_db);
    auto fail = [&](const QString& what) {
        return Status::failure(QStringLiteral("%1: %2").arg(what, errorMessage(m_db)));
    };

    for (std::size_t e = 0; e < entities.size(); ++e) {
        const EntityDescription& entity = *entities[e];
        const std::size_t relationshipCount = entity.relationships().size();

        // Join tables are small (smart-folder rules); read them whole first.
        std::vector<std::unordered_map<std::int64_t, std::vector<std::int64_t>>> related(relationshipCount);
        for (std::size_t r = 0; r < relationshipCount; ++r) {
            Statement join;
            if (!join.prepare(m_db, "SELECT source, destination FROM " + quoted(joinTableName(entity, entity.relationships()[r]))
                                        + " ORDER BY source, position"))
                return fail(entity.name());
            int rc;
            while ((rc = sqlite3_step(join.get())) == SQLITE_ROW)
                related[r][sqlite3_column_int64(join.get(), 0)].push_back(sqlite3_column_int64(join.get(), 1));
            if (rc != SQLITE_DONE)
                return fail(entity.name());
        }

        SqliteRecordReader reader(entity, m_statements->entities[e].columns);
        Status read;
        if (relationshipCount == 0) {
            read = reader.readTable(m_db, m_path, sink);
        } else {
            read = reader.readTable(m_db, m_path, [&](RawRecord&& record) {
                record.relationships.resize(relationshipCount);
                for (std::size_t r = 0; r < relationshipCount; ++r) {
                    auto found = related[r].find(record.primaryKey);
                    if (found != related[r].end())
                        record.relationships[r] = std::move(found->second);
                }
                sink(std::move(record));
            });
        }
        if (!read)
            return fail(entity.name());
    }
    return Status::ok();
}

namespace {

// Binds a value as its attribute's column type. Texts are bound without a
// copy: the record outlives the statement's step.
int bindValue(sqlite3_stmt* stmt, int column, AttributeType type, const Value& value)
{
    if (value.isNull())
        return sqlite3_bind_null(stmt, column);
    switch (type) {
    case AttributeType::String:
        if (value.isString())
            return sqlite3_bind_text64(stmt, column, value.string().data(), value.string().size(), SQLITE_STATIC,
                                       SQLITE_UTF8);
        else {
            const QByteArray text = value.toString().toUtf8();
            return sqlite3_bind_text64(stmt, column, text.constData(), static_cast<sqlite3_uint64>(text.size()),
                                       SQLITE_TRANSIENT, SQLITE_UTF8);
        }
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
        return sqlite3_bind_int64(stmt, column, value.toInt());
    case AttributeType::Float:
        return sqlite3_bind_double(stmt, column, static_cast<double>(static_cast<float>(value.toDouble())));
    case AttributeType::Double:
    case AttributeType::Date:
        return sqlite3_bind_double(stmt, column, value.toDouble());
    case AttributeType::Bool:
        return sqlite3_bind_int(stmt, column, value.toBool() ? 1 : 0);
    case AttributeType::Binary: {
        const QByteArray bytes = value.toByteArray();
        // An empty blob bound from a null pointer would read back as NULL.
        if (bytes.isEmpty())
            return sqlite3_bind_zeroblob(stmt, column, 0);
        return sqlite3_bind_blob64(stmt, column, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()),
                                   SQLITE_TRANSIENT);
    }
    }
    return SQLITE_MISUSE;
}

QString recordName(const RawRecord& record)
{
    return QStringLiteral("%1 %2").arg(record.entity ? record.entity->name() : QStringLiteral("?")).arg(record.primaryKey);
}

} // namespace

Result<SaveOutcome> SqliteStore::save(const ChangeSet& changes)
{
    auto fail = [&](const QString& why) {
        return Result<SaveOutcome>::failure(QStringLiteral("Could not save the store %1: %2").arg(displayPath(m_path), why));
    };
    if (sqlite3_db_readonly(m_db, "main") == 1)
        return fail(plainMessage(SQLITE_READONLY));
    // IMMEDIATE takes the write lock at once: a second writer waits here (the
    // busy timeout) instead of failing halfway through its transaction.
    if (Status begun = exec(m_db, "BEGIN IMMEDIATE"); !begun)
        return fail(begun.message());
    SaveOutcome outcome;
    std::int64_t nextObjectID = m_metadata.nextObjectID;
    Status written = writeChanges(changes, outcome, nextObjectID);
    if (written)
        written = exec(m_db, "COMMIT");
    if (!written) {
        if (!sqlite3_get_autocommit(m_db))
            execBestEffort(m_db, "ROLLBACK");
        return fail(written.message());
    }
    m_metadata.nextObjectID = nextObjectID;
    return outcome;
}

Status SqliteStore::writeChanges(const ChangeSet& changes, SaveOutcome& outcome, std::int64_t& nextObjectID)
{
    const auto& entities = ManagedObjectModel::shared().entities();
    auto perEntity = [&](const RawRecord& record) -> Statements::PerEntity* {
        const int e = entityIndex(record.entity);
        if (e < 0 || static_cast<int>(record.attributes.size()) != record.entity->attributeCount())
            return nullptr;
        return &m_statements->entities[static_cast<std::size_t>(e)];
    };
    auto prepared = [&](Statement& statement, auto makeSql) -> Status {
        return statement.isPrepared() ? Status::ok() : statement.prepare(m_db, makeSql());
    };
    auto malformed = [](const RawRecord& record) {
        return Status::failure(QStringLiteral("malformed record %1").arg(recordName(record)));
    };

    // Keys are handed out here, under the write lock, from the file's own
    // counter: what another process inserted since this one loaded is
    // already counted.
    Result<History> history = readHistory();
    if (!history)
        return history.error();
    std::int64_t next = history->nextObjectID;
    const bool anyProvisional = std::any_of(changes.inserted.begin(), changes.inserted.end(),
                                            [](const RawRecord& r) { return isProvisionalKey(r.primaryKey); });
    if (anyProvisional) {
        // The counter is trusted only as far as the tables agree with it.
        for (const EntityDescription* entity : entities) {
            Statement highest;
            if (Status ok = highest.prepare(m_db, "SELECT max(" + QByteArray(kPrimaryKeyColumn) + ") FROM "
                                                      + quoted(entity->name()));
                !ok)
                return ok;
            if (sqlite3_step(highest.get()) != SQLITE_ROW)
                return failure(m_db, entity->name());
            next = std::max<std::int64_t>(next, sqlite3_column_int64(highest.get(), 0) + 1);
        }
    }
    const KeyAssignment keys(changes, next);
    next = keys.next();
    outcome.insertedKeys = keys.insertedKeys();
    auto finalKey = [&](std::int64_t key) { return keys.finalKey(key); };

    const std::uint64_t generation = history->generation + 1;
    const std::size_t touched = changes.inserted.size() + changes.updated.size() + changes.deleted.size();
    const bool logged = m_hasChangeLog && touched <= kLoggedRecordsPerSave;
    auto logChange = [&](const EntityDescription& entity, std::int64_t key) -> Status {
        if (!logged)
            return Status::ok();
        Statement& log = m_statements->logChange;
        if (Status ok = prepared(log, []() -> QByteArray { return "INSERT INTO " + changeLogTable() + " (generation, entity, pk) VALUES (?1, ?2, ?3)"; });
            !ok)
            return ok;
        const QByteArray name = entity.name().toUtf8();
        sqlite3_bind_int64(log.get(), 1, static_cast<sqlite3_int64>(generation));
        sqlite3_bind_text(log.get(), 2, name.constData(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
        sqlite3_bind_int64(log.get(), 3, key);
        return run(m_db, log, QStringLiteral("change log"));
    };

    auto writeRelationships = [&](const EntityDescription& entity, std::int64_t key,
                                  const std::vector<std::vector<std::int64_t>>& relationships,
                                  Statements::PerEntity& per) -> Status {
        for (std::size_t r = 0; r < entity.relationships().size(); ++r) {
            const QByteArray table = quoted(joinTableName(entity, entity.relationships()[r]));
            Status ok = prepared(per.joinDeleteBySource[r], [&]() -> QByteArray { return "DELETE FROM " + table + " WHERE source = ?1"; });
            if (!ok)
                return ok;
            sqlite3_bind_int64(per.joinDeleteBySource[r].get(), 1, key);
            if (Status done = run(m_db, per.joinDeleteBySource[r], QStringLiteral("%1 %2").arg(entity.name()).arg(key)); !done)
                return done;
            if (r >= relationships.size())
                continue;
            ok = prepared(per.joinInsert[r], [&]() -> QByteArray {
                return "INSERT INTO " + table + " (source, destination, position) VALUES (?1, ?2, ?3)";
            });
            if (!ok)
                return ok;
            const std::vector<std::int64_t>& destinations = relationships[r];
            for (std::size_t i = 0; i < destinations.size(); ++i) {
                sqlite3_bind_int64(per.joinInsert[r].get(), 1, key);
                sqlite3_bind_int64(per.joinInsert[r].get(), 2, finalKey(destinations[i]));
                sqlite3_bind_int64(per.joinInsert[r].get(), 3, static_cast<sqlite3_int64>(i));
                if (Status done = run(m_db, per.joinInsert[r], QStringLiteral("%1 %2").arg(entity.name()).arg(key)); !done)
                    return done;
            }
        }
        return Status::ok();
    };
    // Binds the key as ?1 and the given attributes as ?2, ?3, ... in order.
    auto bindRow = [&](Statement& statement, const RawRecord& record, std::int64_t key, const std::vector<int>& columns) {
        sqlite3_bind_int64(statement.get(), 1, key);
        for (std::size_t c = 0; c < columns.size(); ++c) {
            const int attribute = columns[c];
            if (bindValue(statement.get(), static_cast<int>(c) + 2, record.entity->attributes()[attribute].type,
                          record.attributes[static_cast<std::size_t>(attribute)])
                != SQLITE_OK)
                return false;
        }
        return true;
    };

    for (const RawRecord& record : changes.deleted) {
        const int e = entityIndex(record.entity);
        if (e < 0)
            return malformed(record);
        Statements::PerEntity* per = &m_statements->entities[static_cast<std::size_t>(e)];
        Status ok = prepared(per->remove, [&]() -> QByteArray {
            return "DELETE FROM " + quoted(record.entity->name()) + " WHERE " + kPrimaryKeyColumn + " = ?1";
        });
        if (!ok)
            return ok;
        sqlite3_bind_int64(per->remove.get(), 1, record.primaryKey);
        if (Status done = run(m_db, per->remove, recordName(record)); !done)
            return done;
        if (Status done = writeRelationships(*record.entity, record.primaryKey, {}, *per); !done)
            return done;
        if (Status done = logChange(*record.entity, record.primaryKey); !done)
            return done;
    }

    for (std::size_t i = 0; i < changes.inserted.size(); ++i) {
        const RawRecord& record = changes.inserted[i];
        const std::int64_t key = outcome.insertedKeys[i];
        Statements::PerEntity* per = perEntity(record);
        if (!per)
            return malformed(record);
        Status ok = prepared(per->insert, [&]() -> QByteArray {
            QByteArray names = kPrimaryKeyColumn, values = "?1";
            for (std::size_t c = 0; c < per->columns.size(); ++c) {
                names += ", " + quoted(record.entity->attributes()[per->columns[c]].name);
                values += ", ?" + QByteArray::number(static_cast<int>(c) + 2);
            }
            return "INSERT INTO " + quoted(record.entity->name()) + " (" + names + ") VALUES (" + values + ')';
        });
        if (!ok)
            return ok;
        if (!bindRow(per->insert, record, key, per->columns)) {
            per->insert.reset();
            return malformed(record);
        }
        if (Status done = run(m_db, per->insert, QStringLiteral("inserting %1 %2").arg(record.entity->name()).arg(key)); !done)
            return done;
        if (Status done = writeRelationships(*record.entity, key, record.relationships, *per); !done)
            return done;
        if (Status done = logChange(*record.entity, key); !done)
            return done;
    }

    for (const RecordUpdate& update : changes.updated) {
        const RawRecord& record = update.record;
        Statements::PerEntity* per = perEntity(record);
        if (!per)
            return malformed(record);
        std::vector<int> columns;
        std::uint32_t mask = 0;
        for (int column : per->columns) {
            if (update.changedAttributes & (1u << column)) {
                columns.push_back(column);
                mask |= 1u << column;
            }
        }
        Statement& statement = per->updates[mask];
        Status ok = prepared(statement, [&]() -> QByteArray {
            QByteArray assignments;
            for (std::size_t c = 0; c < columns.size(); ++c) {
                if (c > 0)
                    assignments += ", ";
                assignments += quoted(record.entity->attributes()[columns[c]].name) + " = ?"
                               + QByteArray::number(static_cast<int>(c) + 2);
            }
            // Only the links changed: the row is touched just to learn it is still there.
            if (columns.empty())
                assignments = QByteArray(kPrimaryKeyColumn) + " = " + kPrimaryKeyColumn;
            return "UPDATE " + quoted(record.entity->name()) + " SET " + assignments + " WHERE " + kPrimaryKeyColumn
                   + " = ?1";
        });
        if (!ok)
            return ok;
        if (!bindRow(statement, record, record.primaryKey, columns)) {
            statement.reset();
            return malformed(record);
        }
        if (Status done = run(m_db, statement, QStringLiteral("updating %1").arg(recordName(record))); !done)
            return done;
        if (sqlite3_changes(m_db) != 1) {
            // Another process deleted it: its deletion stands.
            outcome.vanishedKeys.push_back(record.primaryKey);
            continue;
        }
        if (update.relationshipsChanged) {
            if (Status done = writeRelationships(*record.entity, record.primaryKey, record.relationships, *per); !done)
                return done;
        }
        if (Status done = logChange(*record.entity, record.primaryKey); !done)
            return done;
    }

    // Links to deleted records go last, so that an updated record still
    // naming one cannot bring the link back.
    for (const RawRecord& record : changes.deleted) {
        Statements::PerEntity* per = &m_statements->entities[static_cast<std::size_t>(entityIndex(record.entity))];
        for (std::size_t i = 0; i < per->incoming.size(); ++i) {
            const EntityDescription& ownerEntity = *entities[static_cast<std::size_t>(per->incoming[i].first)];
            const auto relationship = static_cast<std::size_t>(per->incoming[i].second);
            const Status ok = prepared(per->joinDeleteByDestination[i], [&]() -> QByteArray {
                return "DELETE FROM "
                       + quoted(joinTableName(ownerEntity, ownerEntity.relationships()[relationship]))
                       + " WHERE destination = ?1";
            });
            if (!ok)
                return ok;
            sqlite3_bind_int64(per->joinDeleteByDestination[i].get(), 1, record.primaryKey);
            if (Status done = run(m_db, per->joinDeleteByDestination[i], recordName(record)); !done)
                return done;
        }
    }

    Statement& set = m_statements->setMetadata;
    const Status ok = prepared(set, []() -> QByteArray { return "INSERT OR REPLACE INTO " + metadataTable() + " (key, value) VALUES (?1, ?2)"; });
    if (!ok)
        return ok;
    auto setMetadata = [&](const char* key, std::int64_t value) {
        sqlite3_bind_text(set.get(), 1, key, -1, SQLITE_STATIC);
        sqlite3_bind_int64(set.get(), 2, value);
        return run(m_db, set, QString::fromLatin1(key));
    };
    if (Status done = setMetadata("nextObjectID", next); !done)
        return done;
    nextObjectID = next;
    if (!m_hasChangeLog)
        return Status::ok();
    if (Status done = setMetadata("generation", static_cast<std::int64_t>(generation)); !done)
        return done;
    if (!logged) {
        if (Status done = setMetadata("fullSyncGeneration", static_cast<std::int64_t>(generation)); !done)
            return done;
    }
    if (generation > kLoggedGenerations) {
        Statement& prune = m_statements->pruneLog;
        if (Status done = prepared(prune, []() -> QByteArray { return "DELETE FROM " + changeLogTable() + " WHERE generation <= ?1"; }); !done)
            return done;
        sqlite3_bind_int64(prune.get(), 1, static_cast<sqlite3_int64>(generation - kLoggedGenerations));
        if (Status done = run(m_db, prune, QStringLiteral("change log")); !done)
            return done;
    }
    outcome.generation = generation;
    return Status::ok();
}

Result<StoreChanges> SqliteStore::changesSince(std::uint64_t generation, const std::set<std::uint64_t>& own)
{
    auto fail = [&](const QString& why) {
        execBestEffort(m_db, "ROLLBACK");
        return Result<StoreChanges>::failure(QStringLiteral("Could not read the store %1: %2").arg(displayPath(m_path), why));
    };
    if (Status begun = exec(m_db, "BEGIN"); !begun)
        return fail(begun.message());
    Result<History> history = readHistory();
    if (!history)
        return fail(history.message());
    StoreChanges changes;
    changes.generation = history->generation;
    if (history->generation > generation) {
        const bool everything = !m_hasChangeLog || history->fullSyncGeneration > generation
                                || history->generation - generation > kLoggedGenerations;
        if (everything) {
            changes.complete = true;
            Status read = readEverything([&](RawRecord&& record) { changes.records.push_back(std::move(record)); });
            if (!read)
                return fail(read.message());
        } else {
            Statement& select = m_statements->changedSince;
            if (!select.isPrepared()) {
                if (Status ok = select.prepare(m_db, "SELECT generation, entity, pk FROM " + changeLogTable()
                                                         + " WHERE generation > ?1");
                    !ok)
                    return fail(ok.message());
            }
            sqlite3_bind_int64(select.get(), 1, static_cast<sqlite3_int64>(generation));
            std::set<std::pair<const EntityDescription*, std::int64_t>> keys;
            int rc;
            while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
                if (own.count(static_cast<std::uint64_t>(sqlite3_column_int64(select.get(), 0))))
                    continue;
                const QString name = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(select.get(), 1)));
                if (const EntityDescription* entity = ManagedObjectModel::shared().entity(name))
                    keys.emplace(entity, sqlite3_column_int64(select.get(), 2));
            }
            const bool stepped = rc == SQLITE_DONE;
            select.reset();
            if (!stepped)
                return fail(errorMessage(m_db));
            if (Status read = readRecords({keys.begin(), keys.end()}, changes); !read)
                return fail(read.message());
        }
    }
    m_dataVersion = dataVersion();
    execBestEffort(m_db, "COMMIT");
    return changes;
}

Status SqliteStore::readRecords(const std::vector<std::pair<const EntityDescription*, std::int64_t>>& keys,
                                StoreChanges& changes)
{
    const auto& entities = ManagedObjectModel::shared().entities();
    for (std::size_t e = 0; e < entities.size(); ++e) {
        const EntityDescription& entity = *entities[e];
        std::vector<std::int64_t> wanted;
        for (const auto& [owner, key] : keys) {
            if (owner == &entity)
                wanted.push_back(key);
        }
        if (wanted.empty())
            continue;
        Statements::PerEntity& per = m_statements->entities[e];
        SqliteRecordReader reader(entity, per.columns);
        std::size_t found = 0;
        Status status = Status::ok();
        Status read = reader.readKeys(m_db, wanted, [&](RawRecord&& record) {
            record.relationships.resize(entity.relationships().size());
            for (std::size_t r = 0; r < entity.relationships().size() && status; ++r) {
                Statement& join = per.joinSelect[r];
                if (!join.isPrepared()) {
                    status = join.prepare(m_db, "SELECT destination FROM " + quoted(joinTableName(entity, entity.relationships()[r]))
                                                    + " WHERE source = ?1 ORDER BY position");
                    if (!status)
                        break;
                }
                sqlite3_bind_int64(join.get(), 1, record.primaryKey);
                int rc;
                while ((rc = sqlite3_step(join.get())) == SQLITE_ROW)
                    record.relationships[r].push_back(sqlite3_column_int64(join.get(), 0));
                if (rc != SQLITE_DONE)
                    status = failure(m_db, entity.name());
                join.reset();
            }
            // Keys come back in the order asked; those skipped are gone.
            while (found < wanted.size() && wanted[found] != record.primaryKey)
                changes.gone.emplace_back(&entity, wanted[found++]);
            ++found;
            changes.records.push_back(std::move(record));
        });
        if (!read)
            return read;
        if (!status)
            return status;
        while (found < wanted.size())
            changes.gone.emplace_back(&entity, wanted[found++]);
    }
    return Status::ok();
}

} // namespace qf
