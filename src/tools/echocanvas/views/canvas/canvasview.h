#ifndef MORVEK_ECHOCANVAS_CANVASVIEW_H
#define MORVEK_ECHOCANVAS_CANVASVIEW_H

#include "layerdrag.h"
#include "layermarks.h"
#include "scene.h"
#include "scenedocument.h"

#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <optional>

namespace Morvek::Tools {

/** What painting has cost so far. */
struct sPaintFigures
{
    qint64 m_nPaints = 0;
    qint64 m_nPixels = 0;      ///< logical ones, of all regions that were painted
    qint64 m_nWholePaints = 0; ///< paints of everything that is in sight
    double m_cpuSeconds = 0;   ///< of the painting thread, taking over previews included
};

/**
 * One screen's canvas with its layers, painted from previews, where layers are selected, moved and
 * resized.
 *
 * A new preview repaints its layer's rectangle and nothing else. The widget is as large as the
 * canvas at its zoom; a scroll area shows a part of it.
 *
 * @thread main
 */
class CanvasView : public QWidget
{
    Q_OBJECT

public:
    static constexpr double MinZoom = 0.05;
    static constexpr double MaxZoom = 8;

    explicit CanvasView(QWidget *pParent = nullptr);

    /** Shows another screen; previews of layers that it does not have are forgotten. */
    void setScreen(const sSceneScreen &screen);
    /** Takes over a changed layer of the screen that is shown. */
    void setLayer(const sSceneLayer &layer);
    /** Shows a layer's preview; one that looks as before is not painted again. */
    void setPreview(const LayerKey &key, const QImage &preview);
    /** What is written on the layer, and told where the pointer rests on it. */
    void setMark(const LayerKey &key, const sLayerMark &mark);
    sLayerMark mark(const LayerKey &key) const { return m_marks.value(key.layerId); }
    /** Draws a frame with handles around a layer, or around none. */
    void setSelected(std::optional<LayerKey> key);
    std::optional<LayerKey> selected() const { return m_selected; }

    double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    /** The largest zoom at which all of the canvas fits. */
    double fittingZoom(const QSize &room) const;
    /** Where a rectangle of the canvas lies on the widget. */
    QRect onWidget(const QRect &canvasRect) const;

    const sPaintFigures &paintFigures() const { return m_figures; }

Q_SIGNALS:
    void layerSelected(const Morvek::Tools::LayerKey &key);
    void selectionCleared();
    /** A drag or a key wants the layer there; those of one gesture share its number. */
    void geometryWanted(const Morvek::Tools::LayerKey &key, const QRect &rect, bool isNewGesture);
    /** The wheel wants another zoom. @param where  on the widget, to stay in place */
    void zoomWanted(double zoom, const QPoint &where);

protected:
    bool event(QEvent *pEvent) override;
    void paintEvent(QPaintEvent *pEvent) override;
    void mousePressEvent(QMouseEvent *pEvent) override;
    void mouseMoveEvent(QMouseEvent *pEvent) override;
    void mouseReleaseEvent(QMouseEvent *pEvent) override;
    void keyPressEvent(QKeyEvent *pEvent) override;
    void wheelEvent(QWheelEvent *pEvent) override;
    void changeEvent(QEvent *pEvent) override;

private:
    const sSceneLayer *layer(const LayerKey &key) const;
    const sSceneLayer *layerAt(const QPointF &canvasPoint) const;
    QPointF toCanvas(const QPoint &point) const;
    void updateLayer(const sSceneLayer &layer);
    void updateSelection();
    QRect markRect(const sSceneLayer &layer) const;
    void updateCursor(const QPoint &point);
    void selectNext(int nStep);
    void paintRegion(QPainter &painter, const QRegion &region);
    void paintMark(QPainter &painter, const sSceneLayer &layer) const;
    void paintSelection(QPainter &painter) const;
    void renderBackdrop();

    sSceneScreen m_screen;
    QHash<int, QImage> m_previews;  // by layer id, premultiplied
    QHash<int, QImage> m_originals; // as they were handed in, to see what is new
    QHash<int, sLayerMark> m_marks; // by layer id
    std::optional<LayerKey> m_selected;
    std::optional<LayerDrag> m_drag;
    double m_zoom = 1;
    QPixmap m_backdrop; // everything below the layers; null when it must be drawn anew
    sPaintFigures m_figures;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CANVASVIEW_H
