#include "exchange/QFQIFParser.h"

#include "exchange/DecimalNumberParser.h"
#include "exchange/ImportRecordKeys.h"
#include "exchange/PercentDateParser.h"

namespace qf {

namespace {

bool isLineEnd(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar(0x2028) || c == QChar(0x2029);
}

// Calls visit with each line of the text, its terminator included.
template <class Visit>
void visitLines(QStringView text, Visit&& visit)
{
    qsizetype start = 0;
    const qsizetype size = text.size();
    while (start < size) {
        qsizetype end = start;
        while (end < size && !isLineEnd(text[end]))
            ++end;
        if (end < size) {
            if (text[end] == u'\r' && end + 1 < size && text[end + 1] == u'\n')
                ++end;
            ++end;
        }
        visit(text.sliced(start, end - start));
        start = end;
    }
}

QString withoutSpaces(QStringView text)
{
    QString compact;
    compact.reserve(text.size());
    for (QChar c : text) {
        if (c != u' ')
            compact.append(c);
    }
    return compact;
}

} // namespace

QFQIFParser::QFQIFParser()
    : m_amountFormatter(std::make_unique<DecimalNumberParser>())
    , m_dateParser(std::make_unique<PercentDateParser>())
{
}

QFQIFParser::~QFQIFParser() = default;

void QFQIFParser::setNewDateFormat(const QString& pattern)
{
    if (pattern == m_newDateFormat && !pattern.isNull())
        return;
    m_newDateFormat = pattern;
    m_dateParser = std::make_unique<PercentDateParser>(pattern);
}

QStringView QFQIFParser::removeNewLineCharactersFromString(QStringView line)
{
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line[i] == u'\r' || line[i] == u'\n')
            return line.first(i);
    }
    return line;
}

void QFQIFParser::forEachLine(QStringView text, LineEnds ends, const std::function<void(QStringView)>& visit)
{
    visitLines(text, [&](QStringView line) {
        visit(ends == LineEnds::Remove ? removeNewLineCharactersFromString(line) : line);
    });
}

std::vector<QStringView> QFQIFParser::arrayWithLines(QStringView text, LineEnds ends)
{
    std::vector<QStringView> lines;
    forEachLine(text, ends, [&lines](QStringView line) { lines.push_back(line); });
    return lines;
}

std::vector<QStringView> QFQIFParser::transactions() const
{
    // Dropping the header line and joining the rest with nothing between
    // leaves the text behind the header's terminator, as it stands.
    QStringView rest;
    visitLines(m_qifString, [&, first = true](QStringView line) mutable {
        if (first)
            rest = QStringView(m_qifString).sliced(line.size());
        first = false;
    });
    std::vector<QStringView> records;
    qsizetype start = 0;
    for (qsizetype i = 0; i < rest.size(); ++i) {
        if (rest[i] == u'^') {
            records.push_back(rest.sliced(start, i - start));
            start = i + 1;
        }
    }
    records.push_back(rest.sliced(start));
    return records;
}

QString QFQIFParser::lineTypeFromString(QStringView line)
{
    if (line.isEmpty())
        return {};
    switch (line[0].unicode()) {
    case u'D': return ImportKey::Date;
    case u'T': return ImportKey::Amount;
    case u'C': return ImportKey::ClearedStatus;
    case u'N': return ImportKey::ReferenceNumber;
    case u'P': return ImportKey::Payee;
    case u'M': return ImportKey::Memo;
    case u'A': return ImportKey::Address;
    case u'L': return ImportKey::Category;
    case u'S': return ImportKey::CategorySplit;
    case u'E': return ImportKey::Memo; // a split's memo replaces the transaction's
    case u'$': return ImportKey::DollarAmountSplit;
    default: return {};
    }
}

std::optional<double> QFQIFParser::amountFromString(QStringView value) const
{
    if (!value.contains(u' '))
        return m_amountFormatter->parse(value);
    return m_amountFormatter->parse(withoutSpaces(value));
}

std::optional<ValueDictionary> QFQIFParser::transInfoFrom(QStringView recordText) const
{
    ValueDictionary record;
    visitLines(recordText, [&](QStringView terminated) {
        const QStringView line = removeNewLineCharactersFromString(terminated);
        const QString key = lineTypeFromString(line);
        if (key.isNull())
            return;
        const QStringView value = lineValueFromString(line);
        std::optional<Value> parsed;
        if (key == ImportKey::Date) {
            if (auto date = m_dateParser->parse(value))
                parsed = Value::date(*date);
        } else if (key == ImportKey::Amount) {
            if (auto amount = amountFromString(value))
                parsed = Value(*amount);
        } else {
            parsed = Value(value.toString());
        }
        if (parsed)
            record.insert_or_assign(key, std::move(*parsed));
        else
            record.erase(key);
    });
    if (!record.count(ImportKey::Date) || !record.count(ImportKey::Amount))
        return std::nullopt;
    return record;
}

std::vector<ValueDictionary> QFQIFParser::listOfTransactions() const
{
    std::vector<ValueDictionary> list;
    list.reserve(12);
    for (QStringView text : transactions()) {
        if (auto record = transInfoFrom(text))
            list.push_back(std::move(*record));
    }
    return list;
}

std::optional<QString> QFQIFParser::dateFormatString() const
{
    std::optional<QString> sample;
    for (QStringView text : transactions()) {
        bool amountSeen = false;
        visitLines(text, [&](QStringView terminated) {
            const QStringView line = removeNewLineCharactersFromString(terminated);
            const QString key = lineTypeFromString(line);
            if (key == ImportKey::Date)
                sample = lineValueFromString(line).toString();
            else if (key == ImportKey::Amount && amountFromString(lineValueFromString(line)))
                amountSeen = true;
        });
        if (sample && amountSeen)
            return sample;
    }
    return std::nullopt;
}

std::optional<QString> QFQIFParser::QIFType() const
{
    static const std::pair<QLatin1StringView, QLatin1StringView> kinds[] = {
        {QLatin1StringView("!Type:Bank"), QLatin1StringView("Bank Account")},
        {QLatin1StringView("!Type:Cash"), QLatin1StringView("Cash Account")},
        {QLatin1StringView("!Type:CCard"), QLatin1StringView("Credit Card Account")},
        {QLatin1StringView("!Type:Invst"), QLatin1StringView("Investment Account")},
        {QLatin1StringView("!Type:Oth A"), QLatin1StringView("Asset Account")},
        {QLatin1StringView("!Type:Oth L"), QLatin1StringView("Liability Account")},
    };
    const QStringView text(m_qifString);
    qsizetype end = 0;
    while (end < text.size() && text[end] != u'\r' && text[end] != u'\n')
        ++end;
    if (end == text.size())
        return std::nullopt;
    const QStringView header = text.first(end);
    for (const auto& [line, kind] : kinds) {
        if (header == line)
            return QString(kind);
    }
    return std::nullopt;
}

} // namespace qf
