#pragma once

#include <QString>

namespace qf {

class UserDefaults;

// Whether the main window is locked behind the database password. The state
// lives in memory only: every launch with ShouldEncryptDatabase set starts
// locked again. The screen fades, plays the sounds and beeps as told.
class DatabaseLock {
public:
    explicit DatabaseLock(UserDefaults& defaults);

    bool databaseLocked() const { return m_locked; }

    enum class LockOutcome {
        Locked,        // show the lock panel: empty its field, play "lockClosing"
        AlreadyLocked, // nothing to do
        NoPassword,    // no keychain item: ShouldEncryptDatabase was turned off
    };
    LockOutcome lockDatabase();

    enum class UnlockOutcome {
        Unlocked,      // hide the panel, show the content, play "lockOpening"
        EmptyPassword, // beep
        WrongPassword, // beep and empty the field
        NoPassword,    // no keychain item: ShouldEncryptDatabase was turned off, still locked
    };
    // The typed text must equal the stored password exactly.
    UnlockOutcome unlockDatabase(const QString& typed);

    static bool beepsFor(UnlockOutcome outcome)
    {
        return outcome == UnlockOutcome::EmptyPassword || outcome == UnlockOutcome::WrongPassword;
    }

private:
    UserDefaults& m_defaults;
    bool m_locked = false;
};

} // namespace qf
