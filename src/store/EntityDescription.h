#pragma once

#include "common/KeyValueCoding.h"

#include <QString>
#include <vector>

namespace qf {

enum class AttributeType : std::uint8_t { String, Int16, Int32, Int64, Float, Double, Bool, Date, Binary };

// The type name used in the XML store form ("string", "float", "date", ...).
QString attributeTypeName(AttributeType type);
// Inverse of attributeTypeName(); false when the name is unknown.
bool attributeTypeFromName(QStringView name, AttributeType* type);

struct AttributeDescription {
    QString name;
    AttributeType type;
};

struct RelationshipDescription {
    QString name;
    QString destinationEntity;
    bool toMany;
};

// One entity of the model: its stored attributes and relationships, and the
// derived keys its record class adds. Key indexes are stable for the process:
// attributes first (0..attributeCount-1), then derived keys.
class EntityDescription final : public KeySchema {
public:
    EntityDescription(QString name, std::vector<AttributeDescription> attributes,
                      std::vector<RelationshipDescription> relationships, std::vector<QString> derivedKeys);

    const QString& name() const { return m_name; }
    // The entity name upper-cased, as the XML store's object type attribute.
    const QString& xmlTypeName() const { return m_xmlTypeName; }
    const std::vector<AttributeDescription>& attributes() const { return m_attributes; }
    const std::vector<RelationshipDescription>& relationships() const { return m_relationships; }
    const std::vector<QString>& derivedKeys() const { return m_derivedKeys; }
    int attributeCount() const { return static_cast<int>(m_attributes.size()); }

    int indexOfAttribute(QStringView name) const;
    // Case-insensitive match, for tolerant readers of older files.
    int indexOfAttributeIgnoringCase(QStringView name) const;
    int indexOfRelationship(QStringView name) const;
    // Attributes and derived keys: derived keys follow the attributes.
    int indexOfKey(QStringView key) const override;
    QString keyAtIndex(int index) const;

    // A value as the attribute stores it: floats are rounded to single
    // precision, booleans and integers normalised, texts kept as texts.
    Value coerce(int attributeIndex, const Value& value) const;

private:
    QString m_name;
    QString m_xmlTypeName;
    std::vector<AttributeDescription> m_attributes;
    std::vector<RelationshipDescription> m_relationships;
    std::vector<QString> m_derivedKeys;
};

// The six entities of the ledger, made once.
class ManagedObjectModel {
public:
    static const ManagedObjectModel& shared();

    const std::vector<const EntityDescription*>& entities() const { return m_entities; }
    const EntityDescription* entity(QStringView name) const;
    // Match by the XML store's upper-cased type name.
    const EntityDescription* entityForXmlType(QStringView typeName) const;

    const EntityDescription& trans() const { return *m_entities[0]; }
    const EntityDescription& vault() const { return *m_entities[1]; }
    const EntityDescription& attachment() const { return *m_entities[2]; }
    const EntityDescription& budget() const { return *m_entities[3]; }
    const EntityDescription& smart() const { return *m_entities[4]; }
    const EntityDescription& photo() const { return *m_entities[5]; }

    ManagedObjectModel(const ManagedObjectModel&) = delete;
    ManagedObjectModel& operator=(const ManagedObjectModel&) = delete;
    ~ManagedObjectModel();

private:
    ManagedObjectModel();
    std::vector<const EntityDescription*> m_entities;
};

} // namespace qf
