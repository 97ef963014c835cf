// The input video service at work on a stream: from a device's socket to the pictures of inputs.

#include <pixmapreader.h>

#include "emissioncounter.h"
#include "logcapture.h"
#include "mjpegserver.h"
#include "picturecompare.h"
#include "processfigures.h"
#include "testdevice.h"
#include "testpictures.h"

#include <devicelist.h>
#include <input.h>
#include <pixmapreader_p.h>

#include <QElapsedTimer>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;
using Morvek::EchoVideo::Internal::Reader;

namespace {

constexpr int LongWait = 60000;     // ms; far more than anything here takes
constexpr int PictureInterval = 85; // ms; just slower than pictures are dropped
constexpr double LossOfJpeg = 3.0;  // mean of a colour channel
const QSize CellSize(960, 540);

} // namespace

class TestPixmapReaderStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void everyInputIsServedFromTheStream();
    void thePicturesAreToldAgainAndAgain();
    void aPauseKeepsThePicturesAndEndsTheConnection();
    void aDeviceOfflinePausesAndOneOnlineResumes();
    void aStopLeavesNoThreadAndServesNoSignal();
    void afterAStopReadingStartsAnew();
    void anotherDeviceIsReadByTheSameReader();
    void aTypeChangedOnTheSameDeviceGoesOnReading();
    void destructionEndsReading();
    void stopsRightAfterStartsLeaveNothingBehind_data();
    void stopsRightAfterStartsLeaveNothingBehind();

private:
    bool shows(quint8 nInput, const QColor &color);
    bool showsAllInputs();
    int echoThreads() const { return threadCount(QStringLiteral("echo-")); }

    QByteArray m_baPart;
    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<MjpegServer> m_pServer;
    std::unique_ptr<ActiveDevice> m_pActive;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<PixmapReader> m_pService;
};

void TestPixmapReaderStream::initTestCase()
{
    m_baPart = mjpegPart(jpegBytes(gridPicture(2)));
}

void TestPixmapReaderStream::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pServer = std::make_unique<MjpegServer>();
    m_pServer->stream(m_baPart, PictureInterval);
    m_pDevice = makeMjpegDevice(m_pServer->port());
    m_pService = std::make_unique<PixmapReader>();
    m_pActive = std::make_unique<ActiveDevice>(m_pDevice);
}

void TestPixmapReaderStream::cleanup()
{
    m_pDevice->setOnlineFlag(true); // a device offline would hold up the stop
    m_pService.reset();
    m_pActive.reset();
    m_pServer.reset();
    m_pLog.reset();
}

bool TestPixmapReaderStream::shows(quint8 nInput, const QColor &color)
{
    const auto pInput = std::make_shared<Input>(nInput);
    QImage videoFrame;
    return m_pService->getInputVideoFrame(pInput, videoFrame, false)
        && meanDifference(videoFrame, solidPicture(CellSize, color)) < LossOfJpeg;
}

bool TestPixmapReaderStream::showsAllInputs()
{
    return shows(0, inputColor(0)) && shows(1, inputColor(1)) && shows(2, inputColor(2))
        && shows(3, inputColor(3));
}

void TestPixmapReaderStream::everyInputIsServedFromTheStream()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    QCOMPARE(m_pServer->receivedBytes(), qint64(0));
    QCOMPARE(m_pServer->acceptedCount(), 1);
    const auto pUnknown = std::make_shared<Input>(4);
    QImage videoFrame;
    QVERIFY(!m_pService->getInputVideoFrame(pUnknown, videoFrame, false));
}

void TestPixmapReaderStream::thePicturesAreToldAgainAndAgain()
{
    std::atomic_bool isOnMain{false};
    connect(
        m_pService.get(), &PixmapReader::inputVideoImageCopyFinished, m_pService.get(),
        [&isOnMain, pMain = QThread::currentThread()] {
            if (QThread::currentThread() == pMain)
                isOnMain = true;
        },
        Qt::DirectConnection);
    const EmissionCounter finished(m_pService.get(), &PixmapReader::inputVideoImageCopyFinished);
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(finished.count() >= 5, LongWait);
    m_pService->stopRead();
    QVERIFY(!isOnMain);
}

void TestPixmapReaderStream::aPauseKeepsThePicturesAndEndsTheConnection()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    const std::shared_ptr<Reader> pReader = m_pService->m_pPixmapReader;
    m_pService->pauseRead();
    QTRY_COMPARE_WITH_TIMEOUT(m_pServer->openCount(), 0, LongWait);
    QVERIFY(pReader->isRunning());
    QVERIFY(showsAllInputs());

    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(m_pServer->acceptedCount() > 1, LongWait);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
}

void TestPixmapReaderStream::aDeviceOfflinePausesAndOneOnlineResumes()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    const std::shared_ptr<Reader> pReader = m_pService->m_pPixmapReader;
    DeviceList::instance()->setDeviceOnline(m_pDevice, false);
    QTRY_COMPARE_WITH_TIMEOUT(m_pServer->openCount(), 0, LongWait);
    const auto pInput = std::make_shared<Input>(0);
    QImage videoFrame;
    QVERIFY(m_pService->getInputVideoFrame(pInput, videoFrame, false));
    COMPARE_PICTURES(videoFrame, solidPicture(QSize(2, 2), Qt::black));

    DeviceList::instance()->setDeviceOnline(m_pDevice, true);
    QTRY_VERIFY_WITH_TIMEOUT(m_pServer->openCount() == 1, LongWait);
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
}

void TestPixmapReaderStream::aStopLeavesNoThreadAndServesNoSignal()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    QVERIFY(echoThreads() > 0);
    m_pService->stopRead();
    QTRY_COMPARE_WITH_TIMEOUT(echoThreads(), 0, LongWait);
    QTRY_COMPARE_WITH_TIMEOUT(m_pServer->openCount(), 0, LongWait);
    // The pictures stay in place; the last ones show that nothing is read.
    for (quint8 i = 0; i < 4; ++i)
        QVERIFY(shows(i, Qt::black));
}

void TestPixmapReaderStream::afterAStopReadingStartsAnew()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    m_pService->stopRead();
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    QCOMPARE(m_pServer->acceptedCount(), 2);
}

void TestPixmapReaderStream::anotherDeviceIsReadByTheSameReader()
{
    QImage white(1920, 1080, QImage::Format_RGB32);
    white.fill(Qt::white);
    MjpegServer otherServer;
    otherServer.stream(mjpegPart(jpegBytes(white)), PictureInterval);
    const auto pOther = makeMjpegDevice(otherServer.port());
    pOther->setOnlineFlag(true);
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    const std::shared_ptr<Reader> pReader = m_pService->m_pPixmapReader;

    DeviceList::instance()->setActivedDevice(pOther);
    QTRY_VERIFY_WITH_TIMEOUT(shows(0, Qt::white) && shows(3, Qt::white), LongWait);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(otherServer.acceptedCount(), 1);
    QTRY_COMPARE_WITH_TIMEOUT(m_pServer->openCount(), 0, LongWait);
    m_pService->stopRead(); // before the other device's server is gone
}

void TestPixmapReaderStream::aTypeChangedOnTheSameDeviceGoesOnReading()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    const std::shared_ptr<Reader> pReader = m_pService->m_pPixmapReader;
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::LocalFile;
    m_pService->restartRead();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    const int nStreamed = m_pServer->streamedCount();
    QTRY_VERIFY_WITH_TIMEOUT(m_pServer->streamedCount() > nStreamed + 2, LongWait);
    QCOMPARE(m_pServer->acceptedCount(), 1);
    QCOMPARE(m_pServer->openCount(), 1);
    QVERIFY(showsAllInputs());
}

void TestPixmapReaderStream::destructionEndsReading()
{
    m_pService->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(showsAllInputs(), LongWait);
    m_pService.reset();
    QTRY_COMPARE_WITH_TIMEOUT(echoThreads(), 0, LongWait);
    QTRY_COMPARE_WITH_TIMEOUT(m_pServer->openCount(), 0, LongWait);
}

void TestPixmapReaderStream::stopsRightAfterStartsLeaveNothingBehind_data()
{
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("streaming device") << false;
    QTest::newRow("refusing device") << true;
}

// The 200 stops come 0 to 199 microseconds after the start.
void TestPixmapReaderStream::stopsRightAfterStartsLeaveNothingBehind()
{
    QFETCH(bool, isRefused);
    constexpr int CycleCount = 200;
    // Small pictures, often: a stop waits for the read at work.
    m_pServer->stream(mjpegPart(jpegBytes(solidPicture(QSize(16, 16), Qt::red))), 10);
    if (isRefused)
        m_pServer->refuse();
    QTRY_COMPARE_WITH_TIMEOUT(echoThreads(), 0, LongWait);
    const int nThreads = threadCount();
    const int nFiles = openFileCount();
    for (int i = 0; i < CycleCount; ++i) {
        m_pService->restartRead();
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < i * 1000) {}
        m_pService->stopRead();
        QVERIFY(!m_pService->m_pPixmapReader);
    }
    QTRY_COMPARE_WITH_TIMEOUT(echoThreads(), 0, LongWait);
    // A thread of the test before may have been counted at the start.
    QTRY_VERIFY_WITH_TIMEOUT(threadCount() <= nThreads, LongWait);
    QTRY_VERIFY_WITH_TIMEOUT(openFileCount() <= nFiles, LongWait);
}

QTEST_GUILESS_MAIN(TestPixmapReaderStream)
#include "tst_pixmapreader_stream.moc"
