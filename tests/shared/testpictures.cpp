#include "testpictures.h"

#include <QBuffer>
#include <QPainter>

namespace Morvek::Tests {

QImage solidPicture(const QSize &size, const QColor &color)
{
    QImage picture(size, QImage::Format_ARGB32);
    picture.fill(color);
    return picture;
}

QImage gradientPicture(const QSize &size, int nSeed, QImage::Format format)
{
    QImage picture(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            picture.setPixel(
                x, y,
                qRgb((x * 7 + nSeed) & 255, (y * 5 + nSeed) & 255, (x + y + nSeed * 3) & 255));
    }
    return picture.convertToFormat(format);
}

QImage brightPicture(const QSize &size)
{
    QImage picture(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            picture.setPixel(x, y, qRgb(x % 2 * 255, y % 2 * 255, (x + y) % 3 / 2 * 255));
    }
    return picture;
}

QImage quartersPicture(const QSize &size)
{
    QImage picture(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y) {
        const bool isTop = y < size.height() / 2;
        for (int x = 0; x < size.width(); ++x) {
            const bool isLeft = x < size.width() / 2;
            picture.setPixelColor(
                x, y, isTop ? (isLeft ? Qt::red : Qt::green) : (isLeft ? Qt::blue : Qt::yellow));
        }
    }
    return picture;
}

QRect gridRect(int nColumns, int nIndex)
{
    const int nWidth = 1920 / nColumns;
    const int nHeight = 1080 / nColumns;
    return QRect(nIndex % nColumns * nWidth, nIndex / nColumns * nHeight, nWidth, nHeight);
}

QColor inputColor(int nInput)
{
    return QColor::fromHsv(nInput * 47 % 360, 200, 120 + nInput * 29 % 120).toRgb();
}

QImage gridPicture(int nColumns)
{
    QImage picture(1920, 1080, QImage::Format_RGB32);
    picture.fill(Qt::black);
    QPainter painter(&picture);
    for (int i = 0; i < nColumns * nColumns; ++i)
        painter.fillRect(gridRect(nColumns, i), inputColor(i));
    return picture;
}

QByteArray jpegBytes(const QImage &picture, int nQuality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    picture.save(&buffer, "JPG", nQuality);
    return bytes;
}

QByteArray mjpegPart(const QByteArray &baPicture)
{
    return "--echo\r\nContent-Type: image/jpeg\r\nContent-Length: "
         + QByteArray::number(baPicture.size()) + "\r\n\r\n" + baPicture + "\r\n";
}

} // namespace Morvek::Tests
