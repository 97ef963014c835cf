// Which layer is handed out next, and when.

#include "renderstage.h"
#include "testpictures.h"

#include <layervideomanager.h>

#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;

namespace {

constexpr qint64 Minute = 60 * 1000;
constexpr qint64 Day = 24 * 60 * Minute;

QDateTime fromNow(qint64 nMilliseconds)
{
    return QDateTime::currentDateTime().addMSecs(nMilliseconds);
}

// A layer whose first preview was stored, last updated a minute ago: due at any rate.
sLayerVideoConfig renderedLayer(quint8 nLayer)
{
    sLayerVideoConfig record = makeLayer(nLayer);
    record.m_isFirstRendered = true;
    record.m_lastUpdateDateTime = fromNow(-Minute);
    return record;
}

QList<int> layerNumbers(const LayerVideoManager &manager)
{
    QList<int> numbers;
    for (const sLayerVideoConfig &record : manager.m_LayerVideoConfigs)
        numbers.append(record.m_LayerIdentifies.layerId);
    return numbers;
}

// The number of the layer that is handed out; 0 for none.
int takeLayer(LayerVideoManager &manager, int nFps)
{
    sLayerVideoConfig taken;
    return manager.getUnusedLayerVideoConfig(taken, nFps) ? taken.m_LayerIdentifies.layerId : 0;
}

void finishLayer(LayerVideoManager &manager, int nLayer)
{
    manager.refreshLayerVideo(layerKey(quint8(nLayer)), solidPicture(QSize(8, 6), Qt::blue));
}

} // namespace

class tst_LayerStorePacing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyStoreHandsOutNothing();
    void newLayersComeInOrderOnce();
    void newLayerNeedsNoSignalAndNoInterval();
    void takenRecordIsMarkedAndDated();
    void takenRecordMovesToTheEnd();
    void firstDueRecordOfTheListIsTaken();
    void recordsBeingRenderedAreSkipped();
    void intervalDecides_data();
    void intervalDecides();
    void finishingStartsTheIntervalAnew();
    void signalDecides_data();
    void signalDecides();
    void layerWithoutSignalComesBackOnceItIsSetAnew();
    void permissionOfTheRecordDecidesNothing();
    void layerSetWhileItIsRenderedIsDueAtOnce();
    void everyLayerIsServedBeforeAnyIsServedTwice_data();
    void everyLayerIsServedBeforeAnyIsServedTwice();
};

void tst_LayerStorePacing::emptyStoreHandsOutNothing()
{
    LayerVideoManager manager({});
    sLayerVideoConfig taken = makeLayer(9);
    QVERIFY(!manager.getUnusedLayerVideoConfig(taken, 25));
    QCOMPARE(taken.m_LayerIdentifies, layerKey(9));
    QVERIFY(!taken.m_isRendering);
}

void tst_LayerStorePacing::newLayersComeInOrderOnce()
{
    LayerVideoManager manager({});
    for (const quint8 nLayer : {1, 2, 3}) {
        sLayerVideoConfig layerCfg = makeLayer(nLayer);
        manager.setLayerVideoConfig(layerCfg);
    }
    for (const int nLayer : {1, 2, 3}) {
        sLayerVideoConfig taken;
        QVERIFY(manager.getUnusedLayerVideoConfig(taken, 25));
        QCOMPARE(int(taken.m_LayerIdentifies.layerId), nLayer);
        QVERIFY(taken.m_isRendering);
    }
    QCOMPARE(layerNumbers(manager), (QList<int>{1, 2, 3}));
    for (const sLayerVideoConfig &record : qAsConst(manager.m_LayerVideoConfigs))
        QVERIFY(record.m_isRendering);

    sLayerVideoConfig taken = makeLayer(9);
    QVERIFY(!manager.getUnusedLayerVideoConfig(taken, 25));
    QCOMPARE(taken.m_LayerIdentifies, layerKey(9));
}

void tst_LayerStorePacing::newLayerNeedsNoSignalAndNoInterval()
{
    LayerVideoManager manager({});
    QVERIFY(!manager.m_isHaveInputVideoSignal);
    sLayerVideoConfig layerCfg = makeLayer(1);
    layerCfg.m_lastUpdateDateTime = QDateTime::currentDateTime();
    manager.setLayerVideoConfig(layerCfg);
    QCOMPARE(takeLayer(manager, 1), 1);
}

void tst_LayerStorePacing::takenRecordIsMarkedAndDated()
{
    LayerVideoManager manager({});
    sLayerVideoConfig record = makeLayer(1);
    record.m_lastUpdateDateTime = fromNow(-Minute);
    record.m_LayerItem.m_opacity = 42;
    manager.m_LayerVideoConfigs = {record};

    const QDateTime before = QDateTime::currentDateTime();
    sLayerVideoConfig taken;
    QVERIFY(manager.getUnusedLayerVideoConfig(taken, 25));
    const sLayerVideoConfig stored = manager.m_LayerVideoConfigs.first();
    QVERIFY(taken.m_isRendering && stored.m_isRendering);
    QVERIFY(!taken.m_isFirstRendered && !stored.m_isFirstRendered);
    QCOMPARE(taken.m_lastUpdateDateTime, stored.m_lastUpdateDateTime);
    QVERIFY(stored.m_lastUpdateDateTime >= before);
    QVERIFY(stored.m_lastUpdateDateTime <= QDateTime::currentDateTime());
    QCOMPARE(taken.m_LayerItem.m_opacity, 42);
    QCOMPARE(stored.m_LayerItem.m_opacity, 42);
}

void tst_LayerStorePacing::takenRecordMovesToTheEnd()
{
    LayerVideoManager manager({});
    manager.m_LayerVideoConfigs = {renderedLayer(1), makeLayer(2), renderedLayer(3)};
    QCOMPARE(takeLayer(manager, 25), 2);
    QCOMPARE(layerNumbers(manager), (QList<int>{1, 3, 2}));
}

void tst_LayerStorePacing::firstDueRecordOfTheListIsTaken()
{
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    sLayerVideoConfig recent = renderedLayer(1);
    recent.m_lastUpdateDateTime = QDateTime::currentDateTime();
    manager.m_LayerVideoConfigs = {recent, renderedLayer(2), makeLayer(3)};
    QCOMPARE(takeLayer(manager, 1), 2);
    QCOMPARE(takeLayer(manager, 1), 3);
}

void tst_LayerStorePacing::recordsBeingRenderedAreSkipped()
{
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    manager.m_LayerVideoConfigs = {makeLayer(1), renderedLayer(2), renderedLayer(3)};
    manager.m_LayerVideoConfigs[0].m_isRendering = true;
    manager.m_LayerVideoConfigs[1].m_isRendering = true;
    QCOMPARE(takeLayer(manager, 25), 3);
    QCOMPARE(takeLayer(manager, 25), 0);
    QCOMPARE(layerNumbers(manager), (QList<int>{1, 2, 3}));
}

void tst_LayerStorePacing::intervalDecides_data()
{
    constexpr qint64 Wrap = Q_INT64_C(1) << 32; // milliseconds that an int would count as none
    QTest::addColumn<int>("nFps");
    QTest::addColumn<qint64>("nFromNow");
    QTest::addColumn<bool>("isDue");
    QTest::newRow("just updated, 1 fps") << 1 << Q_INT64_C(0) << false;
    QTest::newRow("one interval ago") << 1 << Q_INT64_C(-1000) << true;
    QTest::newRow("half an interval ahead") << 1 << Q_INT64_C(500) << false;
    QTest::newRow("just updated, no rate") << 0 << Q_INT64_C(0) << true;
    QTest::newRow("just updated, rate above 1000") << 1001 << Q_INT64_C(0) << true;
    QTest::newRow("a minute ago") << 1 << -Minute << true;
    QTest::newRow("a minute ahead") << 1 << Minute << true;
    QTest::newRow("25 days ago") << 1 << -25 * Day << true;
    QTest::newRow("25 days ahead") << 1 << 25 * Day << true;
    QTest::newRow("2^32 ms ago") << 1 << -Wrap << true;
    QTest::newRow("2^32 ms ahead") << 1 << Wrap << true;
    QTest::newRow("a century ago") << 1 << -36525 * Day << true;
    QTest::newRow("a century ahead") << 1 << 36525 * Day << true;
}

void tst_LayerStorePacing::intervalDecides()
{
    QFETCH(int, nFps);
    QFETCH(qint64, nFromNow);
    QFETCH(bool, isDue);
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    manager.m_LayerVideoConfigs = {renderedLayer(1)};
    manager.m_LayerVideoConfigs[0].m_lastUpdateDateTime = fromNow(nFromNow);
    QCOMPARE(takeLayer(manager, nFps), isDue ? 1 : 0);
}

void tst_LayerStorePacing::finishingStartsTheIntervalAnew()
{
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    manager.m_LayerVideoConfigs = {renderedLayer(1)};
    QCOMPARE(takeLayer(manager, 1), 1);
    manager.m_LayerVideoConfigs[0].m_lastUpdateDateTime = fromNow(-Minute);
    finishLayer(manager, 1);
    QCOMPARE(takeLayer(manager, 1), 0);
    QCOMPARE(takeLayer(manager, 0), 1);
}

void tst_LayerStorePacing::signalDecides_data()
{
    QTest::addColumn<bool>("isManagerSignal");
    QTest::addColumn<bool>("isRecordSignal");
    QTest::addColumn<bool>("isDue");
    QTest::newRow("neither") << false << false << false;
    QTest::newRow("only the layer") << false << true << true;
    QTest::newRow("only the manager") << true << false << true;
    QTest::newRow("both") << true << true << true;
}

void tst_LayerStorePacing::signalDecides()
{
    QFETCH(bool, isManagerSignal);
    QFETCH(bool, isRecordSignal);
    QFETCH(bool, isDue);
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = isManagerSignal;
    manager.m_LayerVideoConfigs = {renderedLayer(1)};
    manager.m_LayerVideoConfigs[0].m_isHasVideoSignal = isRecordSignal;
    QCOMPARE(takeLayer(manager, 25), isDue ? 1 : 0);
}

void tst_LayerStorePacing::layerWithoutSignalComesBackOnceItIsSetAnew()
{
    LayerVideoManager manager({});
    manager.m_LayerVideoConfigs = {renderedLayer(1)};
    QCOMPARE(takeLayer(manager, 0), 0);

    sLayerVideoConfig layerCfg;
    QVERIFY(manager.findLayerVideoConfig(layerKey(1), layerCfg));
    manager.setLayerVideoConfig(layerCfg);
    QCOMPARE(takeLayer(manager, 0), 0);
    layerCfg.m_isFirstRendered = false;
    manager.setLayerVideoConfig(layerCfg);
    QCOMPARE(takeLayer(manager, 0), 1);
    finishLayer(manager, 1);
    QCOMPARE(takeLayer(manager, 0), 0);
}

void tst_LayerStorePacing::permissionOfTheRecordDecidesNothing()
{
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    manager.m_LayerVideoConfigs = {makeLayer(1), renderedLayer(2)};
    for (sLayerVideoConfig &record : manager.m_LayerVideoConfigs)
        record.m_isAllowRender = false;
    QCOMPARE(takeLayer(manager, 25), 1);
    QCOMPARE(takeLayer(manager, 25), 2);
}

void tst_LayerStorePacing::layerSetWhileItIsRenderedIsDueAtOnce()
{
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    manager.m_LayerVideoConfigs = {makeLayer(1)};
    QCOMPARE(takeLayer(manager, 1), 1);
    QCOMPARE(takeLayer(manager, 1), 0);
    sLayerVideoConfig layerCfg = makeLayer(1);
    manager.setLayerVideoConfig(layerCfg);
    QCOMPARE(takeLayer(manager, 1), 1);

    finishLayer(manager, 1);
    QImage frame;
    QVERIFY(manager.getLayerVideoFrame(layerKey(1), frame));
    QCOMPARE(manager.m_LayerVideoConfigs.size(), 1);
}

void tst_LayerStorePacing::everyLayerIsServedBeforeAnyIsServedTwice_data()
{
    QTest::addColumn<QList<int>>("finishOrder");
    QTest::newRow("finished in order") << QList<int>{1, 2, 3, 4};
    QTest::newRow("finished in reverse") << QList<int>{4, 3, 2, 1};
    QTest::newRow("finished crosswise") << QList<int>{3, 1, 4, 2};
}

void tst_LayerStorePacing::everyLayerIsServedBeforeAnyIsServedTwice()
{
    QFETCH(QList<int>, finishOrder);
    LayerVideoManager manager({});
    manager.m_isHaveInputVideoSignal = true;
    for (const quint8 nLayer : {1, 2, 3, 4})
        manager.m_LayerVideoConfigs.append(makeLayer(nLayer));
    for (int nRound = 0; nRound < 3; ++nRound) {
        for (const int nLayer : {1, 2, 3, 4})
            QCOMPARE(takeLayer(manager, 0), nLayer);
        QCOMPARE(takeLayer(manager, 0), 0);
        for (const int nLayer : finishOrder)
            finishLayer(manager, nLayer);
    }
    for (const int nLayer : {1, 2, 3, 4, 1, 2, 3, 4}) {
        QCOMPARE(takeLayer(manager, 0), nLayer);
        finishLayer(manager, nLayer);
    }
}

QTEST_GUILESS_MAIN(tst_LayerStorePacing)
#include "tst_layerstore_pacing.moc"
