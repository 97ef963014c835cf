#include "previewcheck.h"

#include <QRectF>

namespace Morvek::Tools {

using EchoVideo::sLayerBorder;
using EchoVideo::sLayerItem;
using EchoVideo::sLayerSource;
using EchoVideo::sLayerVideoConfig;
namespace LayerEnum = BizModel::Enum::Layer;

namespace {

constexpr qreal SmallestBlock = 4;   // pixels; what the stamp's reader promises to tell apart
constexpr qreal FaintestAlpha = 0.1; // of 1; less leaves too few levels of each colour
constexpr int FrozenMark = 26;       // pixels from the bottom-right corner to the mark's far corner

QRectF previewRect(const sLayerVideoConfig &layer)
{
    return QRectF(QPointF(0, 0), QSizeF(layer.m_LayerItem.m_boundingRect.toRect().size()));
}

/** Where the whole tile lies in the preview before it is mirrored; a crop moves it out of sight. */
QRectF tileInPreview(const sLayerVideoConfig &layer)
{
    const QRectF preview = previewRect(layer);
    const QRectF crop = layer.m_LayerSource.m_rectLayerSourceIntercept;
    if (!layer.m_LayerSource.m_bLayerSourceIntercept || crop.isEmpty())
        return preview;
    const qreal scaleX = preview.width() / crop.width();
    const qreal scaleY = preview.height() / crop.height();
    const QSizeF source = layer.m_LayerSource.m_sizeLayerSource;
    return QRectF(-crop.x() * scaleX, -crop.y() * scaleY, source.width() * scaleX,
                  source.height() * scaleY);
}

bool isMirroredHori(const sLayerVideoConfig &layer)
{
    return layer.m_LayerItem.m_mirroringType == sLayerItem::Hori
        || layer.m_LayerItem.m_mirroringType == sLayerItem::Both;
}

bool isMirroredVert(const sLayerVideoConfig &layer)
{
    return layer.m_LayerItem.m_mirroringType == sLayerItem::Vert
        || layer.m_LayerItem.m_mirroringType == sLayerItem::Both;
}

QRectF mirrored(const QRectF &rect, const sLayerVideoConfig &layer)
{
    const QRectF preview = previewRect(layer);
    QRectF result = rect;
    if (isMirroredHori(layer))
        result.moveLeft(preview.width() - rect.right());
    if (isMirroredVert(layer))
        result.moveTop(preview.height() - rect.bottom());
    return result;
}

bool isBorderDrawn(const sLayerBorder &border)
{
    return border.m_borderType == LayerEnum::Hard_in || border.m_borderType == LayerEnum::Soft
        || border.m_borderType == LayerEnum::Halo_in;
}

/** The part of the preview that neither mask nor border touches; they are never mirrored. */
QRectF clearArea(const sLayerVideoConfig &layer)
{
    QRectF area = previewRect(layer);
    const auto &mask = layer.m_LayerMask.m_maskSize;
    const QSizeF border = layer.m_LayerBorder.m_borderSize;
    if (isBorderDrawn(layer.m_LayerBorder))
        area.adjust(border.width(), border.height(), -border.width(), -border.height());
    if (layer.m_LayerMask.m_bMaskEnable)
        area &= previewRect(layer).adjusted(mask[2], mask[0], -mask[3], -mask[1]);
    return area;
}

bool isUnderFrozenMark(const sLayerVideoConfig &layer, const QRectF &area)
{
    const QRectF preview = previewRect(layer);
    const QRectF mark(preview.right() - FrozenMark, preview.bottom() - FrozenMark, FrozenMark,
                      FrozenMark);
    return layer.m_LayerItem.m_isFrozen && mark.intersects(area);
}

/** Only the glow of an opaque border leaves the middle of the layer as it is. */
bool isVeiled(const sLayerBorder &border)
{
    return border.m_borderType == LayerEnum::Halo_in && border.m_borderColor.alpha() < 255;
}

qreal layerAlpha(const sLayerItem &item)
{
    return item.m_layerColor.alphaF() * item.m_opacity * 0.01;
}

} // namespace

bool isStampLegible(const sLayerVideoConfig &layer)
{
    // What an alpha map leaves is not for the configuration to tell.
    if (layer.m_LayerSource.m_eLayerSourceType != sLayerSource::Input
        || !layer.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty())
        return false;
    const QRectF tile = tileInPreview(layer);
    const QRectF block = stampBlockRect(tile, 0, 0);
    const QRectF stamp = mirrored(stampRect(tile), layer);
    return block.width() >= SmallestBlock && block.height() >= SmallestBlock
        && clearArea(layer).contains(stamp) && !isUnderFrozenMark(layer, stamp)
        && !isVeiled(layer.m_LayerBorder) && layerAlpha(layer.m_LayerItem) >= FaintestAlpha;
}

std::optional<sTileStamp> readPreviewStamp(const sLayerVideoConfig &layer, const QImage &preview,
                                           qint64 nNowMs)
{
    // Without alpha a straight picture keeps its colours as they were before it was made fainter.
    const QImage upright = preview.convertToFormat(QImage::Format_RGB32)
                               .mirrored(isMirroredHori(layer), isMirroredVert(layer));
    return readTileStamp(upright, tileInPreview(layer), nNowMs);
}

} // namespace Morvek::Tools
