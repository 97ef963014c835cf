#ifndef MORVEK_TESTS_MJPEGSERVER_H
#define MORVEK_TESTS_MJPEGSERVER_H

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QThread>
#include <QtGlobal>

#include <atomic>
#include <memory>

namespace Morvek::Tests {

class MjpegServerWorker;

/**
 * A device's stream for tests, on loopback, served by a thread of its own so that it goes on while
 * the test's thread waits. Every operation may be called on the test's thread and returns once it
 * has been carried out.
 */
class MjpegServer
{
public:
    /** Listens on a free port at once. */
    explicit MjpegServer(const QHostAddress &address = QHostAddress::LocalHost);
    ~MjpegServer();

    quint16 port() const;
    /** Connections accepted since the start. */
    int acceptedCount() const;
    /** Connections open now. */
    int openCount() const;
    /** Bytes that clients have sent; a reader sends none. */
    qint64 receivedBytes() const;
    /** Pictures that the stream has sent. */
    int streamedCount() const;

    /** Sends these bytes to every open connection, now. */
    void send(const QByteArray &bytes);
    /** Sends bytes one by one, each in a segment of its own where the system allows. */
    void sendSplit(const QByteArray &bytes, int nPieceSize);
    /** From now on, sends this part to every open connection again and again. */
    void stream(const QByteArray &part, int nIntervalMs);
    void stopStream();
    /** What every new connection is sent first. */
    void setGreeting(const QByteArray &bytes);
    /** Closes every open connection, politely or with a reset. */
    void closeConnections(bool isReset = false);
    /** Stops listening, so that attempts are refused; the port stays known. */
    void refuse();
    /** Listens again on the same port. */
    bool accept();

private:
    Q_DISABLE_COPY(MjpegServer)

    QThread m_thread;
    std::unique_ptr<MjpegServerWorker> m_pWorker;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_MJPEGSERVER_H
