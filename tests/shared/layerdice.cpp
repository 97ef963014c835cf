#include "layerdice.h"

#include <QDebug>

namespace Morvek::Tests {

using namespace Morvek::EchoVideo;
using Morvek::BizModel::Enum::Layer::BorderType;

// Braces for arguments that draw numbers: they are evaluated in order, with every compiler.

namespace {

// Halves, quarters and so on are exact in every step of the raster engine's fixed-point numbers.
constexpr int StepsPerPixel = 16;

} // namespace

LayerDice::LayerDice(quint32 nSeed, const QStringList &alphaMaps, const QSize &largestSize)
    : m_random(nSeed)
    , m_alphaMaps(alphaMaps)
    , m_largestSize(largestSize)
{}

double LayerDice::length(int nLow, int nHigh, bool isWhole)
{
    return isWhole ? between(nLow, nHigh)
                   : double(between(nLow * StepsPerPixel, nHigh * StepsPerPixel)) / StepsPerPixel;
}

QColor LayerDice::color()
{
    QColor result = QColor::fromRgba(m_random.generate());
    const int nAlphas[] = {255, 255, 0, 128, result.alpha()};
    result.setAlpha(nAlphas[between(0, 4)]);
    return result;
}

QRectF LayerDice::boundingRect()
{
    const bool isWhole = !isOneIn(4);
    const QSizeF size{length(1, m_largestSize.width(), isWhole),
                      length(1, m_largestSize.height(), isWhole)};
    if (isOneIn(40))
        return QRectF{0, 0, qreal(between(-3, 0)), qreal(between(0, 1) * 5)};
    if (isOneIn(4))
        return QRectF{QPointF{length(-20, 20, isWhole), length(-20, 20, isWhole)}, size};
    return QRectF(QPointF(0, 0), size);
}

void LayerDice::chooseItem(sLayerItem &item)
{
    item.m_boundingRect = boundingRect();
    if (!isOneIn(3))
        item.m_layerColor = color();
    item.m_mirroringType = sLayerItem::Mirroring(between(0, 3));
    item.m_bMonoColorEnabled = isOneIn(4);
    item.m_bReverseColorEnabled = isOneIn(4);
    item.m_bBackgroundEnable = isOneIn(2);
    item.m_isFrozen = isOneIn(4);
    if (isOneIn(2))
        item.m_opacity = between(-20, 120);
}

void LayerDice::chooseSource(sLayerSource &source)
{
    source.m_eLayerSourceType = sLayerSource::eLayerSourceType(isOneIn(8) ? 0 : between(1, 3));
    source.m_bLayerSourceIntercept = isOneIn(3);
    source.m_rectLayerSourceIntercept =
        QRect{between(-10, 60), between(-10, 60), between(-2, 50), between(-2, 50)};
    if (!isOneIn(10))
        source.m_sizeLayerSource = QSize{between(1, 100), between(1, 100)};
}

void LayerDice::chooseBorder(sLayerBorder &border)
{
    const BorderType drawnTypes[] = {BorderType::Hard_in, BorderType::Soft, BorderType::Halo_in};
    border.m_borderType = isOneIn(3) ? BorderType(between(0, 7)) : drawnTypes[between(0, 2)];
    border.m_borderColor = color();
    border.m_borderSize = QSize{between(-1, 30), between(-1, 30)};
}

void LayerDice::chooseMask(sLayerMask &mask)
{
    mask.m_bMaskEnable = isOneIn(3);
    const bool isWhole = isOneIn(2);
    for (double &inset : mask.m_maskSize)
        inset = length(-5, 25, isWhole);
}

sLayerVideoConfig LayerDice::nextLayer()
{
    sLayerVideoConfig cfg;
    chooseItem(cfg.m_LayerItem);
    chooseSource(cfg.m_LayerSource);
    chooseBorder(cfg.m_LayerBorder);
    chooseMask(cfg.m_LayerMask);
    if (isOneIn(6))
        cfg.m_LayerAlphaMap.m_strAlphaMapFile = m_alphaMaps.at(between(0, m_alphaMaps.size() - 1));
    return cfg;
}

QImage LayerDice::nextPicture(const sLayerVideoConfig &cfg)
{
    const QImage::Format formats[] = {QImage::Format_RGB32, QImage::Format_ARGB32,
                                      QImage::Format_RGB888, QImage::Format_Grayscale8};
    const QImage::Format format = formats[between(0, 3)];
    if (isOneIn(40))
        return QImage();
    const QSize wanted = cfg.m_LayerItem.m_boundingRect.toRect().size();
    const QSize size =
        isOneIn(3) && !wanted.isEmpty() ? wanted : QSize{between(1, 80), between(1, 60)};
    QImage picture(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); ++y)
        m_random.fillRange(reinterpret_cast<quint32 *>(picture.scanLine(y)), size.width());
    return picture.convertToFormat(format);
}

QString asText(const sLayerVideoConfig &cfg)
{
    QString strText;
    const sLayerItem &item = cfg.m_LayerItem;
    const sLayerSource &source = cfg.m_LayerSource;
    QDebug(&strText) << item.m_boundingRect << "colour" << item.m_layerColor << "mirroring"
                     << item.m_mirroringType << "mono" << item.m_bMonoColorEnabled << "reverse"
                     << item.m_bReverseColorEnabled << "frozen" << item.m_isFrozen << "opacity"
                     << item.m_opacity << "source" << source.m_eLayerSourceType << "crop"
                     << source.m_bLayerSourceIntercept << source.m_rectLayerSourceIntercept << "of"
                     << source.m_sizeLayerSource << "border" << cfg.m_LayerBorder.m_borderType
                     << cfg.m_LayerBorder.m_borderSize << cfg.m_LayerBorder.m_borderColor << "mask"
                     << cfg.m_LayerMask.m_bMaskEnable << cfg.m_LayerMask.m_maskSize[0]
                     << cfg.m_LayerMask.m_maskSize[1] << cfg.m_LayerMask.m_maskSize[2]
                     << cfg.m_LayerMask.m_maskSize[3] << "map"
                     << cfg.m_LayerAlphaMap.m_strAlphaMapFile;
    return strText;
}

} // namespace Morvek::Tests
