#pragma once

class QComboBox;

namespace qf {

class AccountSelector;

// Shows an account selector in a combo box: "None", a separator when there
// are accounts, then the accounts, with the selector's item selected. The
// combo's indices are the selector's, so an index the user picks can be
// handed back to it unchanged.
void fillAccountPopup(QComboBox& popup, const AccountSelector& selector);

} // namespace qf
