#include "tonelookup_p.h"

#if defined(__x86_64__)
#    define MORVEK_HAS_VBMI 1
#    include <immintrin.h>
#else
#    define MORVEK_HAS_VBMI 0
#endif

namespace Morvek::EchoVideo::Internal {

namespace {

void lookUpOneByOne(const uchar *pTones, QRgb alpha, QRgb *pPixels, int nPixels)
{
    for (int i = 0; i < nPixels; ++i) {
        const QRgb pixel = pPixels[i];
        pPixels[i] = alpha << 24 | QRgb(pTones[qRed(pixel)]) << 16
                   | QRgb(pTones[qGreen(pixel)]) << 8 | pTones[qBlue(pixel)];
    }
}

#if MORVEK_HAS_VBMI
constexpr int PixelsAtOnce = 16;

// The table fills four registers: two lookups of 128 values each, and the highest bit chooses.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) int
lookUpBlocks(const uchar *pTones, QRgb alpha, QRgb *pPixels, int nPixels)
{
    const __m512i tones0 = _mm512_loadu_si512(pTones);
    const __m512i tones1 = _mm512_loadu_si512(pTones + 64);
    const __m512i tones2 = _mm512_loadu_si512(pTones + 128);
    const __m512i tones3 = _mm512_loadu_si512(pTones + 192);
    const __m512i alphas = _mm512_set1_epi32(int(alpha << 24));
    const __m512i colors = _mm512_set1_epi32(0x00ffffff);
    int i = 0;
    for (; i + PixelsAtOnce <= nPixels; i += PixelsAtOnce) {
        const __m512i pixels = _mm512_loadu_si512(pPixels + i);
        const __m512i low = _mm512_permutex2var_epi8(tones0, pixels, tones1);
        const __m512i high = _mm512_permutex2var_epi8(tones2, pixels, tones3);
        const __m512i both = _mm512_mask_mov_epi8(low, _mm512_movepi8_mask(pixels), high);
        const __m512i toned = _mm512_or_si512(_mm512_and_si512(both, colors), alphas);
        _mm512_storeu_si512(pPixels + i, toned);
    }
    return i;
}
#endif

} // namespace

bool isToneFormSupported(eToneForm eForm)
{
#if MORVEK_HAS_VBMI
    if (eForm == eToneForm::Avx512Vbmi)
        return __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
#endif
    return eForm == eToneForm::Plain;
}

eToneForm bestToneForm()
{
    static const eToneForm eBest =
        isToneFormSupported(eToneForm::Avx512Vbmi) ? eToneForm::Avx512Vbmi : eToneForm::Plain;
    return eBest;
}

void lookUpTones(const uchar *pTones, int nAlpha, QRgb *pPixels, int nPixels, eToneForm eForm)
{
    int nDone = 0;
#if MORVEK_HAS_VBMI
    if (eForm == eToneForm::Avx512Vbmi)
        nDone = lookUpBlocks(pTones, QRgb(nAlpha), pPixels, nPixels);
#else
    Q_UNUSED(eForm)
#endif
    lookUpOneByOne(pTones, QRgb(nAlpha), pPixels + nDone, nPixels - nDone);
}

} // namespace Morvek::EchoVideo::Internal
