// How the host controls the input video service: restart, pause and stop.

#include <pixmapreader.h>

#include "logcapture.h"
#include "recordingreader.h"
#include "testdevice.h"
#include "testpictures.h"

#include <devicelist.h>
#include <pixmapreader_p.h>

#include <QSignalBlocker>
#include <QtTest>

#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;
using Morvek::EchoVideo::Internal::Reader;

namespace {

// Nothing listens there, so a reader that is started fails to connect and is stopped at once.
constexpr quint16 RefusingPort = 1;

using SourceType = s_EchoVideoConfig::eVideoSourceType;

std::shared_ptr<Device> onlineDevice(SourceType eSource)
{
    const auto pDevice = makeMjpegDevice(RefusingPort);
    pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = eSource;
    pDevice->setOnlineFlag(true);
    return pDevice;
}

const QStringList Restarted{QStringLiteral("restart")};
const QStringList Stopped{QStringLiteral("stop")};

} // namespace

class TestPixmapReaderControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void restartReadGrantsPermission();
    void restartReadKeepsADeviceThatStillExists();
    void restartReadTakesTheActiveDeviceForOneThatIsGone();
    void restartReadCreatesAndStartsAReader();
    void restartReadCreatesNoneForADeviceOffline();
    void restartReadWithoutDevicePausesTheReader();
    void restartReadPausesTheReaderOfADeviceOffline();
    void theSameSourceTypeKeepsTheReader();
    void anotherSourceTypeReplacesTheReader();
    void anotherSourceTypeWithoutPermissionOnlyStopsTheReader();
    void aSourceTypeWithoutReaderLeavesNone_data();
    void aSourceTypeWithoutReaderLeavesNone();
    void aTypeChangedOnTheSameDeviceIsNoChange();
    void otherChangesOfTheConfigurationAreNoChange();
    void aReaderWhoseDeviceIsGoneIsReplaced();
    void aReaderWhoseDeviceIsGoneStaysForAnInvalidSource();
    void eachRestartIsLoggedAtItsEnds();

    void pauseReadPausesTheReaderAndKeepsThePermission();
    void stopReadReleasesTheReaderAndKeepsTheRest();
    void pauseAndStopNeedNoReader();
    void destructionStopsTheReader();

private:
    std::shared_ptr<RecordingReader> installReader(const std::weak_ptr<Device> &wDevice);
    QString readerClass() const;

    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<PixmapReader> m_pService;
    std::shared_ptr<Device> m_pDevice;
};

void TestPixmapReaderControl::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pService = std::make_unique<PixmapReader>();
    m_pDevice = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    m_pService->setServedDevice(m_pDevice);
}

void TestPixmapReaderControl::cleanup()
{
    m_pService.reset();
    m_pLog.reset();
}

std::shared_ptr<RecordingReader>
TestPixmapReaderControl::installReader(const std::weak_ptr<Device> &wDevice)
{
    const auto pReader = std::make_shared<RecordingReader>(m_pService->m_image, wDevice);
    m_pService->m_pPixmapReader = pReader;
    return pReader;
}

// The class of the service's reader without its namespaces; empty without a reader.
QString TestPixmapReaderControl::readerClass() const
{
    if (!m_pService->m_pPixmapReader)
        return QString();
    const QString strName =
        QString::fromLatin1(m_pService->m_pPixmapReader->metaObject()->className());
    return strName.section(QStringLiteral("::"), -1);
}

void TestPixmapReaderControl::restartReadGrantsPermission()
{
    m_pService->setServedDevice({});
    QVERIFY(!m_pService->m_isAllowStartInputVideoReadTask);
    m_pService->restartRead();
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
    QVERIFY(!m_pService->m_pPixmapReader);
}

void TestPixmapReaderControl::restartReadKeepsADeviceThatStillExists()
{
    const auto pReader = installReader(m_pDevice);
    const QSignalBlocker blocker(DeviceList::instance()); // the service does not notice
    const ActiveDevice other(onlineDevice(s_EchoVideoConfig::RemoteTCP));
    m_pService->restartRead();
    QCOMPARE(m_pService->servedDevice().lock(), m_pDevice);
    QCOMPARE(pReader->device().lock(), m_pDevice);
}

void TestPixmapReaderControl::restartReadTakesTheActiveDeviceForOneThatIsGone()
{
    const QSignalBlocker blocker(DeviceList::instance());
    const auto pOther = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    const ActiveDevice active(pOther);
    const auto pReader = installReader(pOther);
    m_pDevice.reset();
    m_pService->restartRead();
    QCOMPARE(m_pService->servedDevice().lock(), pOther);
    QCOMPARE(pReader->m_calls, Restarted);
}

void TestPixmapReaderControl::restartReadCreatesAndStartsAReader()
{
    m_pService->restartRead();
    QCOMPARE(readerClass(), QStringLiteral("RemoteMJPEGReader"));
    QVERIFY(m_pService->m_pPixmapReader->isRunning());
    QCOMPARE(m_pService->m_pPixmapReader->device().lock(), m_pDevice);
}

void TestPixmapReaderControl::restartReadCreatesNoneForADeviceOffline()
{
    m_pDevice->setOnlineFlag(false);
    m_pService->restartRead();
    QVERIFY(!m_pService->m_pPixmapReader);
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
}

void TestPixmapReaderControl::restartReadWithoutDevicePausesTheReader()
{
    const auto pReader = installReader(m_pDevice);
    m_pDevice.reset();
    m_pService->restartRead();
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
}

void TestPixmapReaderControl::restartReadPausesTheReaderOfADeviceOffline()
{
    const auto pReader = installReader(m_pDevice);
    m_pDevice->setOnlineFlag(false);
    m_pService->restartRead();
    QVERIFY(pReader->isPaused());
    QVERIFY(pReader->m_calls.isEmpty());
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
}

void TestPixmapReaderControl::theSameSourceTypeKeepsTheReader()
{
    const auto pReader = installReader(onlineDevice(s_EchoVideoConfig::RemoteTCP));
    const auto pOld = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    pReader->setDevice(pOld);
    m_pService->restartRead();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
    QCOMPARE(pReader->device().lock(), m_pDevice);
}

void TestPixmapReaderControl::anotherSourceTypeReplacesTheReader()
{
    // The two TCP types count as different, although the same reader serves both.
    const auto pOld = onlineDevice(s_EchoVideoConfig::LocalTCP);
    const auto pReader = installReader(pOld);
    m_pService->restartRead();
    QCOMPARE(pReader->m_calls, Stopped);
    QVERIFY(m_pService->m_pPixmapReader != pReader);
    QCOMPARE(readerClass(), QStringLiteral("RemoteMJPEGReader"));
    QVERIFY(m_pService->m_pPixmapReader->isRunning());
    QCOMPARE(m_pService->m_pPixmapReader->device().lock(), m_pDevice);
}

void TestPixmapReaderControl::anotherSourceTypeWithoutPermissionOnlyStopsTheReader()
{
    const auto pOld = onlineDevice(s_EchoVideoConfig::LocalTCP);
    const auto pReader = installReader(pOld);
    m_pDevice->setOnlineFlag(false);
    m_pService->restartRead();
    QCOMPARE(pReader->m_calls, Stopped);
    QVERIFY(!m_pService->m_pPixmapReader);
}

void TestPixmapReaderControl::aSourceTypeWithoutReaderLeavesNone_data()
{
    QTest::addColumn<int>("nType");
    QTest::newRow("Invalid") << 0;
    QTest::newRow("unknown") << 5;
}

void TestPixmapReaderControl::aSourceTypeWithoutReaderLeavesNone()
{
    QFETCH(int, nType);
    const auto pOld = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    const auto pReader = installReader(pOld);
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = SourceType(nType);
    m_pService->restartRead();
    QCOMPARE(pReader->m_calls, Stopped);
    QVERIFY(!m_pService->m_pPixmapReader);
}

void TestPixmapReaderControl::aTypeChangedOnTheSameDeviceIsNoChange()
{
    const auto pReader = installReader(m_pDevice);
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::LocalFile;
    m_pService->restartRead();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
}

void TestPixmapReaderControl::otherChangesOfTheConfigurationAreNoChange()
{
    const auto pOld = onlineDevice(s_EchoVideoConfig::RemoteTCP);
    const auto pReader = installReader(pOld);
    s_EchoVideoConfig &cfg = m_pDevice->deviceConfig().EchoVideoCfg;
    cfg.RemotePort = 4242;
    cfg.PCVideoSourceType = s_EchoVideoConfig::LocalDVI;
    cfg.ConnectorIndex = 1;
    cfg.SlotIndex = 2;
    cfg.VideoSourcePath = QStringLiteral("other.yuv");
    cfg.FPS = 60;
    m_pService->restartRead();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
}

void TestPixmapReaderControl::aReaderWhoseDeviceIsGoneIsReplaced()
{
    const auto pReader = installReader({});
    m_pService->restartRead();
    QCOMPARE(pReader->m_calls, Stopped);
    QCOMPARE(readerClass(), QStringLiteral("RemoteMJPEGReader"));
}

void TestPixmapReaderControl::aReaderWhoseDeviceIsGoneStaysForAnInvalidSource()
{
    const auto pReader = installReader({});
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = s_EchoVideoConfig::Invalid;
    m_pService->restartRead();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QCOMPARE(pReader->m_calls, Restarted);
}

void TestPixmapReaderControl::eachRestartIsLoggedAtItsEnds()
{
    m_pService->setServedDevice({});
    m_pService->restartRead();
    const QList<sLogLine> lines = m_pLog->lines();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0).m_strText, QStringLiteral("begin start input video read task."));
    QCOMPARE(lines.at(1).m_strText, QStringLiteral("end start input video read task."));
    for (const sLogLine &line : lines) {
        QCOMPARE(line.m_eType, QtInfoMsg);
        QCOMPARE(line.m_strCategory, QStringLiteral("default"));
        QVERIFY(line.m_strFile.endsWith(QStringLiteral("pixmapreader.cpp")));
        QVERIFY(line.m_strFunction.contains(QStringLiteral("restartInputVideoReadTask")));
        QVERIFY(line.m_nLine > 0);
    }
    m_pService->setServedDevice(m_pDevice);
    m_pService->restartRead();
    m_pService->stopRead();
    QCOMPARE(m_pLog->count(QStringLiteral("begin start input video read task.")), 2);
    QCOMPARE(m_pLog->count(QStringLiteral("end start input video read task.")), 2);
}

void TestPixmapReaderControl::pauseReadPausesTheReaderAndKeepsThePermission()
{
    const auto pReader = installReader(m_pDevice);
    m_pService->restartRead();
    m_pService->pauseRead();
    QVERIFY(pReader->isPaused());
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    m_pService->restartRead();
    QVERIFY(!pReader->isPaused());
    QCOMPARE(pReader->m_calls, Restarted + Restarted);
}

void TestPixmapReaderControl::stopReadReleasesTheReaderAndKeepsTheRest()
{
    auto pReader = installReader(m_pDevice);
    m_pService->restartRead();
    m_pService->m_mapInputVideo[2] = solidPicture(QSize(3, 3), Qt::red);
    m_pService->stopRead();
    QCOMPARE(pReader->m_calls, Restarted + Stopped);
    QVERIFY(!m_pService->m_pPixmapReader);
    QCOMPARE(pReader.use_count(), 1L);
    QVERIFY(m_pService->m_isAllowStartInputVideoReadTask);
    QCOMPARE(m_pService->m_mapInputVideo.keys(), QList<unsigned>{2});
    QCOMPARE(m_pService->servedDevice().lock(), m_pDevice);

    m_pService->restartRead();
    QCOMPARE(readerClass(), QStringLiteral("RemoteMJPEGReader"));
}

void TestPixmapReaderControl::pauseAndStopNeedNoReader()
{
    m_pService->pauseRead();
    m_pService->stopRead();
    QVERIFY(!m_pService->m_pPixmapReader);
    QVERIFY(!m_pService->m_isAllowStartInputVideoReadTask);
    QVERIFY(m_pLog->lines().isEmpty());
}

void TestPixmapReaderControl::destructionStopsTheReader()
{
    const auto pReader = installReader(m_pDevice);
    m_pService.reset();
    QCOMPARE(pReader->m_calls, Stopped);
    QCOMPARE(pReader.use_count(), 1L);
}

QTEST_GUILESS_MAIN(TestPixmapReaderControl)
#include "tst_pixmapreader_control.moc"
