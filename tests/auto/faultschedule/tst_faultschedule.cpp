// Which faults come with which picture of a connection.

#include <faultschedule.h>

#include <QtTest>

using namespace Morvek::Tools;

namespace {

sPlannedFault planned(eFault kind, eClock clock, int nAt, int nEvery = 0, int nConnection = 0)
{
    sPlannedFault result;
    result.m_fault.m_eFault = kind;
    result.m_eClock = clock;
    result.m_nAt = nAt;
    result.m_nEvery = nEvery;
    result.m_nConnection = nConnection;
    return result;
}

sScenario scenarioOf(const QList<sPlannedFault> &faults)
{
    sScenario scenario;
    scenario.m_faults = faults;
    return scenario;
}

sScenario randomScenario(quint32 nSeed, int nPercent)
{
    sScenario scenario;
    scenario.m_nSeed = nSeed;
    scenario.m_nPercent = nPercent;
    for (const eFault kind : {eFault::Split, eFault::Silence, eFault::EmptyPicture}) {
        sFault fault;
        fault.m_eFault = kind;
        scenario.m_randomFaults.append(fault);
    }
    return scenario;
}

// Numbers of the pictures that a fault comes with, one picture coming every 10 ms from 0 on.
QList<int> picturesWithFaults(FaultSchedule schedule, int nPictures)
{
    QList<int> numbers;
    for (int i = 1; i <= nPictures; ++i) {
        const sPicturePlan plan = schedule.next((i - 1) * 10);
        if (!plan.m_before.isEmpty() || plan.m_inPicture)
            numbers.append(i);
    }
    return numbers;
}

QList<int> kindsOf(const sPicturePlan &plan)
{
    QList<int> kinds;
    for (const sFault &fault : plan.m_before)
        kinds.append(int(fault.m_eFault));
    if (plan.m_inPicture)
        kinds.append(int(plan.m_inPicture->m_eFault));
    return kinds;
}

} // namespace

class tst_FaultSchedule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void faultComesAtItsTime_data();
    void faultComesAtItsTime();
    void missedTimesAreNotMadeUpFor();
    void faultsBetweenPicturesComeFirst();
    void faultsOfOtherConnectionsStayAway();
    void sameSeedGivesTheSameFaults();
    void asManyFaultsAsPercent_data();
    void asManyFaultsAsPercent();
};

void tst_FaultSchedule::faultComesAtItsTime_data()
{
    QTest::addColumn<int>("clock");
    QTest::addColumn<int>("at");
    QTest::addColumn<int>("every");
    QTest::addColumn<QList<int>>("pictures");

    const auto addRow = [](const char *pName, eClock clock, int nAt, int nEvery,
                           const QList<int> &pictures) {
        QTest::newRow(pName) << int(clock) << nAt << nEvery << pictures;
    };
    addRow("first picture", eClock::Picture, 1, 0, {1});
    addRow("fourth picture", eClock::Picture, 4, 0, {4});
    addRow("every picture", eClock::Picture, 1, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    addRow("every third picture from the second", eClock::Picture, 2, 3, {2, 5, 8});
    addRow("picture that never comes", eClock::Picture, 11, 0, {});
    addRow("time of a picture", eClock::Connection, 30, 0, {4});
    addRow("time between pictures", eClock::Connection, 31, 0, {5});
    addRow("at once", eClock::Connection, 0, 0, {1});
    addRow("again after 35 ms", eClock::Connection, 5, 35, {2, 5, 9});
    addRow("more often than pictures", eClock::Connection, 70, 3, {8, 9, 10});
    addRow("clock of all connections", eClock::Start, 0, 1, {});
}

void tst_FaultSchedule::faultComesAtItsTime()
{
    QFETCH(int, clock);
    QFETCH(int, at);
    QFETCH(int, every);
    QFETCH(QList<int>, pictures);

    const sScenario scenario = scenarioOf({planned(eFault::Close, eClock(clock), at, every)});
    QCOMPARE(picturesWithFaults(FaultSchedule(scenario, 1), 10), pictures);
}

void tst_FaultSchedule::missedTimesAreNotMadeUpFor()
{
    FaultSchedule schedule(scenarioOf({planned(eFault::Close, eClock::Connection, 10, 10)}), 1);
    QCOMPARE(schedule.next(95).m_before.size(), 1);
    QCOMPARE(schedule.next(99).m_before.size(), 0);
    QCOMPARE(schedule.next(100).m_before.size(), 1);
    QCOMPARE(schedule.next(109).m_before.size(), 0);
}

void tst_FaultSchedule::faultsBetweenPicturesComeFirst()
{
    FaultSchedule schedule(scenarioOf({planned(eFault::ScanBomb, eClock::Picture, 1),
                                       planned(eFault::RandomBytes, eClock::Picture, 1),
                                       planned(eFault::EmptyPicture, eClock::Picture, 1),
                                       planned(eFault::Silence, eClock::Connection, 0)}),
                           1);
    QCOMPARE(kindsOf(schedule.next(0)),
             (QList<int>{int(eFault::RandomBytes), int(eFault::Silence), int(eFault::ScanBomb)}));
    QCOMPARE(kindsOf(schedule.next(0)), QList<int>());
}

void tst_FaultSchedule::faultsOfOtherConnectionsStayAway()
{
    const sScenario scenario = scenarioOf({planned(eFault::Close, eClock::Picture, 1, 0, 2),
                                           planned(eFault::Close, eClock::Picture, 3, 0, 0)});
    QCOMPARE(picturesWithFaults(FaultSchedule(scenario, 1), 5), QList<int>{3});
    QCOMPARE(picturesWithFaults(FaultSchedule(scenario, 2), 5), (QList<int>{1, 3}));
}

void tst_FaultSchedule::sameSeedGivesTheSameFaults()
{
    const auto kinds = [](quint32 nSeed, int nConnection) {
        FaultSchedule schedule(randomScenario(nSeed, 50), nConnection);
        QList<int> result;
        for (int i = 0; i < 200; ++i)
            result += kindsOf(schedule.next(0)) + QList<int>{-1};
        return result;
    };
    QCOMPARE(kinds(1, 1), kinds(1, 1));
    QVERIFY(kinds(1, 1) != kinds(2, 1));
    QVERIFY(kinds(1, 1) != kinds(1, 2));
    for (const eFault kind : {eFault::Split, eFault::Silence, eFault::EmptyPicture})
        QVERIFY(kinds(1, 1).contains(int(kind)));
}

void tst_FaultSchedule::asManyFaultsAsPercent_data()
{
    QTest::addColumn<int>("percent");

    QTest::newRow("none") << 0;
    QTest::newRow("one in five") << 20;
    QTest::newRow("all") << 100;
}

void tst_FaultSchedule::asManyFaultsAsPercent()
{
    QFETCH(int, percent);

    const FaultSchedule schedule(randomScenario(3, percent), 1);
    const int nFaults = picturesWithFaults(schedule, 10'000).size();
    QVERIFY2(qAbs(nFaults - percent * 100) <= 200, qPrintable(QString::number(nFaults)));
    if (percent == 0 || percent == 100)
        QCOMPARE(nFaults, percent * 100);
}

QTEST_APPLESS_MAIN(tst_FaultSchedule)
#include "tst_faultschedule.moc"
