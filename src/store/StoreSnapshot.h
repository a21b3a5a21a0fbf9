#pragma once

#include "common/Result.h"

#include <QString>
#include <map>

namespace qf {

// A store file as one committed state, for copies that leave this machine or
// this folder (database packages, online backups), and the check of such a
// copy before anything relies on it.
class StoreSnapshot {
public:
    // Copies the store at storePath to destination through SQLite's backup,
    // so other processes may go on writing: the copy holds one committed
    // state and needs no -wal file. It is written under a temporary name
    // beside the destination, synced and renamed into place; on failure no
    // file is left under either name.
    static Status write(const QString& storePath, const QString& destination);

    // Opens a store file read only and checks its pages; the number of
    // records of each entity by entity name. A file that is not a store of
    // ours, or is damaged, is an error that names it.
    static Result<std::map<QString, qint64>> check(const QString& path);
};

} // namespace qf
