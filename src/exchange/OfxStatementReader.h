#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <memory>
#include <optional>
#include <vector>

namespace qf {

// Reads the transactions of a bank statement file (.ofx, .qfx) into import
// records, in both of its forms: the older one with a tag on each line and
// no end tags on values, and the XML form (told apart by "</TRNTYPE>").
// Both are read line by line as they are printed: the older form with every
// tag put at the start of its own line and its comments dropped
// (OfxTagLines), the XML form one element per line (OfxXmlTidy), repaired
// first when it is not well-formed.
//
// Only the first <BANKTRANLIST> is read; each piece of it up to a
// </STMTTRN>, or up to the next <STMTTRN> when one is left open, becomes
// one record, kept when it has at least one entry. The first record also
// carries the list's own tags (DTSTART, DTEND). A list without its end tag
// ends after its last </STMTTRN>, or with the text when a transaction is
// still open there.
//
// Record keys: "Date" (DTPOSTED), "Amount" (TRNAMT), "Payee" (NAME),
// "QIFUniqueID" (FITID); every other tag, end tags of aggregates such as
// "/PAYEE" included, under its own name as text. Values have their XML
// entities decoded. A later tag replaces an earlier one of the same key.
//
// Dates: the leading eight digits of DTPOSTED are the day in the default
// time zone at 00:00 (as a date read from a QIF file); the time and zone
// that may follow ("20240105120000.000[-5:EST]") are ignored, so the
// statement's own calendar day is kept wherever the user is. Amounts: an
// optional sign, digits, and "." or "," before the fraction; a mark that
// comes more than once, or before the other kind, groups three digits
// ("1.234,56"). A date or amount that does not read stores nothing.
//
// No statement in the file is no error: the list is empty. Errors: a file
// that cannot be read, text that is not UTF-8 (position: byte offset), and
// an XML form nested deeper than OfxXmlTidy::kMaxDepth (position: character
// offset).
//
// One reader per thread; it keeps a cache of the days it has read.
class OfxStatementReader {
public:
    using Records = std::vector<ValueDictionary>;

    OfxStatementReader();
    ~OfxStatementReader();
    OfxStatementReader(const OfxStatementReader&) = delete;
    OfxStatementReader& operator=(const OfxStatementReader&) = delete;

    Result<Records> readFile(const QString& path);
    Result<Records> readData(QByteArrayView bytes);
    Result<Records> readText(QStringView text);

    // The reading steps, each usable alone.
    static bool isXmlForm(QStringView text);
    // The text between the first <BANKTRANLIST> and the first
    // </BANKTRANLIST> after it, or the end as above; null when there is none.
    static QStringView bankTransactionList(QStringView text);
    // The pieces of a list, one per transaction as above.
    static std::vector<QStringView> transactionTexts(QStringView list);
    Records processTransArray(const std::vector<QStringView>& texts);
    ValueDictionary processTransString(QStringView text);

    // Lines at LF, CR, CR LF, NEL, U+2028 and U+2029, trimmed; empty ones dropped.
    static std::vector<QStringView> arrayWithLines(QStringView text);
    // Between the first "<" and the first ">"; empty when there is none.
    static QStringView typeFromLine(QStringView line);
    // After the tag's ">", up to the last "<" when that stands behind it.
    static QStringView valueFromLine(QStringView line);
    // The five XML entities and character references; anything else stays.
    static QString decodeEntities(QStringView text);

    std::optional<AbsoluteTime> parseDate(QStringView text);
    static std::optional<double> parseAmount(QStringView text);

private:
    Result<Records> readXml(QByteArrayView utf8);
    Records readLines(QStringView text);
    void addLines(ValueDictionary& record, QStringView text);

    struct ListReader;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace qf
