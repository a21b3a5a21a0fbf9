#pragma once

#include "app/SoundPlayer.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStringList>

namespace qf::test {

// A menu command by its menu's title and its own text; null when absent.
inline QAction* menuAction(QMainWindow& window, const QString& menuTitle, const QString& text)
{
    for (QAction* top : window.menuBar()->actions()) {
        if (top->text() != menuTitle)
            continue;
        for (QAction* action : top->menu()->actions()) {
            if (action->text() == text)
                return action;
        }
    }
    return nullptr;
}

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
