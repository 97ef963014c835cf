// The states of a connection: attempts, silence, back-off, pause, and a device that goes offline.

#include <readerprobe.h>

#include <logcapture.h>
#include <rawdevices.h>

#include <QtTest>

using namespace Morvek::Tests;

namespace {

const QString ConnectWarning = QStringLiteral("mjpeg server timeout.");
const QString ReadWarning = QStringLiteral("Read echo video from ");
const QString EndLine = QStringLiteral("readTask end");

// Long enough to see that something does not happen.
constexpr int AWhile = 400; // ms

bool staysAway(const std::function<bool()> &isThere)
{
    return !QTest::qWaitFor(isThere, AWhile);
}

} // namespace

class TestMjpegReaderLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusedConnectionIsTriedOnceASecond();
    void unansweredConnectionIsTriedOnceASecond();
    void deviceThatComesUpIsConnected();
    void failedReadClosesTheConnectionAndBacksOff_data();
    void failedReadClosesTheConnectionAndBacksOff();
    void silenceOfLessThanASecondIsNoFailure();
    void stopEndsTheBackOff();
    void resumeEndsTheBackOff();
    void restartWithoutPauseDoesNotEndTheBackOff();
    void pauseClosesTheConnectionAndResumeReconnects();
    void lastPictureIsShownWhilePaused();
    void pauseWaitsForAConnectionAndItsFirstRead();
    void offlineDeviceIsNotConnected();
    void unreachableDeviceThatGoesOfflineEndsTheThread();
    void streamGoesOnWhileTheDeviceIsOffline();
    void deviceThatIsOfflineAfterAPauseEndsTheThread();
    void threadThatEndedIsStartedAgain();
};

void TestMjpegReaderLifecycle::refusedConnectionIsTriedOnceASecond()
{
    LogCapture log;
    MjpegServer server;
    server.refuse();
    ReaderProbe probe(server.port());
    QElapsedTimer timer;
    timer.start();
    probe.start();
    QTRY_VERIFY_WITH_TIMEOUT(log.count(ConnectWarning) >= 3, 20000);
    // The third attempt begins two seconds after the first.
    QVERIFY2(timer.elapsed() >= 1950, qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
    const int nAttempts = log.count(ConnectWarning);
    QVERIFY2(nAttempts <= timer.elapsed() / 1000 + 1, qPrintable(QString::number(nAttempts)));
    QCOMPARE(log.count(EndLine), 0);
}

void TestMjpegReaderLifecycle::unansweredConnectionIsTriedOnceASecond()
{
    LogCapture log;
    const UnansweringDevice device;
    ReaderProbe probe(device.port());
    QElapsedTimer timer;
    timer.start();
    probe.start();
    QTRY_VERIFY_WITH_TIMEOUT(log.count(ConnectWarning) >= 2, 20000);
    // The second attempt begins a second after the first, and lasts as long.
    QVERIFY2(timer.elapsed() >= 1950, qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
    const int nAttempts = log.count(ConnectWarning);
    QVERIFY2(nAttempts <= timer.elapsed() / 1000 + 1, qPrintable(QString::number(nAttempts)));
}

void TestMjpegReaderLifecycle::deviceThatComesUpIsConnected()
{
    LogCapture log;
    MjpegServer server;
    server.refuse();
    ReaderProbe probe(server.port());
    probe.start();
    QTRY_VERIFY(log.count(ConnectWarning) >= 1);
    server.stream(colorPart(Qt::red), 30);
    QVERIFY(server.accept());
    QTRY_VERIFY(probe.isShowing(Qt::red));
    QCOMPARE(log.count(ReadWarning), 0);
}

void TestMjpegReaderLifecycle::failedReadClosesTheConnectionAndBacksOff_data()
{
    QTest::addColumn<bool>("isClosedByDevice");
    QTest::addColumn<bool>("isReset");
    QTest::addColumn<int>("earliest");

    QTest::newRow("silence of a second") << false << false << 950;
    QTest::newRow("closed by the device") << true << false << 0;
    QTest::newRow("reset by the device") << true << true << 0;
}

void TestMjpegReaderLifecycle::failedReadClosesTheConnectionAndBacksOff()
{
    QFETCH(bool, isClosedByDevice);
    QFETCH(bool, isReset);
    QFETCH(int, earliest);

    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::red));
    QTRY_VERIFY(probe.isShowing(Qt::red));
    server.stopStream();
    QElapsedTimer timer;
    timer.start();
    if (isClosedByDevice)
        server.closeConnections(isReset);
    QTRY_COMPARE(log.count(ReadWarning), 1);
    QVERIFY2(timer.elapsed() >= earliest, qPrintable(QString::number(timer.elapsed())));
    QTRY_COMPARE(server.openCount(), 0);

    QVERIFY(staysAway([&] { return server.acceptedCount() > 1; }));
    QVERIFY(probe.reader().isRunning());
    QCOMPARE(log.count(ReadWarning), 1);
    QCOMPARE(log.count(ConnectWarning), 0);
    // What was shown last stays.
    const int nTicks = probe.tickCount();
    QTRY_VERIFY(probe.tickCount() > nTicks);
    QVERIFY(probe.isShowing(Qt::red));
}

void TestMjpegReaderLifecycle::silenceOfLessThanASecondIsNoFailure()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.stream(".", 300);
    QElapsedTimer timer;
    timer.start();
    QTRY_VERIFY(timer.elapsed() > 2000);
    QCOMPARE(log.count(ReadWarning), 0);
    QCOMPARE(server.openCount(), 1);
}

void TestMjpegReaderLifecycle::stopEndsTheBackOff()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.count(ReadWarning), 1);
    QVERIFY(probe.stop() < 3000);
    QCOMPARE(server.acceptedCount(), 1);
    QCOMPARE(log.count(EndLine), 1);
}

void TestMjpegReaderLifecycle::resumeEndsTheBackOff()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.count(ReadWarning), 1);
    server.stream(colorPart(Qt::red), 30);
    QVERIFY(probe.reconnect(server));
    QTRY_VERIFY(probe.isShowing(Qt::red));
    QCOMPARE(log.count(EndLine), 0);
}

void TestMjpegReaderLifecycle::restartWithoutPauseDoesNotEndTheBackOff()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.count(ReadWarning), 1);
    QVERIFY(staysAway([&] {
        probe.start();
        return server.acceptedCount() > 1;
    }));
    QVERIFY(probe.reader().isRunning());
}

void TestMjpegReaderLifecycle::pauseClosesTheConnectionAndResumeReconnects()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().pauseRead();
    QVERIFY(probe.reader().isPaused());
    QTRY_COMPARE(server.openCount(), 0);
    server.stream(colorPart(Qt::blue), 30);
    QVERIFY(staysAway([&] { return server.acceptedCount() > 1; }));

    probe.start();
    QVERIFY(!probe.reader().isPaused());
    QTRY_VERIFY(probe.isShowing(Qt::blue));
    QCOMPARE(server.acceptedCount(), 2);
    QCOMPARE(log.lines().size(), 1); // the start, and neither an end nor a warning
}

void TestMjpegReaderLifecycle::lastPictureIsShownWhilePaused()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().pauseRead();
    QTRY_COMPARE(server.openCount(), 0);
    const int nTicks = probe.tickCount();
    QTRY_VERIFY(probe.tickCount() > nTicks + 5);
    QVERIFY(probe.isShowing(Qt::red));
    QVERIFY(probe.reader().isRunning());
}

void TestMjpegReaderLifecycle::pauseWaitsForAConnectionAndItsFirstRead()
{
    LogCapture log;
    MjpegServer server;
    server.refuse();
    ReaderProbe probe(server.port());
    probe.start();
    QTRY_VERIFY(log.count(ConnectWarning) >= 1);
    probe.reader().pauseRead();
    const int nWarnings = log.count(ConnectWarning);
    QTRY_VERIFY(log.count(ConnectWarning) >= nWarnings + 2);

    server.stream(colorPart(Qt::red), 30);
    QVERIFY(server.accept());
    QTRY_COMPARE(server.acceptedCount(), 1);
    QTRY_COMPARE(server.openCount(), 0);
    QVERIFY(staysAway([&] { return server.acceptedCount() > 1; }));
    QVERIFY(probe.reader().isPaused());
    QCOMPARE(log.count(ReadWarning), 0);
}

void TestMjpegReaderLifecycle::offlineDeviceIsNotConnected()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.device()->setOnlineFlag(false);
    probe.start();
    QTRY_VERIFY(probe.reader().isFinished());
    QCOMPARE(server.acceptedCount(), 0);
    QCOMPARE(probe.tickCount(), 1);
    COMPARE_PICTURES(probe.frame(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestMjpegReaderLifecycle::unreachableDeviceThatGoesOfflineEndsTheThread()
{
    LogCapture log;
    MjpegServer server;
    server.refuse();
    ReaderProbe probe(server.port());
    probe.start();
    QTRY_VERIFY(log.count(ConnectWarning) >= 1);
    probe.device()->setOnlineFlag(false);
    QTRY_VERIFY(probe.reader().isFinished());
    QVERIFY(!probe.reader().m_isStopRead);
    QVERIFY(!probe.reader().m_processerIsRunning);
    QVERIFY(!probe.reader().m_pIsRunningForFinishTask);
    COMPARE_PICTURES(probe.frame(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestMjpegReaderLifecycle::streamGoesOnWhileTheDeviceIsOffline()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.device()->setOnlineFlag(false);
    server.stream(colorPart(Qt::blue), 30);
    QTRY_VERIFY(probe.isShowing(Qt::blue));
    QCOMPARE(server.openCount(), 1);

    server.closeConnections();
    QTRY_COMPARE(log.count(ReadWarning), 1);
    QVERIFY(probe.stop() < 3000);
    QCOMPARE(server.acceptedCount(), 1);
}

void TestMjpegReaderLifecycle::deviceThatIsOfflineAfterAPauseEndsTheThread()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().pauseRead();
    QTRY_COMPARE(server.openCount(), 0);
    probe.device()->setOnlineFlag(false);
    const auto hasEnded = [&] {
        // Again and again: a wake-up before the wait has begun is lost by design.
        probe.reader().m_cvStopRead.notify_all();
        return probe.reader().isFinished();
    };
    QTRY_VERIFY(hasEnded());
    QCOMPARE(server.acceptedCount(), 1);
}

void TestMjpegReaderLifecycle::threadThatEndedIsStartedAgain()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.device()->setOnlineFlag(false);
    probe.start();
    QTRY_VERIFY(probe.reader().isFinished());
    probe.device()->setOnlineFlag(true);
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
}

QTEST_GUILESS_MAIN(TestMjpegReaderLifecycle)
#include "tst_mjpegreader_lifecycle.moc"
