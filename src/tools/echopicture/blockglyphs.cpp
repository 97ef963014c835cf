#include "blockglyphs.h"

#include <QPainter>
#include <QPolygonF>
#include <QTransform>

#include <array>

namespace Morvek::Tools {

namespace {

constexpr int GlyphColumns = 5;
constexpr int GlyphAdvance = GlyphColumns + 1;
constexpr int BlankInStrip = 0;

struct sGlyph
{
    char m_character;
    std::array<const char *, GlyphRows> m_rows;
};

constexpr sGlyph Glyphs[] = {
    {'0', {" ### ", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "}},
    {'1', {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'2', {" ### ", "#   #", "    #", "   # ", "  #  ", " #   ", "#####"}},
    {'3', {" ### ", "#   #", "    #", "  ## ", "    #", "#   #", " ### "}},
    {'4', {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "}},
    {'5', {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "}},
    {'6', {" ### ", "#    ", "#    ", "#### ", "#   #", "#   #", " ### "}},
    {'7', {"#####", "    #", "    #", "   # ", "  #  ", "  #  ", "  #  "}},
    {'8', {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "}},
    {'9', {" ### ", "#   #", "#   #", " ####", "    #", "    #", " ### "}},
    {':', {"     ", "  #  ", "  #  ", "     ", "  #  ", "  #  ", "     "}},
    {'.', {"     ", "     ", "     ", "     ", "     ", " ##  ", " ##  "}},
    {'A', {" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"}},
    {'E', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"}},
    {'F', {"#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#    "}},
    {'I', {" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "}},
    {'M', {"#   #", "## ##", "# # #", "# # #", "#   #", "#   #", "#   #"}},
    {'N', {"#   #", "##  #", "# # #", "#  ##", "#   #", "#   #", "#   #"}},
    {'R', {"#### ", "#   #", "#   #", "#### ", "# #  ", "#  # ", "#   #"}},
};

/** What a GlyphStrip holds, in its order. */
QByteArray stripCharacters()
{
    return QByteArrayLiteral(" 0123456789:.");
}

const sGlyph *glyphOf(char character)
{
    for (const sGlyph &glyph : Glyphs) {
        if (glyph.m_character == character) {
            return &glyph;
        }
    }
    return nullptr;
}

bool isSet(const sGlyph &glyph, int column, int row)
{
    return glyph.m_rows[std::size_t(row)][column] == '#';
}

/** Joins two dots that touch only at the corner right below a dot, by a slope of a dot's width. */
void addSlope(QPainterPath &path, const sGlyph &glyph, int column, int row)
{
    const bool isUpperLeft = isSet(glyph, column, row);
    const bool isUpperRight = isSet(glyph, column + 1, row);
    if (isUpperLeft == isUpperRight || isSet(glyph, column, row + 1) != isUpperRight
        || isSet(glyph, column + 1, row + 1) != isUpperLeft) {
        return;
    }
    const QPointF corner(column + 1, row + 1);
    // Clockwise, as the dots are, so that filling by winding joins them.
    path.addPolygon(QPolygonF({corner + QPointF(0, -1), corner + QPointF(1, 0),
                               corner + QPointF(0, 1), corner + QPointF(-1, 0)}));
    path.closeSubpath();
}

QPainterPath glyphPath(char character)
{
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    const sGlyph *glyph = glyphOf(character);
    if (glyph == nullptr) {
        return path;
    }
    for (int row = 0; row < GlyphRows; ++row) {
        for (int column = 0; column < GlyphColumns; ++column) {
            if (isSet(*glyph, column, row)) {
                path.addRect(column, row, 1, 1);
            }
            if (row + 1 < GlyphRows && column + 1 < GlyphColumns) {
                addSlope(path, *glyph, column, row);
            }
        }
    }
    return path;
}

} // namespace

int textColumns(int nCharacters)
{
    return nCharacters * GlyphAdvance - 1;
}

QPainterPath textPath(const QByteArray &text, const QPointF &topLeft, qreal dot)
{
    QPainterPath path;
    path.setFillRule(Qt::WindingFill);
    for (int index = 0; index < text.size(); ++index) {
        path.addPath(glyphPath(text.at(index)).translated(index * GlyphAdvance, 0));
    }
    return QTransform::fromTranslate(topLeft.x(), topLeft.y()).scale(dot, dot).map(path);
}

GlyphStrip::GlyphStrip(int dot, const QColor &color, const QColor &ground)
    : m_nAdvance(dot * GlyphAdvance)
    , m_glyphs(m_nAdvance * stripCharacters().size(), dot * GlyphRows, QImage::Format_RGB32)
{
    m_glyphs.fill(ground);
    QPainter painter(&m_glyphs);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(textPath(stripCharacters(), QPointF(), dot), color);
}

void GlyphStrip::write(QImage &picture, const QPoint &topLeft, const QByteArray &text) const
{
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (int index = 0; index < text.size(); ++index) {
        const int found = stripCharacters().indexOf(text.at(index));
        const int glyph = found < 0 ? BlankInStrip : found;
        painter.drawImage(topLeft + QPoint(index * m_nAdvance, 0), m_glyphs,
                          QRect(glyph * m_nAdvance, 0, m_nAdvance, m_glyphs.height()));
    }
}

} // namespace Morvek::Tools
