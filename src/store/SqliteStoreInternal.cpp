#include "store/SqliteStoreInternal.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStringList>
#include <QUuid>

#include <cerrno>
#include <unistd.h>

Q_LOGGING_CATEGORY(lcSqliteStore, "quillfen.store.sqlite", QtCriticalMsg)

namespace qf::sqlite {

QString displayPath(const QString& path) { return QDir::toNativeSeparators(path); }

QString plainMessage(int code)
{
    switch (code & 0xff) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return QStringLiteral("another program kept the ledger busy for too long; try again");
    case SQLITE_FULL:
        return QStringLiteral("the disk is full");
    case SQLITE_READONLY:
        return QStringLiteral("the ledger file or its folder is read-only");
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return QStringLiteral("permission to the ledger file was denied");
    case SQLITE_IOERR:
        return QStringLiteral("the disk could not read or write the ledger file");
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return QStringLiteral("the file is damaged or not a database");
    case SQLITE_CANTOPEN:
        return QStringLiteral("the ledger file could not be opened");
    case SQLITE_NOMEM:
        return QStringLiteral("there is not enough memory");
    case SQLITE_CONSTRAINT:
        return QStringLiteral("a record clashes with one already stored");
    case SQLITE_TOOBIG:
        return QStringLiteral("a value is too large to store");
    default:
        return QStringLiteral("the ledger file could not be used (database error %1)").arg(code);
    }
}

// SQLite's own wording names tables and statements; users get plain words,
// and the original goes to a log category that is off unless asked for.
QString errorMessage(sqlite3* db)
{
    if (!db)
        return plainMessage(SQLITE_NOMEM);
    qCWarning(lcSqliteStore, "%s", sqlite3_errmsg(db));
    return plainMessage(sqlite3_extended_errcode(db));
}

Status failure(sqlite3* db, const QString& what)
{
    return Status::failure(QStringLiteral("%1: %2").arg(what, errorMessage(db)));
}

QByteArray quoted(const QString& identifier) { return '"' + identifier.toUtf8() + '"'; }

QString joinTableName(const EntityDescription& entity, const RelationshipDescription& relationship)
{
    return entity.name() + QLatin1Char('_') + relationship.name;
}

static const char* columnType(AttributeType type)
{
    switch (type) {
    case AttributeType::String:
        return "TEXT";
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
    case AttributeType::Bool:
        return "INTEGER";
    case AttributeType::Float:
    case AttributeType::Double:
    case AttributeType::Date:
        return "REAL";
    case AttributeType::Binary:
        return "BLOB";
    }
    return "";
}

Status Statement::prepare(sqlite3* db, const QByteArray& sql)
{
    sqlite3_finalize(m_stmt);
    m_stmt = nullptr;
    if (sqlite3_prepare_v3(db, sql.constData(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &m_stmt,
                           nullptr) != SQLITE_OK)
        return failure(db, QStringLiteral("Could not prepare a store statement"));
    return Status::ok();
}

Status run(sqlite3* db, Statement& statement, const QString& what)
{
    const int rc = sqlite3_step(statement.get());
    const Status status = rc == SQLITE_DONE ? Status::ok() : failure(db, what);
    statement.reset();
    return status;
}

Status exec(sqlite3* db, const char* sql)
{
    if (sqlite3_exec(db, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        return failure(db, QStringLiteral("Store command failed"));
    return Status::ok();
}

void execBestEffort(sqlite3* db, const char* sql) { sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }

std::vector<int> storedColumns(const EntityDescription& entity, SqliteStore::Layout layout)
{
    std::vector<int> columns;
    for (int i = 0; i < entity.attributeCount(); ++i) {
        if (layout == SqliteStore::Layout::WithoutTransDirection && entity.name() == QLatin1String("TransEntity")
            && entity.attributes()[i].name == QLatin1String("trans_direction"))
            continue;
        columns.push_back(i);
    }
    return columns;
}

int entityIndex(const EntityDescription* entity)
{
    const auto& entities = ManagedObjectModel::shared().entities();
    for (std::size_t i = 0; i < entities.size(); ++i) {
        if (entities[i] == entity)
            return static_cast<int>(i);
    }
    return -1;
}

QByteArray changeLogSchemaSql()
{
    const QByteArray log = quoted(QString::fromLatin1(SqliteStore::kChangeLogTable));
    return "CREATE TABLE IF NOT EXISTS " + log
           + " (generation INTEGER NOT NULL, entity TEXT NOT NULL, pk INTEGER NOT NULL);\n"
             "CREATE INDEX IF NOT EXISTS "
           + quoted(QString::fromLatin1(SqliteStore::kChangeLogTable) + QStringLiteral("_generation")) + " ON " + log
           + " (generation);\n"
             "INSERT OR IGNORE INTO "
           + quoted(QString::fromLatin1(SqliteStore::kMetadataTable))
           + " (key, value) VALUES ('generation', 0), ('fullSyncGeneration', 0);\n";
}

static QByteArray createSchemaSql(SqliteStore::Layout layout)
{
    QByteArray sql = "CREATE TABLE " + quoted(QString::fromLatin1(SqliteStore::kMetadataTable))
                     + " (\"key\" TEXT PRIMARY KEY NOT NULL, \"value\");\n";
    for (const EntityDescription* entity : ManagedObjectModel::shared().entities()) {
        sql += "CREATE TABLE " + quoted(entity->name()) + " (" + kPrimaryKeyColumn + " INTEGER PRIMARY KEY";
        for (int column : storedColumns(*entity, layout)) {
            const AttributeDescription& attribute = entity->attributes()[column];
            sql += ", " + quoted(attribute.name) + ' ' + columnType(attribute.type);
        }
        sql += ");\n";
        for (const RelationshipDescription& relationship : entity->relationships()) {
            const QByteArray table = quoted(joinTableName(*entity, relationship));
            sql += "CREATE TABLE " + table
                   + " (source INTEGER NOT NULL, destination INTEGER NOT NULL, position INTEGER NOT NULL,"
                     " PRIMARY KEY (source, position));\n";
            sql += "CREATE INDEX " + quoted(joinTableName(*entity, relationship) + QStringLiteral("_destination"))
                   + " ON " + table + " (destination);\n";
        }
    }
    return sql;
}

static bool tableColumns(sqlite3* db, const QString& table, QStringList* columns)
{
    Statement info;
    if (!info.prepare(db, "PRAGMA table_info(" + quoted(table) + ')'))
        return false;
    while (sqlite3_step(info.get()) == SQLITE_ROW)
        columns->append(QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(info.get(), 1))));
    return !columns->isEmpty();
}

Result<StoreMetadata> inspect(sqlite3* db, const QString& path, SqliteStore::Layout layout)
{
    const QString notAStore = QStringLiteral("The file %1 is not a Quillfen store").arg(displayPath(path));
    Statement master;
    if (!master.prepare(db, "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = ?1")
        || sqlite3_bind_text(master.get(), 1, SqliteStore::kMetadataTable, -1, SQLITE_STATIC) != SQLITE_OK
        || sqlite3_step(master.get()) != SQLITE_ROW)
        return Result<StoreMetadata>::failure(QStringLiteral("%1 (%2).").arg(notAStore, errorMessage(db)));
    if (sqlite3_column_int(master.get(), 0) == 0)
        return Result<StoreMetadata>::failure(
            QStringLiteral("%1: it is a database of another program.").arg(notAStore));

    Statement select;
    if (!select.prepare(db, "SELECT key, value FROM " + quoted(QString::fromLatin1(SqliteStore::kMetadataTable))))
        return Result<StoreMetadata>::failure(QStringLiteral("%1 (%2).").arg(notAStore, errorMessage(db)));
    StoreMetadata metadata;
    bool hasVersion = false, hasNext = false;
    int rc;
    while ((rc = sqlite3_step(select.get())) == SQLITE_ROW) {
        const QByteArray key(reinterpret_cast<const char*>(sqlite3_column_text(select.get(), 0)));
        sqlite3_value* value = sqlite3_column_value(select.get(), 1);
        if (key == "UUID") {
            metadata.uuid = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(value)));
        } else if (key == "version" && sqlite3_value_type(value) == SQLITE_INTEGER) {
            metadata.version = sqlite3_value_int(value);
            hasVersion = true;
        } else if (key == "nextObjectID" && sqlite3_value_type(value) == SQLITE_INTEGER) {
            metadata.nextObjectID = sqlite3_value_int64(value);
            hasNext = true;
        }
    }
    if (rc != SQLITE_DONE)
        return Result<StoreMetadata>::failure(QStringLiteral("%1 (%2).").arg(notAStore, errorMessage(db)));
    if (metadata.uuid.isEmpty() || !hasVersion || !hasNext || metadata.version < 1 || metadata.nextObjectID < 1)
        return Result<StoreMetadata>::failure(QStringLiteral("%1: its metadata are incomplete.").arg(notAStore));
    if (metadata.version > SqliteStore::kVersion)
        return Result<StoreMetadata>::failure(
            QStringLiteral("The store %1 was written by a newer version of Quillfen (store version %2).")
                .arg(displayPath(path))
                .arg(metadata.version));

    for (const EntityDescription* entity : ManagedObjectModel::shared().entities()) {
        QStringList columns;
        if (!tableColumns(db, entity->name(), &columns))
            return Result<StoreMetadata>::failure(
                QStringLiteral("%1: the table %2 is missing.").arg(notAStore, entity->name()));
        for (int column : storedColumns(*entity, layout)) {
            const QString& name = entity->attributes()[column].name;
            if (!columns.contains(name)) {
                const bool older = name == QLatin1String("trans_direction");
                return Result<StoreMetadata>::failure(
                    older ? QStringLiteral("The store %1 has the older layout without trans_direction.")
                                .arg(displayPath(path))
                          : QStringLiteral("%1: the column %2 is missing.").arg(notAStore, name));
            }
        }
        for (const RelationshipDescription& relationship : entity->relationships()) {
            QStringList joinColumns;
            if (!tableColumns(db, joinTableName(*entity, relationship), &joinColumns)
                || !joinColumns.contains(QLatin1String("source")) || !joinColumns.contains(QLatin1String("destination"))
                || !joinColumns.contains(QLatin1String("position")))
                return Result<StoreMetadata>::failure(
                    QStringLiteral("%1: the table %2 is missing.").arg(notAStore, joinTableName(*entity, relationship)));
        }
    }
    return metadata;
}

static std::uint32_t bigEndian32(const char* bytes)
{
    const auto* b = reinterpret_cast<const unsigned char*>(bytes);
    return (std::uint32_t(b[0]) << 24) | (std::uint32_t(b[1]) << 16) | (std::uint32_t(b[2]) << 8) | b[3];
}

Result<bool> checkHeader(const QString& path, qint64 fileSize)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<bool>::failure(
            QStringLiteral("Could not open the store %1: %2").arg(displayPath(path), file.errorString()));
    const QByteArray header = file.read(100);
    if (header.size() < 100 || !header.startsWith(QByteArrayView("SQLite format 3\0", 16)))
        return Result<bool>::failure(
            QStringLiteral("The file %1 is not a Quillfen store (not a database file).").arg(displayPath(path)));
    const unsigned rawPageSize = (unsigned(static_cast<unsigned char>(header[16])) << 8) | static_cast<unsigned char>(header[17]);
    const qint64 pageSize = rawPageSize == 1 ? 65536 : rawPageSize;
    const qint64 pageCount = bigEndian32(header.constData() + 28);
    const bool pageCountValid = bigEndian32(header.constData() + 92) == bigEndian32(header.constData() + 24);
    return pageCountValid && pageCount > 0 && fileSize < pageCount * pageSize;
}

Status quickCheck(sqlite3* db, const QString& path)
{
    Statement check;
    const QString damaged = QStringLiteral("The store %1 is damaged: %2");
    if (!check.prepare(db, "PRAGMA quick_check(1)"))
        return Status::failure(damaged.arg(displayPath(path), errorMessage(db)));
    const int rc = sqlite3_step(check.get());
    if (rc != SQLITE_ROW)
        return Status::failure(damaged.arg(displayPath(path), errorMessage(db)));
    const QByteArray verdict(reinterpret_cast<const char*>(sqlite3_column_text(check.get(), 0)));
    if (verdict != "ok") {
        qCWarning(lcSqliteStore, "quick_check: %s", verdict.constData());
        return Status::failure(damaged.arg(displayPath(path), QStringLiteral("its pages do not check out")));
    }
    return Status::ok();
}

sqlite3* openConnection(const QString& path, int flags)
{
    sqlite3* db = nullptr;
    // One thread uses a connection, so SQLite's own mutex would only cost:
    // it is taken on every column read of a million-row load.
    flags |= SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &db, flags, nullptr) != SQLITE_OK)
        return db; // caller reads the message, then closes
    sqlite3_extended_result_codes(db, 1);
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    return db;
}

static void removeStoreFiles(const QString& path)
{
    QFile::remove(path);
    QFile::remove(path + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
}

Result<bool> createStore(const QString& path, SqliteStore::Layout layout, const StoreMetadata& metadata)
{
    // Made under a name of its own and linked into place, so that two
    // processes starting on an empty folder never fill one file twice.
    const QString partial = path + QStringLiteral(".creating-")
                            + QUuid::createUuid().toString(QUuid::WithoutBraces);
    sqlite3* db = openConnection(partial, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    auto fail = [&](const QString& message) {
        sqlite3_close(db);
        removeStoreFiles(partial);
        return Result<bool>::failure(message);
    };
    auto failed = [&]() {
        return fail(QStringLiteral("Could not create the store %1: %2").arg(displayPath(path), errorMessage(db)));
    };
    if (!db || sqlite3_errcode(db) != SQLITE_OK)
        return failed();
    execBestEffort(db, "PRAGMA journal_mode=WAL"); // a file system without WAL support keeps the rollback journal
    const QByteArray insertMeta = "INSERT INTO " + quoted(QString::fromLatin1(SqliteStore::kMetadataTable))
                                  + " (key, value) VALUES ('UUID', ?1), ('version', ?2), ('nextObjectID', ?3)";
    Statement meta;
    if (!exec(db, "BEGIN") || !exec(db, createSchemaSql(layout).constData()) || !meta.prepare(db, insertMeta))
        return failed();
    const QByteArray uuid = metadata.uuid.toUtf8();
    sqlite3_bind_text(meta.get(), 1, uuid.constData(), static_cast<int>(uuid.size()), SQLITE_STATIC);
    sqlite3_bind_int(meta.get(), 2, metadata.version);
    sqlite3_bind_int64(meta.get(), 3, metadata.nextObjectID);
    if (!run(db, meta, QString()) || !exec(db, changeLogSchemaSql().constData()) || !exec(db, "COMMIT"))
        return failed();
    meta = Statement();
    // Closing the last connection folds the -wal into the file.
    if (sqlite3_close(db) != SQLITE_OK)
        return failed();
    db = nullptr;
    const QByteArray from = QFile::encodeName(partial), to = QFile::encodeName(path);
    if (::link(from.constData(), to.constData()) != 0) {
        const int error = errno;
        if (error == EEXIST) {
            removeStoreFiles(partial);
            return false;
        }
        // File systems without hard links: the small window of a race is theirs.
        if (QFileInfo::exists(path)) {
            removeStoreFiles(partial);
            return false;
        }
        if (!QFile::rename(partial, path))
            return fail(QStringLiteral("Could not create the store %1: %2")
                            .arg(displayPath(path), QString::fromLocal8Bit(strerror(error))));
        return true;
    }
    removeStoreFiles(partial);
    return true;
}

} // namespace qf::sqlite
