#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>
#include <memory>

namespace qf::test {

// Sets an environment variable for its lifetime, then restores the old value.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const QByteArray& value);
    ~ScopedEnvironment();

private:
    const char* m_name;
    bool m_hadValue;
    QByteArray m_oldValue;
};

// A private session bus (no service activation) and a gnome-keyring serving
// secrets on it, with a throw-away HOME; DBUS_SESSION_BUS_ADDRESS points at
// that bus while the object lives. Both processes are stopped by their PID
// when it goes. When either cannot run, failure() says why.
class PrivateSecretService {
public:
    enum class Keyring { Unlocked, NeverUnlocked };

    explicit PrivateSecretService(Keyring keyring);
    ~PrivateSecretService();

    QString failure() const { return m_failure; }

private:
    bool startBus();
    bool startKeyring(Keyring keyring);
    static void stop(QProcess& process);

    QTemporaryDir m_dir;
    QProcess m_bus;
    QProcess m_keyring;
    QString m_failure;
    std::unique_ptr<ScopedEnvironment> m_busAddress;
};

} // namespace qf::test
