#include "yuvconversion_forms_p.h"

#if MORVEK_HAS_X86_YUV_FORMS

#    include <immintrin.h>

#    define MORVEK_SIMD __attribute__((target("sse2")))

namespace Morvek::EchoVideo::Internal {

namespace {

using Vector = __m128i;
constexpr int Bytes = sizeof(Vector);

MORVEK_SIMD inline Vector words(short value)
{
    return _mm_set1_epi16(value);
}

MORVEK_SIMD inline Vector add(Vector a, Vector b)
{
    return _mm_add_epi16(a, b);
}

MORVEK_SIMD inline Vector subtract(Vector a, Vector b)
{
    return _mm_sub_epi16(a, b);
}

MORVEK_SIMD inline Vector multiplyLow(Vector a, Vector b)
{
    return _mm_mullo_epi16(a, b);
}

MORVEK_SIMD inline Vector multiplyHigh(Vector a, Vector b)
{
    return _mm_mulhi_epi16(a, b);
}

MORVEK_SIMD inline Vector exclusiveOr(Vector a, Vector b)
{
    return _mm_xor_si128(a, b);
}

MORVEK_SIMD inline Vector isGreater(Vector a, Vector b)
{
    return _mm_cmpgt_epi16(a, b);
}

MORVEK_SIMD inline Vector pack(Vector a, Vector b)
{
    return _mm_packus_epi16(a, b);
}

MORVEK_SIMD inline Vector interleaveLowBytes(Vector a, Vector b)
{
    return _mm_unpacklo_epi8(a, b);
}

MORVEK_SIMD inline Vector interleaveHighBytes(Vector a, Vector b)
{
    return _mm_unpackhi_epi8(a, b);
}

MORVEK_SIMD inline Vector interleaveLowWords(Vector a, Vector b)
{
    return _mm_unpacklo_epi16(a, b);
}

MORVEK_SIMD inline Vector interleaveHighWords(Vector a, Vector b)
{
    return _mm_unpackhi_epi16(a, b);
}

MORVEK_SIMD inline Vector evenBytes(Vector bytes)
{
    return _mm_and_si128(bytes, words(0x00ff));
}

MORVEK_SIMD inline Vector oddBytes(Vector bytes)
{
    return _mm_srli_epi16(bytes, 8);
}

// From the even ones, then the odd ones, of 16 pixels to one after the other.
MORVEK_SIMD inline Vector inPixelOrder(Vector bytes)
{
    return _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 8));
}

MORVEK_SIMD inline Vector loadLuma(const uchar *pLuma)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(pLuma));
}

MORVEK_SIMD inline Vector loadChroma(const uchar *pChroma)
{
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(pChroma));
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}

MORVEK_SIMD inline void storePixels(quint32 *pPixels, Vector first, Vector second, Vector third,
                                    Vector fourth)
{
    auto *const pTarget = reinterpret_cast<__m128i *>(pPixels);
    _mm_storeu_si128(pTarget, first);
    _mm_storeu_si128(pTarget + 1, second);
    _mm_storeu_si128(pTarget + 2, third);
    _mm_storeu_si128(pTarget + 3, fourth);
}

} // namespace

#    include "yuvconversion_kernel_p.h"

int convertYuvBlocksSse2(const sYuvRowPair &rows, int nWidth)
{
    return convertBlocks(rows, nWidth);
}

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_HAS_X86_YUV_FORMS
