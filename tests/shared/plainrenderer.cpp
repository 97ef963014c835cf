#include "plainrenderer.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Morvek::Tests {

using Morvek::BizModel::Enum::Layer::BorderType;
using Morvek::EchoVideo::sLayerItem;
using Morvek::EchoVideo::sLayerVideoConfig;

namespace {

int rounded(double value)
{
    return int(std::floor(value + 0.5));
}

// Whether a pixel belongs to a rectangle whose edges are rounded; a turned one counts as upright.
bool isInside(int x, int y, const QRectF &rect)
{
    const auto [left, right] = std::minmax({rounded(rect.x()), rounded(rect.x() + rect.width())});
    const auto [top, bottom] = std::minmax({rounded(rect.y()), rounded(rect.y() + rect.height())});
    return x >= left && x < right && y >= top && y < bottom;
}

QImage plainGray(const QImage &picture)
{
    QImage gray(picture.size(), QImage::Format_Grayscale8);
    for (int y = 0; y < gray.height(); ++y) {
        for (int x = 0; x < gray.width(); ++x)
            gray.scanLine(y)[x] = uchar(qGray(picture.pixel(x, y)));
    }
    return gray;
}

QImage plainInverted(const QImage &picture)
{
    QImage inverted = picture;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            if (picture.format() == QImage::Format_Grayscale8)
                inverted.scanLine(y)[x] = uchar(255 - qRed(pixel));
            else
                inverted.setPixel(x, y,
                                  qRgba(255 - qRed(pixel), 255 - qGreen(pixel), 255 - qBlue(pixel),
                                        qAlpha(pixel)));
        }
    }
    return inverted;
}

// What lies outside the picture is empty: transparent, or black where the format has no alpha.
QImage plainCut(const QImage &picture, const QRect &rect)
{
    if (picture.isNull() || rect.width() < 0 || rect.height() < 0)
        return QImage();
    QImage cut(rect.size(), picture.format());
    cut.fill(0U);
    const int nBytes = picture.depth() / 8;
    for (int y = 0; y < rect.height(); ++y) {
        for (int x = 0; x < rect.width(); ++x) {
            const QPoint from = rect.topLeft() + QPoint(x, y);
            if (picture.rect().contains(from))
                std::copy_n(picture.constScanLine(from.y()) + from.x() * nBytes, nBytes,
                            cut.scanLine(y) + x * nBytes);
        }
    }
    return cut;
}

QImage plainMirrored(const QImage &canvas, sLayerItem::Mirroring mirroringType)
{
    QImage mirrored = canvas;
    const bool isHori = mirroringType == sLayerItem::Hori || mirroringType == sLayerItem::Both;
    const bool isVert = mirroringType == sLayerItem::Vert || mirroringType == sLayerItem::Both;
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x)
            mirrored.setPixel(x, y,
                              canvas.pixel(isHori ? canvas.width() - 1 - x : x,
                                           isVert ? canvas.height() - 1 - y : y));
    }
    return mirrored;
}

QImage plainCanvas(const sLayerVideoConfig &cfg)
{
    const QSize size = plainSize(cfg.m_LayerItem.m_boundingRect);
    QImage canvas(size.isEmpty() ? QSize(2, 2) : size, QImage::Format_ARGB32);
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x)
            canvas.setPixel(x, y, cfg.m_LayerItem.m_layerColor.rgba());
    }
    return canvas;
}

QImage plainSource(const sLayerVideoConfig &cfg, const QImage &sourcePicture)
{
    if (cfg.m_LayerSource.m_eLayerSourceType != Morvek::EchoVideo::sLayerSource::NoSource)
        return sourcePicture;
    const QSize size = plainSize(cfg.m_LayerItem.m_boundingRect);
    return size.isEmpty() ? QImage() : plainCanvas(cfg);
}

void drawPicture(QImage &canvas, const sLayerVideoConfig &cfg, const QImage &picture)
{
    const QRectF &rect = cfg.m_LayerItem.m_boundingRect;
    QPainter painter(&canvas);
    if (cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty()) {
        painter.drawImage(rect, picture);
    } else {
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(rect, picture);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.drawImage(rect, QImage(cfg.m_LayerAlphaMap.m_strAlphaMapFile));
    }
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(rect, QColor(0, 0, 0, cfg.m_LayerItem.m_layerColor.alpha()));
}

void drawMask(QImage &canvas, const sLayerVideoConfig &cfg)
{
    if (!cfg.m_LayerMask.m_bMaskEnable)
        return;
    const QRectF &rect = cfg.m_LayerItem.m_boundingRect;
    const auto &insets = cfg.m_LayerMask.m_maskSize; // top, bottom, left, right
    const QRectF content(insets[2], insets[0], rect.width() - insets[2] - insets[3],
                         rect.height() - insets[0] - insets[1]);
    const bool isEmpty = content.width() <= 0 || content.height() <= 0;
    QImage mask(canvas.size(), QImage::Format_ARGB32);
    for (int y = 0; y < mask.height(); ++y) {
        for (int x = 0; x < mask.width(); ++x)
            mask.setPixel(x, y, !isEmpty && isInside(x, y, content) ? qRgba(0, 0, 0, 255) : 0);
    }
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(rect, mask);
}

void drawSolidBorder(QImage &canvas, const sLayerVideoConfig &cfg)
{
    const QRectF &outer = cfg.m_LayerItem.m_boundingRect;
    const QSizeF thickness = cfg.m_LayerBorder.m_borderSize;
    const QRectF inner(outer.x() + thickness.width(), outer.y() + thickness.height(),
                       outer.width() - 2 * thickness.width(),
                       outer.height() - 2 * thickness.height());
    QPainter painter(&canvas);
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            // In one of the two, not in both.
            if (isInside(x, y, outer) != isInside(x, y, inner))
                painter.fillRect(x, y, 1, 1, cfg.m_LayerBorder.m_borderColor);
        }
    }
}

// alphaAt(column, row) counts from the layer's outer corner, in each of the four quarters.
template <typename AlphaAt>
void drawQuarters(QImage &canvas, const QRectF &rect, QColor color, QPainter::CompositionMode mode,
                  AlphaAt alphaAt)
{
    const QSize size(int(std::ceil(rect.width() * 0.5)), int(std::ceil(rect.height() * 0.5)));
    if (size.isEmpty())
        return;
    QPainter painter(&canvas);
    painter.setCompositionMode(mode);
    for (const QPoint quarter : {QPoint(0, 0), QPoint(1, 0), QPoint(0, 1), QPoint(1, 1)}) {
        QImage tile(size, QImage::Format_ARGB32);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const int nColumn = quarter.x() == 1 ? size.width() - 1 - x : x;
                const int nRow = quarter.y() == 1 ? size.height() - 1 - y : y;
                tile.setPixel(
                    x, y,
                    qRgba(color.red(), color.green(), color.blue(), int(alphaAt(nColumn, nRow))));
            }
        }
        painter.drawImage(quarter.x() * size.width(), quarter.y() * size.height(), tile);
    }
}

void drawBorder(QImage &canvas, const sLayerVideoConfig &cfg)
{
    if (!cfg.m_LayerAlphaMap.m_strAlphaMapFile.isEmpty())
        return;
    const QRectF &rect = cfg.m_LayerItem.m_boundingRect;
    const QColor &color = cfg.m_LayerBorder.m_borderColor;
    const QSize &thickness = cfg.m_LayerBorder.m_borderSize;
    if (cfg.m_LayerBorder.m_borderType == BorderType::Hard_in) {
        drawSolidBorder(canvas, cfg);
    } else if (cfg.m_LayerBorder.m_borderType == BorderType::Soft) {
        drawQuarters(canvas, rect, QColor(50, 50, 50), QPainter::CompositionMode_DestinationIn,
                     [&](int nColumn, int nRow) {
                         return 255 * plainRamp(nColumn, thickness.width())
                              * plainRamp(nRow, thickness.height());
                     });
    } else if (cfg.m_LayerBorder.m_borderType == BorderType::Halo_in) {
        const double alpha = color.alphaF();
        drawQuarters(canvas, rect, color, QPainter::CompositionMode_SourceOver,
                     [&](int nColumn, int nRow) {
                         return 255
                              * (1
                                 - plainRamp(nColumn, thickness.width()) * alpha
                                       * (plainRamp(nRow, thickness.height()) * alpha));
                     });
    }
}

void drawFrozenMark(QImage &canvas, const sLayerVideoConfig &cfg, const QPixmap &mark)
{
    if (!cfg.m_LayerItem.m_isFrozen || mark.isNull())
        return;
    const QRectF &rect = cfg.m_LayerItem.m_boundingRect;
    QPainter painter(&canvas);
    painter.drawPixmap(QRect(rounded(rect.x() + rect.width() - 26),
                             rounded(rect.y() + rect.height() - 26), 24, 24),
                       mark);
}

void drawOpacity(QImage &canvas, const sLayerVideoConfig &cfg)
{
    QColor black(0, 0, 0);
    black.setAlphaF(std::clamp(cfg.m_LayerItem.m_opacity * 0.01, 0.0, 1.0));
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(cfg.m_LayerItem.m_boundingRect, black);
}

} // namespace

QSize plainSize(const QRectF &boundingRect)
{
    return QSize(rounded(boundingRect.x() + boundingRect.width()) - rounded(boundingRect.x()),
                 rounded(boundingRect.y() + boundingRect.height()) - rounded(boundingRect.y()));
}

double plainRamp(int nDistance, int nThickness)
{
    const double progress = double(nDistance) / nThickness;
    if (!(progress > 0))
        return 0; // at the edge, outside, or 0 / 0
    if (progress >= 1)
        return 1;
    const double rest = 2 - 2 * progress;
    return progress < 0.5 ? 4 * progress * progress * progress : 1 - rest * rest * rest / 2;
}

QImage plainEffects(const sLayerVideoConfig &layerVideoCfg, const QImage &sourcePicture)
{
    QImage picture = sourcePicture;
    if (layerVideoCfg.m_LayerItem.m_bMonoColorEnabled)
        picture = plainGray(picture);
    if (layerVideoCfg.m_LayerItem.m_bReverseColorEnabled)
        picture = plainInverted(picture);
    const auto &source = layerVideoCfg.m_LayerSource;
    const QRect &rect = source.m_rectLayerSourceIntercept;
    if (source.m_bLayerSourceIntercept && rect.width() != 0 && rect.height() != 0
        && !picture.isNull())
        picture = plainCut(picture.scaled(source.m_sizeLayerSource), rect);
    return picture;
}

QImage plainPreview(const sLayerVideoConfig &layerVideoCfg, const QImage &sourcePicture,
                    const QPixmap &frozenMark)
{
    QImage canvas = plainCanvas(layerVideoCfg);
    drawPicture(canvas, layerVideoCfg,
                plainEffects(layerVideoCfg, plainSource(layerVideoCfg, sourcePicture)));
    canvas = plainMirrored(canvas, layerVideoCfg.m_LayerItem.m_mirroringType);
    drawMask(canvas, layerVideoCfg);
    drawBorder(canvas, layerVideoCfg);
    drawFrozenMark(canvas, layerVideoCfg, frozenMark);
    drawOpacity(canvas, layerVideoCfg);
    return canvas;
}

} // namespace Morvek::Tests
