#include "SmartRuleOption.h"

#include "CliFormat.h"
#include "app/Quillfen_AppDelegate.h"
#include "store/VaultLibrary.h"

#include <QRegularExpression>

namespace qf::cli {

namespace {

// A text field's float reading: its leading number, 0 when there is none.
double floatReading(const QString& text)
{
    if (const auto amount = parseAmount(text))
        return *amount;
    static const QRegularExpression leading(QStringLiteral("^\\s*[-+]?(\\d+\\.?\\d*|\\.\\d+)([eE][-+]?\\d+)?"));
    const QRegularExpressionMatch match = leading.match(text);
    return match.hasMatch() ? match.captured(0).trimmed().toDouble() : 0.0;
}

} // namespace

Result<SmartRule> parseSmartRuleOption(const QString& text, Quillfen_AppDelegate& delegate)
{
    using R = Result<SmartRule>;
    const QStringList parts = text.split(QLatin1Char('|'));
    SmartRule rule;
    rule.key = parts.value(0).trimmed();
    rule.operand = parts.value(1).trimmed();
    const QString first = parts.value(2), second = parts.value(3);
    if (!SmartRule::fields().contains(rule.key))
        return R::failure(QStringLiteral("unknown rule field \"%1\" (one of %2)")
                              .arg(rule.key, SmartRule::fields().join(QStringLiteral(", "))));
    if (!SmartRule::operands(rule.key).contains(rule.operand))
        return R::failure(QStringLiteral("unknown operator \"%1\" for %2 (one of %3)")
                              .arg(rule.operand, rule.key, SmartRule::operands(rule.key).join(QStringLiteral(", "))));

    if (rule.key == QLatin1String("Amount")) {
        rule.amountFirst = floatReading(first);
        rule.amountSecond = floatReading(second);
    } else if (rule.key == QLatin1String("Date")) {
        for (const auto& [value, target] : {std::pair{first, &rule.dateFirst}, std::pair{second, &rule.dateSecond}}) {
            if (value.isEmpty() && target == &rule.dateSecond && !rule.isMultiValued())
                continue;
            const auto date = parseIsoLocalDate(value);
            if (!date)
                return R::failure(QStringLiteral("\"%1\" is not a date (YYYY-MM-DD[THH:MM])").arg(value));
            *target = *date;
        }
    } else if (rule.key == QLatin1String("Account")) {
        if (!first.isEmpty()) {
            ManagedObject* account = delegate.fetchVaultObjectWithID(first);
            if (!account)
                account = delegate.fetchVaultObjectWithName(first);
            if (!account || account->valueForKey(u"vault_type").toString() != VaultType::Account)
                return R::failure(QStringLiteral("no account \"%1\"").arg(first));
            rule.stringValue = account->valueForKey(u"vault_uniqueID").toString();
        }
    } else if (rule.key == QLatin1String("Type")) {
        if (!SmartRule::typeValues().contains(first))
            return R::failure(QStringLiteral("unknown type \"%1\" (one of %2)")
                                  .arg(first, SmartRule::typeValues().join(QStringLiteral(", "))));
        rule.stringValue = first;
    } else if (rule.key == QLatin1String("Tag")) {
        // Tokens as the token field keeps them; "Is Empty" empties it.
        QStringList tokens;
        if (rule.operand != QLatin1String("Is Empty")) {
            for (const QString& token : first.split(QLatin1Char(','))) {
                if (!token.trimmed().isEmpty())
                    tokens << token.trimmed();
            }
        }
        rule.stringValue = tokens.join(QStringLiteral(", "));
    } else {
        rule.stringValue = first;
    }
    return rule;
}

} // namespace qf::cli
