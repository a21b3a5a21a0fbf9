// Recursive-descent parser of the predicate grammar (Predicate.h).

#include "common/PredicateInternal.h"
#include "common/PredicateLexer.h"

namespace qf::predicate_detail {

namespace {

constexpr int kMaxDepth = 200;

using NodePtr = std::shared_ptr<const Node>;

class Parser {
public:
    Parser(std::vector<Token> tokens, const ValueArray& arguments)
        : m_tokens(std::move(tokens)), m_arguments(arguments)
    {
    }

    Result<Predicate> run()
    {
        NodePtr root = parseOr();
        if (root && peek().kind != Token::Kind::End)
            fail(QStringLiteral("Unexpected text after the predicate"), peek().position);
        if (m_error)
            return *m_error;
        return Access::wrap(std::move(root));
    }

private:
    using K = Token::Kind;

    // Counts a level of nesting for as long as it lives.
    class Level {
    public:
        explicit Level(int& depth) : m_depth(depth) { ++m_depth; }
        ~Level() { --m_depth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        int& m_depth;
    };

    const Token& peek() const { return m_tokens[m_index]; }
    const Token& advance()
    {
        const Token& token = m_tokens[m_index];
        if (token.kind != K::End)
            ++m_index;
        return token;
    }

    static bool isWord(const Token& token, QStringView word)
    {
        return token.kind == K::Identifier && token.text.compare(word, Qt::CaseInsensitive) == 0;
    }

    std::nullptr_t fail(const QString& message, int position)
    {
        if (!m_error)
            m_error = Error{message, position};
        return nullptr;
    }

    bool tooDeep(int position)
    {
        if (m_depth <= kMaxDepth)
            return false;
        fail(QStringLiteral("Nesting deeper than %1 levels").arg(kMaxDepth), position);
        return true;
    }

    bool expect(K kind, const QString& what)
    {
        if (peek().kind == kind) {
            advance();
            return true;
        }
        fail(QStringLiteral("Expected %1").arg(what), peek().position);
        return false;
    }

    NodePtr parseOr()
    {
        NodePtr first = parseAnd();
        if (!first)
            return nullptr;
        std::vector<NodePtr> children{first};
        while (peek().kind == K::Or || isWord(peek(), u"OR")) {
            advance();
            NodePtr next = parseAnd();
            if (!next)
                return nullptr;
            children.push_back(std::move(next));
        }
        return children.size() == 1 ? first : Node::compound(Node::Kind::Or, std::move(children));
    }

    NodePtr parseAnd()
    {
        NodePtr first = parseUnary();
        if (!first)
            return nullptr;
        std::vector<NodePtr> children{first};
        while (peek().kind == K::And || isWord(peek(), u"AND")) {
            advance();
            NodePtr next = parseUnary();
            if (!next)
                return nullptr;
            children.push_back(std::move(next));
        }
        return children.size() == 1 ? first : Node::compound(Node::Kind::And, std::move(children));
    }

    NodePtr parseUnary()
    {
        Level level(m_depth);
        const Token& token = peek();
        if (tooDeep(token.position))
            return nullptr;
        if (token.kind == K::Not || isWord(token, u"NOT")) {
            advance();
            NodePtr operand = parseUnary();
            return operand ? Node::compound(Node::Kind::Not, {operand}) : nullptr;
        }
        if (token.kind == K::LParen) {
            advance();
            NodePtr inner = parseOr();
            if (!inner || !expect(K::RParen, QStringLiteral("')'")))
                return nullptr;
            return inner;
        }
        if (isWord(token, u"TRUEPREDICATE")) {
            advance();
            return Node::compound(Node::Kind::True, {});
        }
        if (isWord(token, u"FALSEPREDICATE")) {
            advance();
            return Node::compound(Node::Kind::False, {});
        }
        return parseComparison();
    }

    NodePtr parseComparison()
    {
        Quantifier quantifier = Quantifier::Direct;
        if (isWord(peek(), u"ANY") || isWord(peek(), u"SOME"))
            quantifier = Quantifier::Any;
        else if (isWord(peek(), u"ALL"))
            quantifier = Quantifier::All;
        else if (isWord(peek(), u"NONE"))
            quantifier = Quantifier::None;
        if (quantifier != Quantifier::Direct)
            advance();

        std::optional<Expression> left = parseExpression();
        if (!left)
            return nullptr;
        const Token& opToken = advance();
        Operator op;
        switch (opToken.kind) {
        case K::Equal:
            op = Operator::Equal;
            break;
        case K::NotEqual:
            op = Operator::NotEqual;
            break;
        case K::Less:
            op = Operator::Less;
            break;
        case K::LessOrEqual:
            op = Operator::LessOrEqual;
            break;
        case K::Greater:
            op = Operator::Greater;
            break;
        case K::GreaterOrEqual:
            op = Operator::GreaterOrEqual;
            break;
        default:
            if (isWord(opToken, u"CONTAINS"))
                op = Operator::Contains;
            else if (isWord(opToken, u"BEGINSWITH"))
                op = Operator::BeginsWith;
            else if (isWord(opToken, u"ENDSWITH"))
                op = Operator::EndsWith;
            else if (isWord(opToken, u"LIKE"))
                op = Operator::Like;
            else if (isWord(opToken, u"MATCHES"))
                op = Operator::Matches;
            else if (isWord(opToken, u"IN"))
                op = Operator::In;
            else if (isWord(opToken, u"BETWEEN"))
                op = Operator::Between;
            else
                return fail(QStringLiteral("Expected a comparison operator"), opToken.position);
        }

        StringOptions options = 0;
        if (peek().kind == K::LBracket) {
            advance();
            const Token& letters = advance();
            if (letters.kind != K::Identifier)
                return fail(QStringLiteral("Expected modifier letters c and d"), letters.position);
            for (QChar c : letters.text) {
                const StringOptions flag = (c == u'c' || c == u'C') ? CaseInsensitive
                    : (c == u'd' || c == u'D')                      ? DiacriticInsensitive
                                                                    : 0;
                if (flag == 0 || (options & flag))
                    return fail(QStringLiteral("Unknown modifier \"%1\"").arg(letters.text), letters.position);
                options |= flag;
            }
            if (!expect(K::RBracket, QStringLiteral("']'")))
                return nullptr;
        }

        const int rightPosition = peek().position;
        std::optional<Expression> right = parseExpression();
        if (!right)
            return nullptr;
        if (op == Operator::Between && right->kind == Expression::Kind::Constant
            && (right->constant.type() != Value::Type::Array || right->constant.array().size() != 2))
            return fail(QStringLiteral("BETWEEN needs {lower, upper}"), rightPosition);
        return Node::comparison(op, quantifier, options, std::move(*left), std::move(*right));
    }

    std::optional<Expression> parseExpression()
    {
        const Token& token = peek();
        switch (token.kind) {
        case K::Identifier:
            if (isWord(token, u"SELF")) {
                advance();
                if (peek().kind != K::Dot)
                    return Expression::self();
                advance(); // SELF.key is the key itself
                return parseKeyPath({});
            }
            if (!isReservedWord(token.text))
                return parseKeyPath({});
            break;
        case K::EscapedIdentifier:
        case K::AtIdentifier:
            return parseKeyPath({});
        case K::Substitution:
            if (token.text == u"K") {
                advance();
                std::optional<KeyPath> path = keyPathArgument(token);
                if (!path)
                    return std::nullopt;
                return parseKeyPath(path->segments());
            }
            break;
        default:
            break;
        }
        std::optional<Value> constant = parseConstant();
        if (!constant)
            return std::nullopt;
        return Expression::fromConstant(std::move(*constant));
    }

    // Reads key segments; `segments` holds those already taken (after SELF or %K),
    // in which case the path continues only after a dot.
    std::optional<Expression> parseKeyPath(std::vector<KeyPath::Segment> segments)
    {
        bool needSegment = segments.empty();
        while (true) {
            if (!needSegment) {
                if (peek().kind != K::Dot)
                    break;
                advance();
            }
            needSegment = false;
            const Token& token = advance();
            KeyPath::Segment segment;
            if (token.kind == K::Identifier || token.kind == K::EscapedIdentifier) {
                segment.key = token.text;
            } else if (token.kind == K::AtIdentifier) {
                if (!KeyPath::operatorFromName(token.text, &segment.op)) {
                    fail(QStringLiteral("Unknown collection operator \"@%1\"").arg(token.text), token.position);
                    return std::nullopt;
                }
            } else {
                fail(QStringLiteral("Expected a key"), token.position);
                return std::nullopt;
            }
            segments.push_back(std::move(segment));
        }
        return Expression::fromKeyPath(KeyPath(std::move(segments)));
    }

    std::optional<KeyPath> keyPathArgument(const Token& token)
    {
        const Value* argument = takeArgument(token);
        if (!argument)
            return std::nullopt;
        const QString text = argument->toString();
        Result<KeyPath> path = KeyPath::parse(text);
        bool valid = path.isOk();
        if (valid) {
            for (const KeyPath::Segment& segment : path->segments())
                valid = valid && (segment.op != KeyPath::Operator::None || isIdentifier(segment.key));
        }
        if (!valid) {
            fail(QStringLiteral("Invalid key path \"%1\" for %K").arg(text), token.position);
            return std::nullopt;
        }
        return std::move(path).value();
    }

    const Value* takeArgument(const Token& token)
    {
        if (m_argumentIndex >= m_arguments.size()) {
            fail(QStringLiteral("Missing argument for %%1").arg(token.text), token.position);
            return nullptr;
        }
        return &m_arguments[m_argumentIndex++];
    }

    std::optional<Value> parseConstant()
    {
        const Token& token = peek();
        switch (token.kind) {
        case K::Number:
        case K::String:
            advance();
            return token.value;
        case K::LBrace:
            return parseArray();
        case K::Substitution: {
            if (token.text == u"K") {
                fail(QStringLiteral("%K is not allowed here"), token.position);
                return std::nullopt;
            }
            advance();
            const Value* argument = takeArgument(token);
            if (!argument)
                return std::nullopt;
            if (token.text == u"d" || token.text == u"i")
                return Value(argument->toInt());
            if (token.text == u"f")
                return Value(argument->toDouble());
            return *argument;
        }
        case K::Identifier:
            if (isWord(token, u"nil") || isWord(token, u"NULL")) {
                advance();
                return Value();
            }
            if (isWord(token, u"YES") || isWord(token, u"TRUE")) {
                advance();
                return Value::boolean(true);
            }
            if (isWord(token, u"NO") || isWord(token, u"FALSE")) {
                advance();
                return Value::boolean(false);
            }
            if (isWord(token, u"CAST"))
                return parseCast();
            fail(QStringLiteral("Unexpected \"%1\"").arg(token.text), token.position);
            return std::nullopt;
        case K::End:
            fail(QStringLiteral("Unexpected end of predicate"), token.position);
            return std::nullopt;
        default:
            fail(QStringLiteral("Expected a value"), token.position);
            return std::nullopt;
        }
    }

    std::optional<Value> parseArray()
    {
        Level level(m_depth);
        if (tooDeep(peek().position))
            return std::nullopt;
        advance(); // '{'
        ValueArray elements;
        if (peek().kind == K::RBrace) {
            advance();
            return Value(std::move(elements));
        }
        while (true) {
            std::optional<Value> element = parseConstant();
            if (!element)
                return std::nullopt;
            elements.push_back(std::move(*element));
            if (peek().kind == K::Comma) {
                advance();
                continue;
            }
            if (!expect(K::RBrace, QStringLiteral("',' or '}'")))
                return std::nullopt;
            return Value(std::move(elements));
        }
    }

    std::optional<Value> parseCast()
    {
        advance(); // CAST
        if (!expect(K::LParen, QStringLiteral("'(' after CAST")))
            return std::nullopt;
        const int position = peek().position;
        std::optional<Value> seconds = parseConstant();
        if (!seconds)
            return std::nullopt;
        if (!seconds->isNumeric() && seconds->type() != Value::Type::Date) {
            fail(QStringLiteral("CAST needs a number of seconds"), position);
            return std::nullopt;
        }
        if (!expect(K::Comma, QStringLiteral("','")))
            return std::nullopt;
        const Token& type = advance();
        if (type.kind != K::String || type.value.toString() != u"NSDate") {
            fail(QStringLiteral("CAST supports only \"NSDate\""), type.position);
            return std::nullopt;
        }
        if (!expect(K::RParen, QStringLiteral("')'")))
            return std::nullopt;
        return Value::date(seconds->toDouble());
    }

    std::vector<Token> m_tokens;
    const ValueArray& m_arguments;
    std::size_t m_index = 0;
    std::size_t m_argumentIndex = 0;
    int m_depth = 0;
    std::optional<Error> m_error;
};

} // namespace

Result<Predicate> parsePredicate(QStringView format, const ValueArray& arguments)
{
    std::vector<Token> tokens;
    Status status = tokenize(format, tokens);
    if (!status)
        return status.error();
    return Parser(std::move(tokens), arguments).run();
}

} // namespace qf::predicate_detail
