#pragma once

#include "common/KeyValueCoding.h"

namespace qf {

class ManagedObject;

// One listed bill as the bill list filters and sorts it: title, amount,
// date, keywords and billType read through to the transaction's own keys.
class BillRow : public KeyValueCoding {
public:
    explicit BillRow(ManagedObject* bill) : m_bill(bill) {}

    ManagedObject* bill() const { return m_bill; }
    Value valueForKey(QStringView key) const override;

private:
    ManagedObject* m_bill;
};

} // namespace qf
