#include "editing/SmartRule.h"

#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <algorithm>

namespace qf {

namespace {

struct Operator {
    const char* title;
    const char* format; // the rule's value as %@ (two for "Between")
};

// Per field, its operators in the order shown and their predicate formats.
const std::vector<std::pair<QString, std::vector<Operator>>>& table()
{
    static const std::vector<std::pair<QString, std::vector<Operator>>> rules{
        {QStringLiteral("Title"),
         {{"Is", "trans_title == %@"}, {"Contains", "%@ IN[cd] trans_title"},
          {"Does not contain", "NOT %@ IN[cd] trans_title"}}},
        {QStringLiteral("Amount"),
         {{"Is", "trans_amount == %@"}, {"Is not", "trans_amount != %@"}, {"Less than", "trans_amount < %@"},
          {"Greater than", "trans_amount > %@"}, {"Between", "trans_amount >= %@ AND trans_amount <= %@"}}},
        {QStringLiteral("Date"),
         {{"Is", "trans_date == %@"}, {"Before", "trans_date < %@"}, {"After", "trans_date > %@"},
          {"Between", "trans_date >= %@ AND trans_date <= %@"}}},
        {QStringLiteral("To"),
         {{"Is", "trans_to == %@"}, {"Is not", "trans_to != %@"}, {"Contains", "%@ IN[cd] trans_to"},
          {"Does not contain", "NOT %@ IN[cd] trans_to"}}},
        {QStringLiteral("From"),
         {{"Is", "trans_from == %@"}, {"Is not", "trans_from != %@"}, {"Contains", "%@ IN[cd] trans_from"},
          {"Does not contain", "NOT %@ IN[cd] trans_from"}}},
        {QStringLiteral("Tag"),
         {{"Contains", "trans_keywords contains[d] %@"}, {"Does not contain", "NOT trans_keywords contains[d] %@"},
          {"Is Empty", nullptr}}},
        {QStringLiteral("Note"),
         {{"Contains", "%@ IN[cd] trans_notes"}, {"Does not contain", "NOT %@ IN[cd] trans_notes"}}},
        {QStringLiteral("Account"), {{"Is", "trans_accountID == %@"}, {"Is not", "trans_accountID != %@"}}},
        {QStringLiteral("Type"), {{"Is", nullptr}, {"Is not", nullptr}}},
    };
    return rules;
}

const std::vector<Operator>* operatorsOf(const QString& field)
{
    for (const auto& [name, operators] : table()) {
        if (name == field)
            return &operators;
    }
    return nullptr;
}

// The type rule's values; "Is not" negates the comparison.
const char* typeFormat(const QString& value)
{
    if (value == QLatin1String("Incoming"))
        return "trans_direction == 'Incoming'";
    if (value == QLatin1String("Outgoing"))
        return "trans_direction == 'Outgoing'";
    if (value == QLatin1String("Reconciled"))
        return "trans_isPending == NO";
    if (value == QLatin1String("Pending"))
        return "trans_isPending == YES";
    if (value == QLatin1String("Upcoming"))
        return "trans_isUpcoming == YES";
    return nullptr;
}

std::optional<Predicate> parsed(const QString& format, const ValueArray& arguments = {})
{
    auto predicate = Predicate::parse(format, arguments);
    return predicate ? std::optional<Predicate>(*predicate) : std::nullopt;
}

int smartIndex(QStringView key) { return ManagedObjectModel::shared().smart().indexOfAttribute(key); }

} // namespace

const QStringList& SmartRule::fields()
{
    static const QStringList names = [] {
        QStringList list;
        for (const auto& [name, operators] : table())
            list << name;
        return list;
    }();
    return names;
}

QStringList SmartRule::operands(const QString& field)
{
    QStringList titles;
    if (const auto* operators = operatorsOf(field)) {
        for (const Operator& op : *operators)
            titles << QString::fromLatin1(op.title);
    }
    return titles;
}

const QStringList& SmartRule::typeValues()
{
    static const QStringList values{QStringLiteral("Incoming"), QStringLiteral("Outgoing"), QStringLiteral("Reconciled"),
                                    QStringLiteral("Pending"), QStringLiteral("Upcoming")};
    return values;
}

std::optional<Predicate> SmartRule::predicate() const
{
    const auto* operators = operatorsOf(key);
    if (!operators)
        return std::nullopt;
    const auto op = std::find_if(operators->begin(), operators->end(),
                                 [&](const Operator& o) { return operand == QLatin1String(o.title); });
    if (op == operators->end())
        return std::nullopt;

    if (key == QLatin1String("Type")) {
        const char* format = typeFormat(stringValue);
        if (!format)
            return std::nullopt;
        auto is = parsed(QString::fromLatin1(format));
        if (!is || operand == QLatin1String("Is"))
            return is;
        // "Is not" is the same comparison with != in its place.
        return parsed(QString::fromLatin1(format).replace(QStringLiteral("=="), QStringLiteral("!=")));
    }
    if (key == QLatin1String("Tag")) {
        // One test per token, all of which must hold; no tokens (and so
        // "Is Empty") asks for transactions without tags.
        QStringList tokens;
        for (const QString& token : stringValue.split(QLatin1Char(','))) {
            if (!token.trimmed().isEmpty())
                tokens << token.trimmed();
        }
        if (tokens.isEmpty() || !op->format)
            return parsed(QStringLiteral("trans_keywords == nil"));
        std::vector<Predicate> each;
        for (const QString& token : tokens) {
            auto one = parsed(QString::fromLatin1(op->format), {Value(token)});
            if (!one)
                return std::nullopt;
            each.push_back(*one);
        }
        return each.size() == 1 ? each.front() : Predicate::andPredicate(std::move(each));
    }
    ValueArray arguments;
    if (key == QLatin1String("Amount")) {
        arguments = {Value(amountFirst), Value(amountSecond)};
    } else if (key == QLatin1String("Date")) {
        arguments = {Value::date(dateFirst), Value::date(dateSecond)};
    } else if (key == QLatin1String("Account")) {
        arguments = {stringValue.isEmpty() ? Value() : Value(stringValue)};
    } else {
        arguments = {Value(stringValue)};
    }
    return parsed(QString::fromLatin1(op->format), arguments);
}

SmartRule SmartRule::fromRecord(ManagedObject& record)
{
    if (record.valueForKey(u"smart_key").toString() == QLatin1String("Tags"))
        record.setValueForKey(u"smart_key", Value("Tag"));
    SmartRule rule;
    rule.uniqueID = record.valueForKey(u"smart_uniqueID").toString();
    rule.date = record.valueForKey(u"smart_date").toDate();
    rule.key = record.valueForKey(u"smart_key").toString();
    rule.operand = record.valueForKey(u"smart_operand").toString();
    rule.stringValue = record.valueForKey(u"smart_stringValue").toString();
    rule.amountFirst = record.valueForKey(u"smart_amountFirstValue").toDouble();
    rule.amountSecond = record.valueForKey(u"smart_amountSecondValue").toDouble();
    rule.dateFirst = record.valueForKey(u"smart_dateFirstValue").toDate();
    rule.dateSecond = record.valueForKey(u"smart_dateSecondValue").toDate();
    return rule;
}

void SmartRule::writeTo(ManagedObject& record) const
{
    record.setValue(smartIndex(u"smart_key"), Value(key));
    record.setValue(smartIndex(u"smart_operand"), Value(operand));
    record.setValue(smartIndex(u"smart_uniqueID"), Value(uniqueID));
    record.setValue(smartIndex(u"smart_date"), Value::date(date));
    // Only the keys of the rule's own field: the others keep what an earlier
    // field of the same row left, as the sheet's views do.
    if (key == QLatin1String("Amount")) {
        record.setValue(smartIndex(u"smart_amountFirstValue"), Value(amountFirst));
        record.setValue(smartIndex(u"smart_amountSecondValue"), Value(amountSecond));
        record.setValue(smartIndex(u"smart_isMultiValued"), Value::boolean(isMultiValued()));
    } else if (key == QLatin1String("Date")) {
        record.setValue(smartIndex(u"smart_dateFirstValue"), Value::date(dateFirst));
        record.setValue(smartIndex(u"smart_dateSecondValue"), Value::date(dateSecond));
        record.setValue(smartIndex(u"smart_isMultiValued"), Value::boolean(isMultiValued()));
    } else if (key == QLatin1String("Account")) {
        record.setValue(smartIndex(u"smart_stringValue"), stringValue.isEmpty() ? Value() : Value(stringValue));
    } else {
        record.setValue(smartIndex(u"smart_stringValue"), Value(stringValue));
    }
}

std::optional<Predicate> SmartRules::joinedPredicate(const std::vector<SmartRule>& rules, const QString& condition)
{
    const bool all = condition == QLatin1String("All");
    if (rules.empty() || (!all && condition != QLatin1String("Any")))
        return std::nullopt;
    std::vector<Predicate> each;
    for (const SmartRule& rule : rules) {
        auto one = rule.predicate();
        if (!one)
            return std::nullopt;
        each.push_back(*one);
    }
    if (each.size() == 1)
        return each.front();
    return all ? Predicate::andPredicate(std::move(each)) : Predicate::orPredicate(std::move(each));
}

std::vector<SmartRule> SmartRules::rulesOfVault(ManagedObject& vault)
{
    std::vector<SmartRule> rules;
    for (ManagedObject* record : vault.relatedObjects(0))
        rules.push_back(SmartRule::fromRecord(*record));
    std::stable_sort(rules.begin(), rules.end(), [](const SmartRule& a, const SmartRule& b) { return a.date < b.date; });
    return rules;
}

void SmartRules::store(ManagedObjectContext& context, const RecordEnvironment& environment, ManagedObject& vault,
                       std::vector<SmartRule>& rules, const QString& condition)
{
    vault.setRelatedObjects(0, {});
    std::vector<ManagedObject*> records;
    const AbsoluteTime now = environment.now();
    for (std::size_t i = 0; i < rules.size(); ++i) {
        SmartRule& rule = rules[i];
        ManagedObject* record = nullptr;
        // Rows made together keep their order by date, which is how they reopen.
        if (rule.date == 0)
            rule.date = now + static_cast<double>(i) / 1000;
        if (rule.uniqueID.isEmpty()) {
            rule.uniqueID = environment.createUniqueID();
        } else {
            const auto found = environment.fetch(QStringLiteral("SmartEntity"), QStringLiteral("smart_uniqueID == %@"),
                                                 {Value(rule.uniqueID)});
            record = found.empty() ? nullptr : found.front();
        }
        if (!record)
            record = context.insertNewObject(ManagedObjectModel::shared().smart());
        rule.writeTo(*record);
        records.push_back(record);
    }
    vault.setRelatedObjects(0, records);
    vault.setValueForKey(u"vault_smartCondition", Value(condition));
    const auto predicate = joinedPredicate(rules, condition);
    vault.setValueForKey(u"vault_smartPredicateString", predicate ? Value(predicate->predicateFormat()) : Value());
}

} // namespace qf
