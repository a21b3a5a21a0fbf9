#include "store/StoreSnapshot.h"

#include "store/EntityDescription.h"
#include "store/SqliteStoreInternal.h"

#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QUuid>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace qf {

using namespace sqlite;

namespace {

struct Connection {
    sqlite3* db = nullptr;
    ~Connection() { sqlite3_close(db); }
};

bool syncFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    return synced;
}

void syncFolder(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

Status copyPages(const QString& storePath, const QString& target)
{
    Connection source;
    source.db = openConnection(storePath, SQLITE_OPEN_READONLY);
    if (!source.db || sqlite3_errcode(source.db) != SQLITE_OK)
        return Status::failure(QStringLiteral("The store %1 could not be read: %2")
                                   .arg(displayPath(storePath), errorMessage(source.db)));
    Connection copy;
    copy.db = openConnection(target, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    if (!copy.db || sqlite3_errcode(copy.db) != SQLITE_OK)
        return Status::failure(QStringLiteral("The copy %1 could not be made: %2")
                                   .arg(displayPath(target), errorMessage(copy.db)));
    sqlite3_backup* backup = sqlite3_backup_init(copy.db, "main", source.db, "main");
    if (!backup)
        return failure(copy.db, QStringLiteral("copying the store"));
    // All pages in one step: one read transaction, so one committed state.
    // A writer holding the file only makes the step wait and try again.
    int rc = SQLITE_OK;
    for (int waited = 0; waited <= kBusyTimeoutMs; waited += 50) {
        rc = sqlite3_backup_step(backup, -1);
        if (rc != SQLITE_BUSY && rc != SQLITE_LOCKED)
            break;
        QThread::msleep(50);
    }
    sqlite3_backup_finish(backup);
    if (rc != SQLITE_DONE)
        return Status::failure(QStringLiteral("The store %1 could not be copied: %2").arg(displayPath(storePath), plainMessage(rc)));
    // The copy stands alone: no write-ahead log beside it.
    if (Status single = exec(copy.db, "PRAGMA journal_mode=DELETE"); !single)
        return single;
    return Status::ok();
}

} // namespace

Status StoreSnapshot::write(const QString& storePath, const QString& destination)
{
    if (!QFileInfo(storePath).isFile())
        return Status::failure(QStringLiteral("There is no store at %1.").arg(displayPath(storePath)));
    const QString partial = destination + QStringLiteral(".partial-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    auto discard = [&partial] {
        QFile::remove(partial);
        QFile::remove(partial + QStringLiteral("-journal"));
    };
    if (Status copied = copyPages(storePath, partial); !copied) {
        discard();
        return copied;
    }
    if (!syncFile(partial) || std::rename(QFile::encodeName(partial).constData(), QFile::encodeName(destination).constData()) != 0) {
        discard();
        return Status::failure(QStringLiteral("The copy %1 could not be written.").arg(displayPath(destination)));
    }
    syncFolder(QFileInfo(destination).absolutePath());
    return Status::ok();
}

Result<std::map<QString, qint64>> StoreSnapshot::check(const QString& path)
{
    const QString notStore = QStringLiteral("The file %1 is not a Quillfen store.").arg(displayPath(path));
    if (!QFileInfo(path).isFile())
        return Result<std::map<QString, qint64>>::failure(QStringLiteral("There is no store at %1.").arg(displayPath(path)));
    Connection store;
    store.db = openConnection(path, SQLITE_OPEN_READONLY);
    if (!store.db || sqlite3_errcode(store.db) != SQLITE_OK)
        return Result<std::map<QString, qint64>>::failure(notStore);
    if (Status pages = quickCheck(store.db, path); !pages)
        return Result<std::map<QString, qint64>>::failure(pages.message());
    std::map<QString, qint64> counts;
    for (const EntityDescription* entity : ManagedObjectModel::shared().entities()) {
        Statement count;
        if (!count.prepare(store.db, "SELECT COUNT(*) FROM " + quoted(entity->name()))
            || sqlite3_step(count.get()) != SQLITE_ROW)
            return Result<std::map<QString, qint64>>::failure(notStore);
        counts[entity->name()] = sqlite3_column_int64(count.get(), 0);
    }
    return counts;
}

} // namespace qf
