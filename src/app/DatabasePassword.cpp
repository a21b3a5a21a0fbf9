#include "app/DatabasePassword.h"

#include "sync/ZRKeychain.h"

namespace qf::DatabasePassword {

namespace Item = DatabasePasswordItem;

bool exists()
{
    return ZRKeychain::checkForExistanceOfKeychainItem(Item::itemName, Item::itemKind, Item::username) > 0;
}

std::optional<QString> read()
{
    if (!exists())
        return std::nullopt;
    return ZRKeychain::getPasswordFromKeychainItem(Item::itemName, Item::itemKind, Item::username);
}

bool store(const QString& password)
{
    if (exists())
        return ZRKeychain::modifyKeychainItem(Item::itemName, Item::itemKind, Item::username, password);
    return ZRKeychain::addKeychainItem(Item::itemName, Item::itemKind, Item::username, password);
}

void remove()
{
    // The Secret Service and the password file may each hold a copy; one
    // delete takes only the last, and a copy left behind would still lock.
    // The bound guards against a store that reports success but keeps the item.
    for (int attempt = 0; attempt < 8 && exists(); ++attempt) {
        if (!ZRKeychain::deleteKeychainItem(Item::itemName, Item::itemKind, Item::username))
            break;
    }
}

} // namespace qf::DatabasePassword
