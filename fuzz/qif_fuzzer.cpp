// Arbitrary bytes through the QIF import's reading steps: the ASCII check,
// the sample date, the date pattern for every order and the records under
// it. Nothing may crash, and every record offered has a date and an amount.

#include "exchange/DateOrderPattern.h"
#include "exchange/QFQIFParser.h"
#include "exchange/QIFImport.h"

#include <QByteArray>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace qf;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const Result<QString> ascii = QIFImport::asciiText(bytes);
    if (!ascii && (ascii.error().position < 0 || std::uint8_t(bytes[ascii.error().position]) < 0x80)) {
        std::fprintf(stderr, "ASCII error at a wrong offset\n");
        std::abort();
    }
    // Text that is not ASCII still reaches the parser, as other routes may hand it any text.
    static QFQIFParser parser;
    parser.setQifString(ascii ? *ascii : QString::fromUtf8(bytes));
    (void)parser.QIFType();
    const std::optional<QString> sample = parser.dateFormatString();
    const qsizetype pieces = parser.qifString().count(QLatin1Char('^')) + 1;
    for (const QString& order : DateOrderPattern::orderTitles()) {
        const std::optional<QString> pattern =
            DateOrderPattern::patternFromSample(sample.value_or(parser.qifString().left(16)), order);
        parser.setNewDateFormat(pattern.value_or(QStringLiteral("%m/%d/%y")));
        const std::vector<ValueDictionary> records = parser.listOfTransactions();
        if (qsizetype(records.size()) > pieces) {
            std::fprintf(stderr, "more records than pieces\n");
            std::abort();
        }
        for (const ValueDictionary& record : records) {
            if (!record.count(QStringLiteral("Date")) || !record.count(QStringLiteral("Amount"))) {
                std::fprintf(stderr, "record without a date or an amount\n");
                std::abort();
            }
        }
    }
    return 0;
}
