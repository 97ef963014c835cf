#include "canvaspainter.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

namespace Morvek::Tools {

namespace {

constexpr int CaptionPixels = 19; // height of the letters below a layer
constexpr int TitlePixels = 30;
constexpr QPoint TitlePlace(60, 58); // where the title's base line starts
const QColor TitleColor(236, 239, 244);
const QColor CaptionColor(176, 184, 196);
const QColor FrameColor(255, 255, 255, 28);

QFont textFont(int nPixels)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(nPixels);
    return font;
}

void drawBackground(QPainter &painter, const sSceneScreen &screen)
{
    QLinearGradient gradient(0, 0, 0, screen.m_size.height());
    gradient.setColorAt(0, screen.m_background.lighter(125));
    gradient.setColorAt(1, screen.m_background.darker(125));
    painter.fillRect(QRect(QPoint(0, 0), screen.m_size), gradient);
}

/** A hair line around the layer, so that its extent shows where it is transparent. */
void drawFrame(QPainter &painter, const QRect &layer)
{
    painter.setPen(FrameColor);
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(layer.adjusted(-1, -1, 0, 0));
}

void drawCaption(QPainter &painter, const sSceneLayer &layer)
{
    const QRect rect = layer.canvasRect();
    painter.setFont(textFont(CaptionPixels));
    painter.setPen(CaptionColor);
    const QString strText =
        painter.fontMetrics().elidedText(layer.m_strName, Qt::ElideRight, rect.width());
    painter.drawText(rect.left(), rect.bottom() + CaptionPixels + 8, strText);
}

void drawTitle(QPainter &painter, const sSceneScreen &screen)
{
    painter.setFont(textFont(TitlePixels));
    painter.setPen(TitleColor);
    painter.drawText(TitlePlace, screen.m_strName);
}

} // namespace

QImage paintedCanvas(const sSceneScreen &screen, const QList<QImage> &previews)
{
    QImage canvas(screen.m_size, QImage::Format_RGB32);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const bool hasFonts = !QFontDatabase().families().isEmpty();
    drawBackground(painter, screen);
    if (hasFonts)
        drawTitle(painter, screen);
    for (int nLayer = 0; nLayer < screen.m_layers.size(); ++nLayer) {
        const sSceneLayer &layer = screen.m_layers[nLayer];
        drawFrame(painter, layer.canvasRect());
        painter.drawImage(layer.m_position, previews.value(nLayer));
        if (hasFonts)
            drawCaption(painter, layer);
    }
    return canvas;
}

void paintBackdrop(QPainter &painter, const sSceneScreen &screen)
{
    const bool hasFonts = !QFontDatabase().families().isEmpty();
    drawBackground(painter, screen);
    if (hasFonts)
        drawTitle(painter, screen);
    for (const sSceneLayer &layer : screen.m_layers) {
        drawFrame(painter, layer.canvasRect());
        if (hasFonts)
            drawCaption(painter, layer);
    }
}

} // namespace Morvek::Tools
