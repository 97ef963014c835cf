#include "pictureguard_p.h"

#include <QBuffer>
#include <QImageReader>
#include <QSize>

#include <algorithm>

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
    while ((pByte = std::find(pByte, pEnd, MarkerPrefix)) != pEnd) {
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
    QBuffer buffer;
    buffer.setData(baPicture);
    buffer.open(QIODevice::ReadOnly);
    const QSize size = QImageReader(&buffer).size();
    if (size.isEmpty())
        return false;
    const qint64 nPixels = qint64(size.width()) * size.height();
    const int nScans = std::max(jpegScanCount(baPicture), 1);
    return nPixels <= limits.m_nPixels && nPixels <= limits.m_nPixelScans / nScans;
}

QImage decodePicture(const QByteArray &baPicture, const sPictureLimits &limits)
{
    if (!isWithinLimits(baPicture, limits))
        return QImage();
    return QImage::fromData(reinterpret_cast<const uchar *>(baPicture.constData()),
                            baPicture.size());
}

} // namespace Morvek::EchoVideo::Internal
