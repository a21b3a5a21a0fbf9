#include "views/TransactionAccountIndex.h"

#include "store/ManagedObjectContext.h"

namespace qf {

namespace {

const EntityDescription& transEntity()
{
    return ManagedObjectModel::shared().trans();
}

} // namespace

void TransactionAccountIndex::rebuild(const ManagedObjectContext& context)
{
    static const int keys[] = {transEntity().indexOfAttribute(u"trans_accountID"),
                               transEntity().indexOfAttribute(u"trans_billFromAccountID"),
                               transEntity().indexOfAttribute(u"trans_billToAccountID")};
    m_follower.rebuilt(context);
    m_byAccount.clear();
    const std::vector<ManagedObject*>& records = context.objects(transEntity());
    m_records = records.size();
    for (ManagedObject* record : records) {
        for (int key : keys) {
            const std::string_view id = record->primitiveValue(key).string().view();
            if (id.empty())
                continue;
            std::vector<ManagedObject*>& list = m_byAccount[std::string(id)];
            if (list.empty() || list.back() != record) // once, even when both sides name the account
                list.push_back(record);
        }
    }
}

std::vector<ManagedObject*> TransactionAccountIndex::candidates(const ManagedObjectContext& context,
                                                                const QString& accountID)
{
    if (m_follower.follow(context, transEntity(), m_records))
        rebuild(context);
    const std::unordered_set<ManagedObject*>& stale = m_follower.stale();
    std::vector<ManagedObject*> found;
    if (auto it = m_byAccount.find(accountID.toStdString()); it != m_byAccount.end()) {
        found.reserve(it->second.size() + stale.size());
        for (ManagedObject* record : it->second) {
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

} // namespace qf
