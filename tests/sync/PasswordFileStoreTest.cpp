#include "sync/PasswordFileStore.h"
#include "support/FileBytes.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <sys/stat.h>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::readFile;
using qf::test::writeFile;

namespace {

const KeychainItemKey kKey{QStringLiteral("Quillfen DB Password"), QStringLiteral("application password"),
                           QStringLiteral("Quillfen User")};
const KeychainItemKey kOtherUser{kKey.itemName, kKey.itemKind, QStringLiteral("quillfen user")};

int modeOf(const QString& path)
{
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

} // namespace

TEST(PasswordFileStore, ModifiesTheFirstAndDeletesTheLastOfEqualItems)
{
    QTemporaryDir dir;
    PasswordFileStore store(dir.path());
    EXPECT_EQ(store.count(kKey).value, 0);
    EXPECT_EQ(store.readFirst(kKey).status, KeychainStatus::NotFound);
    EXPECT_EQ(store.modifyFirst(kKey, "x"), KeychainStatus::NotFound);
    EXPECT_EQ(store.deleteLast(kKey), KeychainStatus::NotFound);
    EXPECT_FALSE(QFile::exists(store.filePath())) << "a failed change must not create the file";

    ASSERT_EQ(store.add(kKey, "first"), KeychainStatus::Ok);
    ASSERT_EQ(store.add(kOtherUser, "other"), KeychainStatus::Ok);
    ASSERT_EQ(store.add(kKey, "second"), KeychainStatus::Ok);
    EXPECT_EQ(store.count(kKey).value, 2);
    EXPECT_EQ(store.count(kOtherUser).value, 1) << "the user name is matched with its case";
    EXPECT_EQ(store.readFirst(kKey).value, "first");

    ASSERT_EQ(store.modifyFirst(kKey, "changed"), KeychainStatus::Ok);
    ASSERT_EQ(store.deleteLast(kKey), KeychainStatus::Ok);
    EXPECT_EQ(store.count(kKey).value, 1);
    EXPECT_EQ(store.readFirst(kKey).value, "changed") << "delete must take the last item, modify the first";
    EXPECT_EQ(store.readFirst(kOtherUser).value, "other");
}

TEST(PasswordFileStore, FileIsOwnerOnlyAndKeepsAnyBytesAcrossReopen)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("config/Quillfen"));
    const QByteArray secret("p\xC3\xA4ss\0w\xFF\"rd\n", 12);
    ASSERT_EQ(PasswordFileStore(folder).add(kKey, secret), KeychainStatus::Ok);

    PasswordFileStore reopened(folder);
    EXPECT_EQ(modeOf(reopened.filePath()), 0600);
    EXPECT_EQ(modeOf(folder), 0700);
    const KeychainReply<QByteArray> read = reopened.readFirst(kKey);
    ASSERT_TRUE(read.isOk());
    EXPECT_EQ(read.value, secret);

    // A file someone else made readable becomes owner-only at the next write.
    QFile::setPermissions(reopened.filePath(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadOther);
    ASSERT_EQ(reopened.modifyFirst(kKey, "new"), KeychainStatus::Ok);
    EXPECT_EQ(modeOf(reopened.filePath()), 0600);
}

TEST(PasswordFileStore, UnreadableFileIsAnErrorAndIsSetAsideRatherThanOverwritten)
{
    const QList<QByteArray> unreadable{
        "",
        "{\"format\":\"quillfen-stored-passwords\",\"version\":1,\"items\":[",
        "[1, 2]",
        "{\"format\":\"other\",\"version\":1,\"items\":[]}",
        "{\"format\":\"quillfen-stored-passwords\",\"version\":2,\"items\":[]}",
        "{\"format\":\"quillfen-stored-passwords\",\"version\":1,\"items\":[{\"label\":\"a\"}]}",
        "{\"format\":\"quillfen-stored-passwords\",\"version\":1,\"items\":[{\"label\":\"a\",\"description\":\"b\","
        "\"account\":\"c\",\"secret\":\"not base64!\"}]}",
    };
    for (const QByteArray& bytes : unreadable) {
        SCOPED_TRACE(bytes.toStdString());
        QTemporaryDir dir;
        PasswordFileStore store(dir.path());
        ASSERT_TRUE(writeFile(store.filePath(), bytes));

        EXPECT_EQ(store.count(kKey).status, KeychainStatus::Corrupt);
        EXPECT_EQ(store.readFirst(kKey).status, KeychainStatus::Corrupt);
        EXPECT_EQ(store.modifyFirst(kKey, "x"), KeychainStatus::Corrupt);
        EXPECT_EQ(store.deleteLast(kKey), KeychainStatus::Corrupt);
        EXPECT_EQ(readFile(store.filePath()), bytes);

        ASSERT_EQ(store.add(kKey, "typed"), KeychainStatus::Ok);
        const QStringList setAside = QDir(dir.path()).entryList({PasswordFileStore::fileName() + ".unreadable-*"});
        ASSERT_EQ(setAside.size(), 1);
        EXPECT_EQ(readFile(dir.filePath(setAside.first())), bytes);
        EXPECT_EQ(store.readFirst(kKey).value, "typed");
        EXPECT_EQ(store.count(kKey).value, 1);
    }
}
