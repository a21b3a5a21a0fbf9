#include "app/SoundPlayer.h"

#include "app/ResourceFolder.h"

#include <QFileInfo>

namespace qf {

namespace {

class SilentSoundPlayer final : public SoundPlayer {
public:
    void play(const QString&) override {}
};

std::unique_ptr<SoundPlayer>& sharedSlot()
{
    static std::unique_ptr<SoundPlayer> player = std::make_unique<SilentSoundPlayer>();
    return player;
}

} // namespace

SoundPlayer& SoundPlayer::shared()
{
    return *sharedSlot();
}

void SoundPlayer::setShared(std::unique_ptr<SoundPlayer> player)
{
    sharedSlot() = player ? std::move(player) : std::make_unique<SilentSoundPlayer>();
}

QString SoundPlayer::soundPath(const QString& name)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')))
        return {};
    const QString path = resourceFolder() + QStringLiteral("/sounds/") + name + QStringLiteral(".wav");
    return QFileInfo::exists(path) ? path : QString();
}

} // namespace qf
