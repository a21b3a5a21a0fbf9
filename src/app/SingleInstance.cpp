#include "app/SingleInstance.h"

#include <QDataStream>
#include <QStringList>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace qf {

SingleInstance::SingleInstance(const QString& serverName, QObject* parent)
    : QObject(parent),
      m_name(serverName.isEmpty() ? QStringLiteral("quillfen-%1").arg(::getuid()) : serverName)
{
}

SingleInstance::~SingleInstance() = default;

bool SingleInstance::handOff(const QStringList& files, int timeoutMs)
{
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out << files;
    socket.write(message);
    if (!socket.waitForBytesWritten(timeoutMs))
        return false;
    socket.disconnectFromServer();
    return true;
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_name)) {
        // A copy that crashed leaves its socket file behind; nothing answers on it.
        QLocalServer::removeServer(m_name);
        if (!m_server->listen(m_name))
            return false;
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                QDataStream in(socket);
                in.startTransaction();
                QStringList files;
                in >> files;
                if (in.commitTransaction())
                    Q_EMIT filesReceived(files);
            });
        }
    });
    return true;
}

} // namespace qf
