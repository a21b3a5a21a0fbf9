#include "editing/AccountSelector.h"

#include "store/ManagedObject.h"

#include <QStringList>

namespace qf {

AccountSelector::AccountSelector()
{
    m_items.push_back({QStringLiteral("None"), QString(), false});
}

AccountSelector::AccountSelector(const std::vector<ManagedObject*>& accounts)
    : AccountSelector()
{
    if (accounts.empty())
        return;
    m_items.push_back({QString(), QString(), true});
    for (const ManagedObject* account : accounts)
        m_items.push_back({account->valueForKey(u"vault_title").toString(),
                           account->valueForKey(u"vault_uniqueID").toString(), false});
}

QStringList AccountSelector::titles() const
{
    QStringList titles;
    for (const Item& item : m_items)
        titles.append(item.separator ? QStringLiteral("-") : item.title);
    return titles;
}

int AccountSelector::indexOfID(const QString& uniqueID) const
{
    if (uniqueID.isEmpty())
        return -1;
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (!m_items[i].separator && m_items[i].uniqueID == uniqueID)
            return int(i);
    }
    return -1;
}

bool AccountSelector::selectID(const QString& uniqueID)
{
    const int index = indexOfID(uniqueID);
    if (index < 0)
        return false;
    m_selected = index;
    return true;
}

bool AccountSelector::selectIndex(int index)
{
    if (index < 0 || index >= int(m_items.size()) || m_items[index].separator)
        return false;
    m_selected = index;
    return true;
}

} // namespace qf
