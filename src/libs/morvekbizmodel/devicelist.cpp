#include "devicelist.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <utility>

namespace Morvek::BizModel {

namespace {

quint32 rectKey(quint16 modelId, quint8 index)
{
    return quint32(modelId) << 8 | index;
}

bool isSameDevice(const std::weak_ptr<Device> &left, const std::shared_ptr<Device> &right)
{
    return !left.owner_before(right) && !right.owner_before(left);
}

} // namespace

DeviceList *DeviceList::instance()
{
    static DeviceList deviceList;
    return &deviceList;
}

DeviceList::DeviceList()
{
    // Receivers in other threads get these arguments queued.
    qRegisterMetaType<std::weak_ptr<Device>>();
    qRegisterMetaType<std::weak_ptr<Screen>>();
    qRegisterMetaType<std::shared_ptr<Screen>>();
    qRegisterMetaType<std::shared_ptr<Layer>>();
}

DeviceList::~DeviceList() = default;

std::weak_ptr<Device> DeviceList::activedDevice() const
{
    QReadLocker locker(&m_lock);
    return m_pActivedDevice;
}

QRect DeviceList::echoVideoRect(quint16 modelId, const quint8 &index) const
{
    QReadLocker locker(&m_lock);
    return m_echoVideoRects.value(rectKey(modelId, index));
}

void DeviceList::addDevice(std::shared_ptr<Device> pDevice)
{
    QWriteLocker locker(&m_lock);
    if (pDevice && !m_devices.contains(pDevice))
        m_devices.append(pDevice);
}

void DeviceList::removeDevice(const std::shared_ptr<Device> &pDevice)
{
    bool wasActive = false;
    {
        QWriteLocker locker(&m_lock);
        m_devices.removeAll(pDevice);
        wasActive = pDevice && isSameDevice(m_pActivedDevice, pDevice);
        if (wasActive)
            m_pActivedDevice.reset();
    }
    if (wasActive)
        Q_EMIT signalActivedDeviceChanged();
}

void DeviceList::setActivedDevice(std::weak_ptr<Device> wDevice)
{
    {
        QWriteLocker locker(&m_lock);
        m_pActivedDevice = std::move(wDevice);
    }
    Q_EMIT signalActivedDeviceChanged();
}

void DeviceList::setDeviceOnline(const std::shared_ptr<Device> &pDevice, bool isOnline)
{
    if (pDevice)
        pDevice->setOnlineFlag(isOnline);
    Q_EMIT signalDeviceOnlineStatusChanged(pDevice);
}

void DeviceList::setEchoVideoRect(quint16 modelId, quint8 index, const QRect &rect)
{
    QWriteLocker locker(&m_lock);
    m_echoVideoRects.insert(rectKey(modelId, index), rect);
}

void DeviceList::removeScreen(std::weak_ptr<Device> wDevice, std::shared_ptr<Screen> pScreen)
{
    Q_EMIT signalScreenRemoved(std::move(wDevice), std::move(pScreen));
}

void DeviceList::removeLayer(std::weak_ptr<Device> wDevice, std::weak_ptr<Screen> wScreen,
                             std::shared_ptr<Layer> pLayer)
{
    Q_EMIT signalLayerRemoved(std::move(wDevice), std::move(wScreen), std::move(pLayer));
}

} // namespace Morvek::BizModel
