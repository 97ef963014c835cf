#include "pixmapreader_p.h"

#include "echoframe_p.h"
#include "outofmemory_p.h"

#include <utility>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;

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

LocalUSBReader::LocalUSBReader(QImage &image)
    : Reader(image)
{
}

void LocalUSBReader::readTask()
{
}

NoSignalReader::NoSignalReader(QImage &image)
    : Reader(image)
{
}

void NoSignalReader::readTask()
{
}

} // namespace Morvek::EchoVideo::Internal
