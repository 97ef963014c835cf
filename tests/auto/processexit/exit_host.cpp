// A host for tst_processexit: carries out the lines on its standard input, answers each with "done"
// on its standard output, and ends as asked.
//
// exit_host <address> <port> <source type>
//   start, pause, stop      the service's operations
//   offline, online         the device's state
//   render                  a manager of main's own, which is destroyed right before the end, shows
//                           the first input; answered once it has
//   return, exit, destroy   end: return from main after the event loop; exit() with the application
//                           still there; destroy the application, then exit()

#include <device.h>
#include <devicelist.h>
#include <input.h>
#include <layervideomanager.h>
#include <pixmapreader.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::LayerVideoManager;
using Morvek::EchoVideo::PixmapReader;
using Morvek::EchoVideo::sLayerSource;
using Morvek::EchoVideo::sLayerVideoConfig;

namespace {

// Nobody but the list keeps the device, as in a host.
void addDevice(char **arguments)
{
    const auto pDevice = std::make_shared<Device>(1);
    pDevice->setIPAddress(QString::fromLocal8Bit(arguments[1]));
    s_EchoVideoConfig &cfg = pDevice->deviceConfig().EchoVideoCfg;
    cfg.RemotePort = quint16(std::atoi(arguments[2]));
    cfg.ECVideoSourceType = s_EchoVideoConfig::eVideoSourceType(std::atoi(arguments[3]));
    cfg.VideoSourcePath = QStringLiteral("missing.yuv"); // stripes are played in its place
    cfg.FPS = 25;
    pDevice->deviceConfig().InputSlotCount = 1;
    pDevice->deviceConfig().MaxConnectorCountOfSingleCard = 1;
    pDevice->setOnlineFlag(true);
    DeviceList::instance()->setEchoVideoRect(pDevice->modelId(), 0, QRect(0, 0, 160, 90));
    DeviceList::instance()->addDevice(pDevice);
    DeviceList::instance()->setActivedDevice(pDevice);
}

void setOnline(bool isOnline)
{
    DeviceList::instance()->setDeviceOnline(DeviceList::instance()->activedDevice().lock(),
                                            isOnline);
}

std::unique_ptr<LayerVideoManager> startManager()
{
    auto pManager = std::make_unique<LayerVideoManager>(
        [pInput = std::make_shared<Input>(quint8(0))](auto &&, auto &&, auto &&, QImage &frame) {
            return PixmapReader::instance()->getInputVideoFrame(pInput, frame, false);
        });
    sLayerVideoConfig layerCfg;
    layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 160, 90);
    layerCfg.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    pManager->setLayerVideoConfig(layerCfg);
    pManager->startManager(true);
    return pManager;
}

void waitForPreview(LayerVideoManager &manager)
{
    QEventLoop loop;
    QObject::connect(&manager, &LayerVideoManager::layerVideoRenderFinished, &loop,
                     &QEventLoop::quit);
    loop.exec();
}

void carryOut(const std::string &command)
{
    if (command == "start")
        PixmapReader::instance()->restartRead();
    else if (command == "pause")
        PixmapReader::instance()->pauseRead();
    else if (command == "stop")
        PixmapReader::instance()->stopRead();
    else if (command == "offline" || command == "online")
        setOnline(command == "online");
    std::cout << "done" << std::endl;
}

} // namespace

int main(int argc, char **argv)
{
    auto pApplication = std::make_unique<QCoreApplication>(argc, argv);
    if (argc != 4)
        return 2;
    PixmapReader::instance();
    addDevice(argv);
    std::unique_ptr<LayerVideoManager> pManager;

    std::string command;
    while (std::getline(std::cin, command)) {
        if (command == "render") {
            pManager = startManager();
            waitForPreview(*pManager);
        }
        if (command == "return") {
            QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
            return QCoreApplication::exec();
        }
        if (command == "exit" || command == "destroy") {
            pManager.reset();
            if (command == "destroy")
                pApplication.reset();
            std::exit(0);
        }
        carryOut(command);
    }
    return 3; // the test is gone
}
