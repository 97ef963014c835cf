// The system refuses a thread once: whoever asked for it says so and ends in good order, and the next
// start succeeds.

#include <layervideomanager.h>

#include <logcapture.h>
#include <picturecompare.h>
#include <processfigures.h>
#include <readerprobe.h>
#include <testlayers.h>

#include <QSignalSpy>
#include <QtTest>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::s_EchoVideoConfig;

namespace {

std::atomic_int nCountdown{0}; // the thread that makes it 0 is refused; 0: none is

} // namespace

// In front of the C library's own, for this program and all its libraries.
extern "C" __attribute__((visibility("default"))) int
pthread_create(pthread_t *pThread, const pthread_attr_t *pAttributes, void *(*start)(void *),
               void *pArgument)
{
    using Create = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    static const auto next = reinterpret_cast<Create *>(dlsym(RTLD_NEXT, "pthread_create"));
    if (nCountdown > 0 && nCountdown.fetch_sub(1) == 1)
        return EAGAIN;
    return next(pThread, pAttributes, start, pArgument);
}

class TestTortureThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { nCountdown = 0; }

    void readerThatCannotStartDoesNotRun();
    void workerThatCannotStartEndsTheReader_data();
    void workerThatCannotStartEndsTheReader();
    void renderThreadThatCannotStartLeavesTheManagerUsable();
};

void TestTortureThreads::readerThatCannotStartDoesNotRun()
{
    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    nCountdown = 1;
    probe.start();
    QVERIFY(!probe.reader().isRunning());
    QCOMPARE(log.count(QStringLiteral("QThread::start: Thread creation error")), 1);
    QCOMPARE(probe.tickCount(), 0);
    QVERIFY(probe.stop() < 1000);

    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::green));
    QTRY_VERIFY(probe.isShowing(Qt::green));
}

void TestTortureThreads::workerThatCannotStartEndsTheReader_data()
{
    QTest::addColumn<int>("thread");
    QTest::addColumn<QString>("name");

    QTest::newRow("decoder") << 2 << QStringLiteral("echo-decoder");
    QTest::newRow("notifier") << 3 << QStringLiteral("echo-notifier");
}

void TestTortureThreads::workerThatCannotStartEndsTheReader()
{
    QFETCH(int, thread);
    QFETCH(QString, name);

    LogCapture log;
    MjpegServer server;
    ReaderProbe probe(server.port());
    nCountdown = thread; // the first is the reader's own
    probe.start();
    QVERIFY(probe.reader().wait(30000));
    QCOMPARE(nCountdown.load(), 0);
    QCOMPARE(log.count(QStringLiteral("Cannot start thread %1").arg(name)), 1);
    QCOMPARE(server.acceptedCount(), 0);
    // As at every end of reading: the picture without signal, told once.
    QCOMPARE(probe.tickCount(), 1);
    COMPARE_PICTURES(probe.image(), solidPicture(QSize(1920, 1080), Qt::black));
    QTRY_COMPARE(threadCount(QStringLiteral("echo-")), 0);

    QVERIFY(probe.connectTo(server));
    server.send(colorPart(Qt::green));
    QTRY_VERIFY(probe.isShowing(Qt::green));
}

void TestTortureThreads::renderThreadThatCannotStartLeavesTheManagerUsable()
{
    LogCapture log;
    const ActiveDevice device(makeDevice(s_EchoVideoConfig::Invalid));
    LayerVideoManager manager(answering(solidPicture(QSize(8, 6), Qt::red)));
    sLayerVideoConfig cfg = pictureLayer(8, 6);
    manager.setLayerVideoConfig(cfg);
    QSignalSpy finished(&manager, &LayerVideoManager::layerVideoRenderFinished);
    nCountdown = 1;
    QVERIFY(manager.startManager(true)); // there is an active device
    QCOMPARE(log.count(QStringLiteral("QThread::start: Thread creation error")), 1);
    QCOMPARE(threadCount(QStringLiteral("echo-")), 0);
    QVERIFY(manager.stopManager());

    QVERIFY(manager.startManager(true));
    QVERIFY(finished.wait(30000));
    QImage preview;
    QVERIFY(manager.getLayerVideoFrame(cfg.m_LayerIdentifies, preview));
    COMPARE_PICTURES(preview, solidPicture(QSize(8, 6), Qt::red));
    // Its destruction waits for all threads, the one that never was included.
}

QTEST_GUILESS_MAIN(TestTortureThreads)
#include "tst_torture_threads.moc"
