#include "sync/PasswordFileStore.h"
#include "sync/ZRKeychain.h"
#include "support/FileBytes.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
namespace Db = DatabasePasswordItem;

namespace {

// Lines logged while it lives, "warning: ..." or "info: ...".
class LogCapture {
public:
    LogCapture() { m_previous = qInstallMessageHandler(&LogCapture::record); }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        lines().clear();
    }
    static QStringList& lines()
    {
        static QStringList captured;
        return captured;
    }

private:
    static void record(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        lines() << (type == QtInfoMsg ? QStringLiteral("info: ") : QStringLiteral("warning: ")) + text;
    }
    QtMessageHandler m_previous;
};

// A Secret Service stand-in: keeps items in memory, or refuses every write.
class FakeService final : public SecretStore {
public:
    KeychainStatus refusal = KeychainStatus::Ok;
    QList<QByteArray> secrets; // all under one key in these tests

    KeychainReply<int> count(const KeychainItemKey&) override { return {KeychainStatus::Ok, int(secrets.size())}; }
    KeychainStatus add(const KeychainItemKey&, const QByteArray& secret) override
    {
        if (refusal == KeychainStatus::Ok)
            secrets.append(secret);
        return refusal;
    }
    KeychainStatus modifyFirst(const KeychainItemKey&, const QByteArray& secret) override
    {
        if (secrets.isEmpty())
            return KeychainStatus::NotFound;
        if (refusal == KeychainStatus::Ok)
            secrets.first() = secret;
        return refusal;
    }
    KeychainStatus deleteLast(const KeychainItemKey&) override
    {
        if (secrets.isEmpty())
            return KeychainStatus::NotFound;
        if (refusal == KeychainStatus::Ok)
            secrets.removeLast();
        return refusal;
    }
    KeychainReply<QByteArray> readFirst(const KeychainItemKey&) override
    {
        return secrets.isEmpty() ? KeychainReply<QByteArray>{KeychainStatus::NotFound, {}}
                                 : KeychainReply<QByteArray>{KeychainStatus::Ok, secrets.first()};
    }
};

class ZRKeychainTest : public ::testing::Test {
protected:
    void useFileOnly() { ZRKeychain::useStores(nullptr, std::make_unique<PasswordFileStore>(m_dir.path())); }
    FakeService& useFakeService()
    {
        auto service = std::make_unique<FakeService>();
        FakeService& kept = *service;
        ZRKeychain::useStores(std::move(service), std::make_unique<PasswordFileStore>(m_dir.path()));
        return kept;
    }
    void TearDown() override { ZRKeychain::useDefaultStores(); }

    int count() { return ZRKeychain::checkForExistanceOfKeychainItem(Db::itemName, Db::itemKind, Db::username); }
    bool add(const QString& password) { return ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, password); }
    bool modify(const QString& password)
    {
        return ZRKeychain::modifyKeychainItem(Db::itemName, Db::itemKind, Db::username, password);
    }
    bool remove() { return ZRKeychain::deleteKeychainItem(Db::itemName, Db::itemKind, Db::username); }
    QString get() { return ZRKeychain::getPasswordFromKeychainItem(Db::itemName, Db::itemKind, Db::username); }
    QString filePath() const { return PasswordFileStore(m_dir.path()).filePath(); }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(ZRKeychainTest, OperationsAndTheirLogLinesOnThePasswordFile)
{
    useFileOnly();
    LogCapture log;
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(get(), "error");
    EXPECT_FALSE(modify("x"));
    EXPECT_FALSE(remove());
    EXPECT_TRUE(add("one"));
    EXPECT_TRUE(add("two"));
    EXPECT_EQ(count(), 2);
    EXPECT_TRUE(modify("ONE"));
    EXPECT_TRUE(remove());
    EXPECT_EQ(get(), "ONE");
    EXPECT_EQ(LogCapture::lines(), QStringList({"info: 0 items found", "warning: Error modifying item: -4",
                                                "warning: Error deleting item: -4", "info: 2 items found"}));
}

TEST_F(ZRKeychainTest, UnreadableFileReadsAsNullNotAsMissing)
{
    useFileOnly();
    ASSERT_TRUE(qf::test::writeFile(filePath(), "{ truncated"));

    LogCapture log;
    EXPECT_EQ(count(), 0);
    const QString password = get();
    EXPECT_TRUE(password.isNull());
    EXPECT_EQ(LogCapture::lines(), QStringList({"warning: status -5 from SecKeychainSearchCreateFromAttributes",
                                                "info: 0 items found", "warning: Error = -5"}));
}

TEST_F(ZRKeychainTest, ReadBackIsCutTo1023BytesWithoutBreakingACharacter)
{
    useFileOnly();
    ASSERT_TRUE(add(QString(2000, QLatin1Char('a'))));
    EXPECT_EQ(get(), QString(1023, QLatin1Char('a')));
    EXPECT_TRUE(modify(QString(1021, QLatin1Char('a')) + QStringLiteral("é") + QStringLiteral("tail")));
    EXPECT_EQ(get(), QString(1021, QLatin1Char('a')) + QStringLiteral("é")) << "a character ending at byte 1023 stays";

    const auto cut = [](const QByteArray& bytes) { return ZRKeychain::passwordFromStoredBytes(bytes); };
    const QByteArray a1022(1022, 'a');
    EXPECT_EQ(cut(a1022 + "\xC3\xA9"), QString::fromUtf8(a1022)) << "two-byte character split after its lead";
    EXPECT_EQ(cut(QByteArray(1020, 'a') + "\xF0\x9F\x94\x92"), QString(1020, QLatin1Char('a'))) << "four-byte split";
    EXPECT_EQ(cut(QByteArray(1019, 'a') + "\xF0\x9F\x94\x92x"), QString(1019, QLatin1Char('a')) + QStringLiteral("🔒"));
    EXPECT_EQ(cut(QByteArray(1023, 'a') + "\xC3\xA9"), QString(1023, QLatin1Char('a')));
    EXPECT_FALSE(cut(QByteArray()).isNull()) << "an empty password is not an unreadable one";
}

TEST_F(ZRKeychainTest, WritesTheServiceRefusesLandInTheFileAndAreReadFirst)
{
    FakeService& service = useFakeService();
    ASSERT_TRUE(add("in service"));
    EXPECT_FALSE(QFile::exists(filePath())) << "an answering service keeps the password itself";

    service.refusal = KeychainStatus::Refused;
    LogCapture log;
    EXPECT_TRUE(modify("typed later"));
    EXPECT_EQ(get(), "typed later");
    EXPECT_EQ(count(), 2);
    EXPECT_FALSE(remove()) << "the last item found is the service's, which refuses";
    EXPECT_EQ(LogCapture::lines(), QStringList({"warning: Error modifying item: -3", "info: 2 items found",
                                                "warning: Error deleting item: -3"}));

    service.secrets.clear();
    service.refusal = KeychainStatus::TimedOut;
    EXPECT_TRUE(add("while silent"));
    EXPECT_TRUE(remove()) << "with nothing in the service, the file's last item goes";
    EXPECT_EQ(get(), "typed later");
}
