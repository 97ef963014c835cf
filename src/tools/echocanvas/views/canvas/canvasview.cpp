#include "canvasview.h"

#include "cpumeter.h"

#include <QEvent>
#include <QHelpEvent>
#include <QToolTip>

namespace Morvek::Tools {

CanvasView::CanvasView(QWidget *pParent)
    : QWidget(pParent)
{
    setAttribute(Qt::WA_OpaquePaintEvent); // or Qt would first clear what is repainted
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAccessibleName(QStringLiteral("Canvas"));
    setAccessibleDescription(QStringLiteral(
        "The screen with its layers. Arrow keys move the selected layer, with Shift they resize "
        "it; Page Up and Page Down select another one, the menu key opens its menu. Shift at a "
        "corner keeps the shape."));
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
        m_marks.clear();
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

void CanvasView::setMark(const LayerKey &key, const sLayerMark &mark)
{
    const sSceneLayer *const pLayer = layer(key);
    if (!pLayer || this->mark(key) == mark)
        return;
    sLayerMark &present = m_marks[key.layerId];
    const bool isShownOtherwise =
        present.m_strText != mark.m_strText || present.m_color != mark.m_color;
    const QRect before = markRect(*pLayer);
    present = mark;
    if (isShownOtherwise)
        update(before | markRect(*pLayer));
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
        setMinimumSize(size); // before, or the last one would keep it from shrinking
        resize(size);
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

bool CanvasView::event(QEvent *pEvent)
{
    if (pEvent->type() != QEvent::ToolTip)
        return QWidget::event(pEvent);
    const auto *const pHelp = static_cast<QHelpEvent *>(pEvent);
    const sSceneLayer *const pLayer = layerAt(toCanvas(pHelp->pos()));
    const QString strTip = pLayer ? mark(pLayer->m_config.m_LayerIdentifies).m_strTip : QString();
    if (pLayer && !strTip.isEmpty())
        QToolTip::showText(pHelp->globalPos(), strTip, this, onWidget(pLayer->canvasRect()));
    else
        QToolTip::hideText();
    return true;
}

void CanvasView::changeEvent(QEvent *pEvent)
{
    if (pEvent->type() == QEvent::PaletteChange || pEvent->type() == QEvent::FontChange)
        m_backdrop = QPixmap();
    QWidget::changeEvent(pEvent);
}

} // namespace Morvek::Tools
