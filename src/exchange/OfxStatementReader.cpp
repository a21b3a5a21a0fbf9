#include "exchange/OfxStatementReader.h"

#include "common/DateFormatter.h"
#include "exchange/OfxTagLines.h"
#include "exchange/OfxXmlTidy.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <unordered_map>

namespace qf {

namespace {

const QString kDate = QStringLiteral("Date");
const QString kAmount = QStringLiteral("Amount");
const QString kPayee = QStringLiteral("Payee");
const QString kUniqueID = QStringLiteral("QIFUniqueID");

// The byte offset of the first byte that starts no valid UTF-8 sequence.
qsizetype firstInvalidUtf8(QByteArrayView bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const qsizetype n = bytes.size();
    qsizetype i = 0;
    while (i < n) {
        // Statements are mostly ASCII: skip it eight bytes at a time.
        while (i + 8 <= n) {
            std::uint64_t word;
            std::memcpy(&word, p + i, 8);
            if (word & 0x8080808080808080ull)
                break;
            i += 8;
        }
        if (i >= n)
            break;
        const unsigned char c = p[i];
        int length = 0;
        char32_t min = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            length = 2, min = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            length = 3, min = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            length = 4, min = 0x10000;
        } else {
            return i;
        }
        if (i + length > n)
            return i;
        char32_t code = c & (0x7F >> length);
        for (int k = 1; k < length; ++k) {
            if ((p[i + k] & 0xC0) != 0x80)
                return i;
            code = (code << 6) | (p[i + k] & 0x3F);
        }
        if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return i;
        i += length;
    }
    return -1;
}

std::optional<char32_t> characterReference(QStringView digits)
{
    int base = 10;
    if (digits.startsWith(u'x') || digits.startsWith(u'X')) {
        base = 16;
        digits = digits.sliced(1);
    }
    if (digits.isEmpty() || digits.size() > 8)
        return std::nullopt;
    bool ok = false;
    const uint code = digits.toUInt(&ok, base);
    if (!ok || code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return std::nullopt;
    return char32_t(code);
}

// Finds the transactions of a list given whole or line by line: one ends at
// its </STMTTRN>, or where the next <STMTTRN> opens while it is still open
// (banks that leave it out); the list ends at its </BANKTRANLIST>. The
// markers hold no line break, so each lies within one line.
class TransactionSplitter {
public:
    // Hands each stretch of transaction text to `text`, and calls `cut`
    // where one transaction ends and the next begins. Returns the position
    // of the list's end tag, or -1 when `list` does not hold it.
    template <class Text, class Cut>
    qsizetype walk(QStringView list, Text text, Cut cut)
    {
        static constexpr QStringView open = u"<STMTTRN>";
        static constexpr QStringView close = u"</STMTTRN>";
        static constexpr QStringView listEnd = u"</BANKTRANLIST>";
        const char16_t* chars = list.utf16();
        qsizetype pos = 0;
        for (qsizetype at = 0; at + open.size() <= list.size(); ++at) {
            if (chars[at] != u'<')
                continue;
            if (OfxTagLines::startsWithAt(list, at, close)) {
                text(list.sliced(pos, at - pos));
                cut();
                m_open = false;
                pos = at + close.size();
                at = pos - 1;
            } else if (OfxTagLines::startsWithAt(list, at, open)) {
                if (m_open) {
                    text(list.sliced(pos, at - pos));
                    cut();
                    pos = at;
                }
                m_open = true;
                at += open.size() - 1;
            } else if (OfxTagLines::startsWithAt(list, at, listEnd)) {
                text(list.sliced(pos, at - pos));
                return at;
            }
        }
        text(list.sliced(pos));
        return -1;
    }

    // A transaction has opened and not ended yet.
    bool isOpen() const { return m_open; }

private:
    bool m_open = false;
};

// Calls `use` with each line of arrayWithLines, without collecting them.
template <class Use>
void forEachLine(QStringView text, Use use)
{
    const qsizetype n = text.size();
    qsizetype start = 0;
    while (start < n) {
        qsizetype end = start;
        while (end < n && !OfxTagLines::isLineBreak(text[end].unicode()))
            ++end;
        const QStringView line = text.sliced(start, end - start).trimmed();
        if (!line.isEmpty())
            use(line);
        start = end + 1;
    }
}

} // namespace

struct OfxStatementReader::Private {
    std::optional<DateFormatter> dayFormatter;
    // Statements repeat their days; reading each once keeps ICU off the hot path.
    std::unordered_map<int, std::optional<AbsoluteTime>> days;
    // Records share their key texts rather than holding one copy per entry.
    // Statements use a few dozen tags; past that a file is not one, and its
    // tags are not looked up among ever more known ones.
    static constexpr std::size_t kMaxKeys = 128;
    std::vector<QString> keys;

    QString key(QStringView tag)
    {
        for (const QString& known : keys) {
            if (known == tag)
                return known;
        }
        QString fresh = tag.toString();
        if (keys.size() < kMaxKeys)
            keys.push_back(fresh);
        return fresh;
    }
};

OfxStatementReader::OfxStatementReader() : d(std::make_unique<Private>())
{
    d->keys.reserve(Private::kMaxKeys);
}

OfxStatementReader::~OfxStatementReader() = default;

Result<OfxStatementReader::Records> OfxStatementReader::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<Records>::failure(
            QStringLiteral("Could not read “%1”: %2").arg(QFileInfo(path).fileName(), file.errorString()));
    return readData(file.readAll());
}

Result<OfxStatementReader::Records> OfxStatementReader::readData(QByteArrayView bytes)
{
    const qsizetype bom = bytes.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    bytes = bytes.sliced(bom);
    if (const qsizetype bad = firstInvalidUtf8(bytes); bad >= 0)
        return Result<Records>::failure(QStringLiteral("The statement is not UTF-8 text"), int(bom + bad));
    // The XML form goes to the parser as it is, without a copy as text first.
    if (bytes.contains("</TRNTYPE>"))
        return readXml(bytes);
    return readText(QString::fromUtf8(bytes));
}

Result<OfxStatementReader::Records> OfxStatementReader::readText(QStringView text)
{
    if (isXmlForm(text))
        return readXml(text.toUtf8());
    return readLines(text);
}

// Applies bankTransactionList and transactionTexts to the printed lines as
// they come.
struct OfxStatementReader::ListReader : OfxLineSink {
    explicit ListReader(OfxStatementReader& reader) : reader(reader) {}

    void line(QStringView line) override
    {
        static constexpr QStringView start = u"<BANKTRANLIST>";
        if (state == State::Done)
            return;
        if (state == State::Before) {
            const qsizetype from = line.indexOf(start);
            if (from < 0)
                return;
            line = line.sliced(from + start.size());
            state = State::Inside;
        }
        const qsizetype end = splitter.walk(
            line, [this](QStringView text) { reader.addLines(current, text); }, [this] { finishRecord(); });
        if (end >= 0)
            state = State::Done;
    }

    void restart() override
    {
        state = State::Before;
        splitter = TransactionSplitter();
        current.clear();
        records.clear();
    }

    Records take()
    {
        // Without its end tag the list ends after its last transaction, or
        // with the text when that one is still open (a download cut short).
        if (state == State::Done || (state == State::Inside && splitter.isOpen()))
            finishRecord();
        return std::move(records);
    }

    void finishRecord()
    {
        if (!current.empty())
            records.push_back(std::move(current));
        current.clear();
    }

    enum class State { Before, Inside, Done };
    OfxStatementReader& reader;
    State state = State::Before;
    TransactionSplitter splitter;
    ValueDictionary current;
    Records records;
};

Result<OfxStatementReader::Records> OfxStatementReader::readXml(QByteArrayView utf8)
{
    ListReader list(*this);
    if (Status printed = OfxXmlTidy::printLines(utf8, list); !printed)
        return printed.error();
    return list.take();
}

OfxStatementReader::Records OfxStatementReader::readLines(QStringView text)
{
    ListReader list(*this);
    OfxTagLines::printLines(text, list);
    return list.take();
}

bool OfxStatementReader::isXmlForm(QStringView text)
{
    return text.contains(u"</TRNTYPE>");
}

QStringView OfxStatementReader::bankTransactionList(QStringView text)
{
    static constexpr QStringView start = u"<BANKTRANLIST>";
    const qsizetype from = text.indexOf(start);
    if (from < 0)
        return {};
    const QStringView rest = text.sliced(from + start.size());
    const qsizetype to = rest.indexOf(u"</BANKTRANLIST>");
    if (to >= 0)
        return rest.first(to);
    // What follows the last transaction is the statement's balances, not a
    // transaction; one still open there is a download cut short.
    static constexpr QStringView close = u"</STMTTRN>";
    const qsizetype lastClose = rest.lastIndexOf(close);
    const qsizetype afterLast = lastClose < 0 ? 0 : lastClose + close.size();
    return rest.indexOf(u"<STMTTRN>", afterLast) >= 0 ? rest : rest.first(afterLast);
}

std::vector<QStringView> OfxStatementReader::transactionTexts(QStringView list)
{
    std::vector<QStringView> pieces;
    TransactionSplitter().walk(list, [&pieces](QStringView text) { pieces.push_back(text); }, [] {});
    return pieces;
}

OfxStatementReader::Records OfxStatementReader::processTransArray(const std::vector<QStringView>& texts)
{
    Records records;
    records.reserve(texts.size());
    for (QStringView text : texts) {
        ValueDictionary record = processTransString(text);
        if (!record.empty())
            records.push_back(std::move(record));
    }
    return records;
}

ValueDictionary OfxStatementReader::processTransString(QStringView text)
{
    ValueDictionary record;
    addLines(record, text);
    return record;
}

void OfxStatementReader::addLines(ValueDictionary& record, QStringView text)
{
    forEachLine(text, [&](QStringView line) {
        const QStringView tag = typeFromLine(line);
        if (tag.isEmpty())
            return;
        const QStringView value = valueFromLine(line);
        if (tag == u"DTPOSTED") {
            if (auto date = parseDate(value))
                record[kDate] = Value::date(*date);
        } else if (tag == u"TRNAMT") {
            if (auto amount = parseAmount(value))
                record[kAmount] = Value(*amount);
        } else {
            const QString key = tag == u"NAME" ? kPayee : tag == u"FITID" ? kUniqueID : d->key(tag);
            const bool escaped = std::find(value.begin(), value.end(), u'&') != value.end();
            record[key] = escaped ? Value(decodeEntities(value)) : Value(SharedString::fromQString(value));
        }
    });
}

std::vector<QStringView> OfxStatementReader::arrayWithLines(QStringView text)
{
    std::vector<QStringView> lines;
    forEachLine(text, [&](QStringView line) { lines.push_back(line); });
    return lines;
}

// Both walk the line by hand: they run on every line of a statement, and the
// lines are too short for the general searches to pay off.
QStringView OfxStatementReader::typeFromLine(QStringView line)
{
    const char16_t* text = line.utf16();
    qsizetype open = -1;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (text[i] == u'>')
            return open < 0 ? QStringView() : line.sliced(open + 1, i - open - 1);
        if (text[i] == u'<' && open < 0)
            open = i;
    }
    return {};
}

QStringView OfxStatementReader::valueFromLine(QStringView line)
{
    const char16_t* text = line.utf16();
    qsizetype close = 0;
    while (close < line.size() && text[close] != u'>')
        ++close;
    if (close == line.size())
        return {};
    // "<NAME>text" runs to the end; "<NAME>text</NAME>" stops at the last
    // "<", so a "<" inside the text survives.
    for (qsizetype lastOpen = line.size() - 1; lastOpen > close; --lastOpen) {
        if (text[lastOpen] == u'<')
            return line.sliced(close + 1, lastOpen - close - 1);
    }
    return line.sliced(close + 1);
}

QString OfxStatementReader::decodeEntities(QStringView text)
{
    QString out;
    out.reserve(text.size());
    qsizetype pos = 0;
    while (pos < text.size()) {
        const qsizetype amp = text.indexOf(u'&', pos);
        if (amp < 0)
            break;
        out += text.sliced(pos, amp - pos);
        const qsizetype semi = text.indexOf(u';', amp + 1);
        const QStringView name = semi < 0 || semi - amp > 12 ? QStringView() : text.sliced(amp + 1, semi - amp - 1);
        std::optional<char32_t> decoded;
        if (name == u"amp")
            decoded = U'&';
        else if (name == u"lt")
            decoded = U'<';
        else if (name == u"gt")
            decoded = U'>';
        else if (name == u"quot")
            decoded = U'"';
        else if (name == u"apos")
            decoded = U'\'';
        else if (name.startsWith(u'#'))
            decoded = characterReference(name.sliced(1));
        if (!decoded) {
            // A bare "&" (as in "AT&T" of the older form) is text.
            out += u'&';
            pos = amp + 1;
            continue;
        }
        const char32_t code = *decoded;
        out += QStringView(QChar::fromUcs4(code));
        pos = semi + 1;
    }
    out += text.sliced(pos);
    return out;
}

std::optional<AbsoluteTime> OfxStatementReader::parseDate(QStringView text)
{
    text = text.trimmed();
    if (text.size() < 8)
        return std::nullopt;
    int key = 0;
    for (int i = 0; i < 8; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9')
            return std::nullopt;
        key = key * 10 + (c - u'0');
    }
    if (auto known = d->days.find(key); known != d->days.end())
        return known->second;
    if (!d->dayFormatter)
        d->dayFormatter.emplace(DateFormatter::fromPercentPattern(u"%Y%m%d"));
    std::optional<AbsoluteTime> day = d->dayFormatter->parse(text.first(8));
    d->days.emplace(key, day);
    return day;
}

std::optional<double> OfxStatementReader::parseAmount(QStringView text)
{
    text = text.trimmed();
    char buffer[64];
    if (text.isEmpty() || text.size() >= qsizetype(sizeof buffer))
        return std::nullopt;
    const qsizetype lastDot = text.lastIndexOf(u'.');
    const qsizetype lastComma = text.lastIndexOf(u',');
    // One mark of a kind is the decimal mark; several of a kind group digits,
    // and with both kinds the last one is the decimal mark.
    qsizetype decimal = std::max(lastDot, lastComma);
    if (lastDot >= 0 && lastComma < 0 && text.count(u'.') > 1)
        decimal = -1;
    else if (lastComma >= 0 && lastDot < 0 && text.count(u',') > 1)
        decimal = -1;
    const QChar decimalMark = decimal >= 0 ? text[decimal] : QChar();
    std::size_t length = 0;
    int digits = 0;
    int groupDigits = -1; // digits since the last group mark; -1 before the first
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c >= u'0' && c <= u'9') {
            buffer[length++] = char(c);
            ++digits;
            if (groupDigits >= 0)
                ++groupDigits;
            continue;
        }
        const bool mark = c == u'.' || c == u',';
        // Every group mark stands before exactly three digits.
        if (mark && groupDigits >= 0 && groupDigits != 3)
            return std::nullopt;
        if (i == decimal) {
            buffer[length++] = '.';
            groupDigits = -1;
        } else if ((c == u'-' || c == u'+') && i == 0) {
            if (c == u'-')
                buffer[length++] = '-';
        } else if (mark && c != decimalMark && digits > 0 && (decimal < 0 || i < decimal)) {
            groupDigits = 0;
        } else {
            return std::nullopt;
        }
    }
    if (digits == 0 || (groupDigits >= 0 && groupDigits != 3))
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(buffer, buffer + length, value);
    if (error != std::errc() || end != buffer + length)
        return std::nullopt;
    return value;
}

} // namespace qf
