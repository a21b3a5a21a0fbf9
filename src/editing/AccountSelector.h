#pragma once

#include <QString>
#include <vector>

namespace qf {

class ManagedObject;

// The contents of an account selector: "None", a separator when at least one
// account exists, then one item per account in the order given, titled by
// vault_title and carrying vault_uniqueID. "None" and the separator carry a
// null id. Exactly one item is selected; "None" after construction.
class AccountSelector {
public:
    struct Item {
        QString title;
        QString uniqueID;
        bool separator = false;
    };

    AccountSelector();
    explicit AccountSelector(const std::vector<ManagedObject*>& accounts);

    const std::vector<Item>& items() const { return m_items; }
    int selectedIndex() const { return m_selected; }
    const Item& selectedItem() const { return m_items[m_selected]; }
    // The selected account's id; null when "None" is selected.
    QString selectedID() const { return selectedItem().uniqueID; }
    QStringList titles() const;

    // False, selection unchanged, for an id no item carries (a null id included).
    bool selectID(const QString& uniqueID);
    // False, selection unchanged, for a separator or an index out of range.
    bool selectIndex(int index);
    void selectNone() { m_selected = 0; }
    bool hasID(const QString& uniqueID) const { return indexOfID(uniqueID) >= 0; }

private:
    int indexOfID(const QString& uniqueID) const;

    std::vector<Item> m_items;
    int m_selected = 0;
};

} // namespace qf
