// How the input video service follows the device list by itself.

#include <pixmapreader.h>

#include "logcapture.h"
#include "recordingreader.h"
#include "testdevice.h"

#include <devicelist.h>
#include <pixmapreader_p.h>

#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;

namespace {

// Nothing listens there, so a reader that is started fails to connect and is stopped at once.
constexpr quint16 RefusingPort = 1;

DeviceList *list()
{
    return DeviceList::instance();
}

std::shared_ptr<Device> onlineDevice(s_EchoVideoConfig::eVideoSourceType eSource)
{
    const auto pDevice = makeMjpegDevice(RefusingPort);
    pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = eSource;
    pDevice->setOnlineFlag(true);
    return pDevice;
}

void onAnotherThread(const std::function<void()> &operation)
{
    const std::unique_ptr<QThread> pThread(QThread::create(operation));
    pThread->start();
    pThread->wait();
}

const QStringList Restarted{QStringLiteral("restart")};
const QStringList Stopped{QStringLiteral("stop")};

} // namespace

class TestPixmapReaderFollow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void anotherDeviceOfTheSameTypeIsReadByTheSameReader();
    void anotherDeviceOfAnotherTypeGetsAnotherReader();
    void aDeviceThatIsSetAgainIsRestarted();
    void aPausedServiceStaysPausedAcrossADeviceChange();
    void aPausedServiceLosesItsReaderToAnotherType();
    void withoutAnActiveDeviceTheReaderIsPaused_data();
    void withoutAnActiveDeviceTheReaderIsPaused();
    void aDeviceAfterNoneFindsThePermissionWithdrawn();
    void aDeviceOfflineTakesOverAPausedReader();
    void withPermissionADeviceChangeCreatesTheReader();
    void withoutPermissionADeviceChangeCreatesNone();
    void afterAStopADeviceChangeCreatesAReader();

    void goingOfflinePausesTheReader();
    void comingOnlineRestartsTheReader_data();
    void comingOnlineRestartsTheReader();
    void onlineStatusWithoutAReaderChangesNothing();
    void onlineStatusOfAnotherDeviceChangesNothing();
    void onlineStatusOfNoDeviceChangesNothing();

    void signalsOfOtherThreadsArriveOnTheServicesThread();

private:
    std::shared_ptr<RecordingReader> installReader();

    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<PixmapReader> m_pService;
    std::shared_ptr<Device> m_pDevice;
};

// The service serves an active device, online, and has the host's permission.
void TestPixmapReaderFollow::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pDevice = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    m_pService = std::make_unique<PixmapReader>();
    list()->setActivedDevice(m_pDevice);
    QCOMPARE(m_pService->servedDevice().lock(), m_pDevice);
    QVERIFY(!m_pService->m_pPixmapReader);
    m_pService->m_isAllowStartInputVideoReadTask = true;
}

void TestPixmapReaderFollow::cleanup()
{
    m_pService.reset();
    list()->setActivedDevice({});
    m_pLog.reset();
}

std::shared_ptr<RecordingReader> TestPixmapReaderFollow::installReader()
{
    const auto pReader = std::make_shared<RecordingReader>(m_pService->m_image, m_pDevice);
    m_pService->m_pPixmapReader = pReader;
    return pReader;
}

void TestPixmapReaderFollow::anotherDeviceOfTheSameTypeIsReadByTheSameReader()
{
    const auto pReader = installReader();
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    list()->setActivedDevice(pOther);
    QCOMPARE(m_pService->servedDevice().lock(), pOther);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
    QCOMPARE(pReader->device().lock(), pOther);
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
}

void TestPixmapReaderFollow::anotherDeviceOfAnotherTypeGetsAnotherReader()
{
    const auto pReader = installReader();
    const auto pOther = onlineDevice(s_EchoVideoConfig::LocalTCP);
    list()->setActivedDevice(pOther);
    QCOMPARE(pReader->m_calls, Stopped);
    QVERIFY(m_pService->m_pPixmapReader);
    QVERIFY(m_pService->m_pPixmapReader != pReader);
    QVERIFY(m_pService->m_pPixmapReader->isRunning());
    QCOMPARE(m_pService->m_pPixmapReader->device().lock(), pOther);
}

void TestPixmapReaderFollow::aDeviceThatIsSetAgainIsRestarted()
{
    const auto pReader = installReader();
    list()->setActivedDevice(m_pDevice);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
}

void TestPixmapReaderFollow::aPausedServiceStaysPausedAcrossADeviceChange()
{
    const auto pReader = installReader();
    m_pService->pauseRead();
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    list()->setActivedDevice(pOther);
    QVERIFY(!m_pService->m_isAllowStartInputVideoReadTask);
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(m_pService->servedDevice().lock(), pOther);

    list()->setActivedDevice(m_pDevice);
    QVERIFY(pReader->isPaused());
    m_pService->restartRead();
    QVERIFY(!pReader->isPaused());
    QCOMPARE(pReader->m_calls, Restarted);
    QCOMPARE(pReader->device().lock(), m_pDevice);
}

void TestPixmapReaderFollow::aPausedServiceLosesItsReaderToAnotherType()
{
    const auto pReader = installReader();
    m_pService->pauseRead();
    const auto pOther = onlineDevice(s_EchoVideoConfig::LocalTCP);
    list()->setActivedDevice(pOther);
    QCOMPARE(pReader->m_calls, Stopped);
    QVERIFY(!m_pService->m_pPixmapReader);
    QVERIFY(!m_pService->m_isAllowStartInputVideoReadTask);
    m_pService->restartRead();
    QVERIFY(m_pService->m_pPixmapReader);
}

void TestPixmapReaderFollow::withoutAnActiveDeviceTheReaderIsPaused_data()
{
    QTest::addColumn<bool>("isRemoved");
    QTest::newRow("no device is active") << false;
    QTest::newRow("the active device is removed") << true;
}

void TestPixmapReaderFollow::withoutAnActiveDeviceTheReaderIsPaused()
{
    QFETCH(bool, isRemoved);
    const auto pReader = installReader();
    if (isRemoved)
        list()->removeDevice(m_pDevice);
    else
        list()->setActivedDevice({});
    QVERIFY(m_pService->servedDevice().expired());
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
}

void TestPixmapReaderFollow::aDeviceAfterNoneFindsThePermissionWithdrawn()
{
    const auto pReader = installReader();
    list()->setActivedDevice({});
    list()->setActivedDevice(m_pDevice);
    QVERIFY(pReader->isPaused());
    QVERIFY(!m_pService->m_isAllowStartInputVideoReadTask);
    m_pService->restartRead();
    QVERIFY(!pReader->isPaused());
}

void TestPixmapReaderFollow::aDeviceOfflineTakesOverAPausedReader()
{
    const auto pReader = installReader();
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    pOther->setOnlineFlag(false);
    list()->setActivedDevice(pOther);
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
    list()->setDeviceOnline(pOther, true);
    QVERIFY(!pReader->isPaused());
    QCOMPARE(pReader->device().lock(), pOther);
}

void TestPixmapReaderFollow::withPermissionADeviceChangeCreatesTheReader()
{
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    list()->setActivedDevice(pOther);
    QVERIFY(m_pService->m_pPixmapReader);
    QVERIFY(m_pService->m_pPixmapReader->isRunning());
    QCOMPARE(m_pService->m_pPixmapReader->device().lock(), pOther);
}

void TestPixmapReaderFollow::withoutPermissionADeviceChangeCreatesNone()
{
    m_pService->m_isAllowStartInputVideoReadTask = false;
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    list()->setActivedDevice(pOther);
    QVERIFY(!m_pService->m_pPixmapReader);
    QCOMPARE(m_pService->servedDevice().lock(), pOther);
}

void TestPixmapReaderFollow::afterAStopADeviceChangeCreatesAReader()
{
    m_pService->restartRead();
    m_pService->stopRead();
    QVERIFY(!m_pService->m_pPixmapReader);
    list()->setActivedDevice(m_pDevice);
    QVERIFY(m_pService->m_pPixmapReader);
}

void TestPixmapReaderFollow::goingOfflinePausesTheReader()
{
    const auto pReader = installReader();
    list()->setDeviceOnline(m_pDevice, false);
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
}

void TestPixmapReaderFollow::comingOnlineRestartsTheReader_data()
{
    QTest::addColumn<bool>("isPermitted");
    QTest::addColumn<bool>("isPaused");
    QTest::newRow("paused") << true << true;
    QTest::newRow("not paused") << true << false;
    QTest::newRow("paused, permission withdrawn") << false << true;
}

// A reader that exists is restarted whatever the permission: only its creation needs one.
void TestPixmapReaderFollow::comingOnlineRestartsTheReader()
{
    QFETCH(bool, isPermitted);
    QFETCH(bool, isPaused);
    const auto pReader = installReader();
    m_pService->m_isAllowStartInputVideoReadTask = isPermitted;
    if (isPaused)
        m_pService->pauseRead();
    list()->setDeviceOnline(m_pDevice, true);
    QVERIFY(!pReader->isPaused());
    QCOMPARE(pReader->m_calls, Restarted);
    QCOMPARE(pReader->device().lock(), m_pDevice);
}

void TestPixmapReaderFollow::onlineStatusWithoutAReaderChangesNothing()
{
    list()->setDeviceOnline(m_pDevice, false);
    list()->setDeviceOnline(m_pDevice, true);
    QVERIFY(!m_pService->m_pPixmapReader);
}

void TestPixmapReaderFollow::onlineStatusOfAnotherDeviceChangesNothing()
{
    const auto pReader = installReader();
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    list()->setDeviceOnline(pOther, false);
    QVERIFY(!pReader->isPaused());
    list()->setDeviceOnline(pOther, true);
    QVERIFY(pReader->m_calls.isEmpty());
}

void TestPixmapReaderFollow::onlineStatusOfNoDeviceChangesNothing()
{
    const auto pReader = installReader();
    list()->setDeviceOnline({}, false);
    QVERIFY(!pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());

    m_pService->setServedDevice({});
    list()->setDeviceOnline({}, true);
    list()->setDeviceOnline(m_pDevice, false);
    QVERIFY(!pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
}

void TestPixmapReaderFollow::signalsOfOtherThreadsArriveOnTheServicesThread()
{
    const auto pReader = installReader();
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    onAnotherThread([&] { list()->setActivedDevice(pOther); });
    QCOMPARE(m_pService->servedDevice().lock(), m_pDevice);
    QVERIFY(pReader->m_calls.isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(m_pService->servedDevice().lock(), pOther);
    QCOMPARE(pReader->m_calls, Restarted);

    onAnotherThread([&] { list()->setDeviceOnline(pOther, false); });
    QVERIFY(!pReader->isPaused());
    QCoreApplication::processEvents();
    QVERIFY(pReader->isPaused());
}

QTEST_GUILESS_MAIN(TestPixmapReaderFollow)
#include "tst_pixmapreader_follow.moc"
