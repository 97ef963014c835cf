#ifndef MORVEK_TESTS_RAWDEVICES_H
#define MORVEK_TESTS_RAWDEVICES_H

#include <QByteArray>
#include <QtGlobal>

#include <atomic>
#include <thread>
#include <vector>

namespace Morvek::Tests {

/** A plain socket that listens on a free port of the loopback address. */
class LoopbackListener
{
public:
    explicit LoopbackListener(int nBacklog);
    ~LoopbackListener();

    int handle() const { return m_hSocket; }
    quint16 port() const { return m_nPort; }
    /** Begins to connect a new socket; returns it, connected or not. */
    int beginConnection() const;

private:
    Q_DISABLE_COPY(LoopbackListener)

    int m_hSocket = -1;
    quint16 m_nPort = 0;
};

/** A device that is there but never answers an attempt to connect. */
class UnansweringDevice
{
public:
    UnansweringDevice();
    ~UnansweringDevice();

    quint16 port() const { return m_listener.port(); }

private:
    Q_DISABLE_COPY(UnansweringDevice)

    LoopbackListener m_listener;
    std::vector<int> m_waiting; // what fills the queue of connections
};

/**
 * A device that sends its one client a start and then a block again and again, as fast as it is
 * taken, until the client closes the connection.
 */
class FloodingDevice
{
public:
    FloodingDevice(const QByteArray &baStart, const QByteArray &baBlock);
    /** Waits until the client, if there was one, has closed its connection. */
    ~FloodingDevice();

    quint16 port() const { return m_listener.port(); }
    qint64 sentBytes() const { return m_nSent; }
    /** True once the client has closed its connection. */
    bool isClosed() const { return m_isClosed; }

private:
    Q_DISABLE_COPY(FloodingDevice)

    void serve();
    bool sendAll(int hConnection, const QByteArray &bytes);

    LoopbackListener m_listener;
    const QByteArray m_baStart;
    const QByteArray m_baBlock;
    std::atomic<qint64> m_nSent{0};
    std::atomic_bool m_isClosed{false};
    std::thread m_thread;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_RAWDEVICES_H
