#include "common/Predicate.h"

#include "common/KeyValueCoding.h"
#include "common/PredicateInternal.h"

#include <charconv>
#include <cmath>

namespace qf {

using namespace predicate_detail;

namespace predicate_detail {

namespace {

// Equality of constants for comparing predicates: same type and same content.
// Stricter than Value's ==, which lets 5 equal 5.0 and a date equal a number.
bool sameConstant(const Value& a, const Value& b)
{
    if (a.type() != b.type())
        return a.isNull() && b.isNull();
    switch (a.type()) {
    case Value::Type::Double:
    case Value::Type::Date: {
        const double x = a.toDouble();
        const double y = b.toDouble();
        return x == y ? std::signbit(x) == std::signbit(y) : (std::isnan(x) && std::isnan(y));
    }
    case Value::Type::Array: {
        const ValueArray& x = a.array();
        const ValueArray& y = b.array();
        if (x.size() != y.size())
            return false;
        for (std::size_t i = 0; i < x.size(); ++i) {
            if (!sameConstant(x[i], y[i]))
                return false;
        }
        return true;
    }
    default:
        return a == b;
    }
}

bool sameExpression(const Expression& a, const Expression& b)
{
    if (a.kind != b.kind)
        return false;
    switch (a.kind) {
    case Expression::Kind::Constant:
        return sameConstant(a.constant, b.constant);
    case Expression::Kind::KeyPath:
        return a.keyPath == b.keyPath;
    default:
        return true;
    }
}

bool sameNode(const Node& a, const Node& b)
{
    if (&a == &b)
        return true;
    if (a.kind != b.kind)
        return false;
    if (a.kind == Node::Kind::Comparison) {
        return a.op == b.op && a.quantifier == b.quantifier && a.options == b.options && sameExpression(a.left, b.left)
            && sameExpression(a.right, b.right);
    }
    if (a.children.size() != b.children.size())
        return false;
    for (std::size_t i = 0; i < a.children.size(); ++i) {
        if (!sameNode(*a.children[i], *b.children[i]))
            return false;
    }
    return true;
}

Status checkExpression(const Expression& expression, const KeySchema& schema)
{
    if (expression.kind != Expression::Kind::KeyPath)
        return Status::ok();
    const auto& segments = expression.keyPath.segments();
    if (segments.empty() || segments.front().op != KeyPath::Operator::None)
        return Status::ok();
    if (schema.indexOfKey(segments.front().key) < 0)
        return Status::failure(QStringLiteral("Unknown key \"%1\"").arg(segments.front().key));
    return Status::ok();
}

Status checkKeys(const Node& node, const KeySchema& schema)
{
    if (node.kind == Node::Kind::Comparison) {
        Status status = checkExpression(node.left, schema);
        if (!status)
            return status;
        return checkExpression(node.right, schema);
    }
    for (const auto& child : node.children) {
        Status status = checkKeys(*child, schema);
        if (!status)
            return status;
    }
    return Status::ok();
}

// Arrays this long are searched through a hash set of their texts: "IN %@"
// with the identifiers of a large selection is evaluated once per record.
constexpr std::size_t kTextSetThreshold = 16;

} // namespace

std::optional<double> numberFromText(std::string_view text)
{
    if (text.empty())
        return std::nullopt;
    const char* begin = text.data();
    const char* end = begin + text.size();
    for (const char* p = begin; p != end; ++p) {
        const char c = *p;
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return std::nullopt;
    }
    if (*begin == '+')
        ++begin;
    double value = 0.0;
    const auto result = std::from_chars(begin, end, value, std::chars_format::general);
    if (result.ptr != end || result.ec != std::errc())
        return std::nullopt;
    return value;
}

PreparedOperand PreparedOperand::make(const Value& value, StringOptions options)
{
    PreparedOperand prepared;
    if (value.isString()) {
        prepared.isText = true;
        prepared.text = FoldedText(value.string(), options);
        prepared.number = numberFromText(value.string().view());
    } else if (value.type() == Value::Type::Array) {
        const ValueArray& elements = value.array();
        prepared.elements.reserve(elements.size());
        prepared.allTexts = true;
        for (const Value& element : elements) {
            prepared.elements.push_back(make(element, options));
            prepared.allTexts = prepared.allTexts && element.isString();
        }
        if (prepared.allTexts && elements.size() >= kTextSetThreshold) {
            for (const PreparedOperand& element : prepared.elements)
                prepared.textSet.emplace(element.text.view());
        }
    }
    return prepared;
}

std::shared_ptr<const Node> Node::compound(Kind kind, std::vector<std::shared_ptr<const Node>> children)
{
    auto node = std::make_shared<Node>();
    node->kind = kind;
    node->children = std::move(children);
    return node;
}

std::shared_ptr<const Node> Node::comparison(Operator op, Quantifier quantifier, StringOptions options,
                                             Expression left, Expression right)
{
    auto node = std::make_shared<Node>();
    node->kind = Kind::Comparison;
    node->op = op;
    node->quantifier = quantifier;
    node->options = options;
    node->left = std::move(left);
    node->right = std::move(right);
    if (node->left.kind == Expression::Kind::Constant)
        node->leftPrepared = PreparedOperand::make(node->left.constant, options);
    if (node->right.kind == Expression::Kind::Constant)
        node->rightPrepared = PreparedOperand::make(node->right.constant, options);
    return node;
}

} // namespace predicate_detail

Predicate::Predicate() = default;

Result<Predicate> Predicate::parse(QStringView format, const ValueArray& arguments)
{
    return parsePredicate(format, arguments);
}

Predicate Predicate::truePredicate()
{
    static const std::shared_ptr<const Node> node = Node::compound(Node::Kind::True, {});
    return Predicate(node);
}

Predicate Predicate::falsePredicate()
{
    static const std::shared_ptr<const Node> node = Node::compound(Node::Kind::False, {});
    return Predicate(node);
}

Predicate Predicate::andPredicate(std::vector<Predicate> subpredicates)
{
    std::vector<std::shared_ptr<const Node>> children;
    for (Predicate& p : subpredicates) {
        if (!p.isNull())
            children.push_back(std::move(p.m_root));
    }
    if (children.empty())
        return truePredicate();
    if (children.size() == 1)
        return Predicate(std::move(children.front()));
    return Predicate(Node::compound(Node::Kind::And, std::move(children)));
}

Predicate Predicate::orPredicate(std::vector<Predicate> subpredicates)
{
    std::vector<std::shared_ptr<const Node>> children;
    for (Predicate& p : subpredicates) {
        if (!p.isNull())
            children.push_back(std::move(p.m_root));
    }
    if (children.empty())
        return falsePredicate();
    if (children.size() == 1)
        return Predicate(std::move(children.front()));
    return Predicate(Node::compound(Node::Kind::Or, std::move(children)));
}

Predicate Predicate::notPredicate(const Predicate& predicate)
{
    if (predicate.isNull())
        return {};
    return Predicate(Node::compound(Node::Kind::Not, {predicate.m_root}));
}

QString Predicate::predicateFormat() const
{
    return m_root ? formatNode(*m_root) : QString();
}

bool Predicate::evaluate(const Value& object) const
{
    return !m_root || evaluateNode(*m_root, Subject{&object, object.object()});
}

bool Predicate::evaluate(const KeyValueCoding& object) const
{
    return !m_root || evaluateNode(*m_root, Subject{nullptr, &object});
}

Status Predicate::validateKeys(const KeySchema& schema) const
{
    return m_root ? checkKeys(*m_root, schema) : Status::ok();
}

bool operator==(const Predicate& a, const Predicate& b)
{
    if (!a.m_root || !b.m_root)
        return !a.m_root && !b.m_root;
    return sameNode(*a.m_root, *b.m_root);
}

} // namespace qf
