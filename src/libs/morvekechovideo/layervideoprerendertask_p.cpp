#include "layervideoprerendertask_p.h"

#include "echofps_p.h"
#include "layervideomanager.h"
#include "quickdrawing/layerpainter_p.h"

#include <QDebug>
#include <QMutexLocker>

namespace Morvek::EchoVideo::Internal {

using Morvek::BizModel::Device;
using Morvek::BizModel::DeviceList;

namespace {

constexpr int DefaultFps = 10;
constexpr unsigned long RenderEnableCheckInterval = 100; // ms

unsigned long intervalMs(int nFps)
{
    return nFps == 0 ? 0UL : 1000UL / static_cast<unsigned long>(nFps);
}

} // namespace

LayerVideoPrerenderTask::LayerVideoPrerenderTask(LayerVideoManager *pMgr)
    : m_pMgr(pMgr)
{
    setObjectName(QStringLiteral("echo-render"));
}

LayerVideoPrerenderTask::~LayerVideoPrerenderTask() = default;

void LayerVideoPrerenderTask::startRender()
{
    start(QThread::InheritPriority);
}

void LayerVideoPrerenderTask::stopRender()
{
    if (!isRunning())
        return;
    QMutexLocker locker(&m_mtxFPS);
    m_bStoped = true;
    m_wcFPS.wakeAll();
}

void LayerVideoPrerenderTask::refreshNow()
{
    // Without m_mtxFPS, by design: a host that sets a configuration never waits for a render.
    m_wcFPS.wakeAll();
}

int LayerVideoPrerenderTask::fps()
{
    const std::shared_ptr<Device> pDevice = DeviceList::instance()->activedDevice().lock();
    if (!pDevice)
        return DefaultFps;
    auto &videoCfg = pDevice->deviceConfig().EchoVideoCfg;
    const quint8 nFps = EchoFps::load(videoCfg);
    if (nFps != 0)
        return nFps;
    // By design: from now on the device has a frame rate.
    EchoFps::store(videoCfg, DefaultFps);
    return DefaultFps;
}

void LayerVideoPrerenderTask::run()
{
    qInfo() << "Layer Video PreRender Thread Start";
    sLayerVideoConfig layerVideoCfg;
    while (!m_bStoped) {
        if (!m_pMgr->m_isAllowRender)
            pauseRefresh();
        else if (m_pMgr->getUnusedLayerVideoConfig(layerVideoCfg, fps()))
            m_pMgr->renderLayer(layerVideoCfg, m_LayerVideoCanvas, m_InputVideoFrame, m_memory);
        else
            waitForWork();
    }
    LayerPainter::ofThisThread().forget();
    qInfo() << "Layer Video PreRender Thread Exit";
}

void LayerVideoPrerenderTask::pauseRefresh()
{
    qDebug() << "Pause refresh";
    m_memory.canvases().trim(0);
    {
        QMutexLocker locker(&m_mtxFPS);
        // A wake-up ends the pause. One that came just before the wait is lost; looking again now
        // and then keeps that from freezing all previews.
        while (!m_bStoped && !m_pMgr->m_isAllowRender) {
            if (m_wcFPS.wait(&m_mtxFPS, RenderEnableCheckInterval))
                break;
        }
    }
    qDebug() << "Restart refresh";
}

void LayerVideoPrerenderTask::waitForWork()
{
    bool isOffline = false;
    unsigned long nInterval = intervalMs(m_pMgr->m_nFps);
    // The device is let go before the wait, which may last for ever.
    if (const std::shared_ptr<Device> pDevice = DeviceList::instance()->activedDevice().lock()) {
        isOffline = !pDevice->onlineFlag();
        nInterval = intervalMs(fps());
    }

    m_memory.canvases().trim(CanvasPool::MostSpares);
    QMutexLocker locker(&m_mtxFPS);
    if (m_bStoped)
        return;
    if (isOffline) {
        m_pMgr->refreshAllLayerForNoSignal(m_LayerVideoCanvas, m_InputVideoFrame, m_memory);
        m_memory.canvases().trim(0);
        m_wcFPS.wait(&m_mtxFPS); // nothing to show until somebody changes something
    } else {
        m_wcFPS.wait(&m_mtxFPS, nInterval);
    }
}

} // namespace Morvek::EchoVideo::Internal
