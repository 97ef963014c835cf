// Reading frames from the capture library: initialising, publishing, and what is left alone.

#include <pixmapreaderlocalsharedmemory_p.h>

#include "capturedouble.h"
#include "localreaderprobe.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "testpictures.h"

#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QtTest>

#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <type_traits>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LocalSharedMemoryReader;
using Morvek::EchoVideo::Internal::Reader;

static_assert(std::is_base_of_v<Reader, LocalSharedMemoryReader>);
static_assert(!std::is_copy_constructible_v<LocalSharedMemoryReader>);
static_assert(!std::is_convertible_v<QImage &, LocalSharedMemoryReader>);

namespace {

using Probe = LocalReaderProbe<LocalSharedMemoryReader>;

const QString InitText = QStringLiteral("shm_cap_init has failed! The result =  ");
const QString StartText = QStringLiteral("LocalSharedMemoryReader readTask start");

QString endText(bool isStopped, bool isOnline)
{
    return QStringLiteral("LocalSharedMemoryReader readTask end, m_isStopRead is  %1 , pDevice is "
                          "not NULL,onlineFlag is  %2")
        .arg(isStopped ? "true" : "false", isOnline ? "true" : "false");
}

/** The pixel of a frame whose bytes are all the same. */
QRgb grayPixel(int nByte)
{
    return qRgb(nByte, nByte, nByte);
}

} // namespace

class TestSharedMemoryReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aReaderHasASourceOfRandomComponents();

    void aCaptureThatIsNotReadyGivesAWarningInEachPass();
    void aSuccessIsLoggedAsWell_data();
    void aSuccessIsLoggedAsWell();
    void framesAreReadFromTheNextPassOn();
    void everyTaskInitialisesAnew();

    void aWholeFrameIsPublished();
    void rowsOfAFrameHaveNoPadding();
    void anotherCountLeavesTheLastFrame_data();
    void anotherCountLeavesTheLastFrame();
    void aReaderNeedsNoCallback();

    void aBufferIsNeverOneThatSomebodyHolds();
    void twoBuffersTakeTurns();

    void withoutADeviceTheTaskEndsAtOnce();
    void withADeviceThatIsOfflineNothingIsRead();
    void theEndIsLogged_data();
    void theEndIsLogged();
    void theNoSignalPictureFollowsTheTask();

private:
    void holdPicture();

    std::unique_ptr<CaptureDouble> m_pCapture;
    QMutex m_mtxHeld;
    QList<QImage> m_held;   // guarded by m_mtxHeld
    int m_nWrittenInto = 0; // likewise: buffers that somebody held
    int m_nCopied = 0;      // likewise: buffers with a picture that somebody held
    std::unique_ptr<Probe> m_pProbe;
};

void TestSharedMemoryReader::init()
{
    m_pCapture = std::make_unique<CaptureDouble>();
    m_pCapture->setInitResult(0);
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
}

void TestSharedMemoryReader::cleanup()
{
    m_pProbe.reset();
    m_held.clear();
    m_pCapture.reset();
}

void TestSharedMemoryReader::aReaderHasASourceOfRandomComponents()
{
    LocalSharedMemoryReader &reader = m_pProbe->reader();
    static_assert(std::is_same_v<decltype(reader.rd_argb), std::random_device>);
    static_assert(std::is_same_v<decltype(reader.dist_argb), std::uniform_int_distribution<int>>);
    QCOMPARE(reader.dist_argb.min(), 0);
    QCOMPARE(reader.dist_argb.max(), 255);
    QVERIFY(!reader.parent());
}

void TestSharedMemoryReader::aCaptureThatIsNotReadyGivesAWarningInEachPass()
{
    const LogCapture log;
    m_pCapture->setInitResult(-1);
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForCalls(5));
    m_pProbe->stop();
    const int nInits = m_pCapture->initCalls().size();
    QCOMPARE(m_pCapture->calls().size(), nInits);
    QCOMPARE(log.linesWith(QStringLiteral("shm_cap_init")).size(), nInits);
    const QList<sLogLine> lines = log.lines();
    QCOMPARE(lines.size(), nInits + 2);
    for (int i = 1; i <= nInits; ++i) {
        QCOMPARE(lines[i].m_strText, InitText + "-1");
        QCOMPARE(lines[i].m_eType, QtWarningMsg);
        QCOMPARE(lines[i].m_strCategory, QStringLiteral("default"));
        QVERIFY(lines[i].m_strFile.endsWith("pixmapreaderlocalsharedmemory_p.cpp"));
        QVERIFY(lines[i].m_strFunction.contains("readTask"));
    }
    QCOMPARE(m_pProbe->pictureCount(), 1); // without signal, at the end
    for (const sCaptureCall &call : m_pCapture->calls())
        QCOMPARE(call.m_nArgument, 0);
}

void TestSharedMemoryReader::aSuccessIsLoggedAsWell_data()
{
    QTest::addColumn<int>("nResult");
    QTest::newRow("0") << 0;
    QTest::newRow("1") << 1;
    QTest::newRow("-2: only -1 is a failure") << -2;
    QTest::newRow("smallest") << std::numeric_limits<int>::min();
}

void TestSharedMemoryReader::aSuccessIsLoggedAsWell()
{
    QFETCH(int, nResult);
    const LogCapture log;
    m_pCapture->setInitResult(nResult);
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(2));
    m_pProbe->stop();
    const QStringList lines = log.linesWith(QStringLiteral("shm_cap_init"));
    QCOMPARE(lines, QStringList{InitText + QString::number(nResult)});
    QCOMPARE(m_pCapture->initCalls().size(), 1);
}

void TestSharedMemoryReader::framesAreReadFromTheNextPassOn()
{
    m_pProbe->videoConfig().FPS = 5;
    m_pCapture->setInitResult(-1);
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForCalls(2));
    m_pCapture->setInitResult(7);
    QVERIFY(m_pCapture->waitForFrameCalls(1));
    const QList<sCaptureCall> inits = m_pCapture->initCalls();
    const QList<sCaptureCall> calls = m_pCapture->calls().mid(0, inits.size() + 1);
    QCOMPARE(inits.constLast().m_nResult, 7);
    for (int i = 0; i < inits.size(); ++i)
        QVERIFY(calls[i].m_isInit);
    QVERIFY(!calls.constLast().m_isInit);
    QVERIFY(calls.constLast().m_nMs - inits.constLast().m_nMs >= 100); // of 200: a pass of its own
}

void TestSharedMemoryReader::everyTaskInitialisesAnew()
{
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(2));
    m_pProbe->stop();
    QCOMPARE(m_pCapture->initCalls().size(), 1);
    const int nCalls = m_pCapture->calls().size();
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForCalls(nCalls + 2));
    QCOMPARE(m_pCapture->initCalls().size(), 2);
    QVERIFY(m_pCapture->calls()[nCalls].m_isInit);
    QVERIFY(!m_pCapture->calls()[nCalls + 1].m_isInit);
}

void TestSharedMemoryReader::aWholeFrameIsPublished()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(4));
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    const QList<sCaptureCall> calls = m_pCapture->frameCalls();
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(calls[i].m_nArgument, CaptureDouble::FrameBytes);
        QCOMPARE(pictures[i].m_size, QSize(1920, 1080));
        QCOMPARE(pictures[i].m_eFormat, QImage::Format_RGB888);
        QVERIFY(pictures[i].m_isUniform);
        QCOMPARE(pictures[i].m_firstPixel, grayPixel(i + 1));
        QCOMPARE(pictures[i].m_pBits, calls[i].m_pBuffer); // what was read, and no copy of it
        QCOMPARE(pictures[i].m_hThread, calls[i].m_hThread);
    }
    QVERIFY(calls[0].m_hThread != QThread::currentThreadId());
}

void TestSharedMemoryReader::rowsOfAFrameHaveNoPadding()
{
    const QImage expected = gradientPicture(QSize(1920, 1080), 3, QImage::Format_RGB888);
    m_pCapture->setFill([expected](uchar *pBuffer, int) {
        for (int y = 0; y < 1080; ++y) {
            for (int x = 0; x < 1920; ++x) {
                const QRgb pixel = expected.pixel(x, y);
                *pBuffer++ = uchar(qRed(pixel));
                *pBuffer++ = uchar(qGreen(pixel));
                *pBuffer++ = uchar(qBlue(pixel));
            }
        }
    });
    m_pProbe->setHook([this](int) { holdPicture(); });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(1));
    m_pProbe->stop();
    COMPARE_PICTURES(m_held[0], expected);
}

void TestSharedMemoryReader::anotherCountLeavesTheLastFrame_data()
{
    QTest::addColumn<int>("nResult");
    QTest::newRow("none") << 0;
    QTest::newRow("error") << -1;
    QTest::newRow("one byte missing") << CaptureDouble::FrameBytes - 1;
    QTest::newRow("one byte too many") << CaptureDouble::FrameBytes + 1;
    QTest::newRow("greatest") << std::numeric_limits<int>::max();
}

void TestSharedMemoryReader::anotherCountLeavesTheLastFrame()
{
    QFETCH(int, nResult);
    const LogCapture log;
    // The double goes on writing into the buffer, whatever it answers.
    m_pProbe->setHook([this, nResult](int nPictures) {
        holdPicture();
        if (nPictures == 2)
            m_pCapture->setFrameResult(nResult);
    });
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(6));
    QCOMPARE(m_pProbe->pictureCount(), 2);
    QVERIFY(m_pProbe->reader().isRunning());
    {
        QMutexLocker locker(&m_mtxHeld);
        QCOMPARE(m_held[1].pixel(0, 0), grayPixel(2));
        QVERIFY(isUniform(m_held[1]));
    }
    // Whole frames are published again.
    const int nFrameCalls = m_pCapture->frameCalls().size();
    m_pCapture->setFrameResult(CaptureDouble::FrameBytes);
    QVERIFY(m_pProbe->waitForPictures(3));
    const int nShown = qRed(m_pProbe->pictures()[2].m_firstPixel);
    QVERIFY(nShown >= nFrameCalls);
    QVERIFY(m_pProbe->pictures()[2].m_isUniform);
    m_pProbe->stop();
}

void TestSharedMemoryReader::aReaderNeedsNoCallback()
{
    m_pProbe->reader().setInputVideoReadFinishedCallback({});
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(3));
    m_pProbe->stop();
    QCOMPARE(m_pProbe->pictureCount(), 0);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestSharedMemoryReader::holdPicture()
{
    QMutexLocker locker(&m_mtxHeld);
    m_held.append(m_pProbe->image());
}

void TestSharedMemoryReader::aBufferIsNeverOneThatSomebodyHolds()
{
    m_pCapture->setFill([this](uchar *pBuffer, int nFrame) {
        QMutexLocker locker(&m_mtxHeld);
        for (const QImage &picture : qAsConst(m_held)) {
            m_nWrittenInto += picture.constBits() == pBuffer;
            // A copy that was made only to be overwritten.
            m_nCopied += std::memcmp(picture.constBits(), pBuffer, CaptureDouble::FrameBytes) == 0;
        }
        std::memset(pBuffer, nFrame, CaptureDouble::FrameBytes);
    });
    m_pProbe->setHook([this](int) { holdPicture(); });
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(6));
    m_pProbe->stop();
    QCOMPARE(m_nWrittenInto, 0);
    QCOMPARE(m_nCopied, 0);
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(m_held[i].pixel(0, 0), grayPixel(i + 1));
        QVERIFY(isUniform(m_held[i]));
    }
}

void TestSharedMemoryReader::twoBuffersTakeTurns()
{
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(8));
    const QList<sCaptureCall> calls = m_pCapture->frameCalls();
    QSet<const uchar *> buffers;
    for (int i = 0; i < 8; ++i) {
        buffers.insert(calls[i].m_pBuffer);
        if (i > 0)
            QVERIFY(calls[i].m_pBuffer != calls[i - 1].m_pBuffer);
    }
    QCOMPARE(buffers.size(), 2);
}

void TestSharedMemoryReader::withoutADeviceTheTaskEndsAtOnce()
{
    const LogCapture log;
    m_pProbe->reader().restartRead({});
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines()[0].m_strText, StartText);
    QCOMPARE(m_pCapture->calls().size(), 0);
    QCOMPARE(m_pProbe->pictureCount(), 1);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

void TestSharedMemoryReader::withADeviceThatIsOfflineNothingIsRead()
{
    const LogCapture log;
    m_pProbe->device()->setOnlineFlag(false);
    m_pProbe->start();
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    QCOMPARE(m_pCapture->calls().size(), 0);
    QCOMPARE(log.lines().size(), 2);
    QCOMPARE(log.lines()[0].m_strText, StartText);
    QCOMPARE(log.lines()[1].m_strText, endText(false, false));
}

void TestSharedMemoryReader::theEndIsLogged_data()
{
    QTest::addColumn<bool>("isStopped");
    QTest::newRow("after a stop") << true;
    QTest::newRow("when the device goes offline") << false;
}

void TestSharedMemoryReader::theEndIsLogged()
{
    QFETCH(bool, isStopped);
    const LogCapture log;
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(1));
    if (isStopped)
        m_pProbe->stop();
    else
        m_pProbe->device()->setOnlineFlag(false);
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));

    const QList<sLogLine> lines = log.lines();
    QCOMPARE(lines.size(), 3); // the warning of the capture is between
    QCOMPARE(lines[0].m_strText, StartText);
    QCOMPARE(lines[0].m_eType, QtDebugMsg);
    QCOMPARE(lines[2].m_strText, endText(isStopped, isStopped));
    QCOMPARE(lines[2].m_eType, QtDebugMsg);
    QVERIFY(lines[2].m_hThread != QThread::currentThreadId());
}

void TestSharedMemoryReader::theNoSignalPictureFollowsTheTask()
{
    m_pProbe->start();
    QVERIFY(m_pProbe->waitForPictures(3));
    m_pProbe->device()->setOnlineFlag(false);
    QVERIFY(m_pProbe->reader().wait(Probe::LongWait));
    const QList<sReaderPicture> pictures = m_pProbe->pictures();
    QCOMPARE(pictures.size(), m_pCapture->frameCalls().size() + 1);
    QCOMPARE(pictures.constLast().m_eFormat, QImage::Format_ARGB32);
    COMPARE_PICTURES(m_pProbe->image(), solidPicture(QSize(1920, 1080), Qt::black));
}

QTEST_GUILESS_MAIN(TestSharedMemoryReader)
#include "tst_sharedmemoryreader.moc"
