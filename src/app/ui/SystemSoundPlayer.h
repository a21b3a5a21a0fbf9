#pragma once

#include "app/SoundPlayer.h"

#include <memory>

namespace qf {

// The desktop app's sound player: Qt Multimedia's QSoundEffect over the
// bundled WAV files. A build without Qt Multimedia gets a silent player, and
// so does a machine without a sound device (Qt logs why once).
class SystemSoundPlayer {
public:
    SystemSoundPlayer() = delete;

    static std::unique_ptr<SoundPlayer> create();
    static bool isAvailable(); // built with Qt Multimedia
};

} // namespace qf
