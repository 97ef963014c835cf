// What a reader publishes when its task ends, for whatever reason, and whom it tells.

#include <pixmapreader_p.h>

#include "logcapture.h"
#include "picturecompare.h"
#include "stepreader.h"
#include "testpictures.h"

#include <device.h>

#include <QImage>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>
#include <new>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::EchoVideo::Internal::LocalUSBReader;

namespace {

constexpr int LongWait = 30000; // ms; far more than anything here takes

/** Keeps what a reader's callback saw; the callback runs on the reader's thread. */
class Callback
{
public:
    std::function<void()> on(const QImage &image)
    {
        return [this, &image] {
            QMutexLocker locker(&m_mutex);
            m_last = image.copy();
            m_hThread = QThread::currentThreadId();
            ++m_nCalls;
        };
    }
    void clear()
    {
        QMutexLocker locker(&m_mutex);
        m_last = QImage();
        m_hThread = nullptr;
        m_nCalls = 0;
    }
    int calls() const
    {
        QMutexLocker locker(&m_mutex);
        return m_nCalls;
    }
    QImage last() const
    {
        QMutexLocker locker(&m_mutex);
        return m_last;
    }
    Qt::HANDLE thread() const
    {
        QMutexLocker locker(&m_mutex);
        return m_hThread;
    }

private:
    mutable QMutex m_mutex;
    QImage m_last;
    Qt::HANDLE m_hThread = nullptr;
    int m_nCalls = 0;
};

QImage noSignalPicture()
{
    return solidPicture(QSize(1920, 1080), Qt::black);
}

} // namespace

class TestReaderPublish : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theNoSignalPictureFollowsEveryTask_data();
    void theNoSignalPictureFollowsEveryTask();
    void theCallbackComesOnTheReaderThread();
    void noCallbackIsNeeded();
    void aReaderWithoutDeviceFinishesAtOnce();
    void theUsbReaderFinishesAtOnce();
    void runningOutOfMemoryEndsTheTaskAlone();
    void aCallbackMayRunOutOfMemory();
    void destructionReleasesTheCallback();

private:
    QImage m_image;
    Callback m_callback;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<StepReader> m_pReader;
};

void TestReaderPublish::init()
{
    m_image = QImage();
    m_pDevice = std::make_shared<Device>();
    m_pReader = std::make_unique<StepReader>(m_image);
    m_pReader->setInputVideoReadFinishedCallback(m_callback.on(m_image));
}

void TestReaderPublish::cleanup()
{
    m_pReader.reset();
    m_callback.clear();
}

void TestReaderPublish::theNoSignalPictureFollowsEveryTask_data()
{
    QTest::addColumn<int>("nPicturesToPublish");
    QTest::addColumn<bool>("isToBePaused");
    QTest::newRow("task stopped") << 1'000'000'000 << false;
    QTest::newRow("task stopped while paused") << 1'000'000'000 << true;
    QTest::newRow("task ended by itself") << 3 << false;
    QTest::newRow("task ended without a picture") << 0 << false;
}

void TestReaderPublish::theNoSignalPictureFollowsEveryTask()
{
    QFETCH(int, nPicturesToPublish);
    QFETCH(bool, isToBePaused);
    m_pReader->m_nPicturesToPublish = nPicturesToPublish;
    m_pReader->restartRead(m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures >= qMin(2, nPicturesToPublish), LongWait);
    if (isToBePaused) {
        m_pReader->pauseRead();
        QTRY_VERIFY_WITH_TIMEOUT(m_pReader->isIdle(), LongWait);
        COMPARE_PICTURES(m_callback.last(), solidPicture(QSize(8, 8), StepReader::PictureColor));
    }
    if (nPicturesToPublish > 3)
        m_pReader->stopRead();
    QVERIFY(m_pReader->wait(LongWait));

    QCOMPARE(m_callback.calls(), m_pReader->m_nPictures + 1);
    QCOMPARE(m_image.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(m_image, noSignalPicture());
    COMPARE_PICTURES(m_callback.last(), noSignalPicture());
}

void TestReaderPublish::theCallbackComesOnTheReaderThread()
{
    m_pReader->m_nPicturesToPublish = 0;
    m_pReader->restartRead(m_pDevice);
    QVERIFY(m_pReader->wait(LongWait));
    QCOMPARE(m_callback.calls(), 1);
    QCOMPARE(m_callback.thread(), m_pReader->m_hTaskThread.load());
    QVERIFY(m_callback.thread() != QThread::currentThreadId());
}

void TestReaderPublish::noCallbackIsNeeded()
{
    m_pReader->setInputVideoReadFinishedCallback({});
    m_pReader->restartRead(m_pDevice);
    QTRY_VERIFY_WITH_TIMEOUT(m_pReader->m_nPictures > 0, LongWait);
    m_pReader->stopRead();
    COMPARE_PICTURES(m_image, noSignalPicture());
    QCOMPARE(m_callback.calls(), 0);
}

void TestReaderPublish::aReaderWithoutDeviceFinishesAtOnce()
{
    m_pReader->restartRead({});
    QVERIFY(m_pReader->wait(LongWait));
    QCOMPARE(m_pReader->m_nTasks.load(), 1);
    QCOMPARE(m_pReader->m_nPictures.load(), 0);
    QVERIFY(!m_pReader->m_isStopRead);
    QCOMPARE(m_callback.calls(), 1);
    QCOMPARE(m_image.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(m_image, noSignalPicture());
}

void TestReaderPublish::theUsbReaderFinishesAtOnce()
{
    LocalUSBReader reader(m_image);
    reader.setInputVideoReadFinishedCallback(m_callback.on(m_image));
    m_pDevice->setOnlineFlag(true);
    reader.restartRead(m_pDevice);
    QVERIFY(reader.wait(LongWait));
    QVERIFY(!reader.m_isStopRead);
    QVERIFY(!reader.parent());
    QCOMPARE(m_callback.calls(), 1);
    QCOMPARE(m_image.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(m_image, noSignalPicture());
    reader.stopRead();
    QCOMPARE(m_callback.calls(), 1);
}

void TestReaderPublish::runningOutOfMemoryEndsTheTaskAlone()
{
    const LogCapture log;
    m_pReader->m_isOutOfMemory = true;
    m_pReader->restartRead(m_pDevice);
    QVERIFY(m_pReader->wait(LongWait));
    QCOMPARE(m_callback.calls(), 1);
    COMPARE_PICTURES(m_image, noSignalPicture());
}

void TestReaderPublish::aCallbackMayRunOutOfMemory()
{
    const LogCapture log;
    m_pReader->m_nPicturesToPublish = 0;
    m_pReader->setInputVideoReadFinishedCallback([] { throw std::bad_alloc(); });
    m_pReader->restartRead(m_pDevice);
    QVERIFY(m_pReader->wait(LongWait));
    COMPARE_PICTURES(m_image, noSignalPicture());
}

void TestReaderPublish::destructionReleasesTheCallback()
{
    auto pToken = std::make_shared<int>(0);
    const std::weak_ptr<int> wToken = pToken;
    m_pReader->setInputVideoReadFinishedCallback([pToken] {});
    pToken.reset();
    QVERIFY(!wToken.expired());
    m_pReader.reset();
    QVERIFY(wToken.expired());
}

QTEST_GUILESS_MAIN(TestReaderPublish)
#include "tst_reader_publish.moc"
