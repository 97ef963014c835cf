// When, how often and under which lock the reader's callback is called.

#include <readerprobe.h>

#include <echofps_p.h>
#include <logcapture.h>
#include <processfigures.h>

#include <QDeadlineTimer>
#include <QScopeGuard>
#include <QSemaphore>
#include <QtTest>

#include <sys/time.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <new>
#include <thread>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

std::atomic<long> clockOffset{0}; // seconds

} // namespace

// The clock that Qt reads the time of day from, with a hand that the tests can turn.
extern "C" __attribute__((visibility("default"))) int gettimeofday(timeval *pTime, void *)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    pTime->tv_sec = now.tv_sec + clockOffset;
    pTime->tv_usec = now.tv_nsec / 1000;
    return 0;
}

namespace {

// Times from each call to the next, in ms.
QList<qint64> intervals(const QList<sTick> &ticks)
{
    QList<qint64> result;
    for (int i = 1; i < ticks.size(); ++i)
        result.append(ticks.at(i).m_nMs - ticks.at(i - 1).m_nMs);
    return result;
}

qint64 median(QList<qint64> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

// A reader of which only the notifier runs, with a picture to call for.
class LoneNotifier : public ReaderProbe
{
public:
    explicit LoneNotifier(int nFps)
        : ReaderProbe(1)
    {
        image() = solidPicture(QSize(8, 8), Qt::red);
        EchoFps::store(device()->deviceConfig().EchoVideoCfg, quint8(nFps));
        reader().setDevice(device());
    }

    bool run() { return reader().starProcessVideoFinishedTask(); }
};

// A service that takes a while over each picture.
void workFor(int nMs)
{
    QSemaphore never;
    never.tryAcquire(1, nMs);
}

} // namespace

class TestMjpegReaderNotifier : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void callsComeAtTheFrameRate_data();
    void callsComeAtTheFrameRate();
    void frameRateIsReadAtEveryCall();
    void timeInTheCallbackCountsIntoThePeriod();
    void atLeastTenMillisecondsFollowEachCall();
    void clockThatJumpsDoesNotHoldBackTheNextCall_data();
    void clockThatJumpsDoesNotHoldBackTheNextCall();
    void nothingIsCalledWithoutAPicture();
    void servicesOwnPictureIsShownBeforeTheFirst();
    void callbackRunsUnderThePictureLock();
    void readerWithoutACallbackPublishes();
    void callbackMayRunOutOfMemory();
    void threadsHaveNames();
    void notifierWithoutADeviceEndsAtOnce();
    void deviceIsFreeOnceTheNotifierHasEnded();
};

void TestMjpegReaderNotifier::init()
{
    clockOffset = 0;
}

void TestMjpegReaderNotifier::callsComeAtTheFrameRate_data()
{
    QTest::addColumn<int>("fps");
    QTest::addColumn<int>("period");

    QTest::newRow("25 a second") << 25 << 40;
    QTest::newRow("60 a second, in whole milliseconds") << 60 << 16;
    QTest::newRow("0 counts as 10 a second") << 0 << 100;
    QTest::newRow("200 a second are slowed down to 100") << 200 << 10;
    QTest::newRow("255 a second are slowed down to 100") << 255 << 10;
}

void TestMjpegReaderNotifier::callsComeAtTheFrameRate()
{
    QFETCH(int, fps);
    QFETCH(int, period);

    LoneNotifier probe(fps);
    QVERIFY(probe.run());
    QTRY_VERIFY_WITH_TIMEOUT(probe.tickCount() > 8, 20000);
    const qint64 nMedian = median(intervals(probe.ticks()));
    // A sleep is never shorter than asked for; both clocks count whole milliseconds.
    QVERIFY2(nMedian >= period - 1, qPrintable(QString::number(nMedian)));
    QVERIFY2(nMedian < 2 * period + 10, qPrintable(QString::number(nMedian)));
}

void TestMjpegReaderNotifier::frameRateIsReadAtEveryCall()
{
    LoneNotifier probe(100);
    QVERIFY(probe.run());
    QTRY_VERIFY(probe.tickCount() > 2);
    EchoFps::store(probe.device()->deviceConfig().EchoVideoCfg, 5);
    const int nBefore = probe.tickCount();
    QTRY_VERIFY(probe.tickCount() >= nBefore + 5);
    // The call under way may still have used the old rate.
    const QList<qint64> after = intervals(probe.ticks().mid(nBefore + 1, 4));
    for (const qint64 nInterval : after)
        QVERIFY2(nInterval >= 199, qPrintable(QString::number(nInterval)));
}

void TestMjpegReaderNotifier::timeInTheCallbackCountsIntoThePeriod()
{
    LoneNotifier probe(4);
    probe.setHook([] { workFor(200); });
    QVERIFY(probe.run());
    QTRY_VERIFY_WITH_TIMEOUT(probe.tickCount() > 3, 20000);
    // 250 ms a period; one on top of the other would be 450.
    const qint64 nMedian = median(intervals(probe.ticks()));
    QVERIFY2(nMedian >= 249 && nMedian < 400, qPrintable(QString::number(nMedian)));
}

void TestMjpegReaderNotifier::atLeastTenMillisecondsFollowEachCall()
{
    LoneNotifier probe(100);
    probe.setHook([] { workFor(30); });
    QVERIFY(probe.run());
    QTRY_VERIFY(probe.tickCount() > 10);
    const QList<qint64> all = intervals(probe.ticks());
    for (const qint64 nInterval : all)
        QVERIFY2(nInterval >= 39, qPrintable(QString::number(nInterval)));
}

void TestMjpegReaderNotifier::clockThatJumpsDoesNotHoldBackTheNextCall_data()
{
    QTest::addColumn<int>("seconds");

    QTest::newRow("back by an hour") << -3600;
    QTest::newRow("on by an hour") << 3600;
}

void TestMjpegReaderNotifier::clockThatJumpsDoesNotHoldBackTheNextCall()
{
    QFETCH(int, seconds);

    LoneNotifier probe(100);
    const qint64 nTimeBefore = QDateTime::currentSecsSinceEpoch();
    probe.setHook([seconds] { clockOffset += seconds; });
    QVERIFY(probe.run());
    QTRY_VERIFY(probe.tickCount() > 5);
    QVERIFY2(qAbs(QDateTime::currentSecsSinceEpoch() - nTimeBefore) > 3600,
             "the time of day is not read from this program's clock");
    const QList<qint64> all = intervals(probe.ticks());
    for (const qint64 nInterval : all)
        QVERIFY2(nInterval >= 9, qPrintable(QString::number(nInterval)));
}

void TestMjpegReaderNotifier::nothingIsCalledWithoutAPicture()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    QVERIFY(probe.connectTo(server));
    QVERIFY(!QTest::qWaitFor([&] { return probe.tickCount() > 0; }, 100));
    server.send(colorPart(Qt::red));
    QTRY_VERIFY(probe.tickCount() > 3);
    QVERIFY(probe.isShowing(Qt::red));
}

void TestMjpegReaderNotifier::servicesOwnPictureIsShownBeforeTheFirst()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.image() = solidPicture(QSize(8, 8), Qt::red);
    QVERIFY(probe.connectTo(server));
    QTRY_VERIFY(probe.tickCount() > 3);
    COMPARE_PICTURES(probe.frame(), solidPicture(QSize(8, 8), Qt::red));
}

void TestMjpegReaderNotifier::callbackRunsUnderThePictureLock()
{
    MjpegServer server;
    QSemaphore entered;
    QSemaphore leave;
    ReaderProbe probe(server.port());
    probe.setHook([&] {
        entered.release();
        leave.acquire();
    });
    const auto letGo = qScopeGuard([&] { leave.release(100000); });
    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::red));
    QVERIFY(entered.tryAcquire(1, 10000));
    RemoteMJPEGReader &reader = probe.reader();
    QVERIFY(!reader.m_mtxMapInputVideo.try_lock());

    // The next picture is decoded meanwhile, but not published.
    const QImage shown = probe.image();
    QVERIFY(ReaderProbe::waitForGate());
    server.send(colorPart(Qt::blue));
    const auto isDecoded = [&] {
        std::lock_guard<std::mutex> lck(reader.m_mtxQueueMJPEG);
        return reader.m_imagePrivate.cacheKey() != shown.cacheKey();
    };
    QTRY_VERIFY(isDecoded());
    QCOMPARE(probe.image().cacheKey(), shown.cacheKey());
    QVERIFY(!reader.m_mtxMapInputVideo.try_lock());

    leave.release(100000);
    QTRY_VERIFY(probe.isShowing(Qt::blue));
}

void TestMjpegReaderNotifier::readerWithoutACallbackPublishes()
{
    MjpegServer server;
    server.stream(colorPart(Qt::red), 30);
    const auto pDevice = makeMjpegDevice(server.port());
    pDevice->setOnlineFlag(true);
    QImage image;
    RemoteMJPEGReader reader(image);
    reader.restartRead(pDevice);
    const auto stopped = qScopeGuard([&] { reader.stopRead(); });
    const auto isPublished = [&] {
        std::lock_guard<std::mutex> lck(reader.m_mtxMapInputVideo);
        return image.size() == QSize(64, 48);
    };
    QTRY_VERIFY(isPublished());
}

void TestMjpegReaderNotifier::callbackMayRunOutOfMemory()
{
    LogCapture log;
    std::atomic_int nCalls{0};
    LoneNotifier probe(100);
    probe.setHook([&] {
        if (++nCalls <= 3)
            throw std::bad_alloc();
    });
    QVERIFY(probe.run());
    QTRY_VERIFY(nCalls > 6);
    QCOMPARE(log.count(QStringLiteral("Out of memory")), 1);
}

void TestMjpegReaderNotifier::threadsHaveNames()
{
    MjpegServer server;
    ReaderProbe probe(server.port());
    probe.image() = solidPicture(QSize(8, 8), Qt::red);
    QVERIFY(probe.connectTo(server));
    QTRY_COMPARE(threadCount(QStringLiteral("echo-")), 3);
    const QStringList names = threadNames();
    for (const char *pName : {"echo-reader", "echo-decoder", "echo-notifier"})
        QCOMPARE(names.count(QString::fromLatin1(pName)), 1);
    QTRY_VERIFY(probe.tickCount() > 0);
    QCOMPARE(probe.ticks().first().m_strThread, QStringLiteral("echo-notifier"));
    probe.stop();
    QTRY_COMPARE(threadCount(QStringLiteral("echo-")), 0);
}

void TestMjpegReaderNotifier::notifierWithoutADeviceEndsAtOnce()
{
    QImage image = solidPicture(QSize(8, 8), Qt::red);
    RemoteMJPEGReader reader(image);
    std::atomic_int nCalls{0};
    reader.setInputVideoReadFinishedCallback([&] { ++nCalls; });
    QVERIFY(reader.starProcessVideoFinishedTask());
    QTRY_VERIFY(!reader.m_pIsRunningForFinishTask);
    QVERIFY(!reader.m_isStopProcesser);
    QCOMPARE(nCalls.load(), 0);
}

void TestMjpegReaderNotifier::deviceIsFreeOnceTheNotifierHasEnded()
{
    QImage image = solidPicture(QSize(8, 8), Qt::red);
    const auto pDevice = makeMjpegDevice(1);
    EchoFps::store(pDevice->deviceConfig().EchoVideoCfg, 255);
    for (int i = 0; i < 100; ++i) {
        RemoteMJPEGReader reader(image);
        reader.setDevice(pDevice);
        QVERIFY(reader.starProcessVideoFinishedTask());
        const QDeadlineTimer deadline(5000);
        while (pDevice.use_count() == 1 && !deadline.hasExpired())
            std::this_thread::yield();
        reader.stopProcessMJPEGTask();
        QCOMPARE(pDevice.use_count(), 1L);
    }
}

QTEST_GUILESS_MAIN(TestMjpegReaderNotifier)
#include "tst_mjpegreader_notifier.moc"
