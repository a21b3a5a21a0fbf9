#include "store/ManagedObject.h"

#include "store/ManagedObjectContext.h"
#include "store/ManagedObjectInternal.h"
#include "store/RecordArena.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace qf {

namespace {

const Value& nullValue()
{
    static const Value none;
    return none;
}

const std::vector<ManagedObject*>& noObjects()
{
    static const std::vector<ManagedObject*> none;
    return none;
}

// The slot of a value is the number of values before it: a population count.
// Spelled out, since the build does not assume the instruction for it.
inline int bitCount(std::uint32_t bits)
{
    bits = bits - ((bits >> 1) & 0x55555555u);
    bits = (bits & 0x33333333u) + ((bits >> 2) & 0x33333333u);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0Fu;
    return static_cast<int>((bits * 0x01010101u) >> 24);
}

constexpr int kMaxAttributes = 32; // bits of m_present

} // namespace

ManagedObject::ManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey)
    : m_entity(entity), m_context(context), m_primaryKey(primaryKey)
{
    Q_ASSERT(entity.attributeCount() <= kMaxAttributes);
}

ManagedObject::~ManagedObject() { destroyValues(); }

int ManagedObject::valueCount() const { return bitCount(m_present); }

int ManagedObject::slotOf(std::uint32_t bit) const { return bitCount(m_present & (bit - 1)); }

void ManagedObject::destroyValues()
{
    const int count = valueCount();
    for (int i = 0; i < count; ++i)
        m_values[i].~Value();
    if (m_valuesOnHeap)
        std::free(m_values);
    m_values = nullptr;
    m_present = 0;
    m_capacity = 0;
    m_valuesOnHeap = false;
}

void ManagedObject::adoptLoadedValues(std::vector<Value>& values, RecordArena& arena)
{
    Q_ASSERT(m_present == 0);
    const int attributes = std::min<int>(m_entity.attributeCount(), static_cast<int>(values.size()));
    std::uint32_t present = 0;
    int count = 0;
    for (int i = 0; i < attributes; ++i) {
        if (!values[i].isNull()) {
            present |= 1u << i;
            ++count;
        }
    }
    m_values = static_cast<Value*>(arena.allocate(sizeof(Value) * static_cast<std::size_t>(count)));
    m_capacity = static_cast<std::uint8_t>(count);
    int slot = 0;
    for (int i = 0; i < attributes; ++i) {
        if (present & (1u << i))
            new (&m_values[slot++]) Value(std::move(values[i]));
    }
    m_present = present;
}

void ManagedObject::growValues(int needed)
{
    // Room for a few more: records being filled in get their values one by one.
    const int capacity = std::min(needed + needed / 2 + 1, m_entity.attributeCount());
    auto* grown = static_cast<Value*>(std::malloc(sizeof(Value) * static_cast<std::size_t>(capacity)));
    if (!grown)
        throw std::bad_alloc();
    const int count = valueCount();
    for (int i = 0; i < count; ++i) {
        new (&grown[i]) Value(std::move(m_values[i]));
        m_values[i].~Value();
    }
    if (m_valuesOnHeap)
        std::free(m_values);
    m_values = grown;
    m_capacity = static_cast<std::uint8_t>(capacity);
    m_valuesOnHeap = true;
}

void ManagedObject::storeValue(int attributeIndex, Value value)
{
    const std::uint32_t bit = 1u << attributeIndex;
    const int slot = slotOf(bit);
    const int count = valueCount();
    if (value.isNull()) {
        if (!(m_present & bit))
            return;
        for (int i = slot; i + 1 < count; ++i)
            m_values[i] = std::move(m_values[i + 1]);
        m_values[count - 1].~Value();
        m_present &= ~bit;
        return;
    }
    if (m_present & bit) {
        m_values[slot] = std::move(value);
        return;
    }
    if (count == m_capacity)
        growValues(count + 1);
    new (&m_values[count]) Value();
    for (int i = count; i > slot; --i)
        m_values[i] = std::move(m_values[i - 1]);
    m_values[slot] = std::move(value);
    m_present |= bit;
}

ManagedObject::State& ManagedObject::state()
{
    if (!m_state)
        m_state = std::make_unique<State>();
    return *m_state;
}

QString ManagedObject::objectURI() const
{
    return QStringLiteral("x-quillfen://%1/%2/p%3").arg(m_context.storeUUID(), m_entity.name()).arg(m_primaryKey);
}

bool ManagedObject::isInserted() const { return m_state && m_state->present && !m_state->inStore; }

bool ManagedObject::isUpdated() const { return m_state && m_state->present && m_state->inStore && m_state->updated; }

bool ManagedObject::isDeleted() const { return m_state && !m_state->present; }

const Value& ManagedObject::primitiveValue(int attributeIndex) const
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return nullValue();
    const std::uint32_t bit = 1u << attributeIndex;
    return (m_present & bit) ? m_values[slotOf(bit)] : nullValue();
}

void ManagedObject::setPrimitiveValue(int attributeIndex, Value value)
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return;
    storeValue(attributeIndex, m_entity.coerce(attributeIndex, value));
}

Value ManagedObject::value(int keyIndex) const
{
    const int attributes = m_entity.attributeCount();
    if (keyIndex >= 0 && keyIndex < attributes)
        return attributeValue(keyIndex);
    if (keyIndex >= attributes && keyIndex < attributes + static_cast<int>(m_entity.derivedKeys().size()))
        return derivedValue(keyIndex - attributes);
    return {};
}

Value ManagedObject::valueForKey(QStringView key) const { return value(m_entity.indexOfKey(key)); }

void ManagedObject::setValue(int attributeIndex, const Value& value) { writeValue(attributeIndex, value, true); }

bool ManagedObject::setValueForKey(QStringView key, const Value& value)
{
    const int index = m_entity.indexOfAttribute(key);
    if (index < 0)
        return false;
    setValue(index, value);
    return true;
}

void ManagedObject::setDependentValue(int attributeIndex, const Value& value)
{
    writeValue(attributeIndex, value, false);
}

void ManagedObject::writeValue(int attributeIndex, Value value, bool registerUndo)
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return;
    Value coerced = m_entity.coerce(attributeIndex, value);
    const Value& current = primitiveValue(attributeIndex);
    if (coerced == current)
        return;
    m_context.objectWillChange(this);
    State& s = *m_state;
    const bool firstSinceSave = s.inStore && !s.committedValue(attributeIndex);
    if (firstSinceSave)
        s.committed.emplace_back(attributeIndex, current);
    if (registerUndo) {
        m_context.undoManager().registerUndo([this, attributeIndex, old = current, firstSinceSave,
                                              saves = m_context.saveCount()] {
            // Undoing the first change of a key since the last save returns to
            // what the file holds now: another process may have saved a
            // newer value meanwhile, which old predates.
            const Value* stored = firstSinceSave && saves == m_context.saveCount() && m_state
                                      ? m_state->committedValue(attributeIndex)
                                      : nullptr;
            writeValue(attributeIndex, stored ? *stored : old, true);
        });
    }
    storeValue(attributeIndex, std::move(coerced));
    if (s.inStore)
        s.updated = true;
    didChangeValue(attributeIndex);
}

Value ManagedObject::committedValue(int attributeIndex) const
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return {};
    if (!m_state)
        return primitiveValue(attributeIndex);
    if (!m_state->inStore)
        return {};
    const Value* committed = m_state->committedValue(attributeIndex);
    return committed ? *committed : primitiveValue(attributeIndex);
}

ValueDictionary ManagedObject::committedValuesForKeys(const QStringList& keys) const
{
    ValueDictionary result;
    if (m_state && !m_state->inStore)
        return result;
    if (keys.isEmpty()) {
        for (int i = 0; i < m_entity.attributeCount(); ++i)
            result.emplace(m_entity.attributes()[i].name, committedValue(i));
        return result;
    }
    for (const QString& key : keys) {
        const int index = m_entity.indexOfAttribute(key);
        if (index >= 0)
            result.emplace(key, committedValue(index));
    }
    return result;
}

const std::vector<ManagedObject*>& ManagedObject::relatedObjects(int relationshipIndex) const
{
    if (!m_state || relationshipIndex < 0 || relationshipIndex >= static_cast<int>(m_state->relationships.size()))
        return noObjects();
    return m_state->relationships[relationshipIndex];
}

void ManagedObject::setRelatedObjects(int relationshipIndex, std::vector<ManagedObject*> objects)
{
    const int count = static_cast<int>(m_entity.relationships().size());
    if (relationshipIndex < 0 || relationshipIndex >= count || relatedObjects(relationshipIndex) == objects)
        return;
    m_context.objectWillChange(this);
    State& s = *m_state;
    s.relationships.resize(count);
    if (s.inStore && !s.committedRelationships)
        s.committedRelationships = std::make_unique<State::Relationships>(s.relationships);
    m_context.undoManager().registerUndo(
        [this, relationshipIndex, old = s.relationships[relationshipIndex]] { setRelatedObjects(relationshipIndex, old); });
    s.relationships[relationshipIndex] = std::move(objects);
    if (s.inStore)
        s.updated = true;
}

void ManagedObject::addRelatedObject(int relationshipIndex, ManagedObject* object)
{
    std::vector<ManagedObject*> related = relatedObjects(relationshipIndex);
    if (!object || std::find(related.begin(), related.end(), object) != related.end())
        return;
    related.push_back(object);
    setRelatedObjects(relationshipIndex, std::move(related));
}

void ManagedObject::removeRelatedObject(int relationshipIndex, ManagedObject* object)
{
    std::vector<ManagedObject*> related = relatedObjects(relationshipIndex);
    const auto it = std::find(related.begin(), related.end(), object);
    if (it == related.end())
        return;
    related.erase(it);
    setRelatedObjects(relationshipIndex, std::move(related));
}

QStringList ManagedObject::keysDerivedFrom(QStringView key) const { return {}; }

Value ManagedObject::derivedValue(int derivedIndex) const { return {}; }

Value ManagedObject::attributeValue(int attributeIndex) const { return primitiveValue(attributeIndex); }

bool ManagedObject::readsAsStored(int attributeIndex) const { return true; }

const Value* ManagedObject::storedValueForKeyIndex(int index) const
{
    if (index >= 0 && index < m_entity.attributeCount() && readsAsStored(index))
        return &primitiveValue(index);
    return nullptr;
}

void ManagedObject::didChangeValue(int attributeIndex) {}

void ManagedObject::awakeFromLoad() {}

void ManagedObject::awakeFromInsert() {}

} // namespace qf
