// The device simulator, as a process: its stream, its clients, and when it makes pictures.

#include <echolayout.h>
#include <tilestamp.h>

#include "deviceprocess.h"
#include "plainstream.h"

#include <QDateTime>
#include <QHostAddress>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpServer>
#include <QtTest>

#include <csignal>
#include <memory>
#include <vector>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

/** The stamp of a tile in the next picture of a stream. */
std::optional<sTileStamp> nextStamp(PlainStream &stream, int nTiles = 16, int nTile = 0)
{
    const std::optional<sStreamPart> part = stream.next();
    if (!part) {
        return std::nullopt;
    }
    return readTileStamp(QImage::fromData(part->m_picture), tileRect(nTiles, nTile),
                         QDateTime::currentMSecsSinceEpoch());
}

QJsonObject jsonObject(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}

bool hasIPv6()
{
    QTcpServer server;
    return server.listen(QHostAddress::LocalHostIPv6);
}

} // namespace

class tst_EchoDevice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void partsHaveTheWireFormat();
    void everyTileCarriesItsStamp_data();
    void everyTileCarriesItsStamp();
    void listensWhereItIsTold_data();
    void listensWhereItIsTold();
    void rateIsKept();
    void qualityIsObeyed();

    void numberedRunBeginsWithTheFirstClient();
    void numberedRunEndsAfterItsLastPicture();
    void numberedRunEndsWithoutItsClient();
    void noPicturesAreMadeWhileNobodyListens();

    void clientThatNeverReadsDelaysNobody();
    void laterClientGetsTheSamePictures();
    void whatAClientSaysIsThrownAway();
    void clientsBeyondTheLimitAreTurnedAway();
};

// ---- the stream

void tst_EchoDevice::partsHaveTheWireFormat()
{
    DeviceProcess device({"--fps", "30"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    QByteArray boundary;
    for (int count = 0; count < 4; ++count) {
        const std::optional<sStreamPart> part = stream.next();
        QVERIFY2(part.has_value(), qPrintable(stream.error()));
        QCOMPARE(part->m_headerLines.size(), 3);
        QVERIFY(part->m_headerLines[0].startsWith("--") && part->m_headerLines[0].size() > 2);
        QVERIFY(boundary.isEmpty() || boundary == part->m_headerLines[0]);
        boundary = part->m_headerLines[0];
        QCOMPARE(part->m_headerLines[1], QByteArray("Content-Type: image/jpeg"));
        QCOMPARE(part->m_headerLines[2],
                 "Content-Length: " + QByteArray::number(part->m_picture.size()));
        QVERIFY(part->m_picture.startsWith("\xff\xd8"));
        QVERIFY(part->m_picture.endsWith("\xff\xd9"));
        QCOMPARE(QImage::fromData(part->m_picture, "JPEG").size(), QSize(1920, 1080));
    }
}

void tst_EchoDevice::everyTileCarriesItsStamp_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<int>("tiles");
    QTest::newRow("default") << QStringList() << 16;
    for (const int tiles : {4, 9, 16, 25}) {
        QTest::addRow("%d tiles", tiles) << QStringList{"--tiles", QString::number(tiles)} << tiles;
    }
}

void tst_EchoDevice::everyTileCarriesItsStamp()
{
    QFETCH(QStringList, options);
    QFETCH(int, tiles);
    DeviceProcess device(options);
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    const qint64 start = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(stream.connectTo(device.address(), device.port()));
    for (quint32 number = 0; number < 3; ++number) {
        const std::optional<sStreamPart> part = stream.next();
        QVERIFY2(part.has_value(), qPrintable(stream.error()));
        const QImage picture = QImage::fromData(part->m_picture);
        const qint64 now = QDateTime::currentMSecsSinceEpoch();
        for (int tile = 0; tile < tiles; ++tile) {
            const auto stamp = readTileStamp(picture, tileRect(tiles, tile), now);
            QVERIFY(stamp.has_value());
            QCOMPARE(int(stamp->m_nInput), tile);
            QCOMPARE(stamp->m_nFrame, number);
            QVERIFY(stamp->m_nTimeMs >= start && stamp->m_nTimeMs <= now);
        }
    }
}

void tst_EchoDevice::listensWhereItIsTold_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<QString>("connectTo");
    QTest::newRow("default") << QStringList() << "127.0.0.1"
                             << "127.0.0.1";
    QTest::newRow("IPv4") << QStringList{"--address", "127.0.0.2"} << "127.0.0.2"
                          << "127.0.0.2";
    QTest::newRow("any IPv4") << QStringList{"--address", "0.0.0.0"} << "0.0.0.0"
                              << "127.0.0.1";
    QTest::newRow("IPv6") << QStringList{"--address", "::1"} << "[::1]"
                          << "::1";
    QTest::newRow("any IPv6") << QStringList{"--address", "::"} << "[::]"
                              << "::1";
}

void tst_EchoDevice::listensWhereItIsTold()
{
    QFETCH(QStringList, options);
    QFETCH(QString, expected);
    QFETCH(QString, connectTo);
    if (expected.startsWith('[') && !hasIPv6()) {
        QSKIP("This machine has no IPv6.", "");
    }
    DeviceProcess device(options);
    QVERIFY2(device.waitForListening(), device.errors());
    QCOMPARE(device.firstLine(),
             QStringLiteral("listening on %1:%2\n").arg(expected).arg(device.port()));
    PlainStream stream;
    QVERIFY(stream.connectTo(connectTo, device.port()));
    QVERIFY(nextStamp(stream).has_value());
}

void tst_EchoDevice::rateIsKept()
{
    DeviceProcess device({"--fps", "20", "--frames", "41"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    std::optional<sTileStamp> first = nextStamp(stream);
    QVERIFY(first.has_value());
    std::optional<sTileStamp> last;
    while (const std::optional<sTileStamp> stamp = nextStamp(stream)) {
        last = stamp;
    }
    QVERIFY(last.has_value());
    QCOMPARE(last->m_nFrame, 40u);
    // 40 intervals of 50 ms; a loaded machine may need longer, but never less.
    const qint64 duration = last->m_nTimeMs - first->m_nTimeMs;
    QVERIFY2(duration >= 1940 && duration < 6000, qPrintable(QString::number(duration)));
}

void tst_EchoDevice::qualityIsObeyed()
{
    int sizes[2] = {0, 0};
    for (int index = 0; index < 2; ++index) {
        DeviceProcess device({"--quality", index == 0 ? "10" : "95"});
        QVERIFY2(device.waitForListening(), device.errors());
        PlainStream stream;
        QVERIFY(stream.connectTo(device.address(), device.port()));
        const std::optional<sStreamPart> part = stream.next();
        QVERIFY(part.has_value());
        sizes[index] = part->m_picture.size();
    }
    QVERIFY2(sizes[0] * 2 < sizes[1],
             qPrintable(QStringLiteral("%1 %2").arg(sizes[0]).arg(sizes[1])));
}

// ---- when pictures are made

void tst_EchoDevice::numberedRunBeginsWithTheFirstClient()
{
    DeviceProcess device({"--frames", "2", "--fps", "60"});
    QVERIFY2(device.waitForListening(), device.errors());
    // Time goes by: another device makes six pictures and ends.
    DeviceProcess other({"--frames", "6", "--fps", "30"});
    QVERIFY2(other.waitForListening(), other.errors());
    PlainStream otherStream;
    QVERIFY(otherStream.connectTo(other.address(), other.port()));
    QVERIFY(other.waitForEnd());

    const qint64 start = QDateTime::currentMSecsSinceEpoch();
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    const std::optional<sTileStamp> stamp = nextStamp(stream);
    QVERIFY(stamp.has_value());
    QCOMPARE(stamp->m_nFrame, 0u);
    QVERIFY(stamp->m_nTimeMs >= start);
}

void tst_EchoDevice::numberedRunEndsAfterItsLastPicture()
{
    DeviceProcess device({"--frames", "5", "--fps", "30"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    for (quint32 number = 0; number < 5; ++number) {
        const std::optional<sTileStamp> stamp = nextStamp(stream);
        QVERIFY2(stamp.has_value(), qPrintable(stream.error()));
        QCOMPARE(stamp->m_nFrame, number);
    }
    QVERIFY(!stream.next());
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    const QByteArray output = device.output();
    QVERIFY2(output.contains("made 5 pictures") && output.contains("sent 5"), output);
}

void tst_EchoDevice::numberedRunEndsWithoutItsClient()
{
    DeviceProcess device({"--frames", "6", "--fps", "30", "--json", "-"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    QVERIFY(stream.next().has_value());
    stream.socket().abort();
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    QCOMPARE(jsonObject(device.output()).value("picturesMade").toInt(), 6);
}

void tst_EchoDevice::noPicturesAreMadeWhileNobodyListens()
{
    DeviceProcess device({"--fps", "30"});
    QVERIFY2(device.waitForListening(), device.errors());
    std::optional<sTileStamp> before;
    {
        PlainStream stream;
        QVERIFY(stream.connectTo(device.address(), device.port()));
        before = nextStamp(stream);
        QVERIFY(before.has_value());
    }
    // Time for 30 pictures goes by: another device makes as many at the same rate.
    DeviceProcess other({"--frames", "30", "--fps", "30"});
    QVERIFY2(other.waitForListening(), other.errors());
    PlainStream otherStream;
    QVERIFY(otherStream.connectTo(other.address(), other.port()));
    QVERIFY(other.waitForEnd());

    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    const std::optional<sTileStamp> after = nextStamp(stream);
    QVERIFY(after.has_value());
    QVERIFY(after->m_nTimeMs - before->m_nTimeMs > 900);
    // Those that were made before the device saw the client go are allowed for.
    QVERIFY2(after->m_nFrame - before->m_nFrame < 15, qPrintable(QString::number(after->m_nFrame)));
}

// ---- clients

void tst_EchoDevice::clientThatNeverReadsDelaysNobody()
{
    constexpr int Pictures = 120;
    DeviceProcess device({"--frames", QString::number(Pictures), "--fps", "40", "--tiles", "25",
                          "--quality", "95", "--json", "-"});
    QVERIFY2(device.waitForListening(), device.errors());
    QTcpSocket deaf;
    deaf.setReadBufferSize(1);
    deaf.connectToHost(QHostAddress(device.address()), device.port());
    QVERIFY(deaf.waitForConnected());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    int received = 0;
    int residentEarly = 0;
    int residentLate = 0;
    while (stream.next()) {
        ++received;
        residentEarly = received == 30 ? device.resident() : residentEarly;
        residentLate = received % 10 == 0 ? device.resident() : residentLate;
    }
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    const QJsonObject summary = jsonObject(device.output());
    QCOMPARE(summary.value("picturesMade").toInt(), Pictures);
    QCOMPARE(summary.value("clients").toInt(), 2);
    // The one that reads got nearly all; only one that is slower than a tenth of the rate would not.
    QVERIFY2(received >= Pictures * 9 / 10, qPrintable(QString::number(received)));
    const int skipped = summary.value("picturesSkipped").toInt();
    QVERIFY2(skipped > Pictures / 4, qPrintable(QString::number(skipped)));
    // What is neither sent nor skipped is what the deaf one was still owed: two pictures at most.
    const int unfinished = 2 * Pictures - summary.value("picturesSent").toInt() - skipped;
    QVERIFY2(unfinished >= 0 && unfinished <= 3, qPrintable(QString::number(unfinished)));
    // 70 pictures or more kept for the deaf one would be 50 MB.
    QVERIFY2(residentEarly > 0 && residentLate - residentEarly < 16 * 1024,
             qPrintable(QStringLiteral("%1 %2").arg(residentEarly).arg(residentLate)));
}

void tst_EchoDevice::laterClientGetsTheSamePictures()
{
    DeviceProcess device({"--fps", "20"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream first;
    QVERIFY(first.connectTo(device.address(), device.port()));
    QVERIFY(first.next().has_value());
    PlainStream second;
    QVERIFY(second.connectTo(device.address(), device.port()));
    const std::optional<sStreamPart> wanted = second.next();
    QVERIFY(wanted.has_value());
    bool isFound = false;
    for (int count = 0; count < 40 && !isFound; ++count) {
        const std::optional<sStreamPart> part = first.next();
        QVERIFY2(part.has_value(), qPrintable(first.error()));
        isFound = part->m_picture == wanted->m_picture;
    }
    QVERIFY(isFound);
}

void tst_EchoDevice::whatAClientSaysIsThrownAway()
{
    DeviceProcess device({"--fps", "30"});
    QVERIFY2(device.waitForListening(), device.errors());
    PlainStream stream;
    QVERIFY(stream.connectTo(device.address(), device.port()));
    stream.socket().write("GET / HTTP/1.1\r\nHost: device\r\n\r\n");
    // More than the system's buffers hold: it only goes away if the device reads it.
    stream.socket().write(QByteArray(16 * 1024 * 1024, '\0'));
    while (stream.socket().bytesToWrite() > 0) {
        QVERIFY(stream.socket().waitForBytesWritten());
    }
    QVERIFY2(nextStamp(stream).has_value(), qPrintable(stream.error()));
    QVERIFY2(nextStamp(stream).has_value(), qPrintable(stream.error()));
}

void tst_EchoDevice::clientsBeyondTheLimitAreTurnedAway()
{
    constexpr int Limit = 64;
    DeviceProcess device({"--fps", "5", "--quality", "1", "--tiles", "4"});
    QVERIFY2(device.waitForListening(), device.errors());
    std::vector<std::unique_ptr<PlainStream>> streams;
    for (int count = 0; count < Limit; ++count) {
        streams.push_back(std::make_unique<PlainStream>());
        QVERIFY(streams.back()->connectTo(device.address(), device.port()));
    }
    PlainStream tooMany;
    QVERIFY(tooMany.connectTo(device.address(), device.port()));
    QVERIFY(!tooMany.next());
    QVERIFY(tooMany.socket().state() == QAbstractSocket::UnconnectedState
            || tooMany.socket().waitForDisconnected());
    QVERIFY(streams.front()->next().has_value());
    QVERIFY(streams.back()->next().has_value());
    streams.pop_back();
    // Its place is free as soon as the device has seen it go.
    bool isServed = false;
    for (int attempt = 0; attempt < 50 && !isServed; ++attempt) {
        PlainStream stream;
        QVERIFY(stream.connectTo(device.address(), device.port()));
        isServed = stream.next().has_value();
    }
    QVERIFY(isServed);
    device.sendSignal(SIGTERM);
    QVERIFY(device.waitForEnd());
    QCOMPARE(device.exitStatus(), 0);
    QVERIFY(device.errors().startsWith("echodevice: A client was turned away"));
}

QTEST_GUILESS_MAIN(tst_EchoDevice)

#include "tst_echodevice.moc"
