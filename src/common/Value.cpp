#include "common/Value.h"
#include "common/AbsoluteTime.h"

#include "common/KeyValueCoding.h"

#include <QDateTime>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <variant>

namespace qf {

struct Value::Box {
    std::atomic<std::uint32_t> refs{1};
    std::variant<QByteArray, ValueArray, ValueDictionary> content;
};

Value::Value(SharedString s) noexcept : m_type(Type::String)
{
    new (&m_string) SharedString(std::move(s));
    if (m_string.isNull()) {
        m_string.~SharedString();
        m_type = Type::Null;
        m_int = 0;
    }
}

Value::Value(const QString& s) : Value(SharedString::fromQString(s)) {}

Value::Value(const char* utf8) : Value(utf8 ? SharedString::fromUtf8(utf8) : SharedString()) {}

Value::Value(ValueArray array) : m_type(Type::Array)
{
    m_box = new Box{{1}, std::move(array)};
}

Value::Value(ValueDictionary dictionary) : m_type(Type::Dictionary)
{
    m_box = new Box{{1}, std::move(dictionary)};
}

Value::Value(const KeyValueCoding* object) noexcept : m_type(Type::Object)
{
    m_object = object;
}

Value Value::boolean(bool b) noexcept
{
    Value v;
    v.m_type = Type::Bool;
    v.m_int = 0;
    v.m_bool = b;
    return v;
}

Value Value::date(AbsoluteTime seconds) noexcept
{
    Value v(seconds);
    v.m_type = Type::Date;
    return v;
}

Value Value::data(const QByteArray& bytes)
{
    Value v;
    v.m_type = Type::Data;
    v.m_box = new Box{{1}, bytes};
    return v;
}

// Copies and moves take a text's state as one word.
static_assert(sizeof(SharedString) == sizeof(std::int64_t));

void Value::retain() const noexcept
{
    if (m_type == Type::String) {
        // m_string already holds the copied word: a copy made in place and
        // never destroyed is the extra reference that word now stands for.
        alignas(SharedString) unsigned char reference[sizeof(SharedString)];
        new (reference) SharedString(m_string);
    } else if ((m_type == Type::Data || m_type == Type::Array || m_type == Type::Dictionary) && m_box) {
        m_box->refs.fetch_add(1, std::memory_order_relaxed);
    }
}

void Value::release() noexcept
{
    switch (m_type) {
    case Type::String:
        m_string.~SharedString();
        break;
    case Type::Data:
    case Type::Array:
    case Type::Dictionary:
        if (m_box->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete m_box;
        break;
    default:
        break;
    }
    m_type = Type::Null;
    m_int = 0;
}

Value& Value::operator=(const Value& other) noexcept
{
    if (this != &other) {
        Value copy(other);
        *this = std::move(copy);
    }
    return *this;
}

static double leadingNumber(std::string_view text)
{
    // Reads the number a text starts with, as a field's float reading does:
    // "12.5abc" is 12.5, "abc" is 0.
    std::string buffer(text.substr(0, 64));
    char* end = nullptr;
    const double d = std::strtod(buffer.c_str(), &end);
    return end == buffer.c_str() ? 0.0 : d;
}

bool Value::toBool() const
{
    switch (m_type) {
    case Type::Bool:
        return m_bool;
    case Type::Int:
        return m_int != 0;
    case Type::Double:
    case Type::Date:
        return m_double != 0.0;
    case Type::String: {
        const std::string_view v = m_string.view();
        if (v.empty())
            return false;
        const char c = v.front();
        return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
    }
    case Type::Object:
        return m_object != nullptr;
    default:
        return false;
    }
}

double Value::toDouble() const
{
    switch (m_type) {
    case Type::Bool:
        return m_bool ? 1.0 : 0.0;
    case Type::Int:
        return static_cast<double>(m_int);
    case Type::Double:
    case Type::Date:
        return m_double;
    case Type::String:
        return leadingNumber(m_string.view());
    default:
        return 0.0;
    }
}

std::int64_t Value::toInt() const
{
    switch (m_type) {
    case Type::Int:
        return m_int;
    case Type::Bool:
        return m_bool ? 1 : 0;
    default:
        return static_cast<std::int64_t>(toDouble());
    }
}

QString Value::toString() const
{
    switch (m_type) {
    case Type::String:
        return m_string.toQString();
    case Type::Int:
        return QString::number(m_int);
    case Type::Double:
        return QString::number(m_double, 'g', 17);
    case Type::Bool:
        return m_bool ? QStringLiteral("1") : QStringLiteral("0");
    case Type::Date:
        return QString::number(m_double, 'g', 17);
    default:
        return {};
    }
}

const SharedString& Value::string() const
{
    static const SharedString none;
    return m_type == Type::String ? m_string : none;
}

QByteArray Value::toByteArray() const
{
    if (m_type == Type::Data)
        return std::get<QByteArray>(m_box->content);
    if (m_type == Type::String)
        return QByteArray(m_string.data(), static_cast<qsizetype>(m_string.size()));
    return {};
}

const ValueArray& Value::array() const
{
    static const ValueArray none;
    return m_type == Type::Array ? std::get<ValueArray>(m_box->content) : none;
}

const ValueDictionary& Value::dictionary() const
{
    static const ValueDictionary none;
    return m_type == Type::Dictionary ? std::get<ValueDictionary>(m_box->content) : none;
}

bool operator==(const Value& a, const Value& b)
{
    using T = Value::Type;
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    if (a.m_type == T::String || b.m_type == T::String)
        return a.m_type == b.m_type && a.m_string == b.m_string;
    if (a.isNumeric() && b.isNumeric())
        return a.toDouble() == b.toDouble();
    if (a.m_type != b.m_type)
        return (a.m_type == T::Date || a.isNumeric()) && (b.m_type == T::Date || b.isNumeric()) && a.toDouble() == b.toDouble();
    switch (a.m_type) {
    case T::Date:
        return a.m_double == b.m_double;
    case T::Data:
    case T::Array:
    case T::Dictionary:
        return a.m_box == b.m_box || a.m_box->content == b.m_box->content;
    case T::Object:
        return a.m_object == b.m_object;
    default:
        return false;
    }
}

QString Value::debugString() const
{
    switch (m_type) {
    case Type::Null:
        return QStringLiteral("nil");
    case Type::Bool:
        return m_bool ? QStringLiteral("YES") : QStringLiteral("NO");
    case Type::String:
        return QLatin1Char('"') + toString() + QLatin1Char('"');
    case Type::Date:
        return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(kReferenceDateOffset), Qt::UTC)
            .addMSecs(static_cast<qint64>(std::llround(m_double * 1000.0)))
            .toString(Qt::ISODateWithMs);
    case Type::Data:
        return QStringLiteral("<%1 bytes>").arg(toByteArray().size());
    case Type::Array: {
        QStringList parts;
        for (const Value& v : array())
            parts << v.debugString();
        return QLatin1Char('{') + parts.join(QStringLiteral(", ")) + QLatin1Char('}');
    }
    case Type::Dictionary: {
        QStringList parts;
        for (const auto& [k, v] : dictionary())
            parts << k + QStringLiteral(" = ") + v.debugString();
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    case Type::Object:
        return m_object ? QStringLiteral("<object>") : QStringLiteral("nil");
    default:
        return toString();
    }
}

} // namespace qf
