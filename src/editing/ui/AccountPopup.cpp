#include "editing/ui/AccountPopup.h"

#include "editing/AccountSelector.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QSignalBlocker>

namespace qf {

void fillAccountPopup(QComboBox& popup, const AccountSelector& selector)
{
    const QSignalBlocker blocker(popup);
    popup.clear();
    const std::vector<AccountSelector::Item>& items = selector.items();
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].separator)
            popup.insertSeparator(popup.count());
        else if (i == 0) // "None", stored vocabulary
            popup.addItem(QCoreApplication::translate("AccountPopup", "None"), items[i].uniqueID);
        else
            popup.addItem(items[i].title, items[i].uniqueID);
    }
    popup.setCurrentIndex(selector.selectedIndex());
}

} // namespace qf
