#include "echolayout.h"

namespace Morvek::Tools {

namespace {

/** Tiles in a row of the grid; 0 for a number of tiles that has no layout. */
int gridSide(int nTiles)
{
    for (int side = 2; side <= 5; ++side) {
        if (side * side == nTiles) {
            return side;
        }
    }
    return 0;
}

} // namespace

QList<int> supportedTileCounts()
{
    return {4, 9, 16, 25};
}

QRect tileRect(int nTiles, int nIndex)
{
    const int side = gridSide(nTiles);
    if (nIndex < 0 || nIndex >= side * side) {
        return {};
    }
    const QSize size(EchoPictureSize.width() / side, EchoPictureSize.height() / side);
    const QPoint cell(nIndex % side, nIndex / side);
    return {QPoint(cell.x() * size.width(), cell.y() * size.height()), size};
}

} // namespace Morvek::Tools
