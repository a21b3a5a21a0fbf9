#pragma once

#include "store/ManagedObject.h"

#include <memory>

namespace qf {

class RecordEnvironment;

// Record class of TransEntity: the derived keys of a transaction.
//
// trans_amount reads adjusted for an upcoming transfer bill in the selected
// account; trans_direction always follows the stored amount (its stored copy
// is rewritten whenever the amount is written or loaded); trans_photo reads as
// the photo's full path under the current data folder, null when the
// identifier or the stored file name is not one safe name. Formatted texts
// are cached per record until their stored key changes or the environment's
// format generation moves on.
class TransManagedObject final : public ManagedObject {
public:
    // The environment may be null (then the texts, status dates and photo
    // paths read as null); it must outlive the record.
    TransManagedObject(const EntityDescription& entity, ManagedObjectContext& context, std::int64_t primaryKey,
                       const RecordEnvironment* environment);
    ~TransManagedObject() override;

    QStringList keysDerivedFrom(QStringView key) const override;

    // The direction word for an amount: "Incoming", "Outgoing" or "" for 0 and nil.
    static const Value& directionForAmount(const Value& amount);

protected:
    Value attributeValue(int attributeIndex) const override;
    bool readsAsStored(int attributeIndex) const override;
    Value derivedValue(int derivedIndex) const override;
    void didChangeValue(int attributeIndex) override;
    void awakeFromLoad() override;
    void awakeFromInsert() override;

private:
    struct Texts;
    enum TextSlot { AmountText, ShortDateText, LongDateText };

    bool isUpcomingTransfer() const;
    Value adjustedAmount() const;
    Value formattedText(TextSlot slot) const;
    Value status() const;
    Value photoPath() const;
    void storeDirection();

    const RecordEnvironment* m_environment;
    mutable std::unique_ptr<Texts> m_texts; // made on the first read of a text
};

} // namespace qf
