#include "figures.h"

#include <cmath>
#include <limits>

namespace Morvek::Tools {

void Series::add(std::optional<double> value)
{
    if (m_values.size() == Capacity)
        m_values.removeFirst();
    m_values.append(value.value_or(std::numeric_limits<double>::quiet_NaN()));
}

std::optional<double> Series::last() const
{
    if (m_values.isEmpty() || std::isnan(m_values.last()))
        return std::nullopt;
    return m_values.last();
}

void FrameCounter::add(quint32 nFrame)
{
    const auto frame = quint16(nFrame);
    const int nStep = m_last ? qint16(quint16(frame - *m_last)) : 0;
    if (m_last && nStep == 0)
        return;
    // A step back, or a very long one, is another device or another start of it.
    if (nStep > 1 && nStep <= LongestGap)
        m_nDropped += nStep - 1;
    ++m_nSeen;
    m_last = frame;
}

} // namespace Morvek::Tools
