#include "app/DatabaseLock.h"

#include "app/DatabasePassword.h"
#include "app/UserDefaults.h"

namespace qf {

DatabaseLock::DatabaseLock(UserDefaults& defaults) : m_defaults(defaults) {}

DatabaseLock::LockOutcome DatabaseLock::lockDatabase()
{
    if (!DatabasePassword::exists()) {
        m_defaults.setValue(DefaultsKey::ShouldEncryptDatabase, false);
        return LockOutcome::NoPassword;
    }
    if (m_locked)
        return LockOutcome::AlreadyLocked;
    m_locked = true;
    return LockOutcome::Locked;
}

DatabaseLock::UnlockOutcome DatabaseLock::unlockDatabase(const QString& typed)
{
    if (typed.isEmpty())
        return UnlockOutcome::EmptyPassword;
    const std::optional<QString> stored = DatabasePassword::read();
    if (!stored) {
        // Stays locked on purpose: the item vanished while locked, and the
        // next launch opens unlocked because encryption is now off.
        m_defaults.setValue(DefaultsKey::ShouldEncryptDatabase, false);
        return UnlockOutcome::NoPassword;
    }
    // A null stored text (unreadable item) must not match anything typed.
    if (stored->isNull() || typed != *stored)
        return UnlockOutcome::WrongPassword;
    m_locked = false;
    return UnlockOutcome::Unlocked;
}

} // namespace qf
