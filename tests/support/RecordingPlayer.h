#pragma once

#include "app/SoundPlayer.h"

#include <QStringList>

namespace qf::test {

// Notes what would have sounded: each sound by name, each beep as "beep".
class RecordingPlayer final : public SoundPlayer {
public:
    explicit RecordingPlayer(QStringList& played) : m_played(played) {}
    void play(const QString& name) override { m_played << name; }
    void beep() override { m_played << QStringLiteral("beep"); }

private:
    QStringList& m_played;
};

} // namespace qf::test
