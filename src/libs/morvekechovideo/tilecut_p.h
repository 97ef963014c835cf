#ifndef MORVEK_ECHOVIDEO_TILECUT_P_H
#define MORVEK_ECHOVIDEO_TILECUT_P_H

#include <QImage>
#include <QRect>

namespace Morvek::EchoVideo::Internal {

/** What a tile was cut from: the same frame and rectangle would give the same pixels again. */
struct sTileOrigin
{
    /** QImage::cacheKey(): a new one whenever the frame's pixels may have changed. */
    qint64 m_nFrameKey = 0;
    QRect m_rect;
};

/** Whether both give the same tile. */
inline bool operator==(const sTileOrigin &left, const sTileOrigin &right)
{
    return left.m_nFrameKey == right.m_nFrameKey && left.m_rect == right.m_rect;
}

/**
 * Cuts a rectangle out of a frame: what QImage::copy() gives, in memory that the tile has already
 * where nobody else holds that and it fits.
 *
 * @param rect  in pixels of the frame; null for all of it, and it may reach outside
 * @param tile  the tile cut before, or null; the new one after it. Whoever shares it keeps his.
 * @return false without memory for it; the tile is then as it was
 * @thread any, with nobody copying the tile meanwhile
 */
bool cutTile(const QImage &frame, const QRect &rect, QImage &tile);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_TILECUT_P_H
