#pragma once

#include "store/ManagedObject.h"

namespace qf {

class RecordEnvironment;

// Record class of VaultEntity: the lazily made identifier and the savings of
// a budget vault over its budget lines.
class VaultManagedObject final : public ManagedObject {
public:
    // The environment may be null (then no identifier is made and the savings
    // texts read as null); it must outlive the record.
    VaultManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey,
                       const RecordEnvironment* environment);

    QStringList keysDerivedFrom(QStringView key) const override;

protected:
    Value attributeValue(int attributeIndex) const override;
    bool readsAsStored(int attributeIndex) const override;
    Value derivedValue(int derivedIndex) const override;

private:
    // Incoming lines' sum of a budget line key minus the outgoing lines' sum.
    float savings(QStringView lineKey) const;
    Value savingsText(const QString& label, float amount) const;

    const RecordEnvironment* m_environment;
};

} // namespace qf
