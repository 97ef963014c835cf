// Configurations, the order in which they are rendered, and the finished previews.

#include "layervideomanager.h"

#include "updatetimes_p.h"

#include <QDateTime>
#include <QMutexLocker>
#include <QReadLocker>
#include <QWriteLocker>

#include <algorithm>

namespace Morvek::EchoVideo {

using Morvek::BizModel::Device;
using Morvek::BizModel::Layer;
using Morvek::BizModel::Screen;

namespace {

// Index of the first record with this key, or -1.
template <typename Record>
int indexOfLayer(const QList<Record> &records, const sLayerUniqueIdentifies &layerIdentifis)
{
    const auto it = std::find_if(records.cbegin(), records.cend(), [&](const Record &record) {
        return record.m_LayerIdentifies == layerIdentifis;
    });
    return it == records.cend() ? -1 : int(it - records.cbegin());
}

template <typename Record>
void removeLayer(QList<Record> &records, const sLayerUniqueIdentifies &layerIdentifis)
{
    const int index = indexOfLayer(records, layerIdentifis);
    if (index != -1)
        records.removeAt(index);
}

} // namespace

bool LayerVideoManager::findLayerVideoConfig(sLayerUniqueIdentifies layerIdentifis,
                                             sLayerVideoConfig &layerCfg)
{
    QMutexLocker locker(&m_mtxLayerVideoConfigs);
    const int index = indexOfLayer(m_LayerVideoConfigs, layerIdentifis);
    if (index == -1)
        return false;
    layerCfg = m_LayerVideoConfigs.at(index);
    return true;
}

void LayerVideoManager::setLayerVideoConfig(sLayerVideoConfig &layerCfg)
{
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        int index = indexOfLayer(m_LayerVideoConfigs, layerCfg.m_LayerIdentifies);
        if (index != -1) {
            m_LayerVideoConfigs[index] = layerCfg;
        } else {
            index = m_LayerVideoConfigs.size();
            m_LayerVideoConfigs.append(layerCfg);
            m_LayerVideoConfigs[index].m_isFirstRendered = false;
        }
        // Also while a thread renders the layer: it is due again at once, and the late preview is
        // stored all the same.
        m_LayerVideoConfigs[index].m_isRendering = false;
    }
    Q_EMIT layerVideoConfigChanged();
}

bool LayerVideoManager::getUnusedLayerVideoConfig(sLayerVideoConfig &layerVideoCfg, int nFps)
{
    const int nInterval = nFps == 0 ? 0 : 1000 / nFps;
    int index = -1;
    const auto isDue = [&](const sLayerVideoConfig &record) {
        ++index;
        if (record.m_isRendering)
            return false;
        if (!record.m_isFirstRendered)
            return true;
        if (m_pUpdateTimes->millisecondsSince(index, record.m_lastUpdateDateTime) < nInterval)
            return false;
        return m_isHaveInputVideoSignal || record.m_isHasVideoSignal;
    };

    QMutexLocker locker(&m_mtxLayerVideoConfigs);
    if (std::none_of(m_LayerVideoConfigs.cbegin(), m_LayerVideoConfigs.cend(), isDue))
        return false;
    sLayerVideoConfig &record = m_LayerVideoConfigs[index];
    record.m_isRendering = true;
    record.m_lastUpdateDateTime = m_pUpdateTimes->now(index);
    layerVideoCfg = record;
    // To the end: every due layer is served before any is served twice.
    m_pUpdateTimes->moveToEnd(index, m_LayerVideoConfigs.size());
    m_LayerVideoConfigs.move(index, m_LayerVideoConfigs.size() - 1);
    return true;
}

void LayerVideoManager::removeLayerVideoConfig(sLayerUniqueIdentifies &layerVideoCfgId)
{
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        removeLayer(m_LayerVideoConfigs, layerVideoCfgId);
    }
    removeLayerVideos({layerVideoCfgId});
}

void LayerVideoManager::clearLayerVideoConfig()
{
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        m_LayerVideoConfigs.clear();
    }
    QWriteLocker locker(&m_lockLayerVideo);
    m_LayerVideos.clear();
}

void LayerVideoManager::clearLayerVideoConfig(std::weak_ptr<Screen> wScreen)
{
    if (const std::shared_ptr<Screen> pScreen = wScreen.lock())
        slotScreenRemoved(pScreen->owerDevice(), pScreen);
}

void LayerVideoManager::slotScreenRemoved(std::weak_ptr<Device> /*pDevice*/,
                                          std::shared_ptr<Screen> pScreen)
{
    if (!pScreen)
        return;
    QList<sLayerUniqueIdentifies> layerIdentifis;
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        for (const sLayerVideoConfig &record : qAsConst(m_LayerVideoConfigs)) {
            const sLayerUniqueIdentifies &key = record.m_LayerIdentifies;
            if (key.screenId == pScreen->screenId() && key.screenType == pScreen->screenType())
                layerIdentifis.append(key);
        }
        for (const sLayerUniqueIdentifies &key : qAsConst(layerIdentifis))
            removeLayer(m_LayerVideoConfigs, key);
    }
    removeLayerVideos(layerIdentifis);
}

void LayerVideoManager::slotDeviceScreenBaseLayerRemoved(std::weak_ptr<Device> pDevice,
                                                         std::weak_ptr<Screen> pScreen,
                                                         std::shared_ptr<Layer> pLayer)
{
    if (pDevice.expired() || pScreen.expired() || !pLayer)
        return;
    sLayerUniqueIdentifies layerIdentifis = pLayer->screenLayerId();
    removeLayerVideoConfig(layerIdentifis);
}

void LayerVideoManager::removeLayerVideos(const QList<sLayerUniqueIdentifies> &layerIdentifis)
{
    QWriteLocker locker(&m_lockLayerVideo);
    for (const sLayerUniqueIdentifies &key : layerIdentifis)
        removeLayer(m_LayerVideos, key);
}

// Queued by the render threads; also for a layer that was removed while its preview was rendered.
void LayerVideoManager::refreshLayerVideo(sLayerUniqueIdentifies layerIdentifis, QImage videoFrame)
{
    {
        QWriteLocker locker(&m_lockLayerVideo);
        const int index = indexOfLayer(m_LayerVideos, layerIdentifis);
        if (index != -1)
            m_LayerVideos[index].m_imgCanvas = videoFrame;
        else
            m_LayerVideos.append({layerIdentifis, videoFrame});
    }
    {
        QMutexLocker locker(&m_mtxLayerVideoConfigs);
        // From the back, where the layers stand that were handed out last.
        const auto it = std::find_if(m_LayerVideoConfigs.rbegin(), m_LayerVideoConfigs.rend(),
                                     [&](const sLayerVideoConfig &record) {
                                         return record.m_LayerIdentifies == layerIdentifis;
                                     });
        if (it != m_LayerVideoConfigs.rend()) {
            it->m_isRendering = false;
            it->m_isFirstRendered = true;
            const int index = int(m_LayerVideoConfigs.rend() - it) - 1;
            it->m_lastUpdateDateTime = m_pUpdateTimes->now(index);
            it->m_LayerVideoCanvas = videoFrame;
        }
    }
    Q_EMIT layerVideoRenderFinished(layerIdentifis);
}

bool LayerVideoManager::getLayerVideoFrame(sLayerUniqueIdentifies layerIdentifis,
                                           QImage &videoFrame)
{
    QReadLocker locker(&m_lockLayerVideo);
    const int index = indexOfLayer(m_LayerVideos, layerIdentifis);
    if (index == -1)
        return false;
    videoFrame = m_LayerVideos.at(index).m_imgCanvas;
    return true;
}

} // namespace Morvek::EchoVideo
