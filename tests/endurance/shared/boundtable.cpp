#include "boundtable.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace Morvek::Tests {

namespace {

constexpr double Unbounded = std::numeric_limits<double>::infinity();

bool isWithin(const sBoundRow &row)
{
    return row.m_measured <= row.m_bound; // false for what is not a number
}

QByteArray number(double value)
{
    return QByteArray::number(value, 'f', value == qRound64(value) ? 0 : 2);
}

const char *verdictOf(const sBoundRow &row)
{
    if (row.m_bound == Unbounded)
        return "";
    return isWithin(row) ? "met" : "MISSED";
}

} // namespace

void BoundTable::add(const sBoundRow &row)
{
    m_rows.append(row);
}

void BoundTable::tell(const QString &strName, double value, const QString &strUnit,
                      const QString &strNote)
{
    m_rows.append({strName, value, Unbounded, strUnit, strNote});
}

bool BoundTable::isMet() const
{
    return std::all_of(m_rows.cbegin(), m_rows.cend(), isWithin);
}

void BoundTable::print() const
{
    std::printf("%-44s %12s %12s %-10s %-7s %s\n", "", "measured", "at most", "unit", "", "");
    for (const sBoundRow &row : m_rows) {
        const QByteArray bound = row.m_bound == Unbounded ? QByteArray("-") : number(row.m_bound);
        std::printf("%-44s %12s %12s %-10s %-7s %s\n", qPrintable(row.m_strName),
                    number(row.m_measured).constData(), bound.constData(),
                    qPrintable(row.m_strUnit), verdictOf(row), qPrintable(row.m_strNote));
    }
    std::fflush(stdout);
}

double worstOf(const QList<double> &figures)
{
    const auto itWorst = std::max_element(figures.cbegin(), figures.cend());
    return itWorst == figures.cend() ? 0 : *itWorst;
}

double percentileOf(QList<double> figures, int nPercent)
{
    if (figures.isEmpty())
        return 0;
    std::sort(figures.begin(), figures.end());
    return figures.at(qMin(figures.size() - 1, figures.size() * nPercent / 100));
}

} // namespace Morvek::Tests
