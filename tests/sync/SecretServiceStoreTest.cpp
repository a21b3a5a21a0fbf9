#include "PrivateSecretService.h"

#include "sync/PasswordFileStore.h"
#include "sync/SecretServiceStore.h"
#include "sync/ZRKeychain.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalServer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::PrivateSecretService;
using qf::test::ScopedEnvironment;
using namespace std::chrono_literals;

namespace {

const KeychainItemKey kKey{QStringLiteral("Quillfen DB Password"), QStringLiteral("application password"),
                           QStringLiteral("Quillfen User")};
const KeychainItemKey kOtherKind{kKey.itemName, QStringLiteral("Application password"), kKey.username};

// The whole keychain over a given service store and a password file in a
// temporary folder, back to the defaults afterwards.
class KeychainOver {
public:
    explicit KeychainOver(std::unique_ptr<SecretStore> service)
    {
        ZRKeychain::useStores(std::move(service), std::make_unique<PasswordFileStore>(m_dir.path()));
    }
    ~KeychainOver() { ZRKeychain::useDefaultStores(); }
    PasswordFileStore file() const { return PasswordFileStore(m_dir.path()); }

private:
    QTemporaryDir m_dir;
};

bool add(const QString& password)
{
    return ZRKeychain::addKeychainItem(kKey.itemName, kKey.itemKind, kKey.username, password);
}
QString get() { return ZRKeychain::getPasswordFromKeychainItem(kKey.itemName, kKey.itemKind, kKey.username); }
int count() { return ZRKeychain::checkForExistanceOfKeychainItem(kKey.itemName, kKey.itemKind, kKey.username); }

} // namespace

TEST(SecretServiceStore, OperationsOnARealKeyring)
{
    PrivateSecretService keyring(PrivateSecretService::Keyring::Unlocked);
    if (!keyring.failure().isEmpty())
        GTEST_SKIP() << "no Secret Service for this test: " << keyring.failure().toStdString();

    SecretServiceStore store;
    EXPECT_EQ(store.count(kKey).value, 0);
    EXPECT_EQ(store.readFirst(kKey).status, KeychainStatus::NotFound);
    EXPECT_EQ(store.modifyFirst(kKey, "x"), KeychainStatus::NotFound);
    EXPECT_EQ(store.deleteLast(kKey), KeychainStatus::NotFound);

    const QByteArray unusual("p\xC3\xA4ss w\"rd", 11);
    ASSERT_EQ(store.add(kKey, unusual), KeychainStatus::Ok);
    ASSERT_EQ(store.add(kOtherKind, "other"), KeychainStatus::Ok);
    ASSERT_EQ(store.add(kKey, "second"), KeychainStatus::Ok);
    EXPECT_EQ(store.count(kKey).value, 2);
    EXPECT_EQ(store.count(kOtherKind).value, 1) << "the item kind is matched with its case";
    EXPECT_EQ(store.readFirst(kKey).value, unusual);

    ASSERT_EQ(store.modifyFirst(kKey, "changed"), KeychainStatus::Ok);
    ASSERT_EQ(store.deleteLast(kKey), KeychainStatus::Ok);
    EXPECT_EQ(store.count(kKey).value, 1);
    EXPECT_EQ(store.readFirst(kKey).value, "changed") << "delete must take the last item, modify the first";

    KeychainOver keychain(std::make_unique<SecretServiceStore>());
    EXPECT_EQ(get(), "changed");
    EXPECT_TRUE(add("another"));
    EXPECT_EQ(count(), 2);
    EXPECT_FALSE(QFile::exists(keychain.file().filePath())) << "an answering keyring keeps the passwords";
}

TEST(SecretServiceStore, KeyringThatWasNeverUnlockedRefusesAndTheFileKeepsThePassword)
{
    PrivateSecretService keyring(PrivateSecretService::Keyring::NeverUnlocked);
    if (!keyring.failure().isEmpty())
        GTEST_SKIP() << "no Secret Service for this test: " << keyring.failure().toStdString();

    EXPECT_EQ(SecretServiceStore().add(kKey, "typed"), KeychainStatus::Refused);
    KeychainOver keychain(std::make_unique<SecretServiceStore>());
    EXPECT_TRUE(add("typed"));
    EXPECT_EQ(keychain.file().readFirst(kKey).value, "typed");
    EXPECT_EQ(get(), "typed");
}

TEST(SecretServiceStore, NoBusAtAllFallsBackAtOnce)
{
    QTemporaryDir dir;
    ScopedEnvironment bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + dir.filePath("nobody-listens").toUtf8());
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(SecretServiceStore().answers());
    {
        KeychainOver keychain(std::make_unique<SecretServiceStore>());
        EXPECT_TRUE(add("kept"));
        EXPECT_EQ(count(), 1);
        EXPECT_EQ(get(), "kept");
        EXPECT_EQ(keychain.file().readFirst(kKey).value, "kept");
    }
    // Guards against a hang, not a speed: each of these fails on connect.
    EXPECT_LT(clock.elapsed(), 3000);
}

TEST(SecretServiceStore, BusThatNeverAnswersEndsAtTheDeadlineAndThenRests)
{
    QTemporaryDir dir;
    QLocalServer silent; // accepts connections and never says a word
    ASSERT_TRUE(silent.listen(dir.filePath(QStringLiteral("silent"))));
    ScopedEnvironment bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + silent.fullServerName().toUtf8());

    SecretServiceStore::Options options{300ms, 60s};
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(SecretServiceStore(options).count(kKey).status, KeychainStatus::TimedOut);
    EXPECT_LT(clock.elapsed(), 3000) << "the deadline must cut a silent bus";

    KeychainOver keychain(std::make_unique<SecretServiceStore>(options));
    clock.restart();
    EXPECT_TRUE(add("kept")) << "the first call waits for the deadline, then the file takes it";
    EXPECT_EQ(get(), "kept");
    EXPECT_EQ(count(), 1);
    EXPECT_LT(clock.elapsed(), 3000) << "after one silence the store must not wait again";
}
