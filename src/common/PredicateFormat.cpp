// Canonical text of a predicate tree; Predicate.h describes the form.

#include "common/PredicateInternal.h"

#include <charconv>
#include <cmath>

namespace qf::predicate_detail {

namespace {

const char16_t* const kReservedWords[] = {
    u"AND", u"OR", u"NOT", u"IN", u"LIKE", u"MATCHES", u"CONTAINS", u"BEGINSWITH", u"ENDSWITH", u"BETWEEN",
    u"ANY", u"SOME", u"ALL", u"NONE", u"NIL", u"NULL", u"YES", u"NO", u"TRUE", u"FALSE", u"SELF",
    u"TRUEPREDICATE", u"FALSEPREDICATE", u"CAST",
};

QString operatorText(Operator op)
{
    switch (op) {
    case Operator::Equal:
        return QStringLiteral("==");
    case Operator::NotEqual:
        return QStringLiteral("!=");
    case Operator::Less:
        return QStringLiteral("<");
    case Operator::LessOrEqual:
        return QStringLiteral("<=");
    case Operator::Greater:
        return QStringLiteral(">");
    case Operator::GreaterOrEqual:
        return QStringLiteral(">=");
    case Operator::Contains:
        return QStringLiteral("CONTAINS");
    case Operator::BeginsWith:
        return QStringLiteral("BEGINSWITH");
    case Operator::EndsWith:
        return QStringLiteral("ENDSWITH");
    case Operator::Like:
        return QStringLiteral("LIKE");
    case Operator::Matches:
        return QStringLiteral("MATCHES");
    case Operator::In:
        return QStringLiteral("IN");
    case Operator::Between:
        return QStringLiteral("BETWEEN");
    }
    return {};
}

QString quantifierText(Quantifier quantifier)
{
    switch (quantifier) {
    case Quantifier::Any:
        return QStringLiteral("ANY ");
    case Quantifier::All:
        return QStringLiteral("ALL ");
    case Quantifier::None:
        return QStringLiteral("NONE ");
    default:
        return {};
    }
}

QString optionsText(StringOptions options)
{
    switch (options) {
    case CaseInsensitive:
        return QStringLiteral("[c]");
    case DiacriticInsensitive:
        return QStringLiteral("[d]");
    case CaseInsensitive | DiacriticInsensitive:
        return QStringLiteral("[cd]");
    default:
        return {};
    }
}

// Shortest text that reads back as the same double.
QString numberText(double value, bool markAsDouble)
{
    if (std::isnan(value))
        return QStringLiteral("NaN");
    if (std::isinf(value))
        return value > 0 ? QStringLiteral("1e999") : QStringLiteral("-1e999");
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    QString text = QString::fromLatin1(buffer, static_cast<qsizetype>(result.ptr - buffer));
    if (markAsDouble && !text.contains(u'.') && !text.contains(u'e'))
        text += QStringLiteral(".0");
    return text;
}

QString quoted(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += u'"';
    for (QChar c : text) {
        switch (c.unicode()) {
        case u'"':
            out += QStringLiteral("\\\"");
            break;
        case u'\\':
            out += QStringLiteral("\\\\");
            break;
        case u'\n':
            out += QStringLiteral("\\n");
            break;
        case u'\r':
            out += QStringLiteral("\\r");
            break;
        case u'\t':
            out += QStringLiteral("\\t");
            break;
        default:
            if (c.unicode() < 0x20 || c.unicode() == 0x7F)
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += u'"';
    return out;
}

QString formatExpression(const Expression& expression)
{
    switch (expression.kind) {
    case Expression::Kind::Self:
        return QStringLiteral("SELF");
    case Expression::Kind::Constant:
        return formatConstant(expression.constant);
    case Expression::Kind::KeyPath:
        return formatKeyPath(expression.keyPath);
    }
    return {};
}

QString formatOperand(const Node& node)
{
    const bool compound = node.kind == Node::Kind::And || node.kind == Node::Kind::Or;
    return compound ? u'(' + formatNode(node) + u')' : formatNode(node);
}

} // namespace

bool isReservedWord(QStringView word)
{
    for (const char16_t* reserved : kReservedWords) {
        if (word.compare(QStringView(reserved), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QString formatKeyPath(const KeyPath& path)
{
    QString text;
    for (const KeyPath::Segment& segment : path.segments()) {
        if (!text.isEmpty())
            text += u'.';
        if (segment.op != KeyPath::Operator::None)
            text += u'@' + KeyPath::operatorName(segment.op);
        else if (isReservedWord(segment.key))
            text += u'#' + segment.key;
        else
            text += segment.key;
    }
    return text;
}

QString formatConstant(const Value& value)
{
    switch (value.type()) {
    case Value::Type::Null:
        return QStringLiteral("nil");
    case Value::Type::Bool:
        return value.toBool() ? QStringLiteral("YES") : QStringLiteral("NO");
    case Value::Type::Int:
        return QString::number(value.toInt());
    case Value::Type::Double:
        return numberText(value.toDouble(), true);
    case Value::Type::Date:
        return QStringLiteral("CAST(%1, \"NSDate\")").arg(numberText(value.toDouble(), false));
    case Value::Type::String:
        return quoted(value.toString());
    case Value::Type::Array: {
        QString text = QStringLiteral("{");
        bool first = true;
        for (const Value& element : value.array()) {
            if (!first)
                text += QStringLiteral(", ");
            first = false;
            text += formatConstant(element);
        }
        return text + u'}';
    }
    default:
        if (value.isNull())
            return QStringLiteral("nil");
        return value.debugString();
    }
}

QString formatNode(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::True:
        return QStringLiteral("TRUEPREDICATE");
    case Node::Kind::False:
        return QStringLiteral("FALSEPREDICATE");
    case Node::Kind::Not:
        return QStringLiteral("NOT ") + formatOperand(*node.children.front());
    case Node::Kind::And:
    case Node::Kind::Or: {
        const QString separator = node.kind == Node::Kind::And ? QStringLiteral(" AND ") : QStringLiteral(" OR ");
        QString text;
        for (std::size_t i = 0; i < node.children.size(); ++i) {
            if (i > 0)
                text += separator;
            text += formatOperand(*node.children[i]);
        }
        return text;
    }
    case Node::Kind::Comparison:
        return quantifierText(node.quantifier) + formatExpression(node.left) + u' ' + operatorText(node.op)
            + optionsText(node.options) + u' ' + formatExpression(node.right);
    }
    return {};
}

} // namespace qf::predicate_detail
