#include "editing/TransMultiEditForm.h"

#include "common/AmountFormatter.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using Field = TransMultiEditForm::Field;

namespace {

struct Fixture {
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    AmountFormatter amounts{QStringLiteral("en_US")};

    ManagedObject* add(const QString& title, double amount, const QStringList& tags = {}, const QString& account = {})
    {
        TransactionDraft draft;
        draft.title = title;
        draft.amount = amount;
        draft.tags = tags;
        draft.accountID = account;
        return TransactionRecords::insert(context, ledger.delegate(), draft);
    }
};

QString id(const ManagedObject* record, QStringView key)
{
    return record->valueForKey(key).toString();
}

// Field texts and boxes as "text[x]" / "text[ ]", in field order.
QString describe(const TransMultiEditForm& form)
{
    QStringList parts;
    for (int i = 0; i < TransMultiEditForm::FieldCount; ++i) {
        const auto field = Field(i);
        parts.append(form.text(field) + (form.isChecked(field) ? QStringLiteral("[x]") : QStringLiteral("[ ]")));
    }
    return parts.join(QLatin1Char(' '));
}

} // namespace

TEST(TransMultiEditForm, CommonValuesWalk)
{
    Fixture f;
    ManagedObject* a = f.add(QStringLiteral("Rent"), -5);
    ManagedObject* b = f.add(QStringLiteral("Rent"), -5.0f);
    ManagedObject* c = f.add(QStringLiteral("Food"), 5);
    EXPECT_EQ(TransMultiEditForm::valuesForKey({a, b}, u"trans_title").toString(), QStringLiteral("Rent"));
    EXPECT_TRUE(TransMultiEditForm::valuesForKey({a, b, c}, u"trans_title").isNull());
    EXPECT_EQ(TransMultiEditForm::valuesForKey({a, b}, u"trans_amount").toDouble(), -5.0);
    EXPECT_TRUE(TransMultiEditForm::valuesForKey({a, c}, u"trans_amount").isNull());
    EXPECT_TRUE(TransMultiEditForm::valuesForKey({}, u"trans_title").isNull());
    // An empty first text is no common value even when all share it.
    EXPECT_TRUE(TransMultiEditForm::valuesForKey({a, b}, u"trans_notes").isNull());
    // A missing value anywhere ends the walk.
    c->setValueForKey(u"trans_title", Value(QStringLiteral("Rent")));
    c->setValueForKey(u"trans_accountID", Value(QStringLiteral("X")));
    EXPECT_TRUE(TransMultiEditForm::valuesForKey({c, a}, u"trans_accountID").isNull());
    EXPECT_EQ(TransMultiEditForm::valuesForKey({a, b, c}, u"trans_title").toString(), QStringLiteral("Rent"));
    // Dates are not compared: differing dates still give the first.
    b->setValueForKey(u"trans_date", Value::date(1000));
    EXPECT_EQ(TransMultiEditForm::valuesForKey({a, b}, u"trans_date").toDate(), 0.0);
}

TEST(TransMultiEditForm, FillsSharedFieldsAndLeavesOthersEmpty)
{
    Fixture f;
    const QString checking = id(f.ledger.addAccount(QStringLiteral("Checking")), u"vault_uniqueID");
    const QStringList tags{QStringLiteral("Food"), QStringLiteral("Rent")};
    ManagedObject* a = f.add(QStringLiteral("Rent"), -12.5, tags, checking);
    ManagedObject* b = f.add(QStringLiteral("Rent"), -12.5, tags, checking);
    a->setValueForKey(u"trans_to", Value(QStringLiteral("Landlord")));
    b->setValueForKey(u"trans_reoccurrence", Value(QStringLiteral("Monthly")));

    TransMultiEditForm form(f.amounts);
    EXPECT_FALSE(form.editTransObjects({}, {}));
    ASSERT_TRUE(form.editTransObjects({a, b}, f.ledger.delegate().fetchVaultObjectsWithType(QStringLiteral("Account"))));
    EXPECT_EQ(describe(form),
              QStringLiteral("Rent[x] -$12.50[x] [ ] [ ] Food, Rent[x] [ ] Checking[x] Never[ ]"));
    EXPECT_EQ(form.tags(), tags);

    b->setValueForKey(u"trans_reoccurrence", Value(QStringLiteral("Never")));
    b->setValueForKey(u"trans_keywords", Value(QStringLiteral("")));
    b->setValueForKey(u"trans_accountID", Value(QStringLiteral("GONE")));
    ASSERT_TRUE(form.editTransObjects({b, b}, {}));
    EXPECT_EQ(describe(form), QStringLiteral("Rent[x] -$12.50[x] [ ] [ ] [ ] [ ] None[ ] Never[x]"));
    EXPECT_TRUE(form.tags().isEmpty());
}

TEST(TransMultiEditForm, BoxesFollowTypingAndChoosing)
{
    Fixture f;
    const QString savings = id(f.ledger.addAccount(QStringLiteral("Savings")), u"vault_uniqueID");
    ManagedObject* a = f.add(QStringLiteral("Rent"), 1);
    ManagedObject* b = f.add(QStringLiteral("Food"), 2);
    TransMultiEditForm form(f.amounts);
    ASSERT_TRUE(form.editTransObjects({a, b}, f.ledger.delegate().fetchVaultObjectsWithType(QStringLiteral("Account"))));
    EXPECT_FALSE(form.isChecked(Field::Title));
    form.textDidChange(Field::Title, QStringLiteral("Bills"));
    EXPECT_TRUE(form.isChecked(Field::Title));
    form.textDidChange(Field::Title, QString());
    EXPECT_FALSE(form.isChecked(Field::Title));
    form.tagsDidChange({QStringLiteral("Home")});
    EXPECT_TRUE(form.isChecked(Field::Tags));
    EXPECT_FALSE(form.changeAccount(1)); // the separator
    EXPECT_FALSE(form.isChecked(Field::Account));
    EXPECT_TRUE(form.changeAccount(2));
    EXPECT_EQ(form.accounts().selectedID(), savings);
    EXPECT_TRUE(form.isChecked(Field::Account));
    EXPECT_FALSE(form.changeRepeat(QStringLiteral("Hourly")));
    EXPECT_TRUE(form.changeRepeat(QStringLiteral("Weekly")));
    EXPECT_TRUE(form.isChecked(Field::Repeat));

    form.textDidChange(Field::Amount, QStringLiteral("-3.456abc"));
    EXPECT_FLOAT_EQ(form.adjustedAmount(), -3.456f);
    form.amountDidEndEditing();
    EXPECT_EQ(form.text(Field::Amount), QStringLiteral("-$3.46"));
}

TEST(TransMultiEditForm, DoneWritesOnlyCheckedFields)
{
    Fixture f;
    const QString checking = id(f.ledger.addAccount(QStringLiteral("Checking")), u"vault_uniqueID");
    ManagedObject* a = f.add(QStringLiteral("Rent"), -40, {}, checking);
    ManagedObject* b = f.add(QStringLiteral("Pay"), 100, {QStringLiteral("Work")}, checking);
    const Value modified = a->valueForKey(u"trans_dateModified");
    TransMultiEditForm form(f.amounts);
    ASSERT_TRUE(form.editTransObjects({a, b}, f.ledger.delegate().fetchVaultObjectsWithType(QStringLiteral("Account"))));
    ASSERT_TRUE(form.isChecked(Field::Account));

    form.textDidChange(Field::Amount, QStringLiteral("20")); // sign as typed: both become incoming
    form.textDidChange(Field::Notes, QStringLiteral("moved"));
    form.changeAccount(0); // "None" with the box checked clears the account
    form.tagsDidChange({QStringLiteral("A"), QStringLiteral("B")});
    form.setChecked(Field::Tags, false);
    form.done();

    for (ManagedObject* r : {a, b}) {
        EXPECT_EQ(r->valueForKey(u"trans_amount").toDouble(), 20.0);
        EXPECT_EQ(r->valueForKey(u"trans_direction").toString(), QStringLiteral("Incoming"));
        EXPECT_EQ(r->valueForKey(u"trans_notes").toString(), QStringLiteral("moved"));
        EXPECT_TRUE(r->valueForKey(u"trans_accountID").isNull());
        EXPECT_EQ(r->valueForKey(u"trans_reoccurrence").toString(), QStringLiteral("Never"));
    }
    EXPECT_EQ(a->valueForKey(u"trans_title").toString(), QStringLiteral("Rent"));
    EXPECT_EQ(b->valueForKey(u"trans_title").toString(), QStringLiteral("Pay"));
    EXPECT_EQ(b->valueForKey(u"trans_keywords").toString(), QStringLiteral("Work"));
    EXPECT_EQ(a->valueForKey(u"trans_dateModified"), modified);

    // No validation: a checked empty title and a zero amount are written.
    form.textDidChange(Field::Amount, QStringLiteral("zero"));
    form.setChecked(Field::Title, true);
    form.done();
    EXPECT_EQ(a->valueForKey(u"trans_title").toString(), QStringLiteral(""));
    EXPECT_EQ(a->valueForKey(u"trans_amount").toDouble(), 0.0);
    EXPECT_TRUE(f.context.hasChanges());
}
