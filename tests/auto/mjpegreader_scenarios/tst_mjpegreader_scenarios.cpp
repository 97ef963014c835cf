// Whatever a device sends or does: the reader lives, and shows the next good picture.

#include <readerprobe.h>
#include <scenariodevice.h>

#include <logcapture.h>
#include <processfigures.h>

#include <QSet>
#include <QtTest>

#include <memory>

using namespace Morvek::Tests;

namespace {

// More than the 80 ms that a picture must come after the one before it.
constexpr int PictureInterval = 100; // ms
constexpr int LongWait = 30000;      // ms; only a broken test waits so long

const QString ReadWarning = QStringLiteral("Read echo video from");
const QString ConnectWarning = QStringLiteral("Connect to");

// In scenarios that spoil pictures, these are the spoilt ones.
bool isSpoilt(int nNumber)
{
    return nNumber % 3 == 2;
}

// What becomes of a spoilt picture.
enum eOutcome {
    Shown,
    Skipped, // the picture before it stays
    Null,    // there is no picture until the next good one
    Any
};

// A reader at a device that plays a scenario; knows the numbers of the pictures that were shown.
class ScenarioProbe
{
public:
    explicit ScenarioProbe(const QString &strScenario, int nIntervalMs = PictureInterval)
        : m_device(scenarioNamed(strScenario), nIntervalMs)
        , m_probe(m_device.port())
    {
        m_probe.setHook([pShown = m_pShown] { pShown->note(); });
        m_pShown->m_pProbe = &m_probe;
        m_probe.start();
    }

    ScenarioDevice &device() { return m_device; }
    ReaderProbe &probe() { return m_probe; }
    int newestShown() const { return m_pShown->newest(); }
    QSet<int> shown() const { return m_pShown->all(); }
    bool isSpoiltShown() const
    {
        const QSet<int> numbers = shown();
        return std::any_of(numbers.cbegin(), numbers.cend(), isSpoilt);
    }

    // Ends the wait for the next connection, if the reader is in it.
    void endBackOff()
    {
        m_probe.reader().pauseRead();
        m_probe.start();
    }

private:
    // Outlives the probe, whose reader calls it to its end.
    struct sShown
    {
        void note()
        {
            const int nNumber = numberOf(m_pProbe->image());
            QMutexLocker locker(&m_mutex);
            m_numbers.insert(nNumber);
            m_nNewest = nNumber;
        }
        int newest() const
        {
            QMutexLocker locker(&m_mutex);
            return m_nNewest;
        }
        QSet<int> all() const
        {
            QMutexLocker locker(&m_mutex);
            return m_numbers;
        }

        ReaderProbe *m_pProbe = nullptr;
        mutable QMutex m_mutex;
        QSet<int> m_numbers; // guarded by m_mutex
        int m_nNewest = 0;   // guarded by m_mutex
    };

    const std::shared_ptr<sShown> m_pShown = std::make_shared<sShown>();
    ScenarioDevice m_device;
    ReaderProbe m_probe;
};

} // namespace

class TestMjpegReaderScenarios : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void spoiltPictureIsFollowedByTheNextGoodOne_data();
    void spoiltPictureIsFollowedByTheNextGoodOne();
    void brokenConnectionIsFollowedByTheNext_data();
    void brokenConnectionIsFollowedByTheNext();
    void whatIsNoBreakLeavesNoWarning_data();
    void whatIsNoBreakLeavesNoWarning();
    void mixtureOfEverythingLeavesNothing_data();
    void mixtureOfEverythingLeavesNothing();
};

void TestMjpegReaderScenarios::spoiltPictureIsFollowedByTheNextGoodOne_data()
{
    QTest::addColumn<int>("outcome");

    // Lost, unless this machine is so slow that both halves are read as one.
    QTest::newRow("split_in_length_word") << int(Any);
    QTest::newRow("split_in_picture") << int(Shown);
    QTest::newRow("split_anywhere") << int(Any);
    QTest::newRow("one_byte_writes") << int(Any);
    QTest::newRow("trailing_header") << int(Null);
    QTest::newRow("length_too_long") << int(Skipped);
    QTest::newRow("length_too_short") << int(Any);
    QTest::newRow("length_wrong") << int(Any);
    QTest::newRow("negative_length") << int(Skipped);
    QTest::newRow("huge_length") << int(Skipped);
    QTest::newRow("gigantic_length") << int(Skipped);
    QTest::newRow("missing_length") << int(Skipped);
    QTest::newRow("lower_case_header") << int(Skipped);
    QTest::newRow("no_line_end_after_boundary") << int(Shown);
    QTest::newRow("no_line_end_after_type") << int(Shown);
    QTest::newRow("no_line_end_after_length") << int(Skipped);
    QTest::newRow("no_line_end_after_picture") << int(Shown);
    QTest::newRow("boundary_in_picture") << int(Shown);
    QTest::newRow("header_in_picture") << int(Null);
    QTest::newRow("truncated_picture") << int(Skipped);
    QTest::newRow("truncated_jpeg") << int(Any);
    QTest::newRow("jpeg_start_marker") << int(Null);
    QTest::newRow("larger_picture") << int(Shown);
    QTest::newRow("png_picture") << int(Shown);
    QTest::newRow("bmp_picture") << int(Shown);
    QTest::newRow("dimension_bomb_jpeg") << int(Null);
    QTest::newRow("dimension_bomb_png") << int(Null);
    QTest::newRow("dimension_bomb_bmp") << int(Null);
    QTest::newRow("dimension_bomb_gif") << int(Null);
    QTest::newRow("dimension_bomb_ppm") << int(Null);
    QTest::newRow("scan_bomb") << int(Null);
    QTest::newRow("text_bomb") << int(Null);
    QTest::newRow("empty_picture") << int(Skipped);
    QTest::newRow("random_bytes") << int(Shown);
}

void TestMjpegReaderScenarios::spoiltPictureIsFollowedByTheNextGoodOne()
{
    constexpr int Faults = 2;
    QFETCH(int, outcome);

    LogCapture log;
    ScenarioProbe run(QString::fromLatin1(QTest::currentDataTag()));
    QTRY_VERIFY_WITH_TIMEOUT(run.newestShown() > 0, LongWait);
    if (outcome == Null)
        QTRY_VERIFY_WITH_TIMEOUT(run.probe().isFrameNull(), LongWait);
    if (outcome == Shown)
        QTRY_VERIFY_WITH_TIMEOUT(run.isSpoiltShown(), LongWait);
    QTRY_VERIFY_WITH_TIMEOUT(run.device().faultCount() >= Faults, LongWait);
    const int nLast = run.device().pictureCount();
    QTRY_VERIFY_WITH_TIMEOUT(run.newestShown() > nLast && !isSpoilt(run.newestShown()), LongWait);
    if (outcome == Null || outcome == Skipped)
        QVERIFY(!run.isSpoiltShown());
    QCOMPARE(run.device().acceptedCount(), 1);
    QCOMPARE(log.count(ReadWarning), 0);
    QCOMPARE(log.count(ConnectWarning), 0);
}

void TestMjpegReaderScenarios::brokenConnectionIsFollowedByTheNext_data()
{
    QTest::addColumn<QString>("reason");

    const QString strClosed = QStringLiteral("\"The remote host closed the connection\"");
    const QString strTimedOut = QStringLiteral("timed out\"");
    QTest::newRow("close") << strClosed;
    QTest::newRow("reset") << strClosed;
    QTest::newRow("flap") << strClosed;
    QTest::newRow("refuse") << strClosed;
    QTest::newRow("silence") << strTimedOut;
    QTest::newRow("mute") << strTimedOut;
}

void TestMjpegReaderScenarios::brokenConnectionIsFollowedByTheNext()
{
    QFETCH(QString, reason);

    LogCapture log;
    ScenarioProbe run(QString::fromLatin1(QTest::currentDataTag()));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(ReadWarning), 1, LongWait);
    const QString strWarning = log.linesWith(ReadWarning).constFirst();
    QVERIFY2(strWarning.endsWith(reason), qPrintable(strWarning));
    QCOMPARE(run.device().faultCount(), 1);
    const int nLast = run.device().pictureCount();
    const auto isNextShown = [&] {
        if (run.device().acceptedCount() == 1)
            run.endBackOff();
        return run.newestShown() > nLast;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isNextShown(), LongWait);
    QCOMPARE(run.device().acceptedCount(), 2);
}

void TestMjpegReaderScenarios::whatIsNoBreakLeavesNoWarning_data()
{
    QTest::addColumn<int>("pictures"); // that it lasts for

    QTest::newRow("short_silence") << 4;
    QTest::newRow("flood") << 5;
}

void TestMjpegReaderScenarios::whatIsNoBreakLeavesNoWarning()
{
    QFETCH(int, pictures);

    LogCapture log;
    ScenarioProbe run(QString::fromLatin1(QTest::currentDataTag()));
    QTRY_COMPARE_WITH_TIMEOUT(run.device().faultCount(), 1, LongWait);
    const int nLast = run.device().pictureCount() + pictures;
    QTRY_VERIFY_WITH_TIMEOUT(run.newestShown() > nLast, LongWait);
    QCOMPARE(run.device().acceptedCount(), 1);
    QCOMPARE(log.count(ReadWarning), 0);
}

void TestMjpegReaderScenarios::mixtureOfEverythingLeavesNothing_data()
{
    QTest::addColumn<bool>("isBreaking");

    QTest::newRow("anything") << false;
    QTest::newRow("anything_and_breaks") << true;
}

void TestMjpegReaderScenarios::mixtureOfEverythingLeavesNothing()
{
    constexpr qint64 MostMemory = 300 * 1024 * 1024;
    constexpr int Faults = 60;
    QFETCH(bool, isBreaking);

    LogCapture log;
    const int nThreads = threadCount();
    const int nFiles = openFileCount();
    const qint64 nMemory = peakMemory();
    {
        ScenarioProbe run(QString::fromLatin1(QTest::currentDataTag()), 20);
        const auto isAt = [&](int nNumber, int nFaults) {
            if (isBreaking)
                run.endBackOff();
            return run.newestShown() > nNumber && run.device().faultCount() >= nFaults;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isAt(0, Faults), 2 * LongWait);
        const int nLast = run.device().pictureCount();
        QTRY_VERIFY_WITH_TIMEOUT(isAt(nLast, Faults), LongWait);
    }
    const qint64 nGrowth = peakMemory() - nMemory;
    QVERIFY2(nGrowth < MostMemory, qPrintable(QString::number(nGrowth)));
    // Threads of an earlier case may have been about to end.
    QTRY_VERIFY(threadCount() <= nThreads);
    QTRY_VERIFY(openFileCount() <= nFiles);
}

QTEST_GUILESS_MAIN(TestMjpegReaderScenarios)
#include "tst_mjpegreader_scenarios.moc"
