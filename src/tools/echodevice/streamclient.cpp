#include "streamclient.h"

#include <QTcpSocket>

#include <sys/socket.h>

namespace Morvek::Tools {

namespace {

constexpr int MaxPicturesUnsent = 2;
// Nothing that a client says matters, so only a little of it is held.
constexpr int ReadBufferBytes = 64 * 1024;

} // namespace

StreamClient::StreamClient(QTcpSocket *pSocket, sStreamFigures &figures, QObject *parent)
    : QObject(parent)
    , m_pSocket(pSocket)
    , m_figures(figures)
{
    m_pSocket->setParent(this);
    m_pSocket->setReadBufferSize(ReadBufferBytes);
    m_pSocket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(m_pSocket, &QTcpSocket::bytesWritten, this, &StreamClient::slotBytesWritten);
    connect(m_pSocket, &QTcpSocket::readyRead, this, &StreamClient::slotReadyRead);
    connect(m_pSocket, &QTcpSocket::disconnected, this, &StreamClient::ended);
    ++m_figures.m_nClients;
}

void StreamClient::offer(const QByteArray &part)
{
    if (isSlow() || !send(part, true))
        ++m_figures.m_nSkipped;
}

void StreamClient::offerPicture(const QByteArray &, const QByteArray &part)
{
    offer(part);
}

bool StreamClient::isDrained() const
{
    return m_partEnds.isEmpty();
}

void StreamClient::reset()
{
    const linger immediately{1, 0};
    setsockopt(int(m_pSocket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
               sizeof immediately);
    m_pSocket->abort();
}

bool StreamClient::isSlow() const
{
    return m_partEnds.size() >= MaxPicturesUnsent;
}

bool StreamClient::send(const QByteArray &bytes, bool isEndOfPicture)
{
    if (m_pSocket->write(bytes) != bytes.size())
        return false;
    m_nBytesQueued += bytes.size();
    if (isEndOfPicture)
        m_partEnds.enqueue(m_nBytesQueued);
    return true;
}

void StreamClient::slotBytesWritten(qint64 nBytes)
{
    m_nBytesWritten += nBytes;
    m_figures.m_nBytes += nBytes;
    while (!m_partEnds.isEmpty() && m_partEnds.head() <= m_nBytesWritten) {
        m_partEnds.dequeue();
        ++m_figures.m_nSent;
    }
    if (isDrained()) {
        Q_EMIT drained();
    }
}

void StreamClient::slotReadyRead()
{
    m_pSocket->skip(m_pSocket->bytesAvailable());
}

} // namespace Morvek::Tools
