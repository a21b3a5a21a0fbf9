#pragma once

#include <QObject>
#include <QStringList>

class QLocalServer;

namespace qf {

// Keeps one running copy of the program per user: a second launch hands its
// files to the first over a local socket and ends, and the first opens them.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // serverName: empty means the per-user default.
    explicit SingleInstance(const QString& serverName = {}, QObject* parent = nullptr);
    ~SingleInstance() override;

    // True when a running copy took the files; this copy should then end.
    bool handOff(const QStringList& files, int timeoutMs = 1000);
    // Becomes the running copy; false when the name cannot be claimed.
    bool listen();
    QString serverName() const { return m_name; }

Q_SIGNALS:
    // Files handed over by a later launch (possibly none: it was only started again).
    void filesReceived(const QStringList& files);

private:
    QString m_name;
    QLocalServer* m_server = nullptr;
};

} // namespace qf
