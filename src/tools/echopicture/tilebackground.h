#ifndef MORVEK_TOOLS_TILEBACKGROUND_H
#define MORVEK_TOOLS_TILEBACKGROUND_H

#include <QColor>
#include <QRect>
#include <QRectF>

class QPainter;

namespace Morvek::Tools {

/**
 * Where the parts of a tile stand, in pixels of the echo picture. The rows, from the top: the
 * stamp (see tilestamp.h), the number of the input beside the dial and the number of the picture,
 * the colour bars under which the pointer runs, the time code.
 */
struct sTilePlan
{
    explicit sTilePlan(const QRect &tile);

    QRect m_tile;
    QRectF m_number;      ///< number of the input, with the word before it
    QRect m_dial;         ///< square with the turning hand
    QRectF m_frameLabel;  ///< the word above the number of the picture
    QRect m_frame;        ///< number of the picture
    QRectF m_bars;        ///< colour bars
    QRect m_pointerTrack; ///< what the running pointer moves in
    QRect m_time;         ///< time code
    int m_nFrameDot;      ///< size of a dot of the number of the picture
    int m_nTimeDot;       ///< size of a dot of the time code
};

/** Ground under the changing text. */
QColor panelColor();

/** The light colour of a tile: no two of the first 25 are alike. */
QColor accentColor(int nInput);

/**
 * Draws everything of a tile that never changes.
 *
 * @param painter  on the echo picture, anti-aliasing
 * @param nInput   number of the input, from 0
 * @thread any
 */
void paintTileBackground(QPainter &painter, const sTilePlan &plan, int nInput);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_TILEBACKGROUND_H
