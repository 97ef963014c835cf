#ifndef MORVEK_TESTS_PLAINRENDERER_H
#define MORVEK_TESTS_PLAINRENDERER_H

#include <layervideoconfig.h>

#include <QImage>
#include <QPixmap>
#include <QRectF>
#include <QSize>

namespace Morvek::Tests {

/**
 * The reference of a layer's preview: every step written out, pixel by pixel where that is
 * possible, to be read and not to be quick.
 *
 * Only what depends on the raster engine's own rounding is left to a QPainter: scaled drawing, and
 * the composition of translucent pixels. A preview must equal this one bit by bit.
 *
 * @param sourcePicture  what the host's callback leaves; not looked at for a layer without a source
 * @param frozenMark     the mark of frozen layers; may be null
 * @return straight ARGB32
 */
QImage plainPreview(const Morvek::EchoVideo::sLayerVideoConfig &layerVideoCfg,
                    const QImage &sourcePicture, const QPixmap &frozenMark = QPixmap());

/** The size of a layer's preview: both edges, which an int must hold, rounded, halves upward. */
QSize plainSize(const QRectF &boundingRect);

/** The picture after mono, reverse and crop, in RGB32, ARGB32, RGB888 or Grayscale8. */
QImage plainEffects(const Morvek::EchoVideo::sLayerVideoConfig &layerVideoCfg,
                    const QImage &sourcePicture);

/** A border's eased ramp: 0 at the edge, 1 from the thickness onward. */
double plainRamp(int nDistance, int nThickness);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PLAINRENDERER_H
