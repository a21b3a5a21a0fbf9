#include "PrivateSecretService.h"

#include "sync/SecretServiceStore.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <cstdlib>

namespace qf::test {

ScopedEnvironment::ScopedEnvironment(const char* name, const QByteArray& value)
    : m_name(name), m_hadValue(qEnvironmentVariableIsSet(name)), m_oldValue(qgetenv(name))
{
    qputenv(name, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
    if (m_hadValue)
        qputenv(m_name, m_oldValue);
    else
        qunsetenv(m_name);
}

PrivateSecretService::PrivateSecretService(Keyring keyring)
{
    for (const char* program : {"dbus-daemon", "gnome-keyring-daemon"}) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty()) {
            m_failure = QStringLiteral("%1 is not installed").arg(QString::fromLatin1(program));
            return;
        }
    }
    QDir(m_dir.path()).mkpath(QStringLiteral("home"));
    QDir(m_dir.path()).mkpath(QStringLiteral("run"));
    QFile::setPermissions(m_dir.filePath(QStringLiteral("run")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    if (!startBus() || !startKeyring(keyring))
        return;

    // The keyring owns its bus name a moment after it starts.
    SecretServiceStore probe({std::chrono::milliseconds(1000), std::chrono::milliseconds(0)});
    QDeadlineTimer patience(10000);
    while (!probe.answers()) {
        if (patience.hasExpired() || m_keyring.state() != QProcess::Running) {
            m_failure = QStringLiteral("gnome-keyring-daemon did not answer on the private bus");
            return;
        }
        QThread::msleep(50);
    }
}

PrivateSecretService::~PrivateSecretService()
{
    stop(m_keyring);
    stop(m_bus);
}

bool PrivateSecretService::startBus()
{
    const QString config = m_dir.filePath(QStringLiteral("bus.conf"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // No <servicedir>: nothing may be started behind the test's back.
    file.write(QStringLiteral(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:dir=%1</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
)")
                   .arg(m_dir.path())
                   .toUtf8());
    file.close();

    m_bus.setStandardErrorFile(QProcess::nullDevice());
    m_bus.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
    QDeadlineTimer patience(5000);
    while (!m_bus.canReadLine() && !patience.hasExpired() && m_bus.waitForReadyRead(patience.remainingTime())) {
    }
    const QByteArray address = m_bus.readLine().trimmed();
    if (address.isEmpty()) {
        m_failure = QStringLiteral("dbus-daemon did not start: %1").arg(m_bus.errorString());
        return false;
    }
    m_busAddress = std::make_unique<ScopedEnvironment>("DBUS_SESSION_BUS_ADDRESS", address);
    return true;
}

bool PrivateSecretService::startKeyring(Keyring keyring)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), m_dir.filePath(QStringLiteral("home")));
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_dir.filePath(QStringLiteral("run")));
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(qgetenv("DBUS_SESSION_BUS_ADDRESS")));
    for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QString::fromLatin1(name));
    m_keyring.setProcessEnvironment(environment);
    m_keyring.setStandardOutputFile(QProcess::nullDevice());
    m_keyring.setStandardErrorFile(QProcess::nullDevice());

    QStringList arguments{QStringLiteral("--foreground"), QStringLiteral("--components=secrets")};
    if (keyring == Keyring::Unlocked)
        arguments << QStringLiteral("--unlock");
    m_keyring.start(QStringLiteral("gnome-keyring-daemon"), arguments);
    if (!m_keyring.waitForStarted(5000)) {
        m_failure = QStringLiteral("gnome-keyring-daemon did not start: %1").arg(m_keyring.errorString());
        return false;
    }
    if (keyring == Keyring::Unlocked) {
        // Without an event loop nothing reaches the pipe unless we wait for it.
        m_keyring.write("keyring-password");
        m_keyring.waitForBytesWritten(3000);
    }
    m_keyring.closeWriteChannel();
    return true;
}

void PrivateSecretService::stop(QProcess& process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate(); // SIGTERM to the process's own PID
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished(3000);
    }
}

} // namespace qf::test
