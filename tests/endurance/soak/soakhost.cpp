#include "soakhost.h"

#include <echolayout.h>
#include <tilestamp.h>

#include <devicelist.h>
#include <pixmapreader.h>

#include <QDateTime>
#include <QtTest>

#include <utility>

namespace Morvek::Tests {

using BizModel::DeviceList;
using BizModel::s_EchoVideoConfig;
using EchoVideo::LayerVideoManager;
using EchoVideo::PixmapReader;
using EchoVideo::sLayerItem;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerUniqueIdentifies;
using EchoVideo::sLayerVideoConfig;

namespace {

constexpr int FirstPictureMs = 10000; // and then the run goes on, and says that none came
constexpr quint16 ModelId = 1;
constexpr QSize LayerSize(480, 270); // that of a tile: its stamp stays legible

std::vector<std::shared_ptr<BizModel::Input>> makeInputs()
{
    std::vector<std::shared_ptr<BizModel::Input>> inputs;
    for (int nInput = 0; nInput < SoakTiles; ++nInput)
        inputs.push_back(std::make_shared<BizModel::Input>(quint8(nInput)));
    return inputs;
}

LayerVideoManager::ReadInputVideoFrameCallback
inputCallback(const std::vector<std::shared_ptr<BizModel::Input>> &inputs)
{
    return [inputs](auto &&, const sLayerSource &source, auto &&, QImage &picture) {
        const auto &pInput = inputs.at(source.m_nLayerSourceKeyNo);
        return PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
    };
}

} // namespace

SoakHost::SoakHost(SoakDevices &devices, quint32 nSeed)
    : m_devices(devices)
    , m_dice(nSeed)
    , m_inputs(makeInputs())
    , m_manager(inputCallback(m_inputs))
    , m_acts{
          {"device switched", &SoakHost::switchDevice, 0},
          {"device lost", &SoakHost::loseDevice, 0},
          {"source changed", &SoakHost::changeSource, 0},
          {"device restarted", &SoakHost::restartDevice, 0},
          {"reading paused", &SoakHost::pauseReading, 0},
          {"layers changed", &SoakHost::changeLayers, 0},
          {"layers removed", &SoakHost::removeLayers, 0},
          {"screen removed", &SoakHost::removeScreen, 0},
          {"manager restarted", &SoakHost::restartManager, 0},
          {"rendering paused", &SoakHost::pauseRendering, 0},
          {"reading restarted", &SoakHost::restartReading, 0},
      }
{
    for (int nTile = 0; nTile < SoakTiles; ++nTile)
        DeviceList::instance()->setEchoVideoRect(ModelId, quint8(nTile),
                                                 Tools::tileRect(SoakTiles, nTile));
    for (int nStream = 0; nStream < 2; ++nStream) {
        m_models.push_back(makeSoakDevice(m_devices.stream(nStream).port()));
        DeviceList::instance()->addDevice(m_models.back());
    }
    for (int nScreen = 0; nScreen < SoakScreens; ++nScreen)
        m_screens.push_back(
            std::make_shared<BizModel::Screen>(m_models.front(), quint8(nScreen), 0));
    connect(&m_manager, &LayerVideoManager::layerVideoRenderFinished, this, &SoakHost::takePreview);
}

SoakHost::~SoakHost()
{
    rest();
    for (const auto &pModel : m_models)
        DeviceList::instance()->removeDevice(pModel);
}

std::shared_ptr<BizModel::Device> SoakHost::makeSoakDevice(quint16 nPort) const
{
    const auto pDevice = std::make_shared<BizModel::Device>(ModelId);
    pDevice->setIPAddress(QStringLiteral("127.0.0.1"));
    pDevice->setOnlineFlag(true);
    BizModel::s_DeviceConfig &config = pDevice->deviceConfig();
    config.InputSlotCount = 4;
    config.MaxConnectorCountOfSingleCard = 4;
    config.EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::RemoteTCP;
    config.EchoVideoCfg.RemotePort = nPort;
    config.EchoVideoCfg.VideoSourcePath = m_devices.filePath();
    config.EchoVideoCfg.FPS = 25;
    return pDevice;
}

sLayerVideoConfig SoakHost::plainLayer(int nScreen, int nLayer) const
{
    sLayerVideoConfig layerCfg;
    layerCfg.m_LayerIdentifies.screenId = quint8(nScreen);
    layerCfg.m_LayerIdentifies.layerId = quint8(nLayer);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), LayerSize);
    layerCfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    layerCfg.m_LayerSource.m_nLayerSourceKeyNo =
        quint32(nScreen * SoakLayersOfAScreen + nLayer) % SoakTiles;
    return layerCfg;
}

void SoakHost::setLayers()
{
    for (int nScreen = 0; nScreen < SoakScreens; ++nScreen) {
        for (int nLayer = 0; nLayer < SoakLayersOfAScreen; ++nLayer) {
            sLayerVideoConfig layerCfg = plainLayer(nScreen, nLayer);
            m_manager.setLayerVideoConfig(layerCfg);
        }
    }
}

// Nothing else wakes render threads that found the device offline.
void SoakHost::wakeRenderer()
{
    sLayerVideoConfig layerCfg = plainLayer(0, 0);
    m_manager.findLayerVideoConfig(layerCfg.m_LayerIdentifies, layerCfg);
    m_manager.setLayerVideoConfig(layerCfg);
}

void SoakHost::start()
{
    m_nServed = 0;
    served().deviceConfig().EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::RemoteTCP;
    DeviceList::instance()->setActivedDevice(m_models.front());
    setLayers();
    PixmapReader::instance()->restartRead();
    m_manager.startManager(true);
    // Before a deed turns away from the device whose pictures are dated: deeds are drawn, and of a
    // short run a whole third might see none of it.
    const int nDated = m_nDated;
    if (!QTest::qWaitFor([&] { return m_nDated > nDated; }, FirstPictureMs))
        qWarning("no picture came after a start");
}

void SoakHost::rest()
{
    m_manager.stopManager();
    PixmapReader::instance()->stopRead();
    goLive(50); // what was queued is delivered, and ended threads are deleted
    m_manager.clearLayerVideoConfig();
}

void SoakHost::actOnce()
{
    sAct &act = m_acts.at(std::size_t(draw(0, int(m_acts.size()) - 1)));
    (this->*act.m_act)();
    ++act.m_nDone;
    goLive(draw(100, 1000));
}

void SoakHost::goLive(int nMs)
{
    QTest::qWait(nMs);
}

int SoakHost::draw(int nLeast, int nMost)
{
    return std::uniform_int_distribution<int>(nLeast, nMost)(m_dice);
}

BizModel::Device &SoakHost::served()
{
    return *m_models.at(std::size_t(m_nServed));
}

void SoakHost::switchDevice()
{
    m_nServed = 1 - m_nServed;
    DeviceList::instance()->setActivedDevice(m_models.at(std::size_t(m_nServed)));
}

void SoakHost::loseDevice()
{
    const auto &pModel = m_models.at(std::size_t(m_nServed));
    DeviceList::instance()->setDeviceOnline(pModel, false);
    goLive(draw(0, 500));
    DeviceList::instance()->setDeviceOnline(pModel, true);
    wakeRenderer();
}

// Stop, set, restart: the service does not look at the type of a device that it reads already.
void SoakHost::changeSource()
{
    constexpr s_EchoVideoConfig::eVideoSourceType Sources[] = {
        s_EchoVideoConfig::RemoteTCP, s_EchoVideoConfig::LocalDVI, s_EchoVideoConfig::LocalFile};
    PixmapReader::instance()->stopRead();
    served().deviceConfig().EchoVideoCfg.ECVideoSourceType = Sources[draw(0, 2)];
    PixmapReader::instance()->restartRead();
}

void SoakHost::restartDevice()
{
    DeviceProcess &process = draw(0, 3) == 0 ? m_devices.capture() : m_devices.stream(m_nServed);
    process.kill();
    goLive(draw(0, 500));
    if (!process.start())
        qFatal("a simulated device did not start again");
    pauseReading(); // ends the minute that is waited after a lost connection
}

void SoakHost::pauseReading()
{
    PixmapReader::instance()->pauseRead();
    goLive(draw(0, 300));
    PixmapReader::instance()->restartRead();
}

void SoakHost::changeLayers()
{
    using BizModel::Enum::Layer::BorderType;
    constexpr BorderType Borders[] = {BorderType::Invalid, BorderType::Hard_in, BorderType::Soft,
                                      BorderType::Halo_in};
    for (int i = 0; i < 10; ++i) {
        sLayerVideoConfig layerCfg =
            plainLayer(draw(1, SoakScreens - 1), draw(0, SoakLayersOfAScreen - 1));
        m_manager.findLayerVideoConfig(layerCfg.m_LayerIdentifies, layerCfg);
        layerCfg.m_LayerItem.m_boundingRect.setSize(QSizeF(draw(16, 640), draw(9, 360)));
        layerCfg.m_LayerItem.m_opacity = draw(0, 100);
        layerCfg.m_LayerItem.m_mirroringType = sLayerItem::Mirroring(draw(0, 3));
        layerCfg.m_LayerItem.m_bMonoColorEnabled = draw(0, 1) == 1;
        layerCfg.m_LayerItem.m_bReverseColorEnabled = draw(0, 1) == 1;
        layerCfg.m_LayerBorder.m_borderType = Borders[draw(0, 3)];
        layerCfg.m_LayerMask.m_bMaskEnable = draw(0, 1) == 1;
        layerCfg.m_LayerMask.m_maskSize = {10, 20, 30, 40};
        m_manager.setLayerVideoConfig(layerCfg);
    }
}

void SoakHost::removeLayers()
{
    for (int i = 0; i < 5; ++i) {
        sLayerVideoConfig layerCfg =
            plainLayer(draw(0, SoakScreens - 1), draw(0, SoakLayersOfAScreen - 1));
        m_manager.removeLayerVideoConfig(layerCfg.m_LayerIdentifies);
        goLive(draw(0, 20));
        m_manager.setLayerVideoConfig(layerCfg);
    }
}

void SoakHost::removeScreen()
{
    const auto &pScreen = m_screens.at(std::size_t(draw(0, SoakScreens - 1)));
    DeviceList::instance()->removeScreen(m_models.front(), pScreen);
    goLive(draw(0, 100));
    setLayers();
}

void SoakHost::restartManager()
{
    m_manager.stopManager();
    goLive(draw(0, 100));
    m_manager.startManager(true);
}

void SoakHost::pauseRendering()
{
    m_manager.setRenderEnable(false);
    goLive(draw(0, 300));
    m_manager.setRenderEnable(true);
}

void SoakHost::restartReading()
{
    PixmapReader::instance()->stopRead();
    PixmapReader::instance()->restartRead();
}

// The plain layer of the first screen tells how old its picture is: only a picture that it has not
// shown before, since one that stands still grows older by itself, and only of the device that does
// nothing wrong, since a fault may be a late picture.
void SoakHost::takePreview(const sLayerUniqueIdentifies &key)
{
    ++m_nPreviews;
    QImage preview;
    if (key != plainLayer(0, 0).m_LayerIdentifies || !m_manager.getLayerVideoFrame(key, preview))
        return;
    const qint64 nNow = QDateTime::currentMSecsSinceEpoch();
    const auto stamp = Tools::readTileStamp(preview, QRectF(preview.rect()), nNow);
    const auto eSource = served().deviceConfig().EchoVideoCfg.ECVideoSourceType;
    const bool isDated = m_nServed == 0 && eSource != s_EchoVideoConfig::LocalFile;
    if (!stamp || stamp->m_nFrame == m_nLastFrame || !isDated)
        return;
    m_nLastFrame = stamp->m_nFrame;
    m_ages.append(double(nNow - stamp->m_nTimeMs));
    ++m_nDated;
}

QList<double> SoakHost::takeAges()
{
    return std::exchange(m_ages, {});
}

QStringList SoakHost::deeds() const
{
    QStringList result;
    for (const sAct &act : m_acts)
        result.append(
            QStringLiteral("%1 %2 times").arg(QLatin1String(act.m_pName)).arg(act.m_nDone));
    return result;
}

} // namespace Morvek::Tests
