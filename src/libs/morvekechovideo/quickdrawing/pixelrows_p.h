#ifndef MORVEK_ECHOVIDEO_PIXELROWS_P_H
#define MORVEK_ECHOVIDEO_PIXELROWS_P_H

#include "pixelgather_p.h"

#include <QColor>
#include <QImage>

namespace Morvek::EchoVideo::Internal {

/** Colour effects of a layer's picture. */
struct sColorEffects
{
    bool m_isMono = false;
    bool m_isReverse = false;
};

/** Whether rowOfPicture() can read such a picture; translucent ones it cannot. */
bool isReadable(const QImage &picture);

/** Bits of a pixel when the picture is drawn, after its colour effects. */
int depthOfPicture(const QImage &picture, const sColorEffects &effects);

/**
 * One row of an opaque canvas: for each of its columns a pixel of the picture.
 *
 * @param picture  one that isReadable()
 * @param nRow     of the picture
 * @param pRow     receives as many opaque pixels as there are columns
 */
void rowOfPicture(const QImage &picture, int nRow, const GatheredColumns &columns,
                  const sColorEffects &effects, QRgb *pRow);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PIXELROWS_P_H
