#include "app/SingleInstance.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <QLocalServer>
#include <QLocalSocket>
#include <unistd.h>

namespace qf {

SingleInstance::SingleInstance(const QString& key, QObject* parent) : QObject(parent)
{
    // A socket path has room for about a hundred bytes, a folder path may
    // not fit: the name carries a digest of the key.
    const QByteArray digest = QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256).toHex().left(32);
    m_name = QStringLiteral("quillfen-%1-%2").arg(::getuid()).arg(QString::fromLatin1(digest));
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::keyForFolder(const QString& folder)
{
    QString existing = QDir::cleanPath(QDir(folder).absolutePath());
    QStringList missing;
    while (!QFileInfo::exists(existing) && !QDir(existing).isRoot()) {
        missing.prepend(QFileInfo(existing).fileName());
        existing = QFileInfo(existing).path();
    }
    QString key = QFileInfo(existing).canonicalFilePath();
    for (const QString& part : missing)
        key += (key.endsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) + part;
    return key;
}

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
