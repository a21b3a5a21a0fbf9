#pragma once

#include "common/AbsoluteTime.h"
#include "common/Predicate.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// One rule of a smart folder, as a row of the rule sheet (or a --rule of the
// CLI) holds it. Field and operator are the stored titles ("Title",
// "Contains", ...), which are also what the rule records keep.
struct SmartRule {
    QString uniqueID;     // the rule record's id; empty for a row not stored yet
    AbsoluteTime date = 0; // when the row was made; rows show in this order
    QString key = QStringLiteral("Title");
    QString operand = QStringLiteral("Is");
    // The text typed; the tag tokens joined by ", "; the account's
    // vault_uniqueID (empty for "None"); the type's title.
    QString stringValue;
    double amountFirst = 0, amountSecond = 0;
    AbsoluteTime dateFirst = 0, dateSecond = 0;

    // The fields, each field's operators and the type rule's values, in the order shown.
    static const QStringList& fields();
    static QStringList operands(const QString& field);
    static const QStringList& typeValues();

    bool isMultiValued() const { return operand == QLatin1String("Between"); }
    // Null for a field or operator not in the table.
    std::optional<Predicate> predicate() const;

    // The rule as its record holds it; reading a record renames the older
    // field "Tags" to "Tag" in the store first.
    static SmartRule fromRecord(ManagedObject& record);
    void writeTo(ManagedObject& record) const;
};

// A smart folder's rules on its vault record.
class SmartRules {
public:
    // "All" joins with AND, "Any" with OR; any other condition gives none,
    // as do no rules or a rule outside the table.
    static std::optional<Predicate> joinedPredicate(const std::vector<SmartRule>& rules, const QString& condition);

    // The vault's rules in row order (by date), for reopening the sheet.
    static std::vector<SmartRule> rulesOfVault(ManagedObject& vault);

    // Stores rules, condition and predicate text on the vault as the sheet's
    // OK does: the vault lets go of its rule records (unlinked, not
    // deleted), then takes, in row order, each row's record (found by its id,
    // or new) with the row's values. Rules without an id get one here, and
    // the date they carry.
    static void store(ManagedObjectContext& context, const RecordEnvironment& environment, ManagedObject& vault,
                      std::vector<SmartRule>& rules, const QString& condition);
};

} // namespace qf
