// Each step of a picture's way, with each of its large allocations failing once: the picture is
// dropped, or the last one stays, and the next is good again.

#include <pictureguard_p.h>
#include <pixmapreader.h>
#include <pixmapreaderlocalyuv_p.h>
#include <pixmapreaderremotemjpeg_p.h>

#include <failingallocator.h>
#include <fedsocket.h>
#include <logcapture.h>
#include <picturecompare.h>
#include <testdevice.h>
#include <testlayers.h>
#include <testpictures.h>
#include <yuvpictures.h>

#include <input.h>

#include <QBuffer>
#include <QImageWriter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <new>

using namespace Morvek::EchoVideo;
using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

QByteArray saved(const QImage &picture, const char *pFormat, bool isProgressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, pFormat);
    writer.setProgressiveScanWrite(isProgressive);
    writer.write(picture);
    return bytes;
}

QImage pictureOf(const std::shared_ptr<Input> &pInput)
{
    QImage picture;
    PixmapReader::instance()->getInputVideoFrame(pInput, picture, false);
    return picture;
}

} // namespace

Q_DECLARE_METATYPE(Morvek::EchoVideo::sLayerVideoConfig)

class TestTortureAllocation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theAllocatorFailsWhatItIsAskedTo();
    void receivingDropsWhatThereIsNoMemoryFor();
    void decodingGivesAWholePictureOrNone_data();
    void decodingGivesAWholePictureOrNone();
    void splittingLeavesInputsTheirLastPictures();
    void playingAFileGoesOn();
    void everyRenderIsDelivered_data();
    void everyRenderIsDelivered();
};

void TestTortureAllocation::theAllocatorFailsWhatItIsAskedTo()
{
    const QSize large(64, 64); // 16 KiB of pixels
    FailingAllocator::failAt(2, FailingAllocator::eScope::ThisThread);
    QVERIFY(!QImage(large, QImage::Format_ARGB32).isNull());
    QVERIFY(!QImage(QSize(8, 8), QImage::Format_ARGB32).isNull());
    QVERIFY(!FailingAllocator::hasFailed());
    QVERIFY(QImage(large, QImage::Format_ARGB32).isNull());
    QVERIFY(FailingAllocator::hasFailed());
    QVERIFY(!QImage(large, QImage::Format_ARGB32).isNull());
    QVERIFY(FailingAllocator::disarm());

    FailingAllocator::failAt(1, FailingAllocator::eScope::LibraryThreads);
    QVERIFY(!QImage(large, QImage::Format_ARGB32).isNull());
    QVERIFY(!FailingAllocator::disarm());
}

void TestTortureAllocation::receivingDropsWhatThereIsNoMemoryFor()
{
    const QByteArray picture(100'000, 'p');
    const QByteArray part = mjpegPart(picture);
    QImage image;
    RemoteMJPEGReader reader(image);
    FedSocket socket;
    ReceiveBuffer tcpdata;
    const auto receive = [&] {
        reader.m_time = QTime::currentTime().addSecs(-1); // the picture is due
        reader.m_MJPEGBuffer = QByteArray();
        tcpdata = ReceiveBuffer(); // the room of the last picture would do
        socket.feed(part);
        return reader.receive(socket, tcpdata);
    };
    LogCapture log;
    bool isGoingOn = true;
    const int nAllocations = failEachAllocation([&] { isGoingOn = isGoingOn && receive(); },
                                                [&] {
                                                    QVERIFY(reader.m_MJPEGBuffer.isEmpty());
                                                    // What the socket still had, and one more.
                                                    QVERIFY(receive());
                                                    QCOMPARE(reader.m_MJPEGBuffer, picture);
                                                });
    QVERIFY(isGoingOn);
    QVERIFY2(nAllocations >= 2, qPrintable(QString::number(nAllocations)));
}

void TestTortureAllocation::decodingGivesAWholePictureOrNone_data()
{
    QTest::addColumn<QByteArray>("bytes");

    const QImage picture = gradientPicture(QSize(640, 360));
    QImage palette = gradientPicture(QSize(640, 360)).convertToFormat(QImage::Format_Indexed8);
    QTest::newRow("JPEG") << saved(picture, "jpg");
    QTest::newRow("progressive JPEG") << saved(picture, "jpg", true);
    QTest::newRow("PNG") << saved(picture, "png");
    QTest::newRow("BMP") << saved(picture, "bmp");
    QTest::newRow("PNG with a palette") << saved(palette, "png");
}

void TestTortureAllocation::decodingGivesAWholePictureOrNone()
{
    QFETCH(QByteArray, bytes);

    const QImage expected = decodePicture(bytes);
    QVERIFY(!expected.isNull());
    QImage image;
    RemoteMJPEGReader reader(image);
    const auto decode = [&] {
        reader.m_MJPEGBuffer = bytes;
        reader.decodePending();
    };
    const auto isWholeOrNone = [&] {
        return reader.m_imagePrivate.isNull() || reader.m_imagePrivate == expected;
    };
    LogCapture log;
    const int nAllocations = failEachAllocation(decode, [&] {
        QVERIFY(isWholeOrNone());
        decode();
        COMPARE_PICTURES(reader.m_imagePrivate, expected);
    });
    QVERIFY2(nAllocations >= 1, qPrintable(QString::number(nAllocations)));
}

void TestTortureAllocation::splittingLeavesInputsTheirLastPictures()
{
    constexpr int Columns = 3;
    const ActiveDevice device(makeDevice(s_EchoVideoConfig::RemoteTCP, Columns));
    PixmapReader &service = *PixmapReader::instance();
    service.slotActivedDeviceChanged();
    const QImage red = solidPicture(QSize(1920, 1080), Qt::red);
    const QImage green = solidPicture(QSize(1920, 1080), Qt::green);
    const auto split = [&service](const QImage &picture) {
        service.m_image = picture;
        service.inputVideoReadFinished();
    };
    split(red);
    LogCapture log;
    int nLast = 0;
    const int nAllocations = failEachAllocation(
        [&] {
            const auto held = service.m_mapInputVideo; // else their memory would be used again
            split(green);
        },
        [&] {
            for (int i = 0; i < Columns * Columns; ++i) {
                const QImage picture = pictureOf(std::make_shared<Input>(quint8(i)));
                QCOMPARE(picture.size(), gridRect(Columns, i).size());
                nLast += picture.pixelColor(0, 0) == QColor(Qt::red);
            }
            split(red);
            for (int i = 0; i < Columns * Columns; ++i)
                COMPARE_PICTURES(pictureOf(std::make_shared<Input>(quint8(i))),
                                 solidPicture(gridRect(Columns, i).size(), Qt::red));
        });
    // Each input's copy, which costs that input its new picture alone.
    QCOMPARE(nAllocations, Columns * Columns);
    QCOMPARE(nLast, Columns * Columns);
}

void TestTortureAllocation::playingAFileGoesOn()
{
    QTemporaryDir folder;
    const QString strFile = folder.filePath(QStringLiteral("echo.yuv"));
    QVERIFY(writeYuvFile(strFile, 1));
    QImage image;
    LocalYUVReader reader(image);
    LogCapture log;
    const auto play = [&] {
        reader.m_image = QImage();
        YuvFilePlayer player(strFile);
        bool isReadable = true;
        try {
            isReadable = reader.drawNextPicture(player);
        } catch (const std::bad_alloc &) {
            // As at the reader's passes, which this costs one picture.
        }
        return isReadable && reader.drawNextPicture(player);
    };
    bool isGoingOn = true;
    const int nAllocations =
        failEachAllocation([&] { isGoingOn = isGoingOn && play(); },
                           [&] {
                               QCOMPARE(image.size(), QSize(1920, 1080));
                               QCOMPARE(image.pixel(7, 7), yuvPixel(yuvColor(0)));
                           });
    QVERIFY(isGoingOn);
    QCOMPARE(nAllocations, 2); // the picture and a frame of the file
}

void TestTortureAllocation::everyRenderIsDelivered_data()
{
    QTest::addColumn<sLayerVideoConfig>("cfg");

    const sLayerVideoConfig plain = pictureLayer(200, 150);
    sLayerVideoConfig cfg = plain;
    QTest::newRow("plain") << cfg;
    cfg.m_LayerSource.m_eLayerSourceType = sLayerSource::NoSource;
    QTest::newRow("no source") << cfg;
    cfg = plain;
    cfg.m_LayerItem.m_bMonoColorEnabled = true;
    cfg.m_LayerItem.m_bReverseColorEnabled = true;
    QTest::newRow("mono and reverse") << cfg;
    cfg = plain;
    cfg.m_LayerSource.m_bLayerSourceIntercept = true;
    cfg.m_LayerSource.m_sizeLayerSource = QSize(300, 200);
    cfg.m_LayerSource.m_rectLayerSourceIntercept = QRect(10, 10, 200, 150);
    QTest::newRow("crop") << cfg;
    cfg = plain;
    cfg.m_LayerItem.m_mirroringType = sLayerItem::Both;
    QTest::newRow("mirrored") << cfg;
    cfg = plain;
    cfg.m_LayerMask.m_bMaskEnable = true;
    cfg.m_LayerMask.m_maskSize = {10, 10, 10, 10};
    QTest::newRow("mask") << cfg;
    cfg = plain;
    cfg.m_LayerItem.m_opacity = 50;
    cfg.m_LayerBorder.m_borderSize = QSize(20, 20);
    cfg.m_LayerBorder.m_borderType = BorderType::Hard_in;
    QTest::newRow("solid border") << cfg;
    cfg.m_LayerBorder.m_borderType = BorderType::Soft;
    QTest::newRow("soft border") << cfg;
    cfg.m_LayerBorder.m_borderType = BorderType::Halo_in;
    QTest::newRow("halo") << cfg;
    cfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 5000, 8);
    QTest::newRow("halo of a wide layer") << cfg;
    cfg = plain;
    cfg.m_LayerAlphaMap.m_strAlphaMapFile = QStringLiteral("map");
    QTest::newRow("alpha map") << cfg;
}

void TestTortureAllocation::everyRenderIsDelivered()
{
    QFETCH(sLayerVideoConfig, cfg);

    QTemporaryDir folder;
    if (!cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty()) {
        cfg.m_LayerAlphaMap.m_strAlphaMapFile = folder.filePath(QStringLiteral("map.png"));
        QVERIFY(solidPicture(QSize(100, 80), QColor(0, 0, 0, 90))
                    .save(cfg.m_LayerAlphaMap.m_strAlphaMapFile));
    }
    const QImage source = gradientPicture(QSize(120, 90));
    const QImage expected = preview(cfg, source);
    LayerVideoManager manager(answering(source));
    manager.setLayerVideoConfig(cfg);
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    QImage canvas;
    QImage frame;
    const auto render = [&] {
        canvas = QImage();
        manager.asyncVideoPrerenderTask(cfg, canvas, frame);
    };
    const QSize size = expected.size();
    LogCapture log;
    const int nAllocations = failEachAllocation(render, [&] {
        finished.clear();
        QCoreApplication::processEvents();
        QCOMPARE(finished.size(), 1);
        sLayerVideoConfig stored;
        QVERIFY(manager.findLayerVideoConfig(cfg.m_LayerIdentifies, stored));
        QVERIFY(!stored.m_isRendering);
        QImage delivered;
        QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
        QVERIFY(delivered.isNull() || delivered.size() == size || delivered.size() == QSize(2, 2));

        render();
        QCoreApplication::processEvents();
        QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, delivered));
        COMPARE_PICTURES(delivered, expected);
    });
    QVERIFY2(nAllocations >= 1, qPrintable(QString::number(nAllocations)));
}

QTEST_GUILESS_MAIN(TestTortureAllocation)
#include "tst_torture_allocation.moc"
