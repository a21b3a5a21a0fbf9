#include "app/SingleInstance.h"
#include "support/EventWait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::waitUntil;

namespace {

// A key no other test run uses, so runs side by side never meet.
QString freshKey(const QString& name)
{
    return QStringLiteral("/test-") + QUuid::createUuid().toString(QUuid::Id128) + QLatin1Char('/') + name;
}

} // namespace

TEST(SingleInstance, ALaunchOnTheSameLedgerHandsOverAndOneOnAnotherDoesNot)
{
    const QString ledger = freshKey(QStringLiteral("Quillfen"));
    SingleInstance later(ledger);
    EXPECT_FALSE(later.handOff({QStringLiteral("/nobody/listens")}, 200));

    SingleInstance first(ledger);
    ASSERT_TRUE(first.listen());
    QStringList received;
    bool arrived = false;
    QObject::connect(&first, &SingleInstance::filesReceived, [&](const QStringList& files) {
        received = files;
        arrived = true;
    });

    SingleInstance otherLedger(freshKey(QStringLiteral("Quillfen")));
    EXPECT_NE(otherLedger.serverName(), first.serverName());
    EXPECT_FALSE(otherLedger.handOff({QStringLiteral("/cache/OTHER.quillfenTransItem")}, 200));
    SingleInstance example(ledger + QStringLiteral("_Example"));
    EXPECT_FALSE(example.handOff({}, 200));
    // The other ledger becomes a running copy of its own beside the first.
    EXPECT_TRUE(otherLedger.listen());

    const QStringList files{QStringLiteral("/cache/ABC.quillfenTransItem"), QStringLiteral("/tmp/ä b.txt")};
    ASSERT_TRUE(later.handOff(files));
    EXPECT_TRUE(waitUntil([&] { return arrived; }));
    EXPECT_EQ(received, files);
}

TEST(SingleInstance, EverySpellingOfAFolderIsOneKey)
{
    QTemporaryDir dir;
    const QString real = dir.path() + QStringLiteral("/real");
    ASSERT_TRUE(QDir().mkpath(real + QStringLiteral("/Quillfen")));
    ASSERT_TRUE(QFile::link(real, dir.path() + QStringLiteral("/link")));
    const QString key = SingleInstance::keyForFolder(real + QStringLiteral("/Quillfen"));
    EXPECT_EQ(key, QDir(real).canonicalPath() + QStringLiteral("/Quillfen"));
    EXPECT_EQ(SingleInstance::keyForFolder(dir.path() + QStringLiteral("/link/Quillfen/")), key);
    EXPECT_EQ(SingleInstance::keyForFolder(real + QStringLiteral("/../real/./Quillfen")), key);
    const QString current = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(real));
    EXPECT_EQ(SingleInstance::keyForFolder(QStringLiteral("Quillfen")), key);
    ASSERT_TRUE(QDir::setCurrent(current));

    // A folder not made yet (the first start) resolves through its parents.
    const QString fresh = SingleInstance::keyForFolder(dir.path() + QStringLiteral("/link/new/Quillfen"));
    EXPECT_EQ(fresh, QDir(real).canonicalPath() + QStringLiteral("/new/Quillfen"));
    EXPECT_NE(SingleInstance::keyForFolder(real + QStringLiteral("/Quillfen_Example")), key);
}
