#include "canvaspane.h"

#include "canvasview.h"

#include <QMenu>
#include <QScrollBar>

namespace Morvek::Tools {

namespace {

constexpr double ZoomStep = 1.25;

} // namespace

CanvasPane::CanvasPane(QWidget *pParent)
    : QScrollArea(pParent)
    , m_pView(new CanvasView)
{
    setWidget(m_pView);
    setAlignment(Qt::AlignCenter);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus); // the canvas takes the keys
    setBackgroundRole(QPalette::Dark);
    connect(m_pView, &CanvasView::zoomWanted, this, &CanvasPane::zoomAround);
}

void CanvasPane::addActions(QMenu &menu)
{
    menu.addAction(
        QStringLiteral("Zoom &in"), this, [this] { zoomBy(ZoomStep); }, QKeySequence::ZoomIn);
    menu.addAction(
        QStringLiteral("Zoom &out"), this, [this] { zoomBy(1 / ZoomStep); }, QKeySequence::ZoomOut);
    menu.addAction(QStringLiteral("&Actual size"), this, &CanvasPane::setActualSize,
                   QKeySequence(Qt::CTRL | Qt::Key_1));
    menu.addAction(QStringLiteral("&Fit"), this, &CanvasPane::fit,
                   QKeySequence(Qt::CTRL | Qt::Key_0));
}

void CanvasPane::fit()
{
    m_isFitting = true;
    // Without the scroll bars that it will then not need.
    m_pView->setZoom(m_pView->fittingZoom(maximumViewportSize()));
    Q_EMIT zoomChanged(m_pView->zoom());
}

void CanvasPane::zoomBy(double factor)
{
    const QPoint middle = viewport()->rect().center();
    zoomAround(m_pView->zoom() * factor, m_pView->mapFrom(viewport(), middle));
}

void CanvasPane::setActualSize()
{
    zoomBy(1 / m_pView->zoom());
}

void CanvasPane::zoomAround(double zoom, const QPoint &where)
{
    m_isFitting = false;
    const QPoint onViewport = m_pView->mapTo(viewport(), where);
    const QPointF canvasPoint = QPointF(where) / m_pView->zoom();
    m_pView->setZoom(zoom);
    const QPoint there = (canvasPoint * m_pView->zoom()).toPoint();
    horizontalScrollBar()->setValue(there.x() - onViewport.x());
    verticalScrollBar()->setValue(there.y() - onViewport.y());
    Q_EMIT zoomChanged(m_pView->zoom());
}

void CanvasPane::resizeEvent(QResizeEvent *pEvent)
{
    QScrollArea::resizeEvent(pEvent);
    if (m_isFitting)
        fit();
}

} // namespace Morvek::Tools
