#include "app/PreferencesPasswords.h"

#include "app/DatabasePassword.h"
#include "app/UserDefaults.h"

namespace qf {

PreferencesPasswords::PreferencesPasswords(UserDefaults& defaults) : m_defaults(defaults) {}

bool PreferencesPasswords::sharingPasswordRequired() const
{
    return !m_defaults.stringForKey(DefaultsKey::SharePassword).isEmpty();
}

bool PreferencesPasswords::databaseEncrypted() const
{
    return m_defaults.boolForKey(DefaultsKey::ShouldEncryptDatabase);
}

void PreferencesPasswords::requireSharingPassword(bool ticked)
{
    if (ticked) {
        m_sharingSettled = false;
        return;
    }
    m_defaults.setValue(DefaultsKey::SharePassword, QString());
    m_defaults.synchronize();
    m_sharingSettled = true;
}

PasswordFeedback PreferencesPasswords::validateSharingPassword(const QString& text)
{
    if (text.isEmpty())
        return PasswordFeedback::Beep;
    m_defaults.setValue(DefaultsKey::SharePassword, text);
    m_defaults.synchronize();
    m_sharingSettled = true;
    return PasswordFeedback::None;
}

void PreferencesPasswords::encryptDatabase(bool ticked)
{
    m_defaults.setValue(DefaultsKey::ShouldEncryptDatabase, ticked);
    if (ticked) {
        m_databaseSettled = false;
        return;
    }
    DatabasePassword::remove();
    m_databaseSettled = true;
}

PasswordFeedback PreferencesPasswords::validateDatabasePassword(const QString& text)
{
    if (text.isEmpty())
        return PasswordFeedback::Beep;
    // A keychain that refuses the write has logged why; the window still
    // closes, and the lock command later finds no item and turns locking off.
    DatabasePassword::store(text);
    m_databaseSettled = true;
    return PasswordFeedback::None;
}

void PreferencesPasswords::sharingPasswordEdited()
{
    if (sharingPasswordRequired())
        m_sharingSettled = false;
}

void PreferencesPasswords::databasePasswordEdited()
{
    if (databaseEncrypted())
        m_databaseSettled = false;
}

bool PreferencesPasswords::windowShouldClose(const QString& databaseField, const QString& sharingField)
{
    if (!m_databaseSettled)
        (void)validateDatabasePassword(databaseField);
    if (!m_sharingSettled)
        (void)validateSharingPassword(sharingField);
    return m_databaseSettled && m_sharingSettled;
}

} // namespace qf
