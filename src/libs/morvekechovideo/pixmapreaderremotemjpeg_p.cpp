#include "pixmapreaderremotemjpeg_p.h"

#include "echoframe_p.h"
#include "mjpegframing_p.h"
#include "outofmemory_p.h"

#include <QDebug>
#include <QTcpSocket>

#include <poll.h>

#include <utility>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds ConnectTimeout(1000);
constexpr milliseconds ReadTimeout(1000);
constexpr milliseconds DisconnectTimeout(100);
constexpr auto ReconnectBackoff = std::chrono::minutes(1);
constexpr int HandOverInterval = 80; // ms; no device sends more than 12.5 useful pictures a second
constexpr int MaxReceiveBuffer = 128 * 1024 * 1024; // bytes; far above any picture

int elapsedMs(const QTime &since)
{
    constexpr int MsPerDay = 24 * 60 * 60 * 1000;
    const int nElapsed = since.msecsTo(QTime::currentTime());
    return nElapsed < 0 ? nElapsed + MsPerDay : nElapsed;
}

// QTcpSocket's own wait goes on receiving meanwhile, and never ends while a device sends faster than
// that; this one leaves the data where it is.
bool isClosedByDevice(const QTcpSocket &socket, milliseconds timeout)
{
    pollfd connection{int(socket.socketDescriptor()), POLLRDHUP, 0};
    return poll(&connection, 1, int(timeout.count())) > 0;
}

} // namespace

RemoteMJPEGReader::RemoteMJPEGReader(QImage &image)
    : Reader(image)
    , m_imagePrivate(filledPicture(EchoFrameSize, NoSignalVideo))
{}

RemoteMJPEGReader::~RemoteMJPEGReader()
{
    stopProcessMJPEGTask();
}

void RemoteMJPEGReader::restartRead(std::weak_ptr<Device> wDevice)
{
    const std::shared_ptr<Device> pDevice = wDevice.lock();
    const std::shared_ptr<Device> pCurDevice = device().lock();
    if (!pDevice && pCurDevice) {
        setDevice(std::move(wDevice));
        stopRead();
        return;
    }
    if (!pDevice) {
        setDevice(std::move(wDevice));
        startRead();
        return;
    }
    if (pDevice != pCurDevice) {
        stopRead();
        setDevice(std::move(wDevice));
        startRead();
        return;
    }
    if (!isRunning()) {
        startRead();
        return;
    }
    if (m_isPauseRead) {
        std::lock_guard<std::mutex> lck(m_mtxStopRead);
        m_isPauseRead = false;
        m_cvStopRead.notify_all();
    }
}

void RemoteMJPEGReader::readTask()
{
    m_time = QTime::currentTime();
    if (startProcessMJPEGTask() && starProcessVideoFinishedTask())
        survivesOutOfMemory([this] { readMJPEGTask(); });
    stopProcessMJPEGTask();
}

void RemoteMJPEGReader::readMJPEGTask()
{
    qDebug() << "RemoteMJPEGReader readTask start";
    const std::shared_ptr<Device> pDevice = device().lock();
    if (!pDevice)
        return;
    const quint16 nPort = pDevice->deviceConfig().EchoVideoCfg.RemotePort;
    ReceiveBuffer tcpdata; // kept from one connection to the next
    while (!m_isStopRead && pDevice->onlineFlag()) {
        const auto nextAttempt = std::chrono::steady_clock::now() + ConnectTimeout;
        if (survivesOutOfMemory([&] { runConnection(*pDevice, nPort, tcpdata); }))
            continue;
        // Nobody knows what that left of the connection; the next one is whole.
        tcpdata = ReceiveBuffer();
        waitForAttempt(nextAttempt);
    }
    qDebug() << "RemoteMJPEGReader readTask end, m_isStopRead is " << m_isStopRead.load()
             << ", pDevice is not NULL,onlineFlag is " << pDevice->onlineFlag();
}

void RemoteMJPEGReader::runConnection(const Device &device, quint16 nPort, ReceiveBuffer &tcpdata)
{
    QTcpSocket socket;
    if (!connectToDevice(socket, device, nPort))
        return;
    const bool isReadFailed = !readStream(socket, device, nPort, tcpdata);
    // This was the last connection then: a callback of the host's that takes its time, and a picture
    // that is being decoded, may end while the device is given time to close it.
    if (m_isStopRead)
        m_isStopProcesser = true;
    closeConnection(socket);
    if (isReadFailed)
        backOff();
    waitWhilePaused();
}

bool RemoteMJPEGReader::connectToDevice(QTcpSocket &socket, const Device &device, quint16 nPort)
{
    const QString strAddress = device.IPAddress();
    const auto nextAttempt = std::chrono::steady_clock::now() + ConnectTimeout;
    socket.connectToHost(strAddress, nPort, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    if (socket.waitForConnected(ConnectTimeout.count()))
        return true;
    qWarning() << "Connect to " << strAddress << ":" << nPort << " mjpeg server timeout."
               << socket.errorString();
    waitForAttempt(nextAttempt);
    return false;
}

// A refusal comes at once; the rest of the second keeps the next attempt from following on its heels
// for ever.
void RemoteMJPEGReader::waitForAttempt(std::chrono::steady_clock::time_point nextAttempt)
{
    std::unique_lock<std::mutex> lck(m_mtxStopRead);
    m_cvStopRead.wait_until(lck, nextAttempt, [this] { return m_isStopRead.load(); });
}

// Returns false when reading failed, true when a stop or a pause ended it.
bool RemoteMJPEGReader::readStream(QTcpSocket &socket, const Device &device, quint16 nPort,
                                   ReceiveBuffer &tcpdata)
{
    // While the device is offline a stop does not end this loop, by design: the stream running dry
    // does.
    while (!m_isStopRead || !device.onlineFlag()) {
        if (!socket.waitForReadyRead(ReadTimeout.count()) || !receive(socket, tcpdata)) {
            qWarning() << "Read echo video from " << device.IPAddress() << ":" << nPort
                       << " timeout." << socket.errorString();
            return false;
        }
        if (m_isPauseRead)
            return true;
        waitWhilePaused();
    }
    return true;
}

// Returns false, with the buffer emptied, for a stream that announces more than it brings.
bool RemoteMJPEGReader::receive(QTcpSocket &socket, ReceiveBuffer &tcpdata)
{
    const bool isReceived = survivesOutOfMemory([&] {
        tcpdata.appendAllOf(socket);
        const int iHeader = getVideoData(tcpdata, tcpdata.size());
        // The newest picture is incomplete; the one before it is usually complete.
        if (iHeader != -1)
            getVideoData(tcpdata, iHeader);
    });
    // Without memory for it, what has come is dropped; the stream goes on at its next header.
    const bool isWithinLimit = tcpdata.size() <= MaxReceiveBuffer;
    if (!isReceived || !isWithinLimit)
        tcpdata = ReceiveBuffer();
    return isWithinLimit;
}

int RemoteMJPEGReader::getVideoData(ReceiveBuffer &baMJPEG, int iStart)
{
    return cutPicture(baMJPEG, iStart,
                      [this](const char *pPicture, int nLength) { handOver(pPicture, nLength); });
}

// Never waits: a picture that comes too soon or while the decoder is at work is dropped.
void RemoteMJPEGReader::handOver(const char *pPicture, int nLength)
{
    if (elapsedMs(m_time) < HandOverInterval)
        return;
    std::unique_lock<std::mutex> lck(m_mtxQueueMJPEG, std::try_to_lock);
    if (!lck.owns_lock())
        return;
    m_MJPEGBuffer.reserve(m_MJPEGBuffer.size() + nLength); // and keep it, emptied or not
    m_MJPEGBuffer.append(pPicture, nLength);
    m_cvQueueMJEPG.notify_all();
    lck.unlock();
    m_time = QTime::currentTime();
}

void RemoteMJPEGReader::closeConnection(QTcpSocket &socket)
{
    // A connection that the device has closed already has nothing to wait for.
    const bool isConnected = socket.isOpen() && socket.state() != QAbstractSocket::UnconnectedState;
    if (isConnected && isClosedByDevice(socket, DisconnectTimeout))
        socket.disconnectFromHost();
    socket.abort();
}

void RemoteMJPEGReader::backOff()
{
    // Without a condition, by design: a resume cuts it short as well as a stop does.
    std::unique_lock<std::mutex> lck(m_mtxStopRead);
    m_cvStopRead.wait_for(lck, ReconnectBackoff);
}

} // namespace Morvek::EchoVideo::Internal
