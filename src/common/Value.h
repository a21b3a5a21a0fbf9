#pragma once

#include "common/SharedString.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <map>
#include <vector>

namespace qf {

class KeyValueCoding;
class Value;

using ValueArray = std::vector<Value>;
using ValueDictionary = std::map<QString, Value>;

// Seconds since 2001-01-01 00:00:00 UTC, the reference instant of every stored date.
using AbsoluteTime = double;

// One value of a record key, a predicate operand or a row in transit.
//
// Sixteen bytes: a type tag and one word. Texts are shared UTF-8 strings;
// arrays, dictionaries and binary data live in reference-counted boxes, so
// copying a Value never copies its content. An Object value borrows a record
// (or any KeyValueCoding) that someone else owns.
class Value {
public:
    enum class Type : std::uint8_t { Null, Bool, Int, Double, Date, String, Data, Array, Dictionary, Object };

    Value() noexcept : m_type(Type::Null) { m_int = 0; }
    Value(std::nullptr_t) noexcept : Value() {}
    Value(bool) = delete; // use Value::boolean(): too easy to hit by accident from pointers
    Value(int v) noexcept : m_type(Type::Int) { m_int = v; }
    Value(std::int64_t v) noexcept : m_type(Type::Int) { m_int = v; }
    Value(double v) noexcept : m_type(Type::Double) { m_double = v; }
    Value(SharedString s) noexcept;
    Value(const QString& s);
    Value(const char* utf8);
    Value(ValueArray array);
    Value(ValueDictionary dictionary);
    Value(const KeyValueCoding* object) noexcept;

    static Value boolean(bool b) noexcept;
    static Value date(AbsoluteTime seconds) noexcept;
    static Value data(const QByteArray& bytes);

    Value(const Value& other) noexcept : m_type(other.m_type)
    {
        m_int = other.m_int;
        if (ownsContent())
            retain();
    }
    // Every value is one word that moves by copying: an owned text or box
    // passes to the new value, and the old one is left null. Inline, as a
    // million-record load moves tens of millions of values.
    Value(Value&& other) noexcept : m_type(other.m_type)
    {
        m_int = other.m_int;
        other.m_type = Type::Null;
        other.m_int = 0;
    }
    Value& operator=(const Value& other) noexcept;
    Value& operator=(Value&& other) noexcept
    {
        if (this != &other) {
            if (ownsContent())
                release();
            m_type = other.m_type;
            m_int = other.m_int;
            other.m_type = Type::Null;
            other.m_int = 0;
        }
        return *this;
    }
    ~Value()
    {
        if (ownsContent())
            release();
    }

    Type type() const { return m_type; }
    bool isNull() const { return m_type == Type::Null || (m_type == Type::Object && !m_object); }
    bool isNumeric() const { return m_type == Type::Int || m_type == Type::Double || m_type == Type::Bool; }
    bool isString() const { return m_type == Type::String; }

    // Conversions are lenient in the way records are read: a missing value is
    // 0, NO or the null text; a text reads as the number it starts with.
    bool toBool() const;
    double toDouble() const;
    std::int64_t toInt() const;
    AbsoluteTime toDate() const { return toDouble(); }
    QString toString() const;
    const SharedString& string() const; // the shared text; null for non-text values
    QByteArray toByteArray() const;
    const ValueArray& array() const;          // empty for non-arrays
    const ValueDictionary& dictionary() const; // empty for non-dictionaries
    const KeyValueCoding* object() const { return m_type == Type::Object ? m_object : nullptr; }

    // Equality that change tracking and tests rely on: same type and content;
    // numbers of different types compare by value.
    friend bool operator==(const Value& a, const Value& b);
    friend bool operator!=(const Value& a, const Value& b) { return !(a == b); }

    // Human-readable form for debugging and test messages.
    QString debugString() const;

private:
    struct Box;
    // Texts, data, arrays and dictionaries hold a reference; the rest are plain words.
    bool ownsContent() const { return m_type >= Type::String && m_type <= Type::Dictionary; }
    void retain() const noexcept;
    void release() noexcept;

    Type m_type;
    union {
        std::int64_t m_int;
        double m_double;
        bool m_bool;
        SharedString m_string;
        Box* m_box;
        const KeyValueCoding* m_object;
    };
};

} // namespace qf
