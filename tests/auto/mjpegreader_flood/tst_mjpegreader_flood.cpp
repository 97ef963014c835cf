// A device that announces more than it may send: the receive buffer has a limit.

#include <readerprobe.h>

#include <logcapture.h>
#include <processfigures.h>
#include <rawdevices.h>
#include <sanitized.h>

#include <QTcpSocket>
#include <QtTest>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr qint64 MiB = 1024 * 1024;
constexpr qint64 BufferLimit = 128 * MiB;

} // namespace

class TestMjpegReaderFlood : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bufferAboveItsLimitIsAFailedRead();
    void limitIsExactAndEmptiesTheBuffer();
};

void TestMjpegReaderFlood::bufferAboveItsLimitIsAFailedRead()
{
    LogCapture log;
    const FloodingDevice device("Content-Length: 1000000000\r\n\r\n", QByteArray(MiB, '\0'));
    ReaderProbe probe(device.port());
    const qint64 nMemoryBefore = peakMemory();
    QElapsedTimer timer;
    timer.start();
    probe.start();
    QTRY_VERIFY_WITH_TIMEOUT(device.isClosed(), 60000);
    const qint64 nSent = device.sentBytes();
    const qint64 nMemory = peakMemory() - nMemoryBefore;
    QVERIFY2(nSent > BufferLimit, qPrintable(QString::number(nSent / MiB)));
    // What the system holds between sender and receiver comes on top of the limit.
    QVERIFY2(nSent < 2 * BufferLimit, qPrintable(QString::number(nSent / MiB)));
    QVERIFY2(nMemory < 4 * BufferLimit * SanitizerMemoryFactor,
             qPrintable(QString::number(nMemory / MiB)));
    QCOMPARE(log.count(QStringLiteral("Read echo video from")), 1);
    QVERIFY(probe.reader().isRunning());
    QVERIFY(probe.frame().isNull());
    QVERIFY(probe.stop() < 3000);
}

void TestMjpegReaderFlood::limitIsExactAndEmptiesTheBuffer()
{
    MjpegServer server;
    QImage image;
    RemoteMJPEGReader reader(image);
    reader.m_time = QTime::currentTime();
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), server.port());
    QVERIFY(socket.waitForConnected());
    QTRY_COMPARE(server.openCount(), 1);

    QByteArray bytes = "Content-Length: 1000000000\r\n\r\n";
    bytes.append(int(BufferLimit) - 1 - bytes.size(), '\0');
    ReceiveBuffer tcpdata = bytes;
    server.send("x");
    QVERIFY(socket.waitForReadyRead());
    QVERIFY(reader.receive(socket, tcpdata));
    QCOMPARE(tcpdata.size(), int(BufferLimit));

    server.send("x");
    QVERIFY(socket.waitForReadyRead());
    QVERIFY(!reader.receive(socket, tcpdata));
    QCOMPARE(tcpdata.size(), 0);
    QCOMPARE(tcpdata.m_bytes.capacity(), 0);
}

QTEST_GUILESS_MAIN(TestMjpegReaderFlood)
#include "tst_mjpegreader_flood.moc"
