// How long the store of layers takes for each of its operations, with few layers and with many.

#include "benchcase.h"

#include <layervideomanager.h>

#include <QCoreApplication>

#include <memory>

using namespace Morvek::Benchmarks;
using namespace Morvek::EchoVideo;

namespace {

sLayerVideoConfig layer(int nLayer)
{
    sLayerVideoConfig cfg;
    cfg.m_LayerIdentifies.screenId = quint8(nLayer / 256);
    cfg.m_LayerIdentifies.layerId = quint8(nLayer % 256);
    cfg.m_LayerItem.m_boundingRect = QRectF(0, 0, 480, 270);
    return cfg;
}

/** A manager with so many layers, each of them shown once. */
std::shared_ptr<LayerVideoManager> makeManager(int nLayers)
{
    auto pManager =
        std::make_shared<LayerVideoManager>(LayerVideoManager::ReadInputVideoFrameCallback());
    for (int i = 0; i < nLayers; ++i) {
        sLayerVideoConfig cfg = layer(i);
        pManager->setLayerVideoConfig(cfg);
        pManager->refreshLayerVideo(cfg.m_LayerIdentifies, QImage(1, 1, QImage::Format_ARGB32));
    }
    return pManager;
}

void addCases(int nLayers)
{
    const std::string strLayers = "_of_" + std::to_string(nLayers) + "_layers";
    const auto pManager = makeManager(nLayers);
    const auto add = [&](const char *pName, auto call) {
        addCall("store/" + std::string(pName) + strLayers, "ours", call)->MinTime(0.05);
    };
    const sLayerUniqueIdentifies last = layer(nLayers - 1).m_LayerIdentifies;
    add("hand_out_and_take_back", [pManager, cfg = sLayerVideoConfig(),
                                   picture = QImage(1, 1, QImage::Format_ARGB32)]() mutable {
        pManager->m_isHaveInputVideoSignal = true;
        if (pManager->getUnusedLayerVideoConfig(cfg, 0))
            pManager->refreshLayerVideo(cfg.m_LayerIdentifies, picture);
    });
    add("none_due", [pManager, cfg = sLayerVideoConfig()]() mutable {
        pManager->m_isHaveInputVideoSignal = false; // looked at last
        pManager->getUnusedLayerVideoConfig(cfg, 0);
    });
    add("find", [pManager, last, cfg = sLayerVideoConfig()]() mutable {
        pManager->findLayerVideoConfig(last, cfg);
    });
    add("write_back", [pManager, cfg = layer(nLayers - 1)]() mutable {
        pManager->setLayerVideoConfig(cfg);
        pManager->refreshLayerVideo(cfg.m_LayerIdentifies, QImage());
    });
    add("fetch_preview", [pManager, last] {
        QImage picture;
        pManager->getLayerVideoFrame(last, picture);
    });
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    for (const int nLayers : {16, 256, 4096})
        addCases(nLayers);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
