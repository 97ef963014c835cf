#include "previewmemory_p.h"

#include "echoframe_p.h"
#include "layersize_p.h"
#include "layervideomanager.h"

#include <new>
#include <tuple>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int TinyPicture = 64; // pixels of width and of height
constexpr size_t MostMemories = 4096;

// QRectF compares roughly.
auto asTuple(const QRectF &rect)
{
    return std::make_tuple(rect.x(), rect.y(), rect.width(), rect.height());
}

// What shows in the preview; the rest is carried with the record.
auto asTuple(const sLayerItem &item)
{
    return std::make_tuple(asTuple(item.m_boundingRect), item.m_mirroringType,
                           item.m_bMonoColorEnabled, item.m_bReverseColorEnabled, item.m_isFrozen,
                           item.m_opacity);
}

auto asTuple(const sLayerSource &source)
{
    return std::make_tuple(source.m_eLayerSourceType, source.m_bLayerSourceIntercept);
}

// So does QColor, outside RGB.
bool areEqual(const QColor &left, const QColor &right)
{
    return left.rgba64() == right.rgba64();
}

bool isTiny(const QImage &picture)
{
    return picture.width() <= TinyPicture && picture.height() <= TinyPicture;
}

bool areEqual(const QImage &left, const QImage &right)
{
    return left.format() == right.format() && left == right;
}

} // namespace

bool operator==(const sPreviewMaking &left, const sPreviewMaking &right)
{
    return left.m_nPictureKey == right.m_nPictureKey && left.m_nMarkKey == right.m_nMarkKey
        && asTuple(left.m_item) == asTuple(right.m_item)
        && areEqual(left.m_item.m_layerColor, right.m_item.m_layerColor)
        && asTuple(left.m_source) == asTuple(right.m_source)
        && left.m_source.m_rectLayerSourceIntercept == right.m_source.m_rectLayerSourceIntercept
        && left.m_source.m_sizeLayerSource == right.m_source.m_sizeLayerSource
        && left.m_border.m_borderType == right.m_border.m_borderType
        && areEqual(left.m_border.m_borderColor, right.m_border.m_borderColor)
        && left.m_border.m_borderSize == right.m_border.m_borderSize
        && left.m_mask.m_bMaskEnable == right.m_mask.m_bMaskEnable
        && left.m_mask.m_maskSize == right.m_mask.m_maskSize
        && left.m_strAlphaMapFile == right.m_strAlphaMapFile && left.m_alphaMap == right.m_alphaMap
        && areEqual(left.m_tinyPicture, right.m_tinyPicture);
}

std::optional<sPreviewMaking> previewMaking(const sLayerVideoConfig &layerVideoCfg,
                                            const QImage &picture)
{
    const sLayerItem &item = layerVideoCfg.m_LayerItem;
    if (layerSize(item).isEmpty())
        return std::nullopt;
    sPreviewMaking making;
    making.m_item = item;
    making.m_source = layerVideoCfg.m_LayerSource;
    making.m_border = layerVideoCfg.m_LayerBorder;
    making.m_mask = layerVideoCfg.m_LayerMask;
    making.m_strAlphaMapFile = layerVideoCfg.m_LayerAlphaMap.m_strAlphaMapFile;
    if (!making.m_strAlphaMapFile.isEmpty()) {
        making.m_alphaMap = fileIdentity(making.m_strAlphaMapFile);
        if (!making.m_alphaMap)
            return std::nullopt;
    }
    const auto &mark = LayerVideoManager::m_frozenIcon;
    if (item.m_isFrozen && mark)
        making.m_nMarkKey = mark->cacheKey();
    if (making.m_source.m_eLayerSourceType == sLayerSource::NoSource)
        return making; // the layer's colour is the picture
    if (!isTiny(picture)) {
        making.m_nPictureKey = picture.cacheKey();
        return making;
    }
    making.m_tinyPicture = picture.copy();
    if (making.m_tinyPicture.isNull())
        return std::nullopt; // or all that cannot be copied would be the same
    return making;
}

QImage PreviewMemory::blackPicture(const QSize &size)
{
    if (m_blackPicture.size() != size)
        m_blackPicture = filledPicture(size, NoSignalVideo);
    return m_blackPicture;
}

bool PreviewMemory::sKeyLess::operator()(const sLayerUniqueIdentifies &left,
                                         const sLayerUniqueIdentifies &right) const
{
    const auto fields = [](const sLayerUniqueIdentifies &key) {
        return std::tie(key.screenId, key.screenType, key.layerId, key.layerType, key.sceneType);
    };
    return fields(left) < fields(right);
}

bool PreviewMemory::hasPreview(const sLayerVideoConfig &layerVideoCfg,
                               const sPreviewMaking &making) const
{
    const auto it = m_memories.find(layerVideoCfg.m_LayerIdentifies);
    return it != m_memories.end() && !layerVideoCfg.m_LayerVideoCanvas.isNull()
        && it->second.m_nPreviewKey == layerVideoCfg.m_LayerVideoCanvas.cacheKey()
        && it->second.m_making == making;
}

void PreviewMemory::remember(const sLayerUniqueIdentifies &layerIdentifis,
                             const sPreviewMaking &making, const QImage &preview)
{
    // A file that was replaced meanwhile may have given either map.
    if (making.m_alphaMap && fileIdentity(making.m_strAlphaMapFile) != making.m_alphaMap)
        return;
    try {
        // Layers come and go; those that are still there are soon remembered again.
        if (m_memories.size() >= MostMemories)
            m_memories.clear();
        m_memories[layerIdentifis] = {making, preview.cacheKey()};
    } catch (const std::bad_alloc &) {
        m_memories.clear(); // the preview is there all the same, and is rendered again next time
    }
}

} // namespace Morvek::EchoVideo::Internal
