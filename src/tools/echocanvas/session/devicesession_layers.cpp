#include "devicesession.h"

#include <devicelist.h>

#include <algorithm>

namespace Morvek::Tools {

using BizModel::DeviceList;
using EchoVideo::sLayerUniqueIdentifies;
using EchoVideo::sLayerVideoConfig;

void DeviceSession::setLayer(const sSceneLayer &layer)
{
    const sLayerUniqueIdentifies &key = layer.m_config.m_LayerIdentifies;
    sLayerVideoConfig config = layer.m_config;
    if (m_manager.findLayerVideoConfig(key, config)) {
        config.m_LayerItem = layer.m_config.m_LayerItem;
        config.m_LayerBorder = layer.m_config.m_LayerBorder;
        config.m_LayerSource = layer.m_config.m_LayerSource;
        config.m_LayerMask = layer.m_config.m_LayerMask;
        config.m_LayerAlphaMap = layer.m_config.m_LayerAlphaMap;
    } else {
        m_layers.append(key);
    }
    m_manager.setLayerVideoConfig(config);
}

void DeviceSession::removeLayer(const sLayerUniqueIdentifies &layer)
{
    sLayerUniqueIdentifies key = layer;
    m_manager.removeLayerVideoConfig(key);
    m_layers.removeAll(key);
}

void DeviceSession::setScreens(const QList<sSceneScreen> &screens)
{
    QList<sLayerUniqueIdentifies> wanted;
    QList<quint8> screenIds;
    for (const sSceneScreen &screen : screens) {
        screenIds.append(screen.m_layers.first().m_config.m_LayerIdentifies.screenId);
        for (const sSceneLayer &layer : screen.m_layers)
            wanted.append(layer.m_config.m_LayerIdentifies);
    }
    const auto known = m_screens;
    for (const auto &pScreen : known) {
        if (!screenIds.contains(pScreen->screenId()))
            forgetScreen(pScreen->screenId());
    }
    const auto present = m_layers;
    for (const sLayerUniqueIdentifies &layer : present) {
        if (!wanted.contains(layer))
            removeLayer(layer);
    }
    for (const sSceneScreen &screen : screens) {
        const sLayerUniqueIdentifies key = screen.m_layers.first().m_config.m_LayerIdentifies;
        const bool isKnown = std::any_of(m_screens.cbegin(), m_screens.cend(), [&](const auto &p) {
            return p->screenId() == key.screenId;
        });
        if (!isKnown)
            m_screens.append(std::make_shared<BizModel::Screen>(device().m_pDevice, key.screenId,
                                                                key.screenType));
        for (const sSceneLayer &layer : screen.m_layers)
            setLayer(layer);
    }
}

/** Tells the device list, as a host does: the manager hears of it and forgets the layers. */
void DeviceSession::forgetScreen(quint8 nScreenId)
{
    for (int nScreen = m_screens.size() - 1; nScreen >= 0; --nScreen) {
        if (m_screens[nScreen]->screenId() == nScreenId)
            DeviceList::instance()->removeScreen(device().m_pDevice, m_screens.takeAt(nScreen));
    }
    const auto isOnScreen = [nScreenId](const sLayerUniqueIdentifies &layer) {
        return layer.screenId == nScreenId;
    };
    m_layers.erase(std::remove_if(m_layers.begin(), m_layers.end(), isOnScreen), m_layers.end());
}

QImage DeviceSession::preview(const sLayerUniqueIdentifies &layer)
{
    QImage preview;
    m_manager.getLayerVideoFrame(layer, preview);
    return preview;
}

} // namespace Morvek::Tools
