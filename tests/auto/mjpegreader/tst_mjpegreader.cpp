// From a device's stream to the published picture: what a good stream, and each kind of bad picture,
// makes of the frame picture.

#include <readerprobe.h>

#include <processfigures.h>

#include <QBuffer>
#include <QTcpServer>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

const QSize PictureSize(64, 48);

} // namespace

class TestMjpegReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingRunsAfterConstruction();
    void picturesAreDecodedAndPublished();
    void formatIsDetectedFromTheData();
    void echoPictureIsPublishedWhole();
    void newPictureReplacesTheLast();
    void textBeforeTheFirstHeaderIsSkipped();
    void devicesAreReachedOverIPv6();
    void nothingIsSentToTheDevice();
    void undecodablePictureStopsTheCallbackUntilAGoodOne_data();
    void undecodablePictureStopsTheCallbackUntilAGoodOne();
    void pictureWithoutLengthOnlyWakesTheDecoder_data();
    void pictureWithoutLengthOnlyWakesTheDecoder();
    void endOfTheTaskPublishesTheNoSignalPicture();
};

void TestMjpegReader::nothingRunsAfterConstruction()
{
    QImage image;
    RemoteMJPEGReader reader(image);
    QVERIFY(!reader.isRunning());
    QVERIFY(reader.device().expired());
    QVERIFY(reader.m_isStopRead);
    QVERIFY(reader.m_isStopProcesser);
    QVERIFY(!reader.m_processerIsRunning);
    QVERIFY(!reader.m_pIsRunningForFinishTask);
    QVERIFY(reader.m_MJPEGBuffer.isNull());
    QVERIFY(!reader.m_time.isValid());
    QCOMPARE(reader.m_imagePrivate.size(), QSize(1920, 1080));
    QCOMPARE(reader.m_imagePrivate.format(), QImage::Format_ARGB32);
    QVERIFY(image.isNull());
    QCOMPARE(threadCount(QStringLiteral("echo-")), 0);
}

void TestMjpegReader::picturesAreDecodedAndPublished()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::darkCyan), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::darkCyan));
    const QImage source = solidPicture(PictureSize, Qt::darkCyan);
    const QString strDifference = pictureDifference(probe.frame(), source, 4);
    QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
}

void TestMjpegReader::formatIsDetectedFromTheData()
{
    const QImage picture = gradientPicture(PictureSize, 11);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(picture.save(&buffer, "PNG"));

    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(mjpegPart(png), 30);
    probe.start();
    QTRY_COMPARE(probe.frame().size(), PictureSize);
    COMPARE_PICTURES(probe.frame(), picture);
}

void TestMjpegReader::echoPictureIsPublishedWhole()
{
    const QImage picture = gridPicture(4);
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(mjpegPart(jpegBytes(picture)), 50);
    probe.start();
    QTRY_COMPARE(probe.frame().size(), picture.size());
    for (int i = 0; i < 16; ++i) {
        const QColor color = probe.frame().pixelColor(gridRect(4, i).center());
        const QString strDifference = pictureDifference(
            solidPicture(QSize(1, 1), color), solidPicture(QSize(1, 1), inputColor(i)), 4);
        QVERIFY2(strDifference.isEmpty(), qPrintable(strDifference));
    }
}

void TestMjpegReader::newPictureReplacesTheLast()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    for (const QColor &color : {QColor(Qt::red), QColor(Qt::darkGreen), QColor(Qt::blue)}) {
        server.send(colorPart(color));
        QTRY_VERIFY(probe.isShowing(color));
        QVERIFY(ReaderProbe::waitForGate());
    }
}

void TestMjpegReader::textBeforeTheFirstHeaderIsSkipped()
{
    MjpegServer server;
    server.setGreeting("HTTP/1.0 200 OK\r\nContent-Type: multipart/x-mixed-replace\r\n\r\n");
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::magenta));
    QTRY_VERIFY(probe.isShowing(Qt::magenta));
}

void TestMjpegReader::devicesAreReachedOverIPv6()
{
    if (!QTcpServer().listen(QHostAddress::LocalHostIPv6))
        QSKIP("this machine has no IPv6", "");
    MjpegServer server(QHostAddress::LocalHostIPv6);
    ReaderProbe probe(server.port(), QStringLiteral("::1"));
    server.stream(colorPart(Qt::darkYellow), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::darkYellow));
}

void TestMjpegReader::nothingIsSentToTheDevice()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::gray), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::gray));
    probe.stop();
    QTRY_COMPARE(server.openCount(), 0);
    QCOMPARE(server.receivedBytes(), qint64(0));
}

void TestMjpegReader::undecodablePictureStopsTheCallbackUntilAGoodOne_data()
{
    QTest::addColumn<QByteArray>("part");

    const QByteArray jpeg = jpegBytes(solidPicture(PictureSize, Qt::blue));
    QByteArray bomb = jpeg;
    bomb.replace(bomb.indexOf("\xff\xc0") + 5, 4, "\xff\xdc\xff\xdc"); // height and width
    QTest::newRow("no picture at all") << mjpegPart("this is no picture");
    QTest::newRow("picture cut within its headers") << mjpegPart(jpeg.left(100));
    QTest::newRow("picture that claims 65500 x 65500 pixels") << mjpegPart(bomb);
    QTest::newRow("picture behind a header line after the length line")
        << "Content-Length: " + QByteArray::number(jpeg.size()) + "\r\nX-Number: 1\r\n\r\n" + jpeg;
}

void TestMjpegReader::undecodablePictureStopsTheCallbackUntilAGoodOne()
{
    QFETCH(QByteArray, part);

    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::red));
    QTRY_VERIFY(probe.isShowing(Qt::red));

    QVERIFY(ReaderProbe::waitForGate());
    server.send(part);
    QTRY_VERIFY(probe.isFrameNull());
    const int nTicks = probe.tickCount();
    // Fifteen times the time between two calls.
    QVERIFY(!QTest::qWaitFor([&] { return probe.tickCount() > nTicks; }, 150));

    server.send(colorPart(Qt::green));
    QTRY_VERIFY(probe.isShowing(Qt::green));
    QVERIFY(!probe.isFrameNull());
    const QList<sTick> ticks = probe.ticks();
    QVERIFY(ticks.at(nTicks).m_nPicture != ticks.at(nTicks - 1).m_nPicture);
}

void TestMjpegReader::pictureWithoutLengthOnlyWakesTheDecoder_data()
{
    QTest::addColumn<QByteArray>("part");

    QTest::newRow("length 0") << QByteArray("--b\r\nContent-Length: 0\r\n\r\n");
    QTest::newRow("length unreadable") << QByteArray("--b\r\nContent-Length: abc\r\n\r\n");
    QTest::newRow("length negative") << QByteArray("--b\r\nContent-Length: -5\r\n\r\n");
}

void TestMjpegReader::pictureWithoutLengthOnlyWakesTheDecoder()
{
    QFETCH(QByteArray, part);

    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::red));
    QTRY_VERIFY(probe.isShowing(Qt::red));
    {
        // A picture that the decoder replaces by its last one, whenever it is woken.
        std::lock_guard<std::mutex> lck(probe.reader().m_mtxMapInputVideo);
        probe.image() = solidPicture(PictureSize, Qt::yellow);
    }
    QTRY_VERIFY(probe.isShowing(Qt::yellow));
    QVERIFY(ReaderProbe::waitForGate());
    server.send(part);
    QTRY_VERIFY(probe.isShowing(Qt::red));

    // The stream goes on behind the empty line.
    QVERIFY(ReaderProbe::waitForGate());
    server.send(colorPart(Qt::blue));
    QTRY_VERIFY(probe.isShowing(Qt::blue));
}

void TestMjpegReader::endOfTheTaskPublishesTheNoSignalPicture()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.stop();
    COMPARE_PICTURES(probe.image(), solidPicture(QSize(1920, 1080), Qt::black));
    QCOMPARE(probe.image().format(), QImage::Format_ARGB32);
    const QList<sTick> ticks = probe.ticks();
    QCOMPARE(ticks.last().m_strThread, QStringLiteral("echo-reader"));
    QCOMPARE(ticks.last().m_nPicture, probe.image().cacheKey());
    // Once, at the end: the calls before came from the notifier.
    QCOMPARE(ticks.at(ticks.size() - 2).m_strThread, QStringLiteral("echo-notifier"));
}

QTEST_GUILESS_MAIN(TestMjpegReader)
#include "tst_mjpegreader.moc"
