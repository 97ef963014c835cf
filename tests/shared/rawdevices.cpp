#include "rawdevices.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Morvek::Tests {

namespace {

sockaddr_in loopback(quint16 nPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(nPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

LoopbackListener::LoopbackListener(int nBacklog)
    : m_hSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = loopback(0);
    socklen_t nSize = sizeof address;
    auto *pAddress = reinterpret_cast<sockaddr *>(&address);
    if (bind(m_hSocket, pAddress, nSize) != 0 || listen(m_hSocket, nBacklog) != 0
        || getsockname(m_hSocket, pAddress, &nSize) != 0)
        qFatal("the test's device cannot listen");
    m_nPort = ntohs(address.sin_port);
}

LoopbackListener::~LoopbackListener()
{
    close(m_hSocket);
}

int LoopbackListener::beginConnection() const
{
    const sockaddr_in address = loopback(m_nPort);
    const int hSocket = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    // Connected or in progress; the caller finds out which.
    const int nResult =
        connect(hSocket, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    Q_UNUSED(nResult)
    return hSocket;
}

UnansweringDevice::UnansweringDevice()
    : m_listener(0)
{
    // Nobody accepts: once the queue is full, further attempts are ignored.
    constexpr int ConnectedWithin = 200; // ms
    bool isConnected = true;
    while (isConnected && m_waiting.size() < 16) {
        m_waiting.push_back(m_listener.beginConnection());
        pollfd connection{m_waiting.back(), POLLOUT, 0};
        isConnected = poll(&connection, 1, ConnectedWithin) == 1;
    }
    if (isConnected)
        qFatal("the test's device answers every attempt");
}

UnansweringDevice::~UnansweringDevice()
{
    for (const int hSocket : m_waiting)
        close(hSocket);
}

FloodingDevice::FloodingDevice(const QByteArray &baStart, const QByteArray &baBlock)
    : m_listener(1)
    , m_baStart(baStart)
    , m_baBlock(baBlock)
    , m_thread([this] { serve(); })
{}

FloodingDevice::~FloodingDevice()
{
    shutdown(m_listener.handle(), SHUT_RDWR); // ends a wait for a client that never came
    m_thread.join();
}

void FloodingDevice::serve()
{
    const int hConnection = accept4(m_listener.handle(), nullptr, nullptr, SOCK_CLOEXEC);
    bool isTaken = sendAll(hConnection, m_baStart);
    while (isTaken)
        isTaken = sendAll(hConnection, m_baBlock);
    close(hConnection);
    m_isClosed = true;
}

bool FloodingDevice::sendAll(int hConnection, const QByteArray &bytes)
{
    int nDone = 0;
    while (nDone < bytes.size()) {
        const ssize_t nSent = send(hConnection, bytes.constData() + nDone,
                                   std::size_t(bytes.size() - nDone), MSG_NOSIGNAL);
        if (nSent <= 0)
            return false;
        nDone += int(nSent);
        m_nSent += nSent;
    }
    return true;
}

} // namespace Morvek::Tests
