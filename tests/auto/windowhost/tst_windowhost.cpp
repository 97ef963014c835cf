#include <windowhost.h>

#include <echolayout.h>

#include "mjpegserver.h"
#include "testpictures.h"

#include <QSignalSpy>
#include <QtTest>

using namespace Morvek::Tools;
using Morvek::EchoVideo::sLayerSource;
using Morvek::Tests::MjpegServer;

namespace {

constexpr int FrameMs = 100;
constexpr int Patience = 20000; // ms

sSceneLayer inputLayer(int nLayerId, const QString &strName)
{
    sSceneLayer layer;
    layer.m_strName = strName;
    layer.m_config.m_LayerIdentifies.screenId = 1;
    layer.m_config.m_LayerIdentifies.layerId = quint8(nLayerId);
    layer.m_config.m_LayerItem.m_boundingRect = QRectF(0, 0, 64, 36);
    layer.m_config.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
    layer.m_config.m_LayerSource.m_nLayerSourceKeyNo = quint32(nLayerId);
    layer.m_config.m_LayerSource.m_sizeLayerSource = EchoPictureSize;
    return layer;
}

sSceneDevice deviceAt(quint16 nPort)
{
    sSceneDevice device;
    device.m_strAddress = QStringLiteral("127.0.0.1");
    device.m_nPort = nPort;
    device.m_nTiles = 9;
    return device;
}

/** One screen with two layers. */
sScene sceneOn(quint16 nPort)
{
    sScene scene;
    scene.m_device = deviceAt(nPort);
    sSceneScreen screen;
    screen.m_strName = QStringLiteral("wall");
    screen.m_size = QSize(640, 360);
    screen.m_layers = {inputLayer(1, QStringLiteral("left")),
                       inputLayer(2, QStringLiteral("right"))};
    scene.m_screens = {screen};
    return scene;
}

/** A port where nobody answers. */
quint16 deadPort()
{
    return MjpegServer().port();
}

} // namespace

class tst_WindowHost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_pDevice.reset(); }
    void anotherSceneHasToShowItsOwnLayers();
    void aLayerWithTheNumberOfAnotherHasToBeRendered();
    void aSceneWithFewerDevicesIsPlayedOnTheFirst();

private:
    std::unique_ptr<MjpegServer> m_pDevice;
};

void tst_WindowHost::init()
{
    m_pDevice = std::make_unique<MjpegServer>();
    const QByteArray jpeg = Morvek::Tests::jpegBytes(Morvek::Tests::gridPicture(3));
    m_pDevice->stream(Morvek::Tests::mjpegPart(jpeg), FrameMs);
}

void tst_WindowHost::anotherSceneHasToShowItsOwnLayers()
{
    WindowHost host(sceneOn(m_pDevice->port()), QString());
    QVERIFY(host.start());
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), QStringList(), Patience);
    host.setScene(sceneOn(deadPort()), QString());
    const QStringList lines = host.shortcomings();
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[1].startsWith(QStringLiteral("layer \"right\" of \"wall\" ")),
             qPrintable(lines[1]));
    // Previews that the present device has no part in do not count for it either.
    const QStringList expected{
        QStringLiteral("layer \"left\" of \"wall\" never showed a picture of the device"),
        QStringLiteral("layer \"right\" of \"wall\" never showed a picture of the device")};
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), expected, Patience);
    host.setScene(sceneOn(m_pDevice->port()), QString());
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), QStringList(), Patience);
}

void tst_WindowHost::aLayerWithTheNumberOfAnotherHasToBeRendered()
{
    WindowHost host(sceneOn(m_pDevice->port()), QString());
    QVERIFY(host.start());
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), QStringList(), Patience);
    QVERIFY(host.session().setRendering(false));
    QSignalSpy previews(&host.session(), &DeviceSession::previewFinished);
    while (previews.wait(1000))
        previews.clear();
    const sSceneLayer first = host.document().scene().m_screens[0].m_layers[0];
    const LayerKey key = first.m_config.m_LayerIdentifies;
    host.document().removeLayer(key);
    QCOMPARE(host.shortcomings(), QStringList());
    Q_EMIT host.session().previewFinished(key); // one that was on its way
    QVERIFY(host.document().addLayer(0, inputLayer(1, QStringLiteral("new"))) == key);
    QCOMPARE(host.shortcomings(),
             QStringList(QStringLiteral("layer \"new\" of \"wall\" was never rendered")));
    QVERIFY(host.session().setRendering(true));
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), QStringList(), Patience);
}

void tst_WindowHost::aSceneWithFewerDevicesIsPlayedOnTheFirst()
{
    sScene scene = sceneOn(deadPort());
    scene.m_otherDevices = {deviceAt(deadPort())};
    WindowHost host(scene, QString());
    QVERIFY(host.start());
    host.session().setActiveDevice(1);
    QCOMPARE(host.session().activeDevice(), 1);
    host.setScene(sceneOn(m_pDevice->port()), QString());
    QCOMPARE(host.session().activeDevice(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(host.shortcomings(), QStringList(), Patience);
}

QTEST_MAIN(tst_WindowHost)
#include "tst_windowhost.moc"
