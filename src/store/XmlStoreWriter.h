#pragma once

#include "common/Result.h"
#include "store/RawRecord.h"

#include <QByteArray>
#include <QString>
#include <vector>

class QIODevice;

namespace qf {

// Writes the XML store form (docs/xml-store.md) that XmlStoreReader reads.
// Null attributes are left out; attribute and relationship names are written
// in lower case; a record's primary key N becomes the id "zN".
class XmlStoreWriter {
public:
    static Status write(QIODevice& device, const StoreMetadata& metadata, const std::vector<RawRecord>& records);
    // Atomic: the file is replaced only once the whole document is on disk.
    static Status writeFile(const QString& path, const StoreMetadata& metadata, const std::vector<RawRecord>& records);
};

} // namespace qf
