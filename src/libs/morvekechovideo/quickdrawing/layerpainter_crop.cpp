// Scaling and cutting in one step, instead of scaling what is cut off.

#include "layerpainter_p.h"

#include "drawablesize_p.h"
#include "pixelrows_p.h"

#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

template <size_t BytesOfPixel>
void copyPixelsOf(const uchar *pFrom, const int *pColumns, int nPixels, uchar *pTo)
{
    for (int x = 0; x < nPixels; ++x)
        std::memcpy(pTo + BytesOfPixel * size_t(x), pFrom + BytesOfPixel * size_t(pColumns[x]),
                    BytesOfPixel);
}

void copyPixels(int nBytesOfPixel, const uchar *pFrom, const int *pColumns, int nPixels, uchar *pTo)
{
    if (nBytesOfPixel == 1)
        copyPixelsOf<1>(pFrom, pColumns, nPixels, pTo);
    else if (nBytesOfPixel == 3)
        copyPixelsOf<3>(pFrom, pColumns, nPixels, pTo);
    else
        copyPixelsOf<4>(pFrom, pColumns, nPixels, pTo);
}

} // namespace

bool LayerPainter::crop(const sLayerSource &source, QImage &picture)
{
    const QRect &shown = source.m_rectLayerSourceIntercept;
    const int nDepth = picture.depth();
    if (!isSmallEnough(picture.size()) || !isSmallEnough(source.m_sizeLayerSource)
        || !isInside(shown, source.m_sizeLayerSource) || !isReadable(picture))
        return false;
    m_scaleMaps.forgetIfLarge();
    const ScaleMap &columns = m_scaleMaps.find({eScaling::Copied, Qt::Horizontal, nDepth,
                                                picture.width(), source.m_sizeLayerSource.width()});
    const ScaleMap &rows = m_scaleMaps.find({eScaling::Copied, Qt::Vertical, nDepth,
                                             picture.height(), source.m_sizeLayerSource.height()});
    QImage cut(shown.size(), picture.format());
    if (columns.empty() || rows.empty() || cut.isNull())
        return false;
    for (int y = 0; y < cut.height(); ++y) {
        const int nRow = rows[size_t(shown.top() + y)];
        if (y > 0 && nRow == rows[size_t(shown.top() + y - 1)])
            std::memcpy(cut.scanLine(y), cut.constScanLine(y - 1), size_t(cut.bytesPerLine()));
        else
            copyPixels(nDepth / 8, picture.constScanLine(nRow), columns.data() + shown.left(),
                       cut.width(), cut.scanLine(y));
    }
    picture = cut;
    return true;
}

} // namespace Morvek::EchoVideo::Internal
