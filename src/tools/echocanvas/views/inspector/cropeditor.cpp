#include "cropeditor.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace Morvek::Tools {

namespace {

constexpr QSize UsualShape(16, 9);
const QColor BandColor(255, 170, 40);

} // namespace

CropEditor::CropEditor(QWidget *pParent)
    : QWidget(pParent)
{
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setObjectName(QStringLiteral("Crop"));
    setAccessibleName(QStringLiteral("Source: part that is shown"));
    setToolTip(QStringLiteral(
        "The source's picture. Draw a rectangle to show only that part; drag it, or its handles, "
        "to change it. Arrow keys move it by 8 source pixels, with Shift they resize it."));
}

QSize CropEditor::sizeHint() const
{
    return QSize(240, heightForWidth(240));
}

int CropEditor::heightForWidth(int nWidth) const
{
    const QSize shape = m_source.isEmpty() ? UsualShape : m_source;
    return qBound(60, nWidth * shape.height() / shape.width(), 240);
}

void CropEditor::setCrop(const QSize &source, const QRect &crop)
{
    if (source == m_source && crop == m_crop)
        return;
    const bool isReshaped = source != m_source;
    m_source = source;
    m_crop = crop;
    setEnabled(!m_source.isEmpty());
    if (isReshaped) {
        endDrag(); // a disabled widget hears of no release
        updateGeometry();
    }
    update();
}

void CropEditor::endDrag()
{
    m_drag.reset();
    m_bandStart.reset();
    m_isBandDrawn = false;
}

void CropEditor::setPicture(const QImage &picture)
{
    if (picture.cacheKey() == m_picture.cacheKey())
        return;
    m_picture = picture;
    update();
}

QRect CropEditor::room() const
{
    const QSize shape = m_source.isEmpty() ? UsualShape : m_source;
    const QSize scaled = shape.scaled(size() - QSize(2, 2), Qt::KeepAspectRatio);
    QRect rect(QPoint(0, 0), scaled.expandedTo(QSize(1, 1)));
    rect.moveCenter(this->rect().center());
    return rect;
}

/** Differs in both ways where one of them came down to a single pixel. */
QSizeF CropEditor::scale() const
{
    if (m_source.isEmpty())
        return QSizeF(1, 1);
    const QSize size = room().size();
    return QSizeF(double(size.width()) / m_source.width(),
                  double(size.height()) / m_source.height());
}

QRect CropEditor::onWidget(const QRect &crop) const
{
    const QSizeF factor = scale();
    const QRectF rect(crop.x() * factor.width(), crop.y() * factor.height(),
                      crop.width() * factor.width(), crop.height() * factor.height());
    return rect.translated(room().topLeft()).toRect();
}

QPointF CropEditor::toSource(const QPoint &point) const
{
    const QPointF onPicture = point - room().topLeft();
    const QSizeF factor = scale();
    return QPointF(onPicture.x() / factor.width(), onPicture.y() / factor.height());
}

/** In the source's pixels, how far the mouse goes before a press is more than a click. */
double CropEditor::leastWay() const
{
    return QApplication::startDragDistance() / qMax(scale().width(), scale().height());
}

/** The crop moved, and not cut, so that it lies inside the source. */
QRect CropEditor::movedInside(QRect crop) const
{
    crop.moveTo(qBound(0, crop.x(), m_source.width() - crop.width()),
                qBound(0, crop.y(), m_source.height() - crop.height()));
    return crop;
}

void CropEditor::want(const QRect &crop)
{
    QRect wanted = crop & QRect(QPoint(0, 0), m_source);
    if (!wanted.isEmpty() && wanted != m_crop)
        Q_EMIT cropWanted(wanted);
}

void CropEditor::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect place = room();
    if (m_source.isEmpty()) {
        painter.setPen(palette().color(QPalette::Disabled, QPalette::WindowText));
        painter.drawText(place, Qt::AlignCenter | Qt::TextWordWrap,
                         QStringLiteral("The layer shows its colour."));
        painter.drawRect(place);
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(place, Qt::black);
    painter.drawImage(place, m_picture);
    const QRect band = onWidget(m_crop);
    QPainterPath outside;
    outside.addRect(place);
    outside.addRect(band);
    painter.fillPath(outside, QColor(0, 0, 0, 150));
    painter.setPen(QPen(BandColor, hasFocus() ? 2 : 1));
    painter.drawRect(band.adjusted(0, 0, -1, -1));
    painter.setPen(Qt::black);
    painter.setBrush(BandColor);
    const QList<Qt::Edges> handles = allHandles();
    for (Qt::Edges edges : handles)
        painter.drawRect(handleRect(band, edges).adjusted(1, 1, -2, -2));
}

void CropEditor::mousePressEvent(QMouseEvent *pEvent)
{
    if (pEvent->button() != Qt::LeftButton || m_source.isEmpty())
        return;
    const QRect band = onWidget(m_crop);
    const Qt::Edges edges = edgesAt(band, pEvent->pos());
    const bool isWhole = m_crop == QRect(QPoint(0, 0), m_source);
    if (edges || (band.contains(pEvent->pos()) && !isWhole))
        m_drag.emplace(m_crop, edges, toSource(pEvent->pos()));
    else
        m_bandStart = toSource(pEvent->pos());
}

void CropEditor::mouseMoveEvent(QMouseEvent *pEvent)
{
    if (!(pEvent->buttons() & Qt::LeftButton))
        endDrag();
    const QPointF place = toSource(pEvent->pos());
    if (m_drag)
        drag(place);
    else if (m_bandStart)
        drawBand(place);
    else
        setCursor(cursorOf(edgesAt(onWidget(m_crop), pEvent->pos())));
}

void CropEditor::drag(const QPointF &place)
{
    if (!m_drag->hasBegun(place, leastWay()))
        return;
    const QRect rect = m_drag->rectAt(place);
    want(m_drag->isMove() ? movedInside(rect) : rect);
}

void CropEditor::drawBand(const QPointF &place)
{
    m_isBandDrawn = m_isBandDrawn || (place - *m_bandStart).manhattanLength() >= leastWay();
    if (m_isBandDrawn)
        want(QRectF(*m_bandStart, place).normalized().toAlignedRect());
}

void CropEditor::mouseReleaseEvent(QMouseEvent *pEvent)
{
    if (pEvent->button() == Qt::LeftButton)
        endDrag();
}

void CropEditor::keyPressEvent(QKeyEvent *pEvent)
{
    constexpr int Step = 8;
    QPoint way;
    switch (pEvent->key()) {
    case Qt::Key_Left:
        way = QPoint(-Step, 0);
        break;
    case Qt::Key_Right:
        way = QPoint(Step, 0);
        break;
    case Qt::Key_Up:
        way = QPoint(0, -Step);
        break;
    case Qt::Key_Down:
        way = QPoint(0, Step);
        break;
    default:
        QWidget::keyPressEvent(pEvent);
        return;
    }
    QRect rect = m_crop;
    if (pEvent->modifiers() & Qt::ShiftModifier)
        rect.setSize((rect.size() + QSize(way.x(), way.y())).expandedTo(QSize(1, 1)));
    else
        rect = movedInside(rect.translated(way));
    want(rect);
}

} // namespace Morvek::Tools
