#include "referencepreviews.h"

#include <cstdlib>

namespace Morvek::Tools {

using EchoVideo::sLayerSource;
using EchoVideo::sLayerVideoConfig;

namespace {

// Inputs move between a preview and the picture it is compared with, so the right one is not equal;
// but it must be nearer than any other by this factor.
constexpr double StandsOut = 1.5;

QImage placeholder(const QColor &color)
{
    QImage image(2, 2, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

} // namespace

ReferencePreviews::ReferencePreviews()
    : m_manager([this](std::weak_ptr<BizModel::Device>, const sLayerSource &, const QSize &,
                       QImage &picture) {
        picture = m_source;
        return true;
    })
{}

QImage ReferencePreviews::render(const sLayerVideoConfig &layer, const QImage &source)
{
    m_source = source;
    QImage preview;
    QImage picture;
    m_manager.videoPrerender(layer, preview, picture);
    return preview;
}

QList<QImage> ReferencePreviews::placeholders(const sLayerVideoConfig &layer)
{
    // The two that the service hands out: an input that cannot be shown, one without a signal.
    return {render(layer, placeholder(QColor(23, 24, 26))), render(layer, placeholder(Qt::black))};
}

std::optional<int> ReferencePreviews::mostAlike(const sLayerVideoConfig &layer,
                                                const QImage &preview,
                                                const QVector<QImage> &inputs)
{
    int nBest = -1;
    double best = 0;
    double second = 0;
    for (int nInput = 0; nInput < inputs.size(); ++nInput) {
        const double difference = meanDifference(preview, render(layer, inputs[nInput]));
        if (nBest < 0 || difference < best) {
            second = nBest < 0 ? 255 : best;
            best = difference;
            nBest = nInput;
        } else {
            second = qMin(second, difference);
        }
    }
    const bool isClear = nBest >= 0 && second > 0 && second >= best * StandsOut;
    return isClear ? std::optional<int>(nBest) : std::nullopt;
}

double meanDifference(const QImage &left, const QImage &right)
{
    if (left.size() != right.size() || left.isNull())
        return 255;
    // Premultiplied, so that the colour of what is transparent does not count.
    const QImage first = left.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage other = right.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int nBytes = first.width() * 4;
    qint64 nSum = 0;
    for (int nRow = 0; nRow < first.height(); ++nRow) {
        const uchar *pFirst = first.constScanLine(nRow);
        const uchar *pOther = other.constScanLine(nRow);
        for (int nByte = 0; nByte < nBytes; ++nByte)
            nSum += std::abs(pFirst[nByte] - pOther[nByte]);
    }
    return double(nSum) / (double(nBytes) * first.height());
}

} // namespace Morvek::Tools
