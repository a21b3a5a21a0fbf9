#pragma once

// The predicate tree, shared by the parser, the printer and the evaluator.
// Not part of the public surface: include Predicate.h.

#include "common/KeyPath.h"
#include "common/Predicate.h"
#include "common/StringMatch.h"

#include <QRegularExpression>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qf::predicate_detail {

enum class Operator : std::uint8_t {
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Contains,
    BeginsWith,
    EndsWith,
    Like,
    Matches,
    In,
    Between,
};

// ANY/SOME, ALL and NONE in front of a comparison.
enum class Quantifier : std::uint8_t { Direct, Any, All, None };

struct Expression {
    enum class Kind : std::uint8_t { Self, Constant, KeyPath };
    Kind kind = Kind::Self;
    Value constant;
    KeyPath keyPath;

    static Expression self() { return {}; }
    static Expression fromConstant(Value value)
    {
        Expression e;
        e.kind = Kind::Constant;
        e.constant = std::move(value);
        return e;
    }
    static Expression fromKeyPath(KeyPath path)
    {
        Expression e;
        e.kind = Kind::KeyPath;
        e.keyPath = std::move(path);
        return e;
    }
};

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

// A constant operand made ready once for the comparison's options: its text
// folded, its numeric reading, and for long arrays a set of their texts.
struct PreparedOperand {
    bool isText = false;
    FoldedText text;
    std::optional<double> number; // a text that is wholly a number
    std::vector<PreparedOperand> elements;
    bool allTexts = false;
    std::unordered_set<std::string, TextHash, std::equal_to<>> textSet; // folded texts of long arrays

    static PreparedOperand make(const Value& value, StringOptions options);
};

struct Node {
    enum class Kind : std::uint8_t { True, False, And, Or, Not, Comparison };

    Kind kind = Kind::True;
    std::vector<std::shared_ptr<const Node>> children;

    Operator op = Operator::Equal;
    Quantifier quantifier = Quantifier::Direct;
    StringOptions options = 0;
    Expression left;
    Expression right;
    std::optional<PreparedOperand> leftPrepared;  // when left is a constant
    std::optional<PreparedOperand> rightPrepared; // when right is a constant
    // MATCHES with a constant pattern: compiled on first use.
    mutable std::optional<QRegularExpression> regex;

    static std::shared_ptr<const Node> compound(Kind kind, std::vector<std::shared_ptr<const Node>> children);
    static std::shared_ptr<const Node> comparison(Operator op, Quantifier quantifier, StringOptions options,
                                                  Expression left, Expression right);
};

// Bridges the public class and the tree.
struct Access {
    static Predicate wrap(std::shared_ptr<const Node> root) { return Predicate(std::move(root)); }
    static const Node* root(const Predicate& p) { return p.m_root.get(); }
};

Result<Predicate> parsePredicate(QStringView format, const ValueArray& arguments);
// What a predicate is evaluated on: a record read through its schema, or any value.
struct Subject {
    const Value* value = nullptr;           // null for a record evaluated directly
    const KeyValueCoding* record = nullptr; // set whenever the subject is a record

    Value read(const KeyPath& path) const { return record ? path.evaluate(*record) : path.evaluate(*value); }
    Value self() const { return value ? *value : Value(record); }
};

bool evaluateNode(const Node& node, const Subject& subject);
QString formatNode(const Node& node);
QString formatConstant(const Value& value);
QString formatKeyPath(const KeyPath& path);
bool isReservedWord(QStringView word);
// A number's reading of a text that is wholly a decimal number ("12.5", "-3", "1e3").
std::optional<double> numberFromText(std::string_view text);

} // namespace qf::predicate_detail
