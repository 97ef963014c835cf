#ifndef MORVEK_TOOLS_ECHOLAYOUT_H
#define MORVEK_TOOLS_ECHOLAYOUT_H

#include <QList>
#include <QRect>
#include <QSize>

namespace Morvek::Tools {

/** Size of every echo picture, in pixels. */
constexpr QSize EchoPictureSize(1920, 1080);

/** The numbers of tiles that an echo picture may have. */
QList<int> supportedTileCounts();

/**
 * Where a tile lies in the echo picture: square grids, tiles row by row.
 *
 * @param nTiles  one of supportedTileCounts()
 * @param nIndex  number of the tile, 0 to nTiles - 1
 * @return the tile in pixels; null for anything else
 */
QRect tileRect(int nTiles, int nIndex);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_ECHOLAYOUT_H
