#include "common/PredicateLexer.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace qf::predicate_detail {

namespace {

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

} // namespace

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


Status tokenize(QStringView text, std::vector<Token>& tokens)
{
    return Lexer(text).run(tokens);
}

} // namespace qf::predicate_detail
