#include "streamclient.h"

#include <QTcpSocket>

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
    const bool isSlow = m_partEnds.size() >= MaxPicturesUnsent;
    if (isSlow || m_pSocket->write(part) != part.size()) {
        ++m_figures.m_nSkipped;
        return;
    }
    m_nBytesQueued += part.size();
    m_partEnds.enqueue(m_nBytesQueued);
}

bool StreamClient::isDrained() const
{
    return m_partEnds.isEmpty();
}

void StreamClient::slotBytesWritten(qint64 nBytes)
{
    m_nBytesWritten += nBytes;
    m_figures.m_nBytes += nBytes;
    while (!m_partEnds.isEmpty() && m_partEnds.head() <= m_nBytesWritten) {
        m_partEnds.dequeue();
        ++m_figures.m_nSent;
    }
    if (m_partEnds.isEmpty()) {
        Q_EMIT drained();
    }
}

void StreamClient::slotReadyRead()
{
    m_pSocket->skip(m_pSocket->bytesAvailable());
}

} // namespace Morvek::Tools
