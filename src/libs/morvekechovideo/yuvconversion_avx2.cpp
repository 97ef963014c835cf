#include "yuvconversion_forms_p.h"

#if MORVEK_HAS_X86_YUV_FORMS

#    include <immintrin.h>

#    define MORVEK_SIMD __attribute__((target("avx2")))

namespace Morvek::EchoVideo::Internal {

namespace {

using Vector = __m256i;
constexpr int Bytes = sizeof(Vector);

MORVEK_SIMD inline Vector words(short value)
{
    return _mm256_set1_epi16(value);
}

MORVEK_SIMD inline Vector add(Vector a, Vector b)
{
    return _mm256_add_epi16(a, b);
}

MORVEK_SIMD inline Vector subtract(Vector a, Vector b)
{
    return _mm256_sub_epi16(a, b);
}

MORVEK_SIMD inline Vector multiplyLow(Vector a, Vector b)
{
    return _mm256_mullo_epi16(a, b);
}

MORVEK_SIMD inline Vector multiplyHigh(Vector a, Vector b)
{
    return _mm256_mulhi_epi16(a, b);
}

MORVEK_SIMD inline Vector exclusiveOr(Vector a, Vector b)
{
    return _mm256_xor_si256(a, b);
}

MORVEK_SIMD inline Vector isGreater(Vector a, Vector b)
{
    return _mm256_cmpgt_epi16(a, b);
}

MORVEK_SIMD inline Vector pack(Vector a, Vector b)
{
    return _mm256_packus_epi16(a, b);
}

MORVEK_SIMD inline Vector interleaveLowBytes(Vector a, Vector b)
{
    return _mm256_unpacklo_epi8(a, b);
}

MORVEK_SIMD inline Vector interleaveHighBytes(Vector a, Vector b)
{
    return _mm256_unpackhi_epi8(a, b);
}

MORVEK_SIMD inline Vector interleaveLowWords(Vector a, Vector b)
{
    return _mm256_unpacklo_epi16(a, b);
}

MORVEK_SIMD inline Vector interleaveHighWords(Vector a, Vector b)
{
    return _mm256_unpackhi_epi16(a, b);
}

MORVEK_SIMD inline Vector interleaveLowPixels(Vector a, Vector b)
{
    return _mm256_unpacklo_epi32(a, b);
}

MORVEK_SIMD inline Vector interleaveHighPixels(Vector a, Vector b)
{
    return _mm256_unpackhi_epi32(a, b);
}

MORVEK_SIMD inline Vector evenBytes(Vector bytes)
{
    return _mm256_and_si256(bytes, words(0x00ff));
}

MORVEK_SIMD inline Vector oddBytes(Vector bytes)
{
    return _mm256_srli_epi16(bytes, 8);
}

MORVEK_SIMD inline Vector loadLuma(const uchar *pLuma)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pLuma));
}

MORVEK_SIMD inline Vector loadChroma(const uchar *pChroma)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(pChroma)));
}

MORVEK_SIMD inline void storeHalves(__m128i *pFirstHalf, Vector pixels)
{
    _mm_storeu_si128(pFirstHalf, _mm256_castsi256_si128(pixels));
    _mm_storeu_si128(pFirstHalf + 4, _mm256_extracti128_si256(pixels, 1));
}

// Every operation above works on the two halves of a vector apart: the low halves hold the first
// 16 pixels, the high halves the last. Storing halves costs less than putting them together.
MORVEK_SIMD inline void storePixels(quint32 *pPixels, Vector first, Vector second, Vector third,
                                    Vector fourth)
{
    auto *const pTarget = reinterpret_cast<__m128i *>(pPixels);
    storeHalves(pTarget, first);
    storeHalves(pTarget + 1, second);
    storeHalves(pTarget + 2, third);
    storeHalves(pTarget + 3, fourth);
}

} // namespace

#    include "yuvconversion_kernel_p.h"

int convertYuvBlocksAvx2(const sYuvRowPair &rows, int nWidth)
{
    return convertBlocks(rows, nWidth);
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_HAS_X86_YUV_FORMS
