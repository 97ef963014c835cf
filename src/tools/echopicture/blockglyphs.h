#ifndef MORVEK_TOOLS_BLOCKGLYPHS_H
#define MORVEK_TOOLS_BLOCKGLYPHS_H

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QPointF>

namespace Morvek::Tools {

/*
 * Letters without fonts, so that a program without a GUI application, on a machine without fonts,
 * can write on pictures. Every glyph is 5 x 7 dots, with one dot between neighbours; diagonal
 * steps are filled up to straight slopes. There are digits, colon, full stop, blank and the capital
 * letters of the words that are written; any other character is left blank.
 */

constexpr int GlyphRows = 7; ///< height of a line of text, in dots

/** Width of a text in dots, without a gap at its end. */
int textColumns(int nCharacters);

/**
 * The outline of a text, to be filled with a painter.
 *
 * @param topLeft  where the first glyph's cell begins
 * @param dot      width and height of a dot, in the units of the painter
 * @thread any
 */
QPainterPath textPath(const QByteArray &text, const QPointF &topLeft, qreal dot);

/**
 * Text on a plain ground for what changes in every picture: all glyphs are drawn once and then
 * copied, ground included.
 *
 * @thread any; for one thread at a time
 */
class GlyphStrip
{
public:
    /**
     * @param dot  width and height of a dot in pixels, from 1
     */
    GlyphStrip(int dot, const QColor &color, const QColor &ground);

    /**
     * Copies digits, colons, full stops and blanks into a picture.
     *
     * @param picture  in QImage::Format_RGB32; has to have room for the whole text
     */
    void write(QImage &picture, const QPoint &topLeft, const QByteArray &text) const;

private:
    int m_nAdvance;  // pixels from one glyph to the next
    QImage m_glyphs; // all glyphs of the strip side by side
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_BLOCKGLYPHS_H
