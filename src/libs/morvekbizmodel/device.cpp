#include "device.h"

#include <QMutexLocker>

namespace Morvek::BizModel {

Device::Device(quint16 modelId)
    : m_nModelId(modelId)
{}

Device::~Device() = default;

s_DeviceConfig &Device::deviceConfig()
{
    return m_deviceConfig;
}

QString Device::IPAddress() const
{
    QMutexLocker locker(&m_mtxAddress);
    return m_strAddress;
}

bool Device::onlineFlag() const
{
    return m_isOnline;
}

quint16 Device::modelId() const
{
    return m_nModelId;
}

void Device::setIPAddress(const QString &strAddress)
{
    QMutexLocker locker(&m_mtxAddress);
    m_strAddress = strAddress;
}

void Device::setOnlineFlag(bool isOnline)
{
    m_isOnline = isOnline;
}

} // namespace Morvek::BizModel
