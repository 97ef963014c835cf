// A device that somebody else wrote: a GStreamer pipeline that serves MJPEG over TCP.

#include "picturecompare.h"
#include "testdevice.h"
#include "testpictures.h"

#include <layervideomanager.h>
#include <pixmapreader.h>

#include <QProcess>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

using namespace Morvek::BizModel;
using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

constexpr int Columns = 4;
constexpr int Inputs = Columns * Columns;

const QStringList VideoSource = {QStringLiteral("videotestsrc"), QStringLiteral("pattern=smpte100"),
                                 QStringLiteral("is-live=true")};
const QStringList Encoder = {QStringLiteral("!"),
                             QStringLiteral("video/x-raw,width=1920,height=1080,framerate=12/1"),
                             QStringLiteral("!"), QStringLiteral("jpegenc")};

quint16 freePort()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : quint16(0);
}

bool isListening(quint16 nPort)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), nPort);
    return socket.waitForConnected(1000);
}

} // namespace

class TestGStreamer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyInputAndPreviewEqualsItsTile();
    void cleanupTestCase();

private:
    void encodeOnePicture();
    void startPipeline();

    QTemporaryDir m_folder;
    QImage m_picture; // what the pipeline shows, decoded from a file that it wrote
    QProcess m_pipeline;
    quint16 m_nPort = 0;
};

void TestGStreamer::initTestCase()
{
    encodeOnePicture();
    startPipeline();
}

void TestGStreamer::cleanupTestCase()
{
    m_pipeline.terminate();
    QVERIFY(m_pipeline.waitForFinished(30000));
}

void TestGStreamer::encodeOnePicture()
{
    const QString strFile = m_folder.filePath(QStringLiteral("picture.jpg"));
    const QStringList arguments = QStringList(QStringLiteral("-q")) + VideoSource
                                + QStringList(QStringLiteral("num-buffers=1")) + Encoder
                                + QStringList({QStringLiteral("!"), QStringLiteral("filesink"),
                                               QStringLiteral("location=") + strFile});
    QCOMPARE(QProcess::execute(QStringLiteral(GST_LAUNCH), arguments), 0);
    m_picture = QImage(strFile);
    QCOMPARE(m_picture.size(), QSize(1920, 1080));
}

void TestGStreamer::startPipeline()
{
    m_nPort = freePort();
    const QStringList arguments =
        QStringList(QStringLiteral("-q")) + VideoSource + Encoder
        + QStringList({QStringLiteral("!"), QStringLiteral("multipartmux"), QStringLiteral("!"),
                       QStringLiteral("tcpserversink"), QStringLiteral("host=127.0.0.1"),
                       QStringLiteral("port=%1").arg(m_nPort)});
    m_pipeline.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_pipeline.start(QStringLiteral(GST_LAUNCH), arguments);
    QVERIFY(m_pipeline.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(isListening(m_nPort), 30000);
}

void TestGStreamer::everyInputAndPreviewEqualsItsTile()
{
    const auto pDevice = makeMjpegDevice(m_nPort, Columns);
    const ActiveDevice activeDevice(pDevice);
    std::vector<std::shared_ptr<Input>> inputs;
    for (int i = 0; i < Inputs; ++i)
        inputs.push_back(std::make_shared<Input>(quint8(i)));

    LayerVideoManager manager([&](auto, const sLayerSource &source, const QSize &,
                                  QImage &picture) {
        return PixmapReader::instance()->getInputVideoFrame(inputs.at(source.m_nLayerSourceKeyNo),
                                                            picture, false);
    });
    for (int i = 0; i < Inputs; ++i) {
        sLayerVideoConfig layer;
        layer.m_LayerIdentifies.layerId = quint8(i);
        layer.m_LayerItem.m_boundingRect = QRectF(QPointF(), gridRect(Columns, i).size());
        layer.m_LayerSource.m_eLayerSourceType = sLayerSource::Input;
        layer.m_LayerSource.m_nLayerSourceKeyNo = quint32(i);
        manager.setLayerVideoConfig(layer);
    }
    PixmapReader::instance()->restartRead();
    QVERIFY(manager.startManager(true));

    for (int i = 0; i < Inputs; ++i) {
        const QImage tile = m_picture.copy(gridRect(Columns, i));
        sLayerUniqueIdentifies key;
        key.layerId = quint8(i);
        QImage input;
        QImage preview;
        // Black until the first picture has come through.
        QTRY_VERIFY_WITH_TIMEOUT(
            PixmapReader::instance()->getInputVideoFrame(inputs.at(size_t(i)), input, false)
                && pictureDifference(input, tile).isEmpty(),
            30000);
        QTRY_VERIFY_WITH_TIMEOUT(manager.getLayerVideoFrame(key, preview)
                                     && pictureDifference(preview, tile).isEmpty(),
                                 30000);
    }
    manager.stopManager();
    PixmapReader::instance()->stopRead();
}

QTEST_GUILESS_MAIN(TestGStreamer)
#include "tst_gstreamer.moc"
