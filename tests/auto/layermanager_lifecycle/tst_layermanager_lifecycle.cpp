// Render threads from their start to their deletion: each one ends, whatever it is doing when it is
// asked to, and nothing of it is left.

#include "logcapture.h"
#include "processfigures.h"
#include "renderstage.h"

#include <echofps_p.h>
#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>

#include <QElapsedTimer>
#include <QPointer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QtTest>

#include <array>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::EchoVideo::Internal::EchoFps;
using Morvek::EchoVideo::Internal::LayerVideoPrerenderTask;

namespace {

const QString RenderThread = QStringLiteral("echo-render");
const QString StartLine = QStringLiteral("Layer Video PreRender Thread Start");
const QString ExitLine = QStringLiteral("Layer Video PreRender Thread Exit");
const QString PauseLine = QStringLiteral("Pause refresh");

/** What a render thread does when it is asked to stop. */
enum eState { InsideCallback, Pacing, WithoutDevice, Paused, Offline };

void spinMicroseconds(qint64 nMicroseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.nsecsElapsed() < nMicroseconds * 1000) {}
}

// A record that is never due, so that a thread finds nothing to do but the pass of an offline device.
sLayerVideoConfig takenLayer()
{
    sLayerVideoConfig record = makeLayer(1);
    record.m_isRendering = true;
    return record;
}

bool areThreadsGone(const LayerVideoManager &manager)
{
    return manager.m_undeletedRenderTasks.isEmpty();
}

} // namespace

Q_DECLARE_METATYPE(eState)

class tst_LayerManagerLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void manyQuickCyclesLeaveNothing_data();
    void manyQuickCyclesLeaveNothing();
    void stopEndsTheThreadInEveryState_data();
    void stopEndsTheThreadInEveryState();
    void stopJustBeforeThePauseIsNotLost();
    void stopJustBeforeTheOfflinePassIsNotLost();
    void lostResumeIsNoticed();
    void secondStopDoesNothing();
    void threadCarriesItsNameAndTheCreatorsPriority();
    void managersAreIndependent();
    void managerLivesInTheThreadThatMadeIt();
};

void tst_LayerManagerLifecycle::manyQuickCyclesLeaveNothing_data()
{
    QTest::addColumn<bool>("isOnline");
    QTest::addColumn<bool>("isAllowRender");
    QTest::addColumn<int>("nLayers");
    QTest::newRow("online, with layers") << true << true << 2;
    QTest::newRow("online, without layers") << true << true << 0;
    QTest::newRow("offline, with layers") << false << true << 2;
    QTest::newRow("offline, without layers") << false << true << 0;
    QTest::newRow("paused") << true << false << 2;
}

// Stops come 0 to 200 microseconds after the start: before, while and after the thread gets going.
void tst_LayerManagerLifecycle::manyQuickCyclesLeaveNothing()
{
    QFETCH(bool, isOnline);
    QFETCH(bool, isAllowRender);
    QFETCH(int, nLayers);
    constexpr int Cycles = 200;
    LogCapture log;
    sRenderStage stage(isOnline);
    LayerVideoManager &manager = *stage.m_manager;
    manager.setRenderEnable(isAllowRender);
    stage.setLayers(nLayers);
    QVERIFY(manager.startManager(true) && manager.stopManager());
    QTRY_VERIFY_WITH_TIMEOUT(areThreadsGone(manager), InputGate::LongEnough);
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
    const int nThreads = threadCount();
    const int nFiles = openFileCount();
    log.clear();

    for (int i = 0; i < Cycles; ++i) {
        QVERIFY(manager.startManager(i % 2 == 0));
        spinMicroseconds(i * 200 / (Cycles - 1));
        QVERIFY(manager.stopManager());
        if (i % 8 == 0)
            QCoreApplication::processEvents();
    }
    QTRY_VERIFY_WITH_TIMEOUT(areThreadsGone(manager), InputGate::LongEnough);
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(), nThreads, InputGate::LongEnough);
    QCOMPARE(openFileCount(), nFiles);
    QCOMPARE(log.count(StartLine), Cycles);
    QCOMPARE(log.count(ExitLine), Cycles);
}

void tst_LayerManagerLifecycle::stopEndsTheThreadInEveryState_data()
{
    QTest::addColumn<eState>("state");
    QTest::newRow("inside the callback") << InsideCallback;
    QTest::newRow("pacing") << Pacing;
    QTest::newRow("without a device") << WithoutDevice;
    QTest::newRow("paused") << Paused;
    QTest::newRow("offline") << Offline;
}

void tst_LayerManagerLifecycle::stopEndsTheThreadInEveryState()
{
    QFETCH(eState, state);
    const LogCapture log;
    sRenderStage stage(state != Offline, 1);
    LayerVideoManager &manager = *stage.m_manager;
    if (state == InsideCallback)
        stage.m_gate.close();
    manager.setRenderEnable(state != Paused);
    QVERIFY(manager.startManager(true));
    const QPointer<LayerVideoPrerenderTask> pTask = manager.m_videoRenderTasks.first();
    QThread *pDeletingThread = nullptr;
    connect(
        pTask.data(), &QObject::destroyed, this,
        [&] { pDeletingThread = QThread::currentThread(); }, Qt::DirectConnection);
    if (state == WithoutDevice)
        stage.m_active.reset();
    const auto isReached = [&] {
        stage.setLayer(1);
        return state == Paused ? log.count(PauseLine) > 0 : stage.m_gate.callCount() > 0;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isReached(), InputGate::LongEnough);

    QVERIFY(manager.stopManager());
    QVERIFY(!pTask.isNull());
    stage.m_gate.open();
    QTRY_VERIFY_WITH_TIMEOUT(pTask.isNull(), InputGate::LongEnough);
    QCOMPARE(pDeletingThread, manager.thread());
    QVERIFY(areThreadsGone(manager));
    QCOMPARE(log.count(ExitLine), 1);
}

// The thread has decided to pause and stands before its wait, whose mutex the test holds.
void tst_LayerManagerLifecycle::stopJustBeforeThePauseIsNotLost()
{
    const LogCapture log;
    sRenderStage stage;
    stage.m_manager->setRenderEnable(false);
    LayerVideoPrerenderTask task(stage.m_manager.get());
    QMutexLocker locker(&task.m_mtxFPS);
    task.startRender();
    QTRY_COMPARE_WITH_TIMEOUT(log.count(PauseLine), 1, InputGate::LongEnough);
    task.m_bStoped = true;
    task.m_wcFPS.wakeAll();
    locker.unlock();
    QVERIFY(task.wait(InputGate::LongEnough));
    QCOMPARE(log.count(ExitLine), 1);
}

// The thread has looked whether it is to stop, which the rate that it writes back tells, and stands
// before the pass, whose mutex the test holds. Nothing would wake it from the sleep behind the pass.
void tst_LayerManagerLifecycle::stopJustBeforeTheOfflinePassIsNotLost()
{
    sRenderStage stage(false, 0);
    stage.m_manager->m_LayerVideoConfigs = {takenLayer()};
    LayerVideoPrerenderTask task(stage.m_manager.get());
    QMutexLocker locker(&task.m_mtxFPS);
    task.startRender();
    const auto &videoCfg = stage.m_pDevice->deviceConfig().EchoVideoCfg;
    QTRY_COMPARE_WITH_TIMEOUT(int(EchoFps::load(videoCfg)), 10, InputGate::LongEnough);
    task.m_bStoped = true;
    task.m_wcFPS.wakeAll();
    locker.unlock();
    QVERIFY(task.wait(InputGate::LongEnough));
    QCOMPARE(stage.m_gate.callCount(), 0);
}

// As if the wake-up had come just before the wait: rendering is allowed, and nobody says so.
void tst_LayerManagerLifecycle::lostResumeIsNoticed()
{
    const LogCapture log;
    sRenderStage stage;
    stage.m_manager->setRenderEnable(false);
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(PauseLine), 1, InputGate::LongEnough);
    stage.m_manager->m_isAllowRender = true;
    QVERIFY(stage.m_gate.waitForCalls(1));
    QCOMPARE(log.count(QStringLiteral("Restart refresh")), 1);
}

void tst_LayerManagerLifecycle::secondStopDoesNothing()
{
    const LogCapture log;
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    QVERIFY(stage.m_manager->stopManager());
    QVERIFY(stage.m_manager->stopManager());
    QCOMPARE(stage.m_manager->m_undeletedRenderTasks.size(), 1);
    stage.m_gate.open();
    QTRY_VERIFY_WITH_TIMEOUT(areThreadsGone(*stage.m_manager), InputGate::LongEnough);
    QCOMPARE(log.count(ExitLine), 1);
}

void tst_LayerManagerLifecycle::threadCarriesItsNameAndTheCreatorsPriority()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    QVERIFY2(threadNames().contains(RenderThread),
             qPrintable(threadNames().join(QLatin1Char(' '))));
    const QThread *const pThread = stage.m_gate.calls().first().m_pThread;
    QCOMPARE(pThread->objectName(), RenderThread);
    QCOMPARE(pThread->priority(), QThread::InheritPriority);
}

void tst_LayerManagerLifecycle::managersAreIndependent()
{
    constexpr int Managers = 3;
    sRenderStage stage; // for its device
    std::array<InputGate, Managers> gates;
    std::array<std::unique_ptr<LayerVideoManager>, Managers> managers;
    for (int i = 0; i < Managers; ++i) {
        managers[i] = std::make_unique<LayerVideoManager>(gates[i].callback());
        sLayerVideoConfig layerCfg = makeLayer(quint8(i + 1));
        managers[i]->setLayerVideoConfig(layerCfg);
        QVERIFY(managers[i]->startManager(true));
    }
    for (int i = 0; i < Managers; ++i) {
        QTRY_VERIFY_WITH_TIMEOUT(gates[i].callCount() >= 3, InputGate::LongEnough);
        const QList<quint32> keyNumbers = gates[i].keyNumbers();
        QCOMPARE(keyNumbers.count(quint32(i + 1)), keyNumbers.size());
        QImage frame;
        QVERIFY(managers[i]->getLayerVideoFrame(layerKey(quint8(i + 1)), frame));
        QVERIFY(!managers[i]->getLayerVideoFrame(layerKey(quint8((i + 1) % Managers + 1)), frame));
    }

    managers[0]->stopManager();
    QTRY_VERIFY_WITH_TIMEOUT(areThreadsGone(*managers[0]), InputGate::LongEnough);
    managers[1]->setRenderEnable(false);
    const int nStopped = gates[0].callCount();
    const int nOther = gates[2].callCount();
    QTRY_VERIFY_WITH_TIMEOUT(gates[2].callCount() >= nOther + 3, InputGate::LongEnough);
    QCOMPARE(gates[0].callCount(), nStopped);
    managers[2].reset();
    managers[1]->setRenderEnable(true);
    const int nResumed = gates[1].callCount();
    QTRY_VERIFY_WITH_TIMEOUT(gates[1].callCount() > nResumed, InputGate::LongEnough);
}

void tst_LayerManagerLifecycle::managerLivesInTheThreadThatMadeIt()
{
    sRenderStage stage; // for its device and gate
    QThread thread;
    QObject context;
    context.moveToThread(&thread);
    thread.start();
    const auto onThread = [&](const std::function<void()> &work) {
        QMetaObject::invokeMethod(&context, work, Qt::BlockingQueuedConnection);
    };
    std::unique_ptr<LayerVideoManager> pManager;
    QThread *pAnnouncingThread = nullptr;
    QThread *pDeletingThread = nullptr;
    QSemaphore announced;
    QSemaphore deleted;
    onThread([&] {
        pManager = std::make_unique<LayerVideoManager>(stage.m_gate.callback());
        connect(
            pManager.get(), &LayerVideoManager::layerVideoRenderFinished, pManager.get(),
            [&] {
                pAnnouncingThread = QThread::currentThread();
                announced.release();
            },
            Qt::DirectConnection);
        sLayerVideoConfig layerCfg = makeLayer(1);
        pManager->setLayerVideoConfig(layerCfg);
        pManager->startManager(true);
        connect(
            pManager->m_videoRenderTasks.first(), &QObject::destroyed, pManager.get(),
            [&] {
                pDeletingThread = QThread::currentThread();
                deleted.release();
            },
            Qt::DirectConnection);
    });
    const bool isAnnounced = announced.tryAcquire(3, InputGate::LongEnough);
    onThread([&] { pManager->stopManager(); });
    const bool isDeleted = deleted.tryAcquire(1, InputGate::LongEnough);
    onThread([&] { pManager.reset(); });
    thread.quit();
    thread.wait();
    QVERIFY(isAnnounced && isDeleted);
    QCOMPARE(pAnnouncingThread, &thread);
    QCOMPARE(pDeletingThread, &thread);
}

QTEST_GUILESS_MAIN(tst_LayerManagerLifecycle)
#include "tst_layermanager_lifecycle.moc"
