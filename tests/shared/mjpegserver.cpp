#include "mjpegserver.h"

#include <QList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <sys/socket.h>

namespace Morvek::Tests {

// Lives on the server's thread; its counters are read on any.
class MjpegServerWorker : public QObject
{
public:
    bool listen(const QHostAddress &address, quint16 nPort)
    {
        m_pServer = std::make_unique<QTcpServer>();
        connect(m_pServer.get(), &QTcpServer::newConnection, this, [this] { acceptPending(); });
        if (!m_pServer->listen(address, nPort))
            return false;
        m_address = address;
        m_nPort = m_pServer->serverPort();
        return true;
    }

    void shutDown()
    {
        m_timer.reset();
        closeAll(true);
        m_pServer.reset();
    }

    void acceptPending()
    {
        while (QTcpSocket *const pSocket = m_pServer->nextPendingConnection()) {
            pSocket->setParent(this);
            pSocket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
            m_sockets.append(pSocket);
            ++m_nAccepted;
            ++m_nOpen;
            connect(pSocket, &QTcpSocket::readyRead, this,
                    [this, pSocket] { m_nReceived += pSocket->readAll().size(); });
            connect(pSocket, &QTcpSocket::disconnected, this, [this, pSocket] { forget(pSocket); });
            pSocket->write(m_greeting);
            pSocket->flush();
        }
    }

    void forget(QTcpSocket *pSocket)
    {
        if (m_sockets.removeAll(pSocket) > 0)
            --m_nOpen;
        pSocket->deleteLater();
    }

    void sendToAll(const QByteArray &bytes)
    {
        for (QTcpSocket *pSocket : qAsConst(m_sockets)) {
            pSocket->write(bytes);
            pSocket->flush();
        }
    }

    void closeAll(bool isReset)
    {
        const QList<QTcpSocket *> sockets = m_sockets;
        for (QTcpSocket *pSocket : sockets) {
            if (isReset) {
                const linger immediately{1, 0};
                setsockopt(int(pSocket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                           sizeof immediately);
                pSocket->abort();
            } else {
                pSocket->disconnectFromHost();
            }
        }
    }

    void startStream(const QByteArray &part, int nIntervalMs)
    {
        m_timer = std::make_unique<QTimer>();
        m_timer->setTimerType(Qt::PreciseTimer);
        connect(m_timer.get(), &QTimer::timeout, this, [this, part] {
            // A client that does not keep up is skipped, so that nothing piles up here.
            for (QTcpSocket *pSocket : qAsConst(m_sockets)) {
                if (pSocket->bytesToWrite() > 2 * part.size())
                    continue;
                pSocket->write(part);
                ++m_nStreamed;
            }
        });
        m_timer->start(nIntervalMs);
    }

    std::unique_ptr<QTcpServer> m_pServer;
    std::unique_ptr<QTimer> m_timer;
    QList<QTcpSocket *> m_sockets;
    QByteArray m_greeting;
    QHostAddress m_address;
    std::atomic<quint16> m_nPort{0};
    std::atomic_int m_nAccepted{0};
    std::atomic_int m_nOpen{0};
    std::atomic_int m_nStreamed{0};
    std::atomic<qint64> m_nReceived{0};
};

namespace {

template <typename Work>
void onServerThread(MjpegServerWorker *pWorker, Work work)
{
    QMetaObject::invokeMethod(pWorker, work, Qt::BlockingQueuedConnection);
}

} // namespace

MjpegServer::MjpegServer(const QHostAddress &address)
    : m_pWorker(std::make_unique<MjpegServerWorker>())
{
    m_thread.setObjectName(QStringLiteral("test-server"));
    m_pWorker->moveToThread(&m_thread);
    m_thread.start();
    onServerThread(m_pWorker.get(), [&] {
        if (!m_pWorker->listen(address, 0))
            qFatal("the test's server cannot listen: %s",
                   qPrintable(m_pWorker->m_pServer->errorString()));
    });
}

MjpegServer::~MjpegServer()
{
    onServerThread(m_pWorker.get(), [this] { m_pWorker->shutDown(); });
    m_thread.quit();
    m_thread.wait();
}

quint16 MjpegServer::port() const
{
    return m_pWorker->m_nPort;
}

int MjpegServer::acceptedCount() const
{
    return m_pWorker->m_nAccepted;
}

int MjpegServer::openCount() const
{
    return m_pWorker->m_nOpen;
}

qint64 MjpegServer::receivedBytes() const
{
    return m_pWorker->m_nReceived;
}

int MjpegServer::streamedCount() const
{
    return m_pWorker->m_nStreamed;
}

void MjpegServer::send(const QByteArray &bytes)
{
    onServerThread(m_pWorker.get(), [&] { m_pWorker->sendToAll(bytes); });
}

void MjpegServer::sendSplit(const QByteArray &bytes, int nPieceSize)
{
    for (int i = 0; i < bytes.size(); i += nPieceSize)
        send(bytes.mid(i, nPieceSize));
}

void MjpegServer::stream(const QByteArray &part, int nIntervalMs)
{
    onServerThread(m_pWorker.get(), [&] { m_pWorker->startStream(part, nIntervalMs); });
}

void MjpegServer::stopStream()
{
    onServerThread(m_pWorker.get(), [this] { m_pWorker->m_timer.reset(); });
}

void MjpegServer::setGreeting(const QByteArray &bytes)
{
    onServerThread(m_pWorker.get(), [&] { m_pWorker->m_greeting = bytes; });
}

void MjpegServer::closeConnections(bool isReset)
{
    onServerThread(m_pWorker.get(), [&] { m_pWorker->closeAll(isReset); });
}

void MjpegServer::refuse()
{
    onServerThread(m_pWorker.get(), [this] {
        m_pWorker->m_pServer->close();
        m_pWorker->closeAll(true);
    });
}

bool MjpegServer::accept()
{
    bool isListening = false;
    onServerThread(m_pWorker.get(), [&] {
        isListening = m_pWorker->listen(m_pWorker->m_address, m_pWorker->m_nPort);
    });
    return isListening;
}

} // namespace Morvek::Tests
