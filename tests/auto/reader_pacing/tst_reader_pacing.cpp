// The wait between two passes of a reader that polls its source.

#include <pixmapreader_p.h>

#include <QElapsedTimer>
#include <QImage>
#include <QThread>
#include <QtTest>

#include <limits>
#include <memory>
#include <mutex>

using Morvek::EchoVideo::Internal::LocalUSBReader;

namespace {

constexpr int LongWait = 30000; // ms; far more than anything here takes

} // namespace

class TestReaderPacing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPassWaitsForTheRestOfItsInterval_data();
    void aPassWaitsForTheRestOfItsInterval();
    void aPausedPassWaitsWithoutALimit();
    void aWakeUpEndsTheWait_data();
    void aWakeUpEndsTheWait();

private:
    qint64 timeOfPass(quint8 nFps, qint64 nWorkMs);

    QImage m_image;
    LocalUSBReader m_reader{m_image};
};

/** How long one wait takes, in ms. */
qint64 TestReaderPacing::timeOfPass(quint8 nFps, qint64 nWorkMs)
{
    QElapsedTimer timer;
    timer.start();
    m_reader.waitForNextPass(nFps, nWorkMs);
    return timer.elapsed();
}

void TestReaderPacing::aPassWaitsForTheRestOfItsInterval_data()
{
    QTest::addColumn<quint8>("nFps");
    QTest::addColumn<qint64>("nWorkMs");
    QTest::addColumn<int>("nExpected");
    const auto row = [](const char *pName, int nFps, qint64 nWorkMs, int nExpected) {
        QTest::newRow(pName) << quint8(nFps) << nWorkMs << nExpected;
    };
    row("no rate", 0, 0, 100);
    row("no rate, some work", 0, 60, 40);
    row("25 a second", 25, 0, 40);
    row("25 a second, some work", 25, 20, 20);
    row("1 a second, nearly all worked", 1, 985, 15);
    row("intervals are whole: 60 a second", 60, 0, 16);
    row("just not late", 25, 29, 11);
    row("just late", 25, 30, 100);
    row("late by far", 25, 5000, 100);
    row("90 a second: never late at once", 90, 0, 11);
    row("91 a second: always late", 91, 0, 100);
    row("255 a second", 255, 0, 100);
    row("clock set back by an hour", 25, -3'600'000, 40);
    row("clock set back to the beginning", 25, std::numeric_limits<qint64>::min(), 40);
    row("clock set forward by an hour", 25, 3'600'000, 100);
    row("clock set forward to the end", 25, std::numeric_limits<qint64>::max(), 100);
}

void TestReaderPacing::aPassWaitsForTheRestOfItsInterval()
{
    QFETCH(quint8, nFps);
    QFETCH(qint64, nWorkMs);
    QFETCH(int, nExpected);
    // A busy machine makes a wait longer, never shorter; one of several comes out right.
    qint64 nShortest = LongWait;
    for (int i = 0; i < 50 && nShortest > nExpected + 20; ++i) {
        const qint64 nMs = timeOfPass(nFps, nWorkMs);
        QVERIFY2(nMs >= nExpected - 1, qPrintable(QString::number(nMs)));
        nShortest = qMin(nShortest, nMs);
    }
    QVERIFY2(nShortest <= nExpected + 20, qPrintable(QString::number(nShortest)));
}

void TestReaderPacing::aPausedPassWaitsWithoutALimit()
{
    m_reader.pauseRead();
    const std::unique_ptr<QThread> pThread(
        QThread::create([this] { m_reader.waitForNextPass(90, 0); }));
    pThread->start();
    QVERIFY(!pThread->wait(500)); // 11 ms if it were not for the pause
    m_reader.m_isPauseRead = false;
    m_reader.m_cvStopRead.notify_all();
    QVERIFY(pThread->wait(LongWait));
}

void TestReaderPacing::aWakeUpEndsTheWait_data()
{
    QTest::addColumn<bool>("isToBePaused");
    QTest::newRow("between passes") << false;
    QTest::newRow("while paused") << true;
}

// Any wake-up: whoever waits looks at the flags afterwards.
void TestReaderPacing::aWakeUpEndsTheWait()
{
    QFETCH(bool, isToBePaused);
    m_reader.m_isPauseRead = isToBePaused;
    qint64 nShortest = LongWait;
    for (int i = 0; i < 20 && nShortest >= 900; ++i) {
        const std::unique_ptr<QThread> pThread(
            QThread::create([this] { m_reader.waitForNextPass(1, 0); }));
        QElapsedTimer timer;
        timer.start();
        pThread->start();
        while (!pThread->wait(1))
            m_reader.m_cvStopRead.notify_all();
        nShortest = qMin(nShortest, timer.elapsed());
    }
    m_reader.m_isPauseRead = false;
    QVERIFY2(nShortest < 900, qPrintable(QString::number(nShortest))); // of 1000, or for ever
}

QTEST_GUILESS_MAIN(TestReaderPacing)
#include "tst_reader_pacing.moc"
