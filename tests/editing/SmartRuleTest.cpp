#include "editing/SmartRule.h"

#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

SmartRule rule(const char* key, const char* operand, const QString& value = {}, double first = 0, double second = 0)
{
    SmartRule r;
    r.key = QString::fromLatin1(key);
    r.operand = QString::fromLatin1(operand);
    r.stringValue = value;
    r.amountFirst = r.dateFirst = first;
    r.amountSecond = r.dateSecond = second;
    return r;
}

QString format(const SmartRule& r)
{
    const auto predicate = r.predicate();
    return predicate ? predicate->predicateFormat() : QStringLiteral("(none)");
}

} // namespace

TEST(SmartRule, EveryOperatorMakesItsPredicate)
{
    const std::vector<std::pair<SmartRule, const char*>> table{
        {rule("Title", "Is", "Rent"), "trans_title == \"Rent\""},
        {rule("Title", "Contains", "coffee"), "\"coffee\" IN[cd] trans_title"},
        {rule("Title", "Does not contain", ""), "NOT \"\" IN[cd] trans_title"},
        {rule("From", "Is not", "Bob"), "trans_from != \"Bob\""},
        {rule("To", "Contains", "Shop"), "\"Shop\" IN[cd] trans_to"},
        {rule("Note", "Does not contain", "x"), "NOT \"x\" IN[cd] trans_notes"},
        {rule("Amount", "Less than", {}, 100), "trans_amount < 100.0"},
        {rule("Amount", "Between", {}, -10, 0), "trans_amount >= -10.0 AND trans_amount <= 0.0"},
        {rule("Date", "After", {}, 86400), "trans_date > CAST(86400, \"NSDate\")"},
        {rule("Account", "Is", "A-1"), "trans_accountID == \"A-1\""},
        {rule("Account", "Is not"), "trans_accountID != nil"},
        {rule("Type", "Is", "Incoming"), "trans_direction == \"Incoming\""},
        {rule("Type", "Is not", "Reconciled"), "trans_isPending != NO"},
        {rule("Type", "Is", "Upcoming"), "trans_isUpcoming == YES"},
        // One test per tag token, all of them; no tokens ask for no tags.
        {rule("Tag", "Contains", "Food, Rent"), "trans_keywords CONTAINS[d] \"Food\" AND trans_keywords CONTAINS[d] \"Rent\""},
        {rule("Tag", "Does not contain", "Café"), "NOT trans_keywords CONTAINS[d] \"Café\""},
        {rule("Tag", "Contains", ""), "trans_keywords == nil"},
        {rule("Tag", "Is Empty", "Food"), "trans_keywords == nil"},
        {rule("Title", "Before", "x"), "(none)"},
        {rule("Colour", "Is", "red"), "(none)"},
        {rule("Type", "Is", "Paid"), "(none)"},
    };
    for (const auto& [r, expected] : table)
        EXPECT_EQ(format(r).toStdString(), expected) << r.key.toStdString() << ' ' << r.operand.toStdString();

    const std::vector<SmartRule> two{rule("Title", "Contains", "coffee"), rule("Amount", "Less than", {}, 0)};
    EXPECT_EQ(SmartRules::joinedPredicate(two, QStringLiteral("Any"))->predicateFormat(),
              "\"coffee\" IN[cd] trans_title OR trans_amount < 0.0");
    EXPECT_FALSE(SmartRules::joinedPredicate(two, QStringLiteral("Some")));
    EXPECT_FALSE(SmartRules::joinedPredicate({}, QStringLiteral("All")));
}

TEST(SmartRule, StoringReusesRuleRecordsAndUnlinksRemovedOnes)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* vault =
        VaultLibrary::insertVault(context, ledger.delegate(), VaultType::SmartPlaylist, QStringLiteral("Coffee"));
    std::vector<SmartRule> rules{rule("Title", "Contains", "coffee"), rule("Amount", "Less than", {}, 0)};
    SmartRules::store(context, ledger.delegate(), *vault, rules, QStringLiteral("All"));
    EXPECT_EQ(vault->valueForKey(u"vault_smartPredicateString").toString(),
              "\"coffee\" IN[cd] trans_title AND trans_amount < 0.0");
    ASSERT_EQ(vault->relatedObjects(0).size(), 2u);
    ManagedObject* titleRecord = vault->relatedObjects(0)[0];
    ManagedObject* amountRecord = vault->relatedObjects(0)[1];

    // Reopened, the first row changed and the second removed: the first
    // row's record is the same one, the second stays in the store unlinked.
    std::vector<SmartRule> reopened = SmartRules::rulesOfVault(*vault);
    ASSERT_EQ(reopened.size(), 2u);
    EXPECT_EQ(reopened[0].key, "Title");
    reopened[0] = [&] {
        SmartRule changed = rule("Tag", "Contains", "Food");
        changed.uniqueID = reopened[0].uniqueID;
        changed.date = reopened[0].date;
        return changed;
    }();
    reopened.pop_back();
    SmartRules::store(context, ledger.delegate(), *vault, reopened, QStringLiteral("Any"));
    EXPECT_EQ(vault->relatedObjects(0), std::vector<ManagedObject*>{titleRecord});
    EXPECT_EQ(titleRecord->valueForKey(u"smart_key").toString(), "Tag");
    EXPECT_FALSE(amountRecord->isDeleted());
    EXPECT_EQ(vault->valueForKey(u"vault_smartCondition").toString(), "Any");
    EXPECT_EQ(vault->valueForKey(u"vault_smartPredicateString").toString(), "trans_keywords CONTAINS[d] \"Food\"");

    // The older field name is renamed in the store when the rules are read.
    titleRecord->setValueForKey(u"smart_key", Value("Tags"));
    EXPECT_EQ(SmartRules::rulesOfVault(*vault).at(0).key, "Tag");
    EXPECT_EQ(titleRecord->valueForKey(u"smart_key").toString(), "Tag");
}
