#include "editing/TransEditForm.h"

#include "common/DateFormatter.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

std::size_t transCount(TempLedger& ledger)
{
    return ledger.context().count(ManagedObjectModel::shared().trans());
}

QString text(const ManagedObject* record, QStringView key)
{
    return record->valueForKey(key).toString();
}

} // namespace

TEST(TransEditForm, AmountTakesTheSignOfTheTypeAndZeroOrNoTitleBlocksTheSave)
{
    TempLedger ledger;
    ledger.launch();
    TransEditForm form(ledger.delegate());
    const std::size_t before = transCount(ledger);

    form.showAddWindowWithDefaults({});
    EXPECT_EQ(form.fields().type, QStringLiteral("Outgoing"));
    form.fields().amount = QStringLiteral("12.50");
    EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Invalid);
    EXPECT_EQ(form.invalidField(), TransEditField::Title);
    form.fields().title = QStringLiteral("Lunch");
    for (const QString& zero : {QStringLiteral("0"), QStringLiteral("$0.00"), QString(), QStringLiteral("abc")}) {
        form.fields().amount = zero;
        EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Invalid) << zero.toStdString();
        EXPECT_EQ(form.invalidField(), TransEditField::Amount);
    }
    EXPECT_EQ(transCount(ledger), before);

    form.fields().amount = QStringLiteral("12.50");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    ManagedObject* lunch = ledger.delegate().fetchTransObjectWithID(form.transUniqueID());
    ASSERT_NE(lunch, nullptr);
    EXPECT_EQ(lunch->valueForKey(u"trans_amount").toDouble(), -12.5);
    EXPECT_EQ(text(lunch, u"trans_reoccurrence"), QStringLiteral("Never"));

    form.showAddWindowWithDefaults({});
    form.fields().title = QStringLiteral("Refund");
    form.fields().type = QStringLiteral("Incoming");
    form.fields().amount = QStringLiteral("-12.50");
    EXPECT_EQ(form.adjustedAmount(), 12.5f);
    form.reformatAmount();
    EXPECT_EQ(form.fields().amount, QStringLiteral("$12.50"));
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(ledger.delegate().fetchTransObjectWithID(form.transUniqueID())->valueForKey(u"trans_amount").toDouble(),
              12.5);

    // Editing shows the signed amount, which the type still governs.
    form.showEditWithTransObject(*lunch);
    EXPECT_EQ(form.fields().amount, QStringLiteral("-$12.50"));
    EXPECT_EQ(form.fields().type, QStringLiteral("Outgoing"));
    form.fields().type = QStringLiteral("Incoming");
    EXPECT_EQ(form.adjustedAmount(), 12.5f);
}

TEST(TransEditForm, DanglingAccountIsClearedOnOpenAndNoneKeepsAnAccount)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* checking =
        VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Account, QStringLiteral("Checking"));
    const QString checkingID = text(checking, u"vault_uniqueID");
    ManagedObject* rent = ledger.addTransaction(QStringLiteral("Rent"), -700);
    rent->setValueForKey(u"trans_accountID", Value(checkingID));
    ManagedObject* orphan = ledger.addTransaction(QStringLiteral("Old"), -5);
    orphan->setValueForKey(u"trans_accountID", Value(QStringLiteral("REMOVED-ACCOUNT")));

    TransEditForm form(ledger.delegate());
    form.showEditWithTransObject(*orphan);
    EXPECT_TRUE(orphan->valueForKey(u"trans_accountID").isNull());
    EXPECT_TRUE(form.fields().accountID.isEmpty());
    form.cancel();
    EXPECT_EQ(form.transObject(), nullptr);
    EXPECT_TRUE(orphan->valueForKey(u"trans_accountID").isNull());

    form.showEditWithTransObject(*rent);
    ASSERT_EQ(form.accounts().size(), 1u);
    EXPECT_EQ(form.accounts().front().title, QStringLiteral("Checking"));
    EXPECT_EQ(form.fields().accountID, checkingID);
    form.fields().accountID.clear(); // "None"
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(text(rent, u"trans_accountID"), checkingID);
}

TEST(TransEditForm, UntouchedDateKeepsItsTimeAndATypedDateIsMidnight)
{
    TempLedger ledger;
    ledger.launch();
    const DateFormatter& longFormat = ledger.delegate().longDateFormatter();
    const AbsoluteTime midnight = *longFormat.parse(u"Mar 4, 2025");
    ManagedObject* record = ledger.addTransaction(QStringLiteral("Fuel"), -40, {}, midnight + 15 * 3600 + 42);

    TransEditForm form(ledger.delegate());
    form.showEditWithTransObject(*record);
    EXPECT_EQ(form.fields().date, QStringLiteral("Mar 4, 2025"));
    form.fields().title = QStringLiteral("Fuel again");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(record->valueForKey(u"trans_date").toDate(), midnight + 15 * 3600 + 42);

    form.showEditWithTransObject(*record);
    form.fields().date = QStringLiteral("3/5/25");
    EXPECT_TRUE(form.endDateEditing());
    EXPECT_EQ(form.fields().date, QStringLiteral("Mar 5, 2025"));
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(record->valueForKey(u"trans_date").toDate(), midnight + 24 * 3600);

    form.showEditWithTransObject(*record);
    form.fields().date = QStringLiteral("the fifth");
    EXPECT_FALSE(form.endDateEditing());
    EXPECT_TRUE(form.fields().date.isEmpty());
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_TRUE(record->valueForKey(u"trans_date").isNull());
}

TEST(TransEditForm, FieldsLeftAsOpenedKeepWhatAnotherProgramSavedMeanwhile)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* record = ledger.addTransaction(QStringLiteral("Fuel"), -40, QStringLiteral("car"));
    record->setValueForKey(u"trans_notes", Value("full tank"));
    ASSERT_TRUE(ledger.delegate().saveAction());

    TransEditForm form(ledger.delegate());
    form.showEditWithTransObject(*record);
    // While the editor is open, a script's save is merged into the record.
    record->setValueForKey(u"trans_notes", Value("receipt scanned"));
    record->setValueForKey(u"trans_amount", Value(-42.5));
    record->setValueForKey(u"trans_keywords", Value("car, work"));
    form.fields().title = QStringLiteral("Fuel, motorway");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(text(record, u"trans_title"), QStringLiteral("Fuel, motorway"));
    EXPECT_EQ(text(record, u"trans_notes"), QStringLiteral("receipt scanned"));
    EXPECT_EQ(record->valueForKey(u"trans_amount").toDouble(), -42.5);
    EXPECT_EQ(text(record, u"trans_keywords"), QStringLiteral("car, work"));

    // A field the user did change is written, whatever came in meanwhile.
    form.showEditWithTransObject(*record);
    record->setValueForKey(u"trans_notes", Value("from the script"));
    form.fields().notes = QStringLiteral("mine");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(text(record, u"trans_notes"), QStringLiteral("mine"));
}

TEST(TransEditForm, MonthlyRepeatSchedulesOneCopyAndLaterChangesOnlyUpdateIt)
{
    TempLedger ledger;
    ledger.launch();
    TransEditForm form(ledger.delegate());
    form.showAddWindowWithDefaults({});
    form.fields().title = QStringLiteral("Rent");
    form.fields().amount = QStringLiteral("700");
    form.fields().date = QStringLiteral("Jan 31, 2025");
    form.fields().repeat = QStringLiteral("Monthly");
    const std::size_t before = transCount(ledger);
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::ConfirmationNeeded);
    EXPECT_EQ(transCount(ledger), before + 1); // the copy waits for the answer
    ManagedObject* rent = ledger.delegate().fetchTransObjectWithID(form.transUniqueID());
    ASSERT_NE(rent, nullptr);

    ManagedObject* copy = form.confirmReoccurence();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(form.confirmReoccurence(), nullptr);
    EXPECT_EQ(ledger.delegate().formatLongDate(copy->valueForKey(u"trans_date").toDate()),
              ledger.delegate().formatLongDate(*ledger.delegate().longDateFormatter().parse(u"Feb 28, 2025")));
    EXPECT_TRUE(copy->valueForKey(u"trans_isUpcoming").toBool());
    EXPECT_EQ(text(copy, u"trans_paidREFID"), form.transUniqueID());
    EXPECT_EQ(text(rent, u"trans_pendingREFID"), text(copy, u"trans_uniqueID"));
    EXPECT_EQ(text(copy, u"trans_reoccurrence"), QStringLiteral("Monthly"));
    ASSERT_TRUE(ledger.delegate().saveAction());

    form.showEditWithTransObject(*rent);
    EXPECT_EQ(form.fields().repeat, QStringLiteral("Monthly"));
    EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(transCount(ledger), before + 2);

    // The copy is brought up to date before the new repeat is written, so it
    // takes the value the record held until this save.
    form.showEditWithTransObject(*rent);
    form.fields().repeat = QStringLiteral("Weekly");
    EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    form.showEditWithTransObject(*rent);
    form.fields().repeat = QStringLiteral("Daily");
    EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(transCount(ledger), before + 2);
    EXPECT_EQ(text(copy, u"trans_reoccurrence"), QStringLiteral("Weekly"));
    EXPECT_EQ(text(rent, u"trans_reoccurrence"), QStringLiteral("Daily"));
}

TEST(TransEditForm, RepeatWithAnEmptyDateSchedulesNoUpcomingCopy)
{
    TempLedger ledger;
    ledger.launch();
    TransEditForm form(ledger.delegate());
    form.showAddWindowWithDefaults({});
    form.fields().title = QStringLiteral("Gym");
    form.fields().amount = QStringLiteral("30");
    form.fields().date.clear();
    form.fields().repeat = QStringLiteral("Monthly");
    const std::size_t before = transCount(ledger);
    EXPECT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(form.confirmReoccurence(), nullptr);
    EXPECT_EQ(transCount(ledger), before + 1);
}

TEST(TransEditForm, KeywordsSplitOnlyWhenWellFormedAndJoinedWithCommaBlank)
{
    TempLedger ledger;
    ledger.launch();
    TransEditForm form(ledger.delegate());
    const std::vector<std::pair<QString, QStringList>> cases{
        {QString(), {}},
        {QStringLiteral("Food, , Rent"), {}},
        {QStringLiteral("Food,Rent"), {QStringLiteral("Food,Rent")}},
        {QStringLiteral("Food, Rent"), {QStringLiteral("Food"), QStringLiteral("Rent")}},
    };
    for (const auto& [keywords, shown] : cases) {
        ManagedObject* record = ledger.addTransaction(QStringLiteral("T"), -1);
        record->setValueForKey(u"trans_keywords", Value(keywords));
        form.showEditWithTransObject(*record);
        EXPECT_EQ(form.fields().tags, shown) << keywords.toStdString();
    }

    form.showAddWindowWithDefaults({});
    form.fields().title = QStringLiteral("Shop");
    form.fields().amount = QStringLiteral("3");
    form.fields().tags = {QStringLiteral("Food"), QStringLiteral("Rent")};
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(text(ledger.delegate().fetchTransObjectWithID(form.transUniqueID()), u"trans_keywords"),
              QStringLiteral("Food, Rent"));
}

TEST(TransEditForm, AddDefaultsFillTheFormAndTheirFoldersReachLaterEdits)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* savings =
        VaultLibrary::insertVault(context, ledger.delegate(), VaultType::Account, QStringLiteral("Savings"));
    const QString savingsID = text(savings, u"vault_uniqueID");
    ManagedObject* older = ledger.addTransaction(QStringLiteral("Older"), -9);

    TransEditForm form(ledger.delegate());
    form.showAddWindowWithDefaults({{QStringLiteral("trans_isPending"), Value::boolean(true)},
                                    {QStringLiteral("trans_direction"), Value("Incoming")},
                                    {QStringLiteral("trans_accountID"), Value(savingsID)},
                                    {QStringLiteral("trans_title"), Value("not understood")},
                                    {QStringLiteral("trans_listIDs"), Value("FOLDER-1")}});
    EXPECT_TRUE(context.undoManager().isUndoRegistrationEnabled());
    EXPECT_FALSE(form.isEditing());
    EXPECT_TRUE(form.fields().pending);
    EXPECT_EQ(form.fields().type, QStringLiteral("Incoming"));
    EXPECT_EQ(form.fields().accountID, savingsID);
    EXPECT_TRUE(form.fields().title.isEmpty());
    EXPECT_EQ(form.fields().date, ledger.delegate().longDateFormatter().format(ledger.delegate().now()));
    form.fields().calendarEvent = true;
    form.setPending(false);
    EXPECT_FALSE(form.fields().calendarEvent);

    form.fields().title = QStringLiteral("Salary");
    form.fields().amount = QStringLiteral("1000");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    ManagedObject* salary = ledger.delegate().fetchTransObjectWithID(form.transUniqueID());
    EXPECT_EQ(text(salary, u"trans_listIDs"), QStringLiteral("FOLDER-1"));
    EXPECT_EQ(text(salary, u"trans_accountID"), savingsID);
    EXPECT_EQ(salary->valueForKey(u"trans_amount").toDouble(), 1000.0);

    form.showEditWithTransObject(*older);
    EXPECT_TRUE(form.isEditing());
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(text(older, u"trans_listIDs"), QStringLiteral("FOLDER-1"));
}

TEST(TransEditForm, HooksRunInSaveOrderAndTheCalendarOnlyWhenNewlyOn)
{
    TempLedger ledger;
    ledger.launch();
    QStringList calls;
    TransEditHooks hooks;
    hooks.prepareAttachmentsForNew = [&](const QString& id) { calls << QStringLiteral("prepare ") + id; };
    hooks.savePhoto = [&](ManagedObject&) { calls << QStringLiteral("photo"); };
    hooks.saveAttachments = [&](ManagedObject&) { calls << QStringLiteral("attachments"); };
    hooks.createCalendarEvent = [&](ManagedObject& r) {
        calls << QStringLiteral("calendar ") + r.valueForKey(u"trans_reoccurrence").toString();
    };
    hooks.indexTransaction = [&](ManagedObject& r) {
        calls << QStringLiteral("index ") + (r.hasChanges() ? "dirty" : "saved");
    };
    TransEditForm form(ledger.delegate(), hooks);

    form.showAddWindowWithDefaults({{QStringLiteral("trans_isPending"), Value::boolean(true)}});
    const QString id = form.transUniqueID();
    form.fields().title = QStringLiteral("Dentist");
    form.fields().amount = QStringLiteral("80");
    form.fields().calendarEvent = true;
    form.fields().repeat = QStringLiteral("Yearly");
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::ConfirmationNeeded);
    form.dropReoccurence();
    EXPECT_EQ(calls, (QStringList{QStringLiteral("prepare ") + id, QStringLiteral("photo"),
                                  QStringLiteral("attachments"), QStringLiteral("calendar "),
                                  QStringLiteral("index saved")}));

    calls.clear();
    form.showEditWithTransObject(*ledger.delegate().fetchTransObjectWithID(id));
    EXPECT_TRUE(form.fields().calendarEvent);
    ASSERT_EQ(form.save(), TransEditForm::SaveOutcome::Saved);
    EXPECT_EQ(calls.size(), 3); // photo, attachments, index: no second calendar event
}

TEST(TransEditForm, TitleHintsAreEarlierTitlesFromThePartialWord)
{
    TempLedger ledger;
    ledger.launch();
    TransEditForm form(ledger.delegate());
    EXPECT_TRUE(form.hintsForKey(QStringLiteral("trans_title"), QStringLiteral("Re"), 0).isEmpty());
    for (const char* title : {"Rent", "Résumé print", "Groceries", "rent", "Rent", "My Rent"})
        ledger.addTransaction(QString::fromUtf8(title), -1);

    EXPECT_EQ(form.hintsForKey(QStringLiteral("trans_title"), QStringLiteral("re"), 0),
              (QStringList{QStringLiteral("Rent"), QString::fromUtf8("Résumé print"), QStringLiteral("rent")}));
    EXPECT_EQ(form.hintsForKey(QStringLiteral("trans_title"), QStringLiteral("Rent"), 0),
              QStringList{QStringLiteral("rent")});
    EXPECT_EQ(form.hintsForKey(QStringLiteral("trans_title"), QStringLiteral("My R"), 3),
              QStringList{QStringLiteral("Rent")});
}
