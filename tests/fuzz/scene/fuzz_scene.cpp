// Any text as a scene's file: either a scene within its limits, or at least one line that says what
// is wrong with it.

#include <demand.h>
#include <fuzztarget.h>

#include <scenereader.h>

#include <QColor>
#include <QGuiApplication>

using namespace Morvek::Tools;
using Morvek::EchoVideo::sLayerVideoConfig;
using Morvek::Tests::demand;

namespace {

constexpr int MaxExtent = 8192;

bool isWithin(const QSize &size, int nLow)
{
    return size.width() >= nLow && size.width() <= MaxExtent && size.height() >= nLow
        && size.height() <= MaxExtent;
}

void checkLayer(const sSceneLayer &layer, int nTiles)
{
    const sLayerVideoConfig &cfg = layer.m_config;
    demand(!layer.m_strName.isEmpty(), "each layer has a name");
    demand(isWithin(cfg.m_LayerItem.m_boundingRect.size().toSize(), 1), "each layer has a size");
    demand(cfg.m_LayerItem.m_boundingRect.topLeft().isNull(), "its previews begin at 0, 0");
    demand(std::abs(layer.m_position.x()) <= MaxExtent
               && std::abs(layer.m_position.y()) <= MaxExtent,
           "each layer has a place");
    demand(cfg.m_LayerItem.m_layerColor.isValid(), "each layer has a colour");
    demand(cfg.m_LayerItem.m_opacity >= 0 && cfg.m_LayerItem.m_opacity <= 100, "opacity");
    demand(isWithin(cfg.m_LayerBorder.m_borderSize, 0), "thickness of a border");
    if (cfg.m_LayerSource.m_eLayerSourceType == Morvek::EchoVideo::sLayerSource::Input)
        demand(int(cfg.m_LayerSource.m_nLayerSourceKeyNo) < nTiles, "the input exists");
    if (cfg.m_LayerSource.m_bLayerSourceIntercept)
        demand(QRect(QPoint(0, 0), cfg.m_LayerSource.m_sizeLayerSource)
                   .contains(cfg.m_LayerSource.m_rectLayerSourceIntercept),
               "what is cropped lies inside the source");
    for (const double inset : cfg.m_LayerMask.m_maskSize)
        demand(inset >= 0 && inset <= MaxExtent, "insets of a mask");
}

void checkScene(const sScene &scene)
{
    demand(scene.m_device.m_nPort != 0, "the device has a port");
    demand(scene.m_device.m_nFps >= 0 && scene.m_device.m_nFps <= 255, "frames a second");
    demand(!scene.m_screens.isEmpty() && scene.m_screens.size() <= 255, "1 to 255 screens");
    int nScreen = 0;
    for (const sSceneScreen &screen : scene.m_screens) {
        ++nScreen;
        demand(isWithin(screen.m_size, 1), "each screen has a size");
        demand(!screen.m_layers.isEmpty() && screen.m_layers.size() <= 255, "1 to 255 layers");
        int nLayer = 0;
        for (const sSceneLayer &layer : screen.m_layers) {
            demand(layer.m_config.m_LayerIdentifies.screenId == nScreen, "screens are numbered");
            demand(layer.m_config.m_LayerIdentifies.layerId == ++nLayer, "layers are numbered");
            checkLayer(layer, scene.m_device.m_nTiles);
        }
    }
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize)
{
    const QByteArray text(reinterpret_cast<const char *>(pData), int(nSize));
    const QString strFileName = QStringLiteral("/nowhere/scene.json");
    QStringList problems;
    const std::optional<sScene> scene = readScene(text, strFileName, problems);
    demand(scene.has_value() == problems.isEmpty(), "a scene, or what is wrong with it");
    for (const QString &strProblem : problems)
        demand(strProblem.startsWith(strFileName + QStringLiteral(": ")),
               "each line names the file");
    if (scene)
        checkScene(*scene);
    return 0;
}
