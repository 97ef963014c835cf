// What a started manager renders, how often, and what reaches the host.

#include "picturecompare.h"
#include "renderstage.h"
#include "testpictures.h"

#include <echofps_p.h>
#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>

#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <chrono>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::DeviceList;
using Morvek::EchoVideo::Internal::EchoFps;
using Morvek::EchoVideo::Internal::LayerVideoPrerenderTask;
using Milliseconds = std::chrono::duration<double, std::milli>;

namespace {

// A record that no signal announces: only a thread that looks by itself finds it.
void appendSilently(LayerVideoManager &manager, quint8 nLayer)
{
    QMutexLocker locker(&manager.m_mtxLayerVideoConfigs);
    manager.m_LayerVideoConfigs.append(makeLayer(nLayer));
}

} // namespace

class tst_LayerManagerRendering : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void previewIsStoredAndAnnouncedOnTheManagersThread();
    void callbackGetsDeviceSourceAndSize();
    void inputPictureIsNullAtFirstAndThenBlack();
    void layersAreServedInTurn();
    void previewsComeAtTheRate_data();
    void previewsComeAtTheRate();
    void rateComesFromTheDevice_data();
    void rateComesFromTheDevice();
    void missingRateIsWrittenBack();
    void withoutADeviceLayersAreStillRendered();
    void withoutARateThreadGoesOnAndStops();
    void waitingThreadLooksByItself_data();
    void waitingThreadLooksByItself();
    void withoutSignalOnlyLiveLayersAreRenderedAgain();
    void previewOfALayerRemovedInFlightIsStored();
    void layerSetInFlightIsRenderedAgain();
};

void tst_LayerManagerRendering::previewIsStoredAndAnnouncedOnTheManagersThread()
{
    sRenderStage stage;
    stage.setLayers(1);
    QImage frame;
    QVERIFY(!stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
    QThread *pThread = nullptr;
    connect(
        stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished, this,
        [&] { pThread = QThread::currentThread(); }, Qt::DirectConnection);
    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(finished.wait(InputGate::LongEnough));

    QCOMPARE(pThread, stage.m_manager->thread());
    QVERIFY(stage.m_gate.calls().first().m_pThread != stage.m_manager->thread());
    QCOMPARE(finished.first().first().value<sLayerUniqueIdentifies>(), layerKey(1));
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
    COMPARE_PICTURES(frame, solidPicture(QSize(8, 6), Qt::red));
}

void tst_LayerManagerRendering::callbackGetsDeviceSourceAndSize()
{
    sRenderStage stage;
    sLayerVideoConfig layerCfg = makeLayer(1);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(10, 20, 31.4, 17.6);
    layerCfg.m_LayerSource.m_nLayerSourceKeyNo = 1234;
    stage.m_manager->setLayerVideoConfig(layerCfg);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    const sInputCall call = stage.m_gate.calls().first();
    QCOMPARE(call.m_pDevice, stage.m_pDevice);
    QCOMPARE(call.m_nKeyNo, 1234U);
    QCOMPARE(call.m_size, QSize(31, 18));
}

void tst_LayerManagerRendering::inputPictureIsNullAtFirstAndThenBlack()
{
    sRenderStage stage;
    stage.setLayers(1);
    sLayerVideoConfig layerCfg = makeLayer(2);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 5, 4);
    stage.m_manager->setLayerVideoConfig(layerCfg);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(2));
    const QList<sInputCall> calls = stage.m_gate.calls();
    QVERIFY(calls[0].m_frame.isNull());
    QCOMPARE(calls[1].m_frame.format(), QImage::Format_ARGB32);
    COMPARE_PICTURES(calls[1].m_frame, solidPicture(QSize(5, 4), Qt::black));
}

// Each call is held until the completions of those before it were taken in, so that only the order
// of the queue decides.
void tst_LayerManagerRendering::layersAreServedInTurn()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(3);
    QVERIFY(stage.m_manager->startManager(true));
    for (int nCall = 0; nCall < 12; ++nCall) {
        QVERIFY(stage.m_gate.waitForCalls(nCall + 1));
        QCOMPARE(int(stage.m_gate.keyNumbers().last()), nCall % 3 + 1);
        QCoreApplication::processEvents();
        stage.m_gate.letPass();
    }
}

void tst_LayerManagerRendering::previewsComeAtTheRate_data()
{
    QTest::addColumn<int>("nFps");
    QTest::addColumn<bool>("isActive");
    QTest::addColumn<double>("interval");
    QTest::newRow("8 fps") << 8 << true << 125.0;
    QTest::newRow("20 fps") << 20 << true << 50.0;
    QTest::newRow("50 fps") << 50 << true << 20.0;
    QTest::newRow("no device") << 50 << false << 100.0;
}

void tst_LayerManagerRendering::previewsComeAtTheRate()
{
    QFETCH(int, nFps);
    QFETCH(bool, isActive);
    QFETCH(double, interval);
    sRenderStage stage(true, quint8(nFps));
    QVERIFY(stage.m_manager->startManager(true));
    if (!isActive)
        stage.m_active.reset();
    stage.setLayers(1);
    QTRY_VERIFY_WITH_TIMEOUT(stage.m_gate.callCount() >= 5, InputGate::LongEnough);

    const QList<sInputCall> calls = stage.m_gate.calls();
    double shortest = InputGate::LongEnough;
    for (int i = 1; i < calls.size(); ++i)
        shortest = std::min(shortest, Milliseconds(calls[i].m_time - calls[i - 1].m_time).count());
    QVERIFY2(shortest > 0.9 * interval, qPrintable(QString::number(shortest)));
    QVERIFY2(shortest < 8 * interval, qPrintable(QString::number(shortest)));
}

void tst_LayerManagerRendering::rateComesFromTheDevice_data()
{
    QTest::addColumn<bool>("isActive");
    QTest::addColumn<int>("nConfigured");
    QTest::addColumn<int>("nExpected");
    QTest::addColumn<int>("nConfiguredAfterwards");
    QTest::newRow("no device") << false << 0 << 10 << 0;
    QTest::newRow("no rate") << true << 0 << 10 << 10;
    QTest::newRow("slowest") << true << 1 << 1 << 1;
    QTest::newRow("default of the record") << true << 15 << 15 << 15;
    QTest::newRow("fastest") << true << 255 << 255 << 255;
}

void tst_LayerManagerRendering::rateComesFromTheDevice()
{
    QFETCH(bool, isActive);
    QFETCH(int, nConfigured);
    QFETCH(int, nExpected);
    QFETCH(int, nConfiguredAfterwards);
    sRenderStage stage(true, quint8(nConfigured));
    if (!isActive)
        stage.m_active.reset();
    LayerVideoPrerenderTask task(stage.m_manager.get());
    QCOMPARE(task.fps(), nExpected);
    QCOMPARE(int(stage.m_pDevice->deviceConfig().EchoVideoCfg.FPS), nConfiguredAfterwards);
}

void tst_LayerManagerRendering::missingRateIsWrittenBack()
{
    sRenderStage stage(true, 0);
    QVERIFY(stage.m_manager->startManager(true));
    const auto &videoCfg = stage.m_pDevice->deviceConfig().EchoVideoCfg;
    QTRY_COMPARE_WITH_TIMEOUT(int(EchoFps::load(videoCfg)), 10, InputGate::LongEnough);
}

void tst_LayerManagerRendering::withoutADeviceLayersAreStillRendered()
{
    sRenderStage stage;
    QVERIFY(stage.m_manager->startManager(true));
    stage.m_active.reset();
    stage.setLayers(2);
    QVERIFY(stage.m_gate.waitForCalls(2));
    for (const sInputCall &call : stage.m_gate.calls())
        QVERIFY(!call.m_pDevice);
}

void tst_LayerManagerRendering::withoutARateThreadGoesOnAndStops()
{
    sRenderStage stage;
    stage.m_manager->m_nFps = 0;
    QVERIFY(stage.m_manager->startManager(true));
    stage.m_active.reset();
    appendSilently(*stage.m_manager, 1);
    QVERIFY(stage.m_gate.waitForCalls(1));
    stage.m_manager->stopManager();
    QTRY_VERIFY_WITH_TIMEOUT(stage.m_manager->m_undeletedRenderTasks.isEmpty(),
                             InputGate::LongEnough);
}

void tst_LayerManagerRendering::waitingThreadLooksByItself_data()
{
    QTest::addColumn<bool>("isActive");
    QTest::newRow("device online") << true;
    QTest::newRow("no device") << false;
}

void tst_LayerManagerRendering::waitingThreadLooksByItself()
{
    QFETCH(bool, isActive);
    sRenderStage stage;
    QVERIFY(stage.m_manager->startManager(true));
    if (!isActive)
        stage.m_active.reset();
    for (int nLayer = 1; nLayer <= 3; ++nLayer) {
        appendSilently(*stage.m_manager, quint8(nLayer));
        QVERIFY(stage.m_gate.waitForCalls(nLayer));
    }
    QCOMPARE(stage.m_gate.keyNumbers(), (QList<quint32>{1, 2, 3}));
}

void tst_LayerManagerRendering::withoutSignalOnlyLiveLayersAreRenderedAgain()
{
    sRenderStage stage;
    stage.setLayers(1);
    sLayerVideoConfig live = makeLayer(2);
    live.m_isHasVideoSignal = true;
    stage.m_manager->setLayerVideoConfig(live);
    QVERIFY(stage.m_manager->startManager(false));
    QTRY_VERIFY_WITH_TIMEOUT(stage.m_gate.keyNumbers().count(2) >= 4, InputGate::LongEnough);
    QCOMPARE(stage.m_gate.keyNumbers().count(1), 1);
}

void tst_LayerManagerRendering::previewOfALayerRemovedInFlightIsStored()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    sLayerUniqueIdentifies key = layerKey(1);
    stage.m_manager->removeLayerVideoConfig(key);

    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    stage.m_gate.open();
    QVERIFY(finished.wait(InputGate::LongEnough));
    QCOMPARE(finished.first().first().value<sLayerUniqueIdentifies>(), key);
    QImage frame;
    QVERIFY(stage.m_manager->getLayerVideoFrame(key, frame));
    sLayerVideoConfig found;
    QVERIFY(!stage.m_manager->findLayerVideoConfig(key, found));
    stage.m_manager->clearLayerVideoConfig();
    QVERIFY(!stage.m_manager->getLayerVideoFrame(key, frame));
}

// At one preview a second, only the new configuration can be the reason for a second call: the
// completion of the first is not taken in before.
void tst_LayerManagerRendering::layerSetInFlightIsRenderedAgain()
{
    sRenderStage stage(true, 1);
    stage.m_gate.close();
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    sLayerVideoConfig layerCfg = makeLayer(1);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 4, 3);
    stage.m_manager->setLayerVideoConfig(layerCfg);
    stage.m_gate.letPass();
    QVERIFY(stage.m_gate.waitForCalls(2));
    QCOMPARE(stage.m_gate.calls().last().m_size, QSize(4, 3));

    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 1);
    QImage frame;
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
    QCOMPARE(frame.size(), QSize(8, 6));
    stage.m_gate.open();
    QVERIFY(finished.wait(InputGate::LongEnough));
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
    QCOMPARE(frame.size(), QSize(4, 3));
}

QTEST_GUILESS_MAIN(tst_LayerManagerRendering)
#include "tst_layermanager_rendering.moc"
