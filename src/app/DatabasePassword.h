#pragma once

#include <QString>
#include <optional>

namespace qf {

// The database password: the one keychain item named by DatabasePasswordItem.
// Keychain failures are logged by ZRKeychain and never shown; these calls
// answer as if the failed step had found nothing. Main thread only.
namespace DatabasePassword {

bool exists();
// The stored password; none when no item exists. An item whose content
// cannot be read gives a null QString, which matches no typed text.
std::optional<QString> read();
// Changes the item if one exists, else adds it.
bool store(const QString& password);
// Deletes every matching item, so that no older copy can answer later.
void remove();

} // namespace DatabasePassword

} // namespace qf
