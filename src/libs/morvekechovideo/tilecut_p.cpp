#include "tilecut_p.h"

#include <QColorSpace>
#include <QStringList>

#include <algorithm>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

// Whether there is something to copy; a null rectangle stands for the whole frame.
bool hasPicture(const QImage &frame, const QRect &rect)
{
    return !frame.isNull() && (rect.isNull() || !rect.isEmpty());
}

bool isPlainFormat(const QImage &frame)
{
    switch (frame.format()) {
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_RGB888:
        return true;
    default:
        return false;
    }
}

bool hasSameTexts(const QImage &left, const QImage &right)
{
    const QStringList keys = left.textKeys();
    return keys == right.textKeys()
        && std::all_of(keys.cbegin(), keys.cend(), [&](const QString &strKey) {
               return left.text(strKey) == right.text(strKey);
           });
}

// All that a copy takes over beside the pixels; a JPEG brings its resolution and its comment.
bool hasSameProperties(const QImage &left, const QImage &right)
{
    return left.format() == right.format() && left.dotsPerMeterX() == right.dotsPerMeterX()
        && left.dotsPerMeterY() == right.dotsPerMeterY() && left.offset() == right.offset()
        && left.devicePixelRatio() == right.devicePixelRatio()
        && left.colorSpace() == right.colorSpace() && hasSameTexts(left, right);
}

// Whether the tile can take the pixels as it is. Memory that is new, and unmapped again when the
// tile goes, costs more than copying into it.
bool isReusable(const QImage &tile, const QImage &frame, const QRect &rect)
{
    return !tile.isNull() && tile.isDetached() && tile.size() == rect.size() && isPlainFormat(frame)
        && hasSameProperties(tile, frame) && rect.left() >= 0 && rect.top() >= 0
        && rect.right() < frame.width() && rect.bottom() < frame.height();
}

void copyPixels(const QImage &frame, const QRect &rect, QImage &tile)
{
    const int nBytesPerPixel = frame.depth() / 8;
    const auto nBytes = std::size_t(rect.width()) * std::size_t(nBytesPerPixel);
    const qsizetype nFrameStep = frame.bytesPerLine();
    const qsizetype nTileStep = tile.bytesPerLine();
    const uchar *pFrom = frame.constScanLine(rect.y()) + rect.x() * nBytesPerPixel;
    uchar *pTo = tile.bits();
    for (int y = 0; y < rect.height(); ++y, pFrom += nFrameStep, pTo += nTileStep)
        std::memcpy(pTo, pFrom, nBytes);
}

} // namespace

bool cutTile(const QImage &frame, const QRect &rect, QImage &tile)
{
    if (isReusable(tile, frame, rect)) {
        copyPixels(frame, rect, tile);
        return true;
    }
    const QImage picture = frame.copy(rect);
    if (picture.isNull() && hasPicture(frame, rect))
        return false;
    tile = picture;
    return true;
}

} // namespace Morvek::EchoVideo::Internal
