// Exits with 0 if the installed libraries were found, linked and work.
#include <devicelist.h>
#include <layervideomanager.h>
#include <morvekbizmodel/input.h>
#include <morvekechovideo/layervideomanager.h>
#include <morvekechovideo/pixmapreader.h>
#include <pixmapreader.h>
#include <shm_cap.h>
#include <shm_cap/shm_cap.h>

#include <QCoreApplication>

#include <cstdio>

using namespace Morvek::BizModel;
using namespace Morvek::EchoVideo;

namespace {

int nFailures = 0;

void check(bool isRight, const char *pWhat)
{
    if (!isRight) {
        ++nFailures;
        std::fprintf(stderr, "consumer: %s is wrong\n", pWhat);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);

    QImage picture;
    const auto pInput = std::make_shared<Input>(3);
    check(!PixmapReader::instance()->getInputVideoFrame(pInput, picture, false), "no device");
    check(picture.pixel(1, 1) == qRgb(23, 24, 26), "placeholder");

    const auto pDevice = std::make_shared<Device>(quint16(1));
    DeviceList::instance()->addDevice(pDevice);
    DeviceList::instance()->setActivedDevice(pDevice);
    DeviceList::instance()->setDeviceOnline(pDevice, true);

    LayerVideoManager manager({});
    QImage preview;
    QObject::connect(&manager, &LayerVideoManager::layerVideoRenderFinished, &app,
                     [&](sLayerUniqueIdentifies layer) {
                         manager.getLayerVideoFrame(layer, preview);
                         QCoreApplication::quit();
                     });
    sLayerVideoConfig layer;
    layer.m_LayerItem.m_boundingRect = QRectF(0, 0, 20, 10);
    layer.m_LayerItem.m_layerColor = QColor(10, 20, 30);
    manager.setLayerVideoConfig(layer);
    check(manager.startManager(true), "start");
    QCoreApplication::exec();
    manager.stopManager();
    check(preview.size() == QSize(20, 10), "preview's size");
    check(preview.pixel(7, 7) == qRgb(10, 20, 30), "preview's colour");

    check(cap_framebuffer_init(0) == -1, "capture without a producer");
    return nFailures == 0 ? 0 : 1;
}
