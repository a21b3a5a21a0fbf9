#pragma once

#include <QString>

namespace qf {

class UserDefaults;

// What the screen should do after a password step.
enum class PasswordFeedback { None, Beep };

// The two passwords of the preferences window: the sharing password (plain
// text in the user defaults under SharePassword) and the database password
// (in the keychain). Each is "settled" when the window may close as far as it
// is concerned; both start settled, so an untouched window always closes.
// A ticked checkbox with no accepted password is unsettled.
class PreferencesPasswords {
public:
    explicit PreferencesPasswords(UserDefaults& defaults);

    bool sharingPasswordSettled() const { return m_sharingSettled; }
    bool databasePasswordSettled() const { return m_databaseSettled; }

    // The checkboxes' state as the defaults and the keychain hold it now.
    bool sharingPasswordRequired() const;
    bool databaseEncrypted() const;

    // Unticked clears SharePassword at once and settles; ticked unsettles
    // until a password is validated.
    void requireSharingPassword(bool ticked);
    // Empty beeps and stays unsettled; otherwise stores the text in
    // SharePassword, writes the defaults to disk and settles.
    [[nodiscard]] PasswordFeedback validateSharingPassword(const QString& text);

    // Sets ShouldEncryptDatabase. Unticked deletes the keychain item and
    // settles; ticked unsettles until a password is validated.
    void encryptDatabase(bool ticked);
    // Empty beeps and stays unsettled; otherwise stores the text in the
    // keychain (changing the item or adding it) and settles.
    [[nodiscard]] PasswordFeedback validateDatabasePassword(const QString& text);

    // A field typed into after it was settled must be validated again, or the
    // typed text would be dropped silently when the window closes.
    void sharingPasswordEdited();
    void databasePasswordEdited();

    // Validates each unsettled password from its field, the database one
    // first. False (beep, keep the window open) when either stays unsettled.
    [[nodiscard]] bool windowShouldClose(const QString& databaseField, const QString& sharingField);

private:
    UserDefaults& m_defaults;
    bool m_sharingSettled = true;
    bool m_databaseSettled = true;
};

} // namespace qf
