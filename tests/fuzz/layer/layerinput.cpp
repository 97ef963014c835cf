#include "layerinput.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Morvek::Tests {

using namespace Morvek::EchoVideo;
using Morvek::BizModel::Enum::Layer::BorderType;

namespace {

// Halves, quarters and so on are exact in every step of the raster engine's fixed-point numbers.
constexpr int StepsPerPixel = 16;
constexpr double AddressablePixels = double(1LL << 46);

constexpr QImage::Format PlainFormats[] = {QImage::Format_RGB32, QImage::Format_ARGB32,
                                           QImage::Format_RGB888, QImage::Format_Grayscale8};

} // namespace

// Braces for arguments that take from the input: they are evaluated in order, with every compiler.

LayerInput::LayerInput(const std::uint8_t *pData, std::size_t nSize, const QStringList &alphaMaps)
    : m_bytes(pData, nSize)
    , m_alphaMaps(alphaMaps)
{}

// Whether the next part of the layer may have any value, which the plain reference cannot draw.
bool LayerInput::isAnything()
{
    const bool isAny = m_bytes.choice(4) == 3;
    m_isPlain = m_isPlain && !isAny;
    return isAny;
}

void LayerInput::noteSize(double width, double height)
{
    const double pixels = std::abs(width) * std::abs(height);
    if (pixels > MaxPixels && pixels < AddressablePixels)
        m_isTooCostly = true;
}

double LayerInput::length(int nLow, int nHigh, bool isWhole)
{
    return isWhole
             ? m_bytes.between(nLow, nHigh)
             : double(m_bytes.between(nLow * StepsPerPixel, nHigh * StepsPerPixel)) / StepsPerPixel;
}

QRectF LayerInput::rect()
{
    if (isAnything()) {
        const QRectF any{m_bytes.take<double>(), m_bytes.take<double>(), m_bytes.take<double>(),
                         m_bytes.take<double>()};
        noteSize(any.width(), any.height());
        return any;
    }
    const bool isWhole = m_bytes.flag();
    return QRectF{length(-20, 20, isWhole), length(-20, 20, isWhole), length(-3, 40, isWhole),
                  length(-3, 30, isWhole)};
}

QColor LayerInput::color()
{
    if (isAnything()) {
        switch (m_bytes.choice(4)) {
        case 0:
            return QColor();
        case 1:
            return QColor{QRgba64::fromRgba64(m_bytes.take<quint64>())};
        case 2:
            return QColor::fromHsv(m_bytes.between(0, 359), m_bytes.choice(256),
                                   m_bytes.choice(256), m_bytes.choice(256));
        default:
            return QColor::fromCmyk(m_bytes.choice(256), m_bytes.choice(256), m_bytes.choice(256),
                                    m_bytes.choice(256), m_bytes.choice(256));
        }
    }
    return QColor::fromRgba(m_bytes.take<QRgb>());
}

void LayerInput::chooseItem(sLayerItem &item)
{
    item.m_boundingRect = rect();
    item.m_layerColor = color();
    item.m_mirroringType = sLayerItem::Mirroring(m_bytes.choice(4));
    item.m_bMonoColorEnabled = m_bytes.flag();
    item.m_bReverseColorEnabled = m_bytes.flag();
    item.m_isFrozen = m_bytes.flag();
    item.m_opacity = isAnything() ? m_bytes.take<int>() : m_bytes.between(-20, 120);
}

void LayerInput::chooseSource(sLayerSource &source)
{
    source.m_eLayerSourceType = sLayerSource::eLayerSourceType(m_bytes.choice(4));
    source.m_bLayerSourceIntercept = m_bytes.flag();
    if (isAnything()) {
        source.m_rectLayerSourceIntercept.setCoords(m_bytes.take<int>(), m_bytes.take<int>(),
                                                    m_bytes.take<int>(), m_bytes.take<int>());
        source.m_sizeLayerSource = QSize{m_bytes.take<int>(), m_bytes.take<int>()};
        const QRect &crop = source.m_rectLayerSourceIntercept;
        noteSize(double(crop.right()) - crop.left() + 1, double(crop.bottom()) - crop.top() + 1);
        noteSize(source.m_sizeLayerSource.width(), source.m_sizeLayerSource.height());
        return;
    }
    source.m_rectLayerSourceIntercept = QRect{m_bytes.between(-10, 60), m_bytes.between(-10, 60),
                                              m_bytes.between(-2, 50), m_bytes.between(-2, 50)};
    source.m_sizeLayerSource = QSize{m_bytes.between(1, 100), m_bytes.between(1, 100)};
}

void LayerInput::chooseBorder(sLayerBorder &border)
{
    border.m_borderType = BorderType(m_bytes.choice(8));
    border.m_borderColor = color();
    border.m_borderSize = isAnything() ? QSize{m_bytes.take<int>(), m_bytes.take<int>()}
                                       : QSize{m_bytes.between(-1, 30), m_bytes.between(-1, 30)};
}

void LayerInput::chooseMask(sLayerMask &mask)
{
    mask.m_bMaskEnable = m_bytes.flag();
    const bool isAny = isAnything();
    const bool isWhole = m_bytes.flag();
    for (double &inset : mask.m_maskSize)
        inset = isAny ? m_bytes.take<double>() : length(-5, 25, isWhole);
}

sLayerVideoConfig LayerInput::layer()
{
    sLayerVideoConfig cfg;
    chooseItem(cfg.m_LayerItem);
    chooseSource(cfg.m_LayerSource);
    chooseBorder(cfg.m_LayerBorder);
    chooseMask(cfg.m_LayerMask);
    const int nMap = m_bytes.choice(8);
    if (nMap < m_alphaMaps.size())
        cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_alphaMaps.at(nMap);
    return cfg;
}

QImage LayerInput::picture()
{
    const bool isAny = isAnything();
    const QImage::Format format = isAny
                                    ? QImage::Format(m_bytes.choice(QImage::NImageFormats))
                                    : PlainFormats[m_bytes.choice(int(std::size(PlainFormats)))];
    QImage picture(m_bytes.between(0, 60), m_bytes.between(0, 45), format);
    if (isAny && !picture.isNull() && m_bytes.flag())
        picture.setColorCount(m_bytes.choice(256) + 1); // without effect where there is no palette
    for (int y = 0; y < picture.height(); ++y)
        m_bytes.fill(picture.scanLine(y), size_t(picture.bytesPerLine()));
    // Its fourth byte is always full; the plain reference relies on that, as Qt does.
    if (!isAny && format == QImage::Format_RGB32)
        picture = picture.convertToFormat(QImage::Format_RGB888).convertToFormat(format);
    return picture;
}

} // namespace Morvek::Tests
