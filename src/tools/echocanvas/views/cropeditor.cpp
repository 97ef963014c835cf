#include "cropeditor.h"

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
        "to "
        "change it. Arrow keys move it by 8 source pixels, with Shift they resize it."));
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
    if (isReshaped)
        updateGeometry();
    update();
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
    QRect rect(QPoint(0, 0), shape.scaled(size() - QSize(2, 2), Qt::KeepAspectRatio));
    rect.moveCenter(this->rect().center());
    return rect;
}

double CropEditor::scale() const
{
    return m_source.isEmpty() ? 1 : double(room().width()) / m_source.width();
}

QRect CropEditor::onWidget(const QRect &crop) const
{
    const QPointF origin = room().topLeft();
    return QRectF(QPointF(crop.topLeft()) * scale() + origin, QSizeF(crop.size()) * scale())
        .toRect();
}

QPointF CropEditor::toSource(const QPoint &point) const
{
    return QPointF(point - room().topLeft()) / scale();
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
    const QPointF place = toSource(pEvent->pos());
    if (m_drag) {
        QRect rect = m_drag->rectAt(place);
        const QRect whole(QPoint(0, 0), m_source);
        if (rect.size() == m_crop.size()) // moved, so it keeps its size at the source's edges
            rect.moveTo(qBound(0, rect.x(), m_source.width() - rect.width()),
                        qBound(0, rect.y(), m_source.height() - rect.height()));
        want(rect & whole);
    } else if (m_bandStart) {
        want(QRectF(*m_bandStart, place).normalized().toAlignedRect());
    } else {
        setCursor(cursorOf(edgesAt(onWidget(m_crop), pEvent->pos())));
    }
}

void CropEditor::mouseReleaseEvent(QMouseEvent *)
{
    m_drag.reset();
    m_bandStart.reset();
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
        rect.translate(way);
    want(rect);
}

} // namespace Morvek::Tools
