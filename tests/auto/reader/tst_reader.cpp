// The base of every reader: start, pause, resume and stop.

#include <pixmapreader_p.h>

#include "processfigures.h"
#include "stepreader.h"

#include <device.h>

#include <QElapsedTimer>
#include <QImage>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <memory>
#include <type_traits>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::EchoVideo::Internal::LocalUSBReader;
using Morvek::EchoVideo::Internal::Reader;

static_assert(std::is_abstract_v<Reader>);
static_assert(std::has_virtual_destructor_v<Reader>);
static_assert(std::is_base_of_v<QThread, Reader>);
static_assert(std::is_base_of_v<Reader, LocalUSBReader>);
static_assert(!std::is_copy_constructible_v<LocalUSBReader>);
static_assert(!std::is_convertible_v<QImage &, LocalUSBReader>);

namespace {

constexpr int LongWait = 30000; // ms; far more than anything here takes
constexpr std::chrono::milliseconds LongPace(600000);
// What a stop of a waiting reader may take on a busy machine; far less than LongPace.
constexpr int StopLimit = 10000; // ms

class StartCountingReader : public StepReader
{
public:
    using StepReader::StepReader;
    int m_nStarts = 0;

protected:
    void startRead() override
    {
        ++m_nStarts;
        StepReader::startRead();
    }
};

} // namespace

class TestReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aNewReaderIsNotStarted();
    void aReaderDeclaresNoSignalsAndNoSlots();
    void restartReadStartsAReaderThatNeverRan();
    void restartReadOnARunningReaderOnlyChangesTheDevice();
    void restartReadStartsThroughTheVirtualOperation();
    void aTaskThatEndedByItselfIsStartedAgain();
    void aStoppedReaderIsStartedAgain();

    void pauseReadLetsTheTaskIdle_data();
    void pauseReadLetsTheTaskIdle();
    void restartReadOnAPausedReaderResumesTheSameTask();
    void aPauseIsForgottenByTheNextStart();
    void pauseReadTakesTheMutexOfTheWaits();
    void resumingTakesNoMutex();

    void stopReadOfAReaderThatNeverRanReturnsAtOnce();
    void stopReadReturnsAfterTheThreadEnded_data();
    void stopReadReturnsAfterTheThreadEnded();

    void theThreadCarriesAName();
    void theDeviceIsCopiedUnderItsLock();
    void theDeviceMayBeReplacedWhileOthersAskForIt();

private:
    void startAndPause();

    QImage m_image;
    std::atomic_int m_nCalls{0}; // of the callback
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<StepReader> m_pReader;
};

void TestReader::init()
{
    m_image = QImage();
    m_pDevice = std::make_shared<Device>();
    m_pReader = std::make_unique<StepReader>(m_image);
    m_pReader->setInputVideoReadFinishedCallback([this] { ++m_nCalls; });
}

void TestReader::cleanup()
{
    m_pReader.reset();
    m_nCalls = 0;
}

void TestReader::startAndPause()
{
    m_pReader->restartRead(m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 0, LongWait);
    m_pReader->pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->isIdle(), LongWait);
}

void TestReader::aNewReaderIsNotStarted()
{
    const StepReader reader(m_image);
    QVERIFY(!reader.isRunning());
    QVERIFY(!reader.isFinished());
    QVERIFY(!m_pReader->isPaused());
    QVERIFY(m_pReader->device().expired());
    QVERIFY(m_pReader->m_isStopRead);
    QVERIFY(!reader.m_cbReadVideoFinished);
    QCOMPARE(&reader.m_image, &m_image);
    QVERIFY(m_image.isNull());
    QVERIFY(!reader.parent());
}

void TestReader::aReaderDeclaresNoSignalsAndNoSlots()
{
    const QMetaObject &meta = Reader::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("Morvek::EchoVideo::Internal::Reader"));
    QCOMPARE(meta.superClass(), &QThread::staticMetaObject);
    QCOMPARE(meta.methodCount(), QThread::staticMetaObject.methodCount());
}

void TestReader::restartReadStartsAReaderThatNeverRan()
{
    m_pReader->restartRead(m_pDevice);
    QCOMPARE(m_pReader->device().lock(), m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 2, LongWait);
    QVERIFY(m_pReader->isRunning());
    QVERIFY(!m_pReader->m_isStopRead);
    QVERIFY(!m_pReader->isPaused());
    QVERIFY(m_pReader->m_hTaskThread != QThread::currentThreadId());
    QCOMPARE(m_pReader->m_pTaskDevice.load(), m_pDevice.get());
}

void TestReader::restartReadOnARunningReaderOnlyChangesTheDevice()
{
    const auto pOther = std::make_shared<Device>();
    m_pReader->restartRead(m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 0, LongWait);
    m_pReader->restartRead(pOther);
    QCOMPARE(m_pReader->device().lock(), pOther);
    const int nPictures = m_pReader->m_nPictures;
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > nPictures + 2, LongWait);
    QCOMPARE(m_pReader->m_nTasks.load(), 1);
    QCOMPARE(m_pReader->m_pTaskDevice.load(), m_pDevice.get());

    m_pReader->stopRead();
    m_pReader->restartRead(pOther);
    QTRY_COMPARE_WITH_TIMEOUT(m_pReader->m_pTaskDevice.load(), pOther.get(), LongWait);
}

void TestReader::restartReadStartsThroughTheVirtualOperation()
{
    StartCountingReader reader(m_image);
    reader.restartRead(m_pDevice);
    QCOMPARE(reader.m_nStarts, 1);
    QTRY_VERIFY_WITH_TIMEOUT(reader.m_nPictures > 0, LongWait);
    reader.restartRead(m_pDevice);
    QCOMPARE(reader.m_nStarts, 1);
    reader.stopRead();
    reader.restartRead(m_pDevice);
    QCOMPARE(reader.m_nStarts, 2);
    reader.stopRead(); // while its own part of the object still exists
}

void TestReader::aTaskThatEndedByItselfIsStartedAgain()
{
    m_pReader->m_nPicturesToPublish = 3;
    m_pReader->restartRead(m_pDevice);
    QVERIFY(m_pReader->wait(LongWait));
    QVERIFY(!m_pReader->m_isStopRead);
    QCOMPARE(m_pReader->m_nPictures.load(), 3);
    m_pReader->restartRead(m_pDevice);
    QVERIFY(m_pReader->wait(LongWait));
    QCOMPARE(m_pReader->m_nTasks.load(), 2);
    QCOMPARE(m_pReader->m_nPictures.load(), 6);
    QCOMPARE(m_nCalls.load(), 8);
}

void TestReader::aStoppedReaderIsStartedAgain()
{
    m_pReader->restartRead(m_pDevice);
    m_pReader->stopRead();
    QVERIFY(m_pReader->m_isStopRead);
    const int nPictures = m_pReader->m_nPictures;
    m_pReader->restartRead(m_pDevice);
    QVERIFY(!m_pReader->m_isStopRead);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > nPictures, LongWait);
}

void TestReader::pauseReadLetsTheTaskIdle_data()
{
    QTest::addColumn<qint64>("nPace");
    QTest::newRow("task between two pictures") << qint64(1);
    QTest::newRow("task in a long wait") << qint64(LongPace.count());
}

void TestReader::pauseReadLetsTheTaskIdle()
{
    QFETCH(qint64, nPace);
    m_pReader->m_pace = std::chrono::milliseconds(nPace);
    startAndPause();
    QVERIFY(m_pReader->isPaused());
    QVERIFY(m_pReader->isRunning());
    QVERIFY(!m_pReader->m_isStopRead);
    const int nPictures = m_pReader->m_nPictures;
    m_pReader->pauseRead();
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->isIdle(), LongWait);
    QCOMPARE(m_pReader->m_nPictures.load(), nPictures);
    QCOMPARE(m_nCalls.load(), nPictures);
}

void TestReader::restartReadOnAPausedReaderResumesTheSameTask()
{
    startAndPause();
    const auto pOther = std::make_shared<Device>();
    const Qt::HANDLE hThread = m_pReader->m_hTaskThread;
    const int nPictures = m_pReader->m_nPictures;
    m_pReader->restartRead(pOther);
    QVERIFY(!m_pReader->isPaused());
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > nPictures, LongWait);
    QCOMPARE(m_pReader->m_nTasks.load(), 1);
    QCOMPARE(m_pReader->m_hTaskThread.load(), hThread);
    QCOMPARE(m_pReader->device().lock(), pOther);
}

void TestReader::aPauseIsForgottenByTheNextStart()
{
    m_pReader->pauseRead();
    QVERIFY(m_pReader->isPaused());
    QVERIFY(!m_pReader->isRunning());
    m_pReader->restartRead(m_pDevice);
    QVERIFY(!m_pReader->isPaused());
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 0, LongWait);
}

void TestReader::pauseReadTakesTheMutexOfTheWaits()
{
    std::unique_lock<std::mutex> lck(m_pReader->m_mtxStopRead);
    const std::unique_ptr<QThread> pThread(QThread::create([this] { m_pReader->pauseRead(); }));
    pThread->start();
    QVERIFY(!pThread->wait(50));
    QVERIFY(!m_pReader->isPaused());
    lck.unlock();
    QVERIFY(pThread->wait(LongWait));
    QVERIFY(m_pReader->isPaused());
}

void TestReader::resumingTakesNoMutex()
{
    startAndPause();
    bool isReturned = false;
    std::unique_lock<std::mutex> lck(m_pReader->m_mtxStopRead);
    const std::unique_ptr<QThread> pThread(
        QThread::create([this] { m_pReader->restartRead(m_pDevice); }));
    pThread->start();
    isReturned = pThread->wait(LongWait);
    lck.unlock();
    pThread->wait();
    QVERIFY(isReturned);
    QVERIFY(!m_pReader->isPaused());
}

void TestReader::stopReadOfAReaderThatNeverRanReturnsAtOnce()
{
    m_pReader->pauseRead();
    m_pReader->stopRead();
    QVERIFY(m_pReader->m_isStopRead);
    QVERIFY(!m_pReader->isPaused());
    QVERIFY(!m_pReader->isRunning());
    QCOMPARE(m_pReader->m_nTasks.load(), 0);
    QCOMPARE(m_nCalls.load(), 0);
    QVERIFY(m_image.isNull());
}

void TestReader::stopReadReturnsAfterTheThreadEnded_data()
{
    QTest::addColumn<qint64>("nPace");
    QTest::addColumn<bool>("isToBePaused");
    QTest::newRow("while reading") << qint64(1) << false;
    QTest::newRow("in a long wait") << qint64(LongPace.count()) << false;
    QTest::newRow("while paused") << qint64(1) << true;
}

void TestReader::stopReadReturnsAfterTheThreadEnded()
{
    QFETCH(qint64, nPace);
    QFETCH(bool, isToBePaused);
    m_pReader->m_pace = std::chrono::milliseconds(nPace);
    m_pReader->restartRead(m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 0, LongWait);
    if (isToBePaused) {
        m_pReader->pauseRead();
        QTRY_VERIFY_WITH_TIMEOUT(m_pReader->isIdle(), LongWait);
    }
    QElapsedTimer timer;
    timer.start();
    m_pReader->stopRead();
    QVERIFY(timer.elapsed() < StopLimit);
    QVERIFY(m_pReader->isFinished());
    QVERIFY(!m_pReader->isRunning());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-reader")), 0, LongWait);
    QVERIFY(m_pReader->m_isStopRead);
    QVERIFY(!m_pReader->isPaused());
}

void TestReader::theThreadCarriesAName()
{
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-reader")), 0, LongWait);
    m_pReader->restartRead(m_pDevice);
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-reader")), 1, LongWait);
    m_pReader->stopRead();
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-reader")), 0, LongWait);
}

void TestReader::theDeviceIsCopiedUnderItsLock()
{
    m_pReader->setDevice(m_pDevice);
    std::weak_ptr<Device> wFound;
    const std::unique_ptr<QThread> pThread(QThread::create([&] { wFound = m_pReader->device(); }));
    std::unique_lock<std::mutex> lck(m_pReader->m_mtxDevice);
    pThread->start();
    const bool isEarly = pThread->wait(50);
    lck.unlock();
    QVERIFY(pThread->wait(LongWait));
    QVERIFY(!isEarly);
    QCOMPARE(wFound.lock(), m_pDevice);
}

void TestReader::theDeviceMayBeReplacedWhileOthersAskForIt()
{
    constexpr int ReadsWanted = 200000;
    const auto pOther = std::make_shared<Device>();
    m_pReader->m_nPicturesToPublish = 0;
    m_pReader->setDevice(m_pDevice);
    std::atomic_bool isOver{false};
    std::atomic_int nBad{0};
    std::atomic_int nReads{0};
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back(QThread::create([&] {
            do {
                const std::shared_ptr<Device> pDevice = m_pReader->device().lock();
                nBad += pDevice != m_pDevice && pDevice != pOther;
                ++nReads;
            } while (!isOver);
        }));
        threads.back()->start();
    }
    for (int i = 0; nReads < ReadsWanted; ++i)
        m_pReader->setDevice(i % 2 ? m_pDevice : pOther);
    isOver = true;
    for (const auto &pThread : threads)
        pThread->wait();
    QCOMPARE(nBad.load(), 0);
    QVERIFY(nReads >= ReadsWanted);
    m_pReader->setDevice({});
    QVERIFY(m_pReader->device().expired());
}

QTEST_GUILESS_MAIN(TestReader)
#include "tst_reader.moc"
