#include "layerdrag.h"

#include <QList>

#include <utility>

namespace Morvek::Tools {

QList<Qt::Edges> allHandles()
{
    return {Qt::TopEdge | Qt::LeftEdge,
            Qt::TopEdge | Qt::RightEdge,
            Qt::BottomEdge | Qt::LeftEdge,
            Qt::BottomEdge | Qt::RightEdge,
            Qt::TopEdge,
            Qt::BottomEdge,
            Qt::LeftEdge,
            Qt::RightEdge};
}

QRect handleRect(const QRect &rect, Qt::Edges edges)
{
    QPoint place = rect.center();
    if (edges & Qt::LeftEdge)
        place.setX(rect.left());
    if (edges & Qt::RightEdge)
        place.setX(rect.right());
    if (edges & Qt::TopEdge)
        place.setY(rect.top());
    if (edges & Qt::BottomEdge)
        place.setY(rect.bottom());
    return QRect(place - QPoint(HandleSize / 2, HandleSize / 2), QSize(HandleSize, HandleSize));
}

Qt::Edges edgesAt(const QRect &rect, const QPoint &point)
{
    // A little more than what is drawn, which would be hard to hit.
    const QMargins reach(2, 2, 2, 2);
    const QList<Qt::Edges> handles = allHandles();
    for (Qt::Edges edges : handles) {
        if (handleRect(rect, edges).marginsAdded(reach).contains(point))
            return edges;
    }
    return {};
}

Qt::CursorShape cursorOf(Qt::Edges edges)
{
    if (!edges)
        return Qt::SizeAllCursor;
    const bool isHorizontal = edges & (Qt::LeftEdge | Qt::RightEdge);
    const bool isVertical = edges & (Qt::TopEdge | Qt::BottomEdge);
    if (!isVertical)
        return Qt::SizeHorCursor;
    if (!isHorizontal)
        return Qt::SizeVerCursor;
    const bool isMainDiagonal =
        edges == (Qt::TopEdge | Qt::LeftEdge) || edges == (Qt::BottomEdge | Qt::RightEdge);
    return isMainDiagonal ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
}

LayerDrag::LayerDrag(const QRect &rect, Qt::Edges edges, const QPointF &start)
    : m_rect(rect)
    , m_edges(edges)
    , m_start(start)
    , m_hasBegun(edges != Qt::Edges())
{}

bool LayerDrag::hasBegun(const QPointF &point, double leastWay)
{
    m_hasBegun = m_hasBegun || (point - m_start).manhattanLength() >= leastWay;
    return m_hasBegun;
}

QRect LayerDrag::rectAt(const QPointF &point, bool isShapeKept) const
{
    const QPoint way = (point - m_start).toPoint();
    if (!m_edges)
        return m_rect.translated(way);
    QRect rect = m_rect;
    if (m_edges & Qt::LeftEdge)
        rect.setLeft(qMin(rect.left() + way.x(), rect.right()));
    if (m_edges & Qt::RightEdge)
        rect.setRight(qMax(rect.right() + way.x(), rect.left()));
    if (m_edges & Qt::TopEdge)
        rect.setTop(qMin(rect.top() + way.y(), rect.bottom()));
    if (m_edges & Qt::BottomEdge)
        rect.setBottom(qMax(rect.bottom() + way.y(), rect.top()));
    const bool isCorner =
        (m_edges & (Qt::LeftEdge | Qt::RightEdge)) && (m_edges & (Qt::TopEdge | Qt::BottomEdge));
    return isShapeKept && isCorner ? inOldShape(rect) : rect;
}

/** As large as the rectangle in the way in which it grew more; the corner across stays. */
QRect LayerDrag::inOldShape(const QRect &rect) const
{
    const double factor =
        qMax(double(rect.width()) / m_rect.width(), double(rect.height()) / m_rect.height());
    const QSize size = (QSizeF(m_rect.size()) * factor).toSize().expandedTo(QSize(1, 1));
    QRect shaped(rect.topLeft(), size);
    if (m_edges & Qt::LeftEdge)
        shaped.moveRight(rect.right());
    if (m_edges & Qt::TopEdge)
        shaped.moveBottom(rect.bottom());
    return shaped;
}

bool LayerDrag::takeFirst()
{
    return std::exchange(m_isFirst, false);
}

} // namespace Morvek::Tools
