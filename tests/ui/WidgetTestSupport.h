#pragma once

#include "support/RecordingPlayer.h"

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

} // namespace qf::test
