// The whole way of a captured frame: a producer in another process, the capture library, the
// service, the pictures of the inputs; with the producer killed and started again in the middle.

#include <pixmapreader.h>

#include "capturesegment.h"
#include "emissioncounter.h"
#include "logcapture.h"
#include "picturecompare.h"
#include "processfigures.h"
#include "producerprocess.h"
#include "testdevice.h"
#include "testpictures.h"

#include <device.h>
#include <devicelist.h>
#include <input.h>

#include <QtTest>

#include <sys/mman.h>

#include <memory>
#include <vector>

using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::BizModel::Input;
using Morvek::BizModel::s_EchoVideoConfig;
using Morvek::EchoVideo::PixmapReader;

namespace {

constexpr int LongWait = 30000; // ms; far more than anything here takes
constexpr int QuietTime = 500;  // ms; many frames at the rate used here
constexpr int Columns = 2;
constexpr int Inputs = Columns * Columns;

/** The part of a producer's grid picture that an input of this device shows. */
QImage partOf(int nGridColumns, int nInput)
{
    return gridPicture(nGridColumns).copy(gridRect(Columns, nInput));
}

} // namespace

class TestCaptureChain : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void aKilledProducerLeavesTheLastPicture_data();
    void aKilledProducerLeavesTheLastPicture();
    void aProducerThatStartsLateIsFound();
    void theDeviceGoesOfflineAndComesBack();

private:
    QImage picture(int nInput) const;
    void verifyPictures(int nGridColumns) const;
    bool isQuiet();

    const SegmentName m_name;
    std::vector<std::shared_ptr<Input>> m_inputs;
    std::shared_ptr<Device> m_pDevice;
    std::unique_ptr<LogCapture> m_pLog;
    std::unique_ptr<ActiveDevice> m_pActive;
    std::unique_ptr<EmissionCounter> m_pFrames;
};

void TestCaptureChain::initTestCase()
{
    for (int i = 0; i < Inputs; ++i)
        m_inputs.push_back(std::make_shared<Input>(quint8(i)));
}

void TestCaptureChain::init()
{
    m_pLog = std::make_unique<LogCapture>();
    m_pDevice = makeDevice(s_EchoVideoConfig::LocalDVI, Columns);
    m_pDevice->deviceConfig().EchoVideoCfg.FPS = 50;
    m_pActive = std::make_unique<ActiveDevice>(m_pDevice);
    m_pFrames = std::make_unique<EmissionCounter>(PixmapReader::instance(),
                                                  &PixmapReader::inputVideoImageCopyFinished);
}

void TestCaptureChain::cleanup()
{
    PixmapReader::instance()->stopRead();
    m_pFrames.reset();
    m_pActive.reset();
    m_pLog.reset();
    shm_unlink(m_name.name().constData()); // what a killed producer left
}

QImage TestCaptureChain::picture(int nInput) const
{
    QImage result;
    PixmapReader::instance()->getInputVideoFrame(m_inputs[size_t(nInput)], result, false);
    return result;
}

/** Every input shows its part of this grid, within a while. */
void TestCaptureChain::verifyPictures(int nGridColumns) const
{
    for (int i = 0; i < Inputs; ++i) {
        const QImage expected = partOf(nGridColumns, i).convertToFormat(QImage::Format_RGB888);
        QTRY_VERIFY_WITH_TIMEOUT(picture(i) == expected, LongWait);
    }
}

/** Whether no frame is split for a while. */
bool TestCaptureChain::isQuiet()
{
    QCoreApplication::processEvents(); // what was split before
    return !m_pFrames->wait(QuietTime);
}

void TestCaptureChain::aKilledProducerLeavesTheLastPicture_data()
{
    QTest::addColumn<bool>("isInTheMiddle");
    QTest::newRow("killed between two frames") << false;
    QTest::newRow("killed in the middle of a frame") << true;
}

void TestCaptureChain::aKilledProducerLeavesTheLastPicture()
{
    QFETCH(bool, isInTheMiddle);
    int nInits = 0;
    {
        ProducerProcess producer(m_name.name());
        QVERIFY(producer.command("grid", 3));
        PixmapReader::instance()->restartRead();
        verifyPictures(3);
        nInits = m_pLog->count(QStringLiteral("shm_cap_init"));
        if (isInTheMiddle)
            QVERIFY(producer.command("begin", 200));
        producer.kill();
    }
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), LongWait);
    verifyPictures(3);

    ProducerProcess producer(m_name.name());
    QVERIFY(producer.command("grid", 4));
    verifyPictures(4);
    QVERIFY(producer.command("grid", 5));
    verifyPictures(5);
    // It was found without being initialised again.
    QVERIFY(nInits >= 1);
    QCOMPARE(m_pLog->count(QStringLiteral("shm_cap_init")), nInits);
}

void TestCaptureChain::aProducerThatStartsLateIsFound()
{
    PixmapReader::instance()->restartRead();
    QTRY_VERIFY_WITH_TIMEOUT(m_pLog->count(QStringLiteral("shm_cap_init")) >= 3, LongWait);
    QCOMPARE(m_pFrames->count(), 0);
    const QStringList lines = m_pLog->linesWith(QStringLiteral("shm_cap_init"));
    for (const QString &strLine : lines)
        QCOMPARE(strLine, QStringLiteral("shm_cap_init has failed! The result =  -1"));

    ProducerProcess producer(m_name.name());
    QVERIFY(producer.command("grid", 3));
    verifyPictures(3);
}

void TestCaptureChain::theDeviceGoesOfflineAndComesBack()
{
    ProducerProcess producer(m_name.name());
    QVERIFY(producer.command("grid", 3));
    PixmapReader::instance()->restartRead();
    verifyPictures(3);

    // The service pauses its reader, whose task ends with the pause at the latest.
    DeviceList::instance()->setDeviceOnline(m_pDevice, false);
    QTRY_VERIFY_WITH_TIMEOUT(isQuiet(), LongWait);
    DeviceList::instance()->setDeviceOnline(m_pDevice, true);
    QVERIFY(producer.command("grid", 4));
    verifyPictures(4);

    // And at the end there is no signal, and no thread left.
    PixmapReader::instance()->stopRead();
    for (int i = 0; i < Inputs; ++i)
        COMPARE_PICTURES(picture(i), solidPicture(gridRect(Columns, i).size(), Qt::black));
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(QStringLiteral("echo-reader")), 0, LongWait);
}

QTEST_GUILESS_MAIN(TestCaptureChain)
#include "tst_capturechain.moc"
