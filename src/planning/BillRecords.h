#pragma once

#include "common/Value.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// What a bill row's Save writes.
struct BillFields {
    QString title;
    QString keywords;
    double amount = 0;
    AbsoluteTime date = 0;
    QString reoccurrence = QStringLiteral("Never");
    QString billType = QStringLiteral("Outgoing");
};

// Adding, saving and removing bills: upcoming transactions of the bills screen.
class BillRecords {
public:
    // "Incoming" and "Transfer" keep the absolute value, "Outgoing" its negative;
    // any other type keeps the amount as entered.
    static double signedAmount(double amount, const QString& billType);
    // The type a row shows: the stored one, "Outgoing" when there is none.
    static QString billTypeOf(const ManagedObject& bill);

    // A new bill: a fresh identifier, upcoming and pending, nothing else.
    static ManagedObject* addBill(ManagedObjectContext& context, const RecordEnvironment& environment);
    static void saveBill(ManagedObject& bill, const BillFields& fields);
    static void removeBill(ManagedObjectContext& context, ManagedObject* bill);

    // Tag completion of a bill row: every tag that begins with the typed
    // text (case counts) and is not that text.
    static QStringList tagCompletions(const QStringList& tags, const QString& typed);

    // Choosing an incoming or outgoing account clears the transfer accounts;
    // an empty identifier ("None") stores no account.
    static void setAccount(ManagedObject& bill, const QString& accountID);
    static void setFromAccount(ManagedObject& bill, const QString& accountID);
    static void setToAccount(ManagedObject& bill, const QString& accountID);
};

} // namespace qf
