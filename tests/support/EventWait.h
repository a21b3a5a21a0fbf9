#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <functional>

namespace qf::test {

// Runs the event loop until the condition holds (true) or the time is up
// (false), so animations and queued calls can finish.
inline bool waitUntil(const std::function<bool()>& condition, int timeoutMilliseconds = 3000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMilliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(2);
    }
    return true;
}

} // namespace qf::test
