#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace qf {

// Where attachment files live and how they get there. A transaction's files
// sit in <support folder>/Attachments/<trans_uniqueID>/ under their own
// names; folders are made on first use. An identifier or file name that is
// not one safe name (SafePathComponent) makes no path: the call fails.
class AttachmentFiles {
public:
    static QString attachmentsFolder(const QString& supportFolder);
    static Result<QString> transactionFolder(const QString& supportFolder, const QString& transID);
    // Makes the folder (and its parents) when missing.
    static Status ensureFolder(const QString& folder);

    // Copies a file, or a folder with its contents, into folder under its own
    // name and gives the copy's path. An existing entry of that name is kept
    // as it is and its path given: a second copy of a receipt is not a new one.
    static Result<QString> copyPathIntoFolder(const QString& source, const QString& folder);

    // Replaces path with bytes atomically, making its folder when missing.
    static Status writeAtomically(const QString& path, const QByteArray& bytes);
};

} // namespace qf
