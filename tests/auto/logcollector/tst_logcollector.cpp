#include <logcollector.h>
#include <logview.h>

#include "logcapture.h"

#include <QSignalSpy>
#include <QtTest>

#include <thread>
#include <vector>

using namespace Morvek::Tools;
using Morvek::Tests::LogCapture;

class tst_LogCollector : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTextLevelAndPlace();
    void theRingIsBounded();
    void threadsLogAtOnce();
    void warningsGoOnToTheHandlerBefore();
    void arrivalsAreToldTogether();
    void theModelShowsTheNewestOfALevel();
};

void tst_LogCollector::keepsTextLevelAndPlace()
{
    LogCollector log;
    const qint64 nBefore = steadyMs();
    const int nLine = __LINE__ + 1;
    qDebug("hello %d", 7);
    const qint64 nAfter = steadyMs();
    const QList<sLogEntry> entries = log.entriesAfter(0);
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries[0].m_strText, QStringLiteral("hello 7"));
    QVERIFY(entries[0].m_nSteadyMs >= nBefore && entries[0].m_nSteadyMs <= nAfter);
    QCOMPARE(entries[0].m_eType, QtDebugMsg);
    QCOMPARE(entries[0].place(), QStringLiteral("tst_logcollector.cpp:%1").arg(nLine));
    QVERIFY(entries[0].m_strFunction.contains(QStringLiteral("keepsTextLevelAndPlace")));
    QVERIFY(log.entriesAfter(1).isEmpty());
}

void tst_LogCollector::theRingIsBounded()
{
    LogCollector log(10);
    for (int nMessage = 1; nMessage <= 1000; ++nMessage)
        qDebug("%d", nMessage);
    QCOMPARE(log.count(), qint64(1000));
    const QList<sLogEntry> all = log.entriesAfter(0);
    QCOMPARE(all.size(), 10);
    QCOMPARE(all.first().m_strText, QStringLiteral("991"));
    QCOMPARE(log.entriesAfter(997).size(), 3);
    QCOMPARE(log.entriesAfter(997).first().m_nNumber, qint64(998));
}

void tst_LogCollector::threadsLogAtOnce()
{
    LogCollector log(100000);
    std::vector<std::thread> threads;
    for (int nThread = 0; nThread < 4; ++nThread)
        threads.emplace_back([nThread] {
            for (int nMessage = 0; nMessage < 500; ++nMessage)
                qDebug("%d %d", nThread, nMessage);
        });
    for (std::thread &thread : threads)
        thread.join();
    const QList<sLogEntry> entries = log.entriesAfter(0);
    QCOMPARE(entries.size(), 2000);
    // Each thread's messages in its order.
    QVector<int> next(4);
    for (const sLogEntry &entry : entries) {
        const QStringList numbers = entry.m_strText.split(QLatin1Char(' '));
        QCOMPARE(numbers[1].toInt(), next[numbers[0].toInt()]++);
    }
}

void tst_LogCollector::warningsGoOnToTheHandlerBefore()
{
    LogCapture before;
    {
        LogCollector log;
        qDebug("quiet");
        qWarning("loud");
        QCOMPARE(log.count(), qint64(2));
    }
    QCOMPARE(before.count(QStringLiteral("loud")), 1);
    QCOMPARE(before.count(QStringLiteral("quiet")), 0);
    qDebug("afterwards");
    QCOMPARE(before.count(QStringLiteral("afterwards")), 1);
}

void tst_LogCollector::arrivalsAreToldTogether()
{
    LogCollector log;
    QSignalSpy arrived(&log, &LogCollector::arrived);
    for (int nMessage = 0; nMessage < 100; ++nMessage)
        qDebug("%d", nMessage);
    QCOMPARE(arrived.count(), 0);
    QTRY_COMPARE(arrived.count(), 1);
    qDebug("more");
    QTRY_COMPARE(arrived.count(), 2);
}

void tst_LogCollector::theModelShowsTheNewestOfALevel()
{
    LogCapture quiet; // takes what the collector passes on
    LogCollector log(5000);
    LogModel model(log);
    for (int nMessage = 0; nMessage < 3 * LogModel::MaxRows; ++nMessage) {
        if (nMessage % 2 == 0)
            qDebug("debug %d", nMessage);
        else
            qWarning("warning %d", nMessage);
        if (nMessage % 700 == 0)
            model.refresh();
    }
    model.refresh();
    QCOMPARE(model.rowCount(), int(LogModel::MaxRows));
    const auto text = [&](int nRow) {
        return model.data(model.index(nRow, 2), Qt::DisplayRole).toString();
    };
    QCOMPARE(text(LogModel::MaxRows - 1),
             QStringLiteral("warning %1").arg(3 * LogModel::MaxRows - 1));
    model.setSeverity(2);
    QCOMPARE(model.rowCount(), int(LogModel::MaxRows));
    for (int nRow = 0; nRow < model.rowCount(); ++nRow)
        QVERIFY(text(nRow).startsWith(QStringLiteral("warning")));
    QVERIFY(model.data(model.index(0, 1), Qt::DisplayRole)
                .toString()
                .contains(QStringLiteral("warning")));
}

QTEST_MAIN(tst_LogCollector)
#include "tst_logcollector.moc"
