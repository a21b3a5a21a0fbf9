#include "store/TransManagedObject.h"

#include "common/SafePathComponent.h"
#include "store/RecordEnvironment.h"

#include <cmath>

namespace qf {

namespace {

struct TransKeys {
    TransKeys()
    {
        const EntityDescription& e = ManagedObjectModel::shared().trans();
        uniqueID = e.indexOfAttribute(u"trans_uniqueID");
        amount = e.indexOfAttribute(u"trans_amount");
        direction = e.indexOfAttribute(u"trans_direction");
        date = e.indexOfAttribute(u"trans_date");
        isPending = e.indexOfAttribute(u"trans_isPending");
        isUpcoming = e.indexOfAttribute(u"trans_isUpcoming");
        setiCalEvent = e.indexOfAttribute(u"trans_setiCalEvent");
        isInitalAccountAmount = e.indexOfAttribute(u"trans_isInitalAccountAmount");
        billType = e.indexOfAttribute(u"trans_billType");
        billFrom = e.indexOfAttribute(u"trans_billFromAccountID");
        billTo = e.indexOfAttribute(u"trans_billToAccountID");
        photo = e.indexOfAttribute(u"trans_photo");
        const int attributes = e.attributeCount();
        amountText = e.indexOfKey(u"trans_amountStringValue") - attributes;
        shortDateText = e.indexOfKey(u"trans_dateShortStringValue") - attributes;
        longDateText = e.indexOfKey(u"trans_dateLongStringValue") - attributes;
        statusKey = e.indexOfKey(u"trans_status") - attributes;
    }
    int uniqueID, amount, direction, date, isPending, isUpcoming, setiCalEvent, isInitalAccountAmount;
    int billType, billFrom, billTo, photo;
    int amountText, shortDateText, longDateText, statusKey;
};

const TransKeys& keys()
{
    static const TransKeys k;
    return k;
}

// The words are shared by every record: reading them allocates nothing and a
// million stored directions hold three strings between them.
struct Words {
    Value incoming{"Incoming"}, outgoing{"Outgoing"}, none{QString(QLatin1String(""))};
    Value pending{"Pending"}, reconciled{"Reconciled"}, dueToday{"Due Today"}, overdue{"Overdue"},
        upcoming{"Upcoming"};
};

const Words& words()
{
    static const Words w;
    return w;
}

// The short date text of now, formatted at most once per second.
struct TodayText {
    const RecordEnvironment* environment = nullptr;
    std::uint64_t generation = 0;
    double second = -1e300;
    Value text;
};

Value todayShortText(const RecordEnvironment& environment, AbsoluteTime now)
{
    static TodayText cache;
    const double second = std::floor(now);
    if (cache.environment != &environment || cache.generation != environment.formatGeneration()
        || cache.second != second) {
        cache.environment = &environment;
        cache.generation = environment.formatGeneration();
        cache.second = second;
        cache.text = Value(environment.formatShortDate(now));
    }
    return cache.text;
}

} // namespace

struct TransManagedObject::Texts {
    std::uint64_t generation = 0;
    std::uint8_t valid = 0; // one bit per TextSlot
    Value text[3];
};

TransManagedObject::TransManagedObject(const EntityDescription& entity, ManagedObjectContext& context,
                                       std::int64_t primaryKey, const RecordEnvironment* environment)
    : ManagedObject(entity, context, primaryKey), m_environment(environment)
{
    Q_ASSERT(&entity == &ManagedObjectModel::shared().trans());
}

TransManagedObject::~TransManagedObject() = default;

const Value& TransManagedObject::directionForAmount(const Value& amount)
{
    const double a = amount.toDouble();
    return a > 0 ? words().incoming : a < 0 ? words().outgoing : words().none;
}

QStringList TransManagedObject::keysDerivedFrom(QStringView key) const
{
    if (key == u"trans_date")
        return {QStringLiteral("trans_dateShortStringValue"), QStringLiteral("trans_dateLongStringValue")};
    if (key == u"trans_amount")
        return {QStringLiteral("trans_amountStringValue"), QStringLiteral("trans_direction")};
    return {};
}

bool TransManagedObject::isUpcomingTransfer() const
{
    if (!primitiveValue(keys().isUpcoming).toBool())
        return false;
    const SharedString& type = primitiveValue(keys().billType).string();
    if (type.view() == "Transfer")
        return true;
    return m_environment && !type.isEmpty() && type.toQString() == m_environment->localized(QStringLiteral("Transfer"));
}

Value TransManagedObject::adjustedAmount() const
{
    const Value& stored = primitiveValue(keys().amount);
    const QString selected = m_environment ? m_environment->selectedVaultID() : QString();
    if (selected.isEmpty())
        return stored;
    const SharedString vault = SharedString::fromQString(selected);
    const double magnitude = std::fabs(stored.toDouble());
    if (primitiveValue(keys().billTo).string() == vault)
        return Value(magnitude);
    if (primitiveValue(keys().billFrom).string() == vault)
        return Value(-magnitude);
    return stored;
}

bool TransManagedObject::readsAsStored(int attributeIndex) const
{
    const TransKeys& k = keys();
    return attributeIndex != k.amount && attributeIndex != k.direction && attributeIndex != k.photo;
}

Value TransManagedObject::attributeValue(int attributeIndex) const
{
    const TransKeys& k = keys();
    if (attributeIndex == k.amount)
        return isUpcomingTransfer() ? adjustedAmount() : primitiveValue(k.amount);
    if (attributeIndex == k.direction)
        return directionForAmount(primitiveValue(k.amount));
    if (attributeIndex == k.photo)
        return photoPath();
    return ManagedObject::attributeValue(attributeIndex);
}

Value TransManagedObject::derivedValue(int derivedIndex) const
{
    const TransKeys& k = keys();
    if (derivedIndex == k.amountText)
        return formattedText(AmountText);
    if (derivedIndex == k.shortDateText)
        return formattedText(ShortDateText);
    if (derivedIndex == k.longDateText)
        return formattedText(LongDateText);
    if (derivedIndex == k.statusKey)
        return status();
    return {};
}

Value TransManagedObject::formattedText(TextSlot slot) const
{
    if (!m_environment)
        return {};
    // An upcoming transfer's amount follows the selected account: never cached.
    const bool cacheable = slot != AmountText || !isUpcomingTransfer();
    const std::uint64_t generation = m_environment->formatGeneration();
    if (cacheable) {
        if (!m_texts)
            m_texts = std::make_unique<Texts>();
        if (m_texts->generation != generation) {
            m_texts->generation = generation;
            m_texts->valid = 0;
        }
        if (m_texts->valid & (1u << slot))
            return m_texts->text[slot];
    }

    Value text;
    if (slot == AmountText) {
        const Value amount = value(keys().amount);
        if (!amount.isNull())
            text = Value(m_environment->formatAmount(amount.toDouble()));
    } else {
        const Value& date = primitiveValue(keys().date);
        if (!date.isNull()) {
            text = Value(slot == ShortDateText ? m_environment->formatShortDate(date.toDate())
                                               : m_environment->formatLongDate(date.toDate()));
        }
    }
    if (cacheable) {
        m_texts->text[slot] = text;
        m_texts->valid |= (1u << slot);
    }
    return text;
}

Value TransManagedObject::status() const
{
    const TransKeys& k = keys();
    if (!primitiveValue(k.isUpcoming).toBool())
        return primitiveValue(k.isPending).toBool() ? words().pending : words().reconciled;

    // An upcoming bill is always pending; reading the status makes it so.
    if (!primitiveValue(k.isPending).toBool())
        const_cast<TransManagedObject*>(this)->setValue(k.isPending, Value::boolean(true));

    const Value& date = primitiveValue(k.date);
    if (!m_environment || date.isNull())
        return words().upcoming;
    // Days are compared by their short text in the current locale, on purpose.
    const AbsoluteTime now = m_environment->now();
    if (formattedText(ShortDateText) == todayShortText(*m_environment, now))
        return words().dueToday;
    return date.toDate() < now ? words().overdue : words().upcoming;
}

Value TransManagedObject::photoPath() const
{
    const QString stored = primitiveValue(keys().photo).toString();
    QStringView name(stored);
    while (name.endsWith(u'/'))
        name.chop(1);
    const QString fileName = name.mid(name.lastIndexOf(u'/') + 1).toString();
    const QString uniqueID = primitiveValue(keys().uniqueID).toString();
    if (!m_environment || !SafePathComponent::isSafe(fileName) || !SafePathComponent::isSafe(uniqueID))
        return {};
    return Value(m_environment->applicationSupportFolder() + QStringLiteral("/Attachments/") + uniqueID +
                 QLatin1Char('/') + fileName);
}

void TransManagedObject::didChangeValue(int attributeIndex)
{
    const TransKeys& k = keys();
    if (attributeIndex == k.amount || attributeIndex == k.direction) {
        if (m_texts)
            m_texts->valid &= ~(1u << AmountText);
        storeDirection();
    } else if (attributeIndex == k.date && m_texts) {
        m_texts->valid &= ~((1u << ShortDateText) | (1u << LongDateText));
    }
}

void TransManagedObject::storeDirection()
{
    setDependentValue(keys().direction, directionForAmount(primitiveValue(keys().amount)));
}

void TransManagedObject::awakeFromLoad()
{
    // Also replaces each record's own copy of the word by the shared one.
    setPrimitiveValue(keys().direction, directionForAmount(primitiveValue(keys().amount)));
}

void TransManagedObject::awakeFromInsert()
{
    awakeFromLoad();
    // The flags start out NO rather than missing, so that filters such as
    // "trans_isPending == NO" find new records, the opening deposit included.
    const TransKeys& k = keys();
    for (const int index : {k.isPending, k.isUpcoming, k.setiCalEvent, k.isInitalAccountAmount}) {
        if (primitiveValue(index).isNull())
            setPrimitiveValue(index, Value::boolean(false));
    }
}

} // namespace qf
