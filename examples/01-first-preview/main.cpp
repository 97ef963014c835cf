// The smallest host: one device, one input, one layer. Saves the first live preview.
#include <QCoreApplication>
#include <devicelist.h>
#include <layervideomanager.h>
#include <pixmapreader.h>

using namespace Morvek::BizModel;
using namespace Morvek::EchoVideo;

int main(int argc, char *argv[]) // arguments: address, port, file to write
{
    QCoreApplication app(argc, argv);
    const auto device = std::make_shared<Device>();
    const auto input = std::make_shared<Input>(0);
    auto &config = device->deviceConfig();
    config.InputSlotCount = config.MaxConnectorCountOfSingleCard = 1;
    config.EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::RemoteTCP;
    config.EchoVideoCfg.RemotePort = app.arguments().value(2).toUShort();
    device->setIPAddress(app.arguments().value(1));
    device->setOnlineFlag(true);
    DeviceList::instance()->setEchoVideoRect(device->modelId(), 0, QRect(0, 0, 480, 270));
    DeviceList::instance()->setActivedDevice(device);

    LayerVideoManager manager([&](auto, const sLayerSource &, const QSize &, QImage &picture) {
        return PixmapReader::instance()->getInputVideoFrame(input, picture, false);
    });
    QObject::connect(&manager, &LayerVideoManager::layerVideoRenderFinished, [&](auto layer) {
        QImage preview;
        manager.getLayerVideoFrame(layer, preview);
        QImage placeholder = preview;
        placeholder.fill(preview.pixel(0, 0)); // until video arrives, previews show one colour
        if (preview != placeholder)
            app.exit(preview.save(app.arguments().value(3)) ? 0 : 1);
    });
    sLayerVideoConfig layer;
    layer.m_LayerItem.m_boundingRect = QRectF(0, 0, 320, 180);
    layer.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    manager.setLayerVideoConfig(layer);
    PixmapReader::instance()->restartRead();
    manager.startManager(true);
    const int status = app.exec();
    PixmapReader::instance()->stopRead();
    return status;
}
