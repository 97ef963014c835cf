#ifndef MORVEK_ECHOVIDEO_LAYERSIZE_P_H
#define MORVEK_ECHOVIDEO_LAYERSIZE_P_H

#include "layervideoconfig.h"

#include <QRect>
#include <QRectF>
#include <QSize>

#include <cmath>

namespace Morvek::EchoVideo::Internal {

/** Whether integers can hold the layer's rectangle and every sum of its parts. */
inline bool isRepresentable(const sLayerItem &item)
{
    constexpr qreal LargestCoordinate = 1 << 29;
    const auto isSmall = [](qreal value) { return std::abs(value) <= LargestCoordinate; };
    const QRectF &rect = item.m_boundingRect;
    return isSmall(rect.x()) && isSmall(rect.y()) && isSmall(rect.width())
        && isSmall(rect.height());
}

/**
 * The size of a layer's preview in whole pixels: position and far edge rounded, so that it can
 * differ by one from the rounded width. Empty for a rectangle that no integer can hold.
 */
inline QSize layerSize(const sLayerItem &item)
{
    return isRepresentable(item) ? item.m_boundingRect.toRect().size() : QSize();
}

/** A rectangle's width or height, from its two edges; no host's rectangle overflows it. */
inline qint64 extent(int nFirst, int nLast)
{
    return qint64(nLast) - nFirst + 1;
}

/** Whether a part of the source is shown; one without width or height stands for the whole. */
inline bool isCropped(const sLayerSource &source)
{
    const QRect &rect = source.m_rectLayerSourceIntercept;
    return source.m_bLayerSourceIntercept && extent(rect.left(), rect.right()) != 0
        && extent(rect.top(), rect.bottom()) != 0;
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_LAYERSIZE_P_H
