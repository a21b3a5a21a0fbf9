// Feeds arbitrary bytes to the bank statement reader, to its repair step and
// to the tidy step alone; any outcome but a crash, a hang or a sanitizer
// report is fine, except that reading either form line by line as it is
// printed must give what the printed text gives when read whole.
// Seeds: tests/data/fuzz/ofx_fuzzer (the reader's test files).
#include "exchange/OfxStatementReader.h"
#include "exchange/OfxTagLines.h"
#include "exchange/OfxXmlRepair.h"
#include "exchange/OfxXmlTidy.h"

#include <QByteArray>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    qf::OfxStatementReader reader;
    auto records = reader.readData(bytes);
    if (!records) {
        // Every failure names a place inside the input.
        if (records.error().position < -1 || records.error().position > int(size) * 2 + 1)
            __builtin_trap();
    } else {
        for (const qf::ValueDictionary& record : *records) {
            if (record.empty())
                __builtin_trap();
        }
    }
    const QString text = QString::fromUtf8(bytes);
    const bool xml = qf::OfxStatementReader::isXmlForm(text);
    const qf::Result<QString> printed =
        xml ? qf::OfxXmlTidy::prettyPrint(text) : qf::Result<QString>(qf::OfxTagLines::print(text));
    auto streamed = reader.readText(text);
    if (streamed.isOk() != printed.isOk())
        __builtin_trap();
    if (printed) {
        const QStringView list = qf::OfxStatementReader::bankTransactionList(*printed);
        const auto whole = list.isNull() ? qf::OfxStatementReader::Records()
                                         : reader.processTransArray(qf::OfxStatementReader::transactionTexts(list));
        if (whole != *streamed)
            __builtin_trap();
    }
    if (!xml)
        (void)qf::OfxXmlTidy::prettyPrint(text);
    (void)qf::OfxXmlRepair::repair(bytes);
    return 0;
}
