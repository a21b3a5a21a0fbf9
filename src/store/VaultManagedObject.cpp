#include "store/VaultManagedObject.h"

#include "store/RecordEnvironment.h"

namespace qf {

namespace {

struct VaultKeys {
    VaultKeys()
    {
        const EntityDescription& e = ManagedObjectModel::shared().vault();
        uniqueID = e.indexOfAttribute(u"vault_uniqueID");
        const int attributes = e.attributeCount();
        budgetedSavings = e.indexOfKey(u"vault_budgetTotalBudgetedSavings") - attributes;
        actualSavings = e.indexOfKey(u"vault_budgetTotalActualSavings") - attributes;
        budgetedSavingsText = e.indexOfKey(u"vault_budgetTotalBudgetedSavingsString") - attributes;
        actualSavingsText = e.indexOfKey(u"vault_budgetTotalActualSavingsString") - attributes;
    }
    int uniqueID, budgetedSavings, actualSavings, budgetedSavingsText, actualSavingsText;
};

const VaultKeys& keys()
{
    static const VaultKeys k;
    return k;
}

} // namespace

VaultManagedObject::VaultManagedObject(const EntityDescription& entity, ManagedObjectContext& context,
                                       std::int64_t primaryKey, const RecordEnvironment* environment)
    : ManagedObject(entity, context, primaryKey), m_environment(environment)
{
    Q_ASSERT(&entity == &ManagedObjectModel::shared().vault());
}

QStringList VaultManagedObject::keysDerivedFrom(QStringView key) const
{
    if (key == u"vault_budgetDateRange")
        return {QStringLiteral("vault_budgetTotalBudgetedSavingsString"),
                QStringLiteral("vault_budgetTotalActualSavingsString")};
    return {};
}

bool VaultManagedObject::readsAsStored(int attributeIndex) const
{
    return attributeIndex != keys().uniqueID;
}

Value VaultManagedObject::attributeValue(int attributeIndex) const
{
    const int id = keys().uniqueID;
    // A vault without an identifier gets one on first read, stored like any
    // change, so that every later read sees the same one.
    if (attributeIndex == id && primitiveValue(id).string().isEmpty() && m_environment)
        const_cast<VaultManagedObject*>(this)->setValue(id, Value(m_environment->createUniqueID()));
    return ManagedObject::attributeValue(attributeIndex);
}

Value VaultManagedObject::derivedValue(int derivedIndex) const
{
    const VaultKeys& k = keys();
    if (derivedIndex == k.budgetedSavings)
        return Value(static_cast<double>(savings(u"budget_limitAmountAdjusted")));
    if (derivedIndex == k.actualSavings)
        return Value(static_cast<double>(savings(u"budget_actualAmount")));
    if (derivedIndex == k.budgetedSavingsText)
        return savingsText(QStringLiteral("Budgeted Savings"), savings(u"budget_limitAmountAdjusted"));
    if (derivedIndex == k.actualSavingsText)
        return savingsText(QStringLiteral("Actual Savings"), savings(u"budget_actualAmount"));
    return {};
}

float VaultManagedObject::savings(QStringView lineKey) const
{
    if (!m_environment)
        return 0.0f;
    const Value id = value(keys().uniqueID);
    const auto sum = [&](const char* direction) {
        double total = 0;
        const auto lines = m_environment->fetch(QStringLiteral("BudgetEntity"),
                                                QStringLiteral("budget_vaultID == %@ AND budget_direction == %@"),
                                                {id, Value(direction)});
        for (const ManagedObject* line : lines)
            total += line->valueForKey(lineKey).toDouble();
        return static_cast<float>(total);
    };
    return sum("Incoming") - sum("Outgoing");
}

Value VaultManagedObject::savingsText(const QString& label, float amount) const
{
    if (!m_environment)
        return {};
    return Value(QStringLiteral("%1: %2").arg(m_environment->localized(label), m_environment->formatAmount(amount)));
}

} // namespace qf
