#include "tonerows_p.h"

#include "tonelookup_p.h"

#include <algorithm>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int BytesPerPixel = 4;

// Each channel looks itself up; the alpha is the same for all.
QRgb toneOfHalo(const QRgb *pTones, QRgb pixel)
{
    return (pTones[qRed(pixel)] & 0xffff0000U) | (pTones[qGreen(pixel)] & 0x0000ff00U)
         | (pTones[qBlue(pixel)] & 0x000000ffU);
}

QRgb toneOfGray(const ToneTable &table, int nAlpha, QRgb pixel)
{
    const uchar *const pTones = table.tones(nAlpha);
    return QRgb(table.alpha(nAlpha)) << 24 | QRgb(pTones[qRed(pixel)]) << 16
         | QRgb(pTones[qGreen(pixel)]) << 8 | pTones[qBlue(pixel)];
}

void toneSteady(const ToneTable &table, int nAlpha, int nBegin, int nEnd, QRgb *pRow)
{
    if (table.isIdentity(nAlpha))
        return;
    if (table.isGray()) {
        lookUpTones(table.tones(nAlpha), table.alpha(nAlpha), pRow + nBegin, nEnd - nBegin);
        return;
    }
    const QRgb *const pTones = table.row(nAlpha);
    for (int x = nBegin; x < nEnd; ++x)
        pRow[x] = toneOfHalo(pTones, pRow[x]);
}

void toneEach(const ToneTable &table, const uchar *pAlphas, int nBegin, int nEnd, QRgb *pRow)
{
    if (table.isGray()) {
        for (int x = nBegin; x < nEnd; ++x)
            pRow[x] = toneOfGray(table, pAlphas[x], pRow[x]);
    } else {
        for (int x = nBegin; x < nEnd; ++x)
            pRow[x] = toneOfHalo(table.row(pAlphas[x]), pRow[x]);
    }
}

bool areAllTheSame(const uchar *pAlphas, int nAlphas)
{
    return std::memcmp(pAlphas, pAlphas + 1, size_t(nAlphas - 1)) == 0;
}

// Much of most alpha maps is wholly kept or wholly cut.
void toneFading(const ToneTable &table, const uchar *pAlphas, int nBegin, int nEnd, QRgb *pRow)
{
    constexpr int BlockPixels = 32;
    for (int x = nBegin; x < nEnd; x += BlockPixels) {
        const int nBlockEnd = std::min(x + BlockPixels, nEnd);
        if (areAllTheSame(pAlphas + x, nBlockEnd - x))
            toneSteady(table, pAlphas[x], x, nBlockEnd, pRow);
        else
            toneEach(table, pAlphas, x, nBlockEnd, pRow);
    }
}

// The fade, or the mask, of some columns, as the painter wants it.
template <typename PixelAt>
QImage pictureOf(const sColumnRange &columns, int nHeight, PixelAt pixelAt)
{
    QImage picture(columns.m_nEnd - columns.m_nBegin, nHeight, QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        QRgb *const pLine = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x)
            pLine[x] = pixelAt(columns.m_nBegin + x, y);
    }
    return picture;
}

} // namespace

sColumnShares shareColumns(const sToneSteps &steps, int nWidth)
{
    const int nHalf = steps.m_fade == sToneSteps::HaloFade ? nWidth - nWidth / 2 : 0;
    sColumnShares shares;
    for (const sColumnRange &part : {sColumnRange{0, nHalf}, sColumnRange{nHalf, nWidth}}) {
        const int nRest = (part.m_nEnd - part.m_nBegin) % ToneTable::VectorPixels;
        if (part.m_nBegin < part.m_nEnd - nRest)
            shares.m_table.push_back({part.m_nBegin, part.m_nEnd - nRest});
        if (nRest > 0)
            shares.m_painter.push_back({part.m_nEnd - nRest, part.m_nEnd});
    }
    return shares;
}

void toneRow(const ToneTable &table, const LayerFade &fade, const uchar *pAlphas, const QRect &kept,
             const sColumnRange &columns, QRgb *pRow)
{
    const int nBegin = std::clamp(kept.left(), columns.m_nBegin, columns.m_nEnd);
    const int nEnd = std::clamp(kept.left() + kept.width(), nBegin, columns.m_nEnd);
    const int nSteadyBegin = std::clamp(fade.steadyBegin(), nBegin, nEnd);
    const int nSteadyEnd = std::clamp(fade.steadyEnd(), nSteadyBegin, nEnd);
    std::fill(pRow + columns.m_nBegin, pRow + nBegin, 0U);
    toneFading(table, pAlphas, nBegin, nSteadyBegin, pRow);
    if (nSteadyBegin < nSteadyEnd)
        toneSteady(table, pAlphas[nSteadyBegin], nSteadyBegin, nSteadyEnd, pRow);
    toneFading(table, pAlphas, nSteadyEnd, nEnd, pRow);
    std::fill(pRow + nEnd, pRow + columns.m_nEnd, 0U);
}

bool drawColumns(const sToneSteps &steps, LayerFade &fade, const QRect &kept,
                 const sColumnRange &columns, QImage &canvas)
{
    const bool isFading = steps.m_fade != sToneSteps::NoFade;
    QImage fadePicture;
    if (isFading) {
        const QRgb color = steps.m_fadeColor.rgb() & RGB_MASK;
        fadePicture = pictureOf(columns, canvas.height(),
                                [&](int x, int y) { return color | QRgb(fade.row(y)[x]) << 24; });
    }
    QImage maskPicture;
    if (steps.m_isMasked)
        maskPicture = pictureOf(columns, canvas.height(), [&](int x, int y) {
            return kept.contains(x, y) ? qRgba(0, 0, 0, 255) : 0U;
        });
    // The same pixels, as a canvas of their own.
    QImage part(canvas.bits() + columns.m_nBegin * BytesPerPixel, columns.m_nEnd - columns.m_nBegin,
                canvas.height(), canvas.bytesPerLine(), QImage::Format_ARGB32);
    if (part.isNull() || (isFading && fadePicture.isNull())
        || (steps.m_isMasked && maskPicture.isNull()))
        return false;
    drawToneSteps(part, steps, fadePicture, maskPicture);
    return true;
}

} // namespace Morvek::EchoVideo::Internal
