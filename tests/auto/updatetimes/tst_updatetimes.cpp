// What is remembered of the records' times, against asking the times themselves.

#include <updatetimes_p.h>

#include <QtTest>

#include <limits>
#include <random>

using Morvek::EchoVideo::Internal::UpdateTimes;

namespace {

// Between two looks at the clock a little time passes, on a machine that is busy more.
bool isNear(int nMs, qint64 nExpected)
{
    constexpr int MostBetweenTwoLooks = 5000; // ms
    return nMs >= nExpected && nMs <= nExpected + MostBetweenTwoLooks;
}

} // namespace

class TestUpdateTimes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTimeThatChangesIsNoticed();
    void anyPlaceMayHaveAnyTime();
    void nowIsTheTimeNow();
    void timesFollowTheirRecordToTheEnd();
    void anInvalidTimeIsNow();
    void aTimeAheadCountsAsOneBehind();
    void longTimesSaturate();
    void bothHoursOfTheClockSetBackAreTold();
};

void TestUpdateTimes::aTimeThatChangesIsNoticed()
{
    UpdateTimes times;
    const QDateTime now = QDateTime::currentDateTime();
    QVERIFY(isNear(times.millisecondsSince(0, now.addSecs(-100)), 100000));
    QVERIFY(isNear(times.millisecondsSince(0, now.addSecs(-100)), 100000));
    QVERIFY(isNear(times.millisecondsSince(0, now.addSecs(-300)), 300000));
}

void TestUpdateTimes::anyPlaceMayHaveAnyTime()
{
    UpdateTimes times;
    std::mt19937 random(9);
    const QDateTime now = QDateTime::currentDateTime();
    for (int nStep = 0; nStep < 100000; ++nStep) {
        const qint64 nSeconds = 100 * qint64(random() % 20);
        const int nPlace = int(random() % 10);
        QVERIFY(isNear(times.millisecondsSince(nPlace, now.addSecs(-nSeconds)), nSeconds * 1000));
        if (random() % 4 == 0)
            times.moveToEnd(int(random() % 10), 10);
    }
}

void TestUpdateTimes::nowIsTheTimeNow()
{
    UpdateTimes times;
    const QDateTime before = QDateTime::currentDateTime();
    const QDateTime now = times.now(3);
    QVERIFY(before <= now && now <= QDateTime::currentDateTime());
    QCOMPARE(now.timeSpec(), Qt::LocalTime);
    QVERIFY(isNear(times.millisecondsSince(3, now), 0));
    // And goes on.
    QTRY_VERIFY(times.now(3) > now);
    QVERIFY(times.now(2) <= QDateTime::currentDateTime());
}

void TestUpdateTimes::timesFollowTheirRecordToTheEnd()
{
    UpdateTimes times;
    const QDateTime now = times.now(1);
    times.moveToEnd(1, 4);
    QVERIFY(isNear(times.millisecondsSince(3, now), 0));
}

void TestUpdateTimes::anInvalidTimeIsNow()
{
    UpdateTimes times;
    QCOMPARE(times.millisecondsSince(0, QDateTime()), 0);
}

void TestUpdateTimes::aTimeAheadCountsAsOneBehind()
{
    UpdateTimes times;
    const int nMs = times.millisecondsSince(0, QDateTime::currentDateTime().addSecs(3600));
    QVERIFY(nMs <= 3600000 && nMs > 3500000);
}

void TestUpdateTimes::longTimesSaturate()
{
    UpdateTimes times;
    const QDateTime longAgo = QDateTime::currentDateTime().addDays(-60);
    QCOMPARE(times.millisecondsSince(0, longAgo), std::numeric_limits<int>::max());
}

// The same time by the clock on the wall, an hour apart.
void TestUpdateTimes::bothHoursOfTheClockSetBackAreTold()
{
    qputenv("TZ", "Europe/Berlin");
    const qint64 nFirst = QDateTime(QDate(2020, 10, 25), QTime(0, 30), Qt::UTC).toMSecsSinceEpoch();
    const QDateTime first = QDateTime::fromMSecsSinceEpoch(nFirst);
    const QDateTime second = QDateTime::fromMSecsSinceEpoch(nFirst + 3600000);
    if (first.time() != second.time())
        QSKIP("this machine does not know the time zone");
    QVERIFY(first != second); // what is remembered of the one is not taken for the other's
    qunsetenv("TZ");
}

QTEST_APPLESS_MAIN(TestUpdateTimes)
#include "tst_updatetimes.moc"
