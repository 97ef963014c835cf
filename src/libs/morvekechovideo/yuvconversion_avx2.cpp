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

MORVEK_SIMD inline Vector evenBytes(Vector bytes)
{
    return _mm256_and_si256(bytes, words(0x00ff));
}

MORVEK_SIMD inline Vector oddBytes(Vector bytes)
{
    return _mm256_srli_epi16(bytes, 8);
}

// From the even ones, then the odd ones, of 16 pixels to one after the other; in either half.
MORVEK_SIMD inline Vector inPixelOrder(Vector bytes)
{
    const __m128i order = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
    return _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(order));
}

// Most operations work on the two halves of a vector apart, and what is stored at last is a left
// and a right piece of four pixels each: so every other four of them go to the left half.
MORVEK_SIMD inline Vector dealFours(Vector fours)
{
    return _mm256_permutevar8x32_epi32(fours, _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7));
}

MORVEK_SIMD inline Vector loadLuma(const uchar *pLuma)
{
    return dealFours(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(pLuma)));
}

MORVEK_SIMD inline Vector loadChroma(const uchar *pChroma)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pChroma));
    return dealFours(_mm256_cvtepu8_epi16(bytes));
}

MORVEK_SIMD inline void storePixels(quint32 *pPixels, Vector first, Vector second, Vector third,
                                    Vector fourth)
{
    auto *const pTarget = reinterpret_cast<__m256i *>(pPixels);
    _mm256_storeu_si256(pTarget, first);
    _mm256_storeu_si256(pTarget + 1, second);
    _mm256_storeu_si256(pTarget + 2, third);
    _mm256_storeu_si256(pTarget + 3, fourth);
}

} // namespace

#    include "yuvconversion_kernel_p.h"

int convertYuvBlocksAvx2(const sYuvRowPair &rows, int nWidth)
{
    return convertBlocks(rows, nWidth);
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_HAS_X86_YUV_FORMS
