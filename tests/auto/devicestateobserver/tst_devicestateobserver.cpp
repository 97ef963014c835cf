#include <devicestateobserver.h>
#include <figures.h>

#include <QtTest>

using namespace Morvek::Tools;

namespace {

constexpr qint64 Start = 1700000000; // on the clock that does not jump

/** The library's lines, as they come out of its logger. */
sLogEntry warning(const QString &strText, qint64 nTimeMs)
{
    sLogEntry entry;
    entry.m_nSteadyMs = nTimeMs;
    entry.m_eType = QtWarningMsg;
    entry.m_strText = strText;
    return entry;
}

sLogEntry readFailed(qint64 nTimeMs)
{
    return warning(QStringLiteral("Read echo video from  \"127.0.0.1\" : 8554  timeout. "
                                  "\"The remote host closed the connection\""),
                   nTimeMs);
}

sLogEntry connectFailed(qint64 nTimeMs)
{
    return warning(QStringLiteral("Connect to  \"127.0.0.1\" : 8554  mjpeg server timeout. "
                                  "\"Connection refused\""),
                   nTimeMs);
}

/** An observer of a device that was just asked to be read. */
DeviceStateObserver reading()
{
    DeviceStateObserver observer;
    observer.setWanted(true, eReading::Reading);
    observer.restart(Start);
    return observer;
}

} // namespace

class tst_DeviceStateObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatTheHostWantsGoesFirst();
    void connectingUntilAPictureComes();
    void aRefusalIsToldWhileConnecting();
    void silentWithoutAnyWord();
    void backsOffAfterAFailedRead();
    void aPictureEndsTheBackOff();
    void aLatePictureDoesNot();
    void settingTheTimeChangesNothing();
    void reconnectingEndsTheBackOff();
    void linesFromBeforeDoNotCount();
    void otherLinesDoNotCount();
    void aFileThatCannotBePlayedStaysTold();
    void framesAreCountedAndMissed();
    void seriesKeepAMinute();
};

void tst_DeviceStateObserver::whatTheHostWantsGoesFirst()
{
    DeviceStateObserver observer = reading();
    observer.addPicture(Start + 100);
    observer.setWanted(true, eReading::Paused);
    QCOMPARE(observer.status(Start + 200).m_eState, eDeviceState::Paused);
    observer.setWanted(true, eReading::Stopped);
    QCOMPARE(observer.status(Start + 200).m_eState, eDeviceState::Stopped);
    observer.setWanted(false, eReading::Reading);
    QCOMPARE(observer.status(Start + 200).m_eState, eDeviceState::Offline);
    observer.setWanted(true, eReading::Reading);
    QCOMPARE(observer.status(Start + 200).m_eState, eDeviceState::Streaming);
}

void tst_DeviceStateObserver::connectingUntilAPictureComes()
{
    DeviceStateObserver observer = reading();
    QCOMPARE(observer.status(Start).m_eState, eDeviceState::Connecting);
    QCOMPARE(observer.status(Start + 3600000).m_eState, eDeviceState::Connecting);
    observer.addPicture(Start + 100);
    QCOMPARE(observer.status(Start + 100).m_eState, eDeviceState::Streaming);
    QVERIFY(observer.status(Start + 100).m_strReason.isEmpty());
}

void tst_DeviceStateObserver::aRefusalIsToldWhileConnecting()
{
    DeviceStateObserver observer = reading();
    observer.addLog(connectFailed(Start + 10));
    const sDeviceStatus status = observer.status(Start + 20);
    QCOMPARE(status.m_eState, eDeviceState::Connecting);
    QVERIFY(status.m_strReason.contains(QStringLiteral("Connection refused")));
    observer.addPicture(Start + 2000);
    QVERIFY(observer.status(Start + 2000).m_strReason.isEmpty());
}

void tst_DeviceStateObserver::silentWithoutAnyWord()
{
    DeviceStateObserver observer = reading();
    observer.addPicture(Start);
    QCOMPARE(observer.status(Start + 2999).m_eState, eDeviceState::Streaming);
    QCOMPARE(observer.status(Start + 3000).m_eState, eDeviceState::Silent);
    observer.addPicture(Start + 5000);
    QCOMPARE(observer.status(Start + 5000).m_eState, eDeviceState::Streaming);
}

void tst_DeviceStateObserver::backsOffAfterAFailedRead()
{
    DeviceStateObserver observer = reading();
    observer.addPicture(Start);
    observer.addLog(readFailed(Start + 1000));
    sDeviceStatus status = observer.status(Start + 1000);
    QCOMPARE(status.m_eState, eDeviceState::BackingOff);
    QCOMPARE(status.m_nSecondsLeft, 60);
    QVERIFY(status.m_strReason.startsWith(QStringLiteral("Read echo video from")));
    QCOMPARE(observer.status(Start + 31000).m_nSecondsLeft, 30);
    status = observer.status(Start + 60999);
    QCOMPARE(status.m_eState, eDeviceState::BackingOff);
    QCOMPARE(status.m_nSecondsLeft, 1);
    QCOMPARE(observer.status(Start + 61000).m_eState, eDeviceState::Connecting);
    // The next attempt is refused, and the one after that answered.
    observer.addLog(connectFailed(Start + 61500));
    QCOMPARE(observer.status(Start + 61500).m_eState, eDeviceState::Connecting);
    observer.addPicture(Start + 63000);
    QCOMPARE(observer.status(Start + 63000).m_eState, eDeviceState::Streaming);
}

void tst_DeviceStateObserver::aPictureEndsTheBackOff()
{
    DeviceStateObserver observer = reading();
    observer.addLog(readFailed(Start + 1000));
    observer.addPicture(Start + 9000);
    QCOMPARE(observer.status(Start + 9000).m_eState, eDeviceState::Streaming);
}

void tst_DeviceStateObserver::aLatePictureDoesNot()
{
    DeviceStateObserver observer = reading();
    observer.addLog(readFailed(Start + 1000));
    observer.addPicture(Start + 1200);
    QCOMPARE(observer.status(Start + 1200).m_eState, eDeviceState::BackingOff);
}

void tst_DeviceStateObserver::settingTheTimeChangesNothing()
{
    DeviceStateObserver observer = reading();
    sLogEntry failed = readFailed(Start + 1000);
    for (qint64 nTimeOfDayMs : {Start - 3600000, Start + 3600000}) {
        failed.m_nTimeMs = nTimeOfDayMs;
        observer.addLog(failed);
        QCOMPARE(observer.status(Start + 1000).m_eState, eDeviceState::BackingOff);
        QCOMPARE(observer.status(Start + 1000).m_nSecondsLeft, 60);
    }
}

void tst_DeviceStateObserver::reconnectingEndsTheBackOff()
{
    DeviceStateObserver observer = reading();
    observer.addLog(readFailed(Start + 1000));
    observer.restart(Start + 5000);
    QCOMPARE(observer.status(Start + 5000).m_eState, eDeviceState::Connecting);
    QVERIFY(observer.status(Start + 5000).m_strReason.isEmpty());
}

void tst_DeviceStateObserver::linesFromBeforeDoNotCount()
{
    DeviceStateObserver observer = reading();
    observer.addLog(readFailed(Start - 1));
    QCOMPARE(observer.status(Start).m_eState, eDeviceState::Connecting);
}

void tst_DeviceStateObserver::otherLinesDoNotCount()
{
    DeviceStateObserver observer = reading();
    observer.addPicture(Start);
    observer.addLog(warning(QStringLiteral("The layer  7  alpha map is invalid"), Start + 10));
    sLogEntry debug = readFailed(Start + 10);
    debug.m_eType = QtDebugMsg;
    observer.addLog(debug);
    QCOMPARE(observer.status(Start + 20).m_eState, eDeviceState::Streaming);
    QVERIFY(observer.status(Start + 20).m_strReason.isEmpty());
}

void tst_DeviceStateObserver::aFileThatCannotBePlayedStaysTold()
{
    DeviceStateObserver observer = reading();
    observer.addLog(warning(QStringLiteral("Cannot open /a.yuv for reading: No such file"), Start));
    observer.addPicture(Start + 100);
    // Stripes come, and go on coming, but are no video.
    QCOMPARE(observer.status(Start + 100).m_eState, eDeviceState::MadeUp);
    QVERIFY(observer.status(Start + 100).m_strReason.contains(QStringLiteral("/a.yuv")));
    QCOMPARE(observer.status(Start + 9000).m_eState, eDeviceState::MadeUp);
    observer.restart(Start + 10000); // another file, or another source
    observer.addPicture(Start + 10100);
    QCOMPARE(observer.status(Start + 10100).m_eState, eDeviceState::Streaming);
}

void tst_DeviceStateObserver::framesAreCountedAndMissed()
{
    FrameCounter counter;
    for (quint32 nFrame : {65533u, 65534u, 65534u, 1u, 2u, 6u})
        counter.add(nFrame); // 65535 and 0 missed, then 3, 4 and 5
    QCOMPARE(counter.seen(), qint64(5));
    QCOMPARE(counter.dropped(), qint64(5));
    counter.add(4);     // a device that began anew
    counter.add(20000); // and another one
    QCOMPARE(counter.seen(), qint64(7));
    QCOMPARE(counter.dropped(), qint64(5));
}

void tst_DeviceStateObserver::seriesKeepAMinute()
{
    Series series;
    QVERIFY(!series.last());
    for (int nSample = 0; nSample < 3 * Series::Capacity; ++nSample)
        series.add(nSample);
    QCOMPARE(series.values().size(), int(Series::Capacity));
    QCOMPARE(series.values().first(), 2.0 * Series::Capacity);
    QCOMPARE(*series.last(), 3.0 * Series::Capacity - 1);
    series.add(std::nullopt);
    QVERIFY(!series.last());
    QCOMPARE(Series::Capacity * Series::SampleIntervalMs, 60000);
}

QTEST_GUILESS_MAIN(tst_DeviceStateObserver)
#include "tst_devicestateobserver.moc"
