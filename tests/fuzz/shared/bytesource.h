#ifndef MORVEK_TESTS_FUZZ_BYTESOURCE_H
#define MORVEK_TESTS_FUZZ_BYTESOURCE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Morvek::Tests {

/** Takes values of any kind from an input, one after the other; zeros when it is used up. */
class ByteSource
{
public:
    ByteSource(const std::uint8_t *pData, std::size_t nSize)
        : m_pData(pData)
        , m_nSize(nSize)
    {}

    bool isEmpty() const { return m_nSize == 0; }

    void fill(void *pTo, std::size_t nBytes)
    {
        const std::size_t nTaken = std::min(nBytes, m_nSize);
        std::memset(pTo, 0, nBytes);
        if (nTaken != 0)
            std::memcpy(pTo, m_pData, nTaken);
        m_pData += nTaken;
        m_nSize -= nTaken;
    }

    /** A number of any value. */
    template <typename Number>
    Number take()
    {
        Number value{};
        fill(&value, sizeof value);
        return value;
    }

    bool flag() { return take<std::uint8_t>() & 1; }
    /** 0 to nCases - 1. */
    int choice(int nCases) { return take<std::uint8_t>() % nCases; }
    /** From nLow to nHigh, at most 65,535 apart. */
    int between(int nLow, int nHigh)
    {
        return nLow + int(take<std::uint16_t>() % unsigned(nHigh - nLow + 1));
    }

private:
    const std::uint8_t *m_pData;
    std::size_t m_nSize;
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_FUZZ_BYTESOURCE_H
