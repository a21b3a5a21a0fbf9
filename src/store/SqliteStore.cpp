#include "store/SqliteStore.h"

#include "store/SqliteRecordReader.h"
#include "store/SqliteStoreInternal.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <unordered_map>

namespace qf {

using namespace qf::sqlite;

const char* const SqliteStore::kMetadataTable = "QuillfenMetadata";

namespace {

QString newStoreUUID() { return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(); }

} // namespace

// Prepared statements, made on first use and kept with the connection.
struct SqliteStore::Statements {
    struct PerEntity {
        std::vector<int> columns;
        Statement insert, update, remove;
        std::vector<Statement> joinInsert, joinDeleteBySource; // per relationship
        // Relationships of any entity that point at this one: (owner entity, relationship).
        std::vector<std::pair<int, int>> incoming;
        std::vector<Statement> joinDeleteByDestination; // parallel to incoming
    };
    std::vector<PerEntity> entities;
    Statement updateNextObjectID;
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
        per.joinInsert = std::vector<Statement>(entities[e]->relationships().size());
        per.joinDeleteBySource = std::vector<Statement>(entities[e]->relationships().size());
        for (std::size_t owner = 0; owner < entities.size(); ++owner) {
            const auto& relationships = entities[owner]->relationships();
            for (std::size_t r = 0; r < relationships.size(); ++r) {
                if (relationships[r].destinationEntity == entities[e]->name())
                    per.incoming.emplace_back(static_cast<int>(owner), static_cast<int>(r));
            }
        }
        per.joinDeleteByDestination = std::vector<Statement>(per.incoming.size());
    }
}

SqliteStore::~SqliteStore()
{
    m_statements.reset(); // statements must be finalized before the connection closes
    sqlite3_close(m_db);
}

Result<std::unique_ptr<SqliteStore>> SqliteStore::open(const QString& path, Mode mode, Layout layout)
{
    using R = Result<std::unique_ptr<SqliteStore>>;
    const QFileInfo info(path);
    if (!info.exists()) {
        if (mode == Mode::MustExist)
            return R::failure(QStringLiteral("There is no store at %1.").arg(displayPath(path)));
        StoreMetadata metadata;
        metadata.uuid = newStoreUUID();
        metadata.version = kVersion;
        metadata.nextObjectID = 1;
        Result<sqlite3*> created = createStore(path, layout, metadata);
        if (!created)
            return created.error();
        return std::unique_ptr<SqliteStore>(new SqliteStore(path, layout, *created, std::move(metadata)));
    }
    if (!info.isFile())
        return R::failure(QStringLiteral("%1 is not a file.").arg(displayPath(path)));
    if (info.size() == 0)
        return R::failure(QStringLiteral("The file %1 is empty, not a Quillfen store.").arg(displayPath(path)));
    if (Status header = checkHeader(path, info.size()); !header)
        return header.error();

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
    if (layout == Layout::Current && !sqlite3_db_readonly(db, "main"))
        execBestEffort(db, "PRAGMA journal_mode=WAL");
    return std::unique_ptr<SqliteStore>(new SqliteStore(path, layout, db, std::move(*metadata)));
}

Status SqliteStore::load(const RecordSink& sink)
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
    // One read transaction: a consistent snapshot, and no lock taken per statement.
    if (Status begun = exec(m_db, "BEGIN"); !begun)
        return begun;
    auto fail = [&](const QString& what) {
        const Status status = Status::failure(
            QStringLiteral("Could not read the store %1 (%2): %3").arg(displayPath(m_path), what, errorMessage(m_db)));
        execBestEffort(m_db, "ROLLBACK");
        return status;
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
    execBestEffort(m_db, "COMMIT");
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

Status SqliteStore::save(const ChangeSet& changes, std::int64_t nextObjectID)
{
    if (sqlite3_db_readonly(m_db, "main") == 1)
        return Status::failure(QStringLiteral("The store %1 is read-only.").arg(displayPath(m_path)));
    if (Status begun = exec(m_db, "BEGIN IMMEDIATE"); !begun)
        return Status::failure(QStringLiteral("Could not save the store %1: %2").arg(displayPath(m_path), begun.message()));
    Status written = writeChanges(changes, nextObjectID);
    if (written)
        written = exec(m_db, "COMMIT");
    if (!written) {
        if (!sqlite3_get_autocommit(m_db))
            execBestEffort(m_db, "ROLLBACK");
        return Status::failure(QStringLiteral("Could not save the store %1: %2").arg(displayPath(m_path), written.message()));
    }
    m_metadata.nextObjectID = nextObjectID;
    return Status::ok();
}

Status SqliteStore::writeChanges(const ChangeSet& changes, std::int64_t nextObjectID)
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
    auto writeRelationships = [&](const RawRecord& record, Statements::PerEntity& per) -> Status {
        const EntityDescription& entity = *record.entity;
        for (std::size_t r = 0; r < entity.relationships().size(); ++r) {
            const QByteArray table = quoted(joinTableName(entity, entity.relationships()[r]));
            Status ok = prepared(per.joinDeleteBySource[r], [&]() -> QByteArray { return "DELETE FROM " + table + " WHERE source = ?1"; });
            if (!ok)
                return ok;
            sqlite3_bind_int64(per.joinDeleteBySource[r].get(), 1, record.primaryKey);
            if (Status done = run(m_db, per.joinDeleteBySource[r], recordName(record)); !done)
                return done;
            if (r >= record.relationships.size())
                continue;
            ok = prepared(per.joinInsert[r], [&]() -> QByteArray {
                return "INSERT INTO " + table + " (source, destination, position) VALUES (?1, ?2, ?3)";
            });
            if (!ok)
                return ok;
            const std::vector<std::int64_t>& destinations = record.relationships[r];
            for (std::size_t i = 0; i < destinations.size(); ++i) {
                sqlite3_bind_int64(per.joinInsert[r].get(), 1, record.primaryKey);
                sqlite3_bind_int64(per.joinInsert[r].get(), 2, destinations[i]);
                sqlite3_bind_int64(per.joinInsert[r].get(), 3, static_cast<sqlite3_int64>(i));
                if (Status done = run(m_db, per.joinInsert[r], recordName(record)); !done)
                    return done;
            }
        }
        return Status::ok();
    };
    auto bindRow = [&](Statement& statement, const RawRecord& record, const Statements::PerEntity& per) {
        sqlite3_bind_int64(statement.get(), 1, record.primaryKey);
        for (std::size_t c = 0; c < per.columns.size(); ++c) {
            const int attribute = per.columns[c];
            if (bindValue(statement.get(), static_cast<int>(c) + 2, record.entity->attributes()[attribute].type,
                          record.attributes[static_cast<std::size_t>(attribute)])
                != SQLITE_OK)
                return false;
        }
        return true;
    };
    auto malformed = [](const RawRecord& record) {
        return Status::failure(QStringLiteral("malformed record %1").arg(recordName(record)));
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
        const RawRecord withoutLinks{record.entity, record.primaryKey, {}, {}};
        if (Status done = writeRelationships(withoutLinks, *per); !done)
            return done;
    }

    for (const RawRecord& record : changes.inserted) {
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
        if (!bindRow(per->insert, record, *per)) {
            per->insert.reset();
            return malformed(record);
        }
        if (Status done = run(m_db, per->insert, QStringLiteral("inserting %1").arg(recordName(record))); !done)
            return done;
        if (Status done = writeRelationships(record, *per); !done)
            return done;
    }

    for (const RawRecord& record : changes.updated) {
        Statements::PerEntity* per = perEntity(record);
        if (!per)
            return malformed(record);
        Status ok = prepared(per->update, [&]() -> QByteArray {
            QByteArray assignments;
            for (std::size_t c = 0; c < per->columns.size(); ++c) {
                if (c > 0)
                    assignments += ", ";
                assignments += quoted(record.entity->attributes()[per->columns[c]].name) + " = ?"
                               + QByteArray::number(static_cast<int>(c) + 2);
            }
            return "UPDATE " + quoted(record.entity->name()) + " SET " + assignments + " WHERE " + kPrimaryKeyColumn
                   + " = ?1";
        });
        if (!ok)
            return ok;
        if (!bindRow(per->update, record, *per)) {
            per->update.reset();
            return malformed(record);
        }
        if (Status done = run(m_db, per->update, QStringLiteral("updating %1").arg(recordName(record))); !done)
            return done;
        if (sqlite3_changes(m_db) != 1)
            return Status::failure(QStringLiteral("the record %1 to update is not in the store").arg(recordName(record)));
        if (Status done = writeRelationships(record, *per); !done)
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

    Statement& next = m_statements->updateNextObjectID;
    const Status ok = prepared(next, []() -> QByteArray {
        return "UPDATE " + quoted(QString::fromLatin1(kMetadataTable)) + " SET value = ?1 WHERE key = 'nextObjectID'";
    });
    if (!ok)
        return ok;
    sqlite3_bind_int64(next.get(), 1, nextObjectID);
    return run(m_db, next, QStringLiteral("nextObjectID"));
}

} // namespace qf
