#pragma once

#include "common/Result.h"

#include <QString>

namespace qf {

// Text from a record, a file or a peer that is to become one file or folder
// name: a transaction's identifier, an attachment's file name, a title. Such
// text is no path until it has passed here.
class SafePathComponent {
public:
    // The longest name, in UTF-8 bytes, that Linux file systems take.
    static constexpr qsizetype kMaxBytes = 255;

    // Fails, saying why, for text that is not exactly one name: empty, "." or
    // "..", holding "/", NUL or another control character, or longer than
    // kMaxBytes in UTF-8.
    static Status check(const QString& text);
    static bool isSafe(const QString& text) { return check(text).isOk(); }

    // folder + "/" + name, once name passed check() and the joined path is
    // confirmed to lie inside folder after links are followed: an existing
    // entry that is a link leading elsewhere (or nowhere) is refused.
    static Result<QString> join(const QString& folder, const QString& name);
};

} // namespace qf
