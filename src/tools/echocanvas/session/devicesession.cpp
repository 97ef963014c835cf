#include "devicesession.h"

#include <devicelist.h>
#include <echolayout.h>
#include <pixmapreader.h>

#include <cmath>

namespace Morvek::Tools {

using BizModel::Device;
using BizModel::DeviceList;
using BizModel::Input;
using EchoVideo::LayerVideoManager;
using EchoVideo::PixmapReader;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerUniqueIdentifies;
using EchoVideo::sLayerVideoConfig;

namespace {

constexpr quint16 ModelId = 1; // the one model whose echo picture is laid out here

QVector<std::shared_ptr<Input>> makeInputs(int nCount)
{
    QVector<std::shared_ptr<Input>> inputs;
    for (int nInput = 0; nInput < nCount; ++nInput)
        inputs.append(std::make_shared<Input>(quint8(nInput)));
    return inputs;
}

} // namespace

DeviceSession::DeviceSession(const sScene &scene, QObject *parent)
    : QObject(parent)
    , m_inputs(makeInputs(scene.m_device.m_nTiles))
    , m_manager(inputCallback(m_inputs))
{
    buildDevice(scene.m_device);
    registerLayers(scene);
    connect(&m_manager, &LayerVideoManager::layerVideoRenderFinished, this,
            &DeviceSession::previewFinished);
}

DeviceSession::~DeviceSession()
{
    stop();
    // The manager hears of it and forgets the screens' layers.
    for (const auto &pScreen : std::as_const(m_screens))
        DeviceList::instance()->removeScreen(m_pDevice, pScreen);
    DeviceList::instance()->removeDevice(m_pDevice);
}

void DeviceSession::buildDevice(const sSceneDevice &device)
{
    m_pDevice = std::make_shared<Device>(ModelId);
    m_pDevice->setIPAddress(device.m_strAddress);
    BizModel::s_DeviceConfig &config = m_pDevice->deviceConfig();
    // As many input cards as connectors on each: the echo picture is a square grid of inputs.
    const auto nCards = quint8(std::lround(std::sqrt(device.m_nTiles)));
    config.InputSlotCount = nCards;
    config.MaxConnectorCountOfSingleCard = nCards;
    config.EchoVideoCfg.ECVideoSourceType = device.m_eSourceType;
    config.EchoVideoCfg.RemotePort = device.m_nPort;
    config.EchoVideoCfg.VideoSourcePath = device.m_strFile;
    config.EchoVideoCfg.FPS = quint8(device.m_nFps);

    DeviceList *pDevices = DeviceList::instance();
    for (int nInput = 0; nInput < device.m_nTiles; ++nInput)
        pDevices->setEchoVideoRect(ModelId, quint8(nInput), tileRect(device.m_nTiles, nInput));
    pDevices->addDevice(m_pDevice);
    pDevices->setActivedDevice(m_pDevice);
}

void DeviceSession::registerLayers(const sScene &scene)
{
    for (const sSceneScreen &screen : scene.m_screens) {
        const sLayerUniqueIdentifies key = screen.m_layers.first().m_config.m_LayerIdentifies;
        m_screens.append(
            std::make_shared<BizModel::Screen>(m_pDevice, key.screenId, key.screenType));
        for (const sSceneLayer &layer : screen.m_layers) {
            sLayerVideoConfig config = layer.m_config;
            m_manager.setLayerVideoConfig(config);
        }
    }
    m_firstLayer = scene.m_screens.first().m_layers.first().m_config.m_LayerIdentifies;
}

/**
 * The callback runs on render threads, so it touches nothing but its own copy of the inputs and the
 * service, which guards its pictures itself.
 */
LayerVideoManager::ReadInputVideoFrameCallback DeviceSession::inputCallback(const Inputs &inputs)
{
    return [inputs](std::weak_ptr<Device>, const sLayerSource &source, const QSize &,
                    QImage &picture) {
        const std::shared_ptr<Input> pInput = inputs.value(int(source.m_nLayerSourceKeyNo));
        return PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
    };
}

bool DeviceSession::start()
{
    // The service belongs to the thread that asks for it first: this one, not a render thread.
    PixmapReader::instance();
    m_isStarted = true;
    setOnline(true);
    return m_manager.startManager(true);
}

void DeviceSession::stop()
{
    if (!m_isStarted)
        return;
    m_isStarted = false;
    m_manager.stopManager();
    // A reader of an offline device ends only once the device is back, so stopping would block.
    if (!m_pDevice->onlineFlag())
        DeviceList::instance()->setDeviceOnline(m_pDevice, true);
    PixmapReader::instance()->stopRead();
}

void DeviceSession::setOnline(bool isOnline)
{
    DeviceList::instance()->setDeviceOnline(m_pDevice, isOnline);
    if (!isOnline)
        return;
    // A service that has no reader yet does not start one because a device comes online.
    PixmapReader::instance()->restartRead();
    wakeRenderer();
}

/**
 * A render thread that found the device offline sleeps until a configuration is written: fetch one
 * and write it back as it is.
 */
void DeviceSession::wakeRenderer()
{
    sLayerVideoConfig config;
    if (m_manager.findLayerVideoConfig(m_firstLayer, config))
        m_manager.setLayerVideoConfig(config);
}

QImage DeviceSession::preview(const sLayerUniqueIdentifies &layer)
{
    QImage preview;
    m_manager.getLayerVideoFrame(layer, preview);
    return preview;
}

QVector<QImage> DeviceSession::inputPictures() const
{
    QVector<QImage> pictures;
    for (const auto &pInput : m_inputs) {
        QImage picture;
        PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
        pictures.append(picture);
    }
    return pictures;
}

} // namespace Morvek::Tools
