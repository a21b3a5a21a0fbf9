#pragma once

#include <QObject>
#include <initializer_list>
#include <vector>

class QSocketNotifier;

namespace qf {

// Turns Unix signals into a Qt signal on the thread that made the watcher.
// The handler only writes the signal's number to a socket pair; a socket
// notifier on the other end emits signalReceived() from the event loop, so
// the receiver may do anything, such as save the store.
//
// One watcher per process may hold a signal at a time; destroying it puts
// the earlier handlers back.
class UnixSignalWatcher : public QObject {
    Q_OBJECT

public:
    explicit UnixSignalWatcher(std::initializer_list<int> signalNumbers, QObject* parent = nullptr);
    ~UnixSignalWatcher() override;

    // False when the socket pair or a handler could not be set up; the
    // signals then keep their earlier handling.
    bool isWatching() const { return m_notifier != nullptr; }

Q_SIGNALS:
    void signalReceived(int signalNumber);

private:
    void readSignals();

    struct Installed;
    std::vector<Installed> m_installed;
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace qf
