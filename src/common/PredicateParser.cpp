// Tokenizer and recursive-descent parser of the predicate grammar (Predicate.h).

#include "common/PredicateInternal.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace qf::predicate_detail {

namespace {

constexpr int kMaxDepth = 200;

struct Token {
    enum class Kind : std::uint8_t {
        End,
        Identifier,
        EscapedIdentifier, // #name: a key even when the name is a reserved word
        AtIdentifier,      // @name: a collection operator
        Number,
        String,
        Substitution, // %@ %K %d %i %f; text holds the letter
        LParen,
        RParen,
        LBrace,
        RBrace,
        LBracket,
        RBracket,
        Comma,
        Dot,
        Equal,
        NotEqual,
        Less,
        LessOrEqual,
        Greater,
        GreaterOrEqual,
        And,
        Or,
        Not,
    };
    Kind kind = Kind::End;
    int position = 0;
    QString text;
    Value value;
};

bool isAsciiDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isIdentifierStart(QChar c)
{
    return c.isLetter() || c == u'_' || c == u'$';
}

bool isIdentifierPart(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

bool isIdentifier(QStringView text)
{
    if (text.isEmpty() || !isIdentifierStart(text.front()))
        return false;
    for (QChar c : text) {
        if (!isIdentifierPart(c))
            return false;
    }
    return true;
}

// from_chars reports a value beyond double's range without one; decide from the
// decimal magnitude whether it overflowed (to infinity) or underflowed (to zero).
double outOfRangeValue(std::string_view text)
{
    const bool negative = !text.empty() && text.front() == '-';
    if (negative)
        text.remove_prefix(1);
    const std::size_t exponentAt = text.find_first_of("eE");
    const std::string_view mantissa = text.substr(0, exponentAt);
    long exponent = 0;
    if (exponentAt != std::string_view::npos) {
        std::string_view digits = text.substr(exponentAt + 1);
        const bool negativeExponent = !digits.empty() && digits.front() == '-';
        if (!digits.empty() && (digits.front() == '-' || digits.front() == '+'))
            digits.remove_prefix(1);
        for (char c : digits)
            exponent = std::min<long>(exponent * 10 + (c - '0'), 1000000);
        if (negativeExponent)
            exponent = -exponent;
    }
    std::size_t point = mantissa.find('.');
    if (point == std::string_view::npos)
        point = mantissa.size();
    const std::size_t firstDigit = mantissa.find_first_of("123456789");
    long magnitude = 0;
    if (firstDigit != std::string_view::npos)
        magnitude = firstDigit < point ? static_cast<long>(point - firstDigit) : -static_cast<long>(firstDigit - point - 1);
    const double result = magnitude + exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
    return negative ? -result : result;
}

Value numberValue(const std::string& text)
{
    const char* begin = text.data();
    const char* end = begin + text.size();
    if (text.find_first_of(".eE") == std::string::npos) {
        std::int64_t integer = 0;
        const auto result = std::from_chars(begin, end, integer);
        if (result.ec == std::errc() && result.ptr == end)
            return Value(integer);
    }
    double number = 0.0;
    const auto result = std::from_chars(begin, end, number, std::chars_format::general);
    if (result.ec == std::errc::result_out_of_range)
        number = outOfRangeValue(text);
    return Value(number);
}

class Lexer {
public:
    explicit Lexer(QStringView text) : m_text(text) {}

    Status run(std::vector<Token>& tokens)
    {
        while (true) {
            while (m_pos < m_text.size() && m_text[m_pos].isSpace())
                ++m_pos;
            Token token;
            token.position = static_cast<int>(m_pos);
            if (m_pos >= m_text.size()) {
                tokens.push_back(std::move(token));
                return Status::ok();
            }
            Status status = next(token);
            if (!status)
                return status;
            tokens.push_back(std::move(token));
        }
    }

private:
    QChar at(qsizetype i) const { return i < m_text.size() ? m_text[i] : QChar(); }

    Status fail(const QString& message, qsizetype position) const
    {
        return Status::failure(message, static_cast<int>(position));
    }

    Status next(Token& token)
    {
        using K = Token::Kind;
        const QChar c = m_text[m_pos];
        const QChar n = at(m_pos + 1);
        auto single = [&](K kind, int length) {
            token.kind = kind;
            m_pos += length;
            return Status::ok();
        };
        switch (c.unicode()) {
        case u'(':
            return single(K::LParen, 1);
        case u')':
            return single(K::RParen, 1);
        case u'{':
            return single(K::LBrace, 1);
        case u'}':
            return single(K::RBrace, 1);
        case u'[':
            return single(K::LBracket, 1);
        case u']':
            return single(K::RBracket, 1);
        case u',':
            return single(K::Comma, 1);
        case u'=':
            if (n == u'=')
                return single(K::Equal, 2);
            if (n == u'<')
                return single(K::LessOrEqual, 2);
            if (n == u'>')
                return single(K::GreaterOrEqual, 2);
            return single(K::Equal, 1);
        case u'!':
            return n == u'=' ? single(K::NotEqual, 2) : single(K::Not, 1);
        case u'<':
            if (n == u'=')
                return single(K::LessOrEqual, 2);
            if (n == u'>')
                return single(K::NotEqual, 2);
            return single(K::Less, 1);
        case u'>':
            return n == u'=' ? single(K::GreaterOrEqual, 2) : single(K::Greater, 1);
        case u'&':
            if (n == u'&')
                return single(K::And, 2);
            return fail(QStringLiteral("Expected '&&'"), m_pos);
        case u'|':
            if (n == u'|')
                return single(K::Or, 2);
            return fail(QStringLiteral("Expected '||'"), m_pos);
        case u'\'':
        case u'"':
            return string(token);
        case u'%':
            return substitution(token);
        case u'#':
        case u'@': {
            const qsizetype start = m_pos;
            ++m_pos;
            if (!isIdentifierStart(at(m_pos)))
                return fail(QStringLiteral("Expected a name after '%1'").arg(c), start);
            token.kind = c == u'#' ? K::EscapedIdentifier : K::AtIdentifier;
            token.text = identifier();
            return Status::ok();
        }
        default:
            break;
        }
        if (isAsciiDigit(c) || ((c == u'.' || c == u'-') && isAsciiDigit(n))
            || (c == u'-' && n == u'.' && isAsciiDigit(at(m_pos + 2))))
            return number(token);
        if (c == u'.')
            return single(K::Dot, 1);
        if (isIdentifierStart(c)) {
            token.kind = K::Identifier;
            token.text = identifier();
            return Status::ok();
        }
        return fail(QStringLiteral("Unexpected character '%1'").arg(c), m_pos);
    }

    QString identifier()
    {
        const qsizetype start = m_pos;
        while (m_pos < m_text.size() && isIdentifierPart(m_text[m_pos]))
            ++m_pos;
        return m_text.mid(start, m_pos - start).toString();
    }

    Status number(Token& token)
    {
        const qsizetype start = m_pos;
        if (m_text[m_pos] == u'-')
            ++m_pos;
        while (isAsciiDigit(at(m_pos)))
            ++m_pos;
        if (at(m_pos) == u'.') {
            ++m_pos;
            while (isAsciiDigit(at(m_pos)))
                ++m_pos;
        }
        if (at(m_pos) == u'e' || at(m_pos) == u'E') {
            qsizetype k = m_pos + 1;
            if (at(k) == u'+' || at(k) == u'-')
                ++k;
            if (isAsciiDigit(at(k))) {
                m_pos = k;
                while (isAsciiDigit(at(m_pos)))
                    ++m_pos;
            }
        }
        token.kind = Token::Kind::Number;
        token.value = numberValue(m_text.mid(start, m_pos - start).toLatin1().toStdString());
        return Status::ok();
    }

    static int hexValue(QChar c)
    {
        if (c >= u'0' && c <= u'9')
            return c.unicode() - u'0';
        if (c >= u'a' && c <= u'f')
            return c.unicode() - u'a' + 10;
        if (c >= u'A' && c <= u'F')
            return c.unicode() - u'A' + 10;
        return -1;
    }

    // The code unit of "\uXXXX" at i, or -1.
    int unicodeEscape(qsizetype i) const
    {
        if (at(i) != u'\\' || at(i + 1) != u'u')
            return -1;
        int code = 0;
        for (qsizetype k = i + 2; k < i + 6; ++k) {
            const int digit = hexValue(at(k));
            if (digit < 0)
                return -1;
            code = code * 16 + digit;
        }
        return code;
    }

    Status string(Token& token)
    {
        const qsizetype start = m_pos;
        const QChar quote = m_text[m_pos++];
        QString content;
        while (true) {
            if (m_pos >= m_text.size())
                return fail(QStringLiteral("Unterminated string"), start);
            const QChar c = m_text[m_pos];
            if (c == quote) {
                ++m_pos;
                break;
            }
            if (c != u'\\') {
                content += c;
                ++m_pos;
                continue;
            }
            if (m_pos + 1 >= m_text.size())
                return fail(QStringLiteral("Unterminated string"), start);
            const QChar e = m_text[m_pos + 1];
            switch (e.unicode()) {
            case u'n':
                content += u'\n';
                break;
            case u'r':
                content += u'\r';
                break;
            case u't':
                content += u'\t';
                break;
            case u'\\':
            case u'\'':
            case u'"':
                content += e;
                break;
            case u'u': {
                const int code = unicodeEscape(m_pos);
                if (code < 0)
                    return fail(QStringLiteral("Invalid \\u escape"), m_pos);
                if (QChar::isLowSurrogate(static_cast<char32_t>(code)))
                    return fail(QStringLiteral("Unpaired surrogate in \\u escape"), m_pos);
                if (QChar::isHighSurrogate(static_cast<char32_t>(code))) {
                    const int low = unicodeEscape(m_pos + 6);
                    if (low < 0 || !QChar::isLowSurrogate(static_cast<char32_t>(low)))
                        return fail(QStringLiteral("Unpaired surrogate in \\u escape"), m_pos);
                    content += QChar(static_cast<char16_t>(code));
                    content += QChar(static_cast<char16_t>(low));
                    m_pos += 12;
                    continue;
                }
                content += QChar(static_cast<char16_t>(code));
                m_pos += 6;
                continue;
            }
            default:
                // Unknown escapes keep their backslash, so regular expressions
                // such as '\d+' can be written with single backslashes.
                content += u'\\';
                content += e;
                break;
            }
            m_pos += 2;
        }
        token.kind = Token::Kind::String;
        // '' is the empty text, not nil.
        token.value = content.isEmpty() ? Value(SharedString::empty()) : Value(content);
        return Status::ok();
    }

    Status substitution(Token& token)
    {
        const QChar c = at(m_pos + 1);
        if (c == u'@' || c == u'K' || c == u'd' || c == u'i' || c == u'f') {
            token.kind = Token::Kind::Substitution;
            token.text = QString(c);
            m_pos += 2;
            return Status::ok();
        }
        return fail(QStringLiteral("Unknown substitution"), m_pos);
    }

    QStringView m_text;
    qsizetype m_pos = 0;
};

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
    Status status = Lexer(format).run(tokens);
    if (!status)
        return status.error();
    return Parser(std::move(tokens), arguments).run();
}

} // namespace qf::predicate_detail
