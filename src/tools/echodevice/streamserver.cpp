#include "streamserver.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

namespace Morvek::Tools {

namespace {

using namespace std::chrono_literals;

constexpr int MaxClients = 64;
constexpr auto AcceptPause = 1s; // after a failure such as too many open files

QByteArray streamPart(const QByteArray &jpeg)
{
    return "--morvek-echo-picture\r\n"
           "Content-Type: image/jpeg\r\n"
           "Content-Length: "
         + QByteArray::number(jpeg.size()) + "\r\n\r\n" + jpeg + "\r\n";
}

} // namespace

StreamServer::StreamServer(QObject *parent)
    : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &StreamServer::slotNewConnection);
    connect(&m_server, &QTcpServer::acceptError, this, &StreamServer::slotAcceptError);
}

bool StreamServer::listen(const QHostAddress &address, quint16 nPort)
{
    return m_server.listen(address, nPort);
}

bool StreamServer::isDrained() const
{
    return std::all_of(m_clients.cbegin(), m_clients.cend(),
                       [](const StreamClient *pClient) { return pClient->isDrained(); });
}

void StreamServer::broadcast(const QByteArray &jpeg)
{
    const QByteArray part = streamPart(jpeg);
    for (StreamClient *pClient : std::as_const(m_clients)) {
        pClient->offer(part);
    }
}

void StreamServer::slotNewConnection()
{
    while (QTcpSocket *pSocket = m_server.nextPendingConnection()) {
        if (m_clients.size() < MaxClients) {
            addClient(pSocket);
        } else {
            qWarning("A client was turned away: there are %d already.", MaxClients);
            pSocket->abort();
            pSocket->deleteLater();
        }
    }
}

void StreamServer::slotAcceptError()
{
    qWarning("A client could not be accepted: %s", qUtf8Printable(m_server.errorString()));
    // The server accepts nobody after an error until it is told to.
    QTimer::singleShot(AcceptPause, &m_server, &QTcpServer::resumeAccepting);
}

void StreamServer::addClient(QTcpSocket *pSocket)
{
    auto *pClient = new StreamClient(pSocket, m_figures, this);
    connect(pClient, &StreamClient::drained, this, &StreamServer::tellIfDrained);
    connect(pClient, &StreamClient::ended, this, [this, pClient] { removeClient(pClient); });
    m_clients.append(pClient);
    Q_EMIT clientCountChanged(m_clients.size());
}

void StreamServer::removeClient(StreamClient *pClient)
{
    m_clients.removeOne(pClient);
    pClient->deleteLater();
    Q_EMIT clientCountChanged(m_clients.size());
    tellIfDrained();
}

void StreamServer::tellIfDrained()
{
    if (isDrained()) {
        Q_EMIT drained();
    }
}

} // namespace Morvek::Tools
