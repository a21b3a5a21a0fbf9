#include "app/SoundPlayer.h"
#include "support/RecordingPlayer.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::RecordingPlayer;

TEST(SoundPlayer, BundledLockSoundsAreShortPcmWaves)
{
    for (const QString& name : {QStringLiteral("lockClosing"), QStringLiteral("lockOpening")}) {
        SCOPED_TRACE(name.toStdString());
        const QString path = SoundPlayer::soundPath(name);
        ASSERT_FALSE(path.isEmpty());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray header = file.read(44);
        ASSERT_EQ(header.size(), 44);
        EXPECT_EQ(header.left(4), "RIFF");
        EXPECT_EQ(header.mid(8, 8), "WAVEfmt ");
        auto u16 = [&](int at) { return quint16(uchar(header[at]) | uchar(header[at + 1]) << 8); };
        auto u32 = [&](int at) { return quint32(u16(at)) | quint32(u16(at + 2)) << 16; };
        EXPECT_EQ(u16(20), 1) << "plain PCM, which every backend plays";
        EXPECT_EQ(u16(34), 16);
        const double seconds = double(u32(40)) / u32(28);
        EXPECT_GT(seconds, 0.1);
        EXPECT_LT(seconds, 1.5) << "an interface sound must not hold up the next action";
    }
    EXPECT_TRUE(SoundPlayer::soundPath(QStringLiteral("noSuchSound")).isEmpty());
    EXPECT_TRUE(SoundPlayer::soundPath(QStringLiteral("../sounds/lockClosing")).isEmpty());
}

TEST(SoundPlayer, SharedPlayerIsSilentUntilOneIsInstalled)
{
    QStringList played;
    SoundPlayer::shared().play(QStringLiteral("lockClosing"));
    SoundPlayer::setShared(std::make_unique<RecordingPlayer>(played));
    SoundPlayer::shared().play(QStringLiteral("lockOpening"));
    SoundPlayer::setShared(nullptr);
    SoundPlayer::shared().play(QStringLiteral("lockClosing"));
    EXPECT_EQ(played, QStringList{QStringLiteral("lockOpening")});
}
