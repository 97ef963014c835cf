#ifndef MORVEK_TOOLS_TILESTAMP_H
#define MORVEK_TOOLS_TILESTAMP_H

#include <QImage>
#include <QRect>
#include <QRectF>
#include <QtGlobal>

#include <optional>

namespace Morvek::Tools {

/**
 * @file
 * The machine-readable stamp of a tile: two rows of 36 blocks near the tile's top, white on a black
 * band, all places and sizes in proportion to the tile.
 *
 * A block is 1/40 of the tile's width and 9/200 of its height; the first starts 2/40 from the
 * left edge and 14/200 from the top edge. In each row two calibration blocks stand at either end:
 *
 *     upper row   white black  <bits 0 to 31>   black white
 *     lower row   black white  <bits 32 to 63>  white black
 *
 * White is 1. The 64 bits, each field with its highest bit first:
 *
 *     bits  0 to  7   number of the input
 *     bits  8 to 23   running number of the picture, modulo 2^16
 *     bits 24 to 47   time in ms since the epoch, modulo 2^24 (4 hours, 39 minutes, 37.216 seconds)
 *     bits 48 to 63   check sum over the six bytes before: qChecksum(), CRC-16 of ISO 3309
 *
 * The reader takes what is white and what is black from the calibration blocks, along the row and
 * for each row alone, so brightness, contrast, lost colour and inversion do not matter.
 */

constexpr int StampRows = 2;     ///< rows of blocks in a stamp
constexpr int StampColumns = 36; ///< blocks in a row, calibration included

/** What a tile says about itself to a machine. */
struct sTileStamp
{
    quint8 m_nInput = 0;  ///< number of the input, from 0
    quint32 m_nFrame = 0; ///< running number of the picture, modulo 2^16
    qint64 m_nTimeMs = 0; ///< when the picture was made, ms since the epoch (UTC)
};

/**
 * Where a block of the stamp lies.
 *
 * @param tile     the tile, in pixels of a picture
 * @param nRow     0 to StampRows - 1
 * @param nColumn  0 to StampColumns - 1
 * @thread any
 */
QRectF stampBlockRect(const QRectF &tile, int nRow, int nColumn);

/** Where all blocks together lie: what must be in sight for readTileStamp(). @thread any */
QRectF stampRect(const QRectF &tile);

/**
 * Draws the stamp.
 *
 * @param picture  the echo picture; a null picture or one that QPainter cannot draw on is left alone
 * @param tile     the tile, in pixels of the picture; what lies outside is clipped
 * @thread any
 */
void drawTileStamp(QImage &picture, const QRect &tile, const sTileStamp &stamp);

/**
 * Reads a stamp back, after JPEG and scaling.
 *
 * Blocks of 2 x 2 pixels are the smallest that are tried; from 4 x 4 pixels on (a tile of 160 x 90)
 * an unblurred stamp is legible.
 *
 * @param picture    any picture that shows the tile, upright and not mirrored
 * @param tile       where the whole tile lies in it, in pixels; may reach outside where only a part
 *                   of the tile is shown
 * @param nNowMs     the reader's clock, ms since the epoch; the stamp carries its time modulo a few
 *                   hours and is completed with this to the nearest time
 * @return nothing when the blocks are not legible or their check sum is wrong
 * @thread any
 */
std::optional<sTileStamp> readTileStamp(const QImage &picture, const QRectF &tile, qint64 nNowMs);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_TILESTAMP_H
