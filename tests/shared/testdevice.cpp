#include "testdevice.h"

#include "testpictures.h"

#include <devicelist.h>

namespace Morvek::Tests {

using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::s_EchoVideoConfig;

std::shared_ptr<Device> makeDevice(s_EchoVideoConfig::eVideoSourceType eSource, int nColumns)
{
    const auto pDevice = std::make_shared<Device>(TestModelId);
    auto &cfg = pDevice->deviceConfig();
    cfg.InputSlotStartIndex = 0;
    cfg.InputSlotCount = quint8(nColumns);
    cfg.MaxConnectorCountOfSingleCard = quint8(nColumns);
    cfg.EchoVideoCfg.ECVideoSourceType = eSource;
    cfg.EchoVideoCfg.FPS = 25;
    for (int i = 0; i < nColumns * nColumns; ++i)
        DeviceList::instance()->setEchoVideoRect(TestModelId, quint8(i), gridRect(nColumns, i));
    return pDevice;
}

std::shared_ptr<Device> makeMjpegDevice(quint16 nPort, int nColumns, const QString &strAddress)
{
    const auto pDevice = makeDevice(s_EchoVideoConfig::RemoteTCP, nColumns);
    pDevice->setIPAddress(strAddress);
    pDevice->deviceConfig().EchoVideoCfg.RemotePort = nPort;
    return pDevice;
}

ActiveDevice::ActiveDevice(const std::shared_ptr<Device> &pDevice, bool isOnline)
    : m_pDevice(pDevice)
{
    pDevice->setOnlineFlag(isOnline);
    DeviceList::instance()->addDevice(pDevice);
    DeviceList::instance()->setActivedDevice(pDevice);
}

ActiveDevice::~ActiveDevice()
{
    DeviceList::instance()->setActivedDevice({});
    DeviceList::instance()->removeDevice(m_pDevice);
}

} // namespace Morvek::Tests
