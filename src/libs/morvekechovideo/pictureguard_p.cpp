#include "pictureguard_p.h"

#include "jpegpicture_p.h"
#include "pngtext_p.h"

#include <QBuffer>
#include <QImageReader>
#include <QSize>
#include <QVector>

#include <algorithm>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr uchar MarkerPrefix = 0xff;
constexpr uchar FirstDefined = 0xc0;
constexpr uchar FirstRestart = 0xd0;
constexpr uchar StartOfImage = 0xd8;
constexpr uchar EndOfImage = 0xd9;
constexpr uchar StartOfScan = 0xda;

// Markers that carry no length; restart markers and stuffed zeros also stand inside a scan's data. So
// do the undefined ones: a decoder that resynchronises at restarts passes over the marker alone, and
// a length read from what follows would hide the scans behind it.
bool standsAlone(uchar marker)
{
    return marker < FirstDefined || (marker >= FirstRestart && marker <= StartOfImage);
}

// The C library's search takes a tenth of the time of the standard library's.
const uchar *nextPrefix(const uchar *pByte, const uchar *pEnd)
{
    const void *const pFound = std::memchr(pByte, MarkerPrefix, std::size_t(pEnd - pByte));
    return pFound ? static_cast<const uchar *>(pFound) : pEnd;
}

// Formats of several pictures, with a size for all of them that a single one need not keep to.
bool hasUnreliableSize(const QByteArray &format)
{
    return format == "gif" || format == "ico";
}

// Such a pixel takes twice the memory, and a few bytes can stand for many of them.
bool isDeep(QImage::Format format)
{
    constexpr int OrdinaryBits = 32;
    return QImage::toPixelFormat(format).bitsPerPixel() > OrdinaryBits;
}

} // namespace

int jpegScanCount(const QByteArray &baPicture)
{
    const auto *pByte = reinterpret_cast<const uchar *>(baPicture.constData());
    const uchar *const pEnd = pByte + baPicture.size();
    if (baPicture.size() < 2 || pByte[0] != MarkerPrefix || pByte[1] != StartOfImage)
        return 0;

    int nScans = 0;
    pByte += 2;
    // Whatever lies between two markers is a scan's data or garbage; a decoder skips both alike.
    while ((pByte = nextPrefix(pByte, pEnd)) != pEnd) {
        pByte = std::find_if(pByte, pEnd, [](uchar byte) { return byte != MarkerPrefix; });
        if (pByte == pEnd || *pByte == EndOfImage)
            break;
        const uchar marker = *pByte++;
        if (standsAlone(marker))
            continue;
        if (marker == StartOfScan)
            ++nScans;
        if (pEnd - pByte < 2)
            break;
        pByte += std::min<qptrdiff>(pByte[0] << 8 | pByte[1], pEnd - pByte);
    }
    return nScans;
}

bool isWithinLimits(const QByteArray &baPicture, const sPictureLimits &limits)
{
    // Before anything else looks at the picture, even for its size.
    if (pngTextBytes(baPicture) > limits.m_nPngText)
        return false;
    QBuffer buffer;
    buffer.setData(baPicture);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    // Asked before the size: afterwards the reader no longer knows.
    if (hasUnreliableSize(reader.format()))
        return false;
    const QSize size = reader.size();
    if (size.isEmpty())
        return false;
    const int nWeight = isDeep(reader.imageFormat()) ? 2 : 1;
    const qint64 nPixels = nWeight * qint64(size.width()) * size.height();
    const int nScans = std::max(jpegScanCount(baPicture), 1);
    return nPixels <= limits.m_nPixels && nPixels <= limits.m_nPixelScans / nScans;
}

QImage decodePicture(const QByteArray &baPicture, const sPictureLimits &limits)
{
    if (!isWithinLimits(baPicture, limits))
        return QImage();
    if (const QImage picture = decodeCommonJpeg(baPicture); !picture.isNull())
        return picture;
    return withWholePalette(
        QImage::fromData(reinterpret_cast<const uchar *>(baPicture.constData()), baPicture.size()));
}

QImage withWholePalette(const QImage &picture)
{
    const bool isIndexed = picture.depth() == 1 || picture.format() == QImage::Format_Indexed8;
    if (!isIndexed || picture.colorCount() >= 1 << picture.depth())
        return picture;
    QVector<QRgb> palette = picture.colorTable();
    palette.insert(palette.size(), (1 << picture.depth()) - palette.size(), qRgb(0, 0, 0));
    QImage whole = picture;
    whole.setColorTable(palette);
    return whole;
}

} // namespace Morvek::EchoVideo::Internal
