#pragma once

#include "common/Value.h"

#include <QStringView>

namespace qf {

// Maps key names to small integers for one class of objects (an entity), so
// that code evaluating the same key over many objects looks the name up once.
class KeySchema {
public:
    virtual ~KeySchema() = default;
    // Index of the key, or -1 when objects of this schema do not know it.
    virtual int indexOfKey(QStringView key) const = 0;
};

// Anything whose values can be read by key name: records, import rows, rows
// of a bill list. Predicates, sorts and exports read through this.
class KeyValueCoding {
public:
    virtual ~KeyValueCoding() = default;

    // The value of a key; null when the key is unknown or has no value.
    virtual Value valueForKey(QStringView key) const = 0;

    // Fast path: objects sharing a schema answer by index. Objects without a
    // schema return null here and are read through valueForKey().
    virtual const KeySchema* keySchema() const { return nullptr; }
    virtual Value valueForKeyIndex(int index) const
    {
        (void)index;
        return {};
    }
    // Fastest path, for readers that only look: the stored value itself,
    // valid until the object next changes. Null when the value is computed
    // (a derived key) or not stored; readers then use valueForKeyIndex().
    virtual const Value* storedValueForKeyIndex(int index) const
    {
        (void)index;
        return nullptr;
    }
};

} // namespace qf
