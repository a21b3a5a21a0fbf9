#pragma once

#include "app/UnsavedChanges.h"
#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace qf {

// The file in which a quit that could not save keeps the unsaved changes,
// until the next start applies them or sets them aside. It is JSON:
//
//   {"quillfenRecovery": 1, "changes": [
//     {"change": "insert", "entity": "TransEntity", "uniqueID": "…",
//      "values": {"trans_title": "Rent", …}, "relationships": {}},
//     {"change": "update", …}, {"change": "delete", "entity": …, "uniqueID": …}]}
//
// Values follow their attribute's type: texts, numbers (dates in seconds
// since 2001), booleans, base64 text for binary data, null for a removed value.
class RecoveryFile {
public:
    static constexpr int kVersion = 1;

    // "Quillfen.1ccdb.recovery" in the data folder, beside the store.
    static QString pathInFolder(const QString& dataFolder);

    static QByteArray serialize(const UnsavedChanges& changes);
    // Refuses anything but a complete file of this version: an unknown
    // entity, key or relationship, or a value of the wrong type, fails with
    // the change's number; bad JSON with its offset.
    static Result<UnsavedChanges> parse(const QByteArray& bytes);

    // Writes atomically. A recovery file already at path that reads is kept
    // in the new one, its changes first; one that does not read is left as
    // it is and the changes go to a new file beside it. Gives the path written.
    static Result<QString> write(const QString& path, const UnsavedChanges& changes);
    // A file that cannot be read or parsed is refused and left untouched.
    static Result<UnsavedChanges> read(const QString& path);
    // Renames the file beside itself with the moment in its name, never
    // deleting it. Gives the new path.
    static Result<QString> setAside(const QString& path);
};

} // namespace qf
