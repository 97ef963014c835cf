// What restartRead() does for each pair of the device it is given and the device it has.

#include <readerprobe.h>

#include <logcapture.h>

#include <QtTest>

using namespace Morvek::BizModel;
using namespace Morvek::Tests;

class TestMjpegReaderRestart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noDeviceStopsTheReader();
    void noDeviceStopsAReaderThatIsBackingOff();
    void noDeviceAfterNoneRunsTheTaskOnce_data();
    void noDeviceAfterNoneRunsTheTaskOnce();
    void sameDeviceWhileReadingChangesNothing();
    void sameDeviceWhilePausedResumes();
    void sameDeviceAfterAStopStartsAgain();
    void anotherDeviceTakesTheOldOnesPlace();
    void anotherDeviceTakesThePlaceOfAPausedOne();
    void deviceTakesThePlaceOfOneThatIsGone();
    void oldThreadHasEndedWhenTheCallReturns();
};

void TestMjpegReaderRestart::noDeviceStopsTheReader()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().restartRead({});
    QVERIFY(!probe.reader().isRunning());
    QVERIFY(probe.reader().m_isStopRead);
    QVERIFY(probe.reader().device().expired());
    QTRY_COMPARE(server.openCount(), 0);
    COMPARE_PICTURES(probe.image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestMjpegReaderRestart::noDeviceStopsAReaderThatIsBackingOff()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    server.closeConnections();
    QTRY_COMPARE(log.count(QStringLiteral("Read echo video from")), 1);
    probe.reader().restartRead({});
    QVERIFY(!probe.reader().isRunning());
    QVERIFY(probe.reader().device().expired());
    QCOMPARE(server.acceptedCount(), 1);
}

void TestMjpegReaderRestart::noDeviceAfterNoneRunsTheTaskOnce_data()
{
    QTest::addColumn<bool>("wasDevice");

    QTest::newRow("never a device") << false;
    QTest::newRow("a device that is gone") << true;
}

void TestMjpegReaderRestart::noDeviceAfterNoneRunsTheTaskOnce()
{
    QFETCH(bool, wasDevice);

    LogCapture log;
    std::weak_ptr<Device> wGone;
    if (wasDevice)
        wGone = std::make_shared<Device>();
    ReaderProbe probe(1);
    probe.reader().setDevice(wGone);
    probe.reader().restartRead(wGone);
    QTRY_VERIFY(probe.reader().isFinished());
    QVERIFY(!probe.reader().m_isStopRead);
    QCOMPARE(probe.tickCount(), 1);
    COMPARE_PICTURES(probe.frame(), solidPicture(QSize(1920, 1080), Qt::black));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.count(QStringLiteral("readTask start")), 1);
}

void TestMjpegReaderRestart::sameDeviceWhileReadingChangesNothing()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    for (int i = 0; i < 20; ++i)
        probe.start();
    server.stream(colorPart(Qt::blue), 30);
    QTRY_VERIFY(probe.isShowing(Qt::blue));
    QCOMPARE(server.acceptedCount(), 1);
    QCOMPARE(log.lines().size(), 1);
}

void TestMjpegReaderRestart::sameDeviceWhilePausedResumes()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().pauseRead();
    QTRY_COMPARE(server.openCount(), 0);
    probe.start();
    QVERIFY(!probe.reader().isPaused());
    QTRY_COMPARE(server.acceptedCount(), 2);
    QCOMPARE(log.count(QStringLiteral("readTask start")), 1);
}

void TestMjpegReaderRestart::sameDeviceAfterAStopStartsAgain()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    for (int i = 1; i <= 3; ++i) {
        probe.start();
        QTRY_VERIFY(probe.isShowing(Qt::red));
        QVERIFY(!probe.reader().m_isStopRead);
        probe.stop();
        QVERIFY(probe.isShowing(Qt::black));
        QCOMPARE(server.acceptedCount(), i);
        QCOMPARE(log.count(QStringLiteral("readTask end")), i);
    }
}

void TestMjpegReaderRestart::anotherDeviceTakesTheOldOnesPlace()
{
    MjpegServer oldServer;
    MjpegServer newServer;
    ReaderProbe probe(oldServer.port());
    oldServer.stream(colorPart(Qt::red), 30);
    newServer.stream(colorPart(Qt::blue), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));

    const auto pNewDevice = makeMjpegDevice(newServer.port());
    pNewDevice->setOnlineFlag(true);
    probe.reader().restartRead(pNewDevice);
    QCOMPARE(probe.reader().device().lock(), pNewDevice);
    QTRY_VERIFY(probe.isShowing(Qt::blue));
    QTRY_COMPARE(oldServer.openCount(), 0);
    QCOMPARE(oldServer.acceptedCount(), 1);
    QCOMPARE(newServer.acceptedCount(), 1);
}

void TestMjpegReaderRestart::anotherDeviceTakesThePlaceOfAPausedOne()
{
    MjpegServer oldServer;
    MjpegServer newServer;
    ReaderProbe probe(oldServer.port());
    oldServer.stream(colorPart(Qt::red), 30);
    newServer.stream(colorPart(Qt::blue), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    probe.reader().pauseRead();
    QTRY_COMPARE(oldServer.openCount(), 0);

    const auto pNewDevice = makeMjpegDevice(newServer.port());
    pNewDevice->setOnlineFlag(true);
    probe.reader().restartRead(pNewDevice);
    QVERIFY(!probe.reader().isPaused());
    QTRY_VERIFY(probe.isShowing(Qt::blue));
    QCOMPARE(oldServer.acceptedCount(), 1);
}

void TestMjpegReaderRestart::deviceTakesThePlaceOfOneThatIsGone()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.reader().setDevice(std::make_shared<Device>());
    QVERIFY(probe.reader().device().expired());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QCOMPARE(probe.reader().device().lock(), probe.device());
    QTRY_VERIFY(probe.isShowing(Qt::red));
}

void TestMjpegReaderRestart::oldThreadHasEndedWhenTheCallReturns()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    server.stream(colorPart(Qt::red), 30);
    probe.start();
    QTRY_VERIFY(probe.isShowing(Qt::red));
    const auto pOfflineDevice = makeMjpegDevice(server.port());
    probe.reader().restartRead(pOfflineDevice);
    QVERIFY(log.count(QStringLiteral("readTask end, m_isStopRead is  true")) == 1);
    QTRY_VERIFY(probe.reader().isFinished());
    QCOMPARE(log.count(QStringLiteral("readTask start")), 2);
    QCOMPARE(server.acceptedCount(), 1);
}

QTEST_GUILESS_MAIN(TestMjpegReaderRestart)
#include "tst_mjpegreader_restart.moc"
