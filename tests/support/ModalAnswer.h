#pragma once

#include <QApplication>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <gtest/gtest.h>

namespace qf::test {

// Answers the next modal window (a question or a sheet) once it is shown. A
// window the answer leaves open fails the test and is closed, so that a
// broken answer cannot hang the run.
inline void answerNextModal(const std::function<void(QWidget*)>& answer)
{
    QTimer::singleShot(0, [answer] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal) {
            answerNextModal(answer);
            return;
        }
        answer(modal);
        QPointer<QWidget> left(modal);
        QTimer::singleShot(2000, [left] {
            if (left && left->isVisible()) {
                ADD_FAILURE() << "a modal window was left open";
                left->close();
            }
        });
    });
}

} // namespace qf::test
