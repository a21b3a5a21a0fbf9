#include "store/EntityDescription.h"

#include <cmath>

namespace qf {

namespace {

struct TypeName {
    AttributeType type;
    const char* name;
};

constexpr TypeName kTypeNames[] = {
    {AttributeType::String, "string"}, {AttributeType::Int16, "int16"}, {AttributeType::Int32, "int32"},
    {AttributeType::Int64, "int64"},   {AttributeType::Float, "float"}, {AttributeType::Double, "double"},
    {AttributeType::Bool, "bool"},     {AttributeType::Date, "date"},   {AttributeType::Binary, "binary"},
};

} // namespace

QString attributeTypeName(AttributeType type)
{
    for (const TypeName& t : kTypeNames) {
        if (t.type == type)
            return QString::fromLatin1(t.name);
    }
    return {};
}

bool attributeTypeFromName(QStringView name, AttributeType* type)
{
    for (const TypeName& t : kTypeNames) {
        if (name.compare(QLatin1String(t.name), Qt::CaseInsensitive) == 0) {
            *type = t.type;
            return true;
        }
    }
    return false;
}

EntityDescription::EntityDescription(QString name, std::vector<AttributeDescription> attributes,
                                     std::vector<RelationshipDescription> relationships,
                                     std::vector<QString> derivedKeys)
    : m_name(std::move(name)),
      m_xmlTypeName(m_name.toUpper()),
      m_attributes(std::move(attributes)),
      m_relationships(std::move(relationships)),
      m_derivedKeys(std::move(derivedKeys))
{
}

int EntityDescription::indexOfAttribute(QStringView name) const
{
    for (int i = 0; i < attributeCount(); ++i) {
        if (m_attributes[i].name == name)
            return i;
    }
    return -1;
}

int EntityDescription::indexOfAttributeIgnoringCase(QStringView name) const
{
    for (int i = 0; i < attributeCount(); ++i) {
        if (name.compare(m_attributes[i].name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

int EntityDescription::indexOfRelationship(QStringView name) const
{
    for (int i = 0; i < static_cast<int>(m_relationships.size()); ++i) {
        if (m_relationships[i].name == name)
            return i;
    }
    return -1;
}

int EntityDescription::indexOfKey(QStringView key) const
{
    const int attribute = indexOfAttribute(key);
    if (attribute >= 0)
        return attribute;
    for (int i = 0; i < static_cast<int>(m_derivedKeys.size()); ++i) {
        if (m_derivedKeys[i] == key)
            return attributeCount() + i;
    }
    return -1;
}

QString EntityDescription::keyAtIndex(int index) const
{
    if (index >= 0 && index < attributeCount())
        return m_attributes[index].name;
    index -= attributeCount();
    if (index >= 0 && index < static_cast<int>(m_derivedKeys.size()))
        return m_derivedKeys[index];
    return {};
}

Value EntityDescription::coerce(int attributeIndex, const Value& value) const
{
    if (value.isNull() || attributeIndex < 0 || attributeIndex >= attributeCount())
        return value.isNull() ? Value() : value;
    switch (m_attributes[attributeIndex].type) {
    case AttributeType::String:
        return value.isString() ? value : Value(value.toString());
    case AttributeType::Int16:
    case AttributeType::Int32:
    case AttributeType::Int64:
        return Value(value.toInt());
    case AttributeType::Float:
        return Value(static_cast<double>(static_cast<float>(value.toDouble())));
    case AttributeType::Double:
        return Value(value.toDouble());
    case AttributeType::Bool:
        return Value::boolean(value.toBool());
    case AttributeType::Date:
        return Value::date(value.toDouble());
    case AttributeType::Binary:
        return value.type() == Value::Type::Data ? value : Value::data(value.toByteArray());
    }
    return value;
}

static AttributeDescription attr(const char* name, AttributeType type)
{
    return {QString::fromLatin1(name), type};
}

ManagedObjectModel::ManagedObjectModel()
{
    using T = AttributeType;
    // Index 0..5 are fixed: trans(), vault(), ... rely on this order.
    m_entities.push_back(new EntityDescription(
        QStringLiteral("TransEntity"),
        {attr("trans_uniqueID", T::String),         attr("trans_title", T::String),
         attr("trans_amount", T::Float),            attr("trans_direction", T::String),
         attr("trans_date", T::Date),               attr("trans_dateModified", T::Date),
         attr("trans_from", T::String),             attr("trans_to", T::String),
         attr("trans_keywords", T::String),         attr("trans_notes", T::String),
         attr("trans_isPending", T::Bool),          attr("trans_isUpcoming", T::Bool),
         attr("trans_accountID", T::String),        attr("trans_listIDs", T::String),
         attr("trans_budgetID", T::String),         attr("trans_billType", T::String),
         attr("trans_billFromAccountID", T::String), attr("trans_billToAccountID", T::String),
         attr("trans_pendingREFID", T::String),     attr("trans_paidREFID", T::String),
         attr("trans_reoccurrence", T::String),     attr("trans_setiCalEvent", T::Bool),
         attr("trans_photo", T::String),            attr("trans_photos", T::Binary),
         attr("trans_QIFUniqueID", T::String),      attr("trans_isInitalAccountAmount", T::Bool)},
        {},
        {QStringLiteral("trans_amountStringValue"), QStringLiteral("trans_dateShortStringValue"),
         QStringLiteral("trans_dateLongStringValue"), QStringLiteral("trans_status")}));
    m_entities.push_back(new EntityDescription(
        QStringLiteral("VaultEntity"),
        {attr("vault_uniqueID", T::String),          attr("vault_title", T::String),
         attr("vault_type", T::String),              attr("vault_dateAdded", T::Date),
         attr("vault_viewBy", T::String),            attr("vault_directionFilter", T::String),
         attr("vault_typeFilter", T::String),        attr("vault_dateRangeType", T::String),
         attr("vault_dateRangeFrom", T::Date),       attr("vault_dateRangeTo", T::Date),
         attr("vault_transSort", T::String),         attr("vault_tabSelected", T::String),
         attr("vault_accountType", T::String),       attr("vault_accountBankName", T::String),
         attr("vault_accountNumber", T::String),     attr("vault_accountURL", T::String),
         attr("vault_accountInitialAmount", T::Float), attr("vault_shouldPublish", T::Bool),
         attr("vault_smartCondition", T::String),    attr("vault_smartPredicateString", T::String),
         attr("vault_budgetLimit", T::Float),        attr("vault_budgetDateRange", T::String),
         attr("vault_iPodPath", T::String),          attr("vault_iPodLastSyncDate", T::Date),
         attr("vault_iPodAutomaticallySync", T::Bool)},
        {{QStringLiteral("vault_smartObjects"), QStringLiteral("SmartEntity"), true}},
        {QStringLiteral("vault_budgetTotalBudgetedSavings"), QStringLiteral("vault_budgetTotalActualSavings"),
         QStringLiteral("vault_budgetTotalBudgetedSavingsString"),
         QStringLiteral("vault_budgetTotalActualSavingsString")}));
    m_entities.push_back(new EntityDescription(
        QStringLiteral("AttachmentEntity"),
        {attr("attachment_uniqueID", T::String), attr("attachment_title", T::String),
         attr("attachment_path", T::String), attr("attachment_dateAdded", T::Date),
         attr("attachment_transParentID", T::String)},
        {}, {}));
    m_entities.push_back(new EntityDescription(
        QStringLiteral("BudgetEntity"),
        {attr("budget_uniqueID", T::String), attr("budget_vaultID", T::String),
         attr("budget_direction", T::String), attr("budget_tags", T::String),
         attr("budget_limitAmount", T::Float), attr("budget_dateRange", T::String)},
        {}, {QStringLiteral("budget_limitAmountAdjusted"), QStringLiteral("budget_actualAmount")}));
    m_entities.push_back(new EntityDescription(
        QStringLiteral("SmartEntity"),
        {attr("smart_uniqueID", T::String), attr("smart_key", T::String), attr("smart_operand", T::String),
         attr("smart_stringValue", T::String), attr("smart_date", T::Date),
         attr("smart_dateFirstValue", T::Date), attr("smart_dateSecondValue", T::Date),
         attr("smart_amountFirstValue", T::Float), attr("smart_amountSecondValue", T::Float),
         attr("smart_isMultiValued", T::Bool)},
        {}, {}));
    m_entities.push_back(new EntityDescription(
        QStringLiteral("PhotoEntity"),
        {attr("photo_uniqueID", T::String), attr("photo_path", T::String), attr("photo_dateAdded", T::Date)}, {},
        {}));
}

ManagedObjectModel::~ManagedObjectModel()
{
    for (const EntityDescription* e : m_entities)
        delete e;
}

const ManagedObjectModel& ManagedObjectModel::shared()
{
    static const ManagedObjectModel model;
    return model;
}

const EntityDescription* ManagedObjectModel::entity(QStringView name) const
{
    for (const EntityDescription* e : m_entities) {
        if (e->name() == name)
            return e;
    }
    return nullptr;
}

const EntityDescription* ManagedObjectModel::entityForXmlType(QStringView typeName) const
{
    for (const EntityDescription* e : m_entities) {
        if (typeName.compare(e->xmlTypeName(), Qt::CaseInsensitive) == 0)
            return e;
    }
    return nullptr;
}

} // namespace qf
