#include "planning/BillRecords.h"

#include "common/Predicate.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <QLoggingCategory>
#include <cmath>

Q_LOGGING_CATEGORY(lcBills, "quillfen.bills", QtInfoMsg)

namespace qf {

double BillRecords::signedAmount(double amount, const QString& billType)
{
    if (billType == QLatin1String("Incoming") || billType == QLatin1String("Transfer"))
        return std::fabs(amount);
    if (billType == QLatin1String("Outgoing"))
        return -std::fabs(amount);
    return amount;
}

QString BillRecords::billTypeOf(const ManagedObject& bill)
{
    const QString type = bill.valueForKey(u"trans_billType").toString();
    return type.isEmpty() ? QStringLiteral("Outgoing") : type;
}

ManagedObject* BillRecords::addBill(ManagedObjectContext& context, const RecordEnvironment& environment)
{
    qCInfo(lcBills, "Add bill");
    ManagedObject* bill = context.insertNewObject(ManagedObjectModel::shared().trans());
    bill->setValueForKey(u"trans_uniqueID", Value(environment.createUniqueID()));
    bill->setValueForKey(u"trans_isUpcoming", Value::boolean(true));
    bill->setValueForKey(u"trans_isPending", Value::boolean(true));
    return bill;
}

void BillRecords::saveBill(ManagedObject& bill, const BillFields& fields)
{
    bill.setValueForKey(u"trans_title", Value(fields.title));
    bill.setValueForKey(u"trans_keywords", Value(fields.keywords));
    bill.setValueForKey(u"trans_amount", Value(signedAmount(fields.amount, fields.billType)));
    bill.setValueForKey(u"trans_date", Value::date(fields.date));
    bill.setValueForKey(u"trans_reoccurrence", Value(fields.reoccurrence));
    bill.setValueForKey(u"trans_billType", Value(fields.billType));
}

void BillRecords::removeBill(ManagedObjectContext& context, ManagedObject* bill)
{
    qCInfo(lcBills, "Remove bill");
    if (bill && !bill->isDeleted())
        context.deleteObject(bill);
}

QStringList BillRecords::tagCompletions(const QStringList& tags, const QString& typed)
{
    const Result<Predicate> wanted = Predicate::parse(u"SELF beginswith %@ AND SELF != %@", {Value(typed), Value(typed)});
    QStringList hints;
    if (!wanted)
        return hints;
    for (const QString& tag : tags) {
        if (wanted->evaluate(Value(tag)) && !hints.contains(tag))
            hints.append(tag);
    }
    return hints;
}

void BillRecords::setAccount(ManagedObject& bill, const QString& accountID)
{
    bill.setValueForKey(u"trans_accountID", accountID.isEmpty() ? Value() : Value(accountID));
    bill.setValueForKey(u"trans_billFromAccountID", Value(QStringLiteral("")));
    bill.setValueForKey(u"trans_billToAccountID", Value(QStringLiteral("")));
}

void BillRecords::setFromAccount(ManagedObject& bill, const QString& accountID)
{
    bill.setValueForKey(u"trans_billFromAccountID", accountID.isEmpty() ? Value() : Value(accountID));
}

void BillRecords::setToAccount(ManagedObject& bill, const QString& accountID)
{
    bill.setValueForKey(u"trans_billToAccountID", accountID.isEmpty() ? Value() : Value(accountID));
}

} // namespace qf
