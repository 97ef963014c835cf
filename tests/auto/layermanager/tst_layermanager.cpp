// Starting, stopping and pausing a manager, and what it logs.

#include "logcapture.h"
#include "processfigures.h"
#include "renderstage.h"

#include <layervideomanager.h>
#include <layervideoprerendertask_p.h>

#include <QSet>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <type_traits>

using namespace Morvek::EchoVideo;
using namespace Morvek::Tests;
using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;
using Morvek::EchoVideo::Internal::LayerVideoPrerenderTask;

// Read by the render threads while the manager's thread writes them.
static_assert(std::is_same_v<decltype(LayerVideoManager::m_isAllowRender), std::atomic_bool>);
static_assert(
    std::is_same_v<decltype(LayerVideoManager::m_isHaveInputVideoSignal), std::atomic_bool>);
static_assert(std::is_same_v<decltype(LayerVideoManager::m_nFps), std::atomic_int>);
static_assert(std::is_same_v<decltype(LayerVideoPrerenderTask::m_bStoped), std::atomic_bool>);

namespace {

const QString RenderThread = QStringLiteral("echo-render");
const QString StartLine = QStringLiteral("Layer Video PreRender Thread Start");
const QString ExitLine = QStringLiteral("Layer Video PreRender Thread Exit");
const QString PauseLine = QStringLiteral("Pause refresh");
const QString RestartLine = QStringLiteral("Restart refresh");

QStringList textsOf(const LogCapture &log)
{
    QStringList texts;
    const QList<sLogLine> lines = log.lines();
    for (const sLogLine &line : lines)
        texts.append(line.m_strText);
    return texts;
}

int refreshReceivers(const LayerVideoManager &manager)
{
    return manager.receivers(SIGNAL(layerVideoConfigChanged()));
}

} // namespace

class tst_LayerManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startWithoutAnActiveDeviceStartsNothing_data();
    void startWithoutAnActiveDeviceStartsNothing();
    void startKeepsTheSignalFlagAndStopTheState();
    void eachStartAddsAThread();
    void threadsOfOneManagerShareItsLayers();
    void stopOfANeverStartedManagerDoesNothing();
    void stopDoesNotWaitForACallback();
    void stoppedManagerCanBeStartedAgain();
    void inputSignalIsAlwaysReported();
    void enablingAnnouncesChangesOnly();
    void pausedManagerRendersNothing();
    void previewsStayReadableWhilePaused();
    void pauseLogsNothingWhileItLasts();
    void linesComeInOrder();
    void linesCarryTheirContext();
    void taskDeclaresNoSignalsOrSlots();
    void taskThatDoesNotRunIsNotStopped();
    void strangersAreNotDeletedAsThreads();
};

void tst_LayerManager::startWithoutAnActiveDeviceStartsNothing_data()
{
    QTest::addColumn<bool>("isExpired");
    QTest::newRow("no device") << false;
    QTest::newRow("expired device") << true;
}

void tst_LayerManager::startWithoutAnActiveDeviceStartsNothing()
{
    QFETCH(bool, isExpired);
    if (isExpired)
        DeviceList::instance()->setActivedDevice(std::make_shared<Device>());
    LayerVideoManager manager({});
    QVERIFY(!manager.startManager(true));
    QVERIFY(!manager.m_isStarted);
    QVERIFY(!manager.m_isHaveInputVideoSignal);
    QVERIFY(manager.m_videoRenderTasks.isEmpty());
    QCOMPARE(refreshReceivers(manager), 0);
    QTRY_COMPARE(threadCount(RenderThread), 0);
    DeviceList::instance()->setActivedDevice({});
}

void tst_LayerManager::startKeepsTheSignalFlagAndStopTheState()
{
    sRenderStage stage;
    LayerVideoManager &manager = *stage.m_manager;
    QVERIFY(manager.startManager(true));
    QVERIFY(manager.m_isStarted);
    QVERIFY(manager.m_isHaveInputVideoSignal);
    QVERIFY(manager.stopManager());
    QVERIFY(!manager.m_isStarted);
    QVERIFY(manager.m_isHaveInputVideoSignal);
    QVERIFY(manager.startManager(false));
    QVERIFY(manager.m_isStarted);
    QVERIFY(!manager.m_isHaveInputVideoSignal);
}

void tst_LayerManager::eachStartAddsAThread()
{
    sRenderStage stage;
    for (int nThreads = 1; nThreads <= 3; ++nThreads) {
        QVERIFY(stage.m_manager->startManager(true));
        QCOMPARE(stage.m_manager->m_videoRenderTasks.size(), nThreads);
        QCOMPARE(refreshReceivers(*stage.m_manager), nThreads);
        QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), nThreads, InputGate::LongEnough);
    }
    QVERIFY(stage.m_manager->stopManager());
    QVERIFY(stage.m_manager->m_videoRenderTasks.isEmpty());
    QCOMPARE(refreshReceivers(*stage.m_manager), 0);
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
}

void tst_LayerManager::threadsOfOneManagerShareItsLayers()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(2);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(2));
    const QList<sInputCall> calls = stage.m_gate.calls();
    QVERIFY(calls[0].m_pThread != calls[1].m_pThread);
    // Each thread one layer; which of the two comes to the gate first is open.
    QList<quint32> keyNumbers = stage.m_gate.keyNumbers();
    std::sort(keyNumbers.begin(), keyNumbers.end());
    QCOMPARE(keyNumbers, (QList<quint32>{1, 2}));
}

void tst_LayerManager::stopOfANeverStartedManagerDoesNothing()
{
    const LogCapture log;
    sRenderStage stage;
    stage.setLayers(1);
    QSignalSpy changed(stage.m_manager.get(), &LayerVideoManager::layerVideoConfigChanged);
    QVERIFY(stage.m_manager->stopManager());
    QVERIFY(!stage.m_manager->m_isStarted);
    QCOMPARE(stage.m_manager->m_LayerVideoConfigs.size(), 1);
    QCOMPARE(changed.count(), 0);
    QVERIFY(log.lines().isEmpty());
}

// A stop that waited would never return here.
void tst_LayerManager::stopDoesNotWaitForACallback()
{
    sRenderStage stage;
    stage.m_gate.close();
    stage.setLayers(1);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(stage.m_gate.waitForCalls(1));
    QVERIFY(stage.m_manager->stopManager());
    QVERIFY(stage.m_manager->m_undeletedRenderTasks.first()->isRunning());
    stage.m_gate.open();
    QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
}

void tst_LayerManager::stoppedManagerCanBeStartedAgain()
{
    sRenderStage stage;
    stage.setLayers(1);
    for (int i = 0; i < 3; ++i) {
        const int nCalls = stage.m_gate.callCount();
        QVERIFY(stage.m_manager->startManager(true));
        QTRY_VERIFY_WITH_TIMEOUT(stage.m_gate.callCount() > nCalls, InputGate::LongEnough);
        QVERIFY(stage.m_manager->stopManager());
        QTRY_COMPARE_WITH_TIMEOUT(threadCount(RenderThread), 0, InputGate::LongEnough);
    }
}

void tst_LayerManager::inputSignalIsAlwaysReported()
{
    sRenderStage stage;
    QVERIFY(stage.m_manager->isHaveInputVideoSignal());
    QVERIFY(stage.m_manager->startManager(false));
    QVERIFY(stage.m_manager->isHaveInputVideoSignal());
    QVERIFY(stage.m_manager->stopManager());
    QVERIFY(stage.m_manager->isHaveInputVideoSignal());
}

void tst_LayerManager::enablingAnnouncesChangesOnly()
{
    LayerVideoManager manager({});
    QSignalSpy changed(&manager, &LayerVideoManager::layerVideoConfigChanged);
    manager.setRenderEnable(true);
    QCOMPARE(changed.count(), 0);
    manager.setRenderEnable(false);
    manager.setRenderEnable(false);
    QCOMPARE(changed.count(), 1);
    QVERIFY(!manager.m_isAllowRender);
    manager.setRenderEnable(true);
    manager.setRenderEnable(true);
    QCOMPARE(changed.count(), 2);
    QVERIFY(manager.m_isAllowRender);
}

void tst_LayerManager::pausedManagerRendersNothing()
{
    const LogCapture log;
    sRenderStage stage;
    stage.m_manager->setRenderEnable(false);
    stage.setLayers(2);
    QVERIFY(stage.m_manager->startManager(true));
    // A layer that is set wakes the thread, unless it comes just before the wait.
    const auto isPausedAgain = [&] {
        stage.setLayer(1);
        return log.count(PauseLine) >= 3;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isPausedAgain(), InputGate::LongEnough);
    QVERIFY(log.count(RestartLine) >= 2);
    QCOMPARE(stage.m_gate.callCount(), 0);

    stage.m_manager->setRenderEnable(true);
    QVERIFY(stage.m_gate.waitForCalls(2));
    QCOMPARE(log.count(RestartLine), log.count(PauseLine));
}

void tst_LayerManager::previewsStayReadableWhilePaused()
{
    const LogCapture log;
    sRenderStage stage;
    stage.setLayers(1);
    QSignalSpy finished(stage.m_manager.get(), &LayerVideoManager::layerVideoRenderFinished);
    QVERIFY(stage.m_manager->startManager(true));
    QVERIFY(finished.wait(InputGate::LongEnough));
    stage.m_manager->setRenderEnable(false);
    QTRY_VERIFY_WITH_TIMEOUT(log.count(PauseLine) == 1, InputGate::LongEnough);
    QImage frame;
    QVERIFY(stage.m_manager->getLayerVideoFrame(layerKey(1), frame));
    QCOMPARE(frame.size(), QSize(8, 6));
}

void tst_LayerManager::pauseLogsNothingWhileItLasts()
{
    const LogCapture log;
    sRenderStage stage;
    stage.setLayers(1);
    stage.m_manager->setRenderEnable(false);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(PauseLine), 1, InputGate::LongEnough);
    // Long enough for the thread to have looked three times whether it may go on.
    QVERIFY(!QTest::qWaitFor([&] { return log.lines().size() > 2; }, 350));
    QCOMPARE(textsOf(log), (QStringList{StartLine, PauseLine}));
    QCOMPARE(stage.m_gate.callCount(), 0);
}

void tst_LayerManager::linesComeInOrder()
{
    const LogCapture log;
    sRenderStage stage;
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(StartLine), 1, InputGate::LongEnough);
    stage.m_manager->setRenderEnable(false);
    QTRY_COMPARE_WITH_TIMEOUT(log.count(PauseLine), 1, InputGate::LongEnough);
    stage.m_manager->setRenderEnable(true);
    QTRY_COMPARE_WITH_TIMEOUT(log.count(RestartLine), 1, InputGate::LongEnough);
    stage.m_manager->stopManager();
    QTRY_COMPARE_WITH_TIMEOUT(log.count(ExitLine), 1, InputGate::LongEnough);
    QCOMPARE(textsOf(log), (QStringList{StartLine, PauseLine, RestartLine, ExitLine}));
}

void tst_LayerManager::linesCarryTheirContext()
{
    const LogCapture log;
    sRenderStage stage;
    stage.m_manager->setRenderEnable(false);
    QVERIFY(stage.m_manager->startManager(true));
    QTRY_COMPARE_WITH_TIMEOUT(log.count(PauseLine), 1, InputGate::LongEnough);
    stage.m_manager->stopManager();
    QTRY_COMPARE_WITH_TIMEOUT(log.count(ExitLine), 1, InputGate::LongEnough);

    const QList<sLogLine> lines = log.lines();
    QCOMPARE(textsOf(log), (QStringList{StartLine, PauseLine, RestartLine, ExitLine}));
    for (const sLogLine &line : lines) {
        const bool isStartOrExit = line.m_strText == StartLine || line.m_strText == ExitLine;
        QCOMPARE(line.m_eType, isStartOrExit ? QtInfoMsg : QtDebugMsg);
        QCOMPARE(line.m_strFile,
                 QStringLiteral("src/libs/morvekechovideo/layervideoprerendertask_p.cpp"));
        QVERIFY(line.m_nLine > 0);
        QCOMPARE(line.m_strCategory, QStringLiteral("default"));
        QVERIFY2(line.m_strFunction.contains(
                     QStringLiteral("Morvek::EchoVideo::Internal::LayerVideoPrerenderTask::")),
                 qPrintable(line.m_strFunction));
        QVERIFY2(line.m_strFunction.endsWith(QStringLiteral("()")), qPrintable(line.m_strFunction));
        QVERIFY(line.m_hThread != QThread::currentThreadId());
        QCOMPARE(line.m_hThread, lines.first().m_hThread);
    }
}

void tst_LayerManager::taskDeclaresNoSignalsOrSlots()
{
    const QMetaObject &metaObject = LayerVideoPrerenderTask::staticMetaObject;
    QCOMPARE(metaObject.superClass(), &QThread::staticMetaObject);
    QCOMPARE(metaObject.methodCount(), metaObject.methodOffset());
}

void tst_LayerManager::taskThatDoesNotRunIsNotStopped()
{
    LayerVideoManager manager({});
    LayerVideoPrerenderTask task(&manager);
    QVERIFY(task.m_LayerVideoCanvas.isNull() && task.m_InputVideoFrame.isNull());
    QVERIFY(!task.parent() && !task.m_mtxFPS.isRecursive());
    task.stopRender();
    QVERIFY(!task.m_bStoped);
}

void tst_LayerManager::strangersAreNotDeletedAsThreads()
{
    sRenderStage stage;
    QVERIFY(stage.m_manager->startManager(true));
    stage.m_manager->slot_threadFinished();

    auto *const pStranger = new QThread;
    const QPointer<QThread> guard(pStranger);
    connect(pStranger, &QThread::finished, stage.m_manager.get(),
            &LayerVideoManager::slot_threadFinished);
    pStranger->start();
    pStranger->quit();
    QVERIFY(pStranger->wait(InputGate::LongEnough));
    QCoreApplication::processEvents();
    QVERIFY(!guard.isNull());
    QCOMPARE(stage.m_manager->m_videoRenderTasks.size(), 1);
    QCOMPARE(stage.m_manager->m_undeletedRenderTasks.size(), 1);
    delete pStranger;
}

QTEST_GUILESS_MAIN(tst_LayerManager)
#include "tst_layermanager.moc"
