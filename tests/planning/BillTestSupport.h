#pragma once

#include "planning/BillRecords.h"
#include "planning/KVCalendarInfo.h"
#include "store/ManagedObject.h"
#include "support/PinnedZone.h"
#include "support/TempLedger.h"

namespace qf::testing {

// A launched ledger in Berlin whose clock stands still at a chosen moment.
class BillLedgerTest : public PinnedZoneTest {
protected:
    void SetUp() override
    {
        PinnedZoneTest::SetUp();
        ledger.launch();
    }
    void TearDown() override { KVCalendarInfo::setClockForTesting({}); }

    static void pinNow(AbsoluteTime now)
    {
        KVCalendarInfo::setClockForTesting([now] { return now; });
    }

    ManagedObject* bill(const QString& title, double amount, const QString& type, AbsoluteTime due,
                        const QString& repeat = QStringLiteral("Never"), const QString& keywords = {})
    {
        ManagedObject* b = BillRecords::addBill(ledger.context(), ledger.delegate());
        BillRecords::saveBill(*b, {title, keywords, amount, due, repeat, type});
        return b;
    }

    qf::test::TempLedger ledger;
};

} // namespace qf::testing
