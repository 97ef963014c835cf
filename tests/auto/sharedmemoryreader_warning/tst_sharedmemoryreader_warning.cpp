// The warning about frames that cannot be read: never the first time, then every five minutes.

#include <pixmapreaderlocalsharedmemory_p.h>

#include "capturedouble.h"
#include "localreaderprobe.h"
#include "logcapture.h"

#include <QDateTime>
#include <QtTest>

#include <memory>

using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::isCaptureWarningDue;
using Morvek::EchoVideo::Internal::LocalSharedMemoryReader;

namespace {

using Probe = LocalReaderProbe<LocalSharedMemoryReader>;

constexpr qint64 Interval = 300'000; // ms
const QString WarningText =
    QStringLiteral("Read Local Shared Memory video frame has failed! The result= ");

/** As if the last failure of this process that counts had been long ago. */
void letLongTimePass()
{
    isCaptureWarningDue(1);
}

} // namespace

class TestSharedMemoryReaderWarning : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    // First of all, while the process has not seen a failure yet.
    void theFirstFailureOfAProcessIsNotLogged();

    void aWarningIsDueAfterMoreThanFiveMinutes_data();
    void aWarningIsDueAfterMoreThanFiveMinutes();
    void aWarningStartsTheNextFiveMinutes();
    void theWarningNamesTheResult_data();
    void theWarningNamesTheResult();
    void theTimeIsSharedByAllReaders();
    void aGoodFrameDoesNotResetTheTime();

private:
    void startFailing(int nResult);

    std::unique_ptr<CaptureDouble> m_pCapture;
    std::unique_ptr<Probe> m_pProbe;
};

void TestSharedMemoryReaderWarning::init()
{
    m_pCapture = std::make_unique<CaptureDouble>();
    m_pCapture->setInitResult(0);
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
}

void TestSharedMemoryReaderWarning::cleanup()
{
    m_pProbe.reset();
    m_pCapture.reset();
}

void TestSharedMemoryReaderWarning::startFailing(int nResult)
{
    m_pCapture->setFrameResult(nResult);
    const int nFrames = m_pCapture->frameCalls().size();
    m_pProbe->start();
    QVERIFY(m_pCapture->waitForFrameCalls(nFrames + 5));
}

void TestSharedMemoryReaderWarning::theFirstFailureOfAProcessIsNotLogged()
{
    const LogCapture log;
    startFailing(0);
    m_pProbe->stop();
    QCOMPARE(log.count(WarningText), 0);
    // That failure did start the five minutes.
    const qint64 nNow = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(!isCaptureWarningDue(nNow + Interval - 60'000));
    QVERIFY(isCaptureWarningDue(nNow + Interval + 1));
}

void TestSharedMemoryReaderWarning::aWarningIsDueAfterMoreThanFiveMinutes_data()
{
    QTest::addColumn<qint64>("nPassed");
    QTest::addColumn<bool>("isDue");
    QTest::newRow("at once") << qint64(0) << false;
    QTest::newRow("after five minutes") << Interval << false;
    QTest::newRow("one millisecond later") << Interval + 1 << true;
    QTest::newRow("after a year") << qint64(365) * 86'400'000 << true;
    QTest::newRow("clock set back by five minutes") << -Interval << false;
    QTest::newRow("clock set back by more") << -Interval - 1 << true;
}

void TestSharedMemoryReaderWarning::aWarningIsDueAfterMoreThanFiveMinutes()
{
    QFETCH(qint64, nPassed);
    QFETCH(bool, isDue);
    constexpr qint64 Start = 1'600'000'000'000;
    letLongTimePass();
    QVERIFY(isCaptureWarningDue(Start));
    QCOMPARE(isCaptureWarningDue(Start + nPassed), isDue);
}

void TestSharedMemoryReaderWarning::aWarningStartsTheNextFiveMinutes()
{
    constexpr qint64 Start = 1'600'000'000'000;
    letLongTimePass();
    QVERIFY(isCaptureWarningDue(Start));
    int nWarnings = 0;
    for (qint64 nMs = 0; nMs < 10 * Interval; nMs += 1000) // a failure each second
        nWarnings += isCaptureWarningDue(Start + nMs);
    QCOMPARE(nWarnings, 9);
}

void TestSharedMemoryReaderWarning::theWarningNamesTheResult_data()
{
    QTest::addColumn<int>("nResult");
    QTest::newRow("none") << 0;
    QTest::newRow("error") << -1;
    QTest::newRow("a part") << 1000;
}

void TestSharedMemoryReaderWarning::theWarningNamesTheResult()
{
    QFETCH(int, nResult);
    const LogCapture log;
    letLongTimePass();
    startFailing(nResult);
    m_pProbe->stop();
    QCOMPARE(log.linesWith(WarningText), QStringList{WarningText + QString::number(nResult)});
    for (const sLogLine &line : log.lines()) {
        if (line.m_strText.startsWith(WarningText))
            QCOMPARE(line.m_eType, QtWarningMsg);
    }
}

void TestSharedMemoryReaderWarning::theTimeIsSharedByAllReaders()
{
    const LogCapture log;
    letLongTimePass();
    startFailing(0);
    m_pProbe = std::make_unique<Probe>();
    m_pProbe->videoConfig().FPS = 50;
    startFailing(0);
    m_pProbe->stop();
    QCOMPARE(log.count(WarningText), 1);
}

void TestSharedMemoryReaderWarning::aGoodFrameDoesNotResetTheTime()
{
    const LogCapture log;
    letLongTimePass();
    startFailing(0);
    m_pCapture->setFrameResult(CaptureDouble::FrameBytes);
    QVERIFY(m_pProbe->waitForPictures(2));
    startFailing(0);
    m_pProbe->stop();
    QCOMPARE(log.count(WarningText), 1);
}

QTEST_GUILESS_MAIN(TestSharedMemoryReaderWarning)
#include "tst_sharedmemoryreader_warning.moc"
