#ifndef MORVEK_TESTS_RENDERSTAGE_H
#define MORVEK_TESTS_RENDERSTAGE_H

#include "inputgate.h"
#include "testdevice.h"

#include <layervideomanager.h>

#include <devicelist.h>

#include <memory>

namespace Morvek::Tests {

/** Key of layer nLayer on screen 1. */
inline EchoVideo::sLayerUniqueIdentifies layerKey(quint8 nLayer)
{
    EchoVideo::sLayerUniqueIdentifies key;
    key.screenId = 1;
    key.layerId = nLayer;
    return key;
}

/** A layer of 8 x 6 pixels that shows an input; its number is the layer's and the source's. */
inline EchoVideo::sLayerVideoConfig makeLayer(quint8 nLayer)
{
    EchoVideo::sLayerVideoConfig layerCfg;
    layerCfg.m_LayerIdentifies = layerKey(nLayer);
    layerCfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 8, 6);
    layerCfg.m_LayerSource.m_eLayerSourceType = EchoVideo::sLayerSource::Input;
    layerCfg.m_LayerSource.m_nLayerSourceKeyNo = nLayer;
    return layerCfg;
}

/** An active device, and a manager that fetches its pictures through a gate; nothing started. */
struct sRenderStage
{
    explicit sRenderStage(bool isOnline = true, quint8 nFps = 25)
        : m_active(std::make_unique<ActiveDevice>(m_pDevice, isOnline))
    {
        m_pDevice->deviceConfig().EchoVideoCfg.FPS = nFps;
        m_manager = std::make_unique<EchoVideo::LayerVideoManager>(m_gate.callback());
    }

    ~sRenderStage() { m_gate.open(); }

    void setLayer(quint8 nLayer)
    {
        EchoVideo::sLayerVideoConfig layerCfg = makeLayer(nLayer);
        m_manager->setLayerVideoConfig(layerCfg);
    }

    void setLayers(int nLayers)
    {
        for (int i = 1; i <= nLayers; ++i)
            setLayer(quint8(i));
    }

    std::shared_ptr<Morvek::BizModel::Device> m_pDevice =
        makeDevice(Morvek::BizModel::s_EchoVideoConfig::Invalid);
    std::unique_ptr<ActiveDevice> m_active;
    InputGate m_gate;
    std::unique_ptr<EchoVideo::LayerVideoManager> m_manager;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_RENDERSTAGE_H
