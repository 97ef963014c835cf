#include "scalemap_p.h"

#include <QImage>
#include <QPainter>

#include <numeric>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int BitsPerDigit = 8;
constexpr size_t LargestMemory = 1 << 20; // positions

QImage::Format formatOfDepth(int nDepth)
{
    switch (nDepth) {
    case 8:
        return QImage::Format_Grayscale8;
    case 24:
        return QImage::Format_RGB888;
    default:
        return QImage::Format_RGB32;
    }
}

// A picture one pixel wide (or high) whose pixels, top-down (or left to right), count from 1. Eight
// bits hold one digit of the number, the others all three.
QImage numberedPicture(const sScaling &scaling, int nDigit)
{
    const bool isHorizontal = scaling.m_orientation == Qt::Horizontal;
    QImage picture(isHorizontal ? scaling.m_nFrom : 1, isHorizontal ? 1 : scaling.m_nFrom,
                   formatOfDepth(scaling.m_nDepth));
    if (picture.isNull())
        return picture;
    for (int i = 0; i < scaling.m_nFrom; ++i) {
        const int nNumber = i + 1;
        uchar *const pLine = picture.scanLine(isHorizontal ? 0 : i);
        const int x = isHorizontal ? i : 0;
        if (scaling.m_nDepth == 8)
            pLine[x] = uchar(nNumber >> (nDigit * BitsPerDigit));
        else
            picture.setPixel(x, isHorizontal ? 0 : i, 0xff000000U | unsigned(nNumber));
    }
    return picture;
}

// Scaled along the one axis, and along the other too, lest the engine take a shortcut.
QImage scaledPicture(const QImage &picture, const sScaling &scaling)
{
    constexpr int OtherExtent = 2;
    if (picture.isNull())
        return picture;
    const QSize size = scaling.m_orientation == Qt::Horizontal ? QSize(scaling.m_nTo, OtherExtent)
                                                               : QSize(OtherExtent, scaling.m_nTo);
    if (scaling.m_scaling == eScaling::Copied)
        return picture.scaled(size, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    QImage canvas(size, QImage::Format_ARGB32);
    if (canvas.isNull())
        return canvas;
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.drawImage(QRectF(QPointF(0, 0), QSizeF(size)), picture);
    return canvas;
}

} // namespace

std::optional<ScaleMap> askForScaleMap(const sScaling &scaling)
{
    const bool isHorizontal = scaling.m_orientation == Qt::Horizontal;
    ScaleMap map(size_t(scaling.m_nTo), 0);
    const int nDigits = scaling.m_nDepth == 8 ? 2 : 1;
    for (int nDigit = 0; nDigit < nDigits; ++nDigit) {
        const QImage scaled = scaledPicture(numberedPicture(scaling, nDigit), scaling);
        if (scaled.isNull())
            return std::nullopt;
        if ((isHorizontal ? scaled.width() : scaled.height()) != scaling.m_nTo)
            return ScaleMap();
        for (int i = 0; i < scaling.m_nTo; ++i) {
            const QRgb pixel = isHorizontal ? scaled.pixel(i, 0) : scaled.pixel(0, i);
            const QRgb number = pixel & (scaling.m_nDepth == 8 ? 0xffU : 0xffffffU);
            map[size_t(i)] += int(number) << (nDigit * BitsPerDigit);
        }
    }
    for (int &nPosition : map) {
        --nPosition;
        if (nPosition < 0 || nPosition >= scaling.m_nFrom)
            return ScaleMap(); // left out by the engine
    }
    return map;
}

const ScaleMap &ScaleMaps::find(const sScaling &scaling)
{
    const auto it = m_maps.find(scaling);
    if (it != m_maps.end())
        return it->second;
    ScaleMap map(size_t(scaling.m_nTo));
    if (scaling.m_nFrom == scaling.m_nTo) {
        std::iota(map.begin(), map.end(), 0);
    } else if (std::optional<ScaleMap> asked = askForScaleMap(scaling)) {
        map = std::move(*asked);
    } else {
        static const ScaleMap none;
        return none; // and another try next time
    }
    m_nPositions += size_t(scaling.m_nTo);
    return m_maps.emplace(scaling, std::move(map)).first->second;
}

void ScaleMaps::forgetIfLarge()
{
    if (m_nPositions <= LargestMemory)
        return;
    m_maps.clear();
    m_nPositions = 0;
}

} // namespace Morvek::EchoVideo::Internal
