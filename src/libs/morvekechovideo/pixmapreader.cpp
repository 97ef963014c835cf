#include "pixmapreader.h"

#include "echoframe_p.h"
#include "metatypes_p.h"
#include "pixmapreader_p.h"
#include "pixmapreaderlocalsharedmemory_p.h"
#include "pixmapreaderlocalyuv_p.h"
#include "pixmapreaderremotemjpeg_p.h"
#include "processexit_p.h"
#include "tilecut_p.h"

#include <QDebug>
#include <QMutexLocker>

#include <utility>

namespace Morvek::EchoVideo {

using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::s_EchoVideoConfig;

PixmapReader *PixmapReader::instance()
{
    static PixmapReader pixmapReader;
    return &pixmapReader;
}

PixmapReader::PixmapReader()
    : m_image(Internal::EchoFrameSize, QImage::Format_RGB32)
{
    Internal::createRegistriesBeforeService();
    Internal::registerMetaTypes();
    m_image.fill(Internal::NoSignalVideo);
    connect(DeviceList::instance(), &DeviceList::signalActivedDeviceChanged, this,
            &PixmapReader::slotActivedDeviceChanged);
    connect(DeviceList::instance(), &DeviceList::signalDeviceOnlineStatusChanged, this,
            &PixmapReader::slotDeviceOnlineStatusChanged);
}

PixmapReader::~PixmapReader()
{
    stopRead();
}

void PixmapReader::restartRead()
{
    m_isAllowStartInputVideoReadTask = true;
    if (servedDevice().expired())
        setServedDevice(DeviceList::instance()->activedDevice());
    restartInputVideoReadTask();
}

void PixmapReader::pauseRead()
{
    if (m_pPixmapReader)
        m_pPixmapReader->pauseRead();
}

void PixmapReader::stopRead()
{
    if (!m_pPixmapReader)
        return;
    m_pPixmapReader->stopRead();
    m_pPixmapReader.reset();
}

void PixmapReader::initInputVideoReadTask()
{
    const std::shared_ptr<Device> pDevice = servedDevice().lock();
    if (!pDevice)
        return;
    const auto videoSourceType = pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType;
    qDebug() << int(videoSourceType);
    switch (videoSourceType) {
    case s_EchoVideoConfig::LocalDVI:
        m_pPixmapReader = std::make_shared<Internal::LocalSharedMemoryReader>(m_image);
        break;
    case s_EchoVideoConfig::LocalFile:
        m_pPixmapReader = std::make_shared<Internal::LocalYUVReader>(m_image);
        break;
    case s_EchoVideoConfig::LocalTCP:
    case s_EchoVideoConfig::RemoteTCP:
        m_pPixmapReader = std::make_shared<Internal::RemoteMJPEGReader>(m_image);
        break;
    case s_EchoVideoConfig::Invalid:
        break;
    }
    if (m_pPixmapReader)
        m_pPixmapReader->setInputVideoReadFinishedCallback([this] { inputVideoReadFinished(); });
}

void PixmapReader::startReader()
{
    if (!m_pPixmapReader && isAllowStartInputVideoReadTask())
        initInputVideoReadTask();
    if (m_pPixmapReader)
        m_pPixmapReader->restartRead(servedDevice());
}

void PixmapReader::restartInputVideoReadTask()
{
    qInfo() << "begin start input video read task.";
    const std::shared_ptr<Device> pDevice = servedDevice().lock();
    if (pDevice && m_pPixmapReader && isSourceTypeChanged(*pDevice))
        stopRead();
    const bool isToBePaused = m_pPixmapReader && !isAllowStartInputVideoReadTask();
    if (!pDevice || isToBePaused)
        pauseRead();
    else
        startReader();
    qInfo() << "end start input video read task.";
}

// Compares the reader's own device with the new one; a type that was changed on one and the same
// device is therefore no change.
bool PixmapReader::isSourceTypeChanged(Device &device) const
{
    auto oldSourceType = s_EchoVideoConfig().ECVideoSourceType;
    if (const std::shared_ptr<Device> pOldDevice = m_pPixmapReader->device().lock())
        oldSourceType = pOldDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType;
    return device.deviceConfig().EchoVideoCfg.ECVideoSourceType != oldSourceType;
}

bool PixmapReader::isAllowStartInputVideoReadTask()
{
    const std::shared_ptr<Device> pDevice = servedDevice().lock();
    return m_isAllowStartInputVideoReadTask && pDevice && pDevice->onlineFlag();
}

void PixmapReader::slotActivedDeviceChanged()
{
    setServedDevice(DeviceList::instance()->activedDevice());
    if (m_pPixmapReader && m_pPixmapReader->isPaused())
        m_isAllowStartInputVideoReadTask = false;
    restartInputVideoReadTask();
}

void PixmapReader::slotDeviceOnlineStatusChanged(std::weak_ptr<Device> wDevice)
{
    if (!m_pPixmapReader)
        return;
    const std::shared_ptr<Device> pServedDevice = servedDevice().lock();
    const std::shared_ptr<Device> pDevice = wDevice.lock();
    if (!pServedDevice || pServedDevice != pDevice)
        return;
    if (pDevice->onlineFlag())
        startReader();
    else
        pauseRead();
}

std::weak_ptr<Device> PixmapReader::servedDevice() const
{
    QMutexLocker locker(&m_mtxActivedDevice);
    return m_pActivedDevice;
}

void PixmapReader::setServedDevice(std::weak_ptr<Device> wDevice)
{
    QMutexLocker locker(&m_mtxActivedDevice);
    m_pActivedDevice = std::move(wDevice);
}

} // namespace Morvek::EchoVideo
