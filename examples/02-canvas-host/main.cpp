// The session part of a host with a canvas: two layers of one screen, edited while they are live, a
// device that goes offline and comes back, and an end that never hangs. Saves the canvas.
#include <QGuiApplication>
#include <QPainter>
#include <QTimer>
#include <devicelist.h>
#include <input.h>
#include <layervideomanager.h>
#include <pixmapreader.h>

#include <functional>

using namespace Morvek::BizModel;
using namespace Morvek::EchoVideo;

namespace {

constexpr int Inputs = 4; // in the echo picture, two by two
constexpr QSize LayerSize(320, 180);

class Session
{
public:
    Session(const QString &strAddress, quint16 nPort)
        : m_manager([this](auto, const sLayerSource &source, const QSize &, QImage &picture) {
            // On render threads: m_inputs never changes, and the service has locks of its own.
            return PixmapReader::instance()->getInputVideoFrame(
                m_inputs.value(int(source.m_nLayerSourceKeyNo)), picture, false);
        })
    {
        m_device->setIPAddress(strAddress);
        s_DeviceConfig &config = m_device->deviceConfig();
        config.InputSlotCount = config.MaxConnectorCountOfSingleCard = 2;
        config.EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::RemoteTCP;
        config.EchoVideoCfg.RemotePort = nPort;
        for (quint8 nInput = 0; nInput < Inputs; ++nInput) {
            const QRect tile(nInput % 2 * 960, nInput / 2 * 540, 960, 540);
            DeviceList::instance()->setEchoVideoRect(m_device->modelId(), nInput, tile);
        }
        DeviceList::instance()->addDevice(m_device);
        DeviceList::instance()->setActivedDevice(m_device);
        // Belongs to the thread that asks first. A reader that ended just as its device came back
        // is gone, which shows in that nothing ticks.
        QObject::connect(PixmapReader::instance(), &PixmapReader::inputVideoImageCopyFinished,
                         &m_watch, qOverload<>(&QTimer::start), Qt::QueuedConnection);
        m_watch.callOnTimeout([this] { setOnline(m_device->onlineFlag()); });
        // Whenever a preview is finished, its layer's place on the canvas is painted.
        QObject::connect(&m_manager, &LayerVideoManager::layerVideoRenderFinished,
                         [this](sLayerUniqueIdentifies layer) { paint(layer); });
        m_canvas.fill(QColor(27, 32, 40));
    }

    ~Session()
    {
        m_manager.stopManager();
        // The reader of a device that is offline may not end before that is online again.
        m_device->setOnlineFlag(true);
        PixmapReader::instance()->stopRead();
        DeviceList::instance()->removeDevice(m_device);
    }

    bool start()
    {
        setOnline(true);
        return m_manager.startManager(true);
    }

    void setOnline(bool isOnline)
    {
        DeviceList::instance()->setDeviceOnline(m_device, isOnline);
        if (!isOnline)
            return m_watch.stop();
        m_watch.start(2000);
        PixmapReader::instance()->restartRead();
        edit(1, [](sLayerVideoConfig &) {}); // wakes the render thread, which nothing else does
    }

    void addLayer(quint8 nLayer, quint32 nInput, const QPoint &place)
    {
        sLayerVideoConfig layer;
        layer.m_LayerIdentifies.layerId = nLayer;
        layer.m_LayerItem.m_boundingRect = QRectF(QPointF(0, 0), QSizeF(LayerSize));
        layer.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
        layer.m_LayerSource.m_nLayerSourceKeyNo = nInput;
        m_places[nLayer] = place;
        m_manager.setLayerVideoConfig(layer);
    }

    /** Reads a layer's record, changes it and writes it back: its bookkeeping survives. */
    void edit(quint8 nLayer, const std::function<void(sLayerVideoConfig &)> &change)
    {
        sLayerUniqueIdentifies key;
        key.layerId = nLayer;
        sLayerVideoConfig layer;
        if (!m_manager.findLayerVideoConfig(key, layer))
            return;
        change(layer);
        m_manager.setLayerVideoConfig(layer);
    }

    const QImage &canvas() const { return m_canvas; }

private:
    void paint(const sLayerUniqueIdentifies &layer)
    {
        QImage preview;
        if (m_manager.getLayerVideoFrame(layer, preview))
            QPainter(&m_canvas).drawImage(m_places.value(layer.layerId), preview);
    }

    const std::shared_ptr<Device> m_device = std::make_shared<Device>();
    const QList<std::shared_ptr<Input>> m_inputs = [] {
        QList<std::shared_ptr<Input>> inputs;
        for (quint8 nInput = 0; nInput < Inputs; ++nInput)
            inputs.append(std::make_shared<Input>(nInput));
        return inputs;
    }();
    QHash<int, QPoint> m_places;
    QImage m_canvas = QImage(700, 220, QImage::Format_RGB32);
    QTimer m_watch;
    LayerVideoManager m_manager; // last, so that it is gone before what its callback uses
};

} // namespace

int main(int argc, char *argv[]) // arguments: address, port, file to write, milliseconds to run
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // a real host has widgets
    QGuiApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const int nRunMs = arguments.value(4).toInt();
    Session session(arguments.value(1), arguments.value(2).toUShort());
    session.addLayer(1, 0, QPoint(20, 20));
    session.addLayer(2, 3, QPoint(360, 20));
    if (!session.start())
        return 1;
    session.edit(2, [](sLayerVideoConfig &layer) { // shown from the next preview on
        layer.m_LayerItem.m_mirroringType = sLayerItem::Hori;
        layer.m_LayerItem.m_bMonoColorEnabled = true;
    });
    QTimer::singleShot(nRunMs / 4, &app, [&] { session.setOnline(false); });
    QTimer::singleShot(nRunMs / 3, &app, [&] { session.setOnline(true); });
    QTimer::singleShot(nRunMs, &app, [&] {
        session.setOnline(false); // also then the end comes at once
        app.exit(session.canvas().save(arguments.value(3)) ? 0 : 1);
    });
    return app.exec();
}
