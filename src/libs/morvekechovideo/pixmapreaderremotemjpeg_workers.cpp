// The decoder and notifier threads of the MJPEG reader.

#include "pixmapreaderremotemjpeg_p.h"

#include "echofps_p.h"
#include "outofmemory_p.h"
#include "pictureguard_p.h"

#include <QDateTime>
#include <QDebug>

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <thread>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds PictureRetryInterval(5); // the picture is busy, or there is none
constexpr milliseconds ShortestNotifyInterval(10);
constexpr milliseconds DefaultNotifyInterval(100); // for a device without a frame rate

milliseconds notifyInterval(quint8 nFps)
{
    return nFps == 0 ? DefaultNotifyInterval : milliseconds(1000 / nFps);
}

/*
 * Starts a detached thread whose end shows only in isRunning. The flag is set before there is a
 * thread, so that a stop right after the start already sees it.
 */
template <typename Body>
bool startWorker(const char *pName, std::atomic_bool &isRunning, Body body)
{
    isRunning = true;
    try {
        std::thread([pName, body] {
            pthread_setname_np(pthread_self(), pName);
            body();
        }).detach();
        return true;
    } catch (const std::system_error &error) {
        qWarning() << "Cannot start thread" << pName << error.what();
    } catch (const std::bad_alloc &) {
        warnOutOfMemory();
    }
    isRunning = false;
    return false;
}

} // namespace

bool RemoteMJPEGReader::startProcessMJPEGTask()
{
    m_isStopProcesser = false;
    return startWorker("echo-decoder", m_processerIsRunning, [this] { processMJPEGTask(); });
}

bool RemoteMJPEGReader::starProcessVideoFinishedTask()
{
    m_isStopProcesser = false;
    return startWorker("echo-notifier", m_pIsRunningForFinishTask,
                       [this] { processVideoFinishedTask(); });
}

void RemoteMJPEGReader::stopProcessMJPEGTask()
{
    m_isStopProcesser = true;
    // Repeated, because a wake-up that comes just before the decoder begins to wait is lost.
    while (m_processerIsRunning) {
        m_cvQueueMJEPG.notify_all();
        std::this_thread::sleep_for(milliseconds(1));
    }
    while (m_pIsRunningForFinishTask)
        std::this_thread::sleep_for(milliseconds(1));
}

void RemoteMJPEGReader::processMJPEGTask()
{
    while (!m_isStopProcesser) {
        decodePending();
        // Also when nothing new was decoded: the lock is short, and the picture is shared.
        std::lock_guard<std::mutex> lck(m_mtxMapInputVideo);
        m_image = m_imagePrivate;
    }
    m_processerIsRunning = false; // the last access: whoever waits may destroy the reader now
}

// Decodes under the lock, so that pictures which arrive meanwhile are dropped, not queued.
void RemoteMJPEGReader::decodePending()
{
    std::unique_lock<std::mutex> lck(m_mtxQueueMJPEG);
    if (m_MJPEGBuffer.isEmpty())
        m_cvQueueMJEPG.wait(lck);
    if (m_MJPEGBuffer.isEmpty())
        return;
    if (!survivesOutOfMemory([this] { m_imagePrivate = decodePicture(m_MJPEGBuffer); }))
        m_imagePrivate = QImage();
    if (m_MJPEGBuffer.capacity() <= LargestKeptRoom)
        m_MJPEGBuffer.resize(0); // the next picture has its room already
    else
        m_MJPEGBuffer.clear();
}

void RemoteMJPEGReader::processVideoFinishedTask()
{
    if (const std::shared_ptr<Device> pDevice = device().lock())
        notifyUntilStopped(pDevice->deviceConfig().EchoVideoCfg);
    // The device is let go before the flag is cleared: nobody sees this thread ended while it still
    // holds one.
    m_pIsRunningForFinishTask = false; // the last access
}

void RemoteMJPEGReader::notifyUntilStopped(const s_EchoVideoConfig &videoCfg)
{
    while (!m_isStopProcesser)
        std::this_thread::sleep_for(notifyOnce(videoCfg));
}

// Calls the service if there is a picture; returns how long to sleep before the next try.
milliseconds RemoteMJPEGReader::notifyOnce(const s_EchoVideoConfig &videoCfg)
{
    std::unique_lock<std::mutex> lck(m_mtxMapInputVideo, std::try_to_lock);
    if (!lck.owns_lock())
        return PictureRetryInterval;
    const QDateTime dtReadFinished = QDateTime::currentDateTime();
    if (m_image.isNull())
        return PictureRetryInterval;
    // Under the lock, so that the decoder does not replace the picture while the service cuts it.
    if (m_cbReadVideoFinished)
        survivesOutOfMemory([this] { m_cbReadVideoFinished(); });
    lck.unlock();

    const milliseconds readFinishedDelta(dtReadFinished.msecsTo(QDateTime::currentDateTime()));
    const milliseconds period = notifyInterval(EchoFps::load(videoCfg));
    // A clock that was set back makes the delta negative; it must not lengthen the sleep.
    const milliseconds waitTime = std::min(period - readFinishedDelta, period);
    return std::max(waitTime, ShortestNotifyInterval);
}

} // namespace Morvek::EchoVideo::Internal
