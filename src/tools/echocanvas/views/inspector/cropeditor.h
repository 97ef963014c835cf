#ifndef MORVEK_ECHOCANVAS_CROPEDITOR_H
#define MORVEK_ECHOCANVAS_CROPEDITOR_H

#include "layerdrag.h"

#include <QImage>
#include <QRect>
#include <QSize>
#include <QWidget>

#include <optional>

namespace Morvek::Tools {

/** The source's picture with the part that is shown, which a rubber band changes. */
class CropEditor : public QWidget
{
    Q_OBJECT

public:
    explicit CropEditor(QWidget *pParent = nullptr);

    /** @param source  size in the source's own pixels; empty for none. @param crop  in the same */
    void setCrop(const QSize &source, const QRect &crop);
    void setPicture(const QImage &picture);
    /** Forgets a drag: what comes next is of another layer. */
    void endDrag();
    /** Where a part of the source lies on the widget. */
    QRect onWidget(const QRect &crop) const;

    QSize sizeHint() const override;
    int heightForWidth(int nWidth) const override;
    bool hasHeightForWidth() const override { return true; }

Q_SIGNALS:
    /** Somebody wants this part, in the source's own pixels. */
    void cropWanted(const QRect &crop);

protected:
    void paintEvent(QPaintEvent *pEvent) override;
    void mousePressEvent(QMouseEvent *pEvent) override;
    void mouseMoveEvent(QMouseEvent *pEvent) override;
    void mouseReleaseEvent(QMouseEvent *pEvent) override;
    void keyPressEvent(QKeyEvent *pEvent) override;

private:
    QRect room() const;
    QSizeF scale() const;
    QPointF toSource(const QPoint &point) const;
    double leastWay() const;
    void drag(const QPointF &place);
    void drawBand(const QPointF &place);
    QRect movedInside(QRect crop) const;
    void want(const QRect &crop);

    QSize m_source;
    QRect m_crop;
    QImage m_picture;
    std::optional<LayerDrag> m_drag;    // of the crop that there is
    std::optional<QPointF> m_bandStart; // of a new one, in the source's pixels
    bool m_isBandDrawn = false;         // the mouse went further than it does in a click
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CROPEDITOR_H
