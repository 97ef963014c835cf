#include "agecounts.h"

#include <cmath>

namespace Morvek::Tools {

namespace {

constexpr qint64 SecondMs = 1000;
constexpr qint64 ExactMs = 10 * SecondMs;
constexpr qint64 DayMs = 86400 * SecondMs;

qint64 rounded(qint64 nAgeMs)
{
    const qint64 nAge = qBound(-DayMs, nAgeMs, DayMs);
    return qAbs(nAge) <= ExactMs ? nAge : nAge / SecondMs * SecondMs;
}

} // namespace

void AgeCounts::add(qint64 nAgeMs)
{
    ++m_counts[rounded(nAgeMs)];
    ++m_nCount;
}

void AgeCounts::add(const AgeCounts &other)
{
    for (auto it = other.m_counts.cbegin(); it != other.m_counts.cend(); ++it)
        m_counts[it.key()] += it.value();
    m_nCount += other.m_nCount;
}

qint64 AgeCounts::percentile(double share) const
{
    const qint64 nRank = qBound<qint64>(1, qint64(std::ceil(share * double(m_nCount))), m_nCount);
    qint64 nSoFar = 0;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it) {
        nSoFar += it.value();
        if (nSoFar >= nRank)
            return it.key();
    }
    return 0;
}

} // namespace Morvek::Tools
