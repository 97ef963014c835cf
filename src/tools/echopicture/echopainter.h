#ifndef MORVEK_TOOLS_ECHOPAINTER_H
#define MORVEK_TOOLS_ECHOPAINTER_H

#include "blockglyphs.h"
#include "tilebackground.h"

#include <QImage>
#include <QSet>

#include <vector>

class QPainter;

namespace Morvek::Tools {

/**
 * Draws the pictures of a simulated device: a composite of tiles, one for each input, every tile
 * different and moving, marked for people and for machines (tilestamp.h) with the number of the
 * input, the number of the picture and the time.
 *
 * Needs no application object and no fonts.
 *
 * @thread any; for one thread at a time
 */
class EchoPainter
{
public:
    /**
     * @param nTiles  one of supportedTileCounts(); anything else leaves the picture black
     */
    explicit EchoPainter(int nTiles);

    /** Inputs without signal, whose tiles are black; all others show their picture again. */
    void setDark(const QSet<int> &inputs);
    /** Inputs that hang: from the next picture on their tiles stay as they are. */
    void setStill(const QSet<int> &inputs) { m_still = inputs; }

    /**
     * Draws the next picture.
     *
     * @param nPicture  running number; people see it modulo 10^6
     * @param nTimeMs   when it is made, ms since the epoch; people see the time of day in UTC
     * @return the picture, of EchoPictureSize and in QImage::Format_RGB32, unchanged until the next
     *         call; who keeps a copy beyond that pays for a copy of all pixels
     */
    const QImage &paint(quint32 nPicture, qint64 nTimeMs);

private:
    bool isDrawn(int nInput) const;
    void paintMovingParts(QPainter &painter, int nInput, quint32 nPicture) const;
    void restoreBackground(QPainter &painter, const QRect &area) const;
    void writeTexts(quint32 nPicture, qint64 nTimeMs);

    const std::vector<sTilePlan> m_plans; // one for each tile
    const GlyphStrip m_frameGlyphs;       // for the number of the picture
    const GlyphStrip m_timeGlyphs;        // for the time code
    QImage m_background;                  // what never changes
    QImage m_picture;
    QSet<int> m_dark;
    QSet<int> m_still;
    bool m_isFirst = true; // nothing can stay before it was drawn once
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_ECHOPAINTER_H
