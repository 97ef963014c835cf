#include "tilebackground.h"

#include "blockglyphs.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

namespace Morvek::Tools {

namespace {

constexpr int HueSlots = 25;
constexpr int FrameDigits = 6;
constexpr int TimeCharacters = 12; // hh:mm:ss.mmm

/** A part of a tile given in thousandths of its width and height. */
QRectF part(const QRect &tile, qreal left, qreal top, qreal right, qreal bottom)
{
    const qreal w = tile.width() / 1000.0;
    const qreal h = tile.height() / 1000.0;
    return {QPointF(tile.left() + left * w, tile.top() + top * h),
            QPointF(tile.left() + right * w, tile.top() + bottom * h)};
}

/** The rectangle of a line of text whose dots are whole pixels, centred in a place. */
QRect textRect(const QRectF &place, int nCharacters, int dot)
{
    const QSize size(textColumns(nCharacters) * dot, GlyphRows * dot);
    const QPointF offset((place.width() - size.width()) / 2, (place.height() - size.height()) / 2);
    return {(place.topLeft() + offset).toPoint(), size};
}

int fittingDot(const QRectF &place, int nCharacters)
{
    return qMax(1, int(place.width() / textColumns(nCharacters)));
}

/** Place of an input on a colour circle of 25; inputs side by side or one above the other are far
 * apart in every layout. */
int hueSlot(int nInput)
{
    return nInput * 11 % HueSlots;
}

QColor toned(int nInput, qreal saturation, qreal value, qreal alpha = 1)
{
    constexpr qreal FirstHue = 0.58;
    const qreal turns = FirstHue + qreal(hueSlot(nInput)) / HueSlots;
    return QColor::fromHsvF(turns - int(turns), saturation, value, alpha);
}

// ---- patterns

/** How many steps of a pattern cover a length. */
int stepCount(qreal length, qreal step)
{
    return qCeil(length / step);
}

void paintStripes(QPainter &painter, const QRectF &area, qreal step)
{
    const qreal height = area.height();
    for (int index = 0; index < stepCount(area.width() + height, 2 * step); ++index) {
        const qreal x = area.left() - height + index * 2 * step;
        painter.drawPolygon(QPolygonF({{x, area.bottom()},
                                       {x + step, area.bottom()},
                                       {x + step + height, area.top()},
                                       {x + height, area.top()}}));
    }
}

void paintChecks(QPainter &painter, const QRectF &area, qreal step)
{
    for (int row = 0; row < stepCount(area.height(), step); ++row) {
        for (int column = row % 2; column < stepCount(area.width(), step); column += 2) {
            const QPointF topLeft = area.topLeft() + QPointF(column, row) * step;
            painter.drawRect(QRectF(topLeft, QSizeF(step, step)));
        }
    }
}

void paintRings(QPainter &painter, const QRectF &area, qreal step)
{
    QPainterPath rings;
    for (int ring = 1; ring < stepCount(area.width(), step); ++ring) {
        // Odd-even: every second ring is filled.
        rings.addEllipse(area.center(), ring * step, ring * step);
    }
    painter.drawPath(rings);
}

void paintDots(QPainter &painter, const QRectF &area, qreal step)
{
    for (int row = 0; row < stepCount(area.height(), step); ++row) {
        for (int column = 0; column < stepCount(area.width(), step); ++column) {
            const QPointF centre = area.topLeft() + QPointF(column + 0.5, row + 0.5) * step;
            painter.drawEllipse(centre, step / 4, step / 4);
        }
    }
}

void paintColumns(QPainter &painter, const QRectF &area, qreal step)
{
    for (int column = 0; column < stepCount(area.width(), step); column += 2) {
        painter.drawRect(QRectF(area.left() + column * step, area.top(), step, area.height()));
    }
}

void paintPattern(QPainter &painter, const QRectF &area, int nInput)
{
    using tPattern = void (*)(QPainter &, const QRectF &, qreal);
    constexpr tPattern Patterns[] = {paintStripes, paintRings, paintChecks, paintDots,
                                     paintColumns};
    constexpr int PatternCount = sizeof Patterns / sizeof Patterns[0];
    painter.setPen(Qt::NoPen);
    painter.setBrush(toned(nInput, 0.55, 0.95, 0.13));
    Patterns[nInput % PatternCount](painter, area, area.height() / 9);
}

void paintGround(QPainter &painter, const QRectF &area, int nInput)
{
    // Neighbours on the colour circle differ in brightness too.
    const bool isBright = hueSlot(nInput) % 2 == 0;
    QLinearGradient gradient(area.topLeft(), area.bottomRight());
    gradient.setColorAt(0, toned(nInput, 0.80, isBright ? 0.68 : 0.54));
    gradient.setColorAt(1, toned(nInput, 0.90, isBright ? 0.34 : 0.22));
    painter.fillRect(area, gradient);
}

/** A line along the tile's edge: shows whether a tile was cut out exactly. */
void paintEdge(QPainter &painter, const QRect &tile, int nInput)
{
    const qreal width = qMax(2, tile.height() / 108);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(accentColor(nInput), width, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawRect(QRectF(tile).adjusted(width / 2, width / 2, -width / 2, -width / 2));
}

// ---- furniture

void paintNumber(QPainter &painter, const QRectF &place, int nInput)
{
    const qreal digitDot = place.height() / GlyphRows;
    const qreal wordDot = digitDot * 0.4;
    const QPointF wordAt(place.left(), place.bottom() - wordDot * GlyphRows);
    const QPointF digitsAt(place.left() + wordDot * (textColumns(2) + 3), place.top());
    QPainterPath path = textPath("IN", wordAt, wordDot);
    path.addPath(textPath(QByteArray::number(nInput), digitsAt, digitDot));
    path.setFillRule(Qt::WindingFill);
    painter.fillPath(path.translated(wordDot * 0.6, wordDot * 0.6), QColor(0, 0, 0, 110));
    painter.fillPath(path, Qt::white);
}

void paintWord(QPainter &painter, const QByteArray &word, const QRectF &place)
{
    const qreal dot = place.height() / GlyphRows;
    const qreal left = place.center().x() - textColumns(word.size()) * dot / 2;
    painter.fillPath(textPath(word, QPointF(left, place.top()), dot), Qt::white);
}

void paintDialFace(QPainter &painter, const QRectF &dial)
{
    const qreal width = dial.height() / 24;
    painter.setPen(QPen(Qt::white, width));
    painter.setBrush(panelColor());
    painter.drawEllipse(dial.adjusted(width, width, -width, -width));
}

void paintPanel(QPainter &painter, const QRectF &text, qreal margin)
{
    const QRectF panel = text.adjusted(-margin, -margin, margin, margin);
    painter.setPen(Qt::NoPen);
    painter.setBrush(panelColor());
    painter.drawRoundedRect(panel, margin, margin);
}

void paintBars(QPainter &painter, const QRectF &bars)
{
    const QColor colors[] = {Qt::white,   Qt::yellow, Qt::cyan, Qt::green,
                             Qt::magenta, Qt::red,    Qt::blue, Qt::black};
    constexpr int Count = sizeof colors / sizeof colors[0];
    for (int index = 0; index < Count; ++index) {
        const QRectF bar(bars.left() + bars.width() * index / Count, bars.top(),
                         bars.width() / Count, bars.height());
        painter.fillRect(bar, colors[index].darker(115));
    }
}

} // namespace

sTilePlan::sTilePlan(const QRect &tile)
    : m_tile(tile)
    , m_number(part(tile, 60, 220, 640, 670))
    , m_dial(part(tile, 735, 215, 895, 495).toRect())
    , m_frameLabel(part(tile, 690, 512, 940, 552))
    , m_bars(part(tile, 50, 715, 950, 755))
    , m_pointerTrack(part(tile, 50, 760, 950, 795).toRect())
    , m_nFrameDot(fittingDot(part(tile, 690, 0, 940, 0), FrameDigits))
    , m_nTimeDot(fittingDot(part(tile, 150, 0, 850, 0), TimeCharacters))
{
    m_frame = textRect(part(tile, 690, 575, 940, 675), FrameDigits, m_nFrameDot);
    m_time = textRect(part(tile, 50, 810, 950, 960), TimeCharacters, m_nTimeDot);
}

QColor panelColor()
{
    return {14, 16, 20};
}

QColor accentColor(int nInput)
{
    return toned(nInput, 0.45, 1.0);
}

void paintTileBackground(QPainter &painter, const sTilePlan &plan, int nInput)
{
    painter.save();
    painter.setClipRect(plan.m_tile);
    paintGround(painter, plan.m_tile, nInput);
    paintPattern(painter, plan.m_tile, nInput);
    paintEdge(painter, plan.m_tile, nInput);
    paintNumber(painter, plan.m_number, nInput);
    paintBars(painter, plan.m_bars);
    paintDialFace(painter, plan.m_dial);
    paintPanel(painter, plan.m_frame, plan.m_nFrameDot);
    paintPanel(painter, plan.m_time, plan.m_nTimeDot);
    paintWord(painter, "FRAME", plan.m_frameLabel);
    painter.restore();
}

} // namespace Morvek::Tools
