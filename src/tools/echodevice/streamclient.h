#ifndef MORVEK_TOOLS_STREAMCLIENT_H
#define MORVEK_TOOLS_STREAMCLIENT_H

#include <QByteArray>
#include <QObject>
#include <QQueue>

class QTcpSocket;

namespace Morvek::Tools {

/** What went to all clients together. */
struct sStreamFigures
{
    qint64 m_nSent = 0;    ///< pictures wholly handed to the network, counted for each client
    qint64 m_nSkipped = 0; ///< pictures not offered to a client that was too slow
    qint64 m_nClients = 0; ///< that ever connected
    qint64 m_nBytes = 0;
    qint64 m_nFaults = 0; ///< played, counted for each client
};

/**
 * One receiver of the stream. Holds at most two pictures that the network did not take yet; what
 * it sends itself is thrown away.
 *
 * @thread the one that it was made on
 */
class StreamClient : public QObject
{
    Q_OBJECT

public:
    /**
     * @param pSocket  connected; owned from now on
     * @param figures  where to count; outlives this object
     */
    StreamClient(QTcpSocket *pSocket, sStreamFigures &figures, QObject *parent = nullptr);

    /** Queues a picture with its header, or skips it while two are not wholly sent. */
    void offer(const QByteArray &part);
    /** Offers a picture. @param jpeg  the picture alone, of which the part is made */
    virtual void offerPicture(const QByteArray &jpeg, const QByteArray &part);
    /** Whether the network has taken everything. */
    virtual bool isDrained() const;
    /** Breaks the connection off: a client finds it reset, not ended. */
    void reset();

Q_SIGNALS:
    /** The network has taken everything. */
    void drained();
    /** The connection is over. */
    void ended();

protected:
    /** Whether there are two pictures that are not wholly sent. */
    bool isSlow() const;
    /** Queues bytes. @param isEndOfPicture  a picture is sent once these are */
    bool send(const QByteArray &bytes, bool isEndOfPicture);
    QTcpSocket &socket() { return *m_pSocket; }
    sStreamFigures &figures() { return m_figures; }

private Q_SLOTS:
    void slotBytesWritten(qint64 nBytes);
    void slotReadyRead();

private:
    QTcpSocket *m_pSocket; // child
    sStreamFigures &m_figures;
    qint64 m_nBytesQueued = 0;
    qint64 m_nBytesWritten = 0;
    QQueue<qint64> m_partEnds; // where the parts that are not wholly written end
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_STREAMCLIENT_H
