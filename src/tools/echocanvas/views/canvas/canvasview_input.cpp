#include "canvasview.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>

namespace Morvek::Tools {

namespace {

constexpr int FarStep = 10; // pixels that an arrow key moves with Ctrl
constexpr double WheelStep = 1.2;

} // namespace

QPointF CanvasView::toCanvas(const QPoint &point) const
{
    return QPointF(point) / m_zoom;
}

const sSceneLayer *CanvasView::layerAt(const QPointF &canvasPoint) const
{
    for (int nLayer = m_screen.m_layers.size() - 1; nLayer >= 0; --nLayer) {
        if (QRectF(m_screen.m_layers[nLayer].canvasRect()).contains(canvasPoint))
            return &m_screen.m_layers[nLayer];
    }
    return nullptr;
}

void CanvasView::mousePressEvent(QMouseEvent *pEvent)
{
    // The right one selects what its menu is about, but not in the middle of a drag.
    const bool isForMenu = pEvent->buttons() == Qt::RightButton;
    if (pEvent->button() != Qt::LeftButton && !isForMenu)
        return;
    const QPointF place = toCanvas(pEvent->pos());
    const sSceneLayer *pLayer = m_selected ? layer(*m_selected) : nullptr;
    const Qt::Edges edges =
        pLayer && !isForMenu ? edgesAt(onWidget(pLayer->canvasRect()), pEvent->pos()) : Qt::Edges();
    if (!edges)
        pLayer = layerAt(place);
    if (!pLayer) {
        Q_EMIT selectionCleared();
        return;
    }
    if (!isForMenu)
        m_drag.emplace(pLayer->canvasRect(), edges, place);
    const LayerKey key = pLayer->m_config.m_LayerIdentifies;
    Q_EMIT layerSelected(key);
}

void CanvasView::mouseMoveEvent(QMouseEvent *pEvent)
{
    const sSceneLayer *const pLayer = m_selected ? layer(*m_selected) : nullptr;
    if (!m_drag || !pLayer || !(pEvent->buttons() & Qt::LeftButton)) {
        updateCursor(pEvent->pos());
        return;
    }
    const QPointF place = toCanvas(pEvent->pos());
    if (!m_drag->hasBegun(place, QApplication::startDragDistance() / m_zoom))
        return;
    const QRect rect = m_drag->rectAt(place, pEvent->modifiers() & Qt::ShiftModifier);
    if (rect != pLayer->canvasRect())
        Q_EMIT geometryWanted(*m_selected, rect, m_drag->takeFirst());
}

void CanvasView::mouseReleaseEvent(QMouseEvent *pEvent)
{
    if (pEvent->button() == Qt::LeftButton)
        m_drag.reset();
}

void CanvasView::updateCursor(const QPoint &point)
{
    const sSceneLayer *const pLayer = m_selected ? layer(*m_selected) : nullptr;
    const QRect rect = pLayer ? onWidget(pLayer->canvasRect()) : QRect();
    const Qt::Edges edges = pLayer ? edgesAt(rect, point) : Qt::Edges();
    if (pLayer && (edges || rect.contains(point)))
        setCursor(cursorOf(edges));
    else
        unsetCursor();
}

void CanvasView::keyPressEvent(QKeyEvent *pEvent)
{
    const sSceneLayer *const pLayer = m_selected ? layer(*m_selected) : nullptr;
    const int nStep = pEvent->modifiers() & Qt::ControlModifier ? FarStep : 1;
    QPoint way;
    switch (pEvent->key()) {
    case Qt::Key_Left:
        way = QPoint(-nStep, 0);
        break;
    case Qt::Key_Right:
        way = QPoint(nStep, 0);
        break;
    case Qt::Key_Up:
        way = QPoint(0, -nStep);
        break;
    case Qt::Key_Down:
        way = QPoint(0, nStep);
        break;
    case Qt::Key_PageUp:
        selectNext(1);
        return;
    case Qt::Key_PageDown:
        selectNext(-1);
        return;
    case Qt::Key_Escape:
        if (m_drag && pLayer)
            Q_EMIT geometryWanted(*m_selected, m_drag->startRect(), false);
        else
            Q_EMIT selectionCleared();
        m_drag.reset();
        return;
    default:
        QWidget::keyPressEvent(pEvent);
        return;
    }
    if (!pLayer)
        return;
    QRect rect = pLayer->canvasRect();
    if (pEvent->modifiers() & Qt::ShiftModifier)
        rect.setSize((rect.size() + QSize(way.x(), way.y())).expandedTo(QSize(1, 1)));
    else
        rect.translate(way);
    // Keys that repeat are one gesture, as a drag is.
    Q_EMIT geometryWanted(*m_selected, rect, !pEvent->isAutoRepeat());
}

void CanvasView::selectNext(int nStep)
{
    const int nLayers = m_screen.m_layers.size();
    if (nLayers == 0)
        return;
    int nNow = nStep > 0 ? -1 : 0;
    for (int nLayer = 0; nLayer < nLayers && m_selected; ++nLayer) {
        if (m_screen.m_layers[nLayer].m_config.m_LayerIdentifies == *m_selected)
            nNow = nLayer;
    }
    const int nNext = (nNow + nStep + nLayers) % nLayers;
    const LayerKey key = m_screen.m_layers[nNext].m_config.m_LayerIdentifies;
    m_drag.reset(); // which was of another layer
    Q_EMIT layerSelected(key);
}

void CanvasView::wheelEvent(QWheelEvent *pEvent)
{
    if (!(pEvent->modifiers() & Qt::ControlModifier)) {
        QWidget::wheelEvent(pEvent);
        return;
    }
    const double steps = pEvent->angleDelta().y() / 120.0;
    Q_EMIT zoomWanted(m_zoom * std::pow(WheelStep, steps), pEvent->position().toPoint());
    pEvent->accept();
}

} // namespace Morvek::Tools
