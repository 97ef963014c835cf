#include "pixmapreaderlocalsharedmemory_p.h"

#include "echofps_p.h"
#include "echoframe_p.h"
#include "outofmemory_p.h"

#include <shm_cap.h>

#include <QDateTime>
#include <QDebug>

#include <atomic>
#include <cstdlib>
#include <utility>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

constexpr int CaptureNotReady = -1;
constexpr qint64 CaptureWarningInterval = 300'000; // ms

} // namespace

LocalSharedMemoryReader::LocalSharedMemoryReader(QImage &image)
    : Reader(image)
{}

LocalSharedMemoryReader::~LocalSharedMemoryReader() = default;

void LocalSharedMemoryReader::readTask()
{
    qDebug() << "LocalSharedMemoryReader readTask start";
    const std::shared_ptr<Device> pDevice = device().lock();
    if (!pDevice)
        return;
    const s_EchoVideoConfig &videoCfg = pDevice->deviceConfig().EchoVideoCfg;
    QImage tempImage(EchoFrameSize, QImage::Format_RGB888);
    QImage spareImage;
    int _nShmCapInitResult = CaptureNotReady;
    while (!m_isStopRead && pDevice->onlineFlag()) {
        const QDateTime dtStartReadFrame = QDateTime::currentDateTime();
        if (_nShmCapInitResult == CaptureNotReady) {
            _nShmCapInitResult = cap_framebuffer_init(0);
            // After every call, by design: also a success leaves a trace in the log.
            qWarning() << "shm_cap_init has failed! The result = " << _nShmCapInitResult;
        } else {
            readFrame(tempImage, spareImage);
        }
        waitForNextPass(EchoFps::load(videoCfg),
                        dtStartReadFrame.msecsTo(QDateTime::currentDateTime()));
    }
    qDebug() << "LocalSharedMemoryReader readTask end, m_isStopRead is " << m_isStopRead.load()
             << ", pDevice is not NULL,onlineFlag is " << pDevice->onlineFlag();
}

// The two pictures take turns: while one is published, the next frame is captured into the other.
void LocalSharedMemoryReader::readFrame(QImage &tempImage, QImage &spareImage)
{
    // Still held by somebody: writing would first copy the old frame.
    if (!tempImage.isDetached())
        tempImage = QImage(EchoFrameSize, QImage::Format_RGB888);
    if (tempImage.isNull()) {
        warnOutOfMemory();
        return;
    }
    const int nBytes = int(tempImage.sizeInBytes());
    const int ret = cap_get_framebuffer_data(tempImage.bits(), nBytes);
    if (ret == nBytes) {
        m_image = tempImage;
        std::swap(tempImage, spareImage);
        if (m_cbReadVideoFinished)
            survivesOutOfMemory([this] { m_cbReadVideoFinished(); });
    } else if (isCaptureWarningDue(QDateTime::currentMSecsSinceEpoch())) {
        qWarning() << "Read Local Shared Memory video frame has failed! The result=" << ret;
    }
}

bool isCaptureWarningDue(qint64 nNowMs)
{
    static std::atomic<qint64> nLastWarning{0}; // ms since the epoch; 0 before the first failure
    qint64 nStart = 0;
    if (nLastWarning.compare_exchange_strong(nStart, nNowMs))
        return false;
    if (std::abs(nNowMs - nStart) <= CaptureWarningInterval)
        return false;
    nLastWarning = nNowMs;
    return true;
}

} // namespace Morvek::EchoVideo::Internal
