#pragma once

#include "common/Result.h"

#include <QString>

namespace qf {

// The whole data folder as one ".quillfenbackup" package: the store, the
// attachments and every other file, and the way back.
class DatabasePackage {
public:
    static const QString kExtension; // "quillfenbackup"
    static const QString kStoreName; // "Quillfen.1ccdb"

    // The path with ".quillfenbackup" added when it lacks it.
    static QString withExtension(const QString& path);

    // Copies the data folder to a package at path (which must not exist):
    // every file byte for byte, the store as one committed state even while
    // another process writes to it. The package is made under a temporary
    // name beside path and renamed only once complete and checked.
    static Status exportFolder(const QString& dataFolder, const QString& path);

    // A package holds a store that opens and checks out; anything else is
    // refused with a message that says what is wrong.
    static Status check(const QString& package);

    // Puts a copy of the package in place of the data folder: the copy is
    // made and checked beside the folder first, then the folder goes to the
    // Trash and the copy takes its name. Nothing changes when the package is
    // refused or the copy fails. Gives where the old folder went (empty when
    // there was none).
    static Result<QString> importPackage(const QString& package, const QString& dataFolder);
};

} // namespace qf
