#include "views/SmartViewQuery.h"

#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/TempLedger.h"

#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

TEST(SmartViewQuery, StoredChoicesDecideWhatIsListedAndCardsGiveMissingIdentifiers)
{
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ledger.addTransaction(QStringLiteral("Rent"), -800, {}, 2000);
    ManagedObject* late = ledger.addTransaction(QStringLiteral("Salary"), 2500, {}, 3000);
    ManagedObject* early = ledger.addTransaction(QStringLiteral("Refund"), 20, {}, 1000);
    early->setValueForKey(u"trans_uniqueID", Value());
    ManagedObject* vault = VaultLibrary::insertVault(context, ledger.delegate(), VaultType::SmartPlaylist, QStringLiteral("In"));
    vault->setValueForKey(u"vault_smartPredicateString", Value("trans_amount > 0"));
    auto titles = [&](const QString& search = {}) {
        QStringList found;
        for (ManagedObject* t : SmartViewQuery::transactions(context, *vault, search))
            found << t->valueForKey(u"trans_title").toString();
        return found.join(QLatin1Char(','));
    };
    vault->setValueForKey(u"vault_directionFilter", Value("FilterAll"));
    EXPECT_EQ(titles(), "Refund,Salary"); // by date, oldest first
    vault->setValueForKey(u"vault_directionFilter", Value("FilterOutgoing"));
    EXPECT_EQ(titles(), "");
    EXPECT_EQ(titles(QStringLiteral("sal")), "Salary");
    vault->setValueForKey(u"vault_directionFilter", Value("Something else"));
    EXPECT_EQ(titles(), "Refund,Rent,Salary"); // no filter at all
    vault->setValueForKey(u"vault_smartPredicateString", Value("trans_amount >"));
    vault->setValueForKey(u"vault_directionFilter", Value("FilterAll"));
    EXPECT_EQ(titles(), ""); // a rule that does not read selects nothing

    SmartViewQuery::giveIdentifiers({early, late}, ledger.delegate());
    EXPECT_EQ(early->valueForKey(u"trans_uniqueID").toString().size(), 36);
    EXPECT_NE(early->valueForKey(u"trans_uniqueID"), late->valueForKey(u"trans_uniqueID"));
}
