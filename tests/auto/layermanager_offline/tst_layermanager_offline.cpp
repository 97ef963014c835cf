// What a manager does while the active device is offline: one pass over all layers, then silence.

#include "logcapture.h"
#include "picturecompare.h"
#include "renderspy.h"
#include "renderstage.h"
#include "testpictures.h"

#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>

#include <QSignalSpy>
#include <QtTest>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::DeviceList;

namespace {

constexpr int SilenceMs = 300; // several intervals of a device that is online
const QDateTime LongAgo(QDate(2001, 2, 3), QTime(4, 5, 6));

// A record that only the pass renders: it counts as being rendered.
sLayerVideoConfig takenLayer(quint8 nLayer, bool isHasVideoSignal = false)
{
    sLayerVideoConfig record = makeLayer(nLayer);
    record.m_isRendering = true;
    record.m_isFirstRendered = true;
    record.m_isHasVideoSignal = isHasVideoSignal;
    record.m_lastUpdateDateTime = LongAgo;
    return record;
}

// Returns once the thread has gone to sleep; only after the last call of a pass has begun.
void waitUntilAsleep(const LayerVideoManager &manager)
{
    QMutexLocker locker(&manager.m_videoRenderTasks.first()->m_mtxFPS);
}

QList<int> storedNumbers(LayerVideoManager &manager)
{
    QMutexLocker locker(&manager.m_mtxLayerVideoConfigs);
    QList<int> numbers;
    for (const sLayerVideoConfig &record : qAsConst(manager.m_LayerVideoConfigs))
        numbers.append(record.m_LayerIdentifies.layerId);
    return numbers;
}

} // namespace

class tst_LayerManagerOffline : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { RenderSpy::clear(); }
    void everyLayerIsRenderedOnceMoreInStoreOrder();
    void passUsesCopiesWithTheSignalOfTheStart_data();
    void passUsesCopiesWithTheSignalOfTheStart();
    void passLeavesStoredRecordsAlone();
    void passStartsWithANullInputPictureAndGoesOnBlack();
    void finishedPassIsFollowedBySilence();
    void setLayerWakesTheThread();
    void renderEnableWakesTheThread();
    void deviceComingBackWakesNothingButASetLayerDoes();
    void goingOfflineRendersAllLayersOnceMore();
    void emptyStoreSleepsAtOnce();
    void storeThatShrinksDuringThePass_data();
    void storeThatShrinksDuringThePass();
    void layerAddedDuringThePassWaitsForTheNextWakeUp();
};

void tst_LayerManagerOffline::everyLayerIsRenderedOnceMoreInStoreOrder()
{
    sRenderStage stage(false);
    for (const quint8 nLayer : {2, 3, 1})
        stage.setLayer(nLayer);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(6));
    waitUntilAsleep(*stage.m_manager);
    QCOMPARE(stage.m_gate.keyNumbers(), (QList<quint32>{2, 3, 1, 2, 3, 1}));
    QCOMPARE(storedNumbers(*stage.m_manager), (QList<int>{2, 3, 1}));

    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 6);
    QImage frame;
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(3), frame));
    COMPARE_PICTURES(frame, solidPicture(QSize(8, 6), Qt::red));
}

void tst_LayerManagerOffline::passUsesCopiesWithTheSignalOfTheStart_data()
{
    QTest::addColumn<bool>("isHaveInputVideoSignal");
    QTest::newRow("started with signal") << true;
    QTest::newRow("started without signal") << false;
}

void tst_LayerManagerOffline::passUsesCopiesWithTheSignalOfTheStart()
{
    QFETCH(bool, isHaveInputVideoSignal);
    sRenderStage stage(false);
    stage.m_manager->m_LayerVideoConfigs = {takenLayer(1, true), takenLayer(2, false)};
    const QDateTime before = QDateTime::currentDateTime();
    QVERIFY(stage.m_manager->startManager(isHaveInputVideoSignal));
    QVERIFY(stage.m_gate.waitForCalls(2));
    waitUntilAsleep(*stage.m_manager);

    const QList<sRender> renders = RenderSpy::renders();
    QCOMPARE(renders.size(), 2);
    for (int i = 0; i < 2; ++i) {
        const sLayerVideoConfig &copy = renders[i].m_layerCfg;
        QCOMPARE(copy.m_LayerIdentifies, layerKey(quint8(i + 1)));
        QCOMPARE(copy.m_isHasVideoSignal, isHaveInputVideoSignal);
        QVERIFY(copy.m_isRendering);
        QVERIFY(copy.m_lastUpdateDateTime >= before);
        QVERIFY(copy.m_lastUpdateDateTime <= renders[i].m_time);
    }
}

void tst_LayerManagerOffline::passLeavesStoredRecordsAlone()
{
    sRenderStage stage(false);
    sLayerVideoConfig idle = takenLayer(2);
    idle.m_isRendering = false; // not due either: nobody has a signal
    stage.m_manager->m_LayerVideoConfigs = {takenLayer(1, true), idle};
    QVERIFY(stage.m_manager->startManager(false));
    QVERIFY(stage.m_gate.waitForCalls(2));
    waitUntilAsleep(*stage.m_manager);

    QVERIFY(RenderSpy::renders().at(1).m_layerCfg.m_isRendering);
    const QList<sLayerVideoConfig> stored = stage.m_manager->m_LayerVideoConfigs;
    QCOMPARE(storedNumbers(*stage.m_manager), (QList<int>{1, 2}));
    QVERIFY(stored[0].m_isRendering && !stored[1].m_isRendering);
    QVERIFY(stored[0].m_isHasVideoSignal && !stored[1].m_isHasVideoSignal);
    for (const sLayerVideoConfig &record : stored) {
        QCOMPARE(record.m_lastUpdateDateTime, LongAgo);
        QVERIFY(record.m_LayerVideoCanvas.isNull());
    }
}

void tst_LayerManagerOffline::passStartsWithANullInputPictureAndGoesOnBlack()
{
    sRenderStage stage(false);
    sLayerVideoConfig small = takenLayer(2);
    small.m_LayerItem.m_boundingRect = QRectF(0, 0, 5, 4);
    stage.m_manager->m_LayerVideoConfigs = {takenLayer(1), small};
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(2));
    const QList<sInputCall> calls = stage.m_gate.calls();
    QVERIFY(calls[0].m_frame.isNull());
    QCOMPARE(calls[1].m_frame.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(calls[1].m_frame, solidPicture(QSize(5, 4), Qt::black));
}

void tst_LayerManagerOffline::finishedPassIsFollowedBySilence()
{
    sRenderStage stage(false);
    stage.setLayers(2);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(4));
    waitUntilAsleep(*stage.m_manager);
    {
        QMutexLocker locker(&stage.m_manager->m_mtxLayerVideoConfigs);
        stage.m_manager->m_LayerVideoConfigs.append(makeLayer(3));
    }
    QVERIFY(!QTest::qWaitFor([&] { return stage.m_gate.callCount() > 4; }, SilenceMs));
}

void tst_LayerManagerOffline::setLayerWakesTheThread()
{
    sRenderStage stage(false);
    stage.setLayers(2);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(4));
    waitUntilAsleep(*stage.m_manager);
    stage.setLayer(3);
    QVERIFY(stage.m_gate.waitForCalls(8));
    waitUntilAsleep(*stage.m_manager);
    QCOMPARE(stage.m_gate.keyNumbers().mid(4), (QList<quint32>{3, 1, 2, 3}));
}

void tst_LayerManagerOffline::renderEnableWakesTheThread()
{
    const LogCapture log;
    sRenderStage stage(false);
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(2));
    waitUntilAsleep(*stage.m_manager);
    stage.m_manager->setRenderEnable(false);
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QStringLiteral("Pause refresh")), 1, InputGate::LongEnough);
    QCOMPARE(stage.m_gate.callCount(), 2);
    stage.m_manager->setRenderEnable(true);
    QVERIFY(stage.m_gate.waitForCalls(3));
}

void tst_LayerManagerOffline::deviceComingBackWakesNothingButASetLayerDoes()
{
    sRenderStage stage(false);
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(2));
    waitUntilAsleep(*stage.m_manager);
    DeviceList::instance()->setDeviceOnline(stage.m_pDevice, true);
    QVERIFY(!QTest::qWaitFor([&] { return stage.m_gate.callCount() > 2; }, SilenceMs));

    sLayerVideoConfig layerCfg;
    QVERIFY(stage.m_manager->findLayerVideoConfig(layerKey(1), layerCfg));
    stage.m_manager->setLayerVideoConfig(layerCfg);
    QTRY_VERIFY_WITH_TIMEOUT(stage.m_gate.callCount() >= 5, InputGate::LongEnough);
}

// Only the pass gives a layer the signal of the start.
void tst_LayerManagerOffline::goingOfflineRendersAllLayersOnceMore()
{
    sRenderStage stage;
    stage.setLayers(3);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_VERIFY_WITH_TIMEOUT(stage.m_gate.callCount() >= 6, InputGate::LongEnough);
    const auto passRenders = [] {
        QList<int> numbers;
        for (const sRender &render : RenderSpy::renders()) {
            if (render.m_layerCfg.m_isHasVideoSignal)
                numbers.append(render.m_layerCfg.m_LayerIdentifies.layerId);
        }
        return numbers;
    };
    QVERIFY(passRenders().isEmpty());
    stage.m_pDevice->setOnlineFlag(false);
    QTRY_COMPARE_WITH_TIMEOUT(passRenders().size(), 3, InputGate::LongEnough);
    waitUntilAsleep(*stage.m_manager);
    QCOMPARE(passRenders(), storedNumbers(*stage.m_manager));
    const int nRenders = RenderSpy::count();
    QVERIFY(!QTest::qWaitFor([&] { return RenderSpy::count() > nRenders; }, SilenceMs));
}

void tst_LayerManagerOffline::emptyStoreSleepsAtOnce()
{
    sRenderStage stage(false);
    QVERIFY(stage.m_manager->startManager(true));
    // A layer that is set wakes the thread, unless it comes just before it sleeps.
    const auto isAwake = [&] {
        stage.setLayer(1);
        return stage.m_gate.callCount() > 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAwake(), InputGate::LongEnough);
}

void tst_LayerManagerOffline::storeThatShrinksDuringThePass_data()
{
    QTest::addColumn<QList<int>>("removed");
    QTest::addColumn<QList<quint32>>("rendered");
    QTest::newRow("cleared") << QList<int>{1, 2, 3} << QList<quint32>{1};
    QTest::newRow("all but the first") << QList<int>{2, 3} << QList<quint32>{1};
    QTest::newRow("the last") << QList<int>{3} << QList<quint32>{1, 2};
    QTest::newRow("the first, so that the second moves up")
        << QList<int>{1} << QList<quint32>{1, 3};
}

// The pass is held inside its first call; a removal that waited for it would never return.
void tst_LayerManagerOffline::storeThatShrinksDuringThePass()
{
    QFETCH(QList<int>, removed);
    QFETCH(QList<quint32>, rendered);
    sRenderStage stage(false);
    stage.m_gate.close();
    stage.m_manager->m_LayerVideoConfigs = {takenLayer(1), takenLayer(2), takenLayer(3)};
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    for (const int nLayer : removed) {
        sLayerUniqueIdentifies key = layerKey(quint8(nLayer));
        stage.m_manager->removeLayerVideoConfig(key);
    }
    stage.m_gate.open();
    QVERIFY(stage.m_gate.waitForCalls(rendered.size()));
    waitUntilAsleep(*stage.m_manager);
    QCOMPARE(stage.m_gate.keyNumbers(), rendered);
    QCoreApplication::processEvents();
    QImage frame;
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
}

void tst_LayerManagerOffline::layerAddedDuringThePassWaitsForTheNextWakeUp()
{
    sRenderStage stage(false);
    stage.m_gate.close();
    stage.m_manager->m_LayerVideoConfigs = {takenLayer(1), takenLayer(2)};
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    stage.setLayer(3);
    stage.m_gate.open();
    QVERIFY(stage.m_gate.waitForCalls(2));
    waitUntilAsleep(*stage.m_manager);
    QCOMPARE(stage.m_gate.keyNumbers(), (QList<quint32>{1, 2}));

    Q_EMIT stage.m_manager->layerVideoConfigChanged();
    QVERIFY(stage.m_gate.waitForCalls(3));
    QCOMPARE(int(stage.m_gate.keyNumbers().at(2)), 3);
}

QTEST_GUILESS_MAIN(tst_LayerManagerOffline)
#include "tst_layermanager_offline.moc"
