#include "store/ManagedObject.h"

#include "store/ManagedObjectContext.h"
#include "store/ManagedObjectInternal.h"

#include <algorithm>

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

} // namespace

ManagedObject::ManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey)
    : m_entity(entity),
      m_context(context),
      m_primaryKey(primaryKey),
      m_values(std::make_unique<Value[]>(static_cast<std::size_t>(entity.attributeCount())))
{
}

ManagedObject::~ManagedObject() = default;

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
    return m_values[attributeIndex];
}

void ManagedObject::setPrimitiveValue(int attributeIndex, Value value)
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return;
    m_values[attributeIndex] = m_entity.coerce(attributeIndex, value);
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
    Value& slot = m_values[attributeIndex];
    if (coerced == slot)
        return;
    m_context.objectWillChange(this);
    State& s = *m_state;
    if (s.inStore && !s.committedValue(attributeIndex))
        s.committed.emplace_back(attributeIndex, slot);
    if (registerUndo) {
        m_context.undoManager().registerUndo(
            [this, attributeIndex, old = slot] { writeValue(attributeIndex, old, true); });
    }
    slot = std::move(coerced);
    if (s.inStore)
        s.updated = true;
    didChangeValue(attributeIndex);
}

Value ManagedObject::committedValue(int attributeIndex) const
{
    if (attributeIndex < 0 || attributeIndex >= m_entity.attributeCount())
        return {};
    if (!m_state)
        return m_values[attributeIndex];
    if (!m_state->inStore)
        return {};
    const Value* committed = m_state->committedValue(attributeIndex);
    return committed ? *committed : m_values[attributeIndex];
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

Value ManagedObject::attributeValue(int attributeIndex) const { return m_values[attributeIndex]; }

bool ManagedObject::readsAsStored(int attributeIndex) const { return true; }

const Value* ManagedObject::storedValueForKeyIndex(int index) const
{
    if (index >= 0 && index < m_entity.attributeCount() && readsAsStored(index))
        return &m_values[index];
    return nullptr;
}

void ManagedObject::didChangeValue(int attributeIndex) {}

void ManagedObject::awakeFromLoad() {}

void ManagedObject::awakeFromInsert() {}

} // namespace qf
