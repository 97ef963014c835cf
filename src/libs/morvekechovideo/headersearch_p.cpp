#include "headersearch_p.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#    define MORVEK_AVX2 __attribute__((target("avx2")))
#endif

// Part of each form, compiled for the instructions of that form.
#define MORVEK_IN_EACH_FORM inline __attribute__((always_inline))

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int PlacesAtOnce = 256;

MORVEK_IN_EACH_FORM std::uint16_t pairAt(const char *pPlace)
{
    std::uint16_t nPair;
    std::memcpy(&nPair, pPlace, sizeof nPair);
    return nPair;
}

// Whether a header may start at one of these places. It has "nt" 2 and 5 letters behind its start:
// so one of the two stands at an even distance from the first place, and only pairs of bytes at even
// distances need be looked at. Without a branch, so that compilers vectorise it.
MORVEK_IN_EACH_FORM bool mayStartHere(const char *pPlaces)
{
    const char *const pPairs = pPlaces + 2;
    const std::uint16_t nWanted = pairAt("nt");
    std::uint16_t nFound = 0;
    for (int i = 0; i < PlacesAtOnce; i += 2)
        nFound = std::uint16_t(nFound | (pairAt(pPairs + i) == nWanted));
    // Those of a header that starts at one of the last places.
    return (nFound | (pairAt(pPairs + PlacesAtOnce) == nWanted)
            | (pairAt(pPairs + PlacesAtOnce + 2) == nWanted))
        != 0;
}

// The last header that starts at one of these places, of which there may be none; none: null.
const char *lastHeaderAt(const char *pFirst, const char *pEnd)
{
    while (pEnd > pFirst) {
        if (std::memcmp(--pEnd, HeaderTitle, HeaderTitleLength) == 0)
            return pEnd;
    }
    return nullptr;
}

MORVEK_IN_EACH_FORM const char *searchBackward(const char *pBegin, const char *pEnd)
{
    if (pEnd - pBegin < HeaderTitleLength)
        return nullptr;
    const char *pPlaces = pEnd - HeaderTitleLength + 1; // behind the last where one can start
    const bool isLong = pPlaces - pBegin >= PlacesAtOnce;
    for (; pPlaces - pBegin >= PlacesAtOnce; pPlaces -= PlacesAtOnce) {
        if (!mayStartHere(pPlaces - PlacesAtOnce))
            continue;
        if (const char *const pFound = lastHeaderAt(pPlaces - PlacesAtOnce, pPlaces))
            return pFound;
    }
    // What is left is looked at together with places behind it, which have none.
    if (isLong && !mayStartHere(pBegin))
        return nullptr;
    return lastHeaderAt(pBegin, pPlaces);
}

const char *searchPortably(const char *pBegin, const char *pEnd)
{
    return searchBackward(pBegin, pEnd);
}

#ifdef MORVEK_AVX2
MORVEK_AVX2 const char *searchWithAvx2(const char *pBegin, const char *pEnd)
{
    return searchBackward(pBegin, pEnd);
}
#endif

} // namespace

bool isSearchFormSupported(eSearchForm eForm)
{
#ifdef MORVEK_AVX2
    if (eForm == eSearchForm::Avx2)
        return __builtin_cpu_supports("avx2") != 0;
#endif
    return eForm == eSearchForm::Portable;
}

const char *lastHeaderIn(const char *pBegin, const char *pEnd, eSearchForm eForm)
{
#ifdef MORVEK_AVX2
    if (eForm == eSearchForm::Avx2)
        return searchWithAvx2(pBegin, pEnd);
#endif
    return eForm == eSearchForm::Portable ? searchPortably(pBegin, pEnd) : nullptr;
}

const char *lastHeaderIn(const char *pBegin, const char *pEnd)
{
    static const eSearchForm eBest =
        isSearchFormSupported(eSearchForm::Avx2) ? eSearchForm::Avx2 : eSearchForm::Portable;
    return lastHeaderIn(pBegin, pEnd, eBest);
}

} // namespace Morvek::EchoVideo::Internal
