// Which reader the input video service chooses, and when it may read at all.

#include <pixmapreader.h>

#include "logcapture.h"
#include "recordingreader.h"
#include "testdevice.h"

#include <pixmapreader_p.h>

#include <QtTest>

#include <memory>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;
using Morvek::EchoVideo::Internal::Reader;

namespace {

using SourceType = s_EchoVideoConfig::eVideoSourceType;

// Without its namespaces; empty without a reader.
QString classOf(const std::shared_ptr<Reader> &pReader)
{
    if (!pReader)
        return QString();
    const QString strName = QString::fromLatin1(pReader->metaObject()->className());
    return strName.section(QStringLiteral("::"), -1);
}

} // namespace

class TestPixmapReaderChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void theSourceTypeChoosesTheReader_data();
    void theSourceTypeChoosesTheReader();
    void aTypeWithoutReaderLeavesTheOneThereIs_data();
    void aTypeWithoutReaderLeavesTheOneThereIs();
    void withoutADeviceNoReaderIsChosen();
    void readingNeedsPermissionAndADeviceOnline_data();
    void readingNeedsPermissionAndADeviceOnline();

private:
    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<PixmapReader> m_pService;
    std::shared_ptr<Device> m_pDevice;
};

void TestPixmapReaderChoice::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pService = std::make_unique<PixmapReader>();
    m_pDevice = makeDevice(s_EchoVideoConfig::RemoteTCP);
    m_pService->setServedDevice(m_pDevice);
}

void TestPixmapReaderChoice::cleanup()
{
    m_pService.reset();
    m_pLog.reset();
}

void TestPixmapReaderChoice::theSourceTypeChoosesTheReader_data()
{
    QTest::addColumn<int>("nType");
    QTest::addColumn<QString>("strExpected");
    QTest::newRow("Invalid") << 0 << QString();
    QTest::newRow("LocalDVI") << 1 << "LocalSharedMemoryReader";
    QTest::newRow("LocalFile") << 2 << "LocalYUVReader";
    QTest::newRow("LocalTCP") << 3 << "RemoteMJPEGReader";
    QTest::newRow("RemoteTCP") << 4 << "RemoteMJPEGReader";
    QTest::newRow("unknown") << 5 << QString();
    QTest::newRow("negative") << -1 << QString();
}

void TestPixmapReaderChoice::theSourceTypeChoosesTheReader()
{
    QFETCH(int, nType);
    // Neither the other source type nor the model plays a part.
    m_pDevice->deviceConfig().EchoVideoCfg.PCVideoSourceType = s_EchoVideoConfig::LocalDVI;
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = SourceType(nType);
    m_pService->initInputVideoReadTask();
    QTEST(classOf(m_pService->m_pPixmapReader), "strExpected");

    const QList<sLogLine> lines = m_pLog->lines();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().m_strText, QString::number(nType));
    QCOMPARE(lines.first().m_eType, QtDebugMsg);
    QCOMPARE(lines.first().m_strCategory, QStringLiteral("default"));
    if (const std::shared_ptr<Reader> pReader = m_pService->m_pPixmapReader) {
        QVERIFY(!pReader->isRunning());
        QVERIFY(pReader->m_cbReadVideoFinished);
        QVERIFY(pReader->device().expired());
        QCOMPARE(&pReader->m_image, &m_pService->m_image);
    }
}

void TestPixmapReaderChoice::aTypeWithoutReaderLeavesTheOneThereIs_data()
{
    QTest::addColumn<int>("nType");
    QTest::newRow("Invalid") << 0;
    QTest::newRow("unknown") << 99;
}

void TestPixmapReaderChoice::aTypeWithoutReaderLeavesTheOneThereIs()
{
    QFETCH(int, nType);
    const auto pReader = std::make_shared<RecordingReader>(m_pService->m_image, m_pDevice);
    m_pService->m_pPixmapReader = pReader;
    m_pDevice->deviceConfig().EchoVideoCfg.ECVideoSourceType = SourceType(nType);
    m_pService->initInputVideoReadTask();
    QCOMPARE(m_pService->m_pPixmapReader, pReader);
    QVERIFY(pReader->m_calls.isEmpty());
    QVERIFY(pReader->m_cbReadVideoFinished);
}

void TestPixmapReaderChoice::withoutADeviceNoReaderIsChosen()
{
    m_pDevice.reset();
    m_pService->initInputVideoReadTask();
    QVERIFY(!m_pService->m_pPixmapReader);
    QVERIFY(m_pLog->lines().isEmpty());
}

void TestPixmapReaderChoice::readingNeedsPermissionAndADeviceOnline_data()
{
    QTest::addColumn<bool>("isPermitted");
    QTest::addColumn<bool>("isDevice");
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<bool>("isExpected");
    QTest::newRow("all") << true << true << true << true;
    QTest::newRow("no permission") << false << true << true << false;
    QTest::newRow("no device") << true << false << true << false;
    QTest::newRow("offline") << true << true << false << false;
    QTest::newRow("none") << false << false << false << false;
}

void TestPixmapReaderChoice::readingNeedsPermissionAndADeviceOnline()
{
    QFETCH(bool, isPermitted);
    QFETCH(bool, isDevice);
    QFETCH(bool, isOnline);
    m_pService->m_isAllowStartInputVideoReadTask = isPermitted;
    m_pDevice->setOnlineFlag(isOnline);
    if (!isDevice)
        m_pDevice.reset();
    QTEST(m_pService->isAllowStartInputVideoReadTask(), "isExpected");
}

QTEST_GUILESS_MAIN(TestPixmapReaderChoice)
#include "tst_pixmapreader_choice.moc"
