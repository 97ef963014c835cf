#include "tonerows_p.h"

#include <algorithm>
#include <cstring>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int BytesPerPixel = 4;

// Each channel looks itself up; the alpha is the same for all.
QRgb tone(const QRgb *pTones, QRgb pixel)
{
    return (pTones[qRed(pixel)] & 0xffff0000U) | (pTones[qGreen(pixel)] & 0x0000ff00U)
         | (pTones[qBlue(pixel)] & 0x000000ffU);
}

void toneSteady(const ToneTable &table, int nAlpha, int nBegin, int nEnd, QRgb *pRow)
{
    if (table.isIdentity(nAlpha))
        return;
    const QRgb *const pTones = table.row(nAlpha);
    for (int x = nBegin; x < nEnd; ++x)
        pRow[x] = tone(pTones, pRow[x]);
}

void toneEach(const ToneTable &table, const uchar *pAlphas, int nBegin, int nEnd, QRgb *pRow)
{
    if (table.steps().m_fade == sToneSteps::HaloFade) {
        for (int x = nBegin; x < nEnd; ++x)
            pRow[x] = tone(table.row(pAlphas[x]), pRow[x]);
    } else {
        for (int x = nBegin; x < nEnd; ++x)
            pRow[x] = table.tone(pAlphas[x], pRow[x]);
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

// The fade, or the mask, of the last columns, as the painter wants it.
template <typename PixelAt>
QImage lastColumns(const QSize &size, int nFirst, PixelAt pixelAt)
{
    QImage picture(size.width() - nFirst, size.height(), QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); ++y) {
        QRgb *const pLine = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x)
            pLine[x] = pixelAt(nFirst + x, y);
    }
    return picture;
}

} // namespace

void toneRow(const ToneTable &table, const LayerFade &fade, const uchar *pAlphas, const QRect &kept,
             int nWidth, QRgb *pRow)
{
    const int nBegin = kept.left();
    const int nEnd = std::min(kept.left() + kept.width(), nWidth);
    if (nBegin < nEnd) {
        const int nSteadyBegin = std::clamp(fade.steadyBegin(), nBegin, nEnd);
        const int nSteadyEnd = std::clamp(fade.steadyEnd(), nSteadyBegin, nEnd);
        toneFading(table, pAlphas, nBegin, nSteadyBegin, pRow);
        if (nSteadyBegin < nSteadyEnd)
            toneSteady(table, pAlphas[nSteadyBegin], nSteadyBegin, nSteadyEnd, pRow);
        toneFading(table, pAlphas, nSteadyEnd, nEnd, pRow);
    }
    std::fill(pRow, pRow + std::min(nBegin, nWidth), 0U);
    std::fill(pRow + std::max(nEnd, 0), pRow + nWidth, 0U);
}

bool drawLastColumns(const sToneSteps &steps, LayerFade &fade, const QRect &kept, QImage &canvas)
{
    const QSize size = canvas.size();
    const int nFirst = tableColumns(size.width());
    if (nFirst == size.width() || steps.leavesPicture())
        return true;
    QImage fadeColumns;
    if (steps.m_fade != sToneSteps::NoFade) {
        const QRgb color = steps.m_fadeColor.rgb() & RGB_MASK;
        fadeColumns = lastColumns(size, nFirst,
                                  [&](int x, int y) { return color | QRgb(fade.row(y)[x]) << 24; });
    }
    QImage maskColumns;
    if (steps.m_isMasked)
        maskColumns = lastColumns(size, nFirst, [&](int x, int y) {
            return kept.contains(x, y) ? qRgba(0, 0, 0, 255) : 0U;
        });
    QImage columns(canvas.bits() + nFirst * BytesPerPixel, size.width() - nFirst, size.height(),
                   canvas.bytesPerLine(), QImage::Format_ARGB32);
    const bool isFadeMissing = steps.m_fade != sToneSteps::NoFade && fadeColumns.isNull();
    if (columns.isNull() || isFadeMissing || (steps.m_isMasked && maskColumns.isNull()))
        return false;
    drawToneSteps(columns, steps, fadeColumns, maskColumns);
    return true;
}

} // namespace Morvek::EchoVideo::Internal
