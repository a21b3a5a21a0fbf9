#pragma once

#include <QString>
#include <memory>

namespace qf {

// Plays the program's short interface sounds by resource name ("lockClosing"),
// from the sounds folder of the resources. The shared player is silent until
// the desktop app installs one that makes sound, so tests and the CLI never
// play anything. Main thread only.
class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;

    // A name with no sound file behind it plays nothing.
    virtual void play(const QString& name) = 0;
    // The system alert for input refused without a message.
    virtual void beep() {}

    static SoundPlayer& shared();
    // Null returns to silence.
    static void setShared(std::unique_ptr<SoundPlayer> player);

    // resources/sounds/<name>.wav; empty when there is no such file.
    static QString soundPath(const QString& name);
};

} // namespace qf
