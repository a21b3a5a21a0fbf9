#pragma once

#include "common/Value.h"

#include <QString>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// Paying a bill in two steps, so that a screen can show its sheets between
// them: begin() checks and, for a repeating bill, moves the due date;
// complete() books the payment once the user confirmed it.
class BillPayment {
public:
    enum class Check {
        Payable,
        MissingAccount,  // a transfer without both accounts
        NoNextDate,      // neither "Never" nor a known interval: nothing happens
        PaidToday,       // a payment of this bill is already dated today
    };

    static QString missingAccountTitle();
    static QString missingAccountText();
    static QString paidTitle();
    static QString neverPaidText();
    static QString repeatingPaidText();

    // Changes nothing. earlierPayment, when given, receives the payment
    // dated today for PaidToday.
    static Check check(const ManagedObjectContext& context, const ManagedObject& bill, AbsoluteTime now,
                       ManagedObject** earlierPayment = nullptr);
    // Transactions made by paying this bill, the one it was scheduled from
    // (its trans_paidREFID) left out.
    static std::vector<ManagedObject*> paymentsOf(const ManagedObjectContext& context, const ManagedObject& bill);

    // Moves a repeating bill to its next due date and returns the text of
    // the "Bill Paid" sheet. Call only for a bill check() found payable (or
    // PaidToday, when the user chose to pay again).
    static QString begin(ManagedObject& bill);
    // The payment transactions, dated now and pending; a "Never" bill is
    // then removed.
    static std::vector<ManagedObject*> complete(ManagedObjectContext& context, const RecordEnvironment& environment,
                                                ManagedObject& bill);
};

} // namespace qf
