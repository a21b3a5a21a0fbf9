#pragma once

#include "common/KeyValueCoding.h"
#include "common/Result.h"
#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <vector>

namespace qf {

// Key-value coding by path on any value: a dictionary answers its entry, a
// KeyValueCoding object its key, an array maps the key over its elements
// (nulls kept), anything else answers null. The collection operators @count,
// @sum, @avg, @min and @max apply to the array in hand and to the rest of the
// path after them: valueForKeyPath(records, u"@sum.trans_amount").
// @count of a non-array is null; @sum of nothing is 0; @avg, @min and @max of
// nothing are null. Sums of integers stay integers, otherwise doubles.
Value valueForKeyPath(const Value& object, QStringView keyPath);

// A parsed key path that remembers, per key schema, the index of its first
// key, so that reading it from a million records of one entity never looks
// the key up by name. The cache is not synchronised: evaluate on one thread.
class KeyPath {
public:
    enum class Operator : std::uint8_t { None, Count, Sum, Avg, Min, Max };
    struct Segment {
        QString key;               // empty for an operator
        Operator op = Operator::None;
        friend bool operator==(const Segment&, const Segment&) = default;
    };

    KeyPath() = default;
    // Keys are runs of anything but '.'; operators are the five names above.
    // An empty path, an empty key or an unknown "@name" is an error whose
    // position is an offset into the text.
    static Result<KeyPath> parse(QStringView text);
    explicit KeyPath(std::vector<Segment> segments);

    const std::vector<Segment>& segments() const { return m_segments; }
    bool isEmpty() const { return m_segments.empty(); }
    // The first plain key: the one a record's schema must know; null when none.
    QString headKey() const;
    // Dotted text form, operators as "@sum".
    QString toString() const;

    Value evaluate(const Value& object) const;
    // The same read from a record, without wrapping it in a Value: the hot
    // path of a predicate evaluated over every record of the store.
    Value evaluate(const KeyValueCoding& record) const
    {
        if (m_segments.size() == 1 && m_segments.front().op == Operator::None) {
            const KeySchema* schema = record.keySchema();
            if (schema && schema == m_cachedSchema)
                return m_cachedIndex >= 0 ? record.valueForKeyIndex(m_cachedIndex) : Value();
            return firstKeyOf(record);
        }
        return evaluate(Value(&record));
    }
    // The record's stored value for a single-key path, without copying it;
    // null when the path is longer, the key unknown or the value computed.
    const Value* storedValue(const KeyValueCoding& record) const
    {
        if (m_segments.size() != 1 || m_segments.front().op != Operator::None)
            return nullptr;
        const KeySchema* schema = record.keySchema();
        if (!schema)
            return nullptr;
        if (schema != m_cachedSchema) {
            m_cachedSchema = schema;
            m_cachedIndex = schema->indexOfKey(m_segments.front().key);
        }
        return m_cachedIndex >= 0 ? record.storedValueForKeyIndex(m_cachedIndex) : nullptr;
    }

    friend bool operator==(const KeyPath& a, const KeyPath& b) { return a.m_segments == b.m_segments; }

    static QString operatorName(Operator op);
    // The operator named by "@count" and so on (without the '@'), if any.
    static bool operatorFromName(QStringView name, Operator* op);

private:
    Value firstKeyOf(const KeyValueCoding& target) const;

    std::vector<Segment> m_segments;
    mutable const KeySchema* m_cachedSchema = nullptr;
    mutable int m_cachedIndex = -1;
};

} // namespace qf
