// A manager is destroyed: no render thread outlives it, wherever that thread happens to be.

#include "logcapture.h"
#include "processfigures.h"
#include "renderstage.h"

#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>

#include <QElapsedTimer>
#include <QPointer>
#include <QSemaphore>
#include <QtTest>

#include <atomic>
#include <memory>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::LayerVideoPrerenderTask;

namespace {

const QString RenderThread = QStringLiteral("echo-render");

// An input callback that does not return before the manager is gone, unless it has waited for that
// long enough: then the manager has waited for it.
struct sSlowInput
{
    LayerVideoManager::ReadInputVideoFrameCallback callback()
    {
        return [this](const auto &...) {
            m_entered.release();
            if (m_destroyed.tryAcquire(1, 200))
                m_isManagerGone = true;
            ++m_nReturned;
            return false;
        };
    }

    QSemaphore m_entered;
    QSemaphore m_destroyed;
    std::atomic_bool m_isManagerGone{false};
    std::atomic_int m_nReturned{0};
};

} // namespace

class tst_LayerManagerDestruction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void destructionWaitsForTheCallback_data();
    void destructionWaitsForTheCallback();
    void destructionEndsWaitingThreads_data();
    void destructionEndsWaitingThreads();
    void previewsUnderWayAreDropped();
    void parentDestroysARunningManager();
    void manyShortLivedManagersLeaveNothing();
};

void tst_LayerManagerDestruction::destructionWaitsForTheCallback_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<bool>("isStopped");
    QTest::addColumn<int>("nThreads");
    QTest::newRow("running") << true << false << 1;
    QTest::newRow("stopped before") << true << true << 1;
    QTest::newRow("two threads") << true << false << 2;
    QTest::newRow("two stopped threads") << true << true << 2;
    QTest::newRow("offline pass") << false << false << 1;
}

void tst_LayerManagerDestruction::destructionWaitsForTheCallback()
{
    QFETCH(bool, isOnline);
    QFETCH(bool, isStopped);
    QFETCH(int, nThreads);
    sRenderStage stage(isOnline); // for its device
    sSlowInput input;
    auto pManager = std::make_unique<LayerVideoManager>(input.callback());
    for (int i = 1; i <= nThreads; ++i) {
        sLayerVideoConfig layerCfg = makeLayer(quint8(i));
        layerCfg.m_isRendering = !isOnline; // then only the pass renders it
        pManager->m_LayerVideoConfigs.append(layerCfg);
    }
    QList<QPointer<LayerVideoPrerenderTask>> tasks;
    for (int i = 0; i < nThreads; ++i) {
        QVERIFY(pManager->startManager(true));
        tasks.append(pManager->m_videoRenderTasks.last());
    }
    QVERIFY(input.m_entered.tryAcquire(nThreads, InputGate::LongEnough));
    if (isStopped)
        QVERIFY(pManager->stopManager());
    pManager.reset();
    const int nReturned = input.m_nReturned;
    input.m_destroyed.release(nThreads);

    QCOMPARE(nReturned, nThreads);
    QVERIFY(!input.m_isManagerGone);
    for (const QPointer<LayerVideoPrerenderTask> &pTask : qAsConst(tasks))
        QVERIFY(pTask.isNull());
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
}

void tst_LayerManagerDestruction::destructionEndsWaitingThreads_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<bool>("isActive");
    QTest::addColumn<bool>("isAllowRender");
    QTest::addColumn<int>("nCalls");
    QTest::newRow("pacing") << true << true << true << 2;
    QTest::newRow("no device") << true << false << true << 2;
    QTest::newRow("offline") << false << true << true << 4;
    QTest::newRow("paused") << true << true << false << 0;
}

// Returns at all: nothing else wakes a thread that sleeps while the device is offline.
void tst_LayerManagerDestruction::destructionEndsWaitingThreads()
{
    QFETCH(bool, isOnline);
    QFETCH(bool, isActive);
    QFETCH(bool, isAllowRender);
    QFETCH(int, nCalls);
    const LogCapture log;
    sRenderStage stage(isOnline, 1);
    stage.setLayers(2);
    stage.m_manager->setRenderEnable(isAllowRender);
    QVERIFY(stage.m_manager->startManager(true));
    if (!isActive)
        stage.m_active.reset();
    QVERIFY(stage.m_gate.waitForCalls(nCalls));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(QStringLiteral("Pause refresh")), isAllowRender ? 0 : 1,
                              InputGate::LongEnough);
    const QPointer<LayerVideoPrerenderTask> pTask = stage.m_manager->m_videoRenderTasks.first();
    stage.m_manager.reset();
    QVERIFY(pTask.isNull());
    QCOMPARE(log.count(QStringLiteral("Layer Video PreRender Thread Exit")), 1);
}

void tst_LayerManagerDestruction::previewsUnderWayAreDropped()
{
    sRenderStage stage(false);
    stage.setLayers(3);
    int nFinished = 0;
    connect(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished, this,
            [&] { ++nFinished; });
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(6));
    QVERIFY(stage.m_manager->stopManager());
    stage.m_manager.reset();
    QCoreApplication::processEvents();
    QCOMPARE(nFinished, 0);
}

void tst_LayerManagerDestruction::parentDestroysARunningManager()
{
    sRenderStage stage; // for its device and gate
    auto pParent = std::make_unique<QObject>();
    auto *const pManager = new LayerVideoManager(stage.m_gate.callback(), pParent.get());
    sLayerVideoConfig layerCfg = makeLayer(1);
    pManager->setLayerVideoConfig(layerCfg);
    QVERIFY(pManager->startManager(true));
    const QPointer<LayerVideoPrerenderTask> pTask = pManager->m_videoRenderTasks.first();
    QVERIFY(stage.m_gate.waitForCalls(1));
    pParent.reset();
    QVERIFY(pTask.isNull());
}

// Each lives 0 to 200 microseconds after its start.
void tst_LayerManagerDestruction::manyShortLivedManagersLeaveNothing()
{
    constexpr int Managers = 200;
    const LogCapture log;
    sRenderStage stage;
    stage.m_manager.reset();
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
    const int nThreads = threadCount();
    const int nFiles = openFileCount();
    for (int i = 0; i < Managers; ++i) {
        LayerVideoManager manager(stage.m_gate.callback());
        sLayerVideoConfig layerCfg = makeLayer(1);
        manager.setLayerVideoConfig(layerCfg);
        QVERIFY(manager.startManager(true));
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < i * 200000 / (Managers - 1)) {}
        if (i % 2 == 0)
            manager.stopManager();
    }
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), nThreads, InputGate::LongEnough);
    QCOMPARE(openFileCount(), nFiles);
    QCOMPARE(log.count(QStringLiteral("Layer Video PreRender Thread Exit")), Managers);
}

QTEST_GUILESS_MAIN(tst_LayerManagerDestruction)
#include "tst_layermanager_destruction.moc"
