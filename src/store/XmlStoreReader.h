#pragma once

#include "common/Result.h"
#include "store/RawRecord.h"

#include <QByteArray>
#include <QString>
#include <vector>

class QIODevice;

namespace qf {

// Reads the XML store form (docs/xml-store.md): older ledgers and the example
// store.
//
// Tolerant where old files differ (order of elements, unknown elements and
// attributes, the case of attribute names, ids not of the form "zN"), strict
// where a value would be wrong (malformed XML, a wrong root, a bad number,
// bad base64, duplicate ids): those give an Error whose message names the
// line and whose position is the character offset. The whole document is
// read before anything is returned, so a bad file yields no records at all.
class XmlStoreReader {
public:
    struct Document {
        StoreMetadata metadata;
        std::vector<RawRecord> records; // in the file's order
    };

    static constexpr int kMaxDepth = 64;

    static Result<Document> read(QIODevice& device);
    static Result<Document> read(const QByteArray& bytes);
    // As read(), with the file's path in error messages.
    static Result<Document> readFile(const QString& path);
};

} // namespace qf
