#include "planning/BillPayment.h"

#include "planning/BillRecords.h"
#include "planning/KVCalendarInfo.h"
#include "planning/Recurrence.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <cmath>

namespace qf {

namespace {

const QString kNever = QStringLiteral("Never");

QString text(const ManagedObject& record, QStringView key)
{
    const Value value = record.valueForKey(key);
    return value.isString() ? value.toString() : QString();
}

bool sameLocalDay(AbsoluteTime a, AbsoluteTime b)
{
    const KVCalendarInfo x(a);
    const KVCalendarInfo y(b);
    return x.year() == y.year() && x.month() == y.month() && x.dayOfMonth() == y.dayOfMonth();
}

ManagedObject* insertPayment(ManagedObjectContext& context, const RecordEnvironment& environment,
                             const ManagedObject& bill, const QString& accountID, double amount)
{
    ManagedObject* t = context.insertNewObject(ManagedObjectModel::shared().trans());
    t->setValueForKey(u"trans_uniqueID", Value(environment.createUniqueID()));
    t->setValueForKey(u"trans_date", Value::date(environment.now()));
    t->setValueForKey(u"trans_isPending", Value::boolean(true));
    t->setValueForKey(u"trans_isUpcoming", Value::boolean(false));
    t->setValueForKey(u"trans_pendingREFID", bill.valueForKey(u"trans_uniqueID"));
    t->setValueForKey(u"trans_title", bill.valueForKey(u"trans_title"));
    t->setValueForKey(u"trans_keywords", bill.valueForKey(u"trans_keywords"));
    t->setValueForKey(u"trans_amount", Value(amount));
    if (!accountID.isEmpty())
        t->setValueForKey(u"trans_accountID", Value(accountID));
    return t;
}

} // namespace

QString BillPayment::missingAccountTitle()
{
    return QStringLiteral("Missing Account");
}

QString BillPayment::missingAccountText()
{
    return QStringLiteral("In order to pay bill correctly, you must choose an incoming and an outgoing account.");
}

QString BillPayment::paidTitle()
{
    return QStringLiteral("Bill Paid");
}

QString BillPayment::neverPaidText()
{
    return QStringLiteral("Bill has been Paid and moved to the respective accounts as Pending transactions. If a to or "
                          "from account has not been chosen, you can view the Pending transaction in the Master Vault.");
}

QString BillPayment::repeatingPaidText()
{
    return QStringLiteral("The selected bill has been paid using the account specified and marked as pending. A new due "
                          "date has been creating based on the recurring settings you have chosen.");
}

std::vector<ManagedObject*> BillPayment::paymentsOf(const ManagedObjectContext& context, const ManagedObject& bill)
{
    const QString id = text(bill, u"trans_uniqueID");
    const QString origin = text(bill, u"trans_paidREFID");
    std::vector<ManagedObject*> payments;
    if (id.isEmpty())
        return payments;
    for (ManagedObject* t : context.objects(ManagedObjectModel::shared().trans())) {
        if (t == &bill || t->isDeleted() || text(*t, u"trans_pendingREFID") != id)
            continue;
        if (!origin.isEmpty() && text(*t, u"trans_uniqueID") == origin)
            continue;
        payments.push_back(t);
    }
    return payments;
}

BillPayment::Check BillPayment::check(const ManagedObjectContext& context, const ManagedObject& bill,
                                      AbsoluteTime now, ManagedObject** earlierPayment)
{
    if (BillRecords::billTypeOf(bill) == QLatin1String("Transfer") &&
        (text(bill, u"trans_billToAccountID").isEmpty() || text(bill, u"trans_billFromAccountID").isEmpty()))
        return Check::MissingAccount;
    const QString repeat = text(bill, u"trans_reoccurrence");
    if (repeat != kNever) {
        const Value date = bill.valueForKey(u"trans_date");
        if (date.isNull() || !Recurrence::nextDueDate(date.toDate(), repeat))
            return Check::NoNextDate;
    }
    for (ManagedObject* payment : paymentsOf(context, bill)) {
        const Value date = payment->valueForKey(u"trans_date");
        if (!date.isNull() && sameLocalDay(date.toDate(), now)) {
            if (earlierPayment)
                *earlierPayment = payment;
            return Check::PaidToday;
        }
    }
    return Check::Payable;
}

QString BillPayment::begin(ManagedObject& bill)
{
    const QString repeat = text(bill, u"trans_reoccurrence");
    if (repeat == kNever)
        return neverPaidText();
    const Value date = bill.valueForKey(u"trans_date");
    if (!date.isNull()) {
        if (const auto next = Recurrence::nextDueDate(date.toDate(), repeat))
            bill.setValueForKey(u"trans_date", Value::date(*next));
    }
    return repeatingPaidText();
}

std::vector<ManagedObject*> BillPayment::complete(ManagedObjectContext& context, const RecordEnvironment& environment,
                                                  ManagedObject& bill)
{
    const double amount = bill.valueForKey(u"trans_amount").toDouble();
    const QString type = BillRecords::billTypeOf(bill);
    std::vector<ManagedObject*> made;
    if (type == QLatin1String("Transfer")) {
        made.push_back(insertPayment(context, environment, bill, text(bill, u"trans_billToAccountID"), std::fabs(amount)));
        made.push_back(
            insertPayment(context, environment, bill, text(bill, u"trans_billFromAccountID"), -std::fabs(amount)));
    } else {
        const double signedAmount = type == QLatin1String("Incoming") ? std::fabs(amount) : -std::fabs(amount);
        made.push_back(insertPayment(context, environment, bill, text(bill, u"trans_accountID"), signedAmount));
    }
    if (text(bill, u"trans_reoccurrence") == kNever)
        BillRecords::removeBill(context, &bill);
    return made;
}

} // namespace qf
