#include "pixelrows_p.h"

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr QRgb OpaqueAlpha = 0xff000000U;
constexpr QRgb AllColors = 0x00ffffffU;
constexpr int BitsOfGray = 8;

bool isOpaque(const QImage &picture)
{
    QRgb alpha = OpaqueAlpha;
    for (int y = 0; y < picture.height() && alpha == OpaqueAlpha; ++y) {
        const QRgb *const pLine = reinterpret_cast<const QRgb *>(picture.constScanLine(y));
        for (int x = 0; x < picture.width(); ++x)
            alpha &= pLine[x];
        alpha &= OpaqueAlpha;
    }
    return alpha == OpaqueAlpha;
}

QRgb grayPixel(uint nGray)
{
    return OpaqueAlpha | nGray << 16 | nGray << 8 | nGray;
}

template <typename PixelAt>
void fillRow(const GatheredColumns &columns, QRgb *pRow, PixelAt pixelAt)
{
    for (const int nColumn : columns.columns())
        *pRow++ = pixelAt(nColumn);
}

// The three formats, with the effects decided outside the loop.
template <typename PixelAt>
void fillRowWithEffects(const GatheredColumns &columns, const sColorEffects &effects, QRgb *pRow,
                        PixelAt pixelAt)
{
    const QRgb inverted = effects.m_isReverse ? AllColors : 0;
    if (effects.m_isMono)
        fillRow(columns, pRow,
                [=](int x) { return grayPixel(uint(qGray(pixelAt(x)))) ^ inverted; });
    else
        fillRow(columns, pRow, [=](int x) { return (pixelAt(x) | OpaqueAlpha) ^ inverted; });
}

} // namespace

bool isReadable(const QImage &picture)
{
    switch (picture.format()) {
    case QImage::Format_Grayscale8:
    case QImage::Format_RGB888:
    case QImage::Format_RGB32:
        return true;
    case QImage::Format_ARGB32:
        return isOpaque(picture);
    default:
        return false;
    }
}

int depthOfPicture(const QImage &picture, const sColorEffects &effects)
{
    return effects.m_isMono ? BitsOfGray : picture.depth();
}

void rowOfPicture(const QImage &picture, int nRow, const GatheredColumns &columns,
                  const sColorEffects &effects, QRgb *pRow)
{
    const uchar *const pBytes = picture.constScanLine(nRow);
    const QRgb *const pPixels = reinterpret_cast<const QRgb *>(pBytes);
    switch (picture.format()) {
    case QImage::Format_Grayscale8:
        // Gray already: making it so again changes nothing.
        fillRowWithEffects(columns, {false, effects.m_isReverse}, pRow,
                           [=](int x) { return grayPixel(pBytes[x]); });
        break;
    case QImage::Format_RGB888:
        fillRowWithEffects(columns, effects, pRow, [=](int x) {
            const uchar *const pPixel = pBytes + 3 * x;
            return qRgb(pPixel[0], pPixel[1], pPixel[2]);
        });
        break;
    default:
        if (effects.m_isMono)
            fillRowWithEffects(columns, effects, pRow, [=](int x) { return pPixels[x]; });
        else
            columns.gather(pPixels, effects.m_isReverse ? AllColors : 0, pRow);
        break;
    }
}

} // namespace Morvek::EchoVideo::Internal
