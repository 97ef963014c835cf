#ifndef MORVEK_ECHOVIDEO_TONEROWS_P_H
#define MORVEK_ECHOVIDEO_TONEROWS_P_H

#include "layerfade_p.h"
#include "tonetable_p.h"

#include <QImage>
#include <QRect>

#include <vector>

namespace Morvek::EchoVideo::Internal {

/** Columns of a canvas, from begin up to but not including end. */
struct sColumnRange
{
    int m_nBegin = 0;
    int m_nEnd = 0;
};

/** Which columns of a canvas a tone table answers for, and which are left to the painter. */
struct sColumnShares
{
    std::vector<sColumnRange> m_table;
    std::vector<sColumnRange> m_painter;
};

/**
 * Shares the columns of a canvas between table and painter.
 *
 * The raster engine rounds whole groups of pixels in one way, and what is left at the end of a row
 * in another. A halo is drawn in two halves, each with an end of its own.
 */
sColumnShares shareColumns(const sToneSteps &steps, int nWidth);

/**
 * Applies the table's steps to some columns of a row of opaque pixels.
 *
 * @param pAlphas  the fade's alphas of this row
 * @param kept     what the mask keeps, in pixels of the canvas; the row is one of its rows
 */
void toneRow(const ToneTable &table, const LayerFade &fade, const uchar *pAlphas, const QRect &kept,
             const sColumnRange &columns, QRgb *pRow);

/**
 * Draws the steps over some columns of the canvas, with a painter.
 *
 * @return false where memory ran out
 */
bool drawColumns(const sToneSteps &steps, LayerFade &fade, const QRect &kept,
                 const sColumnRange &columns, QImage &canvas);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_TONEROWS_P_H
