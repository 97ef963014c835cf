#include "borderfade_p.h"

#include "borderramp_p.h"

#include <algorithm>

namespace Morvek::EchoVideo::Internal {

namespace {

// From the thickness onward the ramp stays where it is.
int steadyFrom(int nLength, int nThickness)
{
    return std::min(std::max(nThickness, 1), nLength);
}

std::vector<qreal> rampOfHalf(int nWhole, int nThickness, qreal opacity)
{
    const int nLength = nWhole - nWhole / 2;
    std::vector<qreal> values(size_t(nLength), 0);
    const int nSteady = steadyFrom(nLength, nThickness);
    for (int i = 0; i < nSteady; ++i)
        values[size_t(i)] = getOpcity(i, nThickness, opacity);
    if (nSteady < nLength)
        std::fill(values.begin() + nSteady, values.end(), getOpcity(nSteady, nThickness, opacity));
    return values;
}

} // namespace

BorderFade::BorderFade(eKind kind, const QSize &size, const QSize &borderSize, qreal opacity)
    : m_kind(kind)
    , m_columns(rampOfHalf(size.width(), borderSize.width(), opacity))
    , m_rows(rampOfHalf(size.height(), borderSize.height(), opacity))
    , m_alphas(size_t(size.width()))
    , m_nSteadyBegin(steadyFrom(int(m_columns.size()), borderSize.width()))
    , m_nSteadyEnd(std::max(size.width() - m_nSteadyBegin, m_nSteadyBegin))
{}

uchar BorderFade::alpha(qreal column, qreal row) const
{
    return uchar(m_kind == Soft ? int(255 * column * row) : int(255 * (1 - column * row)));
}

const uchar *BorderFade::row(int y)
{
    const qreal row = rowNumber(y);
    if (row == m_lastRow)
        return m_alphas.data();
    m_lastRow = row;
    const int nWidth = int(m_alphas.size());
    const int nHalf = int(m_columns.size());
    for (int x = 0; x < m_nSteadyBegin; ++x)
        m_alphas[size_t(x)] = alpha(m_columns[size_t(x)], row);
    if (m_nSteadyBegin < nHalf)
        std::fill(m_alphas.begin() + m_nSteadyBegin, m_alphas.begin() + nHalf,
                  alpha(m_columns[size_t(m_nSteadyBegin)], row));
    for (int x = nHalf; x < nWidth; ++x)
        m_alphas[size_t(x)] = m_alphas[size_t(quarterIndex(x, m_columns.size()))];
    return m_alphas.data();
}

} // namespace Morvek::EchoVideo::Internal
