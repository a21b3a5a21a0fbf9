#include "app/ui/SystemSoundPlayer.h"

#include <QApplication>
#include <QHash>
#include <QUrl>

#ifdef QUILLFEN_HAVE_MULTIMEDIA
#include <QSoundEffect>
#endif

namespace qf {

namespace {

#ifdef QUILLFEN_HAVE_MULTIMEDIA
// One effect per sound, made on first use and kept, so a second play does
// not wait for the file to load again.
class EffectSoundPlayer final : public SoundPlayer {
public:
    void beep() override { QApplication::beep(); }

    ~EffectSoundPlayer() override { qDeleteAll(m_effects); }

    void play(const QString& name) override
    {
        QSoundEffect* effect = m_effects.value(name);
        if (!effect) {
            const QString path = SoundPlayer::soundPath(name);
            if (path.isEmpty())
                return;
            effect = new QSoundEffect;
            effect->setSource(QUrl::fromLocalFile(path));
            effect->setVolume(0.6f);
            m_effects.insert(name, effect);
        }
        // Playing while the file still loads starts it once loaded.
        effect->play();
    }

private:
    QHash<QString, QSoundEffect*> m_effects;
};
#endif

// Without sound files the system beep still sounds.
class SilentPlayer final : public SoundPlayer {
public:
    void play(const QString&) override {}
    void beep() override { QApplication::beep(); }
};

} // namespace

std::unique_ptr<SoundPlayer> SystemSoundPlayer::create()
{
#ifdef QUILLFEN_HAVE_MULTIMEDIA
    return std::make_unique<EffectSoundPlayer>();
#else
    return std::make_unique<SilentPlayer>();
#endif
}

bool SystemSoundPlayer::isAvailable()
{
#ifdef QUILLFEN_HAVE_MULTIMEDIA
    return true;
#else
    return false;
#endif
}

} // namespace qf
