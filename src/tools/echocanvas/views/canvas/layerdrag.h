#ifndef MORVEK_ECHOCANVAS_LAYERDRAG_H
#define MORVEK_ECHOCANVAS_LAYERDRAG_H

#include <QList>
#include <QPointF>
#include <QRect>
#include <Qt>

namespace Morvek::Tools {

/** Side length of the squares by which a rectangle is resized, in pixels of the widget. */
constexpr int HandleSize = 8;

/**
 * Which edges of a rectangle a point takes hold of.
 *
 * @param rect       on the widget
 * @param point      on the widget
 * @return the edges of the handle; none where the point is on no handle
 */
Qt::Edges edgesAt(const QRect &rect, const QPoint &point);

/** The square of a handle. @param edges  one edge, or two that meet */
QRect handleRect(const QRect &rect, Qt::Edges edges);

/** All eight handles. */
QList<Qt::Edges> allHandles();

/** The cursor over a handle, or over the inside where there are no edges. */
Qt::CursorShape cursorOf(Qt::Edges edges);

/** Moves or resizes a rectangle by the mouse. */
class LayerDrag
{
public:
    /**
     * @param rect   as it is at the beginning
     * @param edges  those that follow the mouse; none to move all of it
     * @param start  where the mouse is, in the rectangle's own pixels
     */
    LayerDrag(const QRect &rect, Qt::Edges edges, const QPointF &start);

    /**
     * The rectangle once the mouse is there: never smaller than one pixel.
     *
     * @param isShapeKept  a corner leaves the ratio of width and height as it was
     */
    QRect rectAt(const QPointF &point, bool isShapeKept = false) const;
    QRect startRect() const { return m_rect; }
    /** Whether all of the rectangle is moved. */
    bool isMove() const { return !m_edges; }
    /**
     * Whether the mouse is or was far enough from where it began: a click that wobbles moves nothing,
     * while a handle is meant to follow at once.
     *
     * @param leastWay  in the rectangle's own pixels
     */
    bool hasBegun(const QPointF &point, double leastWay);
    /** Whether this is the drag's first step, which it is for one call only. */
    bool takeFirst();

private:
    QRect inOldShape(const QRect &rect) const;

    QRect m_rect;
    Qt::Edges m_edges;
    QPointF m_start;
    bool m_hasBegun;
    bool m_isFirst = true;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LAYERDRAG_H
