#include "pixmapreader_p.h"

#include "echoframe_p.h"
#include "outofmemory_p.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds DefaultFrameInterval(100); // for a device without a frame rate
constexpr milliseconds ShortestWait(10);          // a pass that leaves no more than this is late
constexpr milliseconds LatePassWait(100);

} // namespace

Reader::Reader(QImage &image, QObject *parent)
    : QThread(parent)
    , m_image(image)
{
    setObjectName(QStringLiteral("echo-reader"));
}

Reader::~Reader() = default;

void Reader::setInputVideoReadFinishedCallback(ReadVideoFinishedCallbackType cb)
{
    m_cbReadVideoFinished = std::move(cb);
}

std::weak_ptr<Device> Reader::device()
{
    std::lock_guard<std::mutex> lck(m_mtxDevice);
    return m_pDevice;
}

void Reader::setDevice(std::weak_ptr<Device> device)
{
    std::lock_guard<std::mutex> lck(m_mtxDevice);
    m_pDevice = std::move(device);
}

void Reader::pauseRead()
{
    std::lock_guard<std::mutex> lck(m_mtxStopRead);
    m_isPauseRead = true;
    m_cvStopRead.notify_all();
}

bool Reader::isPaused()
{
    return m_isPauseRead;
}

void Reader::restartRead(std::weak_ptr<Device> device)
{
    setDevice(std::move(device));
    if (!isRunning()) {
        startRead();
    } else if (m_isPauseRead) {
        // Without m_mtxStopRead, by design: resuming never waits for a reader at work.
        m_isPauseRead = false;
        m_cvStopRead.notify_all();
    }
}

void Reader::startRead()
{
    m_isPauseRead = false;
    m_isStopRead = false;
    start(QThread::InheritPriority);
}

void Reader::stopRead()
{
    m_isStopRead = true;
    m_isPauseRead = false;
    // Repeated, because a wake-up that comes just before the task begins to wait is lost.
    while (isRunning()) {
        m_cvStopRead.notify_all();
        QThread::msleep(1);
    }
    wait(); // for the last steps of a thread that no longer counts as running
}

void Reader::run()
{
    survivesOutOfMemory([this] { readTask(); });
    m_image = filledPicture(EchoFrameSize, NoSignalVideo);
    if (m_cbReadVideoFinished)
        survivesOutOfMemory([this] { m_cbReadVideoFinished(); });
}

void Reader::waitWhilePaused()
{
    std::unique_lock<std::mutex> lck(m_mtxStopRead);
    if (m_isPauseRead)
        m_cvStopRead.wait(lck);
}

void Reader::waitForNextPass(quint8 nFps, qint64 nWorkMs)
{
    const milliseconds interval = nFps == 0 ? DefaultFrameInterval : milliseconds(1000 / nFps);
    // A clock that was set back makes the work negative; it must not lengthen the wait.
    milliseconds waitTime = interval - milliseconds(std::max<qint64>(nWorkMs, 0));
    if (waitTime <= ShortestWait)
        waitTime = LatePassWait;

    std::unique_lock<std::mutex> lck(m_mtxStopRead);
    if (m_isPauseRead)
        m_cvStopRead.wait(lck);
    else
        m_cvStopRead.wait_for(lck, waitTime);
}

LocalUSBReader::LocalUSBReader(QImage &image)
    : Reader(image)
{}

void LocalUSBReader::readTask() {}

} // namespace Morvek::EchoVideo::Internal
