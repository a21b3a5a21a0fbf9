#include "app/DatabaseLock.h"
#include "app/PreferencesPasswords.h"
#include "app/UserDefaults.h"
#include "sync/PasswordFileStore.h"
#include "sync/ZRKeychain.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
namespace Db = DatabasePasswordItem;

namespace {

// The keychain is a password file in a temporary folder; the defaults keys
// the preferences write are removed before and after each test.
class PasswordsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ZRKeychain::useStores(nullptr, std::make_unique<PasswordFileStore>(m_dir.path()));
        clearKeys();
    }
    void TearDown() override
    {
        clearKeys();
        ZRKeychain::useDefaultStores();
    }
    void clearKeys()
    {
        defaults().removeObjectForKey(DefaultsKey::SharePassword);
        defaults().removeObjectForKey(DefaultsKey::ShouldEncryptDatabase);
        // Written now: the settings would otherwise keep them for the next program.
        defaults().synchronize();
    }

    static UserDefaults& defaults() { return UserDefaults::standard(); }
    static int items() { return ZRKeychain::checkForExistanceOfKeychainItem(Db::itemName, Db::itemKind, Db::username); }
    static QString stored() { return ZRKeychain::getPasswordFromKeychainItem(Db::itemName, Db::itemKind, Db::username); }
    static QString sharePassword() { return defaults().stringForKey(DefaultsKey::SharePassword); }
    static bool encrypt() { return defaults().boolForKey(DefaultsKey::ShouldEncryptDatabase); }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(PasswordsTest, UntouchedWindowClosesAndChangesNothing)
{
    PreferencesPasswords passwords(defaults());
    EXPECT_TRUE(passwords.sharingPasswordSettled());
    EXPECT_TRUE(passwords.databasePasswordSettled());
    EXPECT_TRUE(passwords.windowShouldClose(QString(), QString()));
    EXPECT_EQ(items(), 0);
    EXPECT_FALSE(defaults().contains(DefaultsKey::SharePassword));
}

TEST_F(PasswordsTest, SharingPasswordIsStoredAtOnceAndClearedByUnticking)
{
    PreferencesPasswords passwords(defaults());
    EXPECT_FALSE(passwords.sharingPasswordRequired());
    passwords.requireSharingPassword(true);
    EXPECT_FALSE(passwords.sharingPasswordSettled());
    EXPECT_EQ(passwords.validateSharingPassword(QString()), PasswordFeedback::Beep);
    EXPECT_FALSE(passwords.sharingPasswordSettled());
    EXPECT_TRUE(sharePassword().isEmpty());

    EXPECT_EQ(passwords.validateSharingPassword(QStringLiteral("open sesame")), PasswordFeedback::None);
    EXPECT_TRUE(passwords.sharingPasswordSettled());
    EXPECT_EQ(sharePassword(), QStringLiteral("open sesame"));
    EXPECT_TRUE(passwords.sharingPasswordRequired());

    // A later window starts settled and shows the box ticked.
    PreferencesPasswords later(defaults());
    EXPECT_TRUE(later.sharingPasswordRequired());
    EXPECT_TRUE(later.sharingPasswordSettled());
    // Unticking clears the stored password even though one was set.
    later.requireSharingPassword(false);
    EXPECT_TRUE(later.sharingPasswordSettled());
    EXPECT_TRUE(defaults().contains(DefaultsKey::SharePassword));
    EXPECT_EQ(sharePassword(), QString());
    EXPECT_FALSE(later.sharingPasswordRequired());
}

TEST_F(PasswordsTest, DatabasePasswordModifiesTheItemOrAddsOne)
{
    PreferencesPasswords passwords(defaults());
    passwords.encryptDatabase(true);
    EXPECT_TRUE(encrypt());
    EXPECT_FALSE(passwords.databasePasswordSettled());
    EXPECT_EQ(passwords.validateDatabasePassword(QString()), PasswordFeedback::Beep);
    EXPECT_EQ(items(), 0);
    EXPECT_FALSE(passwords.databasePasswordSettled());

    EXPECT_EQ(passwords.validateDatabasePassword(QStringLiteral("first")), PasswordFeedback::None);
    EXPECT_TRUE(passwords.databasePasswordSettled());
    EXPECT_EQ(items(), 1);
    EXPECT_EQ(stored(), QStringLiteral("first"));
    // A second password replaces the first rather than adding a second item.
    EXPECT_EQ(passwords.validateDatabasePassword(QStringLiteral("second")), PasswordFeedback::None);
    EXPECT_EQ(items(), 1);
    EXPECT_EQ(stored(), QStringLiteral("second"));
}

TEST_F(PasswordsTest, UntickingEncryptionRemovesTheItemAndTickingAgainNeedsAPassword)
{
    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("old")));
    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("older copy")));
    defaults().setValue(DefaultsKey::ShouldEncryptDatabase, true);

    PreferencesPasswords passwords(defaults());
    EXPECT_TRUE(passwords.databaseEncrypted());
    passwords.encryptDatabase(false);
    EXPECT_FALSE(encrypt());
    EXPECT_EQ(items(), 0) << "every copy goes, or the old password would still lock";
    EXPECT_TRUE(passwords.windowShouldClose(QString(), QString()));

    passwords.encryptDatabase(true);
    EXPECT_FALSE(passwords.windowShouldClose(QString(), QString()));
    EXPECT_FALSE(passwords.databasePasswordSettled());
    EXPECT_EQ(items(), 0);
    // Closing validates the field's text.
    EXPECT_TRUE(passwords.windowShouldClose(QStringLiteral("new"), QString()));
    EXPECT_EQ(stored(), QStringLiteral("new"));
}

TEST_F(PasswordsTest, ClosingValidatesBothUnsettledFieldsAndRefusesWhenEitherFails)
{
    PreferencesPasswords passwords(defaults());
    passwords.encryptDatabase(true);
    passwords.requireSharingPassword(true);

    // The database password is taken even though the sharing one fails.
    EXPECT_FALSE(passwords.windowShouldClose(QStringLiteral("db"), QString()));
    EXPECT_TRUE(passwords.databasePasswordSettled());
    EXPECT_FALSE(passwords.sharingPasswordSettled());
    EXPECT_EQ(stored(), QStringLiteral("db"));

    EXPECT_TRUE(passwords.windowShouldClose(QString(), QStringLiteral("share")));
    EXPECT_EQ(sharePassword(), QStringLiteral("share"));
    EXPECT_EQ(stored(), QStringLiteral("db")) << "a settled password is not validated again";
}

TEST_F(PasswordsTest, EditingASettledFieldMeansItIsValidatedOnClose)
{
    defaults().setValue(DefaultsKey::SharePassword, QStringLiteral("was"));
    defaults().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("was")));

    PreferencesPasswords passwords(defaults());
    passwords.databasePasswordEdited();
    passwords.sharingPasswordEdited();
    EXPECT_FALSE(passwords.windowShouldClose(QString(), QString())) << "an emptied field is not accepted";
    EXPECT_TRUE(passwords.windowShouldClose(QStringLiteral("is"), QStringLiteral("is too")));
    EXPECT_EQ(stored(), QStringLiteral("is"));
    EXPECT_EQ(sharePassword(), QStringLiteral("is too"));

    // With the boxes unticked there is nothing to validate.
    passwords.encryptDatabase(false);
    passwords.requireSharingPassword(false);
    passwords.databasePasswordEdited();
    passwords.sharingPasswordEdited();
    EXPECT_TRUE(passwords.windowShouldClose(QString(), QString()));
}

TEST_F(PasswordsTest, LockNeedsAStoredPassword)
{
    defaults().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    DatabaseLock lock(defaults());
    EXPECT_EQ(lock.lockDatabase(), DatabaseLock::LockOutcome::NoPassword);
    EXPECT_FALSE(lock.databaseLocked());
    EXPECT_FALSE(encrypt()) << "locking without a password turns encryption off";

    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("Pa55 word")));
    EXPECT_EQ(lock.lockDatabase(), DatabaseLock::LockOutcome::Locked);
    EXPECT_TRUE(lock.databaseLocked());
    EXPECT_EQ(lock.lockDatabase(), DatabaseLock::LockOutcome::AlreadyLocked);
    EXPECT_TRUE(lock.databaseLocked());
}

TEST_F(PasswordsTest, UnlockComparesExactlyAndBeepsOnEmptyOrWrong)
{
    using Outcome = DatabaseLock::UnlockOutcome;
    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("Pa55 word")));
    defaults().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    DatabaseLock lock(defaults());
    ASSERT_EQ(lock.lockDatabase(), DatabaseLock::LockOutcome::Locked);

    EXPECT_EQ(lock.unlockDatabase(QString()), Outcome::EmptyPassword);
    for (const QString& wrong : {QStringLiteral("pa55 word"), QStringLiteral("Pa55 word "), QStringLiteral("Pa55"),
                                 QStringLiteral("error")}) {
        EXPECT_EQ(lock.unlockDatabase(wrong), Outcome::WrongPassword) << wrong.toStdString();
        EXPECT_TRUE(lock.databaseLocked());
    }
    EXPECT_TRUE(DatabaseLock::beepsFor(Outcome::EmptyPassword));
    EXPECT_TRUE(DatabaseLock::beepsFor(Outcome::WrongPassword));
    EXPECT_FALSE(DatabaseLock::beepsFor(Outcome::NoPassword));
    EXPECT_FALSE(DatabaseLock::beepsFor(Outcome::Unlocked));

    EXPECT_EQ(lock.unlockDatabase(QStringLiteral("Pa55 word")), Outcome::Unlocked);
    EXPECT_FALSE(lock.databaseLocked());
    EXPECT_TRUE(encrypt()) << "unlocking leaves the preference alone";
}

TEST_F(PasswordsTest, PasswordRemovedWhileLockedTurnsEncryptionOffAndStaysLocked)
{
    ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, QStringLiteral("secret")));
    defaults().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    DatabaseLock lock(defaults());
    ASSERT_EQ(lock.lockDatabase(), DatabaseLock::LockOutcome::Locked);
    ASSERT_TRUE(ZRKeychain::deleteKeychainItem(Db::itemName, Db::itemKind, Db::username));

    EXPECT_EQ(lock.unlockDatabase(QStringLiteral("secret")), DatabaseLock::UnlockOutcome::NoPassword);
    EXPECT_TRUE(lock.databaseLocked());
    EXPECT_FALSE(encrypt());
    // The state is in memory only: a new lock (a new launch) starts unlocked.
    EXPECT_FALSE(DatabaseLock(defaults()).databaseLocked());
}
