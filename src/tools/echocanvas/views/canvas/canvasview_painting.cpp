#include "canvaspainter.h"
#include "canvasview.h"
#include "cpumeter.h"

#include <QPaintEvent>
#include <QPainter>

namespace Morvek::Tools {

namespace {

const QColor SelectionColor(255, 170, 40);
const QColor MarkBackground(16, 17, 19, 225);
constexpr int MarkMargin = 3; // pixels of the widget, above and below a mark's text
constexpr int MarkSlack = 4;  // the sign may come from another font, and be a little wider

// Above that, what is repainted is drawn anew: at the highest zoom it would take half a gigabyte.
constexpr double MaxBackdropPixels = 16e6;

bool keepsBackdrop(const QWidget &view)
{
    const double ratio = view.devicePixelRatioF();
    return view.width() * ratio * view.height() * ratio <= MaxBackdropPixels;
}

qint64 areaOf(const QRegion &region)
{
    qint64 nPixels = 0;
    for (const QRect &rect : region)
        nPixels += qint64(rect.width()) * rect.height();
    return nPixels;
}

} // namespace

void CanvasView::renderBackdrop()
{
    const qreal ratio = devicePixelRatioF();
    m_backdrop = QPixmap(size() * ratio);
    m_backdrop.setDevicePixelRatio(ratio);
    QPainter painter(&m_backdrop);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.scale(m_zoom, m_zoom);
    paintBackdrop(painter, m_screen);
}

void CanvasView::paintEvent(QPaintEvent *pEvent)
{
    const CpuMeter meter(m_figures.m_cpuSeconds);
    const bool isOfThisScreen = qFuzzyCompare(m_backdrop.devicePixelRatio(), devicePixelRatioF());
    if (!keepsBackdrop(*this))
        m_backdrop = QPixmap();
    else if (m_backdrop.isNull() || !isOfThisScreen)
        renderBackdrop();
    QPainter painter(this);
    ++m_figures.m_nPaints;
    m_figures.m_nPixels += areaOf(pEvent->region());
    if (pEvent->region() == visibleRegion())
        ++m_figures.m_nWholePaints;
    paintRegion(painter, pEvent->region());
}

/** Each rectangle by itself: what lies between them need not be touched. */
void CanvasView::paintRegion(QPainter &painter, const QRegion &region)
{
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const qreal ratio = m_backdrop.devicePixelRatio();
    for (const QRect &rect : region) {
        painter.setClipRect(rect);
        if (m_backdrop.isNull()) {
            painter.save();
            painter.scale(m_zoom, m_zoom);
            paintBackdrop(painter, m_screen);
            painter.restore();
        } else {
            // Not in whole pixels: there are none in between at a ratio of, say, 1.5.
            painter.drawPixmap(
                QRectF(rect), m_backdrop,
                QRectF(QPointF(rect.topLeft()) * ratio, QSizeF(rect.size()) * ratio));
        }
        for (const sSceneLayer &layer : qAsConst(m_screen.m_layers)) {
            const QRect target = onWidget(layer.canvasRect());
            const auto it = m_previews.constFind(layer.m_config.m_LayerIdentifies.layerId);
            if (it != m_previews.constEnd() && target.intersects(rect))
                painter.drawImage(target, *it);
            if (markRect(layer).intersects(rect))
                paintMark(painter, layer);
        }
    }
    painter.setClipRegion(region);
    paintSelection(painter);
}

/** In the layer's corner, and no wider than the layer, so that it covers no other one. */
QRect CanvasView::markRect(const sSceneLayer &layer) const
{
    const QString strText = m_marks.value(layer.m_config.m_LayerIdentifies.layerId).m_strText;
    if (strText.isEmpty())
        return QRect();
    const QSize wanted(fontMetrics().horizontalAdvance(strText) + 4 * MarkMargin + MarkSlack,
                       fontMetrics().height() + 2 * MarkMargin);
    const QRect room = onWidget(layer.canvasRect());
    return QRect(room.topLeft(), wanted.boundedTo(room.size()));
}

void CanvasView::paintMark(QPainter &painter, const sSceneLayer &layer) const
{
    const sLayerMark mark = m_marks.value(layer.m_config.m_LayerIdentifies.layerId);
    const QRect rect = markRect(layer);
    painter.fillRect(rect, MarkBackground);
    painter.setPen(mark.m_color);
    painter.setFont(font());
    const QRect room = rect.adjusted(2 * MarkMargin, MarkMargin, -2 * MarkMargin, -MarkMargin);
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(mark.m_strText, Qt::ElideRight, room.width()));
}

void CanvasView::paintSelection(QPainter &painter) const
{
    const sSceneLayer *const pLayer = m_selected ? layer(*m_selected) : nullptr;
    if (!pLayer)
        return;
    const QRect rect = onWidget(pLayer->canvasRect());
    painter.setPen(QPen(SelectionColor, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect);
    painter.setPen(QPen(Qt::black, 1));
    painter.setBrush(SelectionColor);
    const QList<Qt::Edges> handles = allHandles();
    for (Qt::Edges edges : handles)
        painter.drawRect(handleRect(rect, edges).adjusted(0, 0, -1, -1));
}

} // namespace Morvek::Tools
