// Stops right after the start, and what is left of threads, files and devices after them.

#include <readerprobe.h>

#include <echofps_p.h>
#include <logcapture.h>
#include <processfigures.h>

#include <QSemaphore>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr int CycleCount = 200;

// A delay too short for the system's timers.
void spinFor(std::chrono::microseconds delay)
{
    const auto end = std::chrono::steady_clock::now() + delay;
    while (std::chrono::steady_clock::now() < end) {}
}

bool isReady(const std::future<void> &future)
{
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

} // namespace

class TestMjpegReaderCycles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void stopsRightAfterTheStartLeaveNothing_data();
    void stopsRightAfterTheStartLeaveNothing();
    void workersEndRightAfterTheirStart();
    void destructorWaitsForTheWorkers();
};

void TestMjpegReaderCycles::cleanup()
{
    // A thread that has ended may be listed for a moment longer.
    QTRY_COMPARE(threadCount(QStringLiteral("echo-")), 0);
}

void TestMjpegReaderCycles::stopsRightAfterTheStartLeaveNothing_data()
{
    QTest::addColumn<bool>("isRefused");

    QTest::newRow("device that streams") << false;
    QTest::newRow("device that refuses") << true;
}

void TestMjpegReaderCycles::stopsRightAfterTheStartLeaveNothing()
{
    QFETCH(bool, isRefused);

    LogCapture log;
    MjpegServer server;
    server.stream(colorPart(Qt::red), 10);
    if (isRefused)
        server.refuse();
    const auto pDevice = makeMjpegDevice(server.port());
    pDevice->setOnlineFlag(true);
    QImage image;
    const int nThreads = threadCount();
    const int nFiles = openFileCount();
    for (int i = 0; i < CycleCount; ++i) {
        RemoteMJPEGReader reader(image);
        std::atomic_int nCalls{0};
        reader.setInputVideoReadFinishedCallback([&] { ++nCalls; });
        reader.restartRead(pDevice);
        spinFor(std::chrono::microseconds(i));
        reader.stopRead();
        QVERIFY(!reader.isRunning());
        QVERIFY(!reader.m_processerIsRunning);
        QVERIFY(!reader.m_pIsRunningForFinishTask);
        QVERIFY(nCalls >= 1);
        QCOMPARE(image.size(), QSize(1920, 1080));
        QCOMPARE(pDevice.use_count(), 1L);
    }
    QCOMPARE(log.count(QStringLiteral("readTask start")), CycleCount);
    QTRY_COMPARE(server.openCount(), 0);
    QTRY_COMPARE(threadCount(), nThreads);
    QTRY_COMPARE(openFileCount(), nFiles);
}

void TestMjpegReaderCycles::workersEndRightAfterTheirStart()
{
    QImage image = solidPicture(QSize(8, 8), Qt::red);
    const auto pDevice = makeMjpegDevice(1);
    EchoFps::store(pDevice->deviceConfig().EchoVideoCfg, 255);
    for (int i = 0; i < CycleCount; ++i) {
        RemoteMJPEGReader reader(image);
        reader.setDevice(pDevice);
        QVERIFY(reader.startProcessMJPEGTask());
        QVERIFY(reader.m_processerIsRunning);
        QVERIFY(reader.starProcessVideoFinishedTask());
        spinFor(std::chrono::microseconds(i));
        reader.stopProcessMJPEGTask();
        QVERIFY(!reader.m_processerIsRunning);
        QVERIFY(!reader.m_pIsRunningForFinishTask);
    }
}

void TestMjpegReaderCycles::destructorWaitsForTheWorkers()
{
    QSemaphore entered;
    QSemaphore leave;
    ReaderProbe probe(1);
    probe.image() = solidPicture(QSize(8, 8), Qt::red);
    probe.setHook([&] {
        entered.release();
        leave.acquire();
    });
    probe.reader().setDevice(probe.device());
    QVERIFY(probe.reader().startProcessMJPEGTask());
    QVERIFY(probe.reader().starProcessVideoFinishedTask());
    QVERIFY(entered.tryAcquire(1, 10000));

    const std::future<void> destruction =
        std::async(std::launch::async, [&] { probe.destroyReader(); });
    const bool isTooEarly = QTest::qWaitFor([&] { return isReady(destruction); }, 300);
    leave.release(100000);
    QVERIFY(!isTooEarly);
    QTRY_VERIFY(isReady(destruction));
}

QTEST_GUILESS_MAIN(TestMjpegReaderCycles)
#include "tst_mjpegreader_cycles.moc"
