#pragma once

#include "common/Result.h"

#include <QString>
#include <vector>

namespace qf {

class ManagedObject;
class RecordEnvironment;

// Transactions as comma-separated text: the header "Title,Date,Amount" and
// one line per transaction with its title, its short date and its currency
// amount, formatted as the transaction list shows them.
//
// The title and the amount are wrapped in double quotes only when they hold a
// comma, and quotes inside a field are neither doubled nor escaped. Files
// written this way have been read by other programs for years; changing the
// quoting would change what they read.
class CSVExportController {
public:
    // One line, LF-terminated. A missing date or amount is an empty field.
    static QString CSVLineWithObject(const ManagedObject& transaction, const RecordEnvironment& formats);
    // The whole file's text: the header, then the lines in the given order.
    static QString CSVStringWithTransObjects(const std::vector<ManagedObject*>& transactions,
                                             const RecordEnvironment& formats);
    // Writes the text as UTF-16 (little-endian) with a byte-order mark, replacing the file at
    // path atomically: on failure nothing at path has changed.
    static Status exportCSVWithPath(const QString& path, const std::vector<ManagedObject*>& transactions,
                                    const RecordEnvironment& formats);
};

} // namespace qf
