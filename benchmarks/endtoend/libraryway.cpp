// As a host does it: the input video service, one manager, and a preview fetched when it is announced.

#include "way.h"

#include <device.h>
#include <devicelist.h>
#include <input.h>
#include <layervideomanager.h>
#include <pixmapreader.h>
#include <quickdrawing/plaindrawing_p.h>

#include <QEventLoop>
#include <QTimer>

#include <array>
#include <memory>

namespace Morvek::Benchmarks {

using namespace Morvek::EchoVideo;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

std::shared_ptr<Device> makeDevice(quint16 nPort)
{
    constexpr quint16 ModelId = 9100;
    const auto pDevice = std::make_shared<Device>(ModelId);
    pDevice->setIPAddress(QStringLiteral("127.0.0.1"));
    auto &cfg = pDevice->deviceConfig();
    cfg.InputSlotCount = InputCount;
    cfg.MaxConnectorCountOfSingleCard = 1;
    cfg.EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::RemoteTCP;
    cfg.EchoVideoCfg.RemotePort = nPort;
    cfg.EchoVideoCfg.FPS = LayersFps;
    for (int i = 0; i < InputCount; ++i) {
        const QPoint corner(i % InputColumns * TileSize.width(),
                            i / InputColumns * TileSize.height());
        DeviceList::instance()->setEchoVideoRect(ModelId, quint8(i), QRect(corner, TileSize));
    }
    return pDevice;
}

sLayerVideoConfig makeLayer(const sWork &work, int nLayer)
{
    sLayerVideoConfig cfg;
    cfg.m_LayerIdentifies.layerId = quint8(nLayer);
    cfg.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), LayerSize);
    cfg.m_LayerItem.m_opacity = int(work.opacity() * 100);
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    cfg.m_LayerSource.m_nLayerSourceKeyNo = quint32(nLayer % InputCount);
    cfg.m_LayerSource.m_sizeLayerSource = TileSize;
    cfg.m_LayerSource.m_bLayerSourceIntercept = !work.m_isWhole;
    cfg.m_LayerSource.m_rectLayerSourceIntercept = work.shownPart();
    return cfg;
}

} // namespace

void renderWithLibrary(const sWork &work, const Delivered &delivered,
                       const std::function<bool()> &isOver)
{
    const std::shared_ptr<Device> pDevice = makeDevice(work.m_nPort);
    DeviceList::instance()->addDevice(pDevice);
    DeviceList::instance()->setActivedDevice(pDevice);
    DeviceList::instance()->setDeviceOnline(pDevice, true);
    std::array<std::shared_ptr<Input>, InputCount> inputs;
    for (std::size_t i = 0; i < inputs.size(); ++i)
        inputs[i] = std::make_shared<Input>(quint8(i));

    PixmapReader &reader = *PixmapReader::instance();
    LayerVideoManager manager(
        [&](auto &&, const sLayerSource &source, auto &&, QImage &videoFrame) {
            return reader.getInputVideoFrame(inputs[source.m_nLayerSourceKeyNo], videoFrame, false);
        });
    QObject::connect(&manager, &LayerVideoManager::layerVideoRenderFinished, &manager,
                     [&](const sLayerUniqueIdentifies &layer) {
                         QImage preview;
                         manager.getLayerVideoFrame(layer, preview);
                         delivered(layer.layerId, preview);
                     });
    for (int i = 0; i < work.m_nLayers; ++i) {
        sLayerVideoConfig cfg = makeLayer(work, i);
        manager.setLayerVideoConfig(cfg);
    }
    reader.restartRead();
    manager.startManager(true);

    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        if (isOver())
            loop.quit();
    });
    timer.start(100);
    loop.exec();
    manager.stopManager();
    reader.stopRead();
}

void renderPlainly(const sWork &work, const Delivered &delivered,
                   const std::function<bool()> &isOver)
{
    Internal::setPlainDrawing(true);
    renderWithLibrary(work, delivered, isOver);
}

} // namespace Morvek::Benchmarks
