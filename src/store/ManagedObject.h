#pragma once

#include "common/KeyValueCoding.h"
#include "store/EntityDescription.h"

#include <QStringList>
#include <cstdint>
#include <memory>
#include <vector>

namespace qf {

class ManagedObjectContext;
class RecordArena;

// One record of the store. Owned by its context; pointers stay valid for the
// context's lifetime, also after the record is deleted (undo may bring it back).
//
// Stored keys are read and written by attribute index or by name; derived keys
// (the record classes' own) are computed by derivedValue(). Every tracked
// write goes through the context: it records undo, marks the record updated
// and is announced at the next processPendingChanges().
class ManagedObject : public KeyValueCoding {
public:
    ManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey);
    ~ManagedObject() override;
    ManagedObject(const ManagedObject&) = delete;
    ManagedObject& operator=(const ManagedObject&) = delete;

    const EntityDescription& entity() const { return m_entity; }
    ManagedObjectContext& managedObjectContext() const { return m_context; }
    std::int64_t primaryKey() const { return m_primaryKey; }
    // Stable text address of the record: "x-quillfen://<store UUID>/<Entity>/p<key>".
    QString objectURI() const;

    bool isInserted() const;
    bool isUpdated() const;
    bool isDeleted() const;
    bool hasChanges() const { return isInserted() || isUpdated() || isDeleted(); }

    // Untracked access to stored attributes: for loading and for record
    // classes keeping their own caches. No undo, no change announcement.
    // The reference is good until the record's next write: a record keeps
    // only its non-null values, packed, so a write may move the others. A
    // null value is a shared null Value.
    const Value& primitiveValue(int attributeIndex) const;
    void setPrimitiveValue(int attributeIndex, Value value);

    // Tracked access. Key index = attribute index, or a derived key's index
    // (after the attributes) as EntityDescription::indexOfKey() gives it.
    Value value(int keyIndex) const;
    Value valueForKey(QStringView key) const override;
    void setValue(int attributeIndex, const Value& value);
    // False, and nothing written, when the key is not a stored attribute.
    bool setValueForKey(QStringView key, const Value& value);

    // The values as of the last save (or load); the current ones for a record
    // never changed. An empty list means every attribute. A record inserted
    // since the last save has no committed values: null, and an empty dictionary.
    Value committedValue(int attributeIndex) const;
    ValueDictionary committedValuesForKeys(const QStringList& keys = {}) const;

    // To-many relationships, in insertion order.
    const std::vector<ManagedObject*>& relatedObjects(int relationshipIndex) const;
    void setRelatedObjects(int relationshipIndex, std::vector<ManagedObject*> objects);
    void addRelatedObject(int relationshipIndex, ManagedObject* object);
    void removeRelatedObject(int relationshipIndex, ManagedObject* object);

    const KeySchema* keySchema() const override { return &m_entity; }
    Value valueForKeyIndex(int index) const override { return value(index); }
    // For a stored attribute without a value: a shared null Value, not null.
    const Value* storedValueForKeyIndex(int index) const override;

    // Keys whose values follow from the given stored key, so that whoever
    // shows them refreshes them when it changes. Empty for most keys.
    virtual QStringList keysDerivedFrom(QStringView key) const;

protected:
    // Derived keys: index counts from 0 within the entity's derived keys.
    virtual Value derivedValue(int derivedIndex) const;
    // Reading of a stored attribute through value(); record classes override
    // it where a stored key reads differently from what is stored.
    virtual Value attributeValue(int attributeIndex) const;
    // False for the attributes attributeValue() computes, so that readers
    // never see the raw stored value of those.
    virtual bool readsAsStored(int attributeIndex) const;
    // Called after a tracked write of a stored attribute (also by undo and
    // rollback), so that record classes can drop caches of the keys depending on it.
    virtual void didChangeValue(int attributeIndex);
    // Called once the record's stored values (and relationships, if it has
    // any) are in place after a load, before the load returns, and right
    // after a new record is inserted. Other records may still be loading.
    virtual void awakeFromLoad();
    virtual void awakeFromInsert();
    // A tracked write that follows from another tracked write (a stored copy
    // of a derived value): no undo step of its own, since undoing the write it
    // follows from writes it again.
    void setDependentValue(int attributeIndex, const Value& value);

private:
    friend class ManagedObjectContext;
    struct State;
    State& state();
    void writeValue(int attributeIndex, Value value, bool registerUndo);
    // Stores an already coerced value; a null one removes the attribute's value.
    void storeValue(int attributeIndex, Value value);
    // Takes the non-null values of a record just made by a load (indexed
    // like the attributes), in space from the context's arena. The values
    // taken are left null.
    void adoptLoadedValues(std::vector<Value>& values, RecordArena& arena);
    void growValues(int needed);
    void destroyValues();
    int valueCount() const;
    int slotOf(std::uint32_t bit) const;

    const EntityDescription& m_entity;
    ManagedObjectContext& m_context;
    std::int64_t m_primaryKey;
    // Only the non-null values, in attribute order: attribute i has one when
    // bit i of m_present is set, at the slot counting the set bits below it.
    Value* m_values = nullptr;
    std::unique_ptr<State> m_state; // committed values, relationships, flags: made on demand
    std::uint32_t m_present = 0;
    std::uint8_t m_capacity = 0;
    bool m_valuesOnHeap = false; // else in the context's arena, or none
};

} // namespace qf
