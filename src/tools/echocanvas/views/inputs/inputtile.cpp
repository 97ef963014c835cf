#include "inputtile.h"

#include "statelook.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QPainter>

namespace Morvek::Tools {

namespace {

constexpr int Margin = 4;
constexpr qint64 LongAgeMs = 60000;

QString ageText(qint64 nAgeMs)
{
    if (nAgeMs > LongAgeMs)
        return QStringLiteral("%1 s").arg(nAgeMs / 1000);
    return QStringLiteral("%1 ms").arg(nAgeMs);
}

/** Where a picture of 16:9, or of its own shape, lies in the room. */
QRect fitted(const QSize &size, const QRect &room)
{
    QRect rect(QPoint(0, 0), size.scaled(room.size(), Qt::KeepAspectRatio));
    rect.moveCenter(room.center());
    return rect;
}

} // namespace

InputTile::InputTile(int nInput, QWidget *pParent)
    : QWidget(pParent)
    , m_nInput(nInput)
{
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(QStringLiteral("Input %1").arg(nInput));
}

int InputTile::textHeight() const
{
    return 3 * fontMetrics().lineSpacing() + Margin;
}

QSize InputTile::minimumSizeHint() const
{
    return QSize(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 6,
                 textHeight() + 3 * fontMetrics().lineSpacing() + 3 * Margin);
}

void InputTile::setInput(const sInputStatus &status, const QImage &picture,
                         std::optional<qint64> nAgeMs)
{
    const sStateLook look = lookOf(status.m_eState, palette());
    const QString strState = QStringLiteral("%1 %2").arg(look.m_strSign, look.m_strWord);
    QString strFigures;
    if (status.m_eState == eInputState::Live)
        strFigures = QStringLiteral("%1/s").arg(status.m_rate, 0, 'f', 1);
    if (status.m_eState == eInputState::Live && nAgeMs)
        strFigures += QStringLiteral(", ") + ageText(*nAgeMs);
    if (status.m_eState != eInputState::Live)
        strFigures = status.m_strBrief;
    const bool isSame = picture.cacheKey() == m_picture.cacheKey() && strState == m_strState
                     && strFigures == m_strFigures && status.m_strReason == m_strReason;
    if (isSame)
        return;
    m_eState = status.m_eState;
    m_picture = picture;
    m_strState = strState;
    m_strFigures = strFigures;
    m_strReason = status.m_strReason;
    setToolTip(QStringLiteral("Input %1: %2\n%3\nRate: changes of its picture a second, as far as "
                              "they were seen; of a stream, the library takes at most 12.5 "
                              "pictures a second.\nAge: milliseconds since the device made the "
                              "picture, by the time code in it.")
                   .arg(QString::number(m_nInput), look.m_strWord, m_strReason));
    setAccessibleDescription(QStringLiteral("%1. %2").arg(look.m_strWord, m_strReason));
    update();
}

void InputTile::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect room = rect().adjusted(Margin, Margin, -Margin, -Margin);
    // The text belongs to its picture, also in a tile that is much higher than both.
    const QRect frame = pictureFrame(room.adjusted(0, 0, 0, -textHeight()));
    paintPicture(painter, frame);
    QRect line(room.left(), frame.bottom() + Margin, room.width(), fontMetrics().lineSpacing());
    const int nLine = line.height();
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(line, Qt::AlignCenter, accessibleName());
    line.translate(0, nLine);
    painter.setPen(lookOf(m_eState, palette()).m_color);
    painter.drawText(line, Qt::AlignCenter,
                     painter.fontMetrics().elidedText(m_strState, Qt::ElideRight, line.width()));
    line.translate(0, nLine);
    painter.setFont(font());
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(line, Qt::AlignCenter,
                     fontMetrics().elidedText(m_strFigures, Qt::ElideRight, line.width()));
    if (hasFocus()) {
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

bool InputTile::isPictureShown() const
{
    return m_eState == eInputState::Live || m_eState == eInputState::Stale;
}

QRect InputTile::pictureFrame(const QRect &room) const
{
    return fitted(isPictureShown() ? m_picture.size() : QSize(16, 9), room);
}

void InputTile::paintPicture(QPainter &painter, const QRect &frame) const
{
    if (isPictureShown()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(frame, m_picture);
    } else {
        painter.fillRect(frame, QColor(16, 17, 19));
        painter.setPen(QColor(200, 204, 210));
        painter.drawText(frame, Qt::AlignCenter, m_strState.mid(2));
    }
    painter.setPen(QPen(lookOf(m_eState, palette()).m_color, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(frame);
}

void InputTile::contextMenuEvent(QContextMenuEvent *pEvent)
{
    Q_EMIT menuWanted(m_nInput, pEvent->globalPos());
}

void InputTile::keyPressEvent(QKeyEvent *pEvent)
{
    const int nKey = pEvent->key();
    if (nKey == Qt::Key_Return || nKey == Qt::Key_Enter || nKey == Qt::Key_Space)
        Q_EMIT menuWanted(m_nInput, mapToGlobal(rect().center()));
    else
        QWidget::keyPressEvent(pEvent);
}

void InputTile::focusInEvent(QFocusEvent *)
{
    update();
}

void InputTile::focusOutEvent(QFocusEvent *)
{
    update();
}

} // namespace Morvek::Tools
