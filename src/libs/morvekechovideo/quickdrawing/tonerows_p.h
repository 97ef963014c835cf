#ifndef MORVEK_ECHOVIDEO_TONEROWS_P_H
#define MORVEK_ECHOVIDEO_TONEROWS_P_H

#include "layerfade_p.h"
#include "tonetable_p.h"

#include <QImage>
#include <QRect>

namespace Morvek::EchoVideo::Internal {

/** Columns of a canvas that a tone table answers for; the few behind them are left to the painter. */
inline int tableColumns(int nWidth)
{
    return nWidth - nWidth % ToneTable::VectorPixels;
}

/**
 * Applies the table's steps to one row of opaque pixels.
 *
 * @param pRow     the pixels; those from tableColumns() on stay as they are
 * @param pAlphas  the fade's alphas of this row
 * @param kept     what the mask keeps, in pixels of the canvas; the row is one of its rows
 */
void toneRow(const ToneTable &table, const LayerFade &fade, const uchar *pAlphas, const QRect &kept,
             int nWidth, QRgb *pRow);

/**
 * Draws the steps over the columns from tableColumns() on, with a painter.
 *
 * @return false where memory ran out
 */
bool drawLastColumns(const sToneSteps &steps, LayerFade &fade, const QRect &kept, QImage &canvas);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_TONEROWS_P_H
