// What is put onto a preview after its picture: mask, border, frozen mark, opacity.

#include "layervideomanager.h"

#include "borderramp_p.h"
#include "layersize_p.h"

#include <QBrush>
#include <QDebug>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace Morvek::EchoVideo {

using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

constexpr int FrozenIconSize = 24;  // pixels
constexpr int FrozenIconInset = 26; // pixels from the layer's far corner to the mark's near one

// Opaque inside the insets, transparent outside.
QImage maskImage(const sLayerVideoConfig &layerVideoCfg)
{
    QImage mask(Internal::layerSize(layerVideoCfg.m_LayerItem), QImage::Format_ARGB32);
    if (mask.isNull() || mask.width() <= 0 || mask.height() <= 0) {
        qWarning() << "The layer " << int(layerVideoCfg.m_LayerIdentifies.layerId)
                   << " size is invalid. reset (2x2)";
        mask = QImage(2, 2, QImage::Format_ARGB32);
    }
    mask.fill(Qt::transparent);

    const auto &[top, bottom, left, right] = layerVideoCfg.m_LayerMask.m_maskSize;
    const QRectF &boundingRect = layerVideoCfg.m_LayerItem.m_boundingRect;
    const QRectF content(left, top, boundingRect.width() - left - right,
                         boundingRect.height() - top - bottom);
    // Insets that meet leave nothing; a painter would turn the negative size around and fill it.
    if (content.width() > 0 && content.height() > 0) {
        QPainter painter(&mask);
        painter.fillRect(content, QColor(0, 0, 0, 255));
    }
    return mask;
}

QSize tileSize(const QRectF &boundingRect)
{
    constexpr qreal LargestTile = 1 << 28;
    const auto half = [](qreal length) {
        return length > 0 && length <= LargestTile ? int(std::ceil(length * 0.5)) : 0;
    };
    return QSize(half(boundingRect.width()), half(boundingRect.height()));
}

// The tile is the top-left quarter; for an odd width the right ones reach one pixel past the edge.
void drawQuarters(QPainter *pPainter, const QImage &tile)
{
    if (tile.isNull())
        return;
    pPainter->drawImage(0, 0, tile);
    pPainter->drawImage(tile.width(), 0, tile.mirrored(true, false));
    pPainter->drawImage(0, tile.height(), tile.mirrored(false, true));
    pPainter->drawImage(tile.width(), tile.height(), tile.mirrored(true, true));
}

} // namespace

void LayerVideoManager::drawMask(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const
{
    if (!layerVideoCfg.m_LayerMask.m_bMaskEnable)
        return;
    const QImage mask = maskImage(layerVideoCfg);
    pPainter->save();
    pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    pPainter->drawImage(layerVideoCfg.m_LayerItem.m_boundingRect, mask);
    pPainter->setCompositionMode(QPainter::CompositionMode_SourceOver);
    pPainter->restore();
}

void LayerVideoManager::drawBorder(QPainter *pPainter, const sLayerVideoConfig &layerVideoCfg) const
{
    if (!layerVideoCfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty())
        return;
    switch (layerVideoCfg.m_LayerBorder.m_borderType) {
    case BorderType::Hard_in:
        drawSolidBorder(pPainter, layerVideoCfg);
        break;
    case BorderType::Soft:
        drawSoftBorder(pPainter, layerVideoCfg);
        break;
    case BorderType::Halo_in:
        drawHaloInBorder(pPainter, layerVideoCfg);
        break;
    case BorderType::Hard_out:
    case BorderType::Hard_in_out:
    case BorderType::Halo:
    case BorderType::Halo_out:
    case BorderType::Invalid:
        break; // by design without a drawing in the preview
    }
}

void LayerVideoManager::drawSolidBorder(QPainter *pPainter,
                                        const sLayerVideoConfig &layerVideoCfg) const
{
    const QRectF &boundingRect = layerVideoCfg.m_LayerItem.m_boundingRect;
    const qreal bw = layerVideoCfg.m_LayerBorder.m_borderSize.width();
    const qreal bh = layerVideoCfg.m_LayerBorder.m_borderSize.height();
    QPainterPath path;
    path.addRect(boundingRect);
    path.setFillRule(Qt::OddEvenFill);
    path.addRect(boundingRect.adjusted(bw, bh, -bw, -bh));
    path.closeSubpath();
    pPainter->fillPath(path, QBrush(layerVideoCfg.m_LayerBorder.m_borderColor, Qt::SolidPattern));
}

void LayerVideoManager::drawSoftBorder(QPainter *pPainter,
                                       const sLayerVideoConfig &layerVideoCfg) const
{
    const QImage tile = Internal::softBorderTile(tileSize(layerVideoCfg.m_LayerItem.m_boundingRect),
                                                 layerVideoCfg.m_LayerBorder.m_borderSize);
    pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    drawQuarters(pPainter, tile);
    pPainter->setCompositionMode(QPainter::CompositionMode_SourceOver);
}

void LayerVideoManager::drawHaloInBorder(QPainter *pPainter,
                                         const sLayerVideoConfig &layerVideoCfg) const
{
    const QImage tile = Internal::haloBorderTile(tileSize(layerVideoCfg.m_LayerItem.m_boundingRect),
                                                 layerVideoCfg.m_LayerBorder.m_borderSize,
                                                 layerVideoCfg.m_LayerBorder.m_borderColor);
    drawQuarters(pPainter, tile);
}

void LayerVideoManager::drawFrozenIcon(QPainter *pPainter,
                                       const sLayerVideoConfig &layerVideoCfg) const
{
    if (!layerVideoCfg.m_LayerItem.m_isFrozen || !m_frozenIcon || m_frozenIcon->isNull())
        return;
    const QRectF &boundingRect = layerVideoCfg.m_LayerItem.m_boundingRect;
    const QRectF target(boundingRect.x() + boundingRect.width() - FrozenIconInset,
                        boundingRect.y() + boundingRect.height() - FrozenIconInset, FrozenIconSize,
                        FrozenIconSize);
    pPainter->save();
    pPainter->drawPixmap(target.toRect(), *m_frozenIcon);
    pPainter->restore();
}

void LayerVideoManager::drawOpacity(QPainter *pPainter,
                                    const sLayerVideoConfig &layerVideoCfg) const
{
    QColor color(0, 0, 0);
    color.setAlphaF(qBound(0.0, layerVideoCfg.m_LayerItem.m_opacity * 0.01, 1.0));
    pPainter->save();
    pPainter->setCompositionMode(QPainter::CompositionMode_DestinationIn);
    pPainter->fillRect(layerVideoCfg.m_LayerItem.m_boundingRect, color);
    pPainter->restore();
}

} // namespace Morvek::EchoVideo
