// Readers that are stopped right after their start, again and again: nothing crashes, hangs, is
// called late or stays behind.

#include <pixmapreader_p.h>

#include "processfigures.h"
#include "stepreader.h"

#include <device.h>

#include <QElapsedTimer>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::EchoVideo::Internal::LocalUSBReader;

namespace {

constexpr int CycleCount = 200;
constexpr int LongWait = 30000; // ms

/** Lets the other threads run for so many microseconds; nothing waits for a thing to happen here. */
void passMicroseconds(int nMicroseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.nsecsElapsed() < nMicroseconds * 1000) {}
}

} // namespace

class TestReaderCycles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void aStopRightAfterTheStartIsNotLost_data();
    void aStopRightAfterTheStartIsNotLost();
    void readersThatEndAtOnceAreStartedAgain();
    void eachReaderLeavesNothingBehind();

private:
    QImage m_image;
    int m_nThreads = 0; // before the first reader
    int m_nFiles = 0;
    std::shared_ptr<Device> m_pDevice;
};

void TestReaderCycles::initTestCase()
{
    m_nThreads = threadCount();
    m_nFiles = openFileCount();
}

void TestReaderCycles::init()
{
    m_image = QImage();
    m_pDevice = std::make_shared<Device>();
}

void TestReaderCycles::aStopRightAfterTheStartIsNotLost_data()
{
    QTest::addColumn<bool>("isToBePaused");
    QTest::newRow("reading") << false;
    QTest::newRow("paused") << true;
}

void TestReaderCycles::aStopRightAfterTheStartIsNotLost()
{
    QFETCH(bool, isToBePaused);
    std::atomic_int nCalls{0};
    StepReader reader(m_image);
    // So long that only a stop ends the wait.
    reader.m_pace = std::chrono::minutes(10);
    reader.setInputVideoReadFinishedCallback([&] { ++nCalls; });
    for (int i = 0; i < CycleCount; ++i) {
        reader.restartRead(m_pDevice);
        if (isToBePaused)
            reader.pauseRead();
        passMicroseconds(i);
        reader.stopRead();
        QVERIFY(reader.isFinished());
        QCOMPARE(reader.m_nTasks.load(), i + 1);
        QCOMPARE(nCalls.load(), reader.m_nPictures + i + 1);
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_nThreads, LongWait);
    QTRY_COMPARE_WITH_TIMEOUT(openFileCount(), m_nFiles, LongWait);
}

void TestReaderCycles::readersThatEndAtOnceAreStartedAgain()
{
    std::atomic_int nCalls{0};
    LocalUSBReader reader(m_image);
    reader.setInputVideoReadFinishedCallback([&] { ++nCalls; });
    for (int i = 0; i < CycleCount; ++i) {
        reader.restartRead(m_pDevice);
        if (i % 2)
            QVERIFY(reader.wait(LongWait));
        else
            passMicroseconds(i);
        reader.stopRead();
        QCOMPARE(nCalls.load(), i + 1);
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_nThreads, LongWait);
    QTRY_COMPARE_WITH_TIMEOUT(openFileCount(), m_nFiles, LongWait);
}

void TestReaderCycles::eachReaderLeavesNothingBehind()
{
    for (int i = 0; i < CycleCount; ++i) {
        StepReader reader(m_image);
        reader.restartRead(m_pDevice);
        passMicroseconds(i);
        reader.stopRead();
        QCOMPARE(m_image.size(), QSize(1920, 1080));
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), m_nThreads, LongWait);
    QTRY_COMPARE_WITH_TIMEOUT(openFileCount(), m_nFiles, LongWait);
}

QTEST_GUILESS_MAIN(TestReaderCycles)
#include "tst_reader_cycles.moc"
