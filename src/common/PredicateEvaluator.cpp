// Evaluation of a predicate tree against one object; semantics in Predicate.h.

#include "common/PredicateInternal.h"

#include <cfloat>
#include <cmath>

namespace qf::predicate_detail {

namespace {

struct Number {
    double value;
    bool isDouble; // a double (or a text's reading), as opposed to an integer, boolean or date
};

bool isNumberLike(const Value& v)
{
    return v.isNumeric() || v.type() == Value::Type::Date;
}

bool fitsFloat(double x)
{
    return std::isfinite(x) && std::fabs(x) <= FLT_MAX;
}

bool hasSinglePrecision(double x)
{
    return fitsFloat(x) && static_cast<double>(static_cast<float>(x)) == x;
}

std::optional<Number> numberOf(const Value& v, const PreparedOperand* prepared)
{
    if (isNumberLike(v))
        return Number{v.toDouble(), v.type() == Value::Type::Double};
    if (v.isString()) {
        const std::optional<double> reading =
            prepared && prepared->isText ? prepared->number : numberFromText(v.string().view());
        if (reading)
            return Number{*reading, true};
    }
    return std::nullopt;
}

// Amounts are stored as floats: a typed 12.34 must still find a stored 12.34f,
// so a double meeting a single-precision value is rounded to single precision.
std::optional<int> compareNumbers(Number a, Number b)
{
    double x = a.value;
    double y = b.value;
    if (a.isDouble && b.isDouble && hasSinglePrecision(x) != hasSinglePrecision(y) && fitsFloat(x) && fitsFloat(y)) {
        x = static_cast<float>(x);
        y = static_cast<float>(y);
    }
    if (x < y)
        return -1;
    if (x > y)
        return 1;
    if (x == y)
        return 0;
    return std::nullopt;
}

// The operand's text folded for the options: the prepared one for a constant,
// else folded now into `storage`.
const FoldedText& foldedOf(const Value& v, const PreparedOperand* prepared, StringOptions options,
                           std::optional<FoldedText>& storage)
{
    if (prepared && prepared->isText)
        return prepared->text;
    storage.emplace(v.string(), options);
    return *storage;
}

const PreparedOperand* elementOf(const PreparedOperand* prepared, std::size_t i)
{
    return prepared && i < prepared->elements.size() ? &prepared->elements[i] : nullptr;
}

bool equalValues(const Value& a, const PreparedOperand* pa, const Value& b, const PreparedOperand* pb,
                 StringOptions options)
{
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    if (a.isString() && b.isString()) {
        if (options == 0)
            return a.string() == b.string();
        if (pb && pb->isText)
            return textEquals(a.string(), pb->text);
        if (pa && pa->isText)
            return textEquals(b.string(), pa->text);
        return textEquals(a.string(), FoldedText(b.string(), options));
    }
    const std::optional<Number> x = numberOf(a, pa);
    const std::optional<Number> y = numberOf(b, pb);
    if (x && y)
        return compareNumbers(*x, *y) == 0;
    if (a.isString() || b.isString() || isNumberLike(a) || isNumberLike(b))
        return false;
    return a == b;
}

std::optional<int> orderValues(const Value& a, const PreparedOperand* pa, const Value& b, const PreparedOperand* pb,
                               StringOptions options)
{
    if (a.isNull() || b.isNull())
        return std::nullopt;
    if (a.isString() && b.isString()) {
        if (pb && pb->isText)
            return textCompare(a.string(), pb->text);
        if (pa && pa->isText)
            return -textCompare(b.string(), pa->text);
        return textCompare(a.string(), FoldedText(b.string(), options));
    }
    const std::optional<Number> x = numberOf(a, pa);
    const std::optional<Number> y = numberOf(b, pb);
    if (x && y)
        return compareNumbers(*x, *y);
    return std::nullopt;
}

bool isMember(const Value& item, const PreparedOperand* pItem, const Value& array, const PreparedOperand* pArray,
              StringOptions options)
{
    if (pArray && !pArray->textSet.empty() && item.isString()) {
        if (options == 0)
            return pArray->textSet.find(item.string().view()) != pArray->textSet.end();
        return pArray->textSet.find(foldText(item.string().view(), options)) != pArray->textSet.end();
    }
    const ValueArray& elements = array.array();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (equalValues(item, pItem, elements[i], elementOf(pArray, i), options))
            return true;
    }
    return false;
}

bool matchesPattern(const Node& node, const Value& text, const Value& pattern)
{
    auto build = [&node](const QString& source) {
        const QString folded = (node.options & DiacriticInsensitive)
            ? QString::fromStdString(foldText(source.toStdString(), DiacriticInsensitive))
            : source;
        QRegularExpression::PatternOptions flags = QRegularExpression::UseUnicodePropertiesOption;
        if (node.options & CaseInsensitive)
            flags |= QRegularExpression::CaseInsensitiveOption;
        return QRegularExpression(QRegularExpression::anchoredPattern(folded), flags);
    };
    std::optional<QRegularExpression> local;
    const QRegularExpression* regex = nullptr;
    if (node.rightPrepared) {
        if (!node.regex)
            node.regex = build(pattern.toString());
        regex = &*node.regex;
    } else {
        local = build(pattern.toString());
        regex = &*local;
    }
    if (!regex->isValid())
        return false;
    const std::string_view view = text.string().view();
    const QString subject = (node.options & DiacriticInsensitive)
        ? QString::fromStdString(foldText(view, DiacriticInsensitive))
        : text.string().toQString();
    return regex->match(subject).hasMatch();
}

bool compareOne(const Node& node, const Value& a, const PreparedOperand* pa, const Value& b,
                const PreparedOperand* pb)
{
    const StringOptions options = node.options;
    std::optional<FoldedText> storage;
    switch (node.op) {
    case Operator::Equal:
        return equalValues(a, pa, b, pb, options);
    case Operator::NotEqual:
        return !equalValues(a, pa, b, pb, options);
    case Operator::Less:
    case Operator::LessOrEqual:
    case Operator::Greater:
    case Operator::GreaterOrEqual: {
        const std::optional<int> order = orderValues(a, pa, b, pb, options);
        if (!order)
            return false;
        switch (node.op) {
        case Operator::Less:
            return *order < 0;
        case Operator::LessOrEqual:
            return *order <= 0;
        case Operator::Greater:
            return *order > 0;
        default:
            return *order >= 0;
        }
    }
    case Operator::Contains:
        if (a.isNull() || b.isNull())
            return false;
        if (a.type() == Value::Type::Array)
            return isMember(b, pb, a, pa, options);
        if (!a.isString() || !b.isString())
            return false;
        if (pb && pb->isText)
            return textContains(a.string(), pb->text);
        if (options == 0)
            return a.string().view().find(b.string().view()) != std::string_view::npos;
        return textContains(a.string(), foldedOf(b, pb, options, storage));
    case Operator::BeginsWith:
        return a.isString() && b.isString() && textBeginsWith(a.string(), foldedOf(b, pb, options, storage));
    case Operator::EndsWith:
        return a.isString() && b.isString() && textEndsWith(a.string(), foldedOf(b, pb, options, storage));
    case Operator::Like:
        return a.isString() && b.isString() && textLike(a.string(), foldedOf(b, pb, options, storage));
    case Operator::Matches:
        return a.isString() && b.isString() && matchesPattern(node, a, b);
    case Operator::In:
        if (a.isNull() || b.isNull())
            return false;
        if (b.type() == Value::Type::Array)
            return isMember(a, pa, b, pb, options);
        if (!a.isString() || !b.isString())
            return false;
        if (options == 0)
            return b.string().view().find(a.string().view()) != std::string_view::npos;
        return textContains(b.string(), foldedOf(a, pa, options, storage));
    case Operator::Between: {
        if (b.type() != Value::Type::Array || b.array().size() != 2)
            return false;
        const std::optional<int> low = orderValues(a, pa, b.array()[0], elementOf(pb, 0), options);
        const std::optional<int> high = orderValues(a, pa, b.array()[1], elementOf(pb, 1), options);
        return low && high && *low >= 0 && *high <= 0;
    }
    }
    return false;
}

bool evaluateComparison(const Node& node, const Subject& subject)
{
    const PreparedOperand* pl = node.leftPrepared ? &*node.leftPrepared : nullptr;
    const PreparedOperand* pr = node.rightPrepared ? &*node.rightPrepared : nullptr;
    // The usual shapes, "key OP constant" and "constant IN key", without touching anything else.
    if (node.quantifier == Quantifier::Direct) {
        if (pr && node.left.kind == Expression::Kind::KeyPath) {
            if (const Value* stored = subject.record ? node.left.keyPath.storedValue(*subject.record) : nullptr)
                return compareOne(node, *stored, nullptr, node.right.constant, pr);
            return compareOne(node, subject.read(node.left.keyPath), nullptr, node.right.constant, pr);
        }
        if (pl && node.right.kind == Expression::Kind::KeyPath) {
            if (const Value* stored = subject.record ? node.right.keyPath.storedValue(*subject.record) : nullptr)
                return compareOne(node, node.left.constant, pl, *stored, nullptr);
            return compareOne(node, node.left.constant, pl, subject.read(node.right.keyPath), nullptr);
        }
    }

    auto read = [&subject](const Expression& e) {
        switch (e.kind) {
        case Expression::Kind::Constant:
            return Value();
        case Expression::Kind::Self:
            return subject.self();
        default:
            return subject.read(e.keyPath);
        }
    };
    const Value leftRead = read(node.left);
    const Value rightRead = read(node.right);
    const Value& left = pl ? node.left.constant : leftRead;
    const Value& right = pr ? node.right.constant : rightRead;
    if (node.quantifier == Quantifier::Direct)
        return compareOne(node, left, pl, right, pr);

    // ANY/ALL/NONE: a single value counts as a one-element collection, nil as none.
    auto test = [&](std::size_t i, const Value& element) {
        return compareOne(node, element, left.type() == Value::Type::Array ? elementOf(pl, i) : pl, right, pr);
    };
    std::size_t matches = 0;
    std::size_t count = 0;
    if (left.type() == Value::Type::Array) {
        const ValueArray& elements = left.array();
        count = elements.size();
        for (std::size_t i = 0; i < count; ++i) {
            const bool hit = test(i, elements[i]);
            matches += hit ? 1 : 0;
            if (hit && node.quantifier != Quantifier::All)
                break;
            if (!hit && node.quantifier == Quantifier::All)
                return false;
        }
    } else if (!left.isNull()) {
        count = 1;
        matches = test(0, left) ? 1 : 0;
    }
    switch (node.quantifier) {
    case Quantifier::Any:
        return matches > 0;
    case Quantifier::All:
        return matches == count;
    default:
        return matches == 0;
    }
}

} // namespace

bool evaluateNode(const Node& node, const Subject& object)
{
    switch (node.kind) {
    case Node::Kind::True:
        return true;
    case Node::Kind::False:
        return false;
    case Node::Kind::Not:
        return !evaluateNode(*node.children.front(), object);
    case Node::Kind::And:
        for (const auto& child : node.children) {
            if (!evaluateNode(*child, object))
                return false;
        }
        return true;
    case Node::Kind::Or:
        for (const auto& child : node.children) {
            if (evaluateNode(*child, object))
                return true;
        }
        return false;
    case Node::Kind::Comparison:
        return evaluateComparison(node, object);
    }
    return false;
}

} // namespace qf::predicate_detail
