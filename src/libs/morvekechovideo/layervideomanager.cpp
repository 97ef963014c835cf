#include "layervideomanager.h"

#include "layersize_p.h"
#include "layervideoprerendertask_p.h"
#include "metatypes_p.h"
#include "updatetimes_p.h"

#include <QReadLocker>
#include <QWriteLocker>

#include <utility>

namespace Morvek::EchoVideo {

using Internal::LayerVideoPrerenderTask;
using Morvek::BizModel::DeviceList;

std::optional<QPixmap> LayerVideoManager::m_frozenIcon;

LayerVideoManager::LayerVideoManager(ReadInputVideoFrameCallback cbReadInputVideoFrame,
                                     QObject *parent)
    : QObject(parent)
    , m_cbReadInputVideoFrame(std::move(cbReadInputVideoFrame))
    , m_pUpdateTimes(std::make_unique<Internal::UpdateTimes>())
{
    createConnect();
    Internal::registerMetaTypes();
}

LayerVideoManager::~LayerVideoManager()
{
    stopManager();
    // No thread may outlive the manager that it calls into, the stopped ones included.
    for (LayerVideoPrerenderTask *pTask : std::as_const(m_undeletedRenderTasks))
        pTask->wait();
    qDeleteAll(m_undeletedRenderTasks);
}

void LayerVideoManager::createConnect()
{
    const DeviceList *const pDeviceList = DeviceList::instance();
    connect(pDeviceList, &DeviceList::signalActivedDeviceChanged, this,
            &LayerVideoManager::slotActivedDeviceChanged);
    connect(pDeviceList, &DeviceList::signalLayerRemoved, this,
            &LayerVideoManager::slotDeviceScreenBaseLayerRemoved);
    connect(pDeviceList, &DeviceList::signalScreenRemoved, this,
            &LayerVideoManager::slotScreenRemoved);
}

bool LayerVideoManager::startManager(bool isHaveInputVideoSignal)
{
    if (DeviceList::instance()->activedDevice().expired())
        return false;
    m_isStarted = true;
    m_isHaveInputVideoSignal = isHaveInputVideoSignal;
    auto *const pTask = new LayerVideoPrerenderTask(this);
    connect(this, &LayerVideoManager::layerVideoConfigChanged, pTask,
            &LayerVideoPrerenderTask::refreshNow);
    m_videoRenderTasks.append(pTask);
    m_undeletedRenderTasks.append(pTask);
    pTask->startRender();
    return true;
}

bool LayerVideoManager::stopManager()
{
    while (!m_videoRenderTasks.isEmpty()) {
        LayerVideoPrerenderTask *const pTask = m_videoRenderTasks.takeLast();
        disconnect(this, &LayerVideoManager::layerVideoConfigChanged, pTask,
                   &LayerVideoPrerenderTask::refreshNow);
        connect(pTask, &QThread::finished, this, &LayerVideoManager::slot_threadFinished);
        pTask->stopRender();
    }
    m_isStarted = false;
    return true;
}

void LayerVideoManager::slot_threadFinished()
{
    auto *const pTask = qobject_cast<LayerVideoPrerenderTask *>(sender());
    if (!pTask)
        return;
    m_undeletedRenderTasks.removeAll(pTask);
    pTask->wait(); // for the last steps of a thread that has announced its end
    delete pTask;
}

void LayerVideoManager::setRenderEnable(bool isAllowRender)
{
    if (m_isAllowRender.exchange(isAllowRender) != isAllowRender)
        Q_EMIT layerVideoConfigChanged();
}

bool LayerVideoManager::isHaveInputVideoSignal()
{
    return true;
}

void LayerVideoManager::slotActivedDeviceChanged()
{
    // Empty by design: the render threads look up the active device themselves.
}

// Renders one layer and queues its delivery. @thread render
void LayerVideoManager::renderLayer(const sLayerVideoConfig &layerVideoCfg,
                                    QImage &layerVideoCanvas, QImage &inputVideoFrame,
                                    Internal::PreviewMemory &memory)
{
    if (!inputVideoFrame.isNull())
        inputVideoFrame = memory.blackPicture(Internal::layerSize(layerVideoCfg.m_LayerItem));
    // The last preview is still held by whoever it was delivered to: filling the same picture again
    // would first copy what is about to be overwritten.
    layerVideoCanvas = QImage();
    asyncVideoPrerenderTask(layerVideoCfg, layerVideoCanvas, inputVideoFrame, &memory);
    if (layerVideoCanvas.cacheKey() != layerVideoCfg.m_LayerVideoCanvas.cacheKey())
        memory.canvases().add(layerVideoCanvas); // a new one
}

// Every layer once more, due or not, in store order. @thread render, which holds its m_mtxFPS
void LayerVideoManager::refreshAllLayerForNoSignal(QImage &layerVideoCanvas,
                                                   QImage &inputVideoFrame,
                                                   Internal::PreviewMemory &memory)
{
    sLayerVideoConfig layerVideoCfg;
    int nLayers = 0;
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        nLayers = m_LayerVideoConfigs.size();
    }
    for (int i = 0; i < nLayers; ++i) {
        {
            QMutexLocker locker(&m_mtxLayerVideoConfigs);
            if (i >= m_LayerVideoConfigs.size())
                return;
            layerVideoCfg = m_LayerVideoConfigs.at(i);
        }
        layerVideoCfg.m_isRendering = true;
        layerVideoCfg.m_isHasVideoSignal = m_isHaveInputVideoSignal;
        layerVideoCfg.m_lastUpdateDateTime = QDateTime::currentDateTime();
        renderLayer(layerVideoCfg, layerVideoCanvas, inputVideoFrame, memory);
    }
}

} // namespace Morvek::EchoVideo
