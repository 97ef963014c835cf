#ifndef MORVEK_TESTS_TESTPICTURES_H
#define MORVEK_TESTS_TESTPICTURES_H

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QRect>
#include <QSize>

namespace Morvek::Tests {

/** A picture of one colour, straight ARGB32. */
QImage solidPicture(const QSize &size, const QColor &color);

/** Every pixel differs from its neighbours: red by x, green by y, blue by both and the seed. */
QImage gradientPicture(const QSize &size, int nSeed = 0,
                       QImage::Format format = QImage::Format_RGB32);

/** Every channel full or empty, so that losing alpha costs no colour; opaque, straight ARGB32. */
QImage brightPicture(const QSize &size);

/** Red, green, blue and yellow quarters in reading order, straight ARGB32. */
QImage quartersPicture(const QSize &size);

/** The rectangle of a cell in a square grid of 1920 x 1080 pixels; cells row by row from 0. */
QRect gridRect(int nColumns, int nIndex);

/** A colour of its own for each input number, 0 to 255. */
QColor inputColor(int nInput);

/** A 1920 x 1080 picture whose grid cells show inputColor() of their numbers. */
QImage gridPicture(int nColumns);

/** A picture as compressed JPEG bytes. */
QByteArray jpegBytes(const QImage &picture, int nQuality = 95);

/** A picture as one part of the wire format: boundary, headers, empty line, bytes, line end. */
QByteArray mjpegPart(const QByteArray &baPicture);

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_TESTPICTURES_H
