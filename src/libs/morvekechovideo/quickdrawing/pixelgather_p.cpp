#include "pixelgather_p.h"

#include <algorithm>

#if defined(__x86_64__)
#    define MORVEK_HAS_AVX2_GATHER 1
#    include <immintrin.h>
#else
#    define MORVEK_HAS_AVX2_GATHER 0
#endif

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr QRgb OpaqueAlpha = 0xff000000U;

} // namespace

bool isGatherFormSupported(eGatherForm eForm)
{
#if MORVEK_HAS_AVX2_GATHER
    if (eForm == eGatherForm::Avx2)
        return __builtin_cpu_supports("avx2") != 0;
#endif
    return eForm == eGatherForm::Plain;
}

eGatherForm bestGatherForm()
{
    static const eGatherForm eBest =
        isGatherFormSupported(eGatherForm::Avx2) ? eGatherForm::Avx2 : eGatherForm::Plain;
    return eBest;
}

GatheredColumns::GatheredColumns(const std::vector<int> &columns, int nPicture)
    : m_columns(columns)
{
    if (nPicture < Window)
        return;
    m_windows.reserve(m_columns.size() / PixelsAtOnce);
    for (size_t i = 0; i + PixelsAtOnce <= m_columns.size(); i += PixelsAtOnce) {
        const auto first = m_columns.begin() + qptrdiff(i);
        const auto [least, most] = std::minmax_element(first, first + PixelsAtOnce);
        const int nWindow = std::min(*least, nPicture - Window);
        if (*most - nWindow >= Window)
            return;
        m_windows.push_back(nWindow);
    }
}

#if MORVEK_HAS_AVX2_GATHER
__attribute__((target("avx2"))) int GatheredColumns::gatherAtOnce(const QRgb *pPicture,
                                                                  QRgb inverted, QRgb *pRow) const
{
    const __m256i opaque = _mm256_set1_epi32(int(OpaqueAlpha));
    const __m256i flips = _mm256_set1_epi32(int(inverted));
    const __m256i lastOfFirstHalf = _mm256_set1_epi32(PixelsAtOnce - 1);
    int nDone = 0;
    for (const int nWindow : m_windows) {
        const QRgb *const pWindow = pPicture + nWindow;
        const auto *const pColumns = reinterpret_cast<const __m256i *>(m_columns.data() + nDone);
        const __m256i places =
            _mm256_sub_epi32(_mm256_loadu_si256(pColumns), _mm256_set1_epi32(nWindow));
        const __m256i firstHalf = _mm256_permutevar8x32_epi32(
            _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pWindow)), places);
        const __m256i secondHalf = _mm256_permutevar8x32_epi32(
            _mm256_loadu_si256(reinterpret_cast<const __m256i *>(pWindow + PixelsAtOnce)), places);
        const __m256i pixels =
            _mm256_blendv_epi8(firstHalf, secondHalf, _mm256_cmpgt_epi32(places, lastOfFirstHalf));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(pRow + nDone),
                            _mm256_xor_si256(_mm256_or_si256(pixels, opaque), flips));
        nDone += PixelsAtOnce;
    }
    return nDone;
}
#else
int GatheredColumns::gatherAtOnce(const QRgb *, QRgb, QRgb *) const
{
    return 0;
}
#endif

void GatheredColumns::gather(const QRgb *pPicture, QRgb inverted, QRgb *pRow,
                             eGatherForm eForm) const
{
    const int nColumns = int(m_columns.size());
    const int *const pColumns = m_columns.data();
    int i = eForm == eGatherForm::Avx2 ? gatherAtOnce(pPicture, inverted, pRow) : 0;
    for (; i < nColumns; ++i)
        pRow[i] = (pPicture[pColumns[i]] | OpaqueAlpha) ^ inverted;
}

} // namespace Morvek::EchoVideo::Internal
