// Feeds arbitrary bytes to the XML store reader; any outcome but a crash,
// a hang or a sanitizer report is fine. Inputs that once failed belong in
// tests/data/fuzz/.
#include "store/XmlStoreReader.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    qf::Result<qf::XmlStoreReader::Document> document = qf::XmlStoreReader::read(bytes);
    if (document) {
        // Every resolved link must point at a record that was read.
        for (const qf::RawRecord& record : document->records) {
            if (record.entity == nullptr || record.primaryKey <= 0)
                __builtin_trap();
        }
    }
    return 0;
}
