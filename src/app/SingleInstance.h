#pragma once

#include <QObject>
#include <QStringList>

class QLocalServer;

namespace qf {

// Keeps one running copy of the program per ledger: a second launch on the
// same data folder hands its files to the first over a local socket and
// ends, and the first opens them. Launches on other folders never meet.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    // key: what this copy serves, as keyForFolder() gives it. Copies meet
    // only when their keys are equal (and they run as the same user).
    explicit SingleInstance(const QString& key, QObject* parent = nullptr);
    ~SingleInstance() override;

    // The canonical absolute path of a folder, also of one not made yet (its
    // nearest existing parent is resolved), so links and "..", relative
    // paths and a trailing slash all name the same ledger.
    static QString keyForFolder(const QString& folder);

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
