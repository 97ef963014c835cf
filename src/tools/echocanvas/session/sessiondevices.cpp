#include "sessiondevices.h"

#include <devicelist.h>
#include <echolayout.h>

#include <cmath>

namespace Morvek::Tools {

using BizModel::Device;
using BizModel::DeviceList;

namespace {

/** Only before anybody else knows the device: nothing but the rate may be written later. */
void applySettings(sSessionDevice &device, const sSceneDevice &settings)
{
    device.m_settings = settings;
    device.m_pDevice->setIPAddress(settings.m_strAddress);
    BizModel::s_EchoVideoConfig &config = device.m_pDevice->deviceConfig().EchoVideoCfg;
    config.ECVideoSourceType = settings.m_eSourceType;
    config.RemotePort = settings.m_nPort;
    config.VideoSourcePath = settings.m_strFile;
    config.FPS = quint8(settings.m_nFps);
}

} // namespace

sSessionDevice makeSessionDevice(const sSceneDevice &settings)
{
    sSessionDevice device;
    // One model for each layout: the places of the inputs belong to the model.
    const auto nModel = quint16(settings.m_nTiles);
    device.m_pDevice = std::make_shared<Device>(nModel);
    BizModel::s_DeviceConfig &config = device.m_pDevice->deviceConfig();
    // As many input cards as connectors on each: the echo picture is a square grid of inputs.
    const auto nCards = quint8(std::lround(std::sqrt(settings.m_nTiles)));
    config.InputSlotCount = nCards;
    config.MaxConnectorCountOfSingleCard = nCards;
    applySettings(device, settings);
    DeviceList *pDevices = DeviceList::instance();
    for (int nInput = 0; nInput < settings.m_nTiles; ++nInput)
        pDevices->setEchoVideoRect(nModel, quint8(nInput), tileRect(settings.m_nTiles, nInput));
    pDevices->addDevice(device.m_pDevice);
    return device;
}

void applyFps(sSessionDevice &device, int nFps)
{
    device.m_settings.m_nFps = nFps;
    // The library reads the rate on several threads; a plain store would be a race.
    __atomic_store_n(&device.m_pDevice->deviceConfig().EchoVideoCfg.FPS, quint8(nFps),
                     __ATOMIC_RELAXED);
}

int inputCountOf(Device &device)
{
    const BizModel::s_DeviceConfig &config = device.deviceConfig();
    return config.InputSlotCount * config.MaxConnectorCountOfSingleCard;
}

} // namespace Morvek::Tools
