#pragma once

#include "common/Result.h"

#include <QByteArray>
#include <QString>

namespace qf {

// The plain text of a rich-text document: control words and the tables,
// pictures and other destinations that are not body text are dropped;
// paragraph and line breaks become "\n", tabs "\t"; \'hh escapes are read as
// Windows-1252 and \uN as a UTF-16 unit, its \ucN fallback characters
// skipped. A document cut short still gives the text read so far.
class RtfTextReader {
public:
    static constexpr int kMaxDepth = 256;

    // Fails, with the byte offset, on input that does not start with
    // "{\rtf", on a "}" without its "{", or on groups nested deeper than kMaxDepth.
    static Result<QString> plainText(const QByteArray& rtf);
};

} // namespace qf
