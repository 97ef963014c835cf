#include "canvasview.h"

#include "canvaspainter.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

#include <ctime>

namespace Morvek::Tools {

namespace {

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

void CanvasView::changeEvent(QEvent *pEvent)
{
    if (pEvent->type() == QEvent::PaletteChange || pEvent->type() == QEvent::FontChange)
        m_backdrop = QPixmap();
    QWidget::changeEvent(pEvent);
}

} // namespace Morvek::Tools
