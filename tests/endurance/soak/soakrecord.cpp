#include "soakrecord.h"

#include <processfigures.h>
#include <sanitized.h>

#include <QPointF>

#include <algorithm>
#include <iterator>

namespace Morvek::Tests {

namespace {

constexpr double KiB = 1024;

/** The slope of the straight line that fits best, in the units of y for one of x. */
double slopeOf(const QList<QPointF> &points)
{
    double meanX = 0;
    double meanY = 0;
    for (const QPointF &point : points) {
        meanX += point.x() / points.size();
        meanY += point.y() / points.size();
    }
    double products = 0;
    double squares = 0;
    for (const QPointF &point : points) {
        products += (point.x() - meanX) * (point.y() - meanY);
        squares += (point.x() - meanX) * (point.x() - meanX);
    }
    return squares > 0 ? products / squares : 0;
}

} // namespace

SoakRecord::SoakRecord(const QString &strFileName)
    : m_file(strFileName)
{
    m_clock.start();
    if (strFileName.isEmpty())
        return;
    m_isWritten = m_file.open(QIODevice::WriteOnly | QIODevice::Truncate)
               && m_file.write("minutes,state,resident_kib,threads,descriptors,previews,"
                               "age_median_ms,age_worst_ms\n")
                      > 0;
}

void SoakRecord::write(const char *pState, const QByteArray &baAges, qint64 nPreviews)
{
    if (!m_file.isOpen())
        return;
    const QByteArray line = QByteArray::number(minutes(), 'f', 3) + ',' + pState + ','
                          + QByteArray::number(residentMemory() / 1024) + ','
                          + QByteArray::number(threadCount()) + ','
                          + QByteArray::number(openFileCount()) + ','
                          + QByteArray::number(nPreviews) + ',' + baAges + '\n';
    m_isWritten = m_isWritten && m_file.write(line) == line.size() && m_file.flush();
}

void SoakRecord::sampleAtWork(const QList<double> &ages, qint64 nPreviews)
{
    for (const double age : ages)
        m_ages.append({minutes(), age});
    QByteArray baAges(",");
    if (!ages.isEmpty())
        baAges =
            QByteArray::number(percentileOf(ages, 50)) + ',' + QByteArray::number(worstOf(ages));
    write("work", baAges, nPreviews);
}

void SoakRecord::sampleAtRest()
{
    const sRestFigures last = m_rests.isEmpty() ? sRestFigures() : m_rests.last().m_figures;
    m_rests.append({minutes(), measureRest(last)});
    write("rest", ",", 0);
}

// What the first hour, or of a shorter run its first third, still brings in is no growth.
QList<SoakRecord::sRest> SoakRecord::restsToJudge() const
{
    const double from = qMin(60.0, minutes() / 3);
    QList<sRest> rests;
    std::copy_if(m_rests.cbegin(), m_rests.cend(), std::back_inserter(rests),
                 [&](const sRest &rest) { return rest.m_minutes >= from; });
    return rests;
}

QList<double> SoakRecord::agesBetween(double from, double to) const
{
    QList<double> ages;
    for (const sAge &age : m_ages) {
        if (age.m_minutes >= from && age.m_minutes < to)
            ages.append(age.m_ms);
    }
    return ages;
}

void SoakRecord::judge(double slack, BoundTable &table) const
{
    const QList<sRest> rests = restsToJudge();
    if (rests.size() < 2) {
        table.add(
            {QStringLiteral("rests missing"), 1, 0, {}, QStringLiteral("the run is too short")});
        return;
    }
    QList<QPointF> memory;
    int nThreads = 0;
    int nFiles = 0;
    for (const sRest &rest : rests) {
        memory.append({rest.m_minutes / 60, double(rest.m_figures.m_nMemory) / KiB});
        nThreads = qMax(nThreads, rest.m_figures.m_nThreads - rests.first().m_figures.m_nThreads);
        nFiles = qMax(nFiles, rest.m_figures.m_nFiles - rests.first().m_figures.m_nFiles);
    }
    // Over minutes a slope is mostly noise: there, what came on top altogether tells more.
    const double hours = (rests.last().m_minutes - rests.first().m_minutes) / 60;
    const double slope = slopeOf(memory);
    const QString strOver =
        QStringLiteral("over %1 min at rest %2 times").arg(hours * 60, 0, 'f', 1).arg(rests.size());
    if (IsSanitized) // keeps memory of its own
        table.tell(QStringLiteral("memory gained"), slope * hours, QStringLiteral("KiB"), strOver);
    else if (hours >= 1)
        table.add({QStringLiteral("memory gained"), slope, 100 * slack, QStringLiteral("KiB/h"),
                   strOver});
    else
        table.add({QStringLiteral("memory gained"), slope * hours, 1024 * slack,
                   QStringLiteral("KiB"), strOver});
    table.add({QStringLiteral("threads gained"), double(nThreads), 0, {}, {}});
    table.add({QStringLiteral("descriptors gained"), double(nFiles), 0, {}, {}});

    const double part = qMin(60.0, minutes() / 3);
    const QList<double> first = agesBetween(0, part);
    const QList<double> last = agesBetween(minutes() - part, minutes() + 1);
    table.tell(QStringLiteral("age of new pictures, p99 at first"), percentileOf(first, 99),
               QStringLiteral("ms"),
               QStringLiteral("median %1 of %2").arg(percentileOf(first, 50)).arg(first.size()));
    table.add({QStringLiteral("age of new pictures, p99 at last"), percentileOf(last, 99),
               percentileOf(first, 99) * 1.2 * slack, QStringLiteral("ms"),
               QStringLiteral("median %1 of %2").arg(percentileOf(last, 50)).arg(last.size())});
    table.add({QStringLiteral("thirds without new pictures"),
               double(first.isEmpty() + last.isEmpty()),
               0,
               {},
               {}});
}

} // namespace Morvek::Tests
