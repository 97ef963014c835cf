#ifndef MORVEK_TESTS_WALLDEVICE_H
#define MORVEK_TESTS_WALLDEVICE_H

#include <QSet>
#include <QThread>
#include <QtGlobal>

#include <memory>

namespace Morvek::Tests {

class WallDeviceWorker;

/**
 * The simulated device on a thread of its own, whose inputs can hang or go dark one by one, and
 * whose stream can fall silent.
 */
class WallDevice
{
public:
    /** Listens on a free port of the loopback address at once. */
    explicit WallDevice(int nTiles = 16, int nFps = 10);
    ~WallDevice();

    quint16 port() const;
    /** From now on these inputs show the same picture all the time. */
    void hang(const QSet<int> &inputs);
    /** From now on these inputs are black. */
    void darken(const QSet<int> &inputs);
    /** Sends nothing more, or goes on, without closing a connection. */
    void setSilent(bool isSilent);
    /** Connections that are open. */
    int clientCount() const;

private:
    Q_DISABLE_COPY(WallDevice)

    QThread m_thread;
    std::unique_ptr<WallDeviceWorker> m_pWorker;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_WALLDEVICE_H
