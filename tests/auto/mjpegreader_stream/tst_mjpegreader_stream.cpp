// How pictures fare when they come in pieces, several at once, too fast, or over two connections.

#include <readerprobe.h>
#include <tcpqueue.h>

#include <QSet>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace Morvek::Tests;

namespace {

const QByteArray Filler = ".";    // between pictures
const QColor Shown = Qt::red;     // already published
const QColor Doubtful = Qt::blue; // what the test asks about
const QColor After = Qt::green;   // ends the test

// Notes whether a colour was ever published.
class ColorWatch
{
public:
    ColorWatch(ReaderProbe &probe, const QColor &color)
    {
        probe.setHook([pIsSeen = m_pIsSeen, &probe, color] {
            if (probe.isShowing(color))
                *pIsSeen = true;
        });
    }

    bool isSeen() const { return *m_pIsSeen; }

private:
    // Shared with the callback, which may outlive this.
    const std::shared_ptr<std::atomic_bool> m_pIsSeen = std::make_shared<std::atomic_bool>(false);
};

} // namespace

class TestMjpegReaderStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyTheNewestPictureOfOneReadIsShown();
    void pictureThatALaterReadEndsIsShown();
    void pictureIsTakenWhenTheNextHasBegun();
    void pictureMayComeInManyPieces();
    void splitHeaderLosesItsPicture();
    void bytesAnnouncedButMissingAreTakenFromTheNextConnection();
    void atMostOnePictureIsHandedOverEvery80Ms();
};

void TestMjpegReaderStream::onlyTheNewestPictureOfOneReadIsShown()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    const ColorWatch watch(probe, Doubtful);
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Doubtful) + colorPart(After));
    QTRY_VERIFY(probe.isShowing(After));
    QVERIFY(!watch.isSeen());
}

void TestMjpegReaderStream::pictureThatALaterReadEndsIsShown()
{
    const QByteArray part = colorPart(Shown);
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    server.send(part.left(part.size() / 2));
    QTRY_COMPARE(unreadBytes(server.port()), qint64(0));
    QVERIFY(probe.frame().isNull());
    server.send(part.mid(part.size() / 2));
    server.stream(Filler, 50);
    QTRY_VERIFY(probe.isShowing(Shown));
}

void TestMjpegReaderStream::pictureIsTakenWhenTheNextHasBegun()
{
    const QByteArray next = colorPart(After);
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    server.send(colorPart(Shown) + next.left(next.size() - 10));
    QTRY_VERIFY(probe.isShowing(Shown));
    QVERIFY(ReaderProbe::waitForGate());
    server.send(next.right(10));
    server.stream(Filler, 50);
    QTRY_VERIFY(probe.isShowing(After));
}

void TestMjpegReaderStream::pictureMayComeInManyPieces()
{
    const QByteArray part = colorPart(Shown);
    const int nHeader = part.indexOf("\r\n\r\n") + 4;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    server.send(part.left(nHeader));
    server.sendSplit(part.mid(nHeader), 3);
    server.stream(Filler, 50);
    QTRY_VERIFY(probe.isShowing(Shown));
}

void TestMjpegReaderStream::splitHeaderLosesItsPicture()
{
    const QByteArray part = colorPart(Doubtful);
    const int nSplit = part.indexOf("gth: ");
    MjpegServer server;
    ReaderProbe probe(server.port());
    const ColorWatch watch(probe, Doubtful);
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    server.send(part.left(nSplit));
    QTRY_COMPARE(unreadBytes(server.port()), qint64(0));
    server.send(part.mid(nSplit));
    QTRY_COMPARE(unreadBytes(server.port()), qint64(0));
    server.send(colorPart(After));
    server.stream(Filler, 50);
    QTRY_VERIFY(probe.isShowing(After));
    QVERIFY(!watch.isSeen());
}

void TestMjpegReaderStream::bytesAnnouncedButMissingAreTakenFromTheNextConnection()
{
    const QByteArray part = colorPart(Shown);
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stopStream();
    server.send(part.left(part.size() / 2));
    QTRY_COMPARE(unreadBytes(server.port()), qint64(0));
    server.closeConnections();
    QTRY_COMPARE(server.openCount(), 0);
    QVERIFY(probe.reconnect(server));
    server.send(part.mid(part.size() / 2));
    server.stream(Filler, 50);
    QTRY_VERIFY(probe.isShowing(Shown));
}

void TestMjpegReaderStream::atMostOnePictureIsHandedOverEvery80Ms()
{
    constexpr int PictureCount = 10;
    MjpegServer server;
    server.stream(colorPart(Shown), 10);
    ReaderProbe probe(server.port());
    QElapsedTimer sinceStart;
    sinceStart.start();
    probe.start();

    const auto pictures = [&] {
        QSet<qint64> different;
        const QList<sTick> ticks = probe.ticks();
        for (const sTick &tick : ticks)
            different.insert(tick.m_nPicture);
        return different.size();
    };
    QTRY_VERIFY_WITH_TIMEOUT(pictures() >= PictureCount, 20000);
    const int nSent = server.streamedCount();
    const int nPictures = pictures();
    const qint64 nElapsed = sinceStart.elapsed();
    // Seeing one may take longer, but none can be seen before it was handed over.
    constexpr qint64 ClockSlack = 5;
    QVERIFY2(nPictures * 80 <= nElapsed + ClockSlack,
             qPrintable(QStringLiteral("%1 in %2 ms").arg(nPictures).arg(nElapsed)));
    QVERIFY2(nSent > 2 * nPictures, qPrintable(QString::number(nSent)));
}

QTEST_GUILESS_MAIN(TestMjpegReaderStream)
#include "tst_mjpegreader_stream.moc"
