#ifndef MORVEK_ECHOVIDEO_LAYERSIZE_P_H
#define MORVEK_ECHOVIDEO_LAYERSIZE_P_H

#include "layervideoconfig.h"

#include <QRectF>
#include <QSize>

#include <cmath>

namespace Morvek::EchoVideo::Internal {

/**
 * The size of a layer's preview in whole pixels: position and far edge rounded, so that it can
 * differ by one from the rounded width. Empty for a rectangle that no integer can hold.
 */
inline QSize layerSize(const sLayerItem &item)
{
    constexpr qreal LargestCoordinate = 1 << 29;
    const QRectF &rect = item.m_boundingRect;
    const auto isRepresentable = [](qreal value) { return std::abs(value) <= LargestCoordinate; };
    if (!isRepresentable(rect.x()) || !isRepresentable(rect.y()) || !isRepresentable(rect.width())
        || !isRepresentable(rect.height()))
        return QSize();
    return rect.toRect().size();
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_LAYERSIZE_P_H
