// Pacing, pausing and stopping a reader of the capture library.

#include <pixmapreaderlocalsharedmemory_p.h>

#include "capturedouble.h"
#include "localreaderprobe.h"
#include "logcapture.h"
#include "pace.h"

#include <echofps_p.h>

#include <QtTest>

#include <chrono>
#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::EchoFps;
using Morvek::EchoVideo::Internal::LocalSharedMemoryReader;

namespace {

using Probe = LocalReaderProbe<LocalSharedMemoryReader>;

constexpr std::chrono::milliseconds QuietTime(400); // several passes at the rates used here

QList<qint64> timesOf(const QList<sCaptureCall> &calls)
{
    QList<qint64> result;
    for (const sCaptureCall &call : calls)
        result.append(call.m_nMs);
    return result;
}

} // namespace

class TestSharedMemoryReaderControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theRateOfTheDevicePacesEveryPass_data();
    void theRateOfTheDevicePacesEveryPass();
    void aNewRateTakesEffectAtOnce();
    void aPassThatIsLateWaitsLonger();

    void pausingStopsPolling_data();
    void pausingStopsPolling();
    void aPausedReaderIsStopped();
    void aStopEndsTheWait();
    void goingOfflineEndsTheTaskAfterItsPass();

private:
    /** Whether the capture is left alone for a while. */
    bool isQuiet() const;

    std::unique_ptr<CaptureDouble> m_pCapture;
    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<Probe> m_pProbe;
};

void TestSharedMemoryReaderControl::init()
{
    m_pCapture = std::make_unique<CaptureDouble>();
    m_pCapture->setInitResult(0);
    m_pLog = std::make_unique<LogCapture>();
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
}

void TestSharedMemoryReaderControl::cleanup()
{
    m_pProbe.reset();
    m_pLog.reset();
    m_pCapture.reset();
}

bool TestSharedMemoryReaderControl::isQuiet() const
{
    const int nCalls = m_pCapture->calls().size();
    return !m_pCapture->waitForCalls(nCalls + 1, int(QuietTime.count()));
}

void TestSharedMemoryReaderControl::theRateOfTheDevicePacesEveryPass_data()
{
    QTest::addColumn<quint8>("nFps");
    QTest::addColumn<bool>("isReady");
    QTest::addColumn<int>("nAtLeast");
    QTest::addColumn<int>("nLessThan");
    const auto row = [](const char *pName, int nFps, bool isReady, int nAtLeast, int nLessThan) {
        QTest::newRow(pName) << quint8(nFps) << isReady << nAtLeast << nLessThan;
    };
    row("no rate: 100 ms", 0, true, 95, 190);
    row("25 a second: 40 ms", 25, true, 35, 90);
    row("91 a second: always late", 91, true, 98, 190);
    row("initialising, 25 a second", 25, false, 35, 90);
}

void TestSharedMemoryReaderControl::theRateOfTheDevicePacesEveryPass()
{
    QFETCH(quint8, nFps);
    QFETCH(bool, isReady);
    QFETCH(int, nAtLeast);
    QFETCH(int, nLessThan);
    m_pProbe->videoConfig().FPS = nFps;
    m_pCapture->setInitResult(isReady ? 0 : -1);
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForCalls(6));
    // A busy machine makes passes late; one that is not comes sooner or later.
    QTRY_VERIFY_WITH_TIMEOUT(paceOf(timesOf(m_pCapture->calls())).m_nShortest < nLessThan,
                             Probe::LongWait);
    const sPace pace = paceOf(timesOf(m_pCapture->calls()));
    // The first pass may come late to its callback, which brings all the others nearer to it.
    QVERIFY2(pace.m_nMean >= nAtLeast * 0.85, qPrintable(QString::number(pace.m_nMean)));
}

void TestSharedMemoryReaderControl::aNewRateTakesEffectAtOnce()
{
    m_pProbe->videoConfig().FPS = 2;
    m_pProbe->setHook([this](int nPictures) {
        if (nPictures == 2)
            EchoFps::store(m_pProbe->videoConfig(), 25);
    });
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(4));
    const auto times = [this] { return timesOf(m_pCapture->frameCalls()); };
    QVERIFY(times()[1] - times()[0] >= 400);
    QTRY_VERIFY_WITH_TIMEOUT(paceOf(times().mid(1)).m_nShortest < 250, Probe::LongWait);

    EchoFps::store(m_pProbe->videoConfig(), 2);
    const int nFrames = times().size();
    QVERIFY(m_pCapture->waitForFrameCalls(nFrames + 3));
    QVERIFY(times()[nFrames + 2] - times()[nFrames + 1] >= 400);
}

// 60 ms of work leave nothing of 40: 60 + 100 between frames, and not 60.
void TestSharedMemoryReaderControl::aPassThatIsLateWaitsLonger()
{
    m_pProbe->videoConfig().FPS = 25;
    m_pProbe->setHook([](int) { workFor(60); });
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(6));
    const sPace pace = paceOf(timesOf(m_pCapture->frameCalls()));
    QVERIFY2(pace.m_nMean >= 150, qPrintable(QString::number(pace.m_nMean)));
}

void TestSharedMemoryReaderControl::pausingStopsPolling_data()
{
    QTest::addColumn<int>("nInitResult");
    QTest::newRow("while reading") << 0;
    QTest::newRow("while initialising") << -1;
}

void TestSharedMemoryReaderControl::pausingStopsPolling()
{
    QFETCH(int, nInitResult);
    m_pCapture->setInitResult(nInitResult);
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForCalls(4));
    m_pProbe->reader().pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), Probe::LongWait);
    const int nCalls = m_pCapture->calls().size();
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->reader().isRunning());
    QVERIFY(m_pProbe->reader().isPaused());

    m_pProbe->start(); // resumes
    QVERIFY(m_pCapture->waitForCalls(nCalls + 2));
    QCOMPARE(m_pCapture->initCalls().size() > 1, nInitResult == -1);
    if (nInitResult == 0)
        QVERIFY(m_pProbe->waitForPictures(nPictures + 1));
}

void TestSharedMemoryReaderControl::aPausedReaderIsStopped()
{
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(2));
    m_pProbe->reader().pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), Probe::LongWait);
    const int nCalls = m_pCapture->calls().size();
    m_pProbe->stop();
    QVERIFY(m_pProbe->reader().isFinished());
    QCOMPARE(m_pCapture->calls().size(), nCalls);
}

void TestSharedMemoryReaderControl::aStopEndsTheWait()
{
    m_pProbe->videoConfig().FPS = 1;
    qint64 nShortest = Probe::LongWait;
    for (int i = 0; i < 20 && nShortest >= 500; ++i) {
        const int nCalls = m_pCapture->calls().size();
        m_pProbe->start();
        QVERIFY(m_pCapture->waitForCalls(nCalls + 1));
        nShortest = qMin(nShortest, m_pProbe->stop());
        QCOMPARE(m_pCapture->calls().size(), nCalls + 1); // one wake-up, and no other pass
    }
    QVERIFY2(nShortest < 500, qPrintable(QString::number(nShortest))); // of 1000
}

void TestSharedMemoryReaderControl::goingOfflineEndsTheTaskAfterItsPass()
{
    m_pProbe->setHook([this](int nPictures) {
        if (nPictures == 3)
            m_pProbe->device()->setOnlineFlag(false);
    });
    m_pProbe->start();
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    QVERIFY(!m_pProbe->reader().m_isStopRead);
    QCOMPARE(m_pCapture->frameCalls().size(), 3);
    QCOMPARE(m_pProbe->pictureCount(), 4);

    m_pProbe->device()->setOnlineFlag(true);
    m_pProbe->start(); // as the service does
    QVERIFY(m_pProbe->waitForPictures(6));
    QCOMPARE(m_pCapture->initCalls().size(), 2);
}

QTEST_GUILESS_MAIN(TestSharedMemoryReaderControl)
#include "tst_sharedmemoryreader_control.moc"
