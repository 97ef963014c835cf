#include <devicesession.h>

#include <devicelist.h>
#include <echolayout.h>
#include <pixmapreader.h>

#include "mjpegserver.h"
#include "picturecompare.h"
#include "testpictures.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QtTest>

using namespace Morvek::Tools;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::sLayerSource;
using Morvek::EchoVideo::sLayerUniqueIdentifies;
using Morvek::Tests::inputColor;
using Morvek::Tests::MjpegServer;

namespace {

constexpr int FrameMs = 100;
constexpr int JpegTolerance = 12;
constexpr int Patience = 10000; // ms

sSceneLayer inputLayer(int nLayerId, int nInput)
{
    sSceneLayer layer;
    layer.m_strName = QStringLiteral("input %1").arg(nInput);
    layer.m_config.m_LayerIdentifies.screenId = 1;
    layer.m_config.m_LayerIdentifies.layerId = quint8(nLayerId);
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(0, 0, 64, 36);
    layer.m_config.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    layer.m_config.m_LayerSource.m_nLayerSourceKeyNo = quint32(nInput);
    layer.m_config.m_LayerSource.m_sizeLayerSource = EchoPictureSize;
    return layer;
}

/** One screen with a layer of input 1 and one of input 7, on a device of 9. */
sScene twoLayers(quint16 nPort)
{
    sScene scene;
    scene.m_device.m_strAddress = QStringLiteral("127.0.0.1");
    scene.m_device.m_nPort = nPort;
    scene.m_device.m_nTiles = 9;
    sSceneScreen screen;
    screen.m_strName = QStringLiteral("screen");
    screen.m_size = QSize(640, 360);
    screen.m_layers = {inputLayer(1, 1), inputLayer(2, 7)};
    scene.m_screens = {screen};
    return scene;
}

sLayerUniqueIdentifies key(const sScene &scene, int nLayer)
{
    return scene.m_screens[0].m_layers[nLayer].m_config.m_LayerIdentifies;
}

bool isNear(const QImage &picture, const QColor &color)
{
    QImage expected(picture.size(), QImage::Format_ARGB32);
    expected.fill(color);
    return !picture.isNull() && Morvek::Tests::meanDifference(picture, expected) <= JpegTolerance;
}

/** A device that shows a colour of its own in each of 9 tiles. */
class ColourDevice
{
public:
    ColourDevice()
    {
        const QByteArray jpeg = Morvek::Tests::jpegBytes(Morvek::Tests::gridPicture(3));
        m_server.stream(Morvek::Tests::mjpegPart(jpeg), FrameMs);
    }

    quint16 port() const { return m_server.port(); }
    int openCount() const { return m_server.openCount(); }

private:
    MjpegServer m_server;
};

} // namespace

class tst_DeviceSession : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void buildsTheDeviceOfTheScene();
    void takesTheDeviceOutAgain();
    void layersShowTheirInputs();
    void inputPicturesComeFromTheService();
    void nothingIsReadBeforeTheStart();
    void aDeviceThatComesBackIsShownAgain();
    void stopsAlsoWhileTheDeviceIsOffline();
    void sessionsFollowOneAnother();
};

void tst_DeviceSession::buildsTheDeviceOfTheScene()
{
    sScene scene = twoLayers(4321);
    scene.m_device.m_nFps = 13;
    DeviceSession session(scene);
    const std::shared_ptr<Device> pDevice = DeviceList::instance()->activedDevice().lock();
    QVERIFY(pDevice);
    QVERIFY(!pDevice->onlineFlag());
    QCOMPARE(pDevice->IPAddress(), QStringLiteral("127.0.0.1"));
    const auto &config = pDevice->deviceConfig();
    QCOMPARE(config.EchoVideoCfg.RemotePort, quint16(4321));
    QCOMPARE(int(config.EchoVideoCfg.FPS), 13);
    QCOMPARE(config.EchoVideoCfg.ECVideoSourceType, s_EchoVideoConfig::RemoteTCP);
    QCOMPARE(int(config.InputSlotStartIndex), 0);
    QCOMPARE(config.InputSlotCount * config.MaxConnectorCountOfSingleCard, 9);
    for (int nInput = 0; nInput < 9; ++nInput)
        QCOMPARE(DeviceList::instance()->echoVideoRect(pDevice->modelId(), quint8(nInput)),
                 QRect(nInput % 3 * 640, nInput / 3 * 360, 640, 360));
}

void tst_DeviceSession::takesTheDeviceOutAgain()
{
    std::weak_ptr<Device> wDevice;
    {
        DeviceSession session(twoLayers(4321));
        wDevice = DeviceList::instance()->activedDevice();
        QVERIFY(!wDevice.expired());
    }
    QVERIFY(wDevice.expired());
    QVERIFY(DeviceList::instance()->activedDevice().expired());
}

void tst_DeviceSession::layersShowTheirInputs()
{
    ColourDevice device;
    const sScene scene = twoLayers(device.port());
    DeviceSession session(scene);
    QSignalSpy spy(&session, &DeviceSession::previewFinished);
    QVERIFY(session.start());
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 0)), inputColor(1)), Patience);
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 1)), inputColor(7)), Patience);
    QCOMPARE(session.preview(key(scene, 1)).size(), QSize(64, 36));
    QVERIFY(spy.count() >= 2);
    session.stop();
}

void tst_DeviceSession::inputPicturesComeFromTheService()
{
    ColourDevice device;
    DeviceSession session(twoLayers(device.port()));
    QVERIFY(session.start());
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.inputPictures().value(8), inputColor(8)), Patience);
    const QVector<QImage> pictures = session.inputPictures();
    QCOMPARE(pictures.size(), 9);
    for (int nInput = 0; nInput < 9; ++nInput) {
        QCOMPARE(pictures[nInput].size(), QSize(640, 360));
        QVERIFY(isNear(pictures[nInput], inputColor(nInput)));
    }
}

void tst_DeviceSession::nothingIsReadBeforeTheStart()
{
    ColourDevice device;
    const sScene scene = twoLayers(device.port());
    DeviceSession session(scene);
    session.stop();
    QCOMPARE(device.openCount(), 0);
    QVERIFY(session.preview(key(scene, 0)).isNull());
    QVERIFY(session.start());
    QTRY_COMPARE_WITH_TIMEOUT(device.openCount(), 1, Patience);
    session.stop();
    QTRY_COMPARE_WITH_TIMEOUT(device.openCount(), 0, Patience);
}

void tst_DeviceSession::aDeviceThatComesBackIsShownAgain()
{
    ColourDevice device;
    const sScene scene = twoLayers(device.port());
    DeviceSession session(scene);
    QVERIFY(session.start());
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 1)), inputColor(7)), Patience);

    session.setOnline(false);
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 1)), Qt::black), Patience);
    // The renderer sleeps once its pass over the layers is done and no preview follows any more.
    QSignalSpy spy(&session, &DeviceSession::previewFinished);
    while (spy.wait(1000))
        spy.clear();

    session.setOnline(true);
    QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 1)), inputColor(7)), Patience);
}

void tst_DeviceSession::stopsAlsoWhileTheDeviceIsOffline()
{
    ColourDevice device;
    DeviceSession session(twoLayers(device.port()));
    QSignalSpy spy(&session, &DeviceSession::previewFinished);
    QVERIFY(session.start());
    QVERIFY(spy.wait(Patience));
    session.setOnline(false);
    QElapsedTimer clock;
    clock.start();
    session.stop();
    QVERIFY2(clock.elapsed() < Patience, "a stop must not wait for a device that is away");
}

void tst_DeviceSession::sessionsFollowOneAnother()
{
    ColourDevice device;
    const sScene scene = twoLayers(device.port());
    for (int nRound = 0; nRound < 3; ++nRound) {
        DeviceSession session(scene);
        QVERIFY(session.start());
        QTRY_VERIFY_WITH_TIMEOUT(isNear(session.preview(key(scene, 0)), inputColor(1)), Patience);
    }
    QTRY_COMPARE_WITH_TIMEOUT(device.openCount(), 0, Patience);
}

QTEST_MAIN(tst_DeviceSession)
#include "tst_devicesession.moc"
