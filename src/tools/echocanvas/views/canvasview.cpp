#include "canvasview.h"

#include "canvaspainter.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace Morvek::Tools {

namespace {

constexpr int FarStep = 10; // pixels that an arrow key moves with Ctrl
constexpr double WheelStep = 1.2;
const QColor SelectionColor(255, 170, 40);

/** Adds the processor time that its life takes on this thread. */
class CpuMeter
{
public:
    explicit CpuMeter(double &seconds)
        : m_seconds(seconds)
        , m_start(now())
    {}
    ~CpuMeter() { m_seconds += now() - m_start; }

private:
    Q_DISABLE_COPY(CpuMeter)
    static double now()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    }

    double &m_seconds;
    const double m_start;
};

qint64 areaOf(const QRegion &region)
{
    qint64 nPixels = 0;
    for (const QRect &rect : region)
        nPixels += qint64(rect.width()) * rect.height();
    return nPixels;
}

} // namespace

CanvasView::CanvasView(QWidget *pParent)
    : QWidget(pParent)
{
    setAttribute(Qt::WA_OpaquePaintEvent); // or Qt would first clear what is repainted
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAccessibleName(QStringLiteral("Canvas"));
    setAccessibleDescription(QStringLiteral(
        "The screen with its layers. Arrow keys move the selected layer, with Shift they resize "
        "it; Page Up and Page Down select another one."));
}

void CanvasView::setScreen(const sSceneScreen &screen)
{
    const bool isSameScreen = !m_screen.m_layers.isEmpty() && !screen.m_layers.isEmpty()
                           && m_screen.m_layers.first().m_config.m_LayerIdentifies.screenId
                                  == screen.m_layers.first().m_config.m_LayerIdentifies.screenId;
    m_screen = screen;
    m_drag.reset();
    if (!isSameScreen) {
        m_previews.clear();
        m_originals.clear();
    }
    if (m_selected && !layer(*m_selected))
        m_selected.reset();
    m_backdrop = QPixmap();
    setZoom(m_zoom);
    update();
}

const sSceneLayer *CanvasView::layer(const LayerKey &key) const
{
    for (const sSceneLayer &layer : m_screen.m_layers) {
        if (layer.m_config.m_LayerIdentifies == key)
            return &layer;
    }
    return nullptr;
}

void CanvasView::setLayer(const sSceneLayer &changed)
{
    for (sSceneLayer &layer : m_screen.m_layers) {
        if (!(layer.m_config.m_LayerIdentifies == changed.m_config.m_LayerIdentifies))
            continue;
        const bool isElsewhere = layer.canvasRect() != changed.canvasRect();
        const bool isRenamed = layer.m_strName != changed.m_strName;
        layer = changed;
        if (!isElsewhere && !isRenamed)
            return; // its preview will come
        m_backdrop = QPixmap();
        update();
    }
}

void CanvasView::setPreview(const LayerKey &key, const QImage &preview)
{
    const sSceneLayer *const pLayer = layer(key);
    if (!pLayer || preview.isNull())
        return;
    const CpuMeter meter(m_figures.m_cpuSeconds);
    QImage &original = m_originals[key.layerId];
    if (original == preview)
        return;
    original = preview;
    // Once here: painting straight alpha would convert it each time, in smaller pieces.
    m_previews[key.layerId] = preview.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    updateLayer(*pLayer);
}

QRect CanvasView::onWidget(const QRect &canvasRect) const
{
    const QRectF rect(canvasRect);
    return QRectF(rect.topLeft() * m_zoom, rect.size() * m_zoom).toAlignedRect();
}

QPointF CanvasView::toCanvas(const QPoint &point) const
{
    return QPointF(point) / m_zoom;
}

void CanvasView::updateLayer(const sSceneLayer &layer)
{
    update(onWidget(layer.canvasRect()));
}

void CanvasView::updateSelection()
{
    const sSceneLayer *const pLayer = m_selected ? layer(*m_selected) : nullptr;
    if (!pLayer)
        return;
    const QRect rect = onWidget(pLayer->canvasRect());
    const int nReach = HandleSize / 2 + 1;
    const QMargins reach(nReach, nReach, nReach, nReach);
    // The frame alone: the inside stays as it is.
    QRegion frame(rect.marginsAdded(reach));
    frame -= QRegion(rect.marginsRemoved(reach));
    update(frame);
}

void CanvasView::setSelected(std::optional<LayerKey> key)
{
    updateSelection();
    m_selected = key && layer(*key) ? key : std::nullopt;
    updateSelection();
}

void CanvasView::setZoom(double zoom)
{
    const double wanted = qBound(MinZoom, zoom, MaxZoom);
    const QSize size = (QSizeF(m_screen.m_size) * wanted).toSize().expandedTo(QSize(1, 1));
    if (wanted != m_zoom || size != this->size()) {
        m_zoom = wanted;
        m_backdrop = QPixmap();
        resize(size);
        setMinimumSize(size);
        update();
    }
}

double CanvasView::fittingZoom(const QSize &room) const
{
    if (m_screen.m_size.isEmpty())
        return 1;
    return qBound(MinZoom,
                  qMin(double(room.width()) / m_screen.m_size.width(),
                       double(room.height()) / m_screen.m_size.height()),
                  MaxZoom);
}

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
    if (m_backdrop.isNull())
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
        painter.drawPixmap(
            rect, m_backdrop,
            QRectF(QPointF(rect.topLeft()) * ratio, QSizeF(rect.size()) * ratio).toRect());
        for (const sSceneLayer &layer : qAsConst(m_screen.m_layers)) {
            const QRect target = onWidget(layer.canvasRect());
            const auto it = m_previews.constFind(layer.m_config.m_LayerIdentifies.layerId);
            if (it != m_previews.constEnd() && target.intersects(rect))
                painter.drawImage(target, *it);
        }
    }
    painter.setClipRegion(region);
    paintSelection(painter);
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
    if (pEvent->button() != Qt::LeftButton)
        return;
    const QPointF place = toCanvas(pEvent->pos());
    const sSceneLayer *pLayer = m_selected ? layer(*m_selected) : nullptr;
    const Qt::Edges edges =
        pLayer ? edgesAt(onWidget(pLayer->canvasRect()), pEvent->pos()) : Qt::Edges();
    if (!edges)
        pLayer = layerAt(place);
    if (!pLayer) {
        Q_EMIT selectionCleared();
        return;
    }
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
    const QRect rect = m_drag->rectAt(toCanvas(pEvent->pos()));
    if (rect != pLayer->canvasRect())
        Q_EMIT geometryWanted(*m_selected, rect, m_drag->takeFirst());
}

void CanvasView::mouseReleaseEvent(QMouseEvent *)
{
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

void CanvasView::changeEvent(QEvent *pEvent)
{
    if (pEvent->type() == QEvent::PaletteChange || pEvent->type() == QEvent::FontChange)
        m_backdrop = QPixmap();
    QWidget::changeEvent(pEvent);
}

} // namespace Morvek::Tools
