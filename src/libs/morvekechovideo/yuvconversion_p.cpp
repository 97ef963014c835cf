#include "yuvconversion_p.h"

#include "yuvconversion_forms_p.h"

#include <array>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int ClampOffset = 384; // the lowest value before clamping is -290, the highest 546

using ClampTable = std::array<uchar, 1024>;

constexpr ClampTable makeClampTable()
{
    ClampTable table{};
    for (int i = 0; i < int(table.size()); ++i) {
        const int value = i - ClampOffset;
        table[size_t(i)] = uchar(value < 0 ? 0 : value > 255 ? 255 : value);
    }
    return table;
}

constexpr ClampTable Clamp = makeClampTable();

// What the four pixels of a block share, in units of 1 / 65536.
struct sChroma
{
    int m_nBlue;
    int m_nGreen;
    int m_nRed;
};

inline quint32 clamped(int nValue)
{
    return Clamp[size_t((nValue >> 16) + ClampOffset)];
}

inline quint32 pixelOf(uchar y, const sChroma &chroma)
{
    const int nLuma = (y - 16) * 76309;
    return 0xff000000u | clamped(nLuma + chroma.m_nRed) << 16
         | clamped(nLuma + chroma.m_nGreen) << 8 | clamped(nLuma + chroma.m_nBlue);
}

void convertPlain(const sYuvRowPair &rows, int iFrom, int nWidth)
{
    for (int i = iFrom; i < nWidth; i += 2) {
        const int nCr = rows.m_pCr[i / 2] - 128;
        const int nCb = rows.m_pCb[i / 2] - 128;
        const sChroma chroma{138438 * nCb, -13975 * nCb - 34925 * nCr, 117489 * nCr};
        rows.m_pUpperPixels[i] = pixelOf(rows.m_pUpperY[i], chroma);
        rows.m_pUpperPixels[i + 1] = pixelOf(rows.m_pUpperY[i + 1], chroma);
        rows.m_pLowerPixels[i] = pixelOf(rows.m_pLowerY[i], chroma);
        rows.m_pLowerPixels[i + 1] = pixelOf(rows.m_pLowerY[i + 1], chroma);
    }
}

// Returns how many pixels a fast form has converted.
int convertBlocks(eYuvForm eForm, const sYuvRowPair &rows, int nWidth)
{
#if MORVEK_HAS_X86_YUV_FORMS
    if (eForm == eYuvForm::Avx2)
        return convertYuvBlocksAvx2(rows, nWidth);
    if (eForm == eYuvForm::Sse2)
        return convertYuvBlocksSse2(rows, nWidth);
#else
    Q_UNUSED(eForm)
    Q_UNUSED(rows)
    Q_UNUSED(nWidth)
#endif
    return 0;
}

} // namespace

bool isYuvFormSupported(eYuvForm eForm)
{
#if MORVEK_HAS_X86_YUV_FORMS
    if (eForm == eYuvForm::Avx2)
        return __builtin_cpu_supports("avx2") != 0;
    if (eForm == eYuvForm::Sse2)
        return __builtin_cpu_supports("sse2") != 0;
#endif
    return eForm == eYuvForm::Plain;
}

eYuvForm bestYuvForm()
{
    static const eYuvForm eBest = isYuvFormSupported(eYuvForm::Avx2) ? eYuvForm::Avx2
                                : isYuvFormSupported(eYuvForm::Sse2) ? eYuvForm::Sse2
                                                                     : eYuvForm::Plain;
    return eBest;
}

void convertYuvRowPair(eYuvForm eForm, const sYuvRowPair &rows, int nWidth)
{
    convertPlain(rows, convertBlocks(eForm, rows, nWidth), nWidth);
}

void convertYUV420ToRGB(const sYuvFrame &frame, uchar *pPixels, int nBytesPerLine, eYuvForm eForm)
{
    const int nChromaWidth = frame.m_nWidth / 2;
    const uchar *const pCrPlane = frame.m_pBytes + frame.m_nWidth * frame.m_nHeight;
    const uchar *const pCbPlane = pCrPlane + nChromaWidth * (frame.m_nHeight / 2);
    for (int y = 0; y < frame.m_nHeight; y += 2) {
        sYuvRowPair rows;
        rows.m_pUpperY = frame.m_pBytes + y * frame.m_nWidth;
        rows.m_pLowerY = rows.m_pUpperY + frame.m_nWidth;
        rows.m_pCr = pCrPlane + y / 2 * nChromaWidth;
        rows.m_pCb = pCbPlane + y / 2 * nChromaWidth;
        rows.m_pUpperPixels = reinterpret_cast<quint32 *>(pPixels + y * nBytesPerLine);
        rows.m_pLowerPixels = reinterpret_cast<quint32 *>(pPixels + (y + 1) * nBytesPerLine);
        convertYuvRowPair(eForm, rows, frame.m_nWidth);
    }
}

} // namespace Morvek::EchoVideo::Internal
