#ifndef MORVEK_ECHOVIDEO_BORDERRAMP_P_H
#define MORVEK_ECHOVIDEO_BORDERRAMP_P_H

#include <QColor>
#include <QImage>
#include <QSize>
#include <QtGlobal>

namespace Morvek::EchoVideo::Internal {

/**
 * The eased ramp of soft and halo borders.
 *
 * @param value    distance from the edge in pixels
 * @param total    thickness of the border in pixels
 * @param opacity  value of the ramp from total onward, 0 to 1
 * @return 0 at the edge, rising to opacity along an InOutCubic curve; 0 / 0 counts as the edge
 */
qreal getOpcity(int value, int total, qreal opacity);

/**
 * One quarter of a layer, top-left, whose alpha rises from 0 at the edges to 255 inside.
 *
 * @param size        of the quarter, in pixels
 * @param borderSize  thickness in pixels: width for the left, height for the top edge
 * @return straight ARGB32; null for an empty size or where it cannot be allocated
 */
QImage softBorderTile(const QSize &size, const QSize &borderSize);

/**
 * One quarter of a layer, top-left, in the border colour, solid at the edges and fading inward.
 *
 * The colour's alpha a enters both ramps, so the interior keeps an alpha of 255 x (1 - a x a): an
 * opaque colour leaves the interior clear, a fainter one covers it more.
 */
QImage haloBorderTile(const QSize &size, const QSize &borderSize, const QColor &borderColor);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_BORDERRAMP_P_H
