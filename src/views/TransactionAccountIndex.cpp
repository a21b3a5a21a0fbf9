#include "views/TransactionAccountIndex.h"

#include "common/Money.h"
#include "common/Predicate.h"
#include "store/ManagedObjectContext.h"

namespace qf {

namespace {

const EntityDescription& transEntity()
{
    return ManagedObjectModel::shared().trans();
}

struct Keys {
    int accounts[3] = {transEntity().indexOfAttribute(u"trans_accountID"),
                       transEntity().indexOfAttribute(u"trans_billFromAccountID"),
                       transEntity().indexOfAttribute(u"trans_billToAccountID")};
    int amount = transEntity().indexOfAttribute(u"trans_amount");
    int isUpcoming = transEntity().indexOfAttribute(u"trans_isUpcoming");
};

const Keys& keys()
{
    static const Keys k;
    return k;
}

double shownAmount(const ManagedObject& record)
{
    return decimalAmount(record.value(keys().amount).toDouble());
}

} // namespace

void TransactionAccountIndex::rebuild(const ManagedObjectContext& context)
{
    const Keys& k = keys();
    m_follower.rebuilt(context);
    m_byAccount.clear();
    const std::vector<ManagedObject*>& records = context.objects(transEntity());
    m_records = records.size();
    for (ManagedObject* record : records) {
        // An upcoming bill's amount may read by the selected account: never kept.
        const std::int64_t micros = record->primitiveValue(k.isUpcoming).toBool()
                                        ? AmountSum::kNotExact
                                        : AmountSum::micros(decimalAmount(record->primitiveValue(k.amount).toDouble()));
        for (int key : k.accounts) {
            const std::string_view id = record->primitiveValue(key).string().view();
            if (id.empty())
                continue;
            Account& account = m_byAccount[std::string(id)];
            if (account.records.empty() || account.records.back() != record) { // once, even when both sides name the account
                account.records.push_back(record);
                account.micros.push_back(micros);
            }
        }
    }
}

void TransactionAccountIndex::follow(const ManagedObjectContext& context)
{
    if (m_follower.follow(context, transEntity(), m_records))
        rebuild(context);
}

std::vector<ManagedObject*> TransactionAccountIndex::candidates(const ManagedObjectContext& context,
                                                                const QString& accountID)
{
    follow(context);
    const std::unordered_set<ManagedObject*>& stale = m_follower.stale();
    std::vector<ManagedObject*> found;
    if (auto it = m_byAccount.find(accountID.toStdString()); it != m_byAccount.end()) {
        found.reserve(it->second.records.size() + stale.size());
        for (ManagedObject* record : it->second.records) {
            if (!record->isDeleted() && !stale.count(record))
                found.push_back(record);
        }
    }
    for (ManagedObject* record : stale) {
        if (!record->isDeleted())
            found.push_back(record);
    }
    return found;
}

void TransactionAccountIndex::addAmounts(const ManagedObjectContext& context, const QString& accountID,
                                         const Predicate& scope, AmountSum& sum)
{
    follow(context);
    const std::unordered_set<ManagedObject*>& stale = m_follower.stale();
    if (auto it = m_byAccount.find(accountID.toStdString()); it != m_byAccount.end()) {
        const Account& account = it->second;
        // A record deleted since the build is in the change log, hence stale:
        // the others need no visit unless their amount is not kept.
        for (std::size_t i = 0; i < account.records.size(); ++i) {
            if (!stale.empty() && stale.count(account.records[i]))
                continue;
            const std::int64_t micros = account.micros[i];
            if (micros != AmountSum::kNotExact)
                sum.addMicros(micros);
            else
                sum.add(shownAmount(*account.records[i]));
        }
    }
    for (ManagedObject* record : stale) {
        if (!record->isDeleted() && (scope.isNull() || scope.evaluate(*record)))
            sum.add(shownAmount(*record));
    }
}

} // namespace qf
