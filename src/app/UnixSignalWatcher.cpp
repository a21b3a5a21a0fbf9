#include "app/UnixSignalWatcher.h"

#include <QPointer>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace qf {

namespace {

// [0] is written by the handler, [1] read by the notifier. Global, because a
// signal handler can reach nothing else.
int g_signalSocket[2] = {-1, -1};

void writeSignalNumber(int signalNumber)
{
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(signalNumber);
    // Non-blocking: when the socket is full the loop has bytes waiting
    // already, and one more of the same kind would tell it nothing new.
    [[maybe_unused]] const ssize_t written = ::write(g_signalSocket[0], &byte, 1);
    errno = savedErrno;
}

void closeSignalSocket()
{
    for (int& fd : g_signalSocket) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

} // namespace

struct UnixSignalWatcher::Installed {
    int signalNumber;
    struct sigaction previous;
};

UnixSignalWatcher::UnixSignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent) : QObject(parent)
{
    if (g_signalSocket[0] >= 0) {
        qWarning("Unix signals are already watched elsewhere in this process");
        return;
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, g_signalSocket) != 0) {
        qWarning("Could not make the socket pair for Unix signals: %s", std::strerror(errno));
        return;
    }
    for (int signalNumber : signalNumbers) {
        struct sigaction action {};
        action.sa_handler = writeSignalNumber;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        Installed installed{signalNumber, {}};
        if (::sigaction(signalNumber, &action, &installed.previous) != 0) {
            qWarning("Could not catch signal %d: %s", signalNumber, std::strerror(errno));
            for (const Installed& earlier : m_installed)
                ::sigaction(earlier.signalNumber, &earlier.previous, nullptr);
            m_installed.clear();
            closeSignalSocket();
            return;
        }
        m_installed.push_back(installed);
    }
    m_notifier = new QSocketNotifier(g_signalSocket[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignalWatcher::readSignals);
}

UnixSignalWatcher::~UnixSignalWatcher()
{
    if (!m_notifier)
        return;
    for (const Installed& installed : m_installed)
        ::sigaction(installed.signalNumber, &installed.previous, nullptr);
    delete m_notifier;
    closeSignalSocket();
}

void UnixSignalWatcher::readSignals()
{
    std::vector<int> received;
    unsigned char bytes[64];
    ssize_t count;
    while ((count = ::read(g_signalSocket[1], bytes, sizeof bytes)) > 0)
        received.insert(received.end(), bytes, bytes + count);
    // A receiver may end the watcher (or the program) while handling one.
    QPointer<UnixSignalWatcher> alive(this);
    for (int signalNumber : received) {
        if (!alive)
            return;
        Q_EMIT signalReceived(signalNumber);
    }
}

} // namespace qf
