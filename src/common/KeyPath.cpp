#include "common/KeyPath.h"

#include "common/KeyValueCoding.h"

namespace qf {

namespace {

using Segment = KeyPath::Segment;

Value valueOfKey(const Value& object, const QString& key)
{
    switch (object.type()) {
    case Value::Type::Object:
        return object.object() ? object.object()->valueForKey(key) : Value();
    case Value::Type::Dictionary: {
        const ValueDictionary& dictionary = object.dictionary();
        const auto it = dictionary.find(key);
        return it == dictionary.end() ? Value() : it->second;
    }
    default:
        return {};
    }
}

bool isOrderable(const Value& v)
{
    return v.isNumeric() || v.type() == Value::Type::Date || v.isString();
}

// Order for @min and @max: numbers and dates by value, texts by code point.
bool isLess(const Value& a, const Value& b)
{
    if (a.isString() && b.isString())
        return a.string().view() < b.string().view();
    if (a.isString() || b.isString())
        return false;
    return a.toDouble() < b.toDouble();
}

Value applySegments(const Value& object, const Segment* begin, const Segment* end);

Value applyOperator(const Value& object, const Segment* begin, const Segment* end)
{
    const KeyPath::Operator op = begin->op;
    if (object.type() != Value::Type::Array) {
        if (op == KeyPath::Operator::Count && object.type() == Value::Type::Dictionary)
            return Value(static_cast<std::int64_t>(object.dictionary().size()));
        return {};
    }
    const ValueArray& elements = object.array();
    if (op == KeyPath::Operator::Count)
        return Value(static_cast<std::int64_t>(elements.size()));

    const Segment* rest = begin + 1;
    bool allIntegers = true;
    std::int64_t integerSum = 0;
    double sum = 0.0;
    std::size_t counted = 0;
    Value best;
    for (const Value& element : elements) {
        const Value v = rest == end ? element : applySegments(element, rest, end);
        if (v.isNull())
            continue;
        if (op == KeyPath::Operator::Min || op == KeyPath::Operator::Max) {
            if (!isOrderable(v))
                continue;
            if (best.isNull() || (op == KeyPath::Operator::Min ? isLess(v, best) : isLess(best, v)))
                best = v;
            continue;
        }
        ++counted;
        if (v.type() == Value::Type::Int || v.type() == Value::Type::Bool)
            integerSum += v.toInt();
        else
            allIntegers = false;
        sum += v.toDouble();
    }
    switch (op) {
    case KeyPath::Operator::Sum:
        return allIntegers ? Value(integerSum) : Value(sum);
    case KeyPath::Operator::Avg:
        return counted == 0 ? Value() : Value(sum / static_cast<double>(counted));
    default:
        return best;
    }
}

Value applySegments(const Value& object, const Segment* begin, const Segment* end)
{
    if (begin == end)
        return object;
    if (begin->op != KeyPath::Operator::None)
        return applyOperator(object, begin, end);
    if (object.type() == Value::Type::Array) {
        ValueArray mapped;
        mapped.reserve(object.array().size());
        for (const Value& element : object.array())
            mapped.push_back(valueOfKey(element, begin->key));
        return applySegments(Value(std::move(mapped)), begin + 1, end);
    }
    return applySegments(valueOfKey(object, begin->key), begin + 1, end);
}

} // namespace

KeyPath::KeyPath(std::vector<Segment> segments) : m_segments(std::move(segments)) {}

Result<KeyPath> KeyPath::parse(QStringView text)
{
    std::vector<Segment> segments;
    qsizetype start = 0;
    while (true) {
        qsizetype dot = text.indexOf(u'.', start);
        if (dot < 0)
            dot = text.size();
        const QStringView part = text.mid(start, dot - start);
        if (part.isEmpty())
            return Result<KeyPath>::failure(QStringLiteral("Empty key in key path"), static_cast<int>(start));
        Segment segment;
        if (part.startsWith(u'@')) {
            if (!operatorFromName(part.mid(1), &segment.op))
                return Result<KeyPath>::failure(QStringLiteral("Unknown collection operator \"%1\"").arg(part),
                                                static_cast<int>(start));
        } else {
            segment.key = part.toString();
        }
        segments.push_back(std::move(segment));
        if (dot == text.size())
            break;
        start = dot + 1;
    }
    return KeyPath(std::move(segments));
}

QString KeyPath::headKey() const
{
    for (const Segment& segment : m_segments) {
        if (segment.op == Operator::None)
            return segment.key;
    }
    return {};
}

QString KeyPath::toString() const
{
    QString text;
    for (const Segment& segment : m_segments) {
        if (!text.isEmpty())
            text += u'.';
        text += segment.op == Operator::None ? segment.key : u'@' + operatorName(segment.op);
    }
    return text;
}

QString KeyPath::operatorName(Operator op)
{
    switch (op) {
    case Operator::Count:
        return QStringLiteral("count");
    case Operator::Sum:
        return QStringLiteral("sum");
    case Operator::Avg:
        return QStringLiteral("avg");
    case Operator::Min:
        return QStringLiteral("min");
    case Operator::Max:
        return QStringLiteral("max");
    default:
        return {};
    }
}

bool KeyPath::operatorFromName(QStringView name, Operator* op)
{
    static const Operator all[] = {Operator::Count, Operator::Sum, Operator::Avg, Operator::Min, Operator::Max};
    for (Operator candidate : all) {
        if (name.compare(operatorName(candidate), Qt::CaseInsensitive) == 0) {
            *op = candidate;
            return true;
        }
    }
    return false;
}

Value KeyPath::firstKeyOf(const KeyValueCoding& target) const
{
    const QString& key = m_segments.front().key;
    if (const KeySchema* schema = target.keySchema()) {
        if (schema != m_cachedSchema) {
            m_cachedSchema = schema;
            m_cachedIndex = schema->indexOfKey(key);
        }
        return m_cachedIndex >= 0 ? target.valueForKeyIndex(m_cachedIndex) : Value();
    }
    return target.valueForKey(key);
}

Value KeyPath::evaluate(const Value& object) const
{
    if (m_segments.empty())
        return object;
    const Segment* begin = m_segments.data();
    const Segment* end = begin + m_segments.size();
    if (begin->op == Operator::None && object.object()) {
        Value first = firstKeyOf(*object.object());
        if (m_segments.size() == 1)
            return first;
        return applySegments(first, begin + 1, end);
    }
    return applySegments(object, begin, end);
}

Value valueForKeyPath(const Value& object, QStringView keyPath)
{
    const Result<KeyPath> path = KeyPath::parse(keyPath);
    return path ? path->evaluate(object) : Value();
}

} // namespace qf
