// Pacing, pausing and stopping a YUV reader.

#include <pixmapreaderlocalyuv_p.h>

#include "localreaderprobe.h"
#include "logcapture.h"
#include "pace.h"
#include "yuvpictures.h"

#include <echofps_p.h>

#include <QElapsedTimer>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::EchoFps;
using Morvek::EchoVideo::Internal::LocalYUVReader;

namespace {

using Probe = LocalReaderProbe<LocalYUVReader>;

constexpr std::chrono::milliseconds QuietTime(400); // several passes at the rates used here

} // namespace

class TestYuvReaderControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theRateOfTheDevicePacesThePictures_data();
    void theRateOfTheDevicePacesThePictures();
    void aNewRateTakesEffectAtOnce();
    void aPassThatIsLateWaitsLonger();
    void theRateIsLoggedAfterAThousandPasses();

    void pausingStopsPictures();
    void aPausedReaderIsStopped();
    void aStopEndsTheWait();
    void aStopWhileOfflineWaitsForTheDevice();
    void goingOfflineAloneEndsNothing();

private:
    QString filePath() const { return m_folder.filePath(QStringLiteral("echo.yuv")); }
    /** Whether there is no new picture for a while. */
    bool isQuiet();

    QTemporaryDir m_folder;
    std::atomic_int m_nPasses{0};
    std::unique_ptr<Probe> m_pProbe;
};

void TestYuvReaderControl::initTestCase()
{
    QVERIFY(m_folder.isValid());
    QVERIFY(writeYuvFile(filePath(), 3));
}

void TestYuvReaderControl::init()
{
    m_nPasses = 0;
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
    m_pProbe->videoConfig().VideoSourcePath = filePath();
}

void TestYuvReaderControl::cleanup()
{
    m_pProbe.reset();
}

bool TestYuvReaderControl::isQuiet()
{
    const int nPictures = m_pProbe->pictureCount();
    return !m_pProbe->waitForPictures(nPictures + 1, int(QuietTime.count()));
}

void TestYuvReaderControl::theRateOfTheDevicePacesThePictures_data()
{
    QTest::addColumn<quint8>("nFps");
    QTest::addColumn<bool>("isFile");
    QTest::addColumn<int>("nAtLeast");
    QTest::addColumn<int>("nLessThan");
    const auto row = [](const char *pName, int nFps, bool isFile, int nAtLeast, int nLessThan) {
        QTest::newRow(pName) << quint8(nFps) << isFile << nAtLeast << nLessThan;
    };
    row("no rate: 100 ms", 0, true, 95, 190);
    row("25 a second: 40 ms", 25, true, 35, 90);
    row("255 a second: always late", 255, true, 100, 190);
    row("stripes, 5 a second: 200 ms", 5, false, 195, 290);
}

void TestYuvReaderControl::theRateOfTheDevicePacesThePictures()
{
    QFETCH(quint8, nFps);
    QFETCH(bool, isFile);
    QFETCH(int, nAtLeast);
    QFETCH(int, nLessThan);
    m_pProbe->videoConfig().FPS = nFps;
    if (!isFile)
        m_pProbe->videoConfig().VideoSourcePath = m_folder.filePath(QStringLiteral("missing"));
    const LogCapture log;
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(5));
    // A busy machine makes passes late; one that is not comes sooner or later.
    QTRY_VERIFY_WITH_TIMEOUT(paceOf(m_pProbe->times()).m_nShortest < nLessThan, Probe::LongWait);
    const sPace pace = paceOf(m_pProbe->times());
    // The first pass may come late to its callback, which brings all the others nearer to it.
    QVERIFY2(pace.m_nMean >= nAtLeast * 0.85, qPrintable(QString::number(pace.m_nMean)));
}

void TestYuvReaderControl::aNewRateTakesEffectAtOnce()
{
    m_pProbe->videoConfig().FPS = 2;
    m_pProbe->setHook([this](int nPictures) {
        if (nPictures == 2)
            EchoFps::store(m_pProbe->videoConfig(), 25);
    });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(4));
    QVERIFY(m_pProbe->times()[1] - m_pProbe->times()[0] >= 400);
    QTRY_VERIFY_WITH_TIMEOUT(paceOf(m_pProbe->times().mid(1)).m_nShortest < 250, Probe::LongWait);

    EchoFps::store(m_pProbe->videoConfig(), 2);
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->waitForPictures(nPictures + 3));
    const QList<qint64> times = m_pProbe->times();
    QVERIFY(times[nPictures + 2] - times[nPictures + 1] >= 400);
}

// 60 ms of work leave nothing of 40: 60 + 100 between pictures, and not 60.
void TestYuvReaderControl::aPassThatIsLateWaitsLonger()
{
    m_pProbe->videoConfig().FPS = 25;
    m_pProbe->setHook([](int) { workFor(60); });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(6));
    const sPace pace = paceOf(m_pProbe->times());
    QVERIFY2(pace.m_nMean >= 150, qPrintable(QString::number(pace.m_nMean)));
}

// Each wake-up ends a wait, so that a thousand passes take no longer than their work.
void TestYuvReaderControl::theRateIsLoggedAfterAThousandPasses()
{
    const LogCapture log;
    QElapsedTimer timer;
    timer.start();
    m_pProbe->reader().setInputVideoReadFinishedCallback([this, timer] {
        // However fast the machine is, the thousand passes take whole seconds.
        if (++m_nPasses == 500)
            workFor(1100 - timer.elapsed());
    });
    m_pProbe->start();
    while (m_nPasses <= 1000 && timer.elapsed() < 4 * Probe::LongWait) {
        m_pProbe->reader().m_cvStopRead.notify_all();
        QThread::yieldCurrentThread();
    }
    m_pProbe->stop();
    const qint64 nSeconds = timer.elapsed() / 1000;
    const QStringList lines = log.linesWith(QStringLiteral("read local yuv file fps "));
    QCOMPARE(lines.size(), 1);
    const int nRate = lines[0].section(' ', -1).toInt();
    QVERIFY2(nRate >= 1000 / (nSeconds + 1) && nRate <= 1000, qPrintable(lines[0]));
}

void TestYuvReaderControl::pausingStopsPictures()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(4));
    m_pProbe->reader().pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), Probe::LongWait);
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->reader().isRunning());
    QVERIFY(m_pProbe->reader().isPaused());

    m_pProbe->start(); // resumes, with the frame after the last one
    QVERIFY(m_pProbe->waitForPictures(nPictures + 1));
    QVERIFY(!m_pProbe->reader().isPaused());
    QCOMPARE(m_pProbe->pictures()[nPictures].m_firstPixel, yuvPixel(yuvColor(nPictures % 3)));
}

void TestYuvReaderControl::aPausedReaderIsStopped()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->reader().pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), Probe::LongWait);
    m_pProbe->stop();
    QVERIFY(m_pProbe->reader().isFinished());
}

void TestYuvReaderControl::aStopEndsTheWait()
{
    m_pProbe->videoConfig().FPS = 1;
    qint64 nShortest = Probe::LongWait;
    for (int i = 0; i < 20 && nShortest >= 500; ++i) {
        const int nPictures = m_pProbe->pictureCount();
        m_pProbe->start();
        QVERIFY(m_pProbe->waitForPictures(nPictures + 1));
        nShortest = qMin(nShortest, m_pProbe->stop());
    }
    QVERIFY2(nShortest < 500, qPrintable(QString::number(nShortest))); // of 1000
}

void TestYuvReaderControl::aStopWhileOfflineWaitsForTheDevice()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->device()->setOnlineFlag(false);
    const std::future<void> stopped = m_pProbe->stopInBackground();
    const auto guard = qScopeGuard([this] { m_pProbe->device()->setOnlineFlag(true); });
    QTRY_VERIFY_WITH_TIMEOUT(m_pProbe->reader().m_isStopRead, Probe::LongWait);
    // It goes on, woken every millisecond by the one that stops it.
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->waitForPictures(nPictures + 20));
    QVERIFY(m_pProbe->reader().isRunning());
    QVERIFY(stopped.wait_for(QuietTime) == std::future_status::timeout);

    m_pProbe->device()->setOnlineFlag(true);
    QVERIFY(stopped.wait_for(std::chrono::milliseconds(Probe::LongWait))
            == std::future_status::ready);
    QVERIFY(m_pProbe->reader().isFinished());
    QCOMPARE(m_pProbe->pictures().constLast().m_firstPixel, qRgb(0, 0, 0));
}

void TestYuvReaderControl::goingOfflineAloneEndsNothing()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->device()->setOnlineFlag(false);
    const int nPictures = m_pProbe->pictureCount();
    QVERIFY(m_pProbe->waitForPictures(nPictures + 3));
    QVERIFY(m_pProbe->reader().isRunning());
    m_pProbe->device()->setOnlineFlag(true);
    m_pProbe->stop();
    QVERIFY(m_pProbe->reader().isFinished());
}

QTEST_GUILESS_MAIN(TestYuvReaderControl)
#include "tst_yuvreader_control.moc"
